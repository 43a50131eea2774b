// (c) the ztrace developers. Licence: see LICENSE.
//
// Sums over prefixes of a chain, and the line and the circle that they give for any span at once.
#ifndef ZTRACE_FIT_SUMS_H
#define ZTRACE_FIT_SUMS_H

#include "fit/Points.h"

#include <cmath>

namespace ztrace::fit {

// Weighted sums of 1, x, y, xx, xy, yy, xz, yz, zz with z = xx + yy, around (ox, oy).
struct Moments
{
    double w, x, y, xx, xy, yy, xz, yz, zz;
    double ox, oy;
};

// The same sums around another origin.
Moments shifted(const Moments &m, double ox, double oy);

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

// A line or a circle that was fitted to a span, with the direction of the walk.
struct Primitive
{
    bool arc;
    Point point;     // of the line: the mean; of the circle: the centre
    Point direction; // of the line, unit length
    double radius;
    double turn; // of the circle: 1 where the walk turns from x to y, else -1
    double chi2; // sum of (distance / sigma) squared; of the circle to first order

    double distance(Point p) const; // signed: right of the line, outside of the circle
    Point foot(Point p) const;      // nearest point; p itself at a circle's centre
    Point tangent(Point p) const;   // unit, at the foot, along the walk
};

// Central second moments; the smaller eigenvalue is the mean squared distance.
struct LineMoments
{
    double mx, my, xx, xy, yy;
    double least;
};
inline LineMoments lineMoments(const Moments &m)
{
    const double part = 1 / m.w;
    const double mx = m.x * part;
    const double my = m.y * part;
    const double xx = m.xx * part - mx * mx;
    const double yy = m.yy * part - my * my;
    const double xy = m.xy * part - mx * my;
    const double half = 0.5 * (xx - yy);
    const double least = 0.5 * (xx + yy) - std::sqrt(half * half + xy * xy);
    return { mx, my, xx, xy, yy, least > 0 ? least : 0 };
}

// Least total squares; direction (1, 0) where all points coincide.
Primitive lineOf(const Moments &m, const LineMoments &c, Point first, Point last);

// The circle of least algebraic distance over mean gradient (Taubin 1991), by Newton's method on
// the characteristic polynomial (Chernov, Circular and Linear Regression, 2010, 5.10). False where
// the points tell no circle, or one with a radius over kLargestRadius.
bool circleOf(const Moments &m, const LineMoments &c, Primitive *circle);
const double kLargestRadius = 1e5;

} // namespace ztrace::fit

#endif
