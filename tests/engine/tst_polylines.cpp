// (c) the ztrace developers. Licence: see LICENSE.
//
// Host polylines from traced layers.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QtTest>

using ztrace::CaughtMessages;
using ztrace::difference;

namespace {

using Segments = QVector<QVector<double>>;

QVector<double> line(double x1, double y1, double x2, double y2)
{
    return { 1.0, x1, y1, x2, y2, 0.0, 0.0 };
}

QVector<double> quadratic(double x1, double y1, double cx, double cy, double x2, double y2)
{
    return { 2.0, x1, y1, cx, cy, x2, y2 };
}

// There and back again.
Segments stroke(double x, double y, double length = 1)
{
    return { line(x, y, x + length, y), line(x + length, y, x, y) };
}

struct LayersTracer : ZTraceBitmap
{
    LayersTracer(int width, int height, const QVector<QVector<Segments>> &layers)
    {
        imageWidth = width;
        imageHeight = height;
        indexedImage.width = width;
        indexedImage.height = height;
        indexedImage.tracedLayers = layers;
    }
};

QVector<QPointF> starts(const QList<ZPolyline> &polylines)
{
    QVector<QPointF> result;
    for (const ZPolyline &polyline : polylines)
        result.append(QPointF(polyline.getStartPoint().x, polyline.getStartPoint().y));
    return result;
}

} // namespace

class tst_Polylines : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void orderedByRowThenColumnWhateverTheLayer();
    void keyIsTheRowMajorPosition();
    void laterOfTwoPathsWithOneStart_data();
    void laterOfTwoPathsWithOneStart();
    void linesGiveOneVertexMoreThanSegments();
    void quadraticsGiveOneSplineEach();
    void mixedPiecesContinueFromTheEnd();
    void otherTypesAreQuadratics();
    void yIsFlipped();
    void heightOfTheImageFlipsWidthOfTheGridOrders();
    void withoutATraceEmpty();
    void twoDebugLinesEachOnEveryCall();
    void stateIsUnchanged();
};

void tst_Polylines::orderedByRowThenColumnWhateverTheLayer()
{
    LayersTracer tracer(10, 10,
                        { { stroke(5, 3), stroke(1, 7) }, { stroke(2, 3), stroke(0.5, 1) } });
    const QVector<QPointF> expected({ { 0.5, 9 }, { 2, 7 }, { 5, 7 }, { 1, 3 } });
    QCOMPARE(starts(tracer.getPolylines()), expected);
}

void tst_Polylines::keyIsTheRowMajorPosition()
{
    // Half a row down counts half the width: (9.5, 2) comes after (3, 2.5) and before (5, 2.5).
    LayersTracer tracer(10, 10, { { stroke(5, 2.5), stroke(9.5, 2), stroke(3, 2.5) } });
    const QVector<QPointF> expected({ { 3, 7.5 }, { 9.5, 8 }, { 5, 7.5 } });
    QCOMPARE(starts(tracer.getPolylines()), expected);
}

void tst_Polylines::laterOfTwoPathsWithOneStart_data()
{
    QTest::addColumn<QVector<QVector<Segments>>>("layers");
    QTest::newRow("of two layers the higher one")
        << QVector<QVector<Segments>>({ { stroke(2, 2, 1) }, { stroke(2, 2, 5) } });
    QTest::newRow("of one layer the higher path")
        << QVector<QVector<Segments>>({ { stroke(2, 2, 1), stroke(2, 2, 5) }, {} });
    QTest::newRow("another point of the same key")
        << QVector<QVector<Segments>>({ { stroke(12, 1, 1) }, { stroke(2, 2, 5) } });
}

void tst_Polylines::laterOfTwoPathsWithOneStart()
{
    QFETCH(QVector<QVector<Segments>>, layers);
    LayersTracer tracer(10, 10, layers);
    const QList<ZPolyline> result = tracer.getPolylines();
    QCOMPARE(result.size(), 1);
    QCOMPARE(result.at(0).getPiecePointAt(0, 1).x, 7.0);
}

void tst_Polylines::linesGiveOneVertexMoreThanSegments()
{
    LayersTracer tracer(9, 9, { { { line(1, 1, 4, 1), line(4, 1, 4, 5), line(4, 5, 1, 1) } } });
    const ZPolyline result = tracer.getPolylines().at(0);
    QCOMPARE(result.countPieces(), 3);
    for (int i = 0; i < 3; ++i)
        QCOMPARE(result.getPieceKind(i), ZPolyline::LinePiece);
    QCOMPARE(difference(result.getEndPoint(), result.getStartPoint()), QString());
    QCOMPARE(difference(result.getEndPoint(), ZVector(1, 8, 0, true)), QString());
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(result.getBulgeAt(i), 0.0);
        QCOMPARE(result.getStartWidthAt(i), 0.0);
        QCOMPARE(result.getEndWidthAt(i), 0.0);
    }
}

void tst_Polylines::quadraticsGiveOneSplineEach()
{
    LayersTracer tracer(
        9, 4,
        { { { quadratic(0.5, 0, 1.5, 0.5, 0.5, 1), quadratic(0.5, 1, -0.5, 0.5, 0.5, 0) } } });
    const ZPolyline result = tracer.getPolylines().at(0);
    QCOMPARE(result.countPieces(), 2);
    QCOMPARE(result.getPieceKind(0), ZPolyline::SplinePiece);
    QCOMPARE(result.getPieceKind(1), ZPolyline::SplinePiece);
    QCOMPARE(result.getPieceDegree(0), 2);
    const QVector<ZVector> first({ ZVector(0.5, 4), ZVector(1.5, 3.5), ZVector(0.5, 3) });
    const QVector<ZVector> second({ ZVector(0.5, 3), ZVector(-0.5, 3.5), ZVector(0.5, 4) });
    QCOMPARE(difference(result.getPiecePoints(0), first), QString());
    QCOMPARE(difference(result.getPiecePoints(1), second), QString());
}

void tst_Polylines::mixedPiecesContinueFromTheEnd()
{
    // The second segment's own start is not used.
    LayersTracer tracer(
        9, 4, { { { line(1, 1, 3, 1), quadratic(99, 99, 4, 2, 3, 3), line(88, 88, 1, 1) } } });
    const ZPolyline result = tracer.getPolylines().at(0);
    QCOMPARE(result.countPieces(), 3);
    const QVector<ZVector> curve({ ZVector(3, 3), ZVector(4, 2), ZVector(3, 1) });
    QCOMPARE(difference(result.getPiecePoints(1), curve), QString());
    const QVector<ZVector> last({ ZVector(3, 1), ZVector(1, 3) });
    QCOMPARE(difference(result.getPiecePoints(2), last), QString());
}

void tst_Polylines::otherTypesAreQuadratics()
{
    Segments segments({ quadratic(0, 0, 1, 1, 2, 0) });
    segments[0][0] = 7.5;
    LayersTracer tracer(9, 4, { { segments } });
    QCOMPARE(tracer.getPolylines().at(0).getPieceKind(0), ZPolyline::SplinePiece);
}

void tst_Polylines::yIsFlipped()
{
    LayersTracer tracer(30, 50, { { stroke(10, 3) } });
    const ZPolyline result = tracer.getPolylines().at(0);
    QCOMPARE(difference(result.getStartPoint(), ZVector(10, 47, 0, true)), QString());
}

void tst_Polylines::heightOfTheImageFlipsWidthOfTheGridOrders()
{
    LayersTracer tracer(10, 10, { { stroke(9, 1), stroke(0, 2) } });
    tracer.imageHeight = 100;
    tracer.indexedImage.width = 1; // keys 10 and 2
    const QVector<QPointF> expected({ { 0, 98 }, { 9, 99 } });
    QCOMPARE(starts(tracer.getPolylines()), expected);
}

void tst_Polylines::withoutATraceEmpty()
{
    QVERIFY(ZTraceBitmap().getPolylines().isEmpty());
    QVERIFY(LayersTracer(5, 5, { {}, {}, {} }).getPolylines().isEmpty());
}

void tst_Polylines::twoDebugLinesEachOnEveryCall()
{
    LayersTracer tracer(10, 10, { { stroke(5, 3), stroke(1, 7) }, {}, { stroke(2, 3) } });
    const QStringList expected({ "k: 2", "pcnt: 0", "k: 0", "pcnt: 0", "k: 0", "pcnt: 1" });
    const CaughtMessages messages;
    tracer.getPolylines();
    QCOMPARE(messages.lines(), expected);
    tracer.getPolylines();
    QCOMPARE(messages.lines(), expected + expected);
}

void tst_Polylines::stateIsUnchanged()
{
    LayersTracer tracer(10, 10, { { stroke(5, 3), stroke(1, 7) }, { stroke(2, 3) } });
    const auto layers = tracer.indexedImage.tracedLayers;
    const QList<ZPolyline> first = tracer.getPolylines();
    QCOMPARE(difference(tracer.indexedImage.tracedLayers, layers), QString());
    QCOMPARE(difference(tracer.getPolylines(), first), QString());
}

QTEST_GUILESS_MAIN(tst_Polylines)
#include "tst_polylines.moc"
