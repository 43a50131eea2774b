// (c) the ztrace developers. Licence: see LICENSE.
//
// What must hold of any boundary map, and maps of turned pictures. Functions that return an error
// return an empty text where all is well.
#ifndef ZTRACE_TESTS_TRACING_MAPPROPERTIES_H
#define ZTRACE_TESTS_TRACING_MAPPROPERTIES_H

#include "Planes.h"

#include "tracing/boundarymap.h"

#include <map>
#include <set>

namespace planes {

using namespace ztrace;

struct Point
{
    int x;
    int y;
};

inline bool operator<(const Point &a, const Point &b)
{
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

inline bool operator==(const Point &a, const Point &b)
{
    return a.x == b.x && a.y == b.y;
}

inline BoundaryMap mapOf(const Plane &plane)
{
    return makeBoundaryMap(scanRuns(plane.labels.data(), plane.width, plane.height));
}

inline std::vector<Point> pointsOf(const BoundaryMap &map, uint32_t reference)
{
    std::vector<Point> points;
    forEachPoint(map, reference, [&points](int x, int y) { points.push_back({ x, y }); });
    return points;
}

// The plain statement of what lies around lattice points.
class Lattice
{
public:
    explicit Lattice(const Plane &p)
        : plane(p), map(reference::findRegions(p, reference::Touching::Split))
    { }

    // The area of a pixel, which may lie outside.
    int areaAt(int x, int y) const { return isInside(x, y) ? map.regionOfPixel[index(x, y)] : -1; }
    int labelAt(int x, int y) const { return isInside(x, y) ? plane.labels[index(x, y)] : -1; }

    // Whether a crack leaves the point by the heading.
    bool hasCrack(const Point &from, Heading heading) const
    {
        return areaLeft(from, heading) != areaRight(from, heading);
    }

    int areaLeft(const Point &p, Heading heading) const
    {
        return areaAt(p.x - int(heading == kLeft || heading == kUp),
                      p.y - int(heading == kRight || heading == kUp));
    }
    int areaRight(const Point &p, Heading heading) const
    {
        return areaAt(p.x - int(heading == kDown || heading == kLeft),
                      p.y - int(heading == kLeft || heading == kUp));
    }

    int countCracks(const Point &p) const
    {
        int count = 0;
        for (unsigned heading = 0; heading < 4; ++heading)
            count += hasCrack(p, Heading(heading));
        return count;
    }

    std::size_t countCracks() const
    {
        std::size_t count = 0;
        for (int y = 0; y <= plane.height; ++y) {
            for (int x = 0; x <= plane.width; ++x)
                count += std::size_t(hasCrack({ x, y }, kRight)) + hasCrack({ x, y }, kDown);
        }
        return count;
    }

    // Four areas meet, of which two go on across the corner.
    bool isPassed(const Point &p) const
    {
        return countCracks(p) == 4
            && (labelAt(p.x - 1, p.y - 1) == labelAt(p.x, p.y)
                || labelAt(p.x, p.y - 1) == labelAt(p.x - 1, p.y));
    }

    bool isNode(const Point &p) const
    {
        const bool isCorner = (p.x == 0 || p.x == plane.width) && (p.y == 0 || p.y == plane.height);
        return isCorner || (countCracks(p) > 2 && !isPassed(p));
    }

private:
    bool isInside(int x, int y) const
    {
        return x >= 0 && y >= 0 && x < plane.width && y < plane.height;
    }
    std::size_t index(int x, int y) const { return at(y * plane.width + x); }

    const Plane &plane;
    const reference::RegionMap map;
};

// What is wrong with the chains; empty where nothing is.
inline QString chainError(const Plane &plane, const BoundaryMap &map)
{
    const Lattice lattice(plane);
    std::set<std::pair<Point, bool>> seen; // left or upper end of a crack, whether it goes down
    std::size_t cracks = 0;
    for (std::size_t c = 0; c < map.chains.size(); ++c) {
        const Chain &chain = map.chains[c];
        uint32_t length = 0;
        bool right = true;
        forEachMove(map, referenceTo(uint32_t(c), false),
                    [&](int x, int y, Heading heading, int n) {
                        length += uint32_t(n);
                        for (int k = 0; k < n; ++k) {
                            const Point from { x + k * stepX(heading), y + k * stepY(heading) };
                            const Point to { from.x + stepX(heading), from.y + stepY(heading) };
                            right = right && lattice.hasCrack(from, heading)
                                && lattice.areaLeft(from, heading) == chain.left
                                && lattice.areaRight(from, heading) == chain.right;
                            seen.insert({ std::min(from, to), stepY(heading) != 0 });
                        }
                    });
        if (!right)
            return QLatin1String("areas beside a chain");
        if (length != chain.cracks)
            return QLatin1String("length of a chain");
        cracks += length;
    }
    if (seen.size() != cracks)
        return QLatin1String("a crack in two chains");
    return cracks == lattice.countCracks() ? QString() : QString(QLatin1String("a crack in none"));
}

inline QString nodeError(const Plane &plane, const BoundaryMap &map)
{
    const Lattice lattice(plane);
    std::size_t next = 0;
    for (int y = 0; y <= plane.height; ++y) {
        for (int x = 0; x <= plane.width; ++x) {
            if (!lattice.isNode({ x, y }))
                continue;
            if (next == map.nodes.size() || map.nodes[next].x != x || map.nodes[next].y != y)
                return QLatin1String("a node is missing, or out of order");
            const Node &node = map.nodes[next++];
            for (unsigned heading = 0; heading < 4; ++heading) {
                const uint32_t leaving = node.leaving[heading];
                if (node.area[heading] != lattice.areaLeft({ x, y }, Heading(heading)))
                    return QLatin1String("areas around a node");
                if ((leaving != kNoReference) != lattice.hasCrack({ x, y }, Heading(heading)))
                    return QLatin1String("chains at a node");
                if (leaving == kNoReference)
                    continue;
                const std::vector<Point> points = pointsOf(map, leaving);
                if (!(points[0] == Point { x, y })
                    || !(points[1]
                         == Point { x + stepX(Heading(heading)), y + stepY(Heading(heading)) }))
                    return QLatin1String("a chain leaves a node elsewhere");
            }
        }
    }
    return next == map.nodes.size() ? QString() : QString(QLatin1String("a node too many"));
}

// Chains go from node to node and through none; loops begin at their topmost, leftmost corner.
inline QString endError(const Plane &plane, const BoundaryMap &map)
{
    const Lattice lattice(plane);
    for (std::size_t c = 0; c < map.chains.size(); ++c) {
        const Chain &chain = map.chains[c];
        for (uint32_t k = 1; k < chain.moves; ++k) {
            const Move *move = map.moves.data() + chain.firstMove + k;
            if ((move[-1].heading() + move[0].heading()) % 2 == 0)
                return QLatin1String("two moves of one heading");
        }
        const std::vector<Point> points = pointsOf(map, referenceTo(uint32_t(c), false));
        for (std::size_t k = 1; k + 1 < points.size(); ++k) {
            if (lattice.isNode(points[k]))
                return QLatin1String("a chain through a node");
            if (chain.startNode == kNoNode
                && std::make_pair(points[k].y, points[k].x)
                    <= std::make_pair(points[0].y, points[0].x))
                return QLatin1String("start of a loop");
        }
        if (chain.startNode == kNoNode) {
            if (chain.endNode != kNoNode || !(points.front() == points.back()))
                return QLatin1String("a loop is open");
            continue;
        }
        const Node &start = map.nodes[at(chain.startNode)];
        const Node &end = map.nodes[at(chain.endNode)];
        if (!(points.front() == Point { start.x, start.y })
            || !(points.back() == Point { end.x, end.y }))
            return QLatin1String("ends of a chain");
    }
    return QString();
}

// The points of a ring, the first one not repeated; empty where chains do not meet.
inline std::vector<Point> ringOf(const BoundaryMap &map, uint32_t ring)
{
    std::vector<Point> all;
    for (uint32_t k = map.firstReference[ring]; k < map.firstReference[ring + 1]; ++k) {
        const std::vector<Point> points = pointsOf(map, map.references[k]);
        if (!all.empty() && !(all.back() == points.front()))
            return {};
        all.insert(all.end(), points.begin() + (all.empty() ? 0 : 1), points.end());
    }
    if (all.empty() || !(all.front() == all.back()))
        return {};
    all.pop_back();
    return all;
}

// Twice at a point only where areas go on across it, and then with a turn each time.
inline bool isSimple(const Lattice &lattice, const std::vector<Point> &ring)
{
    std::set<Point> seen;
    for (const Point &point : ring) {
        if (!seen.insert(point).second && !lattice.isPassed(point))
            return false;
    }
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const Point &before = ring[(k + ring.size() - 1) % ring.size()];
        const Point &after = ring[(k + 1) % ring.size()];
        if (lattice.isPassed(ring[k]) && (before.x == after.x || before.y == after.y))
            return false;
    }
    return true;
}

inline QString ringError(const Plane &plane, const BoundaryMap &map)
{
    const Lattice lattice(plane);
    std::set<uint32_t> used;
    for (std::size_t area = 0; area < map.areas.list.size(); ++area) {
        int64_t enclosed = 0;
        for (uint32_t ring = map.firstRing[area]; ring < map.firstRing[area + 1]; ++ring) {
            const std::vector<Point> points = ringOf(map, ring);
            if (points.empty())
                return QLatin1String("a ring is open");
            if (!isSimple(lattice, points))
                return QLatin1String("a ring is not simple");
            if ((enclosedArea(map, ring) > 0) != (ring == map.firstRing[area]))
                return QLatin1String("order or orientation of rings");
            enclosed += enclosedArea(map, ring);
            for (uint32_t k = map.firstReference[ring]; k < map.firstReference[ring + 1]; ++k) {
                const Chain &chain = map.chains[chainOf(map.references[k])];
                if ((isReversed(map.references[k]) ? chain.left : chain.right) != int(area))
                    return QLatin1String("a ring of another area");
                used.insert(map.references[k]);
            }
        }
        if (enclosed != int64_t(map.areas.list[area].area))
            return QLatin1String("area of the rings");
    }
    std::size_t sides = 0;
    for (const Chain &chain : map.chains)
        sides += std::size_t(chain.left != kOutsideArea) + (chain.right != kOutsideArea);
    const bool once = used.size() == sides && map.references.size() == sides;
    return once ? QString() : QString(QLatin1String("a side of a chain in no ring or in two"));
}

// Twice the coordinates of a chain drawn through the middles of its cracks and pinned at its nodes.
inline std::vector<Point> middlesOf(const BoundaryMap &map, uint32_t chain)
{
    const std::vector<Point> points = pointsOf(map, referenceTo(chain, false));
    const bool isLoop = map.chains[chain].startNode == kNoNode;
    std::vector<Point> middles;
    if (!isLoop)
        middles.push_back({ 2 * points.front().x, 2 * points.front().y });
    for (std::size_t k = 1; k < points.size(); ++k)
        middles.push_back({ points[k - 1].x + points[k].x, points[k - 1].y + points[k].y });
    middles.push_back(isLoop ? middles.front()
                             : Point { 2 * points.back().x, 2 * points.back().y });
    return middles;
}

typedef std::pair<Point, Point> Segment;

inline int side(const Segment &line, const Point &p)
{
    const int cross = (line.second.x - line.first.x) * (p.y - line.first.y)
        - (line.second.y - line.first.y) * (p.x - line.first.x);
    return (cross > 0) - (cross < 0);
}

// Whether two short segments have more in common than an end of both.
inline bool meet(const Segment &a, const Segment &b)
{
    if (a.first == b.first || a.first == b.second || a.second == b.first || a.second == b.second)
        return side(a, b.first) == 0 && side(a, b.second) == 0
            && (std::minmax(a.first, a.second) == std::minmax(b.first, b.second));
    return side(a, b.first) != side(a, b.second) && side(b, a.first) != side(b, a.second);
}

// Every segment through the middles lies in the cell around one lattice point.
inline bool middlesCross(const BoundaryMap &map)
{
    std::map<Point, std::vector<Segment>> cells;
    for (uint32_t chain = 0; chain < map.chains.size(); ++chain) {
        const std::vector<Point> middles = middlesOf(map, chain);
        const std::vector<Point> points = pointsOf(map, referenceTo(chain, false));
        const std::size_t first = map.chains[chain].startNode == kNoNode ? 1 : 0;
        for (std::size_t k = 1; k < middles.size(); ++k)
            cells[points[k - 1 + first]].push_back({ middles[k - 1], middles[k] });
    }
    for (const auto &cell : cells) {
        for (std::size_t a = 0; a < cell.second.size(); ++a) {
            for (std::size_t b = 0; b < a; ++b) {
                if (meet(cell.second[a], cell.second[b]))
                    return true;
            }
        }
    }
    return false;
}

// Label and size of an area tell it well enough.
typedef std::pair<int, unsigned> AreaKind;

struct Shape
{
    std::vector<Point> points;
    AreaKind left;
    AreaKind right;
};

inline bool operator<(const Shape &a, const Shape &b)
{
    return std::tie(a.points, a.left, a.right) < std::tie(b.points, b.left, b.right);
}

inline bool operator==(const Shape &a, const Shape &b)
{
    return std::tie(a.points, a.left, a.right) == std::tie(b.points, b.left, b.right);
}

// In the direction, and for loops from the place, that do not depend on how it was found.
inline Shape canonical(Shape shape, bool isLoop)
{
    Shape back { { shape.points.rbegin(), shape.points.rend() }, shape.right, shape.left };
    for (Shape *each : { &shape, &back }) {
        if (!isLoop)
            continue;
        each->points.pop_back();
        std::rotate(each->points.begin(),
                    std::min_element(each->points.begin(), each->points.end()), each->points.end());
    }
    return std::min(shape, back);
}

template<typename Move>
inline std::vector<Shape> shapesOf(const BoundaryMap &map, bool mirrored, Move movePoint)
{
    const auto kindOf = [&map](int area) {
        return area == kOutsideArea
            ? AreaKind(-1, 0)
            : AreaKind(map.areas.list[at(area)].label, map.areas.list[at(area)].area);
    };
    std::vector<Shape> shapes;
    for (uint32_t c = 0; c < map.chains.size(); ++c) {
        const Chain &chain = map.chains[c];
        Shape shape { {}, kindOf(chain.left), kindOf(chain.right) };
        for (const Point &point : pointsOf(map, referenceTo(c, false)))
            shape.points.push_back(movePoint(point));
        if (mirrored)
            std::swap(shape.left, shape.right);
        shapes.push_back(canonical(shape, chain.startNode == kNoNode));
    }
    std::sort(shapes.begin(), shapes.end());
    return shapes;
}

inline std::vector<Shape> shapesOf(const BoundaryMap &map)
{
    return shapesOf(map, false, [](const Point &point) { return point; });
}

inline Plane quarterTurn(const Plane &plane)
{
    Plane turnedPlane { plane.height, plane.width, std::vector<uint16_t>(plane.pixels()) };
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x)
            turnedPlane.labels[at(x * plane.height + plane.height - 1 - y)]
                = plane.labels[at(y * plane.width + x)];
    }
    return turnedPlane;
}

inline Plane mirror(const Plane &plane)
{
    Plane mirrored = plane;
    for (int y = 0; y < plane.height; ++y)
        std::reverse(mirrored.labels.begin() + y * plane.width,
                     mirrored.labels.begin() + (y + 1) * plane.width);
    return mirrored;
}

inline QStringList movesOf(const BoundaryMap &map, uint32_t reference)
{
    QStringList moves;
    forEachMove(map, reference, [&moves](int x, int y, Heading heading, int length) {
        moves.append(QString::fromLatin1("%1,%2 %3%4")
                         .arg(x)
                         .arg(y)
                         .arg(QLatin1Char("rdlu"[heading]))
                         .arg(length));
    });
    return moves;
}

} // namespace planes

#endif
