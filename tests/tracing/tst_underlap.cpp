// (c) the ztrace developers. Licence: see LICENSE.
//
// What areas painted one after the other reach under.
#include "Planes.h"
#include "tracing/underlap.h"

#include <QtTest>

#include <algorithm>
#include <numeric>

using namespace ztrace;
using planes::Plane;

namespace {

struct Painted
{
    BoundaryMap map;
    std::vector<PaintedArea> areas;
    std::vector<int> order; // areas as they are painted
    std::vector<Reach> reaches;
};

Runs runsOf(const Plane &plane)
{
    return scanRuns(plane.labels.data(), plane.width, plane.height);
}

// Greys by label, far apart for labels that are.
Tint greyOf(int label)
{
    return { { float(100 * label), 0.0f, 0.0f }, false };
}

// Larger outer rings first; labels from `clear` on are not opaque. Below everything is what is
// given.
Painted paint(const Plane &plane, int clear = 100, int ground = -1, const Tint &below = Tint())
{
    Painted painted;
    painted.map = makeBoundaryMap(runsOf(plane));
    const BoundaryMap &map = painted.map;
    const std::vector<int> parents = findParents(map.areas, findNeighbours(map.runs, map.areas));
    const std::size_t count = map.areas.list.size();
    painted.order.resize(count);
    std::iota(painted.order.begin(), painted.order.end(), 0);
    std::stable_sort(painted.order.begin(), painted.order.end(), [&](int a, int b) {
        return enclosedArea(map, map.firstRing[std::size_t(a)])
            > enclosedArea(map, map.firstRing[std::size_t(b)]);
    });
    painted.areas.resize(count);
    for (std::size_t k = 0; k < count; ++k) {
        painted.areas[k].parent = parents[k];
        painted.areas[k].isGround = parents[k] < 0 && map.areas.list[k].label == ground;
        painted.areas[k].isOpaque = painted.areas[k].isWholly = map.areas.list[k].label < clear;
        painted.areas[k].tint = greyOf(map.areas.list[k].label);
        painted.areas[std::size_t(painted.order[k])].place = int(k);
    }
    for (std::size_t k = count; k-- > 0;) {
        if (parents[k] >= 0 && !painted.areas[k].isWholly)
            painted.areas[std::size_t(parents[k])].isWholly = false;
    }
    std::vector<double> numbers;
    for (const Chain &chain : map.chains)
        numbers.push_back(2.0 * chain.moves);
    painted.reaches = reachesOf(map, painted.areas, below, numbers);
    return painted;
}

// Pixels inside an odd number of the rings.
std::vector<char> inside(const BoundaryMap &map, const std::vector<std::vector<uint32_t>> &rings)
{
    const int width = map.runs.width;
    std::vector<char> result(std::size_t(width) * std::size_t(map.runs.height), 0);
    for (const std::vector<uint32_t> &ring : rings) {
        for (uint32_t reference : ring) {
            forEachMove(map, reference, [&](int x, int y, Heading heading, int length) {
                const int top = heading == kUp ? y - length : y;
                for (int row = top; stepY(heading) != 0 && row < top + length; ++row) {
                    if (x < width)
                        result[std::size_t(row * width + x)] ^= 1;
                }
            });
        }
    }
    for (std::size_t k = 1; k < result.size(); ++k) {
        if (k % std::size_t(width) != 0)
            result[k] ^= result[k - 1];
    }
    return result;
}

std::vector<std::vector<uint32_t>> paintedRings(const Painted &painted, std::size_t area)
{
    if (!painted.reaches[area].rings.empty())
        return painted.reaches[area].rings;
    const BoundaryMap &map = painted.map;
    const uint32_t ring = map.firstRing[area];
    return { std::vector<uint32_t>(map.references.begin() + map.firstReference[ring],
                                   map.references.begin() + map.firstReference[ring + 1]) };
}

std::vector<int> areaOfPixels(const BoundaryMap &map)
{
    std::vector<int> result(std::size_t(map.runs.width) * std::size_t(map.runs.height));
    forEachRun(map.runs, [&](uint32_t run, int y, int begin, int end) {
        for (int x = begin; x < end; ++x)
            result[std::size_t(y * map.runs.width + x)] = int(map.areas.ofRun[run]);
    });
    return result;
}

} // namespace

class tst_Underlap : public QObject
{
    Q_OBJECT

private slots:
    void largerOneTakesTheSmallerOneIn();
    void whatLiesInsideNeedsNoReach();
    void clearNeighbourIsNotTakenIn();
    void clearHoleBetweenTwoStaysOpen();
    void paintingGivesThePlaneBack();
    void bareGroundNeedNotBePainted();
    void likeShadesReachUnderEachOther();
    void darkDoesNotReachUnderPaleBesideGround();
    void gapsOverNothingAreClosed();
    void whatIsTakenInShowsLess();
};

void tst_Underlap::largerOneTakesTheSmallerOneIn()
{
    const Painted painted = paint(planes::planeOf({ "0001", "0001" }));
    QCOMPARE(painted.reaches[0].taken, std::vector<int>({ 1 }));
    const std::vector<char> whole = inside(painted.map, painted.reaches[0].rings);
    QCOMPARE(std::count(whole.begin(), whole.end(), 1), std::ptrdiff_t(8));
    QVERIFY(painted.reaches[1].rings.empty());
}

void tst_Underlap::whatLiesInsideNeedsNoReach()
{
    const Painted painted = paint(planes::planeOf({ "0000", "0110", "0000" }));
    QVERIFY(painted.reaches[0].rings.empty());
    QVERIFY(painted.reaches[1].rings.empty());
}

void tst_Underlap::clearNeighbourIsNotTakenIn()
{
    const Painted painted = paint(planes::planeOf({ "0002", "0011" }), 2);
    QCOMPARE(painted.reaches[0].taken.size(), std::size_t(1));
    const std::vector<char> under = inside(painted.map, painted.reaches[0].rings);
    QCOMPARE(int(under[3]), 0); // the clear one
    QCOMPARE(int(under[7]), 1);
}

void tst_Underlap::clearHoleBetweenTwoStaysOpen()
{
    const Painted painted = paint(planes::planeOf({ "0001", "0221", "0001" }), 2);
    QCOMPARE(painted.reaches[0].rings.size(), std::size_t(2));
    const std::vector<char> under = inside(painted.map, painted.reaches[0].rings);
    QCOMPARE(int(under[5]), 0);
    QCOMPARE(int(under[4]), 1);
}

// Without cutting clear areas out of what lies around them: all are opaque here.
void tst_Underlap::paintingGivesThePlaneBack()
{
    planes::forEachPlane(7, [](const Plane &plane) {
        const Painted painted = paint(plane);
        std::vector<int> seen(plane.labels.size(), -1);
        for (int area : painted.order) {
            const std::vector<char> fill
                = inside(painted.map, paintedRings(painted, std::size_t(area)));
            for (std::size_t k = 0; k < seen.size(); ++k) {
                if (fill[k])
                    seen[k] = area;
            }
        }
        QVERIFY2(seen == areaOfPixels(painted.map), qPrintable(planes::describe(plane)));
    });
}

// All that is not painted is the ground's, and shows it.
void tst_Underlap::bareGroundNeedNotBePainted()
{
    int bare = 0;
    planes::forEachPlane(9, [&bare](const Plane &plane) {
        const Painted painted = paint(plane, 100, 0);
        const std::vector<int> wanted = areaOfPixels(painted.map);
        std::vector<int> seen(plane.labels.size(), -1);
        for (int area : painted.order) {
            if (painted.reaches[std::size_t(area)].onGround)
                continue;
            const std::vector<char> fill
                = inside(painted.map, paintedRings(painted, std::size_t(area)));
            for (std::size_t k = 0; k < seen.size(); ++k) {
                if (fill[k])
                    seen[k] = area;
            }
        }
        for (std::size_t k = 0; k < seen.size(); ++k) {
            const bool onGround = painted.reaches[std::size_t(wanted[k])].onGround;
            bare += onGround;
            QVERIFY2(seen[k] == (onGround ? -1 : wanted[k]), qPrintable(planes::describe(plane)));
        }
    });
    QVERIFY(bare > 1000);
}

// Two like shades on unlike ground: their mixture with the ground would be a line between them.
void tst_Underlap::likeShadesReachUnderEachOther()
{
    const Painted painted = paint(
        planes::planeOf({ "0000000", "0222230", "0222230", "0222230", "0222230", "0000000" }));
    QCOMPARE(painted.reaches[1].taken, std::vector<int>({ 2 }));
}

// A dark one beside a pale one on nearly the same ground: it would be a line around that.
void tst_Underlap::darkDoesNotReachUnderPaleBesideGround()
{
    const Painted painted = paint(
        planes::planeOf({ "000000000", "077711110", "077700000", "077700000", "000000000" }));
    QVERIFY(painted.reaches[1].taken.empty());
}

// On nothing a gap would be clear.
void tst_Underlap::gapsOverNothingAreClosed()
{
    const Painted painted = paint(
        planes::planeOf({ "888888888", "877711118", "877788888", "877788888", "888888888" }), 8);
    QCOMPARE(painted.reaches[1].taken, std::vector<int>({ 2 }));
}

// The soft pixels along all boundaries, each side covering half of them: differences from the mean
// of the two, in cracks times greys.
static double shownAlongBoundaries(const Painted &painted, const std::vector<Reach> &reaches)
{
    const BoundaryMap &map = painted.map;
    Painted drawn = painted;
    drawn.reaches = reaches;
    std::vector<std::vector<char>> fills;
    for (std::size_t k = 0; k < painted.areas.size(); ++k)
        fills.push_back(inside(map, paintedRings(drawn, k)));
    const auto greyOfArea
        = [&](int area) { return double(painted.areas[std::size_t(area)].tint.axes[0]); };
    double sum = 0;
    for (const Chain &chain : map.chains) {
        if (isOnRim(chain))
            continue;
        const std::size_t left = map.areas.list[std::size_t(chain.left)].firstPixel;
        const std::size_t right = map.areas.list[std::size_t(chain.right)].firstPixel;
        double grey = 0;
        for (int area : painted.order) {
            const std::vector<char> &fill = fills[std::size_t(area)];
            const double cover = (fill[left] + fill[right]) / 2.0;
            grey += cover * (greyOfArea(area) - grey);
        }
        sum += chain.cracks
            * std::abs(grey - (greyOfArea(chain.left) + greyOfArea(chain.right)) / 2);
    }
    return sum;
}

// Less shows than where nobody takes anybody in, and than where all are that can be: they are where
// all look alike on unlike ground.
void tst_Underlap::whatIsTakenInShowsLess()
{
    double shown = 0;
    double withNone = 0;
    double withAll = 0;
    planes::forEachPlane(8, [&](const Plane &plane) {
        const Painted painted = paint(plane, 100, -1, greyOf(0));
        std::vector<PaintedArea> alike = painted.areas;
        for (PaintedArea &area : alike)
            area.tint = greyOf(1);
        const std::vector<double> numbers(painted.map.chains.size(), 1.0);
        const std::vector<Reach> none(painted.areas.size());
        shown += shownAlongBoundaries(painted, painted.reaches);
        withNone += shownAlongBoundaries(painted, none);
        withAll += shownAlongBoundaries(painted, reachesOf(painted.map, alike, greyOf(9), numbers));
    });
    QVERIFY2(shown < withNone, qPrintable(QString("%1 %2").arg(shown).arg(withNone)));
    QVERIFY2(shown < withAll, qPrintable(QString("%1 %2").arg(shown).arg(withAll)));
}

QTEST_APPLESS_MAIN(tst_Underlap)
#include "tst_underlap.moc"
