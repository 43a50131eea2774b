// (c) the ztrace developers. Licence: see LICENSE.
#include "labels.h"

#include "kernels/convert.h"
#include "kernels/outline.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace ztrace {

namespace {

// Copies a row of labels and returns the largest: plain loops, which compilers turn into vector
// code. A label that the cells are too narrow for is larger than the count and ends the copy.
template<typename Label, typename Cell>
Label copyRow(const Label *labels, int width, Cell *cells)
{
    Label largest = 0;
    for (int x = 0; x < width; ++x) {
        largest = std::max(largest, labels[x]);
        cells[x] = static_cast<Cell>(labels[x]);
    }
    return largest;
}

template<typename Label>
IndexPlane copied(const Label *labels, int width, int height, int count)
{
    if (width < 1 || height < 1 || width > std::numeric_limits<int>::max() - 2
        || height > std::numeric_limits<int>::max() - 2)
        throw std::invalid_argument("a plane of labels has at least one pixel");
    if (count < 1 || count > kMostLabels)
        throw std::invalid_argument("there are 1 to 65535 labels");
    IndexPlane plane;
    plane.resize(width, height, count);
    plane.visit([&](auto *cells) {
        auto *row = cells + plane.stride() + 1;
        for (int y = 0; y < height; ++y, row += plane.stride(), labels += width) {
            // The border's value and whatever lies beyond it would lead a walk out of the plane.
            if (copyRow(labels, width, row) >= count)
                throw std::invalid_argument("a label is beyond their number");
        }
    });
    return plane;
}

// A walk starts at its region's first pixel and goes right along its upper edge, so that its first
// midpoint tells the pixel.
std::size_t firstPixelOf(const PathView<std::uint8_t> &path, int width)
{
    return static_cast<std::size_t>(path.y[0]) * static_cast<std::size_t>(width)
        + static_cast<std::size_t>(path.x[0]);
}

} // namespace

IndexPlane planeOfLabels(const std::uint8_t *labels, int width, int height, int count)
{
    return copied(labels, width, height, count);
}

IndexPlane planeOfLabels(const std::uint16_t *labels, int width, int height, int count)
{
    return copied(labels, width, height, count);
}

// Outer outlines are met in the order of their start nodes, and no two of them start on one node,
// so that nothing needs to be sorted or left out.
void traceLabels(const IndexPlane &plane, const OutlineOptions &options,
                 const LabelOutlineSink &sink)
{
    const float shortest = static_cast<float>(floorToInt(options.pathomit));
    const Tolerances tolerances
        = { roundedToSingle(options.ltres), roundedToSingle(options.qtres) };
    Fitter fitter(tolerances);
    std::vector<Segment> segments;
    scanOutlines(plane, shortest, [&](int label, const PathView<std::uint8_t> &path) {
        segments.clear();
        fitter.fitPath(path, &segments);
        const LabelOutline outline
            = { label, firstPixelOf(path, plane.width()), 0, segments.size() };
        sink(outline, segments.data());
    });
}

TracedLabels traceLabels(const IndexPlane &plane, const OutlineOptions &options)
{
    TracedLabels traced;
    traceLabels(plane, options, [&](const LabelOutline &outline, const Segment *segments) {
        traced.outlines.push_back(outline);
        traced.outlines.back().first = traced.segments.size();
        traced.segments.insert(traced.segments.end(), segments, segments + outline.count);
    });
    return traced;
}

} // namespace ztrace
