// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/sums.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

template<typename Entry>
void add(Entry *sum, double w, double x, double y)
{
    const double z = x * x + y * y;
    sum->w += w;
    sum->x += w * x;
    sum->y += w * y;
    sum->xx += w * x * x;
    sum->xy += w * x * y;
    sum->yy += w * y * y;
    sum->xz += w * x * z;
    sum->yz += w * y * z;
    sum->zz += w * z * z;
}

void addTo(Moments *sum, const Moments &part)
{
    sum->w += part.w;
    sum->x += part.x;
    sum->y += part.y;
    sum->xx += part.xx;
    sum->xy += part.xy;
    sum->yy += part.yy;
    sum->xz += part.xz;
    sum->yz += part.yz;
    sum->zz += part.zz;
}

} // namespace

Moments shifted(const Moments &m, double ox, double oy)
{
    const double dx = m.ox - ox;
    const double dy = m.oy - oy;
    const double q = dx * dx + dy * dy;
    const double z = m.xx + m.yy;
    // Sum of w z' in the new frame.
    const double zNew = z + 2 * dx * m.x + 2 * dy * m.y + q * m.w;
    Moments r = m;
    r.ox = ox;
    r.oy = oy;
    r.x = m.x + dx * m.w;
    r.y = m.y + dy * m.w;
    r.xx = m.xx + 2 * dx * m.x + dx * dx * m.w;
    r.xy = m.xy + dx * m.y + dy * m.x + dx * dy * m.w;
    r.yy = m.yy + 2 * dy * m.y + dy * dy * m.w;
    r.xz = m.xz + 2 * dx * m.xx + 2 * dy * m.xy + q * m.x + dx * zNew;
    r.yz = m.yz + 2 * dx * m.xy + 2 * dy * m.yy + q * m.y + dy * zNew;
    r.zz = m.zz + 4 * dx * dx * m.xx + 4 * dy * dy * m.yy + q * q * m.w + 4 * dx * m.xz
        + 4 * dy * m.yz + 2 * q * z + 8 * dx * dy * m.xy + 4 * q * (dx * m.x + dy * m.y);
    return r;
}

Sums::Sums(const Points &points)
{
    const int n = points.size();
    prefix.reserve(static_cast<std::size_t>(n + n / kBlock + 1));
    for (int start = 0; start < n; start += kBlock) {
        const int end = std::min(n, start + kBlock);
        const Point origin = points.at((start + end) / 2);
        origins.push_back(origin);
        Entry sum = {};
        prefix.push_back(sum);
        for (int i = start; i < end; ++i) {
            const Point p = points.at(i) - origin;
            add(&sum, points.weightOf(i), p.x, p.y);
            prefix.push_back(sum);
        }
    }
}

void Sums::over(const SpanKernels &kernels, int first, const int (&last)[kSpanLanes],
                SpanLanes *lanes, Point (&origin)[kSpanLanes]) const
{
    const int block = first / kBlock;
    const bool one = (*std::max_element(last, last + kSpanLanes) - 1) / kBlock == block;
    const double *to[kSpanLanes];
    for (int k = 0; k < kSpanLanes; ++k) {
        to[k] = &prefix[static_cast<std::size_t>(last[k] + (one ? block : 0))].w;
        origin[k] = origins[static_cast<std::size_t>(block)];
    }
    if (one) {
        kernels.subtract(&prefix[static_cast<std::size_t>(first + block)].w, to, lanes);
        return;
    }
    for (int k = 0; k < kSpanLanes; ++k) {
        const Moments m = over(first, last[k]);
        const double *sums = &m.w;
        for (std::size_t s = 0; s < kSums; ++s)
            lanes->sums[s][k] = sums[s];
        origin[k] = { m.ox, m.oy };
    }
}

Moments Sums::overBlocks(int first, int last) const
{
    const int firstBlock = first / kBlock;
    const int lastBlock = (last - 1) / kBlock;
    const Point origin = origins[static_cast<std::size_t>((firstBlock + lastBlock) / 2)];
    Moments sum = {};
    sum.ox = origin.x;
    sum.oy = origin.y;
    for (int block = firstBlock; block <= lastBlock; ++block) {
        const int start = std::max(first, block * kBlock);
        const int end = std::min(last, (block + 1) * kBlock);
        addTo(&sum, shifted(within(block, start, end), origin.x, origin.y));
    }
    return sum;
}

} // namespace ztrace::fit
