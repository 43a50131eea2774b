// (c) the ztrace developers. Licence: see LICENSE.
//
// Arcs along curves, for formats that have no other ones.
#include "drawing/arcs.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace ztrace;

namespace {

const double kInfinity = std::numeric_limits<double>::infinity();

PathPiece quadratic(const Point &a, const Point &b, const Point &c)
{
    PathPiece piece;
    piece.kind = PathPiece::Quadratic;
    piece.start = a;
    piece.control1 = b;
    piece.end = c;
    return piece;
}

double distanceToArc(const PathPiece &arc, const Point &p)
{
    const Circle circle = circleOf(arc);
    const double angle = std::atan2(p.y - circle.center.y, p.x - circle.center.x);
    const double turned
        = std::remainder(angle - circle.startAngle - 0.5 * circle.sweep, 2.0 * M_PI);
    if (std::fabs(turned) <= 0.5 * std::fabs(circle.sweep))
        return std::fabs(std::hypot(p.x - circle.center.x, p.y - circle.center.y) - circle.radius);
    return std::min(std::hypot(p.x - arc.start.x, p.y - arc.start.y),
                    std::hypot(p.x - arc.end.x, p.y - arc.end.y));
}

double distanceToLine(const PathPiece &line, const Point &p)
{
    const double dx = line.end.x - line.start.x;
    const double dy = line.end.y - line.start.y;
    const double along = (p.x - line.start.x) * dx + (p.y - line.start.y) * dy;
    const double t = std::min(1.0, std::max(0.0, along / (dx * dx + dy * dy)));
    return std::hypot(line.start.x + t * dx - p.x, line.start.y + t * dy - p.y);
}

// Distance of a point from a chain of arcs and lines.
double distanceTo(const std::vector<BulgeVertex> &chain, const Point &p)
{
    double best = kInfinity;
    for (std::size_t i = 0; i + 1 < chain.size(); ++i) {
        PathPiece piece;
        piece.kind = chain[i].bulge == 0.0 ? PathPiece::Line : PathPiece::Arc;
        piece.start = chain[i].point;
        piece.end = chain[i + 1].point;
        piece.bulge = chain[i].bulge;
        best = std::min(best,
                        piece.kind == PathPiece::Line ? distanceToLine(piece, p)
                                                      : distanceToArc(piece, p));
    }
    return best;
}

} // namespace

class tst_Arcs : public QObject
{
    Q_OBJECT

private slots:
    void arcsStayWithinTheTolerance()
    {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> place(-10.0, 10.0);
        for (int i = 0; i < 500; ++i) {
            const PathPiece curve = quadratic(Point(place(random), place(random)),
                                              Point(place(random), place(random)),
                                              Point(place(random), place(random)));
            for (double tolerance : { 0.5, 0.05, 0.001 }) {
                const std::vector<BulgeVertex> chain = bulgeChain({ curve }, tolerance);
                QVERIFY(chain.front().point == curve.start && chain.back().point == curve.end);
                for (int k = 0; k <= 200; ++k)
                    QVERIFY(distanceTo(chain, pointOn(curve, k / 200.0))
                            <= tolerance * (1.0 + 1e-9));
            }
        }
    }

    void arcsOfDegenerateCurves_data()
    {
        QTest::addColumn<double>("controlX");
        QTest::addColumn<double>("controlY");
        QTest::addColumn<double>("endX");
        QTest::newRow("straight") << 5.0 << 0.0 << 10.0;
        QTest::newRow("turns back") << 20.0 << 0.0 << 10.0;
        QTest::newRow("closed") << 5.0 << 5.0 << 0.0;
        QTest::newRow("a point") << 0.0 << 0.0 << 0.0;
        QTest::newRow("control on the start") << 0.0 << 0.0 << 10.0;
        QTest::newRow("folds beyond the end") << 3.0 << 0.0 << 1.0;
        QTest::newRow("folds to the other side") << 10.0 << 0.0 << -10.0;
        QTest::newRow("folds before the start") << -11.0 << 0.0 << 19.5;
        QTest::newRow("nearly folds") << 58.95 << 0.001 << -58.9;
    }
    void arcsOfDegenerateCurves()
    {
        QFETCH(double, controlX);
        QFETCH(double, controlY);
        QFETCH(double, endX);
        const PathPiece curve = quadratic(Point(0, 0), Point(controlX, controlY), Point(endX, 0));
        for (double tolerance : { 0.05, 0.001 }) {
            const std::vector<BulgeVertex> chain = bulgeChain({ curve }, tolerance);
            for (const BulgeVertex &vertex : chain) {
                QVERIFY(std::isfinite(vertex.bulge));
                QVERIFY(std::isfinite(vertex.point.x) && std::isfinite(vertex.point.y));
            }
            if (chain.size() == 1)
                continue; // a point
            for (int k = 0; k <= 500; ++k)
                QVERIFY(distanceTo(chain, pointOn(curve, k / 500.0)) <= tolerance * (1.0 + 1e-9));
        }
    }

    void curveThatIsAPointHasOneVertex()
    {
        const PathPiece curve = quadratic(Point(1, 1), Point(1, 1), Point(1, 1));
        QCOMPARE(bulgeChain({ curve }, 0.05).size(), std::size_t(1));
    }
};

QTEST_GUILESS_MAIN(tst_Arcs)
#include "tst_arcs.moc"
