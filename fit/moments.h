// (c) the ztrace developers. Licence: see LICENSE.
//
// Sums of points, and the line and the circle that they give.
#ifndef ZTRACE_FIT_MOMENTS_H
#define ZTRACE_FIT_MOMENTS_H

#include "fit/Chain.h"

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

// A line or a circle that was fitted to a span, with the direction of the walk.
struct Primitive
{
    bool arc;
    Point point;     // of the line: the mean; of the circle: the centre
    Point direction; // of the line, unit length
    double radius;
    double turn; // of the circle: 1 where the walk turns from x to y, else -1
    double chi2; // sum of (distance / sigma) squared; of the circle to first order

    // Signed: right of the line, outside of the circle.
    double distance(Point p) const
    {
        const Point d = p - point;
        return arc ? std::sqrt(dot(d, d)) - radius : cross(d, direction);
    }
    // The nearest point, p itself at a circle's centre, and the unit tangent there along the walk.
    void lead(Point p, Point *toFoot, Point *along) const
    {
        const Point d = p - point;
        if (!arc) {
            *toFoot = point + dot(d, direction) * direction;
            *along = direction;
            return;
        }
        const double length = std::sqrt(dot(d, d));
        *toFoot = length > 0 ? point + (radius / length) * d : p;
        *along = length > 0 ? Point { -turn * d.y / length, turn * d.x / length } : Point { 1, 0 };
    }
    Point foot(Point p) const
    {
        Point place, along;
        lead(p, &place, &along);
        return place;
    }
    Point tangent(Point p) const
    {
        Point place, along;
        lead(p, &place, &along);
        return along;
    }
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
inline Primitive lineOf(const Moments &m, const LineMoments &c, Point first, Point last)
{
    // The eigenvector of the larger eigenvalue, from the row that keeps more digits.
    const double half = 0.5 * (c.xx - c.yy);
    const double root = std::sqrt(half * half + c.xy * c.xy);
    Point direction = half > 0 ? Point { half + root, c.xy } : Point { c.xy, root - half };
    const double length = std::sqrt(dot(direction, direction));
    direction = length > 0 ? (1 / length) * direction : Point { 1, 0 };
    if (dot(direction, last - first) < 0)
        direction = -1.0 * direction;
    return { false, { c.mx + m.ox, c.my + m.oy }, direction, 0, 0, c.least * m.w };
}

// The circle of least algebraic distance over mean gradient (Taubin 1991), by Newton's method on
// the characteristic polynomial (Chernov, Circular and Linear Regression, 2010, 5.10). False where
// the points tell no circle, or one with a radius over kLargestRadius.
//
// The polynomial's root, which makes the sum of squares, is neared from below: false, too, where a
// sum on the way is hopeless already, isHopeless(chi2).
const double kLargestRadius = 1e5;
// More steps than the polynomial ever needed on 10^6 random spans.
const int kCircleSteps = 12;
// Of the root, which is the mean squared distance; the next step is about the square of that.
const double kCircleSettled = 1e-3;
const double kAnyRoot = 1e300;

template<typename IsHopeless>
bool circleOf(const Moments &m, const LineMoments &c, IsHopeless isHopeless, Primitive *circle)
{
    const double part = 1 / m.w;
    const double mz = c.xx + c.yy;
    const double q = c.mx * c.mx + c.my * c.my;
    const double z = m.xx + m.yy;
    // Around the mean: shifted() with dx = -mean, written out for the three that are needed.
    const double zNew = z - 2 * c.mx * m.x - 2 * c.my * m.y + q * m.w;
    const double xz = (m.xz - 2 * c.mx * m.xx - 2 * c.my * m.xy + q * m.x - c.mx * zNew) * part;
    const double yz = (m.yz - 2 * c.mx * m.xy - 2 * c.my * m.yy + q * m.y - c.my * zNew) * part;
    const double zz = (m.zz + 4 * c.mx * c.mx * m.xx + 4 * c.my * c.my * m.yy + q * q * m.w
                       - 4 * c.mx * m.xz - 4 * c.my * m.yz + 2 * q * z + 8 * c.mx * c.my * m.xy
                       - 4 * q * (c.mx * m.x + c.my * m.y))
        * part;
    const double cov = c.xx * c.yy - c.xy * c.xy;
    const double a3 = 4 * mz;
    const double a2 = -3 * mz * mz - zz;
    const double a1 = zz * mz + 4 * cov * mz - xz * xz - yz * yz - mz * mz * mz;
    const double a0
        = xz * xz * c.yy + yz * yz * c.xx - zz * cov - 2 * xz * yz * c.xy + mz * mz * cov;
    double root = 0;
    double value = a0;
    for (int step = 0; step < kCircleSteps; ++step) {
        const double slope = a1 + root * (2 * a2 + root * 3 * a3);
        const double next = root - value / slope;
        if (!(next > root) || !(next < kAnyRoot))
            break;
        const double nextValue = a0 + next * (a1 + next * (a2 + next * a3));
        const bool settled = next - root < kCircleSettled * next;
        if (std::fabs(nextValue) >= std::fabs(value))
            break;
        root = next;
        value = nextValue;
        if (isHopeless(root * m.w))
            return false;
        if (settled)
            break;
    }
    const double det = root * root - root * mz + cov;
    const double cx = (xz * (c.yy - root) - yz * c.xy) / (2 * det);
    const double cy = (yz * (c.xx - root) - xz * c.xy) / (2 * det);
    const double radius = std::sqrt(cx * cx + cy * cy + mz);
    if (!(radius < kLargestRadius) || !(radius > 0))
        return false;
    circle->arc = true;
    circle->point = { cx + c.mx + m.ox, cy + c.my + m.oy };
    circle->direction = { 1, 0 };
    circle->radius = radius;
    circle->turn = 1;
    circle->chi2 = root * m.w;
    return true;
}

inline bool circleOf(const Moments &m, const LineMoments &c, Primitive *circle)
{
    return circleOf(
        m, c, [](double) { return false; }, circle);
}

} // namespace ztrace::fit

#endif
