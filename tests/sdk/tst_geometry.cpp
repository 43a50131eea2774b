// (c) the ztrace developers. Licence: see LICENSE.
//
// The stand-in's shapes: vectors, boxes, splines and polylines.
#include "ZBox.h"
#include "ZPolyline.h"
#include "ZSpline.h"

#include <QtTest>

#include <cmath>
#include <limits>

namespace {

const double kPi = 3.14159265358979323846;

ZSpline quadratic(const ZVector &a, const ZVector &b, const ZVector &c)
{
    ZSpline spline;
    spline.setDegree(2);
    spline.appendControlPoint(a);
    spline.appendControlPoint(b);
    spline.appendControlPoint(c);
    return spline;
}

// A line, a quadratic, and a line again.
ZPolyline mixed()
{
    ZPolyline polyline;
    polyline.appendVertex(ZVector(0.0, 0.0));
    polyline.appendVertex(ZVector(4.0, 0.0));
    polyline.appendShape(quadratic(ZVector(4.0, 0.0), ZVector(6.0, 0.0), ZVector(6.0, 2.0)));
    polyline.appendVertex(ZVector(6.0, 5.0));
    return polyline;
}

} // namespace

class tst_Geometry : public QObject
{
    Q_OBJECT

private slots:
    void vector();
    void boxGrows();
    void boxLeavesOutWhatIsNoNumber();
    void emptyShapes();
    void splineOfDegreeTwo();
    void splineOfManyPoints();
    void splineWithoutACurve();
    void quadraticBoxIsTight();
    void quadraticLength();
    void pieces();
    void lengthAndBox();
    void widthsAndBulgeBelongToThePieceThatStarts();
    void arcs_data();
    void arcs();
    void appendedPolyline();
    void prepended();
    void shapesThatAreRefused();
    void appendedToItself();
    void exploded();
    void copiesShareNothing();
    void comparison();
};

void tst_Geometry::vector()
{
    QVERIFY(!ZVector().valid);
    const ZVector v(3.0, 4.0);
    QCOMPARE(v.z, 0.0);
    QVERIFY(v.valid);
    QCOMPARE(v.getDistanceTo(ZVector(0.0, 0.0)), 5.0);
    QVERIFY(v == ZVector(3.0, 4.0, 0.0, true));
    QVERIFY(v != ZVector(3.0, 4.0, 0.0, false));
    QVERIFY(v != ZVector(3.0, 4.0, 1.0));
}

void tst_Geometry::boxGrows()
{
    ZBox box;
    QVERIFY(!box.isValid());
    QCOMPARE(box.getWidth(), 0.0);
    box.growToInclude(ZBox());
    QVERIFY(!box.isValid());
    box.growToInclude(ZVector(2.0, -1.0));
    box.growToInclude(ZVector(-3.0, 5.0));
    QVERIFY(box.isValid());
    QCOMPARE(box.getWidth(), 5.0);
    QCOMPARE(box.getHeight(), 6.0);
    ZBox other;
    other.growToInclude(ZVector(10.0, 0.0));
    box.growToInclude(other);
    QCOMPARE(box.maximum.x, 10.0);
    QCOMPARE(box.minimum.y, -1.0);
}

void tst_Geometry::boxLeavesOutWhatIsNoNumber()
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    ZBox box;
    box.growToInclude(ZVector(nan, 1.0));
    QVERIFY(!box.isValid());
    box.growToInclude(ZVector(1.0, 1.0));
    box.growToInclude(ZVector(nan, 3.0));
    QCOMPARE(box.getWidth(), 0.0);
    QCOMPARE(box.getHeight(), 2.0);
}

void tst_Geometry::emptyShapes()
{
    const ZPolyline polyline;
    const ZSpline spline;
    const ZShape *const shapes[] = { &polyline, &spline };
    for (const ZShape *shape : shapes) {
        QVERIFY(!shape->getStartPoint().valid);
        QVERIFY(!shape->getEndPoint().valid);
        QVERIFY(!shape->getBoundingBox().isValid());
        QCOMPARE(shape->getLength(), 0.0);
    }
    QVERIFY(polyline.isEmpty());
    QCOMPARE(polyline.countPieces(), 0);
    QVERIFY(polyline.getExploded().isEmpty());
    QVERIFY(!spline.getPointAt(0.5).valid);
    QCOMPARE(spline.getDegree(), 3);
}

void tst_Geometry::splineOfDegreeTwo()
{
    const ZSpline s = quadratic(ZVector(0.0, 0.0), ZVector(2.0, 4.0), ZVector(4.0, 0.0));
    QCOMPARE(s.getDegree(), 2);
    QVERIFY(s.getStartPoint() == ZVector(0.0, 0.0));
    QVERIFY(s.getEndPoint() == ZVector(4.0, 0.0));
    // B(1/2) = (P0 + 2 P1 + P2) / 4
    QVERIFY(s.getPointAt(0.5) == ZVector(2.0, 2.0));
    QVERIFY(s.getPointAt(0.25) == ZVector(1.0, 1.5));
    QVERIFY(s.getPointAt(-1.0) == s.getStartPoint());
    QVERIFY(s.getPointAt(2.0) == s.getEndPoint());
}

void tst_Geometry::splineOfManyPoints()
{
    // Points on a line stay on it, whatever the degree.
    for (int degree = 1; degree <= 4; ++degree) {
        ZSpline s;
        s.setDegree(degree);
        for (int i = 0; i <= 6; ++i)
            s.appendControlPoint(ZVector(i, 2.0 * i));
        QCOMPARE(s.getPointAt(0.0).x, 0.0);
        QCOMPARE(s.getPointAt(1.0).x, 6.0);
        QCOMPARE(s.getPointAt(0.37).y, 2.0 * s.getPointAt(0.37).x);
        QCOMPARE(s.getLength(), std::sqrt(36.0 + 144.0));
    }
}

void tst_Geometry::splineWithoutACurve()
{
    ZSpline s;
    s.setDegree(0);
    QCOMPARE(s.getDegree(), 1);
    s.setDegree(3);
    s.appendControlPoint(ZVector(0.0, 0.0));
    s.appendControlPoint(ZVector(3.0, 4.0));
    QCOMPARE(s.getLength(), 5.0);
}

void tst_Geometry::quadraticBoxIsTight()
{
    const ZBox box
        = quadratic(ZVector(0.0, 0.0), ZVector(2.0, 4.0), ZVector(4.0, 0.0)).getBoundingBox();
    QCOMPARE(box.maximum.y, 2.0);
    QCOMPARE(box.minimum.y, 0.0);
    QCOMPARE(box.getWidth(), 4.0);
}

void tst_Geometry::quadraticLength()
{
    // y = x^2 over 0..1 as a quadratic: sqrt(5)/2 + asinh(2)/4.
    const ZSpline s = quadratic(ZVector(0.0, 0.0), ZVector(0.5, 0.0), ZVector(1.0, 1.0));
    const double exact = std::sqrt(5.0) / 2.0 + std::asinh(2.0) / 4.0;
    QVERIFY(std::fabs(s.getLength() - exact) < 1e-11);
}

void tst_Geometry::pieces()
{
    const ZPolyline p = mixed();
    QCOMPARE(p.countPieces(), 3);
    QCOMPARE(p.getPieceKind(0), ZPolyline::LinePiece);
    QCOMPARE(p.getPieceKind(1), ZPolyline::SplinePiece);
    QCOMPARE(p.getPieceKind(2), ZPolyline::LinePiece);
    QCOMPARE(p.getPieceDegree(0), 1);
    QCOMPARE(p.getPieceDegree(1), 2);
    const QVector<ZVector> curve = p.getPiecePoints(1);
    QCOMPARE(curve.size(), 3);
    QCOMPARE(p.countPiecePoints(1), 3);
    QVERIFY(curve.at(0) == ZVector(4.0, 0.0));
    QVERIFY(curve.at(1) == ZVector(6.0, 0.0));
    QVERIFY(curve.at(2) == ZVector(6.0, 2.0));
    QVERIFY(p.getPiecePointAt(2, 1) == ZVector(6.0, 5.0));
    QVERIFY(p.getStartPoint() == ZVector(0.0, 0.0));
    QVERIFY(p.getEndPoint() == ZVector(6.0, 5.0));
}

void tst_Geometry::lengthAndBox()
{
    const ZPolyline p = mixed();
    const double curve
        = quadratic(ZVector(4.0, 0.0), ZVector(6.0, 0.0), ZVector(6.0, 2.0)).getLength();
    QCOMPARE(p.getLength(), 4.0 + curve + 3.0);
    QCOMPARE(p.getBoundingBox().getWidth(), 6.0);
    QCOMPARE(p.getBoundingBox().getHeight(), 5.0);
}

void tst_Geometry::widthsAndBulgeBelongToThePieceThatStarts()
{
    ZPolyline p;
    p.appendVertex(ZVector(0.0, 0.0), 1.0, 2.0, 3.0);
    p.appendVertex(ZVector(1.0, 0.0), 0.0, 4.0, 5.0);
    p.appendVertex(ZVector(2.0, 0.0));
    QCOMPARE(p.getBulgeAt(0), 1.0);
    QCOMPARE(p.getStartWidthAt(0), 2.0);
    QCOMPARE(p.getEndWidthAt(0), 3.0);
    QCOMPARE(p.getBulgeAt(1), 0.0);
    QCOMPARE(p.getStartWidthAt(1), 4.0);
    QCOMPARE(p.getPieceKind(0), ZPolyline::ArcPiece);
    QCOMPARE(p.getPieceDegree(0), 2);
}

void tst_Geometry::arcs_data()
{
    QTest::addColumn<double>("bulge");
    QTest::addColumn<double>("length");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("high");
    const double sagitta = std::sqrt(2.0) - 1.0;
    QTest::newRow("half a circle, below") << 1.0 << kPi << -1.0 << 0.0;
    QTest::newRow("half a circle, above") << -1.0 << kPi << 0.0 << 1.0;
    QTest::newRow("quarter of a circle") << sagitta << kPi / std::sqrt(2.0) << -sagitta << 0.0;
}

// From (0, 0) to (2, 0); a positive bulge turns to the left, so the arc lies below.
void tst_Geometry::arcs()
{
    QFETCH(double, bulge);
    QFETCH(double, length);
    QFETCH(double, low);
    QFETCH(double, high);
    ZPolyline p;
    p.appendVertex(ZVector(0.0, 0.0), bulge);
    p.appendVertex(ZVector(2.0, 0.0));
    QVERIFY(std::fabs(p.getLength() - length) < 1e-12);
    QVERIFY(std::fabs(p.getBoundingBox().minimum.y - low) < 1e-12);
    QVERIFY(std::fabs(p.getBoundingBox().maximum.y - high) < 1e-12);
}

void tst_Geometry::appendedPolyline()
{
    ZPolyline p;
    p.appendVertex(ZVector(-1.0, 0.0));
    QVERIFY(p.appendShape(mixed()));
    QCOMPARE(p.countPieces(), 3);
    QVERIFY(p.getPiecePointAt(0, 0) == ZVector(-1.0, 0.0));
    QCOMPARE(p.getPieceKind(1), ZPolyline::SplinePiece);
    QVERIFY(p.getEndPoint() == ZVector(6.0, 5.0));
    ZPolyline empty;
    QVERIFY(empty.appendShape(mixed()));
    QVERIFY(empty == mixed());
}

void tst_Geometry::prepended()
{
    ZPolyline p;
    p.appendVertex(ZVector(6.0, 2.0));
    p.appendVertex(ZVector(9.0, 2.0));
    QVERIFY(
        p.appendShape(quadratic(ZVector(4.0, 0.0), ZVector(6.0, 0.0), ZVector(6.0, 2.0)), true));
    QCOMPARE(p.countPieces(), 2);
    QCOMPARE(p.getPieceKind(0), ZPolyline::SplinePiece);
    QVERIFY(p.getStartPoint() == ZVector(4.0, 0.0));
    QVERIFY(p.getEndPoint() == ZVector(9.0, 2.0));
}

namespace {

class OtherShape : public ZShape
{
public:
    ZVector getStartPoint() const override { return ZVector(); }
    ZVector getEndPoint() const override { return ZVector(); }
    ZBox getBoundingBox() const override { return ZBox(); }
    double getLength() const override { return 0.0; }
};

} // namespace

void tst_Geometry::shapesThatAreRefused()
{
    ZPolyline p = mixed();
    QVERIFY(!p.appendShape(OtherShape()));
    QVERIFY(!p.appendShape(ZSpline()));
    QVERIFY(!p.appendShape(ZPolyline()));
    ZSpline point;
    point.appendControlPoint(ZVector(1.0, 1.0));
    QVERIFY(!p.appendShape(point));
    QVERIFY(p == mixed());
}

void tst_Geometry::appendedToItself()
{
    ZPolyline p = mixed();
    QVERIFY(p.appendShape(p));
    QCOMPARE(p.countPieces(), 6);
    QVERIFY(p.getEndPoint() == ZVector(6.0, 5.0));
}

void tst_Geometry::exploded()
{
    const QList<QSharedPointer<ZShape>> list = mixed().getExploded();
    QCOMPARE(list.size(), 3);
    QVERIFY(dynamic_cast<ZPolyline *>(list.at(0).data()));
    const ZSpline *spline = dynamic_cast<ZSpline *>(list.at(1).data());
    QVERIFY(spline);
    QCOMPARE(spline->countControlPoints(), 3);
    QCOMPARE(spline->getDegree(), 2);
    double sum = 0.0;
    for (const QSharedPointer<ZShape> &shape : list)
        sum += shape->getLength();
    QCOMPARE(sum, mixed().getLength());
}

void tst_Geometry::copiesShareNothing()
{
    const ZPolyline first = mixed();
    ZPolyline second = first;
    second.appendVertex(ZVector(100.0, 100.0));
    QCOMPARE(first.countPieces(), 3);
    QCOMPARE(second.countPieces(), 4);
}

void tst_Geometry::comparison()
{
    QVERIFY(mixed() == mixed());
    ZPolyline longer = mixed();
    longer.appendVertex(ZVector(0.0, 0.0));
    QVERIFY(longer != mixed());
    ZPolyline line;
    line.appendVertex(ZVector(0.0, 0.0));
    line.appendVertex(ZVector(1.0, 0.0));
    ZPolyline arc;
    arc.appendVertex(ZVector(0.0, 0.0), 0.5);
    arc.appendVertex(ZVector(1.0, 0.0));
    QVERIFY(line != arc);
}

QTEST_APPLESS_MAIN(tst_Geometry)
#include "tst_geometry.moc"
