// (c) the ztrace developers. Licence: see LICENSE.
//
// Which boundaries cross, against all pairs looked at one by one.
#include "FitRig.h"

#include "tracing/crossings.h"

#include <QtTest>

#include <cmath>

using namespace ztrace;

namespace {

using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

fit::Path pathOf(const std::vector<fit::Point> &points)
{
    fit::Path path = {};
    for (std::size_t k = 0; k + 1 < points.size(); ++k)
        path.pieces.push_back(fit::linePiece(points[k], points[k + 1]));
    return path;
}

fit::Path pathOf(const fit::Truth &truth)
{
    fit::Path path = {};
    path.pieces = truth;
    path.closed = true;
    return path;
}

// Whether segments cross with each end farther than a hundredth of a pixel from the other's line.
bool lineCrosses(fit::Point a, fit::Point b, fit::Point c, fit::Point d)
{
    const auto off = [](fit::Point from, fit::Point to, fit::Point p) {
        return cross(to - from, p - from) / std::hypot(to.x - from.x, to.y - from.y);
    };
    const auto apart = [](double one, double other) {
        return std::min(one, other) < -0.01 && std::max(one, other) > 0.01;
    };
    return apart(off(a, b, c), off(a, b, d)) && apart(off(c, d, a), off(c, d, b));
}

} // namespace

class tst_Crossings : public QObject
{
    Q_OBJECT

private slots:
    void randomLinesAgainstAllPairs();
    void whatOnlyTouchesDoesNotCross();
    void pathsCrossThemselves();
    void circles();
    void onlyWhatIsLookedAt();
    void beyondThePlane();
};

void tst_Crossings::randomLinesAgainstAllPairs()
{
    fit::Noise noise(5);
    std::vector<fit::Path> paths;
    for (int k = 0; k < 150; ++k) {
        const fit::Point a = { 90 * noise.uniform(), 70 * noise.uniform() };
        const double length = k % 10 ? 12 : 90;
        const fit::Point b
            = a + fit::Point { length * (noise.uniform() - 0.5), length * (noise.uniform() - 0.5) };
        paths.push_back(pathOf({ a, b }));
    }
    Pairs expected;
    for (uint32_t i = 0; i < paths.size(); ++i) {
        for (uint32_t k = i + 1; k < paths.size(); ++k) {
            const fit::Piece &a = paths[i].pieces[0];
            const fit::Piece &b = paths[k].pieces[0];
            if (lineCrosses(a.start, a.end, b.start, b.end))
                expected.emplace_back(i, k);
        }
    }
    QVERIFY(expected.size() > 20);
    QCOMPARE(crossingsOf(paths, 90, 70), expected);
}

void tst_Crossings::whatOnlyTouchesDoesNotCross()
{
    const fit::Point node = { 20, 20 };
    const std::vector<fit::Path> paths
        = { pathOf({ node, { 30, 20 } }), pathOf({ node, { 30, 21 } }), pathOf({ { 5, 20 }, node }),
            pathOf({ { 20, 5 }, { 20, 20.005 } }) };
    QVERIFY(crossingsOf(paths, 40, 40).empty());
}

void tst_Crossings::pathsCrossThemselves()
{
    const std::vector<fit::Path> paths
        = { pathOf({ { 5, 5 }, { 25, 5 }, { 25, 25 }, { 15, 0 } }), // over its first line
            pathOf({ { 5, 30 }, { 25, 30 }, { 25, 35 } }) };
    QCOMPARE(crossingsOf(paths, 40, 40), (Pairs { { 0, 0 } }));
}

void tst_Crossings::circles()
{
    const fit::Path big = pathOf(fit::circleTruth({ 50, 50 }, 40));
    const fit::Path inside = pathOf(fit::circleTruth({ 50, 50 }, 39.9));
    const fit::Path beside = pathOf(fit::circleTruth({ 85, 50 }, 10));
    const fit::Path ellipse = pathOf(fit::ellipseTruth({ 50, 50 }, 41, 38, 0.3));
    QVERIFY(crossingsOf({ big, inside }, 100, 100).empty());
    QCOMPARE(crossingsOf({ big, inside, beside }, 100, 100), (Pairs { { 0, 2 }, { 1, 2 } }));
    QCOMPARE(crossingsOf({ big, ellipse }, 100, 100), (Pairs { { 0, 1 } }));
}

void tst_Crossings::onlyWhatIsLookedAt()
{
    const std::vector<fit::Path> paths
        = { pathOf({ { 5, 5 }, { 25, 25 } }), pathOf({ { 5, 25 }, { 25, 5 } }),
            pathOf({ { 5, 15 }, { 25, 14 } }) };
    QCOMPARE(crossingsOf(paths, 40, 40).size(), std::size_t(3));
    QCOMPARE(crossingsOf(paths, 40, 40, { 1, 0, 0 }), (Pairs { { 0, 1 }, { 0, 2 } }));
    QVERIFY(crossingsOf(paths, 40, 40, { 0, 0, 0 }).empty());
}

void tst_Crossings::beyondThePlane()
{
    const std::vector<fit::Path> paths
        = { pathOf({ { -30, -5 }, { 60, 90 } }), pathOf({ { -20, 15 }, { 15, -25 } }) };
    QCOMPARE(crossingsOf(paths, 40, 40), (Pairs { { 0, 1 } }));
}

QTEST_APPLESS_MAIN(tst_Crossings)
#include "tst_crossings.moc"
