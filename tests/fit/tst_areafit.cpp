// (c) the ztrace developers. Licence: see LICENSE.
//
// Paths against what they cover of the pixels.
#include "FitRig.h"

#include "fit/areafit.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace::fit;

namespace {

const double kLambda = 5;

Path closedPath(const std::vector<Point> &corners)
{
    Path path = {};
    path.closed = true;
    for (std::size_t k = 0; k < corners.size(); ++k)
        path.pieces.push_back(linePiece(corners[k], corners[(k + 1) % corners.size()]));
    return path;
}

Coverage coverageOf(const Raster &raster)
{
    Coverage coverage = { 0, 0, raster.width, raster.height, 0.02, raster.coverage, {} };
    coverage.counts.assign(raster.coverage.size(), 1);
    return coverage;
}

Coverage coverageOf(const Path &path)
{
    return coverageOf(rasterOf(path.pieces, 40, 40));
}

// A circle in four arcs that go over into each other.
Path circleOfArcs(Point centre, double radius)
{
    const double quarter = std::tan(std::acos(-1.0) / 8);
    const Point ways[] = { { 1, 0 }, { 0, 1 }, { -1, 0 }, { 0, -1 } };
    Path path = {};
    path.closed = true;
    for (int k = 0; k < 4; ++k) {
        path.pieces.push_back(
            arcPiece(centre + radius * ways[k], centre + radius * ways[(k + 1) % 4], quarter));
        path.pieces.back().smooth = true;
    }
    return path;
}

double farthestCorner(const Path &path, const std::vector<Point> &corners)
{
    double farthest = 0;
    for (Point corner : corners) {
        double nearest = 1e9;
        for (const Piece &piece : path.pieces)
            nearest
                = std::min(nearest, std::hypot(piece.start.x - corner.x, piece.start.y - corner.y));
        farthest = std::max(farthest, nearest);
    }
    return farthest;
}

// A stem of 3 px with a bar of one pixel across its end: the foot of a letter.
const std::vector<Point> kFoot = { { 14.3, 6.2 },  { 17.3, 6.2 },  { 17.3, 22.4 }, { 20.6, 22.4 },
                                   { 20.6, 23.5 }, { 11.2, 23.5 }, { 11.2, 22.4 }, { 14.3, 22.4 } };

} // namespace

class tst_AreaFit : public QObject
{
    Q_OBJECT

private slots:
    void coversWhatTheRasterHas();
    void windowsCutOff();
    void cornersAreFound();
    void tipsAreCutSquare();
    void thinEndsAreSquare();
    void needlesStay();
    void shortLinesGo();
    void detailsAreAdded();
    void countersHaveTwoCorners();
    void smoothJointsStaySmooth();
    void cornersOfCurvesBecomeSmooth();
    void bendsThatAreCutOffBecomeRound();
    void realCornersOfCurvesStay();
    void curvesBend();
    void otherWayRound();
    void pixelsThatDoNotCount();
    void leavesWhatItCannotTell();
};

void tst_AreaFit::coversWhatTheRasterHas()
{
    for (const Path &path : { closedPath({ { 5.3, 4.1 }, { 33.7, 12.9 }, { 9.2, 35.6 } }),
                              circleOfArcs({ 20.2, 18.7 }, 9.3) }) {
        const Coverage coverage = coverageOf(path);
        const std::vector<double> cover = coverOf(path, coverage);
        double farthest = 0;
        for (std::size_t k = 0; k < cover.size(); ++k)
            farthest = std::max(farthest, std::fabs(cover[k] - coverage.right[k]));
        QVERIFY2(farthest < 0.01, qPrintable(QString::number(farthest)));
    }
}

void tst_AreaFit::windowsCutOff()
{
    const Path path = circleOfArcs({ 20.2, 18.7 }, 9.3);
    const Coverage all = coverageOf(path);
    Coverage window = all;
    window.left = 17;
    window.top = 12;
    window.width = 9;
    window.height = 11;
    const std::vector<double> whole = coverOf(path, all);
    const std::vector<double> part = coverOf(path, window);
    QCOMPARE(part.size(), std::size_t(99));
    for (int y = 0; y < window.height; ++y) {
        for (int x = 0; x < window.width; ++x)
            QVERIFY(
                std::fabs(part[std::size_t(y * 9 + x)] - whole[std::size_t((y + 12) * 40 + x + 17)])
                < 1e-9);
    }
}

void tst_AreaFit::cornersAreFound()
{
    const Coverage coverage = coverageOf(closedPath(kFoot));
    std::vector<Point> off = kFoot;
    for (std::size_t k = 0; k < off.size(); ++k)
        off[k] = off[k] + Point { k % 2 ? 0.2 : -0.15, k % 3 ? -0.1 : 0.2 };
    const Path before = closedPath(off);
    QVERIFY(farthestCorner(before, kFoot) > 0.2);
    const Path after = fitToCoverage(before, coverage, kLambda);
    QCOMPARE(after.pieces.size(), kFoot.size());
    QVERIFY2(farthestCorner(after, kFoot) < 0.03,
             qPrintable(QString::number(farthestCorner(after, kFoot))));
    for (std::size_t k = 0; k < after.pieces.size(); ++k) {
        const Piece &next = after.pieces[(k + 1) % after.pieces.size()];
        QVERIFY(after.pieces[k].end.x == next.start.x && after.pieces[k].end.y == next.start.y);
    }
}

// What points alone make of a bar's end of one pixel.
void tst_AreaFit::tipsAreCutSquare()
{
    const Path wedge = closedPath(
        { kFoot[0], kFoot[1], kFoot[2], { 21.6, 22.9 }, kFoot[5], kFoot[6], kFoot[7] });
    const Path after = fitToCoverage(wedge, coverageOf(closedPath(kFoot)), kLambda);
    QCOMPARE(after.pieces.size(), kFoot.size());
    QVERIFY2(farthestCorner(after, kFoot) < 0.1,
             qPrintable(QString::number(farthestCorner(after, kFoot))));
    // A tip that the picture has stays one.
    const std::vector<Point> kite = { { 10.2, 20 }, { 20, 18 }, { 31.3, 20 }, { 20, 22 } };
    QCOMPARE(fitToCoverage(closedPath(kite), coverageOf(closedPath(kite)), kLambda).pieces.size(),
             kite.size());
}

// Serifs of less than a pixel, of which points make wedges.
void tst_AreaFit::thinEndsAreSquare()
{
    const std::vector<Point> foot
        = { { 14.3, 6.2 },  { 16.1, 6.2 },  { 16.1, 21.9 }, { 18.3, 21.9 },
            { 18.3, 22.7 }, { 12.1, 22.7 }, { 12.1, 21.9 }, { 14.3, 21.9 } };
    const Path wedges = closedPath(
        { foot[0], foot[1], { 16.1, 21.6 }, { 19.1, 22.5 }, { 11.3, 22.5 }, { 14.3, 21.6 } });
    Coverage noisy = coverageOf(closedPath(foot));
    noisy.sigma = 0.06;
    const Path after = fitToCoverage(wedges, noisy, kLambda);
    QCOMPARE(after.pieces.size(), foot.size());
    QVERIFY2(farthestCorner(after, foot) < 0.35,
             qPrintable(QString::number(farthestCorner(after, foot))));
}

void tst_AreaFit::needlesStay()
{
    for (double half : { 0.8, 1.5, 3.0 }) {
        const std::vector<Point> kite
            = { { 33.2, 20.4 }, { 20.1, 20.4 + half }, { 15.3, 20.4 }, { 20.1, 20.4 - half } };
        std::vector<Point> off = kite;
        off[0].x -= 0.4;
        off[1].y += 0.25;
        const Path after = fitToCoverage(closedPath(off), coverageOf(closedPath(kite)), kLambda);
        QCOMPARE(after.pieces.size(), kite.size());
        QVERIFY2(farthestCorner(after, kite) < 0.45,
                 qPrintable(QString::number(farthestCorner(after, kite))));
    }
}

void tst_AreaFit::shortLinesGo()
{
    const std::vector<Point> square
        = { { 10.3, 9.6 }, { 22.8, 9.6 }, { 22.8, 25.4 }, { 16.1, 29.2 }, { 10.3, 25.4 } };
    const Path chamfered = closedPath({ { 10.3, 9.6 },
                                        { 22.3, 9.4 },
                                        { 23, 10.2 },
                                        { 22.8, 25.4 },
                                        { 16.1, 29.2 },
                                        { 10.3, 25.4 } });
    const Path after = fitToCoverage(chamfered, coverageOf(closedPath(square)), kLambda);
    QCOMPARE(after.pieces.size(), square.size());
    QVERIFY(farthestCorner(after, square) < 0.05);
}

// A corner that the points cut off, and a line that they made of an arc.
void tst_AreaFit::detailsAreAdded()
{
    const std::vector<Point> house
        = { { 10.3, 9.6 }, { 15.3, 9.6 }, { 15.3, 25.4 }, { 12.8, 26.5 }, { 10.3, 25.4 } };
    std::vector<Point> flat = house;
    flat.erase(flat.begin() + 3);
    const Path after = fitToCoverage(closedPath(flat), coverageOf(closedPath(house)), kLambda);
    QCOMPARE(after.pieces.size(), house.size());
    QVERIFY2(farthestCorner(after, house) < 0.1,
             qPrintable(QString::number(farthestCorner(after, house))));

    const std::vector<Point> square
        = { { 10.3, 9.6 }, { 22.8, 9.6 }, { 22.8, 19.4 }, { 10.3, 19.4 } };
    Path bent = closedPath(square);
    bent.pieces[1].kind = Kind::Arc;
    bent.pieces[1].bulge = 0.1;
    bool isMet = false;
    for (const Piece &piece : fitToCoverage(closedPath(square), coverageOf(bent), kLambda).pieces)
        isMet = isMet || (piece.kind == Kind::Arc && std::fabs(piece.bulge - 0.1) < 0.01);
    QVERIFY(isMet);
}

// The counter of a U, which points alone make an arc of.
void tst_AreaFit::countersHaveTwoCorners()
{
    const std::vector<Point> cup = { { 10.3, 9.6 }, { 13.1, 9.6 }, { 13.1, 19.7 }, { 18.6, 19.7 },
                                     { 18.6, 9.6 }, { 21.5, 9.6 }, { 21.5, 22.4 }, { 10.3, 22.4 } };
    Path round = closedPath(
        { cup[0], cup[1], { 13.1, 17.2 }, { 18.6, 17.2 }, cup[4], cup[5], cup[6], cup[7] });
    round.pieces[2].kind = Kind::Arc;
    round.pieces[2].bulge = -1;
    const Path after = fitToCoverage(round, coverageOf(closedPath(cup)), kLambda);
    QVERIFY2(farthestCorner(after, cup) < 0.1,
             qPrintable(QString::number(farthestCorner(after, cup))));
}

void tst_AreaFit::smoothJointsStaySmooth()
{
    const Path circle = circleOfArcs({ 20.2, 18.7 }, 7.3);
    Path off = circleOfArcs({ 20.35, 18.6 }, 7.2);
    const Path after = fitToCoverage(off, coverageOf(circle), kLambda);
    for (std::size_t k = 0; k < 4; ++k) {
        const Point one = endTangent(after.pieces[(k + 3) % 4]);
        const Point other = startTangent(after.pieces[k]);
        QVERIFY(std::fabs(cross(one, other)) < 0.02);
        const Point middle = pointAt(after.pieces[k], 0.5) - Point { 20.2, 18.7 };
        QVERIFY(std::fabs(std::hypot(middle.x, middle.y) - 7.3) < 0.02);
    }
}

void tst_AreaFit::cornersOfCurvesBecomeSmooth()
{
    Path off = circleOfArcs({ 20.3, 18.6 }, 7.2);
    for (std::size_t k = 0; k < 4; ++k) {
        off.pieces[k].smooth = false;
        off.pieces[k].bulge *= k % 2 ? 0.95 : 1.05;
    }
    const Path after = fitToCoverage(off, coverageOf(circleOfArcs({ 20.2, 18.7 }, 7.3)), kLambda);
    QCOMPARE(after.pieces.size(), std::size_t(4));
    for (std::size_t k = 0; k < 4; ++k) {
        QVERIFY(after.pieces[k].smooth);
        const double turn
            = cross(endTangent(after.pieces[(k + 3) % 4]), startTangent(after.pieces[k]));
        QVERIFY2(std::fabs(turn) < 0.02, qPrintable(QString::number(turn)));
    }
}

// A part of a bend that the points made a line of.
void tst_AreaFit::bendsThatAreCutOffBecomeRound()
{
    const Path circle = circleOfArcs({ 20.2, 18.7 }, 5.3);
    Path off = circle;
    const Piece whole = circle.pieces[1];
    const Point middle = pointAt(whole, 0.5);
    off.pieces[1] = arcPiece(whole.start, middle, std::tan(0.5 * std::atan(whole.bulge)));
    off.pieces[1].smooth = true;
    off.pieces.insert(off.pieces.begin() + 2, linePiece(middle, whole.end));
    off.pieces[3].smooth = false;
    const Path after = fitToCoverage(off, coverageOf(circle), kLambda);
    for (const Piece &piece : after.pieces) {
        QVERIFY(piece.kind == Kind::Arc);
        QVERIFY(piece.smooth);
    }
}

// Where an arc meets a line at 29 degrees.
void tst_AreaFit::realCornersOfCurvesStay()
{
    const std::vector<Point> corners = { { 8.3, 12.4 }, { 28.6, 12.4 }, { 28.6, 27.1 } };
    Path truth = closedPath(corners);
    truth.pieces[2] = arcPiece(corners[2], corners[0], 0.2);
    Path off = truth;
    off.pieces[2].bulge = 0.25;
    const Path after = fitToCoverage(off, coverageOf(truth), kLambda);
    QCOMPARE(after.pieces.size(), std::size_t(3));
    for (std::size_t k = 0; k < 3; ++k) {
        const Point away = after.pieces[k].start - corners[k];
        QVERIFY(!after.pieces[k].smooth);
        QVERIFY2(std::hypot(away.x, away.y) < 0.1, qPrintable(QString::number(k)));
    }
}

// The walk round a hole: what it has on its right is all else.
// The controls of a cubic and a quadratic that are .3 px off, beside corners that are right.
void tst_AreaFit::curvesBend()
{
    Path truth = {};
    truth.closed = true;
    truth.pieces = { cubicPiece({ 8.3, 30.1 }, { 6.9, 14.2 }, { 17.4, 7.8 }, { 24.6, 9.2 }),
                     quadraticPiece({ 24.6, 9.2 }, { 33.5, 17.7 }, { 31.2, 31.6 }),
                     linePiece({ 31.2, 31.6 }, { 8.3, 30.1 }) };
    Path path = truth;
    path.pieces[0].control = path.pieces[0].control + Point { 0.3, -0.2 };
    path.pieces[0].control2 = path.pieces[0].control2 + Point { -0.2, 0.3 };
    path.pieces[1].control = path.pieces[1].control + Point { 0.2, 0.3 };
    const Coverage coverage = coverageOf(truth);
    const Path better = fitToCoverage(path, coverage, kLambda, true);
    QCOMPARE(better.pieces.size(), truth.pieces.size());
    for (std::size_t k = 0; k < 2; ++k) {
        for (double t : { 0.2, 0.4, 0.6, 0.8 }) {
            const double off = distanceTo(truth.pieces[k], pointAt(better.pieces[k], t));
            QVERIFY2(off < 0.03, qPrintable(QString("%1 at %2: %3").arg(k).arg(t).arg(off)));
        }
    }
}

void tst_AreaFit::otherWayRound()
{
    Coverage coverage = coverageOf(closedPath(kFoot));
    for (double &part : coverage.right)
        part = 1 - part;
    std::vector<Point> off(kFoot.rbegin(), kFoot.rend());
    off[2] = off[2] + Point { 0.25, -0.2 };
    const Path after = fitToCoverage(closedPath(off), coverage, kLambda);
    QVERIFY(farthestCorner(after, kFoot) < 0.03);
}

// Another path passes there, of which nothing is known.
void tst_AreaFit::pixelsThatDoNotCount()
{
    Coverage coverage = coverageOf(closedPath(kFoot));
    for (int y = 5; y < 9; ++y) {
        for (int x = 12; x < 20; ++x) {
            coverage.right[std::size_t(y * 40 + x)] = 0.5;
            coverage.counts[std::size_t(y * 40 + x)] = 0;
        }
    }
    std::vector<Point> off = kFoot;
    off[3] = off[3] + Point { 0.5, 0.4 };
    const Path after = fitToCoverage(closedPath(off), coverage, kLambda);
    QVERIFY2(farthestCorner(after, kFoot) < 0.1,
             qPrintable(QString::number(farthestCorner(after, kFoot))));
}

void tst_AreaFit::leavesWhatItCannotTell()
{
    const auto same = [](const Path &one, const Path &other) {
        return one.pieces.size() == other.pieces.size()
            && std::equal(one.pieces.begin(), one.pieces.end(), other.pieces.begin(),
                          [](const Piece &a, const Piece &b) {
                              return a.start.x == b.start.x && a.start.y == b.start.y;
                          });
    };
    std::vector<Point> off = kFoot;
    off[3] = off[3] + Point { 0.3, 0.3 };
    const Path path = closedPath(off);
    Coverage blurred = coverageOf(closedPath(kFoot));
    const std::vector<double> sharp = blurred.right;
    for (int y = 1; y < 39; ++y) {
        for (int x = 1; x < 39; ++x) {
            double sum = 0;
            for (int k = 0; k < 9; ++k)
                sum += sharp[std::size_t((y + k / 3 - 1) * 40 + x + k % 3 - 1)] / 9;
            blurred.right[std::size_t(y * 40 + x)] = sum;
        }
    }
    QVERIFY(!showsAreas(path, blurred));
    QVERIFY(same(fitToCoverage(path, blurred, kLambda), path));
    const Coverage exact = coverageOf(closedPath(kFoot));
    QVERIFY(showsAreas(path, exact));
    QVERIFY(!same(fitToCoverage(path, exact, kLambda), path));
    QVERIFY(same(fitToCoverage(closedPath(kFoot), exact, kLambda), closedPath(kFoot)));
    Coverage none = exact;
    none.counts.assign(none.counts.size(), 0);
    QVERIFY(same(fitToCoverage(path, none, kLambda), path));
    Path open = path;
    open.closed = false;
    QVERIFY(same(fitToCoverage(open, exact, kLambda), open));
    QVERIFY(fitToCoverage(Path(), exact, kLambda).pieces.empty());
}

QTEST_APPLESS_MAIN(tst_AreaFit)
#include "tst_areafit.moc"
