// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas that reach under their neighbours, and areas that are the ground: what each format fills.
#include "SmallAreas.h"

#include "drawing/dxf.h"
#include "drawing/json.h"
#include "drawing/png.h"
#include "drawing/svg.h"

#include <QBuffer>
#include <QTest>

using namespace ztrace;

namespace {

const QRgb kRed = 0xFFCC0000u;
const QRgb kBlue = 0xFF0000CCu;
const QRgb kWhite = 0xFFFFFFFFu;

// Red beside blue on white: red reaches under blue, but for a hole in which nothing is painted.
Drawing sheet()
{
    Drawing drawing;
    drawing.width = 40;
    drawing.height = 10;
    drawing.precision = 0.01;
    drawing.ground = kWhite;
    drawing.outlines = { area(rectangle(0, 0, 40, 10), kWhite), area(rectangle(5, 0, 15, 10), kRed),
                         area(rectangle(15, 0, 25, 10), kBlue) };
    drawing.outlines[0].isGround = true;
    drawing.outlines[1].under = { rectangle(5, 0, 25, 10), rectangle(18, 4, 20, 6) };
    return drawing;
}

QByteArray svgOf(const Drawing &drawing, bool byLayer = false, bool stroked = false)
{
    SvgOptions options;
    options.style.byLayer = byLayer;
    options.style.stroked = stroked;
    options.decimals = kDecimalsOfDrawing;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return writeSvg(drawing, options, &buffer) ? buffer.data() : QByteArray();
}

QByteArray jsonOf(const Drawing &drawing)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return writeJson(drawing, &buffer) ? buffer.data() : QByteArray();
}

} // namespace

class tst_Under : public QObject
{
    Q_OBJECT

private slots:
    void svgFillsWhatReachesUnder();
    void layersAndOutlinesHaveTheShape();
    void pictureFillsWhatReachesUnder();
    void dxfHasTheShape();
    void jsonKeepsIt();
    void strokesReachUnderNothing();
};

void tst_Under::svgFillsWhatReachesUnder()
{
    const QByteArray svg = svgOf(sheet());
    QVERIFY(svg.contains("fill=\"#c00\" fill-rule=\"evenodd\" d=\"M5 "));
    QVERIFY(svg.contains("M18 "));
    QCOMPARE(svg.count("fill=\"#fff"), 1); // the ground alone
}

void tst_Under::layersAndOutlinesHaveTheShape()
{
    for (const QByteArray &svg : { svgOf(sheet(), true), svgOf(sheet(), false, true) }) {
        QVERIFY(!svg.contains("M18 "));
        QVERIFY(svg.contains("x=\"5\" y=\"0\" width=\"10\" height=\"10\""));
        QVERIFY(svg.contains("x=\"0\" y=\"0\" width=\"40\" height=\"10\""));
    }
}

void tst_Under::pictureFillsWhatReachesUnder()
{
    Drawing drawing = sheet();
    drawing.outlines.pop_back();
    drawing.ground = kBlue;
    const QImage picture = renderDrawing(drawing, PaintStyle(), 1.0);
    QCOMPARE(picture.pixel(22, 5), kRed);
    QCOMPARE(picture.pixel(19, 5), kBlue); // in the hole
    QCOMPARE(picture.pixel(2, 5), kBlue);  // the ground, whatever colour the area has
}

void tst_Under::dxfHasTheShape()
{
    Drawing plain = sheet();
    for (Outline &outline : plain.outlines) {
        outline.under.clear();
        outline.isGround = false;
    }
    QByteArray written[2];
    for (int k : { 0, 1 }) {
        QBuffer buffer(&written[k]);
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(writeDxf(k == 0 ? sheet() : plain, DxfOptions(), &buffer));
    }
    QCOMPARE(written[0], written[1]);
}

void tst_Under::jsonKeepsIt()
{
    const QByteArray json = jsonOf(sheet());
    Drawing again;
    QString error;
    QVERIFY2(readJson(json, &again, &error), qPrintable(error));
    QVERIFY(again.outlines[0].isGround);
    QVERIFY(again.outlines[1].under == sheet().outlines[1].under);
    QCOMPARE(jsonOf(again), json);
    QVERIFY(svgOf(again) == svgOf(sheet()));
}

void tst_Under::strokesReachUnderNothing()
{
    Drawing drawing = sheet();
    drawing.pens = { Pen() };
    drawing.outlines[1].pen = 0;
    Drawing again;
    QString error;
    QVERIFY(!readJson(jsonOf(drawing), &again, &error));
    QVERIFY2(error.contains("\"under\""), qPrintable(error));
}

QTEST_GUILESS_MAIN(tst_Under)
#include "tst_under.moc"
