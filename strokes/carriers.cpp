// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/carriers.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kUnsure = 4.0;    // pixels between touching and crossing, not told apart
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

bool touchingPlace(const fit::Primitive &a, const fit::Primitive &b, double within, Point *place)
{
    if (!a.arc || !b.arc)
        return false;
    const Point way = b.point - a.point;
    const double d = std::hypot(way.x, way.y);
    if (!(d > 1e-9))
        return false;
    const bool outside = std::fabs(d - a.radius - b.radius) < within;
    const bool inside = std::fabs(d - std::fabs(a.radius - b.radius)) < within;
    if (!outside && !inside)
        return false;
    // Beside the smaller circle, of two that lie in each other.
    const double side = outside || a.radius > b.radius ? 1.0 : -1.0;
    const Point onA = a.point + (side * a.radius / d) * way;
    *place = 0.5 * (onA + b.foot(onA));
    return true;
}

Point betweenTouchAndCrossing(const fit::Primitive &a, const fit::Primitive &b, Point crossing)
{
    if (a.arc == b.arc)
        return crossing;
    const fit::Primitive &line = a.arc ? b : a;
    const Point touch = line.foot((a.arc ? a : b).point);
    const double apart = std::hypot(touch.x - crossing.x, touch.y - crossing.y);
    return apart < kUnsure ? (a.arc ? a : b).foot(0.5 * (touch + crossing)) : crossing;
}

bool liesOn(const Atom &atom, Point place, double slack)
{
    const Point first = atom.samples.front().centre;
    const Point last = atom.samples.back().centre;
    if (atom.shape == Shape::Line) {
        const double t = fit::dot(place - first, atom.carrier.direction);
        const double length = fit::dot(last - first, atom.carrier.direction);
        return t > std::min(0.0, length) - slack && t < std::max(0.0, length) + slack;
    }
    return std::any_of(atom.samples.begin(), atom.samples.end(), [&](const Section &s) {
        return std::hypot(s.centre.x - place.x, s.centre.y - place.y) < slack;
    });
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
