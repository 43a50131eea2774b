// (c) the ztrace developers. Licence: see LICENSE.
#include "labelshapes.h"

#include "composition.h"

namespace ztrace {

namespace {

// From the grid, y downwards, to the drawing.
class ToDrawing
{
public:
    ToDrawing(int gridHeight, int upsampling) : height(gridHeight), divisor(upsampling) { }

    Point operator()(const double *point) const
    {
        return Point(point[0] / divisor, (height - point[1]) / divisor);
    }

private:
    double height;
    double divisor;
};

// In the room that the path has from the outlines before.
void makeShape(const Segment *segments, std::size_t count, const ToDrawing &toDrawing, Path *shape)
{
    shape->moveTo(toDrawing(segments[0].field + Segment::kX1));
    for (std::size_t i = 0; i < count; ++i) {
        const double *field = segments[i].field;
        if (field[Segment::kType] == kLineType)
            shape->lineTo(toDrawing(field + Segment::kX2));
        else
            shape->quadraticTo(toDrawing(field + Segment::kX2), toDrawing(field + Segment::kX3));
    }
}

} // namespace

LabelShapes::LabelShapes(const Areas &areas, int upsampling, std::size_t most)
    : colours(areas.colours), rampOf(areas.rampOf), gridHeight(areas.runs.height),
      divisor(upsampling)
{
    for (QRgb colour : colours)
        layers.push_back(layerOfColour(colour));
    shapes.outlines.reserve(most);
    shapes.firstPixel.reserve(most);
}

void LabelShapes::add(const LabelOutline &source, const Segment *segments)
{
    const std::size_t label = static_cast<std::size_t>(source.label);
    shapes.outlines.emplace_back();
    Outline &outline = shapes.outlines.back();
    makeShape(segments, source.count, ToDrawing(gridHeight, divisor), &shape);
    outline.shape = Path(shape); // which takes no more room than it has to
    outline.colour = colours[label];
    outline.layer = layers[label];
    outline.gradient = rampOf.empty() ? -1 : rampOf[label];
    shapes.firstPixel.push_back(source.firstPixel);
}

} // namespace ztrace
