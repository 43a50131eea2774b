// (c) the ztrace developers. Licence: see LICENSE.
//
// Rings around areas that lie side by side.
#include "drawing/rings.h"

#include <QtTest>

#include <algorithm>

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

QTEST_APPLESS_MAIN(tst_Rings)
#include "tst_rings.moc"
