// (c) the ztrace developers. Licence: see LICENSE.
//
// Label planes through everything between labels and a drawing: small areas, corners, the boundary
// map, the engine's door, composition. Labels stay labels; areas have the pixels that their rings
// enclose; no outline names what is not there.
#include "Input.h"

#include "tracing/boundarymap.h"
#include "tracing/composition.h"
#include "tracing/corners.h"
#include "tracing/labelshapes.h"
#include "tracing/smallregions.h"

#include <cmath>

using namespace ztrace;

namespace {

const int kMostLabelsDrawn = 9;

struct Plane
{
    int width;
    int height;
    std::vector<uint16_t> labels;
};

// Pixels of their own, or like the one to the left, or like the one above.
Plane planeFrom(fuzz::Input &input, int step, int labels)
{
    Plane plane { 0, 0, {} };
    plane.width = step * input.between(1, 24 / step);
    plane.height = step * input.between(1, 24 / step);
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            const int drawn = input.byte();
            const std::size_t place = plane.labels.size();
            if (drawn >= 192 && x > 0)
                plane.labels.push_back(plane.labels[place - 1]);
            else if (drawn >= 128 && y > 0)
                plane.labels.push_back(plane.labels[place - static_cast<std::size_t>(plane.width)]);
            else
                plane.labels.push_back(static_cast<uint16_t>(drawn % labels));
        }
    }
    return plane;
}

std::vector<uint16_t> labelsOf(const Runs &runs)
{
    std::vector<uint16_t> labels(runs.pixels());
    paint(runs, labels.data());
    return labels;
}

void mergeSmall(fuzz::Input &input, int labels, Runs *runs)
{
    const std::vector<uint16_t> before = labelsOf(*runs);
    const std::size_t least = static_cast<std::size_t>(input.between(0, 40));
    const bool changed = mergeSmallRegions(runs, least, input.between(0, 2),
                                           [](uint16_t a, uint16_t b) { return std::abs(a - b); });
    const std::vector<uint16_t> after = labelsOf(*runs);
    fuzz::require(changed == (before != after));
    for (uint16_t label : after)
        fuzz::require(label < labels);
}

// Areas with labels of their own have the colour that they had.
void separate(fuzz::Input &input, Areas *areas)
{
    const std::vector<uint16_t> before = labelsOf(areas->runs);
    const int labels = static_cast<int>(areas->colours.size());
    const int most = labels + input.between(0, 12);
    const CornerSeparation separation = separateCorners(&areas->runs, labels, most);
    for (uint16_t original : separation.copies)
        areas->colours.push_back(areas->colours.at(original));
    fuzz::require(areas->colours.size() <= static_cast<std::size_t>(most));
    const std::vector<uint16_t> after = labelsOf(areas->runs);
    for (std::size_t i = 0; i < after.size(); ++i) {
        const int copy = after[i] - labels;
        fuzz::require((copy < 0 ? after[i] : separation.copies.at(static_cast<std::size_t>(copy)))
                      == before[i]);
    }
}

void checkBoundaries(const Runs &runs)
{
    const BoundaryMap map = makeBoundaryMap(runs);
    fuzz::require(map.firstRing.size() == map.areas.list.size() + 1);
    std::vector<int> uses(map.chains.size(), 0);
    for (std::size_t area = 0; area < map.areas.list.size(); ++area) {
        int64_t enclosed = 0;
        for (uint32_t ring = map.firstRing[area]; ring < map.firstRing[area + 1]; ++ring) {
            enclosed += enclosedArea(map, ring);
            for (uint32_t k = map.firstReference[ring]; k < map.firstReference[ring + 1]; ++k)
                ++uses.at(chainOf(map.references[k]));
        }
        fuzz::require(enclosed == map.areas.list[area].area);
    }
    for (std::size_t k = 0; k < uses.size(); ++k) {
        const bool onRim
            = map.chains[k].left == kOutsideArea || map.chains[k].right == kOutsideArea;
        fuzz::require(uses[k] == (onRim ? 1 : 2));
    }
}

void checkDrawing(fuzz::Input &input, const Areas &areas, int upsampling)
{
    const std::vector<uint16_t> labels = labelsOf(areas.runs);
    OutlineOptions options;
    options.ltres = input.number();
    options.qtres = input.number();
    options.pathomit = input.byte() & 1 ? 0.0 : input.number();
    const TracedLabels traced
        = traceLabels(planeOfLabels(labels.data(), areas.runs.width, areas.runs.height,
                                    static_cast<int>(areas.colours.size())),
                      options);
    for (const LabelOutline &outline : traced.outlines)
        fuzz::require(labels.at(outline.firstPixel) == outline.label && outline.count > 0
                      && outline.first + outline.count <= traced.segments.size());
    Composition composition;
    composition.byLayer = input.byte() & 1;
    composition.trapping = input.byte() & 1;
    composition.frame = input.byte() & 1;
    composition.transparent = input.byte() & 1;
    if (input.byte() & 1)
        composition.onlyColours = { areas.colours.front() };
    LabelShapes shapes(areas, upsampling);
    for (const LabelOutline &outline : traced.outlines)
        shapes.add(outline, traced.segments.data() + outline.first);
    const Drawing drawing = compose(shapes.take(), areas, upsampling, { Connectivity::Corners, {} },
                                    static_cast<Painting>(input.between(0, 2)), composition);
    fuzz::require(drawing.width == areas.runs.width / upsampling
                  && drawing.height == areas.runs.height / upsampling);
    fuzz::require(drawing.outlines.size() <= traced.outlines.size());
    for (const Outline &outline : drawing.outlines)
        for (int hole : outline.holes)
            fuzz::require(hole >= 0 && static_cast<std::size_t>(hole) < drawing.outlines.size()
                          && &drawing.outlines[static_cast<std::size_t>(hole)] != &outline);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const int upsampling = input.between(1, 3);
    const int labels = input.between(1, kMostLabelsDrawn);
    const int separations = input.byte();
    Areas areas;
    for (int k = 0; k < labels; ++k) {
        const int drawn = input.byte();
        areas.colours.push_back(qRgba(drawn, 40 * k, 255 - drawn,
                                      drawn < 40       ? 0
                                          : drawn < 80 ? drawn
                                                       : 255));
    }
    const Plane plane = planeFrom(input, upsampling, labels);
    areas.runs = scanRuns(plane.labels.data(), plane.width, plane.height);
    fuzz::require(labelsOf(areas.runs) == plane.labels);
    mergeSmall(input, labels, &areas.runs);
    checkBoundaries(areas.runs);
    if (separations & 1)
        separate(input, &areas);
    checkDrawing(input, areas, upsampling);
    return 0;
}
