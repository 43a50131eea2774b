// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/track.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kTurn = 2 * 3.14159265358979323846;
const double kStep = 0.5;   // pixels
const double kRow = 0.25;   // of the width, between the rows that are looked at
const double kInk = 0.5;    // coverage
const double kNothing = 0.5; // pixels below which ink or a gap is none

double levelAt(const Track &track, const Coverage &coverage, double t, double width)
{
    const Point p = track.placeAt(t);
    const Point u = track.headingAt(t);
    const Point across = { -kRow * width * u.y, kRow * width * u.x };
    return (coverage.at(p) + coverage.at(p + across) + coverage.at(p - across)) / 3;
}

} // namespace

Track::Track(const fit::Primitive &carrier, Point from, Point next)
    : base(carrier), origin(carrier.foot(from))
{
    if (!base.arc) {
        way = fit::dot(next - from, base.direction) < 0 ? -1.0 : 1.0;
        return;
    }
    const Point u = origin - base.point;
    way = fit::cross(u, next - base.point) < 0 ? -1.0 : 1.0;
    angle = std::atan2(u.y, u.x);
}

double Track::lengthAt(Point p) const
{
    if (!base.arc)
        return way * fit::dot(p - origin, base.direction);
    const Point u = p - base.point;
    double turned = way * (std::atan2(u.y, u.x) - angle) / kTurn + kBefore;
    turned -= std::floor(turned);
    return (turned - kBefore) * kTurn * base.radius;
}

Point Track::placeAt(double length) const
{
    if (!base.arc)
        return origin + way * length * base.direction;
    const double at = angle + way * length / base.radius;
    return base.point + base.radius * Point { std::cos(at), std::sin(at) };
}

Point Track::headingAt(double length) const
{
    if (!base.arc)
        return way * base.direction;
    const double at = angle + way * length / base.radius;
    return way * Point { -std::sin(at), std::cos(at) };
}

double Track::whole() const
{
    return base.arc ? kTurn * base.radius : 0.0;
}

std::vector<Run> inkAlong(const Track &track, const Coverage &coverage, double from, double to,
                          double width)
{
    std::vector<Run> runs;
    const int steps = std::max(1, int(std::ceil((to - from) / kStep)));
    const double step = (to - from) / steps;
    double before = levelAt(track, coverage, from, width);
    if (before >= kInk)
        runs.push_back({ from, to });
    for (int k = 1; k <= steps; ++k) {
        const double t = from + k * step;
        const double level = levelAt(track, coverage, t, width);
        const double crossed = t - step * (level - kInk) / (level - before);
        if (before < kInk && level >= kInk) {
            if (!runs.empty() && crossed - runs.back().to < kNothing)
                runs.back().to = to;
            else
                runs.push_back({ crossed, to });
        } else if (before >= kInk && level < kInk) {
            runs.back().to = crossed;
            if (runs.back().length() < kNothing)
                runs.pop_back();
        }
        before = level;
    }
    return runs;
}

} // namespace ztrace::strokes
