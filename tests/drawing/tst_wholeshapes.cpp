// (c) the ztrace developers. Licence: see LICENSE.
//
// Whole shapes found in paths, and elliptic arcs: their ends, bounds and ways to write them.
#include "drawing/hostpath.h"
#include "drawing/pieces.h"
#include "tests/drawing/WholeShapes.h"

#include "ZPolyline.h"

#include <QTest>

#include <cmath>
#include <limits>

using namespace ztrace;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();

Path turnedAround(const Path &path)
{
    std::vector<PathPiece> pieces;
    for (const PathPiece piece : path.pieces())
        pieces.insert(pieces.begin(), piece);
    Path result;
    result.moveTo(path.end());
    for (const PathPiece &piece : pieces) {
        if (piece.kind == PathPiece::Line)
            result.lineTo(piece.start);
        else
            result.ellipticArcTo(piece.start, -piece.bulge, piece.ratio, piece.angle);
    }
    return result;
}

} // namespace

class tst_WholeShapes : public QObject
{
    Q_OBJECT

private slots:
    void wholeShapesAreRecognised_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<double>("a");
        QTest::addColumn<double>("b");
        QTest::addColumn<double>("angle");
        QTest::addColumn<double>("radius");
        QTest::newRow("circle") << int(WholeShape::Circle) << 7.3 << 7.3 << 0.0 << 0.0;
        QTest::newRow("ellipse") << int(WholeShape::Ellipse) << 9.1 << 3.7 << 0.6 << 0.0;
        QTest::newRow("upright rectangle")
            << int(WholeShape::Rectangle) << 9.5 << 3.25 << 0.0 << 0.0;
        QTest::newRow("rotated rectangle")
            << int(WholeShape::Rectangle) << 9.1 << 3.7 << 0.6 << 0.0;
        QTest::newRow("rounded rectangle")
            << int(WholeShape::Rectangle) << 9.5 << 3.25 << 0.0 << 1.5;
        QTest::newRow("rotated rounded rectangle")
            << int(WholeShape::Rectangle) << 9.1 << 3.7 << 0.6 << 1.7;
        QTest::newRow("rounded to half circles")
            << int(WholeShape::Rectangle) << 9.5 << 3.25 << 0.0 << 3.25;
    }
    void wholeShapesAreRecognised()
    {
        QFETCH(int, kind);
        QFETCH(double, a);
        QFETCH(double, b);
        QFETCH(double, angle);
        QFETCH(double, radius);
        const WholeShape wanted = shapeOf(WholeShape::Kind(kind), a, b, angle, radius);
        for (const Path &path : { pathOf(wanted), turnedAround(pathOf(wanted)) }) {
            const WholeShape found = wholeShapeOf(path);
            QCOMPARE(int(found.kind), kind);
            QVERIFY(std::fabs(found.center.x - 20.5) < 1e-9);
            QVERIFY(std::fabs(found.center.y - 15.25) < 1e-9);
            // Axes may have changed places, by a quarter turn.
            const bool swapped = std::fabs(found.half[0] - a) > 1e-9;
            QVERIFY(std::fabs(found.half[swapped ? 1 : 0] - a) < 1e-9);
            QVERIFY(std::fabs(found.half[swapped ? 0 : 1] - b) < 1e-9);
            const double turn = found.angle - angle + (swapped ? M_PI / 2 : 0.0);
            QVERIFY(std::fabs(std::remainder(turn, M_PI)) < 1e-9);
            QVERIFY(std::fabs(found.radius - radius) < 1e-9);
        }
    }

    void otherPathsAreNoWholeShapes_data()
    {
        QTest::addColumn<int>("change");
        QTest::newRow("open") << 0;
        QTest::newRow("a skewed rectangle") << 1;
        QTest::newRow("a trapezium") << 2;
        QTest::newRow("two arcs of different size") << 3;
        QTest::newRow("a rectangle with one larger radius") << 4;
        QTest::newRow("not a number") << 5;
        QTest::newRow("quarters beside the sides") << 6;
        QTest::newRow("without extent") << 7;
    }
    void otherPathsAreNoWholeShapes()
    {
        QFETCH(int, change);
        const double quarter = std::tan(M_PI / 8);
        Path path;
        path.moveTo(Point(0, 0));
        switch (change) {
        case 0:
            path.arcTo(Point(2, 0), 1.0);
            path.arcTo(Point(0, 1e-3), 1.0);
            break;
        case 1:
        case 2:
            path.lineTo(Point(10, 0));
            path.lineTo(Point(change == 1 ? 11 : 9, 5));
            path.lineTo(Point(1, 5));
            path.lineTo(Point(0, 0));
            break;
        case 3:
            path.arcTo(Point(2, 0), 1.0);
            path.arcTo(Point(0, 0), 0.9);
            break;
        case 4:
        case 6:
            path.lineTo(Point(8, 0));
            path.arcTo(Point(10, 2), quarter);
            path.lineTo(Point(10, 8));
            path.arcTo(Point(8, 10), quarter);
            path.lineTo(Point(0, 10));
            path.arcTo(Point(-2, 8), quarter);
            path.lineTo(Point(-2, change == 4 ? 3 : 2.5));
            path.arcTo(Point(change == 4 ? 1 : 0, 0), quarter);
            path.lineTo(Point(0, 0));
            break;
        case 5:
            path.lineTo(Point(10, 0));
            path.lineTo(Point(10, kNan));
            path.lineTo(Point(0, 5));
            path.lineTo(Point(0, 0));
            break;
        case 7:
            for (int k = 0; k < 4; ++k)
                path.lineTo(Point(0, 0));
            break;
        }
        QCOMPARE(int(wholeShapeOf(path).kind), int(WholeShape::None));
    }

    void ellipticArcsHaveTheirEndsAndTheirEllipse()
    {
        // A quarter of the ellipse of half axes 4 and 1 whose longer axis runs along (3, 4).
        const double angle = std::atan2(4.0, 3.0);
        Path path;
        path.moveTo(Point(2.4, 3.2));
        path.ellipticArcTo(Point(-0.8, 0.6), std::tan(M_PI / 8), 0.25, angle);
        const PathPiece arc = *path.pieces().begin();
        const Ellipse ellipse = ellipseOf(arc);
        QVERIFY(std::hypot(ellipse.center.x, ellipse.center.y) < 1e-12);
        QVERIFY(std::fabs(ellipse.major - 4.0) < 1e-12 && std::fabs(ellipse.minor - 1.0) < 1e-12);
        QVERIFY(std::fabs(ellipse.start) < 1e-12);
        QVERIFY(std::fabs(ellipse.sweep - M_PI / 2) < 1e-12);
        // The largest x and y of the arc are inside it: at no end.
        const Bounds bounds = boundsOf(path);
        double right = -1e9;
        for (int k = 0; k <= 100000; ++k)
            right = std::max(right, pointOn(ellipse, k * ellipse.sweep / 100000).x);
        QVERIFY(right > 2.4 + 1e-3 || bounds.high.x == 2.4);
        QVERIFY(std::fabs(bounds.high.x - right) < 1e-8);
    }

    void boundsOfAWholeEllipse()
    {
        const Bounds bounds = boundsOf(pathOf(shapeOf(WholeShape::Ellipse, 9.1, 3.7, 0.6)));
        const double reach = std::hypot(9.1 * std::cos(0.6), 3.7 * std::sin(0.6));
        QVERIFY(std::fabs(bounds.high.x - (20.5 + reach)) < 1e-9);
        QVERIFY(std::fabs(bounds.low.x - (20.5 - reach)) < 1e-9);
        const double rise = std::hypot(9.1 * std::sin(0.6), 3.7 * std::cos(0.6));
        QVERIFY(std::fabs(bounds.high.y - (15.25 + rise)) < 1e-9);
    }

    void cubicsAndLinesStayNearEllipticArcs()
    {
        const Path path = pathOf(shapeOf(WholeShape::Ellipse, 900.0, 300.0, 0.6));
        const auto farFrom = [](const Ellipse &e, const Point &p) {
            const double x
                = std::cos(e.angle) * (p.x - e.center.x) + std::sin(e.angle) * (p.y - e.center.y);
            const double y
                = std::cos(e.angle) * (p.y - e.center.y) - std::sin(e.angle) * (p.x - e.center.x);
            // At most this far: the relative distance along the ray, times the ray.
            const double r = std::hypot(x / e.major, y / e.minor);
            return std::fabs(1.0 - 1.0 / r) * std::hypot(x, y);
        };
        for (double tolerance : { 0.1, 0.001 }) {
            std::vector<PathPiece> pieces;
            piecesOf(path, &pieces);
            const Ellipse ellipse = ellipseOf(pieces.front());
            std::vector<PathPiece> cubics = pieces;
            replaceArcs(tolerance, &cubics);
            QVERIFY(cubics.size() > pieces.size());
            double worst = 0.0;
            for (const PathPiece &cubic : cubics) {
                QCOMPARE(int(cubic.kind), int(PathPiece::Cubic));
                for (int k = 0; k <= 50; ++k)
                    worst = std::max(worst, farFrom(ellipse, pointOn(cubic, k / 50.0)));
            }
            QVERIFY2(worst <= tolerance, qPrintable(QString::number(worst)));
            QVERIFY(cubics.front().start == pieces.front().start);
            QVERIFY(cubics.back().end == pieces.back().end);
            std::vector<Point> points(1, pieces.front().start);
            for (const PathPiece &piece : pieces)
                flatten(piece, tolerance, &points);
            for (std::size_t i = 0; i + 1 < points.size(); ++i) {
                const Point middle(0.5 * (points[i].x + points[i + 1].x),
                                   0.5 * (points[i].y + points[i + 1].y));
                QVERIFY(farFrom(ellipse, middle) <= 3.0 * tolerance); // three: the axes
            }
        }
    }

    void hostPolylinesHaveSplinesForEllipticArcs()
    {
        Path path;
        path.moveTo(Point(2.4, 3.2));
        path.ellipticArcTo(Point(-0.8, 0.6), std::tan(M_PI / 8), 0.25, std::atan2(4.0, 3.0));
        path.lineTo(Point(-3, 0));
        const Path back = pathOf(polylineOf(path));
        std::vector<PathPiece> pieces;
        piecesOf(back, &pieces);
        QVERIFY(pieces.size() >= 2);
        QCOMPARE(int(pieces.front().kind), int(PathPiece::Cubic));
        QVERIFY(back.start() == path.start() && back.end() == path.end());
    }
};

QTEST_GUILESS_MAIN(tst_WholeShapes)
#include "tst_wholeshapes.moc"
