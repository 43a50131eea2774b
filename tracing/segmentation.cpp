// (c) the ztrace developers. Licence: see LICENSE.
#include "segmentation.h"

#include "corners.h"

#include "engine/optiondefaults.h"
#include "imaging/failure.h"

namespace ztrace {

void setOptions(const EngineOptions &values, EngineOptions *options)
{
    for (const auto &value : values)
        (*options)[value.first] = value.second;
}

EngineOptions reductionOptions(const EngineOptions &values)
{
    EngineOptions options = values;
    for (const OptionDefault &option : kOptionDefaults)
        options.insert({ option.name, option.value });
    for (const char *ofOutlines : { "ltres", "qtres", "pathomit" })
        options.erase(ofOutlines);
    return options;
}

void requireRoom(int width, int height, int upsampling)
{
    if (double(width) * double(height) * upsampling * upsampling > double(kMostPlanePixels))
        throwNoRoom();
}

bool separateAreas(Segmented *segmented)
{
    Areas *const areas = &segmented->areas;
    CornerSeparation separation
        = separateCorners(&areas->runs, static_cast<int>(areas->colours.size()));
    segmented->graph = std::move(separation.graph);
    for (uint16_t original : separation.copies) {
        areas->colours.push_back(areas->colours[original]);
        if (!areas->rampOf.empty())
            areas->rampOf.push_back(areas->rampOf[original]);
    }
    return separation.found;
}

} // namespace ztrace
