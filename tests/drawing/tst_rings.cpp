// (c) the ztrace developers. Licence: see LICENSE.
//
// Rings around areas that lie side by side.
#include "drawing/rings.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace;

namespace {

// Clockwise as seen with y upwards.
Ring square(double x, double y, double size)
{
    return { Point(x, y), Point(x, y + size), Point(x + size, y + size), Point(x + size, y) };
}

double areaOf(const Ring &ring)
{
    double twice = 0.0;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const Point &next = ring[(k + 1) % ring.size()];
        twice += next.x * ring[k].y - ring[k].x * next.y;
    }
    return twice / 2.0;
}

} // namespace

class tst_Rings : public QObject
{
    Q_OBJECT

private slots:
    void ringsApartStay();
    void neighboursAreOne();
    void whatIsBetweenStaysOut();
    void cornersThatTouchStayApart();
    void nothingIsLeftOfALineThereAndBack();
    void everySideOfAStarIsInARing();
    void polygonsWithoutTouchesStay();
    void lobesAreApart();
    void holesThatTouchPart();
    void holesThatTouchTheRim();
    void holesOfPartsThatTheyDoNotTouch();
    void areasOfNoWidth();
};

void tst_Rings::ringsApartStay()
{
    const std::vector<Ring> rings = unitedRings({ square(0, 0, 1), square(5, 5, 2) });
    QCOMPARE(rings.size(), std::size_t(2));
    QCOMPARE(areaOf(rings[0]), 1.0);
    QCOMPARE(areaOf(rings[1]), 4.0);
}

void tst_Rings::neighboursAreOne()
{
    const std::vector<Ring> rings
        = unitedRings({ square(0, 0, 1), square(1, 0, 1), square(0, 1, 1), square(1, 1, 1) });
    QCOMPARE(rings.size(), std::size_t(1));
    QCOMPARE(rings[0].size(), std::size_t(8));
    QCOMPARE(areaOf(rings[0]), 4.0);
}

// A ring of eight around a ninth that is not there.
void tst_Rings::whatIsBetweenStaysOut()
{
    std::vector<Ring> eight;
    for (int k = 0; k < 9; ++k) {
        if (k != 4)
            eight.push_back(square(k % 3, k / 3, 1));
    }
    const std::vector<Ring> rings = unitedRings(eight);
    QCOMPARE(rings.size(), std::size_t(2));
    const double areas[2] = { areaOf(rings[0]), areaOf(rings[1]) };
    QCOMPARE(std::max(areas[0], areas[1]), 9.0);
    QCOMPARE(std::min(areas[0], areas[1]), -1.0);
}

void tst_Rings::cornersThatTouchStayApart()
{
    const std::vector<Ring> rings = unitedRings({ square(0, 0, 1), square(1, 1, 1) });
    QCOMPARE(rings.size(), std::size_t(2));
    for (const Ring &ring : rings) {
        QCOMPARE(ring.size(), std::size_t(4));
        QCOMPARE(areaOf(ring), 1.0);
    }
}

void tst_Rings::nothingIsLeftOfALineThereAndBack()
{
    QVERIFY(unitedRings({ { Point(0, 0), Point(3, 1) } }).empty());
    // The first point once more at the end.
    const std::vector<Ring> rings
        = unitedRings({ { Point(0, 0), Point(0, 1), Point(1, 1), Point(0, 0) } });
    QCOMPARE(rings.size(), std::size_t(1));
    QCOMPARE(rings[0].size(), std::size_t(3));
}

// More areas at one point than any picture has; the time that they take is a matter of the budgets.
void tst_Rings::everySideOfAStarIsInARing()
{
    const int kAreas = 300;
    std::vector<Ring> areas;
    double area = 0.0;
    for (int k = 0; k < kAreas; ++k) {
        const double angle = -6.283 * k / kAreas;
        areas.push_back({ Point(0, 0), Point(std::cos(angle), std::sin(angle)),
                          Point(std::cos(angle - 0.01), std::sin(angle - 0.01)) });
        area += areaOf(areas.back());
    }
    std::size_t sides = 0;
    for (const Ring &ring : unitedRings(areas)) {
        sides += ring.size();
        area -= areaOf(ring);
    }
    QCOMPARE(sides, std::size_t(3 * kAreas));
    QVERIFY(std::fabs(area) < 1e-9);
}

void tst_Rings::polygonsWithoutTouchesStay()
{
    const Ring outer = square(0, 0, 10);
    const std::vector<Polygon> found = simplePolygons(outer, { square(1, 1, 2), square(5, 5, 2) });
    QCOMPARE(found.size(), std::size_t(1));
    QCOMPARE(found[0].outer, outer);
    QCOMPARE(found[0].holes.size(), std::size_t(2));
    QCOMPARE(found[0].holes[1], square(5, 5, 2));
}

// Two squares that hang together by a corner, walked in one go either way round.
void tst_Rings::lobesAreApart()
{
    Ring both = { Point(0, 0), Point(0, 2), Point(2, 2), Point(2, 5),
                  Point(5, 5), Point(5, 2), Point(2, 2), Point(2, 0) };
    for (int way = 0; way < 2; ++way) {
        const std::vector<Polygon> found = simplePolygons(both, {});
        QCOMPARE(found.size(), std::size_t(2));
        for (const Polygon &polygon : found) {
            QCOMPARE(polygon.outer.size(), std::size_t(4));
            QVERIFY(polygon.holes.empty());
        }
        QCOMPARE(areaOf(found[0].outer) + areaOf(found[1].outer), 13.0);
        std::reverse(both.begin(), both.end());
    }
}

// Four squares around a fifth one, corner to corner: what they enclose is a polygon of its own.
void tst_Rings::holesThatTouchPart()
{
    const std::vector<Polygon> found = simplePolygons(
        square(0, 0, 10), { square(4, 2, 2), square(6, 4, 2), square(4, 6, 2), square(2, 4, 2) });
    QCOMPARE(found.size(), std::size_t(2));
    double outer = 0;
    double holes = 0;
    for (const Polygon &polygon : found) {
        outer += areaOf(polygon.outer);
        for (const Ring &hole : polygon.holes)
            holes += std::fabs(areaOf(hole));
    }
    QCOMPARE(outer, 100.0 + 4.0);
    QCOMPARE(holes, 4 * 4.0 + 4.0); // and what is inside
}

void tst_Rings::holesThatTouchTheRim()
{
    const Ring tip = { Point(0, 5), Point(3, 6), Point(3, 4) };
    Ring outer = square(0, 0, 10);
    outer.insert(outer.begin() + 1, Point(0, 5));
    const std::vector<Polygon> found = simplePolygons(outer, { tip });
    QCOMPARE(found.size(), std::size_t(1));
    QCOMPARE(areaOf(found[0].outer), 100.0);
    QCOMPARE(found[0].holes.size(), std::size_t(1));
    QCOMPARE(std::fabs(areaOf(found[0].holes[0])), 3.0);
}

// Of two lobes the right one has it.
void tst_Rings::holesOfPartsThatTheyDoNotTouch()
{
    const Ring both = { Point(0, 0),   Point(0, 9),  Point(9, 9), Point(9, 20),
                        Point(20, 20), Point(20, 9), Point(9, 9), Point(9, 0) };
    for (double at : { 3.0, 13.0 }) {
        const std::vector<Polygon> found = simplePolygons(both, { square(at, at, 2) });
        QCOMPARE(found.size(), std::size_t(2));
        for (const Polygon &polygon : found) {
            const bool isAround = areaOf(polygon.outer) == (at < 9 ? 81.0 : 121.0);
            QCOMPARE(polygon.holes.size(), std::size_t(isAround ? 1 : 0));
        }
    }
}

void tst_Rings::areasOfNoWidth()
{
    const Ring line = { Point(0, 0), Point(4, 0), Point(8, 0), Point(4, 0) };
    const std::vector<Polygon> found = simplePolygons(line, {});
    QCOMPARE(found.size(), std::size_t(1));
    QCOMPARE(found[0].outer, line);
}

QTEST_APPLESS_MAIN(tst_Rings)
#include "tst_rings.moc"
