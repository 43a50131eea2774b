// (c) the ztrace developers. Licence: see LICENSE.
//
// Which cracks of a hard edge say where the boundary is: those of bars, not of slanted lines and
// circles.
#include "tracing/runs.h"
#include "tracing/staircase.h"

#include <QtTest>

#include <cmath>
#include <functional>

using namespace ztrace;

namespace {

// A page by the label of each pixel.
BoundaryMap mapOf(int width, int height, const std::function<int(int x, int y)> &labelOf)
{
    RunScanner scanner(width, height);
    for (int y = 0; y < height; ++y) {
        std::vector<uint8_t> labels;
        for (int x = 0; x < width; ++x)
            labels.push_back(uint8_t(labelOf(x, y)));
        scanner.addRow(labels.data());
    }
    return makeBoundaryMap(scanner.take());
}

ChainPoints loopOf(const BoundaryMap &map, bool isFaint = false)
{
    for (uint32_t k = 0; k < map.chains.size(); ++k) {
        if (map.chains[k].startNode == kNoNode)
            return staircaseOf(map, k, isFaint);
    }
    return ChainPoints();
}

// Of the cracks with middles at height y those that are exact; of all of them where y is negative.
int exactAt(const ChainPoints &points, double y)
{
    int count = 0;
    for (std::size_t k = 0; k < points.x.size(); ++k)
        count += points.sigma[k] == fit::kHardFloor && (y < 0 || points.y[k] == y);
    return count;
}

} // namespace

class tst_Staircase : public QObject
{
    Q_OBJECT
private slots:
    void barsAreExact();
    void blocksAreExact();
    void barsOfAPixelAreExact();
    void smallDiscsAreNoBlocks();
    void slantedLinesAndCirclesAreNot();
    void barThatGoesOverIntoACurve();
    void pixelThatACornerLacks();
    void faintTeethAreNoBends();
    void stepsBesideNodesSayNothing();
};

void tst_Staircase::barsAreExact()
{
    const BoundaryMap map
        = mapOf(40, 20, [](int x, int y) { return x >= 5 && x < 35 && y >= 5 && y < 9; });
    const ChainPoints points = loopOf(map);
    QCOMPARE(exactAt(points, 5), 30);
    QCOMPARE(exactAt(points, 9), 30);
    QCOMPARE(exactAt(points, -1), 68);
}

// Modules of codes, squares of boards, pixel lettering: no smooth boundary is wider than a pixel
// both ways all along.
void tst_Staircase::blocksAreExact()
{
    const auto corner = [](int x, int y) { return (x == 1 || y == 1) && x >= 1 && y >= 1; };
    for (int size : { 3, 4, 5 }) {
        const BoundaryMap map = mapOf(10 * size, 10 * size, [&](int x, int y) {
            return x < 5 * size && y < 4 * size && corner(x / size, y / size);
        });
        QCOMPARE(exactAt(loopOf(map), -1), 14 * size);
    }
    for (int size : { 2, 3, 4 }) {
        const BoundaryMap map = mapOf(
            12, 12, [size](int x, int y) { return x >= 5 && x < 5 + size && y >= 5 && y < 7; });
        QCOMPARE(exactAt(loopOf(map), -1), 2 * size + 4);
    }
    const BoundaryMap pixel = mapOf(9, 9, [](int x, int y) { return x == 4 && y == 4; });
    QCOMPARE(exactAt(loopOf(pixel), -1), 0);
}

// A plus sign of a pixel, and a bar of two pixels that is bent and set off by two.
void tst_Staircase::barsOfAPixelAreExact()
{
    const BoundaryMap plus = mapOf(20, 20, [](int x, int y) {
        return (x == 10 && y >= 5 && y < 16) || (y == 10 && x >= 5 && x < 16);
    });
    QCOMPARE(exactAt(loopOf(plus), -1), 8 * 5);
    const BoundaryMap bent = mapOf(30, 20, [](int x, int y) {
        return (y >= 4 && y < 6 && x >= 4 && x < 9) || (y >= 6 && y < 8 && x >= 7 && x < 13);
    });
    QCOMPARE(exactAt(loopOf(bent), -1), 2 * (9 + 4));
}

// But for those that cover a full square of pixels and no more, as few of the smallest do.
void tst_Staircase::smallDiscsAreNoBlocks()
{
    int exact = 0;
    int discs = 0;
    for (double radius = 2.2; radius < 8; radius += 0.37) {
        for (int phase = 0; phase < 25; ++phase) {
            const double x0 = 12 + 0.2 * (phase % 5), y0 = 12 + 0.2 * (phase / 5);
            const BoundaryMap map = mapOf(24, 24, [&](int x, int y) {
                return std::hypot(x + 0.5 - x0, y + 0.5 - y0) < radius;
            });
            exact += exactAt(loopOf(map), -1) > 0;
            ++discs;
        }
    }
    QVERIFY2(exact * 25 <= discs, qPrintable(QString("%1 of %2").arg(exact).arg(discs)));
}

void tst_Staircase::slantedLinesAndCirclesAreNot()
{
    for (double slope : { 0.011, 0.03, 0.07, 0.11 }) {
        for (double start : { 10.1, 10.4, 10.7 }) {
            const BoundaryMap map = mapOf(120, 60, [&](int x, int y) {
                const double top = start + slope * (x + 0.5);
                return x >= 5 && x < 115 && y + 0.5 > top && y + 0.5 < top + 30;
            });
            const ChainPoints points = loopOf(map);
            int exact = 0;
            for (std::size_t k = 0; k < points.x.size(); ++k)
                exact += points.sigma[k] == fit::kHardFloor && points.y[k] < 22 && points.x[k] > 6
                    && points.x[k] < 114;
            QCOMPARE(exact, 0);
        }
    }
    for (double radius = 8; radius < 300; radius *= 1.13) {
        const int size = int(2 * radius) + 8;
        const BoundaryMap map = mapOf(size, size, [&](int x, int y) {
            return std::hypot(x + 0.5 - size / 2 - 0.2, y + 0.5 - size / 2 - 0.4) < radius;
        });
        QCOMPARE(exactAt(loopOf(map), -1), 0);
    }
}

// The top of a bar of 24 cracks, then a step and five, a step and three, as of a curve.
void tst_Staircase::barThatGoesOverIntoACurve()
{
    const int ends[] = { 29, 34, 37, 39 };
    const BoundaryMap map = mapOf(60, 30, [&](int x, int y) {
        return x >= 5 && y >= 5 && y < 25 && x < ends[std::min(3, y - 5)];
    });
    const ChainPoints points = loopOf(map);
    QCOMPARE(exactAt(points, 5), 24 - 2 * 5);
    QCOMPARE(exactAt(points, 6), 0);
    for (std::size_t k = 0; k < points.x.size(); ++k)
        QVERIFY(points.y[k] != 5 || points.sigma[k] > fit::kHardFloor || points.x[k] < 20);
}

void tst_Staircase::pixelThatACornerLacks()
{
    const auto bar = [](int x, int y) { return x >= 5 && x < 35 && y >= 5 && y < 15; };
    const BoundaryMap both = mapOf(
        40, 20, [&](int x, int y) { return bar(x, y) && !((x == 5 || x == 34) && y == 5); });
    QCOMPARE(exactAt(loopOf(both), 5), 28 - 2 * 2);
}

// A bar with a tooth of a pixel, one of three, which is too wide for one, and a step.
void tst_Staircase::faintTeethAreNoBends()
{
    const BoundaryMap map = mapOf(60, 20, [](int x, int y) {
        const bool bar = x >= 5 && x < 55 && y >= 5 && y < 12;
        return bar || (y == 4 && (x == 15 || (x >= 25 && x < 28)))
            || (y == 12 && x >= 30 && x < 55);
    });
    const ChainPoints all = loopOf(map);
    const ChainPoints faint = loopOf(map, true);
    QCOMPARE(faint.x.size(), all.x.size() - 3);
    for (std::size_t k = 0; k < faint.x.size(); ++k) {
        QVERIFY(faint.y[k] >= 5 || std::fabs(faint.x[k] - 15.5) > 1);
        QCOMPARE(faint.x[k], all.x[faint.crack[k]]);
        QCOMPARE(faint.sigma[k], all.sigma[faint.crack[k]]);
    }
}

// A line between two bars of other colours, whose lower side gives a pixel to one of them, or which
// they have pixels of: no line of 30 cracks leans so.
void tst_Staircase::stepsBesideNodesSayNothing()
{
    for (int pixels : { 1, 2, 3 }) {
        const BoundaryMap map = mapOf(60, 30, [pixels](int x, int y) {
            if (x < 10 || x >= 45)
                return x < 10 ? 2 : 3;
            if (y == 15)
                return 1;
            return (y == 14 && x < 10 + pixels) || (y == 16 && x >= 45 - pixels) ? 1 : 0;
        });
        int sides = 0;
        for (uint32_t k = 0; k < map.chains.size(); ++k) {
            const Chain &chain = map.chains[k];
            const auto label = [&map](int area) { return map.areas.list[std::size_t(area)].label; };
            if (isOnRim(chain) || label(chain.left) + label(chain.right) != 1 || chain.cracks < 30)
                continue;
            ++sides;
            const int exact = exactAt(staircaseOf(map, k, false), -1);
            QCOMPARE(exact, pixels < 3 ? 35 - pixels : 0);
        }
        QCOMPARE(sides, 2);
    }
}

QTEST_APPLESS_MAIN(tst_Staircase)
#include "tst_staircase.moc"
