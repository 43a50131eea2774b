// (c) the ztrace developers. Licence: see LICENSE.
//
// The stages before the fits: distances, thinning, the graph, spurs, cross-sections, pens.
#include "StrokesRig.h"

#include "strokes/distance.h"
#include "strokes/pens.h"
#include "strokes/spurs.h"
#include "strokes/thinning.h"

#include <QtTest>

#include <cmath>

using namespace ztrace::strokes;

namespace {

Plane randomInk(int width, int height, unsigned seed, unsigned part)
{
    Plane ink(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            seed = seed * 1664525u + 1013904223u;
            ink.cells[ink.cellOf(x, y)] = uint8_t((seed >> 24) < part);
        }
    }
    return ink;
}

// The nearest paper, every cell looked at.
double plainDistance(const Plane &ink, int x, int y)
{
    if (ink.cells[ink.cellOf(x, y)] == 0)
        return 0.0;
    double best = 1e9;
    for (int v = -1; v <= ink.height; ++v) {
        for (int u = -1; u <= ink.width; ++u) {
            const bool outside = u < 0 || v < 0 || u >= ink.width || v >= ink.height;
            if (outside || ink.cells[ink.cellOf(u, v)] == 0)
                best = std::min(best, std::hypot(u - x, v - y));
        }
    }
    return best;
}

// Parts of cells with the value, by sides or by corners too; the rim counts as paper.
int partsOf(const Plane &plane, bool ink, bool corners)
{
    std::vector<char> seen(plane.cells.size(), 0);
    const int stride = plane.stride();
    const int rows = int(plane.cells.size()) / stride;
    int parts = 0;
    std::vector<int> stack;
    for (int start = 0; start < int(plane.cells.size()); ++start) {
        if (seen[std::size_t(start)] || (plane.cells[std::size_t(start)] != 0) != ink)
            continue;
        ++parts;
        stack.push_back(start);
        seen[std::size_t(start)] = 1;
        while (!stack.empty()) {
            const int cell = stack.back();
            stack.pop_back();
            for (int v = -1; v <= 1; ++v) {
                for (int u = -1; u <= 1; ++u) {
                    const int x = cell % stride + u;
                    const int y = cell / stride + v;
                    if ((u != 0 && v != 0 && !corners) || x < 0 || y < 0 || x >= stride
                        || y >= rows)
                        continue;
                    const std::size_t next = std::size_t(y * stride + x);
                    if (seen[next] || (plane.cells[next] != 0) != ink)
                        continue;
                    seen[next] = 1;
                    stack.push_back(int(next));
                }
            }
        }
    }
    return parts;
}

Plane inkOn(const Sheet &sheet)
{
    const std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Hard);
    InkPicture picture;
    picture.width = sheet.width();
    picture.height = sheet.height();
    picture.grey = grey.data();
    return inkOf(picture);
}

struct Thinned
{
    Plane distance;
    Plane skeleton;
    Graph graph;
};

Thinned thinned(Plane ink)
{
    Thinned result;
    result.distance = inkDistance(std::move(ink));
    const std::vector<uint32_t> cells = thin(result.distance, &result.skeleton);
    result.graph = graphOf(result.skeleton, result.distance, cells);
    return result;
}

int living(const Graph &graph)
{
    int count = 0;
    for (const Branch &branch : graph.branches)
        count += branch.alive ? 1 : 0;
    return count;
}

} // namespace

class tst_StrokeGraph : public QObject
{
    Q_OBJECT

private slots:
    void distancesAreThoseOfEveryPair();
    void thinningKeepsPartsAndHoles();
    void thinningLeavesNothingToTake();
    void aCrossHasFourBranches();
    void aRingIsAClosedBranch();
    void aSpurIsDroppedAndATickIsNot();
    void aSectionTellsCentreAndWidth_data();
    void aSectionTellsCentreAndWidth();
    void pensArePeaksOfWidths();
    void noWidthsNoPens();
};

void tst_StrokeGraph::distancesAreThoseOfEveryPair()
{
    for (unsigned seed = 1; seed < 12; ++seed) {
        const Plane ink = randomInk(23, 17, seed, 200 + 5 * seed);
        const Plane distance = inkDistance(ink);
        for (int y = 0; y < ink.height; ++y) {
            for (int x = 0; x < ink.width; ++x)
                QCOMPARE(int(distance.cells[distance.cellOf(x, y)]),
                         int(std::lround(plainDistance(ink, x, y) / kDistanceUnit)));
        }
    }
}

void tst_StrokeGraph::thinningKeepsPartsAndHoles()
{
    for (unsigned seed = 1; seed < 40; ++seed) {
        const Plane ink = randomInk(40, 30, seed, 60 + 4 * seed);
        const Thinned result = thinned(ink);
        QCOMPARE(partsOf(result.skeleton, true, true), partsOf(ink, true, true));
        QCOMPARE(partsOf(result.skeleton, false, false), partsOf(ink, false, false));
    }
}

void tst_StrokeGraph::thinningLeavesNothingToTake()
{
    const Thinned result = thinned(inkOn(Sheet(120, 120).line({ 20, 30 }, { 100, 90 }, 9)));
    int thick = 0;
    for (int y = 0; y + 1 < 120; ++y) {
        for (int x = 0; x + 1 < 120; ++x) {
            const auto at = [&](int u, int v) {
                return result.skeleton.cells[result.skeleton.cellOf(x + u, y + v)];
            };
            thick += at(0, 0) && at(1, 0) && at(0, 1) && at(1, 1);
        }
    }
    QCOMPARE(thick, 0);
}

void tst_StrokeGraph::aCrossHasFourBranches()
{
    Thinned result = thinned(
        inkOn(Sheet(120, 120).line({ 60, 10 }, { 60, 110 }, 5).line({ 10, 60 }, { 110, 60 }, 5)));
    dropSpurs(result.distance, &result.graph);
    QCOMPARE(living(result.graph), 4);
}

void tst_StrokeGraph::aRingIsAClosedBranch()
{
    Thinned result = thinned(inkOn(Sheet(120, 120).arc({ 60, 60 }, 40, 0, 2 * M_PI, 5)));
    dropSpurs(result.distance, &result.graph);
    QCOMPARE(living(result.graph), 1);
    for (const Branch &branch : result.graph.branches)
        QVERIFY(!branch.alive || branch.closed());
}

void tst_StrokeGraph::aSpurIsDroppedAndATickIsNot()
{
    Sheet bump(200, 60);
    bump.line({ 20, 30 }, { 180, 30 }, 7).disc({ 100, 26 }, 1.5);
    Thinned result = thinned(inkOn(bump));
    dropSpurs(result.distance, &result.graph);
    QCOMPARE(living(result.graph), 1);
    Sheet tick(200, 60);
    tick.line({ 20, 30 }, { 180, 30 }, 7).line({ 100, 30 }, { 100, 18 }, 3);
    result = thinned(inkOn(tick));
    dropSpurs(result.distance, &result.graph);
    QCOMPARE(living(result.graph), 3);
}

void tst_StrokeGraph::aSectionTellsCentreAndWidth_data()
{
    QTest::addColumn<double>("degrees");
    QTest::addColumn<double>("width");
    for (double degrees : { 0.0, 13.0, 45.0, 80.0 }) {
        for (double width : { 1.5, 3.0, 7.4 })
            QTest::addRow("%g degrees, %g px", degrees, width) << degrees << width;
    }
}

void tst_StrokeGraph::aSectionTellsCentreAndWidth()
{
    QFETCH(double, degrees);
    QFETCH(double, width);
    const double angle = degrees * M_PI / 180;
    const Point direction = { std::cos(angle), std::sin(angle) };
    const Point middle = { 50.37, 50.21 };
    const Sheet sheet
        = Sheet(100, 100).line(middle - 45.0 * direction, middle + 45.0 * direction, width);
    const std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    InkPicture picture;
    picture.width = picture.height = 100;
    picture.grey = grey.data();
    const Coverage coverage(picture, 0, 255);
    // Half a pixel beside the middle, as a skeleton may be.
    const Point beside = middle + 0.5 * Point { -direction.y, direction.x };
    const Section section = sectionAt(coverage, beside, direction, 10);
    QVERIFY(section.clear);
    QVERIFY(std::fabs(section.width - width) < 0.15);
    QVERIFY(std::hypot(section.centre.x - middle.x, section.centre.y - middle.y) < 0.08);
}

void tst_StrokeGraph::pensArePeaksOfWidths()
{
    std::vector<DrawnWidth> drawn;
    for (int k = 0; k < 20; ++k) {
        drawn.push_back({ 2.9 + 0.01 * k, 100 });
        drawn.push_back({ 5.8 + 0.02 * k, 50 });
    }
    drawn.push_back({ 4.2, 3 });
    const Pens pens = pensOf(drawn);
    QCOMPARE(pens.widths.size(), std::size_t(2));
    QVERIFY(std::fabs(pens.widths[0] - 3.0) < 0.1);
    QVERIFY(std::fabs(pens.widths[1] - 6.0) < 0.1);
    QCOMPARE(pens.penOf[0], 0);
    QCOMPARE(pens.penOf[1], 1);
}

void tst_StrokeGraph::noWidthsNoPens()
{
    QVERIFY(pensOf({}).widths.empty());
}

QTEST_APPLESS_MAIN(tst_StrokeGraph)
#include "tst_strokegraph.moc"
