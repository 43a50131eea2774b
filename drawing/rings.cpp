// (c) the ztrace developers. Licence: see LICENSE.
#include "rings.h"

#include <algorithm>
#include <cmath>
#include <iterator>
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

} // namespace

std::vector<Ring> unitedRings(const std::vector<Ring> &rings)
{
    return Follower(outerSides(rings)).rings();
}

} // namespace ztrace
