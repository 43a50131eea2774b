// (c) the ztrace developers. Licence: see LICENSE.
//
// Where pieces meet: corners, common tangents, pinned ends, and the ways back.
#include "fit/Points.h"
#include "fit/joints.h"

#include <QtTest>

#include <cmath>

using namespace ztrace::fit;

namespace {

const double kPi = 3.14159265358979323846;

// A chain of soft points, the spans fitted to parts of it, and their path.
struct Walk
{
    std::vector<double> x;
    std::vector<double> y;
    bool pinned = false;

    void add(Point p)
    {
        x.push_back(p.x);
        y.push_back(p.y);
    }
    void addLine(Point from, Point to, int count)
    {
        for (int k = 0; k < count; ++k)
            add(from + ((k + 0.5) / count) * (to - from));
    }
    void addArc(Point centre, double radius, double from, double to, int count)
    {
        for (int k = 0; k < count; ++k) {
            const double a = from + (k + 0.5) / count * (to - from);
            add(centre + radius * Point { std::cos(a), std::sin(a) });
        }
    }

    // Spans end at the given points; `arcs` says which are arcs, `smooth` which join smoothly.
    std::vector<Piece> joined(const std::vector<int> &ends, const std::vector<bool> &arcs,
                              const std::vector<bool> &smooth) const
    {
        const Points points = pointsOf(
            { x.data(), y.data(), nullptr, int(x.size()), false, Edge::Soft, pinned, pinned });
        const Sums sums(points);
        const Prices prices = svgPrices();
        const Judgement judgement = judgementOf(Edge::Soft);
        const Table table = { points, sums, prices, judgement };
        std::vector<Span> spans;
        int first = 0;
        for (std::size_t k = 0; k < ends.size(); ++k) {
            const SpanPair pair = spansOf(table, first, ends[k], kAnyCost);
            spans.push_back(arcs[k] ? pair.arc : pair.line);
            spans.back().smooth = smooth[k];
            first = ends[k];
        }
        std::vector<Piece> pieces = joinSpans(table, spans);
        for (Piece &piece : pieces) {
            piece.start = piece.start + points.origin;
            piece.end = piece.end + points.origin;
        }
        return pieces;
    }
};

double gap(Point a, Point b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

double turnBetween(const Piece &a, const Piece &b)
{
    const Point s = endTangent(a);
    const Point t = startTangent(b);
    return std::atan2(cross(s, t), dot(s, t));
}

} // namespace

class tst_Joints : public QObject
{
    Q_OBJECT

private slots:
    void cornersLieWhereTheFitsMeet();
    void shallowCornersLieBetweenTheFits();
    void smoothJointsHaveOneTangent();
    void costlyTangentsBecomeCorners();
    void pinnedEndsAreExact();
    void closedPathsEndWhereTheyBegin();
};

// The last points before the corner are three pixels away from it.
void tst_Joints::cornersLieWhereTheFitsMeet()
{
    for (const double degrees : { 20.0, 90.0, 130.0 }) {
        Walk walk;
        const Point corner = { 60.3, 40.7 };
        const double a = degrees * kPi / 180;
        const Point along = { std::cos(a), std::sin(a) };
        walk.addLine(corner + Point { -30, 0 }, corner + Point { -2, 0 }, 28);
        walk.addLine(corner + 2.0 * along, corner + 30.0 * along, 28);
        const std::vector<Piece> pieces
            = walk.joined({ 28, 56 }, { false, false }, { false, false });
        QCOMPARE(pieces.size(), std::size_t(2));
        QVERIFY2(gap(pieces[0].end, corner) < 0.01, qPrintable(QString::number(degrees)));
        QCOMPARE(gap(pieces[0].end, pieces[1].start), 0.0);
    }
}

// Two lines side by side, a tenth of a pixel apart: their intersection is nowhere near.
void tst_Joints::shallowCornersLieBetweenTheFits()
{
    Walk walk;
    walk.addLine({ 10, 20 }, { 40, 20 }, 30);
    walk.addLine({ 40, 20.1 }, { 70, 20.1 }, 30);
    const std::vector<Piece> pieces = walk.joined({ 30, 60 }, { false, false }, { false, false });
    QVERIFY(gap(pieces[0].end, { 40, 20.05 }) < 0.5);
}

void tst_Joints::smoothJointsHaveOneTangent()
{
    Walk walk;
    walk.addLine({ 10, 20 }, { 40, 20 }, 30);
    walk.addArc({ 40, 35 }, 15, -kPi / 2, 0, 24);
    walk.addLine({ 55, 35 }, { 55, 60 }, 25);
    const std::vector<Piece> pieces
        = walk.joined({ 30, 54, 79 }, { false, true, false }, { false, true, true });
    QCOMPARE(pieces.size(), std::size_t(3));
    for (std::size_t k = 1; k < 3; ++k) {
        QVERIFY(pieces[k].smooth);
        QVERIFY(std::fabs(turnBetween(pieces[k - 1], pieces[k])) < 1e-5);
    }
    QVERIFY(gap(pieces[0].end, { 40, 20 }) < 0.3);
    QVERIFY(gap(pieces[1].end, { 55, 35 }) < 0.3);
}

// Told to be smooth, but they turn by 60 degrees: the points are worth more than the joint.
void tst_Joints::costlyTangentsBecomeCorners()
{
    Walk walk;
    const double a = 60 * kPi / 180;
    walk.addLine({ 10, 20 }, { 40, 20 }, 30);
    walk.addLine({ 40, 20 }, { 40 + 30 * std::cos(a), 20 + 30 * std::sin(a) }, 30);
    const std::vector<Piece> pieces = walk.joined({ 30, 60 }, { false, false }, { false, true });
    QVERIFY(!pieces[1].smooth);
    QVERIFY(std::fabs(turnBetween(pieces[0], pieces[1]) - a) < 0.02);
}

void tst_Joints::pinnedEndsAreExact()
{
    Walk walk;
    walk.pinned = true;
    walk.add({ 10, 20.6 });
    walk.addLine({ 10.5, 20 }, { 40, 20 }, 30);
    walk.addLine({ 40, 20.5 }, { 40, 50 }, 30);
    walk.add({ 39.5, 50.5 });
    const std::vector<Piece> pieces = walk.joined({ 31, 62 }, { false, false }, { false, false });
    QCOMPARE(pieces.front().start.x, 10.0);
    QCOMPARE(pieces.front().start.y, 20.6);
    QCOMPARE(pieces.back().end.x, 39.5);
    QCOMPARE(pieces.back().end.y, 50.5);
}

void tst_Joints::closedPathsEndWhereTheyBegin()
{
    Walk walk;
    const Point corners[3] = { { 10, 10 }, { 60, 15 }, { 30, 50 } };
    for (int k = 0; k < 3; ++k)
        walk.addLine(corners[k], corners[(k + 1) % 3], 30);
    const Points points = pointsOf({ walk.x.data(), walk.y.data(), nullptr, int(walk.x.size()),
                                     true, Edge::Soft, false, false });
    const Sums sums(points);
    const Prices prices = svgPrices();
    const Judgement judgement = judgementOf(Edge::Soft);
    const Table table = { points, sums, prices, judgement };
    std::vector<Span> spans;
    for (int k = 0; k < 3; ++k)
        spans.push_back(spansOf(table, 30 * k, 30 * k + 30, kAnyCost).line);
    const std::vector<Piece> pieces = joinSpans(table, spans);
    QCOMPARE(pieces.size(), std::size_t(3));
    for (int k = 0; k < 3; ++k) {
        const Piece &piece = pieces[std::size_t(k)];
        QVERIFY(gap(piece.start + points.origin, corners[k]) < 1e-3);
        QCOMPARE(gap(piece.end, pieces[std::size_t((k + 1) % 3)].start), 0.0);
    }
}

QTEST_APPLESS_MAIN(tst_Joints)
#include "tst_joints.moc"
