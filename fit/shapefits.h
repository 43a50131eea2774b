// (c) the ztrace developers. Licence: see LICENSE.
//
// Least squares of true distances between points and a whole shape: docs/fit/shapes.md. Part of
// fit/shapes.cpp alone.
#ifndef ZTRACE_FIT_SHAPEFITS_H
#define ZTRACE_FIT_SHAPEFITS_H

#include "fit/Points.h"

#include <Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace::fit {

const int kRounds = 12;
const double kSettled = 1e-6;
// Steps, pixels and radians, below which all points are looked at instead of about this many.
const double kRough = 1e-2;
const int kRoughPoints = 64;
// Sum of squares of distances in deviations over which a path of lines is cheaper than a shape: per
// point and beyond. Of soft edges generous, as deviations may be understated; those of a staircase
// are known, and a line through every two points costs 7 nats a point.
struct Hopeless
{
    double perPoint;
    double beyond;
};
const Hopeless kHopelessOfSoft = { 300, 2000 };
const Hopeless kHopelessOfSteps = { 20, 200 };

// One step's answer: distance to the shape and its change by each parameter.
template<int N>
struct Residual
{
    double distance;
    Eigen::Matrix<double, N, 1> change;
};

template<int N>
struct Normal
{
    static constexpr std::size_t kSize = static_cast<std::size_t>(N);
    std::array<std::array<double, kSize>, kSize> products = {};
    std::array<double, kSize> right = {};
    double chi2 = 0;

    void add(const Residual<N> &r, double weight)
    {
        chi2 += weight * r.distance * r.distance;
        for (std::size_t i = 0; i < kSize; ++i) {
            const double change = weight * r.change[int(i)];
            right[i] -= change * r.distance;
            for (std::size_t k = 0; k <= i; ++k)
                products[i][k] += change * r.change[int(k)];
        }
    }

    // False where the points say nothing.
    bool solve(Eigen::Matrix<double, N, 1> *step) const
    {
        Eigen::Matrix<double, N, N> matrix;
        Eigen::Matrix<double, N, 1> side;
        for (std::size_t i = 0; i < kSize; ++i) {
            side[int(i)] = right[i];
            for (std::size_t k = 0; k <= i; ++k)
                matrix(int(i), int(k)) = products[i][k];
            // A parameter that no point sees stays where it is.
            matrix(int(i), int(i)) += 1e-6;
        }
        const Eigen::LLT<Eigen::Matrix<double, N, N>> factors(
            matrix.template selfadjointView<Eigen::Lower>());
        if (factors.info() != Eigen::Success)
            return false;
        *step = factors.solve(side);
        return step->allFinite();
    }
};

// Whether a shape is so far from n points that some path of lines is cheaper in any case: what
// the moments gave may be far off, by round 3 it is not.
inline bool isHopeless(double chi2, Edge edge, int n, int round)
{
    const Hopeless &most = edge == Edge::Soft ? kHopelessOfSoft : kHopelessOfSteps;
    static const double room[4] = { 1000, 100, 10, 1 };
    return !(chi2 < room[std::min(round, 3)] * (most.perPoint * n + most.beyond));
}

// Weighted least squares over all points, the first rounds over some of them. `Shape` is made of
// parameters and gives the Residual of a point, `limit` brings parameters back into their range.
// False where no such shape is near the points.
template<int N, typename Shape, typename Limit>
bool gaussNewton(const Points &points, Eigen::Matrix<double, N, 1> *parameters, Limit limit)
{
    const int n = points.size();
    int stride = 1 + n / kRoughPoints;
    for (int round = 0; round < kRounds; ++round) {
        const Shape shape(*parameters);
        Normal<N> normal;
        for (int i = 0; i < n; i += stride) {
            const double weight = points.weightOf(i);
            normal.add(shape.residual(points.at(i)), weight);
        }
        Eigen::Matrix<double, N, 1> step;
        if (isHopeless(normal.chi2 * stride, points.edge, n, round) || !normal.solve(&step))
            return false;
        *parameters += step;
        limit(parameters);
        const double largest = step.cwiseAbs().maxCoeff();
        if (largest < kSettled && stride == 1)
            break;
        if (largest < kRough)
            stride = 1;
    }
    return true;
}

using Vector3 = Eigen::Matrix<double, 3, 1>;
using Vector5 = Eigen::Matrix<double, 5, 1>;
using Vector6 = Eigen::Matrix<double, 6, 1>;

// Parameters: centre, radius.
struct ToCircle
{
    const Vector3 s;
    explicit ToCircle(const Vector3 &parameters) : s(parameters) { }

    Residual<3> residual(Point p) const
    {
        const Point d = { p.x - s[0], p.y - s[1] };
        const double length = std::max(std::sqrt(dot(d, d)), 1e-12);
        return { length - s[2], Vector3(-d.x / length, -d.y / length, -1) };
    }
};

// Parameters: centre, half axes, angle. The distance is that of first order in the scale by which
// the ellipse would pass through the point: exact for circles, off by the square of the distance
// over the radius of curvature elsewhere.
struct ToEllipse
{
    const Vector5 s;
    const double c;
    const double n;
    explicit ToEllipse(const Vector5 &parameters)
        : s(parameters), c(std::cos(parameters[4])), n(std::sin(parameters[4]))
    { }

    Residual<5> residual(Point p) const
    {
        const double u = c * (p.x - s[0]) + n * (p.y - s[1]);
        const double v = c * (p.y - s[1]) - n * (p.x - s[0]);
        const double a = s[2];
        const double b = s[3];
        const double scale = std::max(std::sqrt(u * u / (a * a) + v * v / (b * b)), 1e-9);
        const double gu = u / (a * a * scale);
        const double gv = v / (b * b * scale);
        const double length = std::max(std::sqrt(gu * gu + gv * gv), 1e-12);
        Residual<5> r;
        r.distance = (scale - 1) / length;
        r.change << -(c * gu - n * gv), -(n * gu + c * gv), -gu * u / a, -gv * v / b,
            gu * v - gv * u;
        r.change /= length;
        return r;
    }
};

// Parameters: centre, half width and height, angle, radius, which stays where it is not rounded.
template<bool rounded>
struct ToRectangle
{
    const Vector6 s;
    const double c;
    const double n;
    explicit ToRectangle(const Vector6 &parameters)
        : s(parameters), c(std::cos(parameters[4])), n(std::sin(parameters[4]))
    { }

    Residual<6> residual(Point p) const
    {
        const double u = c * (p.x - s[0]) + n * (p.y - s[1]);
        const double v = c * (p.y - s[1]) - n * (p.x - s[0]);
        const double x = std::fabs(u) - s[2] + s[5];
        const double y = std::fabs(v) - s[3] + s[5];
        double gx = x > y ? 1 : 0;
        double gy = 1 - gx;
        Residual<6> r;
        r.distance = std::max(x, y) - s[5];
        double byRadius = 0;
        if (x > 0 && y > 0) {
            const double length = std::max(std::sqrt(x * x + y * y), 1e-12);
            gx = x / length;
            gy = y / length;
            r.distance = length - s[5];
            byRadius = rounded ? gx + gy - 1 : 0;
        }
        const double gu = u < 0 ? -gx : gx;
        const double gv = v < 0 ? -gy : gy;
        r.change << -(c * gu - n * gv), -(n * gu + c * gv), -gx, -gy, gu * v - gv * u, byRadius;
        return r;
    }
};

// A bar whose ends are half circles. Parameters: centre, half the length of the line between their
// centres, radius, angle.
struct ToSlot
{
    const Vector5 s;
    const double c;
    const double n;
    explicit ToSlot(const Vector5 &parameters)
        : s(parameters), c(std::cos(parameters[4])), n(std::sin(parameters[4]))
    { }

    Residual<5> residual(Point p) const
    {
        const double u = c * (p.x - s[0]) + n * (p.y - s[1]);
        const double v = c * (p.y - s[1]) - n * (p.x - s[0]);
        const double beyond = std::max(0.0, std::fabs(u) - s[2]);
        const double length = std::max(std::sqrt(beyond * beyond + v * v), 1e-12);
        const double gu = (u < 0 ? -beyond : beyond) / length;
        const double gv = v / length;
        Residual<5> r;
        r.distance = length - s[3];
        r.change << -(c * gu - n * gv), -(n * gu + c * gv), -std::fabs(gu), -1, gu * v - gv * u;
        return r;
    }
};

} // namespace ztrace::fit

#endif
