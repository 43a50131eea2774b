// (c) the ztrace developers. Licence: see LICENSE.
//
// The door for labels: an image that is already reduced to labels goes straight to outlines and
// fitted segments. ZTraceBitmap::trace walks through the same door with its palette indices, so
// equal labels give equal outlines, bit for bit (tst_labels).
//
// Coordinates are pixels, x to the right and y downwards, outlines running through the midpoints of
// pixel edges (docs/algorithm/pathscan.md, fitseq.md).
#ifndef ZTRACE_LABELS_H
#define ZTRACE_LABELS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "kernels/IndexPlane.h"
#include "kernels/fit.h"

namespace ztrace {

// The options of the same names, as ZTraceBitmap::setOption takes them, odd values included:
// tolerances are squared distances in pixels, rounded to single precision; pathomit counts the
// midpoints of an outline and is rounded down.
struct OutlineOptions
{
    double ltres = 1.0;
    double qtres = 1.0;
    double pathomit = 8.0;
};

// One outer outline. first and count name its segments: every one starts where the one before it
// ends, and the last ends where the first starts. There is at least one.
struct LabelOutline
{
    int label;
    std::size_t firstPixel; // y * width + x: the region's first pixel, rows from the top
    std::size_t first;
    std::size_t count;
};

// Outlines in the order of ZTraceBitmap::getPolylines, which is that of their first pixels; no two
// have the same one.
struct TracedLabels
{
    std::vector<LabelOutline> outlines;
    std::vector<Segment> segments; // of all outlines, one after the other
};

// More labels than this are not taken.
const int kMostLabels = 65535;

// Labels as the outlines are found in them. `labels` has width * height values, rows from the top
// without gaps, each below `count`; cells are of one byte up to 255 labels, else of two, whatever
// the type here. The caller's labels are copied once and not needed any more.
// Throws std::invalid_argument for a size below 1, a count outside 1..kMostLabels or a label that
// is not below it, and std::bad_alloc.
IndexPlane planeOfLabels(const std::uint8_t *labels, int width, int height, int count);
IndexPlane planeOfLabels(const std::uint16_t *labels, int width, int height, int count);

// Called for every outline; its `first` is 0 and its segments are valid during the call only.
typedef std::function<void(const LabelOutline &outline, const Segment *segments)> LabelOutlineSink;

// Traces outline by outline. Memory: two bits a pixel beside the plane. Throws std::bad_alloc, and
// what the sink throws.
void traceLabels(const IndexPlane &plane, const OutlineOptions &options,
                 const LabelOutlineSink &sink);

// All outlines at once: 32 bytes an outline and 56 a segment more, twice that while they grow.
TracedLabels traceLabels(const IndexPlane &plane, const OutlineOptions &options);

} // namespace ztrace

#endif
