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

QTEST_APPLESS_MAIN(tst_Rings)
#include "tst_rings.moc"
