// (c) the ztrace developers. Licence: see LICENSE.
//
// A line or an arc between two vertices: the distances of points from it by sums over them, and how
// these change with vertices and sagitta. docs/fit/joints.md.
#ifndef ZTRACE_FIT_FRAME_H
#define ZTRACE_FIT_FRAME_H

#include "fit/sums.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace::fit {

// Factors of 1, u, v and z.
typedef std::array<double, 4> Terms;

inline double sumOf(const Terms &a, const Terms &b)
{
    return (a[0] * b[0] + a[1] * b[1]) + (a[2] * b[2] + a[3] * b[3]);
}

// Sums of the products of 1, u, v and z over points, by their weights; symmetric.
struct Products
{
    std::array<Terms, 4> row;

    // Of each of the four with the sum of all by their factors.
    Terms with(const Terms &t) const
    {
        Terms sums;
        for (std::size_t k = 0; k < 4; ++k)
            sums[k] = row[0][k] * t[0] + row[1][k] * t[1] + row[2][k] * t[2] + row[3][k] * t[3];
        return sums;
    }
};

// Those of 1, u and v alone.
struct LineProducts
{
    double w, u, uu, v, uv, vv;
};

// One piece between two vertices in the frame of its chord: u along, v outwards (towards positive
// sagittas, the right-hand side where x turns into y to the left).
struct Frame
{
    Point middle;
    Point along;
    Point outward;
    double length;
    double sagitta;
    double curvature;
    double bySagitta; // derivatives of the curvature
    double byHalf;

    Frame(Point start, Point end, double s)
        : middle(0.5 * (start + end)), along(end - start), length(std::sqrt(dot(along, along))),
          sagitta(s)
    {
        along = length > 1e-9 ? (1 / length) * along : Point { 1, 0 };
        length = std::max(length, 1e-9);
        outward = { along.y, -along.x };
        const double c = length / 2;
        const double sum = s * s + c * c;
        curvature = 2 * s / sum;
        bySagitta = 2 * (c * c - s * s) / (sum * sum);
        byHalf = -4 * s * c / (sum * sum);
    }

    // Signed distance of p outside of the circle through both vertices and the sagitta's top. In
    // this form it goes over into the distance from the chord as the sagitta goes to zero.
    double distance(Point p) const
    {
        const double u = dot(p - middle, along);
        const double v = dot(p - middle, outward) - sagitta;
        const double f = curvature * (u * u + v * v) + 2 * v;
        return f / (1 + std::sqrt(std::max(0.0, 1 + curvature * f)));
    }

    // Sums of the products of 1, u, v and z = uu + vv, v from the sagitta's top on: all that the
    // distance to first order, v + curvature / 2 z, and its changes are made of.
    Products products(const Moments &moments) const
    {
        const Point top = middle + sagitta * outward;
        const Moments m = shifted(moments, top.x, top.y);
        const Point a = along;
        const Point b = outward;
        const double u = a.x * m.x + a.y * m.y;
        const double v = b.x * m.x + b.y * m.y;
        const double uu = a.x * a.x * m.xx + 2 * a.x * a.y * m.xy + a.y * a.y * m.yy;
        const double vv = b.x * b.x * m.xx + 2 * b.x * b.y * m.xy + b.y * b.y * m.yy;
        const double uv = a.x * b.x * m.xx + (a.x * b.y + a.y * b.x) * m.xy + a.y * b.y * m.yy;
        const double uz = a.x * m.xz + a.y * m.yz;
        const double vz = b.x * m.xz + b.y * m.yz;
        return { { Terms { m.w, u, v, uu + vv }, Terms { u, uu, uv, uz }, Terms { v, uv, vv, vz },
                   Terms { uu + vv, uz, vz, m.zz } } };
    }
    // The sums of the products that are left where the sagitta is zero.
    LineProducts lineProducts(const Moments &m) const
    {
        const double dx = m.ox - middle.x;
        const double dy = m.oy - middle.y;
        const double x = m.x + dx * m.w;
        const double y = m.y + dy * m.w;
        const double xx = m.xx + 2 * dx * m.x + dx * dx * m.w;
        const double xy = m.xy + dx * m.y + dy * m.x + dx * dy * m.w;
        const double yy = m.yy + 2 * dy * m.y + dy * dy * m.w;
        const Point a = along;
        const Point b = outward;
        return { m.w,
                 a.x * x + a.y * y,
                 a.x * a.x * xx + 2 * a.x * a.y * xy + a.y * a.y * yy,
                 b.x * x + b.y * y,
                 a.x * b.x * xx + (a.x * b.y + a.y * b.x) * xy + a.y * b.y * yy,
                 b.x * b.x * xx + 2 * b.x * b.y * xy + b.y * b.y * yy };
    }
    Terms distanceTerms() const { return { 0, 0, 1, 0.5 * curvature }; }
    // Changes of the distance by x and y of the start, the sagitta, x and y of the end.
    std::array<Terms, 5> changeTerms(bool arc) const
    {
        const double slide = 0.5 * curvature;
        const double turn = (1 - curvature * sagitta) / length;
        const double widen = 0.25 * byHalf;
        const Point a = along;
        const Point b = outward;
        const double s = arc ? 1 : 0;
        return { Terms { -0.5 * b.x, -slide * a.x + turn * b.x, -slide * b.x, -widen * a.x },
                 Terms { -0.5 * b.y, -slide * a.y + turn * b.y, -slide * b.y, -widen * a.y },
                 Terms { -s, 0, -s * curvature, s * 0.5 * bySagitta },
                 Terms { -0.5 * b.x, -slide * a.x - turn * b.x, -slide * b.x, widen * a.x },
                 Terms { -0.5 * b.y, -slide * a.y - turn * b.y, -slide * b.y, widen * a.y } };
    }

    // Half the sweep, and what it changes by per sagitta and per half chord.
    double halfSweep() const { return 2 * std::atan(2 * sagitta / length); }
    double sweepBySagitta() const { return length / (sagitta * sagitta + 0.25 * length * length); }
    double sweepByHalf() const
    {
        return -2 * sagitta / (sagitta * sagitta + 0.25 * length * length);
    }
};

} // namespace ztrace::fit

#endif
