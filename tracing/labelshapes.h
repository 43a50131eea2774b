// (c) the ztrace developers. Licence: see LICENSE.
//
// The engine's outlines as shapes of a drawing.
#ifndef ZTRACE_TRACING_LABELSHAPES_H
#define ZTRACE_TRACING_LABELSHAPES_H

#include "engine/labels.h"
#include "Areas.h"
#include "shapes.h"

namespace ztrace {

// Makes shapes of the engine's outlines as they come, since its segments take twice the room of the
// paths. The areas are what the outlines are traced in, on a grid `upsampling` times as fine as the
// pixels of the picture; they have to stay until the last outline.
class LabelShapes
{
public:
    // `most`: outlines that there is room for at once, or 0 where their number is not known.
    LabelShapes(const Areas &areas, int upsampling, std::size_t most = 0);

    void add(const LabelOutline &source, const Segment *segments);
    ShapeOutlines take() { return std::move(shapes); }

private:
    const std::vector<QRgb> &colours;
    const std::vector<int> &rampOf;
    const int gridHeight;
    const int divisor;
    std::vector<QString> layers; // of every label, made once
    Path shape;                  // of the latest outline, with its room
    ShapeOutlines shapes;
};

} // namespace ztrace

#endif
