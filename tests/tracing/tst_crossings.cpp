// (c) the ztrace developers. Licence: see LICENSE.
//
// Which boundaries cross, against all pairs looked at one by one.
#include "FitRig.h"

#include "tracing/crossings.h"
#include "tracing/hulls.h"
#include "tracing/passedover.h"
#include "tracing/turnedover.h"

#include <QtTest>

#include <algorithm>
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

bool lineCrosses(fit::Point a, fit::Point b, fit::Point c, fit::Point d)
{
    const auto apart = [](fit::Point from, fit::Point to, fit::Point p, fit::Point q) {
        return cross(to - from, p - from) * cross(to - from, q - from) < 0;
    };
    return apart(a, b, c, d) && apart(c, d, a, b);
}

// Whether an end of one lies within two hundredths of a pixel of the other.
bool lineTouches(fit::Point a, fit::Point b, fit::Point c, fit::Point d)
{
    const fit::Piece first = fit::linePiece(a, b);
    const fit::Piece second = fit::linePiece(c, d);
    return fit::distanceTo(first, c) < 0.02 || fit::distanceTo(first, d) < 0.02
        || fit::distanceTo(second, a) < 0.02 || fit::distanceTo(second, b) < 0.02;
}

fit::Piece randomPiece(fit::Noise *noise, fit::Point start, double reach)
{
    const auto place = [&] {
        return start
            + fit::Point { reach * (noise->uniform() - 0.5), reach * (noise->uniform() - 0.5) };
    };
    const fit::Point end = place();
    switch (int(4 * noise->uniform())) {
    case 0:
        return fit::linePiece(start, end);
    case 1:
        return fit::arcPiece(start, end, 4 * (noise->uniform() - 0.5));
    case 2:
        return fit::quadraticPiece(start, place(), end);
    default:
        return fit::cubicPiece(start, place(), place(), end);
    }
}

std::vector<fit::Point> chordsOf(const fit::Piece &piece)
{
    std::vector<fit::Point> points;
    for (int k = 0; k <= 60; ++k)
        points.push_back(fit::pointAt(piece, k / 60.0));
    return points;
}

bool areFarApart(const fit::Piece &one, const fit::Piece &other)
{
    const fit::Box a = fit::boxOf(one);
    const fit::Box b = fit::boxOf(other);
    return a.high.x + 1 < b.low.x || b.high.x + 1 < a.low.x || a.high.y + 1 < b.low.y
        || b.high.y + 1 < a.low.y;
}

// But for those at a joint of both, which rounding may let cross.
bool chordsCross(const fit::Piece &one, const fit::Piece &other)
{
    const auto same = [](fit::Point p, fit::Point q) { return p.x == q.x && p.y == q.y; };
    if (areFarApart(one, other))
        return false;
    const std::vector<fit::Point> a = chordsOf(one);
    const std::vector<fit::Point> b = chordsOf(other);
    for (std::size_t i = 0; i + 1 < a.size(); ++i) {
        for (std::size_t k = 0; k + 1 < b.size(); ++k) {
            const bool atJoint = (same(one.end, other.start) && i + 2 == a.size() && k == 0)
                || (same(one.start, other.end) && i == 0 && k + 2 == b.size());
            if (!atJoint && lineCrosses(a[i], a[i + 1], b[k], b[k + 1]))
                return true;
        }
    }
    return false;
}

// The least distance of the chords' ends of one from the other.
double gapBetween(const fit::Piece &one, const fit::Piece &other)
{
    double least = 1e9;
    if (areFarApart(one, other))
        return least;
    for (fit::Point p : chordsOf(one))
        least = std::min(least, fit::distanceTo(other, p));
    for (fit::Point p : chordsOf(other))
        least = std::min(least, fit::distanceTo(one, p));
    return least;
}

// Closed paths of random pieces, which cross themselves and each other.
std::vector<fit::Path> tangledPaths(int count)
{
    fit::Noise noise(11);
    std::vector<fit::Path> paths;
    for (int k = 0; k < count; ++k) {
        fit::Path path = {};
        path.closed = true;
        const fit::Point start = { 200 * noise.uniform(), 150 * noise.uniform() };
        fit::Point at = start;
        for (int i = 0; i < 7; ++i) {
            path.pieces.push_back(randomPiece(&noise, at, k % 5 ? 12 : 60));
            at = path.pieces.back().end;
        }
        path.pieces.push_back(fit::linePiece(at, start));
        paths.push_back(path);
    }
    return paths;
}

} // namespace

class tst_Crossings : public QObject
{
    Q_OBJECT

private slots:
    void randomLinesAgainstAllPairs();
    void randomCurvesAgainstTheirChords();
    void whatIsPlainlyApartIsNotLookedAt();
    void anyNumberOfThreads();
    void loopsWithoutAnAreaMeetThemselves();
    void holesThatPassedARim();
    void holesByAnyNumberOfThreads();
    void nodesAreNoCrossings();
    void whatTouches();
    void curvesCrossAtTheirChordsEnds();
    void pathsCrossThemselves();
    void circles();
    void cornersOfRectangles();
    void onlyWhatIsLookedAt();
    void lookedAtIsAPartOfAll();
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
            if (lineCrosses(a.start, a.end, b.start, b.end)
                || lineTouches(a.start, a.end, b.start, b.end))
                expected.emplace_back(i, k);
        }
    }
    QVERIFY(expected.size() > 20);
    QCOMPARE(crossingsOf(paths, 90, 70), expected);
}

void tst_Crossings::randomCurvesAgainstTheirChords()
{
    fit::Noise noise(7);
    std::vector<fit::Path> paths;
    for (int k = 0; k < 200; ++k) {
        fit::Path path = {};
        const fit::Point start = { 90 * noise.uniform(), 70 * noise.uniform() };
        path.pieces.push_back(randomPiece(&noise, start, k % 10 ? 14 : 90));
        paths.push_back(path);
    }
    const Pairs found = crossingsOf(paths, 90, 70);
    int crossing = 0, close = 0;
    for (uint32_t i = 0; i < paths.size(); ++i) {
        for (uint32_t k = i + 1; k < paths.size(); ++k) {
            const fit::Piece &a = paths[i].pieces[0];
            const fit::Piece &b = paths[k].pieces[0];
            const bool is = std::binary_search(found.begin(), found.end(), std::make_pair(i, k));
            const bool crosses = chordsCross(a, b);
            const double gap = crosses ? 0 : gapBetween(a, b);
            // What is within the errors of the chords may be seen either way.
            if (gap < 0.05 && !(crosses && is)) {
                ++close;
                continue;
            }
            crossing += crosses;
            QVERIFY2(is == crosses, qPrintable(QString("%1 and %2").arg(i).arg(k)));
        }
    }
    QVERIFY2(crossing > 150 && close < 40, qPrintable(QString("%1, %2").arg(crossing).arg(close)));
}

// Pieces that are not offered to the comparison are those of paths that go on, and all that are
// offered are enough to find every crossing of the tangle.
void tst_Crossings::whatIsPlainlyApartIsNotLookedAt()
{
    const std::vector<fit::Path> paths = tangledPaths(60);
    std::vector<PiecePair> near = piecesThatMayMeet(paths, 200, 150, {}, 1);
    const auto offered = [&near](PlaceOfPiece a, PlaceOfPiece b) {
        return std::any_of(near.begin(), near.end(),
                           [&](const PiecePair &pair) { return pair.a == a && pair.b == b; });
    };
    std::size_t all = 0, crossing = 0;
    for (uint32_t p = 0; p < paths.size(); ++p) {
        for (uint32_t q = p; q < paths.size(); ++q) {
            for (uint32_t i = 0; i < paths[p].pieces.size(); ++i) {
                for (uint32_t k = p == q ? i + 1 : 0; k < paths[q].pieces.size(); ++k) {
                    ++all;
                    const bool crosses = chordsCross(paths[p].pieces[i], paths[q].pieces[k]);
                    crossing += crosses;
                    if (crosses)
                        QVERIFY2(offered({ p, i }, { q, k }),
                                 qPrintable(QString("%1.%2, %3.%4").arg(p).arg(i).arg(q).arg(k)));
                }
            }
        }
    }
    QVERIFY(crossing > 300);
    QVERIFY2(near.size() < 3 * crossing, qPrintable(QString::number(near.size())));
    // A rounded square: every piece goes on, nothing is near to anything else.
    const double quarter = std::tan(std::acos(-1.0) / 8);
    fit::Path square = {};
    square.closed = true;
    square.pieces
        = { fit::linePiece({ 10, 5 }, { 20, 5 }),   fit::arcPiece({ 20, 5 }, { 25, 10 }, quarter),
            fit::linePiece({ 25, 10 }, { 25, 20 }), fit::linePiece({ 25, 20 }, { 5, 20 }),
            fit::linePiece({ 5, 20 }, { 5, 10 }),   fit::arcPiece({ 5, 10 }, { 10, 5 }, quarter) };
    QVERIFY(piecesThatMayMeet({ square }, 40, 40, {}, 1).empty());
}

void tst_Crossings::anyNumberOfThreads()
{
    const std::vector<fit::Path> paths = tangledPaths(600);
    const Pairs alone = crossingsOf(paths, 200, 150);
    QVERIFY(alone.size() > 600);
    for (unsigned threads : { 2u, 3u, 8u })
        QCOMPARE(crossingsOf(paths, 200, 150, {}, threads), alone);
}

// A pixel whose four corners have come to one place; what is drawn rightly is left alone.
void tst_Crossings::loopsWithoutAnAreaMeetThemselves()
{
    RunScanner scanner(5, 5);
    for (int y = 0; y < 5; ++y) {
        const uint8_t labels[] = { 0, 0, uint8_t(y == 2), 0, 0 };
        scanner.addRow(labels);
    }
    const BoundaryMap map = makeBoundaryMap(scanner.take());
    for (const bool isRight : { false, true }) {
        std::vector<fit::Path> paths(map.chains.size());
        Pairs pairs;
        Pairs expected;
        for (uint32_t k = 0; k < map.chains.size(); ++k) {
            if (map.chains[k].startNode != kNoNode)
                continue;
            const double size = isRight ? 1.0 : 0.0;
            paths[k] = pathOf(
                { { 2, 2 }, { 2 + size, 2 }, { 2 + size, 2 + size }, { 2, 2 + size }, { 2, 2 } });
            if (!isRight)
                expected.emplace_back(k, k);
        }
        addTurnedOver(map, paths, std::vector<char>(), &pairs);
        pairs.erase(std::remove_if(pairs.begin(), pairs.end(),
                                   [](const auto &pair) { return pair.first != pair.second; }),
                    pairs.end());
        pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
        QCOMPARE(pairs, expected);
    }
}

// Blocks each with a speck that all have passed the top of.
void tst_Crossings::holesByAnyNumberOfThreads()
{
    const int side = 25; // blocks, one every 12 pixels
    const int size = 12 * side + 2;
    RunScanner scanner(size, size);
    for (int y = 0; y < size; ++y) {
        std::vector<uint8_t> labels(std::size_t(size), 0);
        for (int x = 0; x < size; ++x) {
            if (x % 12 >= 2 && y % 12 >= 2)
                labels[std::size_t(x)] = x % 12 == 6 && y % 12 == 4 ? 2 : 1;
        }
        scanner.addRow(labels.data());
    }
    const BoundaryMap map = makeBoundaryMap(scanner.take());
    std::vector<fit::Path> paths(map.chains.size());
    for (std::size_t k = 0; k < paths.size(); ++k) {
        const Chain &chain = map.chains[k];
        if (chain.left < 0 || chain.right < 0 || chain.cracks > 40)
            continue;
        const bool isSpeck = chain.cracks == 4;
        const auto inner = std::size_t(std::max(chain.left, chain.right));
        const auto first = map.areas.list[inner].firstPixel;
        const double x = double(first % uint32_t(size)) + (isSpeck ? 0 : 4);
        const double y = double(first / uint32_t(size)) + (isSpeck ? 0 : 2);
        paths[k] = isSpeck
            ? pathOf({ { x, y }, { x + 1, y }, { x + 1, y + 1 }, { x, y + 1 }, { x, y } })
            : pathOf({ { x - 4, y + 1.5 },
                       { x + 6, y + 1.5 },
                       { x + 6, y + 8 },
                       { x - 4, y + 8 },
                       { x - 4, y + 1.5 } });
    }
    Pairs alone;
    addPassedOver(map, paths, 1, &alone);
    QCOMPARE(alone.size(), std::size_t(side * side));
    for (unsigned threads : { 2u, 3u, 8u }) {
        Pairs pairs;
        addPassedOver(map, paths, threads, &pairs);
        QCOMPARE(pairs, alone);
    }
}

// A speck two pixels below the top of a block, and a top that dips; what is drawn as it lies in the
// plane is left alone, however the speck's own outline goes.
void tst_Crossings::holesThatPassedARim()
{
    RunScanner scanner(20, 20);
    for (int y = 0; y < 20; ++y) {
        uint8_t labels[20] = {};
        for (int x = 2; x < 18 && y >= 2 && y < 18; ++x)
            labels[x] = x == 10 && y == 4 ? 2 : 1;
        scanner.addRow(labels);
    }
    const BoundaryMap map = makeBoundaryMap(scanner.take());
    uint32_t rim = 0;
    uint32_t speck = 0;
    for (uint32_t k = 0; k < map.chains.size(); ++k) {
        if (map.chains[k].startNode == kNoNode)
            (map.chains[k].cracks == 4 ? speck : rim) = k;
    }
    std::vector<fit::Path> paths(map.chains.size());
    const auto circle = [](double x, double y, double radius) {
        fit::Path path = {};
        path.pieces.resize(1);
        fit::Piece &piece = path.pieces.front();
        piece.kind = fit::Kind::Circle;
        piece.centre = { x, y };
        piece.half[0] = piece.half[1] = radius;
        return path;
    };
    const auto pairsWith = [&](double top, const fit::Path &outline) {
        paths[rim] = pathOf({ { 2, 2 },
                              { 8, 2 },
                              { 8, top },
                              { 13, top },
                              { 13, 2 },
                              { 18, 2 },
                              { 18, 18 },
                              { 2, 18 },
                              { 2, 2 } });
        paths[speck] = outline;
        Pairs pairs;
        addPassedOver(map, paths, 1, &pairs);
        return pairs;
    };
    const auto square = [&](double y) {
        return pathOf({ { 10, y }, { 11, y }, { 11, y + 1 }, { 10, y + 1 }, { 10, y } });
    };
    const Pairs passed = { std::minmax(rim, speck) };
    for (double top : { 2.0, 3.0, 3.9 }) {
        QVERIFY(pairsWith(top, square(4)).empty());
        QVERIFY(pairsWith(top, circle(10.5, 4.5, 0.5)).empty());
        QCOMPARE(pairsWith(top + 3, square(top + 1.5)), passed);
        QCOMPARE(pairsWith(top + 3, circle(10.5, top + 1.5, 0.5)), passed);
    }
    // Farther off than boundaries go: nobody looks there.
    paths[rim] = pathOf({ { 2, 10 }, { 18, 10 }, { 18, 18 }, { 2, 18 }, { 2, 10 } });
    paths[speck] = square(4);
    Pairs none;
    addPassedOver(map, paths, 1, &none);
    QVERIFY(none.empty());

    // A round block and a whole rectangle, which go no way.
    fit::Path block = circle(10, 10, 8);
    block.pieces.front().kind = fit::Kind::RoundedRectangle;
    for (const fit::Path &outline : { circle(10, 10, 8), block }) {
        for (const bool isTurned : { false, true }) {
            BoundaryMap turned = map;
            if (isTurned)
                std::swap(turned.chains[rim].left, turned.chains[rim].right);
            paths[rim] = outline;
            for (double y : { 2.5, 10.0, 16.0, 0.2 }) {
                paths[speck] = square(y);
                Pairs pairs;
                addPassedOver(turned, paths, 1, &pairs);
                QCOMPARE(pairs, y < 1 ? passed : Pairs());
            }
        }
    }
}

void tst_Crossings::nodesAreNoCrossings()
{
    const fit::Point node = { 20, 20 };
    const std::vector<fit::Path> paths
        = { pathOf({ node, { 30, 20 } }), pathOf({ node, { 30, 21 } }), pathOf({ { 5, 20 }, node }),
            pathOf({ { 20, 5 }, node }) };
    QVERIFY(crossingsOf(paths, 40, 40).empty());
}

// They leave nothing of what is between them.
void tst_Crossings::whatTouches()
{
    const fit::Path flat = pathOf({ { 5, 20 }, { 30, 20 } });
    const Pairs one = { { 0, 1 } };
    // An end of a boundary, and a joint of one, upon the middle of another.
    QCOMPARE(crossingsOf({ flat, pathOf({ { 20, 5 }, { 20, 19.985 } }) }, 40, 40), one);
    QVERIFY(crossingsOf({ flat, pathOf({ { 20, 5 }, { 20, 19.97 } }) }, 40, 40).empty());
    QCOMPARE(crossingsOf({ flat, pathOf({ { 15, 5 }, { 20, 19.99 }, { 25, 5 } }) }, 40, 40), one);
    // Joints of two boundaries at one place, but those of which each goes on in the other.
    const fit::Path bent = pathOf({ { 5, 5 }, { 20, 20 }, { 5, 35 } });
    QCOMPARE(crossingsOf({ bent, pathOf({ { 35, 15 }, { 20, 20 }, { 35, 25 } }) }, 40, 40), one);
    QCOMPARE(crossingsOf({ bent, pathOf({ { 35, 5 }, { 20, 20 }, { 5, 5 } }) }, 40, 40), one);
    QVERIFY(crossingsOf({ bent, pathOf({ { 35, 5 }, { 20, 20 }, { 35, 35 } }) }, 40, 40).empty());
    QVERIFY(crossingsOf({ bent, pathOf({ { 35, 33 }, { 20, 20 }, { 35, 5 } }) }, 40, 40).empty());
    QCOMPARE(crossingsOf({ bent, pathOf({ { 35, 5 }, { 20, 19.99 }, { 35, 35 } }) }, 40, 40), one);
    // The same of one boundary, which comes back there.
    const std::vector<fit::Point> twice
        = { { 5, 5 }, { 20, 20 }, { 35, 35 }, { 35, 5 }, { 20, 20 }, { 5, 35 } };
    QCOMPARE(crossingsOf({ pathOf(twice) }, 40, 40), (Pairs { { 0, 0 } })); // and crosses itself
    const std::vector<fit::Point> turned
        = { { 5, 5 }, { 20, 20 }, { 5, 35 }, { 20, 39 }, { 35, 35 }, { 20, 20 }, { 35, 5 } };
    QVERIFY(crossingsOf({ pathOf(turned) }, 40, 40).empty());
    // The same line between two nodes, and one that lies upon a longer one.
    QCOMPARE(crossingsOf({ flat, pathOf({ { 30, 20 }, { 5, 20 } }) }, 40, 40), one);
    QCOMPARE(crossingsOf({ flat, pathOf({ { 5, 20 }, { 15, 20.01 } }) }, 40, 40), one);
    // Across the border of the cells that pairs are looked for in.
    QCOMPARE(
        crossingsOf({ pathOf({ { 7.995, 2 }, { 7.995, 30 } }), pathOf({ { 8, 5 }, { 15, 9 } }) },
                    40, 40),
        one);
}

// A curve that crosses a line exactly where it was cut into chords.
void tst_Crossings::curvesCrossAtTheirChordsEnds()
{
    fit::Path arc = {};
    arc.pieces.push_back(fit::arcPiece({ 10, 20 }, { 30, 20 }, 1.0));
    for (int k = 1; k < 40; ++k) {
        const fit::Point on = fit::pointAt(arc.pieces.front(), k / 40.0);
        const fit::Point out = on - fit::Point { 20, 20 };
        const fit::Path line = pathOf({ { 20, 20 }, fit::Point { 20, 20 } + 1.8 * out });
        QCOMPARE(crossingsOf({ arc, line }, 60, 60), (Pairs { { 0, 1 } }));
    }
}

void tst_Crossings::pathsCrossThemselves()
{
    const std::vector<fit::Path> paths
        = { pathOf({ { 5, 5 }, { 25, 5 }, { 25, 25 }, { 15, 0 } }), // over its first line
            pathOf({ { 5, 30 }, { 25, 30 }, { 25, 35 } }) };
    QCOMPARE(crossingsOf(paths, 40, 40), (Pairs { { 0, 0 } }));
    // There and back; a blunt tip is none of that.
    QCOMPARE(crossingsOf({ pathOf({ { 5, 5 }, { 25, 5 }, { 15, 5 } }) }, 40, 40),
             (Pairs { { 0, 0 } }));
    QVERIFY(
        crossingsOf({ pathOf({ { 5, 5 }, { 25, 5 }, { 25, 5.05 }, { 5, 6 } }) }, 40, 40).empty());
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

// A tip in a corner of a rectangle, and one just off it.
void tst_Crossings::cornersOfRectangles()
{
    fit::Piece piece = {};
    piece.kind = fit::Kind::RoundedRectangle;
    piece.centre = { 20, 20 };
    piece.half[0] = 0.5;
    piece.half[1] = 3;
    piece.start = piece.end = pointAt(piece, 0);
    const fit::Path rectangle = { { piece }, true, 0, 0 };
    for (double sign : { -1.0, 1.0 }) {
        for (double tall : { -1.0, 1.0 }) {
            const auto tip = [&](double x, double y) {
                return pathOf({ { 20 + 0.5 * sign, 20 + 4 * tall },
                                { 20 + x * sign, 20 + y * tall },
                                { 20 + 2.5 * sign, 20 + 4 * tall } });
            };
            QCOMPARE(crossingsOf({ rectangle, tip(0.4998, 2.9399) }, 40, 40), (Pairs { { 0, 1 } }));
            QVERIFY(crossingsOf({ rectangle, tip(0.53, 3.03) }, 40, 40).empty());
        }
    }
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

// Only pieces near to what is looked at are taken, and only their cells: curves, arcs and whole
// shapes across many of them lose no pair.
void tst_Crossings::lookedAtIsAPartOfAll()
{
    fit::Noise noise(8);
    const auto place = [&] { return fit::Point { 120 * noise.uniform(), 90 * noise.uniform() }; };
    for (int round = 0; round < 40; ++round) {
        std::vector<fit::Path> paths;
        std::vector<char> looked;
        for (int k = 0; k < 30; ++k) {
            const fit::Point a = place();
            const fit::Point b = place();
            const fit::Point c = a + fit::Point { 9 * noise.normal(), 9 * noise.normal() };
            fit::Path path = {};
            path.pieces = { fit::arcPiece(a, c, 0.9 * noise.normal()),
                            fit::quadraticPiece(c, place(), b), fit::linePiece(b, a) };
            paths.push_back(path);
            looked.push_back(noise.uniform() < 0.2 ? 1 : 0);
        }
        looked[0] = 1;
        Pairs expected;
        for (const auto &pair : crossingsOf(paths, 120, 90, {})) {
            if (looked[pair.first] || looked[pair.second])
                expected.push_back(pair);
        }
        QVERIFY(!expected.empty());
        QVERIFY(crossingsOf(paths, 120, 90, looked) == expected);
    }
}

void tst_Crossings::beyondThePlane()
{
    const std::vector<fit::Path> paths
        = { pathOf({ { -30, -5 }, { 60, 90 } }), pathOf({ { -20, 15 }, { 15, -25 } }) };
    QCOMPARE(crossingsOf(paths, 40, 40), (Pairs { { 0, 1 } }));
}

QTEST_APPLESS_MAIN(tst_Crossings)
#include "tst_crossings.moc"
