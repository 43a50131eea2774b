// (c) the ztrace developers. Licence: see LICENSE.
//
// Seams along parts of an outline, in the formats that paint them.
#include "drawing/json.h"
#include "drawing/pdf.h"
#include "drawing/png.h"
#include "drawing/svg.h"
#include "tests/drawing/Written.h"

#include <QTest>

using namespace ztrace;

namespace {

// A square from 4 to 12 of 16 pixels, from its lower left corner to the right: the seam is drawn on
// its right side alone.
Drawing square()
{
    Drawing drawing;
    drawing.width = drawing.height = 16;
    Outline outline;
    outline.shape.moveTo(Point(4, 4));
    for (const Point &corner : { Point(12, 4), Point(12, 12), Point(4, 12), Point(4, 4) })
        outline.shape.lineTo(corner);
    outline.colour = 0xFFFF0000u;
    outline.seam = 2.0;
    outline.seamDashes = { 0.0, 8.0, 8.0, 20.0 };
    drawing.outlines.push_back(outline);
    return drawing;
}

// What the page paints.
QByteArray pdfPageOf(const Drawing &drawing)
{
    const QByteArray pdf
        = written([&](QIODevice *d) { return writePdf(drawing, PaintStyle(), d); });
    QByteArray page;
    for (int begin = pdf.indexOf("\nstream\n"); begin >= 0;
         begin = pdf.indexOf("\nstream\n", begin + 1)) {
        const int end = pdf.indexOf("\nendstream", begin);
        // The length that is expected goes before what is packed.
        page += qUncompress(QByteArray(4, '\x01') + pdf.mid(begin + 8, end - begin - 8));
    }
    return page;
}

} // namespace

class tst_Seams : public QObject
{
    Q_OBJECT

private slots:
    void pictureHasThePartAlone()
    {
        const QImage image = renderDrawing(square(), PaintStyle(), 1.0);
        QCOMPARE(image.pixel(12, 8), 0xFFFF0000u); // right of the square
        QCOMPARE(image.pixel(3, 8), 0u);
        QCOMPARE(image.pixel(8, 3), 0u);
        QCOMPARE(image.pixel(8, 12), 0u);
        // No farther than half the stroke beyond the side.
        QCOMPARE(image.pixel(12, 2), 0u);
        QCOMPARE(image.pixel(12, 13), 0u);
    }

    void svgHasDashes()
    {
        const QByteArray svg
            = written([](QIODevice *d) { return writeSvg(square(), SvgOptions(), d); });
        QVERIFY2(svg.contains("stroke-width=\"2\" stroke-linejoin=\"round\""
                              " stroke-dasharray=\"0 8 8 20\""),
                 svg.constData());
        Drawing whole = square();
        whole.outlines[0].seamDashes.clear();
        QVERIFY(!written([&](QIODevice *d) {
                     return writeSvg(whole, SvgOptions(), d);
                 }).contains("dasharray"));
    }

    // Two of one colour look alike only where their dashes are alike.
    void svgTellsDashesApart()
    {
        Drawing drawing = square();
        drawing.outlines.push_back(drawing.outlines[0]);
        drawing.outlines[1].seamDashes = { 3.0, 29.0 };
        const QByteArray svg
            = written([&](QIODevice *d) { return writeSvg(drawing, SvgOptions(), d); });
        QVERIFY(svg.contains("\"0 8 8 20\"") && svg.contains("\"3 29\""));
    }

    void pdfEndsItsDashes()
    {
        const QByteArray pdf = pdfPageOf(square());
        const int begin = pdf.indexOf("[0 8 8 20 ] 0 d");
        QVERIFY2(begin > 0, pdf.constData());
        QVERIFY(pdf.lastIndexOf("0 J", begin) > 0);
        QVERIFY(pdf.indexOf("[] 0 d", begin) > begin);
        QVERIFY(pdf.indexOf("1 J", begin) > begin);
    }

    void jsonKeepsDashes()
    {
        const Drawing before = square();
        const QByteArray text
            = written([&](QIODevice *device) { return writeJson(before, device); });
        Drawing after;
        QString error;
        QVERIFY2(readJson(text, &after, &error), qPrintable(error));
        QCOMPARE(after.outlines[0].seamDashes, before.outlines[0].seamDashes);
    }

    void jsonRefusesWhatAreNoDashes_data()
    {
        QTest::addColumn<QByteArray>("dashes");
        QTest::addColumn<QString>("message");
        QTest::newRow("negative") << QByteArray("[1,-1]") << QString("a dash has to be");
        QTest::newRow("no length") << QByteArray("[0,0]") << QString("the dashes have no length");
        QTest::newRow("no list") << QByteArray("3") << QString("\"seamDashes\" has to be a list");
        QTest::newRow("too many") << "[1" + QByteArray(",1").repeated(64) + "]"
                                  << QString("more than 64 dashes");
    }
    void jsonRefusesWhatAreNoDashes()
    {
        QFETCH(QByteArray, dashes);
        QFETCH(QString, message);
        QByteArray text = written([](QIODevice *device) { return writeJson(square(), device); });
        const QByteArray own = "\"seamDashes\":[0,8,8,20]";
        QVERIFY2(text.contains(own), text.constData());
        text.replace(own, "\"seamDashes\":" + dashes);
        Drawing after;
        QString error;
        QVERIFY(!readJson(text, &after, &error));
        QVERIFY2(error.contains(message), qPrintable(error));
    }
};

QTEST_GUILESS_MAIN(tst_Seams)
#include "tst_seams.moc"
