// (c) the ztrace developers. Licence: see LICENSE.
//
// Sums over prefixes of a chain, which give those of any span at once.
#ifndef ZTRACE_FIT_SUMS_H
#define ZTRACE_FIT_SUMS_H

#include "fit/Points.h"
#include "fit/moments.h"
#include "fit/spanlanes.h"

namespace ztrace::fit {

// Moments of all spans of a chain. Fourth powers of a long chain's coordinates would drown short
// spans, so every block of points has an origin of its own; a span within one block is a
// difference, a longer one is put together from blocks.
class Sums
{
public:
    explicit Sums(const Points &points);
    // Of the points first to last - 1; 0 <= first < last <= size.
    Moments over(int first, int last) const
    {
        const int block = first / kBlock;
        return (last - 1) / kBlock == block ? within(block, first, last) : overBlocks(first, last);
    }
    // Of several spans that begin at one point; where each has its origin.
    void over(const SpanKernels &kernels, int first, const int (&last)[kSpanLanes],
              SpanLanes *lanes, Point (&origin)[kSpanLanes]) const;

private:
    struct Entry
    {
        double w, x, y, xx, xy, yy, xz, yz, zz;
    };
    Moments within(int block, int first, int last) const
    {
        const Entry &a = prefix[static_cast<std::size_t>(first + block)];
        const Entry &b = prefix[static_cast<std::size_t>(last + block)];
        const Point &o = origins[static_cast<std::size_t>(block)];
        return { b.w - a.w,   b.x - a.x,   b.y - a.y,   b.xx - a.xx, b.xy - a.xy, b.yy - a.yy,
                 b.xz - a.xz, b.yz - a.yz, b.zz - a.zz, o.x,         o.y };
    }
    Moments overBlocks(int first, int last) const;
    // Points a block: up to half as many pixels wide, so that fourth powers keep 6 digits of a span
    // of 20 points with a radius of 10.
    static constexpr int kBlock = 1024;

    std::vector<Entry> prefix; // per block its points and one more
    std::vector<Point> origins;
};

} // namespace ztrace::fit

#endif
