// (c) the ztrace developers. Licence: see LICENSE.
//
// The boundary map: every crack once, nodes, rings, and the same map however the picture is turned.
#include "Planes.h"

#include "tracing/boundarymap.h"

#include <QTest>

#include <map>
#include <set>

using namespace ztrace;
using namespace planes;

namespace {

struct Point
{
    int x;
    int y;
};

bool operator<(const Point &a, const Point &b)
{
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

bool operator==(const Point &a, const Point &b)
{
    return a.x == b.x && a.y == b.y;
}

BoundaryMap mapOf(const Plane &plane)
{
    return makeBoundaryMap(scanRuns(plane.labels.data(), plane.width, plane.height));
}

std::vector<Point> pointsOf(const BoundaryMap &map, uint32_t reference)
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
QString chainError(const Plane &plane, const BoundaryMap &map)
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

QString nodeError(const Plane &plane, const BoundaryMap &map)
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
QString endError(const Plane &plane, const BoundaryMap &map)
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
std::vector<Point> ringOf(const BoundaryMap &map, uint32_t ring)
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
bool isSimple(const Lattice &lattice, const std::vector<Point> &ring)
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

QString ringError(const Plane &plane, const BoundaryMap &map)
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
std::vector<Point> middlesOf(const BoundaryMap &map, uint32_t chain)
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

int side(const Segment &line, const Point &p)
{
    const int cross = (line.second.x - line.first.x) * (p.y - line.first.y)
        - (line.second.y - line.first.y) * (p.x - line.first.x);
    return (cross > 0) - (cross < 0);
}

// Whether two short segments have more in common than an end of both.
bool meet(const Segment &a, const Segment &b)
{
    if (a.first == b.first || a.first == b.second || a.second == b.first || a.second == b.second)
        return side(a, b.first) == 0 && side(a, b.second) == 0
            && (std::minmax(a.first, a.second) == std::minmax(b.first, b.second));
    return side(a, b.first) != side(a, b.second) && side(b, a.first) != side(b, a.second);
}

// Every segment through the middles lies in the cell around one lattice point.
bool middlesCross(const BoundaryMap &map)
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

bool operator<(const Shape &a, const Shape &b)
{
    return std::tie(a.points, a.left, a.right) < std::tie(b.points, b.left, b.right);
}

bool operator==(const Shape &a, const Shape &b)
{
    return std::tie(a.points, a.left, a.right) == std::tie(b.points, b.left, b.right);
}

// In the direction, and for loops from the place, that do not depend on how it was found.
Shape canonical(Shape shape, bool isLoop)
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
std::vector<Shape> shapesOf(const BoundaryMap &map, bool mirrored, Move movePoint)
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

std::vector<Shape> shapesOf(const BoundaryMap &map)
{
    return shapesOf(map, false, [](const Point &point) { return point; });
}

Plane quarterTurn(const Plane &plane)
{
    Plane turnedPlane { plane.height, plane.width, std::vector<uint16_t>(plane.pixels()) };
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x)
            turnedPlane.labels[at(x * plane.height + plane.height - 1 - y)]
                = plane.labels[at(y * plane.width + x)];
    }
    return turnedPlane;
}

Plane mirror(const Plane &plane)
{
    Plane mirrored = plane;
    for (int y = 0; y < plane.height; ++y)
        std::reverse(mirrored.labels.begin() + y * plane.width,
                     mirrored.labels.begin() + (y + 1) * plane.width);
    return mirrored;
}

QStringList movesOf(const BoundaryMap &map, uint32_t reference)
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

} // namespace

class tst_BoundaryMap : public QObject
{
    Q_OBJECT

private slots:
    void workedExample()
    {
        const BoundaryMap map = mapOf(planeOf({ "0011", "0211", "0000" }));
        // Four corners, two places on the rim, and one where 0, 1 and 2 meet.
        QCOMPARE(map.nodes.size(), std::size_t(8));
        QCOMPARE(map.chains.size(), std::size_t(10));
        const Node &node = map.nodes[3];
        QCOMPARE(node.x, 2);
        QCOMPARE(node.y, 1);
        QCOMPARE(std::vector<int>(node.area, node.area + 4), (std::vector<int> { 1, 1, 2, 0 }));
        QCOMPARE(movesOf(map, node.leaving[kLeft]), (QStringList { "2,1 l1", "1,1 d1", "1,2 r1" }));
        QCOMPARE(movesOf(map, node.leaving[kLeft] ^ 1u),
                 (QStringList { "2,2 l1", "1,2 u1", "1,1 r1" }));
        const Chain &chain = map.chains[chainOf(node.leaving[kLeft])];
        QCOMPARE(isReversed(node.leaving[kLeft]) ? chain.right : chain.left, 2);
        QCOMPARE(isReversed(node.leaving[kLeft]) ? chain.left : chain.right, 0);
        QCOMPARE(map.firstRing, (std::vector<uint32_t> { 0, 1, 2, 3 }));
        QCOMPARE(enclosedArea(map, 0), int64_t(7));
    }

    void loopsHaveNoNodes()
    {
        const BoundaryMap map = mapOf(planeOf({ "0000", "0110", "0000" }));
        QCOMPARE(map.nodes.size(), std::size_t(4));
        QCOMPARE(map.chains.size(), std::size_t(5));
        QCOMPARE(map.chains[4].startNode, kNoNode);
        QCOMPARE(map.chains[4].left, 0);
        QCOMPARE(map.chains[4].right, 1);
        QCOMPARE(movesOf(map, referenceTo(4, false)),
                 (QStringList { "1,1 r2", "3,1 d1", "3,2 l2", "1,2 u1" }));
        QCOMPARE(map.firstRing, (std::vector<uint32_t> { 0, 2, 3 }));
        QCOMPARE(enclosedArea(map, 0), int64_t(12));
        QCOMPARE(enclosedArea(map, 1), int64_t(-2));
        QCOMPARE(enclosedArea(map, 2), int64_t(2));
    }

    void thinDiagonalLineIsOneLoop()
    {
        const BoundaryMap map = mapOf(planeOf({ "0000", "0100", "0010", "0000" }));
        QCOMPARE(map.areas.list.size(), std::size_t(2));
        QCOMPARE(map.chains.size(), std::size_t(5));
        QCOMPARE(map.chains[4].cracks, 8u);
    }

    void fourAreasMeetAtOneNode()
    {
        const BoundaryMap map = mapOf(planeOf({ "01", "23" }));
        QCOMPARE(map.nodes.size(), std::size_t(9));
        QCOMPARE(map.chains.size(), std::size_t(12));
    }

    void areaThatGoesOnParts()
    {
        // 1 goes on from corner to corner and parts 2 from 3 without a node.
        const BoundaryMap map = mapOf(planeOf({ "1122", "1122", "3311", "3311" }));
        QCOMPARE(map.areas.list.size(), std::size_t(3));
        QCOMPARE(map.nodes.size(), std::size_t(8));
        QCOMPARE(map.chains.size(), std::size_t(10));
    }

    void oneAreaOnly()
    {
        const BoundaryMap map = mapOf(planeOf({ "7" }));
        QCOMPARE(map.nodes.size(), std::size_t(4));
        QCOMPARE(map.chains.size(), std::size_t(4));
        QCOMPARE(map.references.size(), std::size_t(4));
        QCOMPARE(enclosedArea(map, 0), int64_t(1));
    }

    void emptyPlanes()
    {
        for (int size : { 0, 3 }) {
            const BoundaryMap map
                = makeBoundaryMap(scanRuns(static_cast<const uint16_t *>(nullptr), size, 3 - size));
            QVERIFY(map.nodes.empty() && map.chains.empty() && map.references.empty());
            QCOMPARE(map.firstRing, std::vector<uint32_t> { 0 });
            QCOMPARE(map.firstReference, std::vector<uint32_t> { 0 });
        }
    }

    void everyCrackIsInOneChain()
    {
        forEachPlane(31, [](const Plane &plane) {
            const QString error = chainError(plane, mapOf(plane));
            QVERIFY2(error.isEmpty(), qPrintable(error + describe(plane)));
        });
    }

    void nodesAreWhereAreasMeet()
    {
        forEachPlane(32, [](const Plane &plane) {
            const QString error = nodeError(plane, mapOf(plane));
            QVERIFY2(error.isEmpty(), qPrintable(error + describe(plane)));
        });
    }

    void chainsGoFromNodeToNode()
    {
        forEachPlane(33, [](const Plane &plane) {
            const QString error = endError(plane, mapOf(plane));
            QVERIFY2(error.isEmpty(), qPrintable(error + describe(plane)));
        });
    }

    void ringsAreSimpleAndSumToTheAreas()
    {
        forEachPlane(34, [](const Plane &plane) {
            const QString error = ringError(plane, mapOf(plane));
            QVERIFY2(error.isEmpty(), qPrintable(error + describe(plane)));
        });
    }

    void linesThroughTheMiddlesOfCracksDoNotCross()
    {
        forEachPlane(38, [](const Plane &plane) {
            QVERIFY2(!middlesCross(mapOf(plane)), qPrintable(describe(plane)));
        });
    }

    void turnedPictureHasTheTurnedMap()
    {
        forEachPlane(35, [](const Plane &plane) {
            const BoundaryMap map = mapOf(plane);
            const auto turn = [&plane](const Point &p) {
                return Point { plane.height - p.y, p.x };
            };
            QVERIFY2(shapesOf(mapOf(quarterTurn(plane))) == shapesOf(map, false, turn),
                     qPrintable(describe(plane)));
            const auto flip = [&plane](const Point &p) { return Point { plane.width - p.x, p.y }; };
            QVERIFY2(shapesOf(mapOf(mirror(plane))) == shapesOf(map, true, flip),
                     qPrintable(describe(plane)));
        });
    }

    void runsNeedNotBeLong()
    {
        Random random(36);
        forEachPlane(36, [&random](const Plane &plane) {
            Plane cut = plane;
            for (uint16_t &label : cut.labels)
                label = uint16_t(2 * label + below(&random, 2));
            Runs runs = scanRuns(cut.labels.data(), cut.width, cut.height);
            for (uint16_t &label : runs.label)
                label = uint16_t(label / 2);
            const BoundaryMap map = makeBoundaryMap(runs);
            const BoundaryMap expected = mapOf(plane);
            QCOMPARE(map.runs.start, expected.runs.start);
            QCOMPARE(map.runs.firstOfRow, expected.runs.firstOfRow);
            QCOMPARE(map.references, expected.references);
            QVERIFY(shapesOf(map) == shapesOf(expected));
        });
    }

    void largePlanes_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("noise") << 0;
        QTest::newRow("checkerboard") << 1;
        QTest::newRow("diamonds") << 2;
    }
    void largePlanes()
    {
        QFETCH(int, kind);
        Random random(37);
        const Plane plane = kind == 0 ? noise(&random, 400, 300, 4)
            : kind == 1               ? checkerboard(401, 300, 2)
                                      : diamonds(&random, 400, 301, 3, 9);
        const BoundaryMap map = mapOf(plane);
        QCOMPARE(chainError(plane, map), QString());
        QCOMPARE(nodeError(plane, map), QString());
        QCOMPARE(ringError(plane, map), QString());
    }
};

QTEST_GUILESS_MAIN(tst_BoundaryMap)
#include "tst_boundarymap.moc"
