// (c) the ztrace developers. Licence: see LICENSE.
#include "segmentation.h"

#include "corners.h"

#include "engine/ZTraceBitmap.h"

namespace ztrace {

void setOptions(const EngineOptions &values, EngineOptions *options)
{
    for (const auto &value : values)
        (*options)[value.first] = value.second;
}

EngineOptions allOptions(const EngineOptions &values)
{
    EngineOptions options = values;
    const ZTraceBitmap engine;
    for (auto it = engine.options.constBegin(); it != engine.options.constEnd(); ++it)
        options.insert({ it.key().toStdString(), it.value() });
    return options;
}

bool separateAreas(Areas *areas)
{
    const CornerSeparation separation
        = separateCorners(&areas->runs, static_cast<int>(areas->colours.size()));
    for (uint16_t original : separation.copies)
        areas->colours.push_back(areas->colours[original]);
    return separation.found;
}

} // namespace ztrace
