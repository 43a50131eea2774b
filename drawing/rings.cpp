// (c) the ztrace developers. Licence: see LICENSE.
#include "rings.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <numeric>
#include <tuple>
#include <utility>

namespace ztrace {

namespace {

typedef std::pair<Point, Point> Side; // from, to

bool isBefore(const Point &a, const Point &b)
{
    return std::tie(a.x, a.y) < std::tie(b.x, b.y);
}

bool startsBefore(const Side &a, const Side &b)
{
    return isBefore(a.first, b.first);
}

bool isSideBefore(const Side &a, const Side &b)
{
    return a.first == b.first ? isBefore(a.second, b.second) : startsBefore(a, b);
}

// Sorted; without those that are walked in both directions.
std::vector<Side> outerSides(const std::vector<Ring> &rings)
{
    std::vector<Side> sides;
    for (const Ring &ring : rings) {
        for (std::size_t k = 0; k < ring.size(); ++k) {
            const Point &next = ring[(k + 1) % ring.size()];
            if (!(ring[k] == next))
                sides.emplace_back(ring[k], next);
        }
    }
    std::sort(sides.begin(), sides.end(), isSideBefore);
    std::vector<Side> outer;
    std::copy_if(sides.begin(), sides.end(), std::back_inserter(outer), [&](const Side &side) {
        return !std::binary_search(sides.begin(), sides.end(), Side(side.second, side.first),
                                   isSideBefore);
    });
    return outer;
}

// Turn to the left from one side to the next, above 0 and up to a whole one.
double leftTurn(const Side &from, const Side &to)
{
    const double ax = from.second.x - from.first.x;
    const double ay = from.second.y - from.first.y;
    const double bx = to.second.x - to.first.x;
    const double by = to.second.y - to.first.y;
    const double angle = std::atan2(ax * by - ay * bx, ax * bx + ay * by);
    return angle + std::acos(-1.0);
}

// More sides than this begin at one point only in a file that somebody has made for it.
const int kMostCompared = 64;

// Follows the sides; where rings touch, the sharpest turn to the right stays with the same area.
class Follower
{
public:
    explicit Follower(std::vector<Side> s) : sides(std::move(s)), next(sides.size() + 1)
    {
        std::iota(next.begin(), next.end(), std::size_t(0));
    }

    std::vector<Ring> rings()
    {
        std::vector<Ring> found;
        for (std::size_t first = 0; first < sides.size(); ++first) {
            if (freeFrom(first) == first)
                found.push_back(ringFrom(first));
        }
        return found;
    }

private:
    Ring ringFrom(std::size_t first)
    {
        Ring ring;
        for (std::size_t k = first; k < sides.size(); k = after(sides[k])) {
            next[k] = k + 1;
            ring.push_back(sides[k].first);
        }
        return ring;
    }

    // The first side from a place on that is in no ring yet; the number of sides where there is
    // none. Each look halves the way of the next one.
    std::size_t freeFrom(std::size_t k)
    {
        while (next[k] != k) {
            next[k] = next[next[k]];
            k = next[k];
        }
        return k;
    }

    // The number of sides at the end of a ring.
    std::size_t after(const Side &side)
    {
        const Side end(side.second, side.second);
        const auto from = std::lower_bound(sides.begin(), sides.end(), end, startsBefore);
        std::size_t best = sides.size();
        std::size_t k = freeFrom(std::size_t(from - sides.begin()));
        for (int compared = 0; compared < kMostCompared; ++compared) {
            if (k == sides.size() || !(sides[k].first == side.second))
                break;
            if (best == sides.size() || leftTurn(side, sides[k]) < leftTurn(side, sides[best]))
                best = k;
            k = freeFrom(k + 1);
        }
        return best;
    }

    const std::vector<Side> sides; // in the order of their starts
    // Of a side that is in no ring its own place; else a later one, with none of those between.
    std::vector<std::size_t> next;
};

double twiceTheArea(const Ring &ring)
{
    double twice = 0.0;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const Point &a = ring[k];
        const Point &b = ring[(k + 1) % ring.size()];
        twice += (a.x - ring[0].x) * (b.y - ring[0].y) - (b.x - ring[0].x) * (a.y - ring[0].y);
    }
    return twice;
}

bool isFinite(const Point &p)
{
    return std::isfinite(p.x) && std::isfinite(p.y);
}

// Not that a point comes several times running.
bool touch(const std::vector<Ring> &rings)
{
    Ring points;
    for (const Ring &ring : rings) {
        const auto first = points.insert(points.end(), ring.begin(), ring.end());
        points.erase(std::unique(first, points.end()), points.end());
    }
    if (!std::all_of(points.begin(), points.end(), isFinite))
        return false;
    std::sort(points.begin(), points.end(), isBefore);
    return std::adjacent_find(points.begin(), points.end()) != points.end();
}

// Cut where it comes to a point for the second time; each part is simple.
std::vector<Ring> simpleParts(const Ring &ring)
{
    std::vector<Ring> parts;
    Ring open;
    std::map<std::pair<double, double>, std::size_t> places; // of the open points
    for (const Point &point : ring) {
        const auto known = places.find({ point.x, point.y });
        if (known != places.end()) {
            const auto from = open.begin() + std::ptrdiff_t(known->second);
            parts.emplace_back(from, open.end());
            for (auto k = from; k != open.end(); ++k)
                places.erase({ k->x, k->y });
            open.erase(from, open.end());
        }
        places[{ point.x, point.y }] = open.size();
        open.push_back(point);
    }
    parts.push_back(std::move(open));
    return parts;
}

// Whether a point is inside a ring: a ray to the right meets it an odd number of times.
bool contains(const Ring &ring, Point p)
{
    bool inside = false;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const Point &a = ring[k];
        const Point &b = ring[(k + 1) % ring.size()];
        if ((a.y > p.y) != (b.y > p.y) && p.x < a.x + (p.y - a.y) / (b.y - a.y) * (b.x - a.x))
            inside = !inside;
    }
    return inside;
}

// Finds the smallest polygon around a hole, which lies in none of its holes.
class Surroundings
{
public:
    explicit Surroundings(std::vector<Polygon> *p) : polygons(*p)
    {
        for (std::size_t k = 0; k < polygons.size(); ++k) {
            Bounds box;
            for (const Point &point : polygons[k].outer)
                box.grow(point);
            bySize.push_back({ std::fabs(twiceTheArea(polygons[k].outer)), box, k });
        }
        std::stable_sort(bySize.begin(), bySize.end(),
                         [](const Outer &a, const Outer &b) { return a.size < b.size; });
    }

    Polygon &around(const Ring &hole)
    {
        const Point middle((hole[0].x + hole[1].x) / 2, (hole[0].y + hole[1].y) / 2);
        for (const Outer &outer : bySize) {
            if (middle.x >= outer.box.low.x && middle.x <= outer.box.high.x
                && middle.y >= outer.box.low.y && middle.y <= outer.box.high.y
                && contains(polygons[outer.polygon].outer, middle))
                return polygons[outer.polygon];
        }
        return polygons.front();
    }

private:
    struct Outer
    {
        double size;
        Bounds box;
        std::size_t polygon;
    };

    std::vector<Polygon> &polygons;
    std::vector<Outer> bySize; // the smallest first
};

} // namespace

void turn(Ring *ring, bool isClockwise)
{
    if ((twiceTheArea(*ring) < 0.0) != isClockwise)
        std::reverse(ring->begin(), ring->end());
}

std::vector<Ring> unitedRings(const std::vector<Ring> &rings)
{
    return Follower(outerSides(rings)).rings();
}

// The area lies on the right of each ring, and the sharpest turn to the right keeps to one part of
// it: what is walked so is the boundary of such a part, or what lies in holes of one.
std::vector<Polygon> simplePolygons(Ring outer, std::vector<Ring> holes)
{
    std::vector<Ring> rings = holes;
    rings.push_back(outer);
    const Polygon whole = { std::move(outer), std::move(holes) };
    if (!touch(rings))
        return { whole };
    for (std::size_t k = 0; k < rings.size(); ++k)
        turn(&rings[k], k + 1 == rings.size());
    std::vector<Polygon> polygons;
    std::vector<Ring> loose; // holes of parts that they do not touch
    for (const Ring &walk : unitedRings(rings)) {
        std::vector<Ring> inside;
        Ring around;
        for (Ring &part : simpleParts(walk))
            (twiceTheArea(part) < 0.0 ? around : inside.emplace_back()) = std::move(part);
        if (around.empty())
            std::move(inside.begin(), inside.end(), std::back_inserter(loose));
        else
            polygons.push_back({ std::move(around), std::move(inside) });
    }
    if (polygons.empty())
        return { whole }; // of no width
    Surroundings surroundings(&polygons);
    for (Ring &hole : loose)
        surroundings.around(hole).holes.push_back(std::move(hole));
    return polygons;
}

} // namespace ztrace
