// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/carriers.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kMostAside = 1.2; // pixels that a touching place is moved from the foot at most

Crossings lineWithLine(const fit::Primitive &a, const fit::Primitive &b)
{
    Crossings result;
    const double sine = fit::cross(a.direction, b.direction);
    if (std::fabs(sine) < 1e-9)
        return result;
    const double t = fit::cross(b.point - a.point, b.direction) / sine;
    result.place[result.count++] = a.point + t * a.direction;
    return result;
}

Crossings lineWithCircle(const fit::Primitive &line, const fit::Primitive &circle)
{
    Crossings result;
    const Point foot = line.foot(circle.point);
    const double d = std::hypot(foot.x - circle.point.x, foot.y - circle.point.y);
    const double square = circle.radius * circle.radius - d * d;
    if (square < 0)
        return result;
    const double half = std::sqrt(square);
    result.place[result.count++] = foot + half * line.direction;
    result.place[result.count++] = foot - half * line.direction;
    return result;
}

Crossings circleWithCircle(const fit::Primitive &a, const fit::Primitive &b)
{
    Crossings result;
    const double d = std::hypot(a.point.x - b.point.x, a.point.y - b.point.y);
    if (!(d > 1e-9))
        return result;
    const double along = 0.5 * (d + (a.radius * a.radius - b.radius * b.radius) / d);
    const double square = a.radius * a.radius - along * along;
    if (square < 0)
        return result;
    const Point u = (1 / d) * (b.point - a.point);
    const Point v = { -u.y, u.x };
    const double half = std::sqrt(square);
    result.place[result.count++] = a.point + along * u + half * v;
    result.place[result.count++] = a.point + along * u - half * v;
    return result;
}

} // namespace

Crossings crossingsOf(const fit::Primitive &a, const fit::Primitive &b)
{
    if (!a.arc && !b.arc)
        return lineWithLine(a, b);
    if (a.arc && b.arc)
        return circleWithCircle(a, b);
    return a.arc ? lineWithCircle(b, a) : lineWithCircle(a, b);
}

Point touching(const fit::Primitive &a, const fit::Primitive &b, Point near, double reach,
               double breakPart)
{
    Point place = near;
    if (a.arc != b.arc) {
        const fit::Primitive &line = a.arc ? b : a;
        const Point tangency = line.foot((a.arc ? a : b).point);
        if (std::hypot(tangency.x - near.x, tangency.y - near.y) < reach) {
            const double aside = breakPart * fit::dot(near - tangency, line.direction);
            place = tangency + std::clamp(aside, -kMostAside, kMostAside) * line.direction;
        }
        return (a.arc ? a : b).foot(place);
    }
    return 0.5 * (a.foot(place) + b.foot(place));
}

} // namespace ztrace::strokes
