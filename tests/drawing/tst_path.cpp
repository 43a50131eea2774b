// (c) the ztrace developers. Licence: see LICENSE.
//
// Paths, their bounds, and the border to the host's polylines.
#include "drawing/hostpath.h"

#include "ZPolyline.h"
#include "ZSpline.h"

#include <QTest>

#include <cmath>
#include <limits>
#include <random>

using namespace ztrace;

namespace {

class RandomPaths
{
public:
    explicit RandomPaths(unsigned seed) : random(seed) { }

    Path next()
    {
        Path path;
        path.moveTo(point());
        for (unsigned long i = random() % 12; i > 0; --i) {
            switch (random() % 5) {
            case 0:
                path.lineTo(point());
                break;
            case 1:
                path.arcTo(point(), number() / 5.0);
                break;
            case 2:
                path.quadraticTo(point(), point());
                break;
            case 3:
                path.cubicTo(point(), point(), point());
                break;
            default:
                path.splineTo(3, { point(), point(), point() }, point());
            }
        }
        return path;
    }

private:
    double number() { return double(random() % 20001) / 1000.0 - 10.0; }
    Point point() { return Point(number(), number()); }

    std::mt19937 random;
};

} // namespace

class tst_Path : public QObject
{
    Q_OBJECT

private slots:
    void thereAndBack()
    {
        RandomPaths paths(3);
        for (int i = 0; i < 500; ++i) {
            const Path path = paths.next();
            QVERIFY(pathOf(polylineOf(path)) == path);
        }
    }

    void emptyAndSinglePoints()
    {
        QVERIFY(pathOf(ZPolyline()).isEmpty());
        QVERIFY(polylineOf(Path()).isEmpty());
        ZPolyline single;
        single.appendVertex(ZVector(3, 4));
        const Path path = pathOf(single);
        QVERIFY(!path.isEmpty());
        QVERIFY(path.pieces().empty());
        QVERIFY(path.end() == Point(3, 4));
        QVERIFY(polylineOf(path) == single);
    }

    void shapesOfTheUsualDegreesAreCurves()
    {
        Path path;
        path.moveTo(Point(0, 0));
        path.splineTo(2, { Point(1, 1) }, Point(2, 0));
        path.splineTo(3, { Point(3, 1), Point(4, 1) }, Point(5, 0));
        path.splineTo(2, { Point(6, 1), Point(7, 1) }, Point(8, 0));
        path.arcTo(Point(9, 0), 0.0);
        std::vector<int> kinds;
        for (const PathPiece piece : path.pieces())
            kinds.push_back(piece.kind);
        QCOMPARE(kinds,
                 (std::vector<int> { PathPiece::Quadratic, PathPiece::Cubic, PathPiece::Spline,
                                     PathPiece::Line }));
    }

    void boundsAreThoseOfThePolyline()
    {
        RandomPaths paths(4);
        for (int i = 0; i < 500; ++i) {
            const Path path = paths.next();
            const Bounds bounds = boundsOf(path);
            const ZBox box = polylineOf(path).getBoundingBox();
            QVERIFY(bounds.valid);
            for (double difference :
                 { bounds.low.x - box.minimum.x, bounds.low.y - box.minimum.y,
                   bounds.high.x - box.maximum.x, bounds.high.y - box.maximum.y })
                QVERIFY(std::fabs(difference) < 1e-9);
        }
    }

    void whatIsNoNumberIsOutOfBounds()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        Path path;
        path.moveTo(Point(nan, 0));
        QVERIFY(!boundsOf(path).valid);
        path.lineTo(Point(1, 2));
        path.lineTo(Point(nan, 5));
        const Bounds bounds = boundsOf(path);
        QVERIFY(bounds.valid);
        QCOMPARE(bounds.low.x, 1.0);
        QCOMPARE(bounds.high.x, 1.0);
        QVERIFY(!boundsOf(Path()).valid);
    }

    void pathsDifferByEveryNumber()
    {
        Path one;
        one.moveTo(Point(0, 0));
        one.arcTo(Point(1, 0), 0.5);
        Path other = one;
        QVERIFY(one == other);
        other = Path();
        other.moveTo(Point(0, 0));
        other.arcTo(Point(1, 0), 0.25);
        QVERIFY(one != other);
        QVERIFY(Path() != one);
    }
};

QTEST_GUILESS_MAIN(tst_Path)
#include "tst_path.moc"
