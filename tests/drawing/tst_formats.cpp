// (c) the ztrace developers. Licence: see LICENSE.
//
// JSON there and back, DXF colours and structure, PDF and PNG. What other
// programs make of the files is in tests/cli/test_readers.py.
#include "SmallAreas.h"

#include "drawing/dxf.h"
#include "drawing/formats.h"
#include "drawing/json.h"
#include "drawing/pdf.h"
#include "drawing/png.h"
#include "tests/drawing/Written.h"

#include <QBuffer>
#include <QTest>

#include <cmath>
#include <limits>
#include <random>

using namespace ztrace;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

// A closed outline of lines and quadratics with awkward numbers.
Path leaf()
{
    Path path;
    path.moveTo(Point(0.1, 1.0 / 3.0));
    path.quadraticTo(Point(5.0, -0.0), Point(9.5, 4.25));
    path.lineTo(Point(7.5, 8.5));
    path.quadraticTo(Point(1e-17, 1e300), Point(0.1, 1.0 / 3.0));
    return path;
}

Drawing sample()
{
    Drawing drawing;
    drawing.width = 20;
    drawing.height = 10;
    drawing.dpi = 299.9994;
    drawing.unit = Unit::Millimetre;
    drawing.ground = 0xFF010203u;
    Outline outline;
    outline.shape = leaf();
    outline.colour = 0x80FF8000u;
    outline.layer = QString::fromUtf8("Lage \"\xC3\xA4\" \\ \x01");
    outline.holes.push_back(1);
    outline.seam = 1.5;
    drawing.outlines.push_back(outline);
    drawing.outlines.push_back(Outline());
    Path &open = drawing.outlines[1].shape;
    open.moveTo(Point(0, 0));
    open.arcTo(Point(2, 0), 0.5);
    open.lineTo(Point(2, 2));
    open.cubicTo(Point(3, 3), Point(4, 1), Point(5, 2));
    open.splineTo(3, { Point(6, 3), Point(7, 1), Point(8, 3) }, Point(9, 2));
    drawing.outlines.push_back(Outline());
    return drawing;
}

// 32 x 32: above red to blue from left to right, below red to black away from the middle.
Drawing withGradients()
{
    Drawing drawing;
    drawing.width = 32;
    drawing.height = 32;
    Gradient linear;
    linear.start = Point(0, -0.0);
    linear.end = Point(32, -0.0);
    linear.stops = { { 0.0, qRgb(255, 0, 0) }, { 1.0, qRgb(0, 0, 255) } };
    Gradient radial;
    radial.radial = true;
    radial.start = Point(16, 8);
    radial.radius = 12;
    radial.stops = { { 0.0, qRgb(255, 0, 0) }, { 0.5, qRgb(200, 0, 0) }, { 1.0, qRgb(0, 0, 0) } };
    drawing.gradients = { linear, radial };
    for (int k : { 0, 1 }) {
        Outline outline;
        outline.shape = k == 0 ? rectangle(0, 16, 32, 32) : rectangle(0, 0, 32, 16);
        outline.colour = qRgb(1, 2, 3);
        outline.gradient = k;
        drawing.outlines.push_back(outline);
    }
    return drawing;
}

} // namespace

class tst_Formats : public QObject
{
    Q_OBJECT

private slots:
    void jsonIsLossless()
    {
        const Drawing before = sample();
        const QByteArray text
            = written([&](QIODevice *device) { return writeJson(before, device); });
        Drawing after;
        QString error;
        QVERIFY2(readJson(text, &after, &error), qPrintable(error));
        QCOMPARE(after.width, before.width);
        QCOMPARE(after.height, before.height);
        QVERIFY(after.dpi == before.dpi);
        QCOMPARE(int(after.unit), int(before.unit));
        QCOMPARE(after.ground, before.ground);
        QCOMPARE(after.about, before.about);
        QCOMPARE(after.outlines.size(), before.outlines.size());
        for (std::size_t i = 0; i < before.outlines.size(); ++i) {
            QVERIFY(after.outlines[i].shape == before.outlines[i].shape);
            QCOMPARE(after.outlines[i].colour, before.outlines[i].colour);
            QCOMPARE(after.outlines[i].layer, before.outlines[i].layer);
            QCOMPARE(after.outlines[i].holes, before.outlines[i].holes);
            QVERIFY(after.outlines[i].seam == before.outlines[i].seam);
        }
        QVERIFY(std::signbit((*after.outlines[0].shape.pieces().begin()).control1.y));
        QCOMPARE(written([&](QIODevice *device) { return writeJson(after, device); }), text);
    }

    void jsonKeepsNumbersThatAreNone()
    {
        Drawing before;
        before.outlines.push_back(Outline());
        before.outlines[0].shape.moveTo(Point(0, 0));
        before.outlines[0].shape.quadraticTo(Point(kNan, -kInfinity), Point(1, kInfinity));
        const QByteArray text
            = written([&](QIODevice *device) { return writeJson(before, device); });
        Drawing after;
        QString error;
        QVERIFY(readJson(text, &after, &error));
        const PathPiece piece = *after.outlines[0].shape.pieces().begin();
        QVERIFY(std::isnan(piece.control1.x));
        QVERIFY(piece.control1.y == -kInfinity);
        QVERIFY(piece.end.y == kInfinity);
    }

    void jsonOfAnotherKindIsRefused_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("words");
        const QByteArray head = "{\"format\":\"ztrace drawing\",\"version\":";
        QTest::newRow("no JSON") << QByteArray("{") << QString("at byte 1");
        QTest::newRow("another object") << QByteArray("{}") << QString("not a drawing");
        QTest::newRow("another version") << head + "3}" << QString("another version");
        const QByteArray first = head + "1,\"width\":9,\"height\":9,\"dpi\":96,";
        const auto outline = [&](const char *text) {
            return first + "\"outlines\":[{\"color\":\"#000000\",\"start\":[0,0],\"pieces\":["
                + text + "]}]}";
        };
        const auto outlines = [&](const QByteArray &members) {
            QByteArray list;
            for (const QByteArray &member : members.split(';'))
                list += (list.isEmpty() ? "{\"color\":\"#000000\"," : ",{\"color\":\"#000000\",")
                    + member + '}';
            return first + "\"outlines\":[" + list + "]}";
        };
        QTest::newRow("unknown piece")
            << outline("[\"X\",1,2]") << QString("outline 0: piece 0: there are pieces");
        QTest::newRow("odd coordinates")
            << outline("[\"L\",0,0],[\"L\",1,2,3]") << QString("outline 0: piece 1: the end point");
        QTest::newRow("no coordinates") << outline("[\"Q\"]") << QString("piece 0: coordinates");
        QTest::newRow("text as a coordinate")
            << outline("[\"L\",1,\"x\"]") << QString("piece 0: a coordinate is no number");
        QTest::newRow("spline of degree 4")
            << outline("[\"S\",4,1,1]")
            << QString("the degree has to be a whole number from 1 to 3");
        QTest::newRow("spline of degree 0") << outline("[\"S\",0,1,1]") << QString("the degree");
        QTest::newRow("hole that is not there")
            << outlines("\"holes\":[1]") << QString("outline 0: a hole has to be");
        QTest::newRow("the same hole twice") << outlines("\"holes\":[1,1];\"alpha\":0")
                                             << QString("outline 0: outline 1 is twice its hole");
        QTest::newRow("a hole in itself") << outlines("\"alpha\":1;\"holes\":[1]")
                                          << QString("outline 1: it is a hole of its own");
        QTest::newRow("holes in a circle") << outlines("\"holes\":[2];\"holes\":[0];\"holes\":[1]")
                                           << QString("outline 0: it is a hole of its own holes");
        QTest::newRow("no colour") << first + "\"outlines\":[{\"color\":\"x\",\"pieces\":[]}]}"
                                   << QString("outline 0: \"color\" has to be");
        QTest::newRow("opacity of 256")
            << outlines("\"alpha\":256") << QString("\"alpha\" has to be");
        QTest::newRow("negative seam") << outlines("\"seam\":-1") << QString("\"seam\" has to be");
        QTest::newRow("layer 5") << outlines("\"layer\":5") << QString("\"layer\" has to be text");
        QTest::newRow("holes that are no list")
            << outlines("\"holes\":1") << QString("\"holes\" has to be a list");
        const auto gradient = [&](const char *text) {
            return first + "\"gradients\":[" + text + "],\"outlines\":[]}";
        };
        const char places[] = "\"from\":[0,0],\"to\":[9,0],";
        const QByteArray linear = QByteArray("{\"type\":\"linear\",") + places;
        QTest::newRow("gradient of another kind")
            << gradient("{\"type\":\"conic\"}") << QString("gradient 0: \"type\" has to be");
        QTest::newRow("gradient without stops") << gradient(linear + "\"stops\":[]}")
                                                << QString("gradient 0: there have to be 2 to 16");
        QTest::newRow("gradient of one stop") << gradient(linear + "\"stops\":[[0,\"#fff\"]]}")
                                              << QString("there have to be 2 to 16 stops");
        QByteArray many;
        for (int k = 0; k < 17; ++k)
            many += ",[0.5,\"#fff\"]";
        QTest::newRow("gradient of 17 stops")
            << gradient(linear + "\"stops\":[" + many.mid(1) + "]}")
            << QString("there have to be 2 to 16 stops");
        QTest::newRow("stop beyond the end")
            << gradient(linear + "\"stops\":[[0,\"#fff\"],[1.01,\"#000\"]]}")
            << QString("numbers from 0 to 1");
        QTest::newRow("stop that is no number")
            << gradient(linear + "\"stops\":[[\"nan\",\"#fff\"],[1,\"#000\"]]}")
            << QString("numbers from 0 to 1");
        QTest::newRow("stops that fall")
            << gradient(linear + "\"stops\":[[0.6,\"#fff\"],[0.5,\"#000\"]]}")
            << QString("numbers from 0 to 1 that do not fall");
        QTest::newRow("stop without a colour")
            << gradient(linear + "\"stops\":[[0],[1,\"#000\"]]}") << QString("each with a colour");
        QTest::newRow("gradient to nowhere")
            << gradient("{\"type\":\"linear\",\"from\":[0,0],\"to\":[\"inf\",0]}")
            << QString("gradient 0: \"to\" has to be two numbers");
        QTest::newRow("gradient of no length")
            << gradient("{\"type\":\"linear\",\"from\":[1,2],\"to\":[1,2],"
                        "\"stops\":[[0,\"#fff\"],[1,\"#000\"]]}")
            << QString("are one point");
        QTest::newRow("gradient of no radius")
            << gradient("{\"type\":\"radial\",\"center\":[1,2],\"radius\":0,"
                        "\"stops\":[[0,\"#fff\"],[1,\"#000\"]]}")
            << QString("\"radius\" has to be above 0");
        QTest::newRow("gradient that is not there")
            << outlines("\"gradient\":0") << QString("outline 0: there are no gradients");
        QTest::newRow("no start") << outlines("\"pieces\":[[\"L\",1,2]]")
                                  << QString("outline 0: \"start\" has to be");
        const auto size
            = [&](const char *members) { return head + "1,\"outlines\":[]," + members + "}"; };
        QTest::newRow("negative size") << size("\"width\":-1,\"height\":1,\"dpi\":1")
                                       << QString("\"width\" has to be a whole number from 0");
        QTest::newRow("half a pixel")
            << size("\"width\":1,\"height\":0.5,\"dpi\":1") << QString("\"height\" has to be");
        QTest::newRow("no resolution")
            << size("\"width\":1,\"height\":1") << QString("\"dpi\" has to be");
        QTest::newRow("unknown unit") << size("\"width\":1,\"height\":1,\"dpi\":1,\"unit\":\"ft\"")
                                      << QString("\"unit\" has to be");
    }
    void jsonOfAnotherKindIsRefused()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, words);
        Drawing drawing;
        QString error;
        QVERIFY(!readJson(text, &drawing, &error));
        QVERIFY2(error.contains(words), qPrintable(error));
    }

    void gradientsAreRead()
    {
        const Drawing drawing = withGradients();
        const QByteArray text
            = written([&](QIODevice *device) { return writeJson(drawing, device); });
        Drawing after;
        QString error;
        QVERIFY2(readJson(text, &after, &error), qPrintable(error));
        QCOMPARE(written([&](QIODevice *device) { return writeJson(after, device); }), text);
        QCOMPARE(after.gradients.size(), std::size_t(2));
        QVERIFY(after.gradients[1].radial);
        QCOMPARE(after.gradients[0].stops[1].colour, qRgb(0, 0, 255));
        QCOMPARE(after.outlines[0].gradient, 0);
        QVERIFY(!after.about.contains(QLatin1String("gradients")));
    }

    // Where the painter has which colour: half a pixel of a gradient of 32 pixels is 4 steps.
    void previewHasGradients()
    {
        const QImage image = renderDrawing(withGradients(), PaintStyle(), 1.0);
        const auto reds = [&](int x, int y) { return qRed(image.pixel(x, y)); };
        QVERIFY(std::abs(reds(0, 8) - 251) <= 4);
        QVERIFY(std::abs(reds(15, 8) - 131) <= 4);
        QVERIFY(std::abs(reds(31, 8) - 4) <= 4);
        QVERIFY(reds(16, 24) > 230);
        QVERIFY(reds(16, 17) < reds(16, 20));
        QCOMPARE(reds(0, 31), 0); // beyond the radius
    }

    // A gradient that cannot be painted is its outline's colour.
    void gradientsThatAreNoneAreLeftOut()
    {
        Drawing drawing = withGradients();
        drawing.gradients[0].stops[1].at = std::nan("");
        drawing.outlines[1].gradient = 7;
        for (const Format &format : allFormats()) {
            if (!(format.capabilities & kHasGradients) || format.name == std::string("json"))
                continue;
            QBuffer buffer;
            buffer.open(QIODevice::WriteOnly);
            QCOMPARE(int(format.write(drawing, WriteOptions(), &buffer)), int(Written::Whole));
            QVERIFY(!buffer.data().contains("nan"));
            QVERIFY(!buffer.data().contains("url("));
        }
        QCOMPARE(renderDrawing(drawing, PaintStyle(), 1.0).pixel(3, 3), qRgb(1, 2, 3));
    }

    void holesOfNestedOutlinesAreRead()
    {
        // 0 around 1 around 2, which is cut out of both.
        Drawing drawing = sample();
        drawing.outlines[0].holes = { 1, 2 };
        drawing.outlines[1].holes = { 2 };
        const QByteArray text
            = written([&](QIODevice *device) { return writeJson(drawing, device); });
        Drawing after;
        QString error;
        QVERIFY2(readJson(text, &after, &error), qPrintable(error));
        QCOMPARE(after.outlines[0].holes, drawing.outlines[0].holes);
    }

    void holesDoNotMultiplyADrawing()
    {
        Drawing drawing;
        drawing.outlines.resize(1000);
        drawing.outlines[0].shape.moveTo(Point(0, 0));
        for (int i = 1; i < 1000; ++i)
            drawing.outlines[0].shape.lineTo(Point(i, i % 2));
        for (std::size_t i = 1; i < drawing.outlines.size(); ++i)
            drawing.outlines[i].holes.push_back(0);
        const QByteArray text
            = written([&](QIODevice *device) { return writeJson(drawing, device); });
        QString error;
        QVERIFY(!readJson(text, &drawing, &error));
        QCOMPARE(error, QString("the holes have too many pieces"));
    }

    void layersOfOneNameAreNumbered()
    {
        // All letters are ones that the format has not.
        Drawing drawing;
        drawing.outlines.resize(20000);
        for (int i = 0; i < 20000; ++i) {
            Outline &outline = drawing.outlines[static_cast<std::size_t>(i)];
            outline.layer = QString(QChar(0x4000 + i));
            outline.shape.moveTo(Point(0, 0));
            outline.shape.lineTo(Point(1, i));
        }
        const QByteArray dxf = dxfOf(drawing);
        QVERIFY(dxf.contains("\n2\n_\n") && dxf.contains("\n2\n__2\n"));
        QVERIFY(dxf.contains("\n2\n__20000\n") && !dxf.contains("\n2\n__20001\n"));
    }

    void groundIsBelowAllLayers()
    {
        Drawing drawing = sample();
        QVERIFY(!drawing.layered().front().hasGround); // no layer has its colour
        drawing.outlines[2].colour = drawing.ground;
        drawing.outlines[2].layer = QString::fromLatin1("paper");
        const std::vector<Layer> layers = drawing.layered();
        QCOMPARE(drawing.layers().size(), 3);
        QCOMPARE(layers.front().name, QString("paper"));
        QVERIFY(layers.front().hasGround && !layers[1].hasGround && !layers[2].hasGround);
        QVERIFY(layers[1].outlines == std::vector<const Outline *> { &drawing.outlines[0] });
    }

    void colourIndices_data()
    {
        QTest::addColumn<uint>("colour");
        QTest::addColumn<int>("index");
        QTest::newRow("black shows on black and white") << 0x000000u << 7;
        QTest::newRow("white") << 0xFFFFFFu << 255;
        QTest::newRow("red") << 0xFF0000u << 10;
        QTest::newRow("orange") << 0xFF8000u << 30;
        QTest::newRow("dark green") << 0x008100u << 94;
        QTest::newRow("grey") << 0x828282u << 253;
    }
    void colourIndices()
    {
        QFETCH(uint, colour);
        QTEST(dxfColourIndex(colour), "index");
    }

    void dxfHasALayerAColour()
    {
        Drawing drawing = sample();
        drawing.outlines[1].layer = QString::fromLatin1("A");
        drawing.outlines[1].colour = 0xFF0000FFu;
        drawing.outlines.push_back(drawing.outlines[1]);
        drawing.outlines.back().layer = QString::fromLatin1("a"); // the same name to the format
        const QByteArray dxf = dxfOf(drawing);
        QVERIFY(dxf.contains("$ACADVER\n1\nAC1018\n"));
        QVERIFY(dxf.contains("$INSUNITS\n70\n4\n"));
        QVERIFY(dxf.contains("AcDbLayerTableRecord\n2\nA\n70\n0\n62\n170\n420\n255\n"));
        QVERIFY(dxf.contains("\n2\na_2\n"));
        QVERIFY(dxf.endsWith("0\nEOF\n"));
    }

    void dxfVersions()
    {
        DxfOptions options;
        options.version = DxfVersion::R12;
        QByteArray dxf = dxfOf(sample(), options);
        QVERIFY(dxf.contains("AC1009") && dxf.contains("POLYLINE") && !dxf.contains("SPLINE"));
        QVERIFY(!dxf.contains("AcDb") && !dxf.contains("\n420\n"));
        options.version = DxfVersion::R2000;
        dxf = dxfOf(sample(), options);
        QVERIFY(dxf.contains("AC1015") && dxf.contains("SPLINE"));
    }

    void closedPolylinesEndWithoutTheirFirstPoint()
    {
        DxfOptions options;
        options.curves = DxfCurves::Polyline;
        Drawing drawing = sample();
        drawing.outlines.resize(1);
        drawing.outlines[0].holes.clear();
        Path triangle;
        triangle.moveTo(Point(0, 0));
        for (double x : { 4.0, 2.0, 0.0 })
            triangle.lineTo(Point(x, x == 2.0 ? 3.0 : 0.0));
        drawing.outlines[0].shape = triangle;
        drawing.unit = Unit::Pixel;
        QVERIFY(dxfOf(drawing, options)
                    .contains(
                        "\n90\n3\n70\n1\n10\n0.0\n20\n0.0\n10\n4.0\n20\n0.0\n10\n2.0\n20\n3.0\n"));
    }

    void pdfIsTheSameEveryTime()
    {
        PaintStyle style;
        style.byLayer = true;
        const auto make = [&] {
            return written([&](QIODevice *device) { return writePdf(sample(), style, device); });
        };
        const QByteArray pdf = make();
        QVERIFY(pdf.startsWith("%PDF-1.5"));
        QCOMPARE(pdf, make());
        QVERIFY(!pdf.contains("Date"));
        // 20 pixels at 299.9994 an inch.
        QVERIFY(pdf.contains("/MediaBox [0 0 4.80001 2.400005]"));
        QVERIFY(pdf.contains("/ca 0.50196"));
        QCOMPARE(pdf.count("/Type /OCG"), 2);
    }

    // Of rounded drawings: colours once, whole numbers, no last line, nothing closed that is only
    // filled.
    void pdfInFewBytes()
    {
        Drawing drawing;
        drawing.width = drawing.height = 20;
        drawing.precision = 0.01;
        for (double x : { 1.0, 5.126 }) {
            drawing.outlines.emplace_back();
            Outline &outline = drawing.outlines.back();
            outline.colour = 0xFFFF0000u;
            outline.shape.moveTo(Point(x, 2));
            outline.shape.lineTo(Point(x + 3, 2));
            outline.shape.lineTo(Point(x, 7.5));
            outline.shape.lineTo(Point(x, 2));
        }
        const auto content = [&] {
            const QByteArray pdf
                = written([&](QIODevice *d) { return writePdf(drawing, PaintStyle(), d); });
            const int from = pdf.indexOf("stream\n") + 7;
            return qUncompress(QByteArray(4, '\1')
                               + pdf.mid(from, pdf.indexOf("\nendstream") - from));
        };
        const QByteArray path = "1 0 0 rg\n100 200 m\n400 200 l\n100 750 l\nf\n"
                                "513 200 m\n813 200 l\n513 750 l\nf\n";
        QVERIFY2(content().endsWith(path), content());
        QVERIFY2(content().startsWith("0.0075 0 0 0.0075 0 0 cm\n"), content());
        drawing.outlines[1].seam = 0.25;
        QVERIFY2(content().endsWith("1 0 0 RG\n25 w\n513 200 m\n813 200 l\n513 750 l\nh\nB\n"),
                 content());
        drawing.precision = 0.0;
        QVERIFY2(content().contains("5.126 2 m\n"), content());
    }

    void pictureShowsFillsHolesAndGround()
    {
        Drawing drawing;
        drawing.width = drawing.height = 10;
        const auto addSquare = [&](double low, double side, QRgb colour) {
            Outline outline;
            outline.shape.moveTo(Point(low, low));
            for (int i = 1; i < 5; ++i)
                outline.shape.lineTo(Point(low + (i == 1 || i == 2 ? side : 0.0),
                                           low + (i == 2 || i == 3 ? side : 0.0)));
            outline.colour = colour;
            drawing.outlines.push_back(outline);
        };
        addSquare(1, 8, 0xFFFF0000u);
        addSquare(4, 2, 0u);
        drawing.outlines[0].holes.push_back(1);
        QImage image = renderDrawing(drawing, PaintStyle(), 2.0);
        QCOMPARE(image.size(), QSize(20, 20));
        QCOMPARE(image.pixel(4, 4), 0xFFFF0000u);
        QCOMPARE(image.pixel(10, 10), 0u);
        QCOMPARE(image.pixel(0, 0), 0u);
        drawing.ground = 0xFF00FF00u;
        QCOMPARE(renderDrawing(drawing, PaintStyle(), 1.0).pixel(5, 5), 0xFF00FF00u);
        QVERIFY(renderDrawing(drawing, PaintStyle(), 1e6).isNull());
        PaintStyle strokes;
        strokes.stroked = true;
        image = renderDrawing(drawing, strokes, 2.0);
        QCOMPARE(image.pixel(10, 10), 0u);
        QVERIFY(qAlpha(image.pixel(2, 10)) > 0);
    }

    void emptyDrawingsAreWritten()
    {
        const Drawing empty;
        QVERIFY(dxfOf(empty).endsWith("EOF\n"));
        QVERIFY(!written([&](QIODevice *d) { return writePdf(empty, PaintStyle(), d); }).isEmpty());
        QVERIFY(
            !written([&](QIODevice *d) { return writePng(empty, PaintStyle(), 1, d); }).isEmpty());
        QVERIFY(!written([&](QIODevice *d) { return writeJson(empty, d); }).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_Formats)
#include "tst_formats.moc"
