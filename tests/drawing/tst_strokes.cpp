// (c) the ztrace developers. Licence: see LICENSE.
//
// Centre lines and their pens in every format. What other programs make of the files is in
// tests/cli/test_readers.py.
#include "drawing/dxf.h"
#include "drawing/dxf_linetypes.h"
#include "drawing/json.h"
#include "drawing/pdf.h"
#include "drawing/pens.h"
#include "drawing/pieces.h"
#include "drawing/png.h"
#include "drawing/strokepaths.h"
#include "drawing/svg.h"
#include "tests/drawing/WholeShapes.h"
#include "tests/drawing/Written.h"

#include <QBuffer>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <functional>
#include <limits>

using namespace ztrace;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();

QByteArray svgOf(const Drawing &drawing)
{
    return written([&](QIODevice *device) { return writeSvg(drawing, SvgOptions(), device); });
}

QByteArray jsonOf(const Drawing &drawing)
{
    return written([&](QIODevice *device) { return writeJson(drawing, device); });
}

// Names of the entities, in their order.
QStringList entitiesOf(const QByteArray &dxf)
{
    QStringList names;
    const QByteArray entities = dxf.mid(dxf.indexOf("\n2\nENTITIES\n"));
    QRegularExpressionMatchIterator it
        = QRegularExpression("\n0\n([A-Z]+)(?=\n)").globalMatch(QString::fromLatin1(entities));
    while (it.hasNext()) {
        const QString name = it.next().captured(1);
        if (name == QLatin1String("ENDSEC"))
            break;
        names.append(name);
    }
    return names;
}

Path lineBetween(const Point &a, const Point &b)
{
    Path path;
    path.moveTo(a);
    path.lineTo(b);
    return path;
}

Outline strokeOf(const Path &path, int pen = 0)
{
    Outline stroke;
    stroke.shape = path;
    stroke.pen = pen;
    return stroke;
}

// 40 x 30 pixels at 254 pixels an inch, so that a pixel is a tenth of a millimetre.
Drawing sheet(const std::vector<Path> &paths, const Pen &pen = Pen())
{
    Drawing drawing;
    drawing.width = 40;
    drawing.height = 30;
    drawing.dpi = 254.0;
    drawing.unit = Unit::Millimetre;
    drawing.pens.push_back(pen);
    for (const Path &path : paths)
        drawing.outlines.push_back(strokeOf(path));
    return drawing;
}

Pen dashed(LineType type, std::vector<double> dashes, double width = 2.0)
{
    Pen pen;
    pen.lineType = type;
    pen.dashes = std::move(dashes);
    pen.width = width;
    return pen;
}

} // namespace

class tst_Strokes : public QObject
{
    Q_OBJECT

private slots:
    // Letters that are areas are filled in DXF with what is cut out of them, other areas are
    // outlines; R12 has no filled areas.
    void lettersAreFilled()
    {
        Drawing drawing;
        drawing.width = 40;
        drawing.height = 40;
        for (double inset : { 0.0, 5.0, 22.0 }) {
            Outline square;
            square.shape.moveTo(Point(10 + inset, 10 + inset));
            square.shape.lineTo(Point(30 - inset, 10 + inset));
            square.shape.lineTo(Point(30 - inset, 30 - inset));
            square.shape.lineTo(Point(10 + inset, 30 - inset));
            square.shape.lineTo(Point(10 + inset, 10 + inset));
            square.layer = QLatin1String(inset > 20.0 ? "SOLID" : kLetteringLayer);
            drawing.outlines.push_back(square);
        }
        drawing.outlines[0].holes.push_back(1);
        DxfOptions options;
        const auto dxf = [&] {
            return written([&](QIODevice *device) { return writeDxf(drawing, options, device); });
        };
        const QByteArray filled = dxf();
        QCOMPARE(filled.count("\nHATCH\n"), 1);
        QCOMPARE(filled.count("AcDbHatch"), 1);
        QVERIFY(filled.contains(" 91\n2\n") || filled.contains("\n91\n2\n"));
        QCOMPARE(filled.count("\nLWPOLYLINE\n"), 1);
        options.version = DxfVersion::R12;
        const QByteArray old = dxf();
        QCOMPARE(old.count("\nHATCH\n"), 0);
        QCOMPARE(old.count("\nPOLYLINE\n"), 3);
    }

    void dashesOfPens_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<std::vector<double>>("given");
        QTest::addColumn<std::vector<double>>("all");
        QTest::addColumn<std::vector<double>>("painted");
        using List = std::vector<double>;
        QTest::newRow("continuous") << int(LineType::Continuous) << List() << List() << List();
        QTest::newRow("given") << int(LineType::Hidden) << List { 8, 4 } << List { 8, 4 }
                               << List { 6, 6 };
        QTest::newRow("dash shorter than the pen is wide")
            << int(LineType::Dot) << List { 1, 5 } << List { 1, 5 } << List { 0, 6 };
        QTest::newRow("odd number")
            << int(LineType::Hidden) << List { 5 } << List { 5, 5 } << List { 3, 7 };
        QTest::newRow("type alone")
            << int(LineType::Hidden) << List() << List { 24, 12 } << List { 22, 14 };
        QTest::newRow("dots alone")
            << int(LineType::Dot) << List() << List { 0, 6 } << List { 0, 6 };
    }
    void dashesOfPens()
    {
        QFETCH(int, type);
        QFETCH(std::vector<double>, given);
        QFETCH(std::vector<double>, all);
        QFETCH(std::vector<double>, painted);
        Pen pen = dashed(LineType(type), given);
        QCOMPARE(dashesOf(pen), all);
        QCOMPARE(paintedDashesOf(pen), painted);
        pen.roundEnds = false;
        if (all.empty() || all[0] > 0.0)
            QCOMPARE(paintedDashesOf(pen), all);
        else
            QCOMPARE(paintedDashesOf(pen), std::vector<double>({ 2, 4 })); // a square dot
    }

    void brokenPensAreOnePixelWide_data()
    {
        QTest::addColumn<double>("width");
        QTest::addColumn<std::vector<double>>("dashes");
        QTest::addColumn<int>("pen");
        using List = std::vector<double>;
        QTest::newRow("no width") << 0.0 << List() << 0;
        QTest::newRow("negative width") << -1.0 << List() << 0;
        QTest::newRow("width that is no number") << kNan << List() << 0;
        QTest::newRow("negative dash") << 3.0 << List { 4, -1 } << 0;
        QTest::newRow("dash that is no number") << 3.0 << List { kNan, 1 } << 0;
        QTest::newRow("dashes of no length") << 3.0 << List { 0, 0 } << 0;
        QTest::newRow("pen that is not there") << 3.0 << List() << 7;
    }
    void brokenPensAreOnePixelWide()
    {
        QFETCH(double, width);
        QFETCH(std::vector<double>, dashes);
        QFETCH(int, pen);
        Drawing drawing = sheet({ lineBetween(Point(5, 15), Point(35, 15)) },
                                dashed(LineType::Hidden, dashes, width));
        drawing.outlines[0].pen = pen;
        QVERIFY(svgOf(drawing).contains("stroke-width=\"1\""));
        QVERIFY(!svgOf(drawing).contains("dash"));
        QVERIFY(entitiesOf(dxfOf(drawing)) == QStringList("LINE"));
        QVERIFY(!dxfOf(drawing).contains("nan"));
        const QImage image = renderDrawing(drawing, PaintStyle(), 1.0);
        QCOMPARE(qAlpha(image.pixel(20, 12)), 0);
        QVERIFY(qAlpha(image.pixel(20, 15)) > 100);
        QVERIFY(!written([&](QIODevice *device) {
                     return writePdf(drawing, PaintStyle(), device);
                 }).isEmpty());
    }

    void jsonKeepsStrokes()
    {
        Drawing before = sheet({ lineBetween(Point(1, 2), Point(3, 4)) },
                               dashed(LineType::Center, { 7.125, 1.0 / 3.0, 0.1, 2 }, 1.75));
        before.pens.push_back(Pen());
        before.pens[1].roundEnds = false;
        before.outlines.push_back(strokeOf(pathOf(shapeOf(WholeShape::Ellipse, 9.1, 3.7, 0.6)), 1));
        const QByteArray text = jsonOf(before);
        Drawing after;
        QString error;
        QVERIFY2(readJson(text, &after, &error), qPrintable(error));
        QCOMPARE(after.pens.size(), before.pens.size());
        for (std::size_t i = 0; i < before.pens.size(); ++i) {
            QVERIFY(after.pens[i].width == before.pens[i].width);
            QCOMPARE(int(after.pens[i].lineType), int(before.pens[i].lineType));
            QCOMPARE(after.pens[i].dashes, before.pens[i].dashes);
            QCOMPARE(after.pens[i].roundEnds, before.pens[i].roundEnds);
            QCOMPARE(after.outlines[i].pen, int(i));
            QVERIFY(after.outlines[i].shape == before.outlines[i].shape);
        }
        QCOMPARE(jsonOf(after), text);
        QVERIFY(text.contains("\"version\":2"));
        QVERIFY(jsonOf(Drawing()).contains("\"version\":1"));
    }

    void brokenJsonOfStrokesIsRefused_data()
    {
        QTest::addColumn<QByteArray>("pens");
        QTest::addColumn<QByteArray>("outline");
        QTest::addColumn<QString>("words");
        const auto pens = [](const char *text) { return "\"pens\":[" + QByteArray(text) + "],"; };
        const QByteArray good = "{\"width\":2}";
        const QByteArray line = "\"start\":[0,0],\"pieces\":[[\"L\",1,1]]";
        QTest::newRow("no pens") << QByteArray() << "\"pen\":0," + line
                                 << QString("outline 0: there are no pens");
        QTest::newRow("pen out of range")
            << pens(good) << "\"pen\":1," + line
            << QString("outline 0: \"pen\" has to be a whole number from 0 to 0");
        QTest::newRow("negative pen")
            << pens(good) << "\"pen\":-1," + line << QString("outline 0: \"pen\" has to be");
        QTest::newRow("width 0") << pens("{\"width\":0}") << line
                                 << QString("pen 0: \"width\" has to be a number above 0");
        QTest::newRow("no width") << pens("{}") << line << QString("pen 0: \"width\" has to be");
        QTest::newRow("width that is no number")
            << pens("{\"width\":\"nan\"}") << line << QString("pen 0: \"width\" has to be");
        QTest::newRow("negative dash") << pens("{\"width\":1,\"dashes\":[3,-1]}") << line
                                       << QString("pen 0: a dash has to be");
        QTest::newRow("dash that is no number") << pens("{\"width\":1,\"dashes\":[\"nan\",1]}")
                                                << line << QString("pen 0: a dash has to be");
        QTest::newRow("dashes of no length") << pens("{\"width\":1,\"dashes\":[0,0]}") << line
                                             << QString("pen 0: the dashes have no length");
        QTest::newRow("unknown line type") << pens("{\"width\":1,\"type\":\"wavy\"}") << line
                                           << QString("pen 0: \"type\" has to be");
        QTest::newRow("unknown ends") << pens("{\"width\":1,\"ends\":\"sharp\"}") << line
                                      << QString("pen 0: \"ends\" has to be");
        QTest::newRow("pens that are no list")
            << QByteArray("\"pens\":5,") << line << QString("\"pens\" has to be a list");
        QTest::newRow("ratio 0") << pens(good)
                                 << QByteArray("\"start\":[0,0],\"pieces\":[[\"E\",1,0,0,1,1]]")
                                 << QString("piece 0: the ratio");
        QTest::newRow("ratio above 1")
            << pens(good) << QByteArray("\"start\":[0,0],\"pieces\":[[\"E\",1,2,0,1,1]]")
            << QString("piece 0: the ratio");
        QTest::newRow("endless angle")
            << pens(good) << QByteArray("\"start\":[0,0],\"pieces\":[[\"E\",1,0.5,\"inf\",1,1]]")
            << QString("piece 0: the angle");
        QTest::newRow("four numbers")
            << pens(good) << QByteArray("\"start\":[0,0],\"pieces\":[[\"E\",1,0.5,0,1]]")
            << QString("piece 0: bulge, ratio, angle");
        QTest::newRow("stroke with a hole")
            << pens(good) << "\"pen\":0,\"holes\":[1]," + line + "},{\"color\":\"#000000\"," + line
            << QString("outline 0: strokes are no holes");
    }
    void brokenJsonOfStrokesIsRefused()
    {
        QFETCH(QByteArray, pens);
        QFETCH(QByteArray, outline);
        QFETCH(QString, words);
        const QByteArray text
            = "{\"format\":\"ztrace drawing\",\"version\":2,\"width\":9,\"height\":9,\"dpi\":96,"
            + pens + "\"outlines\":[{\"color\":\"#000000\"," + outline + "}]}";
        Drawing drawing;
        QString error;
        QVERIFY(!readJson(text, &drawing, &error));
        QVERIFY2(error.contains(words), qPrintable(error));
    }

    void dxfHasAnEntityAPiece()
    {
        Path mixed;
        mixed.moveTo(Point(1, 1));
        mixed.lineTo(Point(5, 1));
        mixed.arcTo(Point(7, 3), 0.4);
        mixed.ellipticArcTo(Point(9, 6), 0.4, 0.5, 0.3);
        mixed.quadraticTo(Point(10, 8), Point(12, 8));
        mixed.cubicTo(Point(13, 8), Point(14, 10), Point(15, 12));
        const Drawing drawing = sheet({ mixed, pathOf(shapeOf(WholeShape::Circle, 3, 3)),
                                        pathOf(shapeOf(WholeShape::Ellipse, 9.1, 3.7, 0.6)) });
        QCOMPARE(entitiesOf(dxfOf(drawing)).join(' '),
                 QString("LINE ARC ELLIPSE SPLINE SPLINE CIRCLE ELLIPSE"));
        DxfOptions options;
        options.curves = DxfCurves::Arc;
        QCOMPARE(entitiesOf(dxfOf(drawing, options)).join(' '),
                 QString("LINE ARC LWPOLYLINE LWPOLYLINE LWPOLYLINE CIRCLE LWPOLYLINE"));
        options.curves = DxfCurves::Polyline;
        QCOMPARE(entitiesOf(dxfOf(drawing, options)).join(' '),
                 QString("LINE LWPOLYLINE LWPOLYLINE LWPOLYLINE LWPOLYLINE LWPOLYLINE LWPOLYLINE"));
        options.version = DxfVersion::R12;
        options.curves = DxfCurves::Spline;
        QStringList old = entitiesOf(dxfOf(drawing, options));
        old.removeAll("VERTEX");
        old.removeAll("SEQEND");
        QCOMPARE(old.join(' '), QString("LINE ARC POLYLINE POLYLINE POLYLINE CIRCLE POLYLINE"));
        QVERIFY(!dxfOf(drawing, options).contains("AcDb"));
    }

    void dxfOfAreasHasWholeShapes()
    {
        Drawing drawing = sheet({ pathOf(shapeOf(WholeShape::Circle, 3, 3)),
                                  pathOf(shapeOf(WholeShape::Ellipse, 9.1, 3.7, 0.6)),
                                  pathOf(shapeOf(WholeShape::Rectangle, 9, 3, 0, 1)) });
        drawing.pens.clear();
        for (Outline &outline : drawing.outlines)
            outline.pen = -1;
        const QByteArray dxf = dxfOf(drawing);
        QCOMPARE(entitiesOf(dxf).join(' '), QString("CIRCLE ELLIPSE LWPOLYLINE"));
        QVERIFY(dxf.contains("AcDbPolyline\n90\n8\n70\n1\n"));
        QVERIFY(!dxf.contains("HIDDEN"));
    }

    void joinedStrokesAreTheLongestPaths()
    {
        // A path of three of which one runs backwards, a node of three ends, a ring, another layer.
        std::vector<Path> paths
            = { lineBetween(Point(1, 1), Point(5, 1)),   lineBetween(Point(9, 4), Point(5, 1)),
                lineBetween(Point(9, 4), Point(12, 4)),  lineBetween(Point(12, 4), Point(15, 1)),
                lineBetween(Point(12, 4), Point(15, 9)), lineBetween(Point(20, 1), Point(25, 1)),
                lineBetween(Point(25, 1), Point(22, 6)), lineBetween(Point(20, 1), Point(22, 6)),
                lineBetween(Point(1, 1), Point(1, 9)) };
        Drawing drawing = sheet(paths);
        drawing.outlines.back().layer = "OTHER";
        const std::vector<StrokePath> joined = longestPaths(drawing);
        QCOMPARE(joined.size(), std::size_t(5));
        QCOMPARE(joined[0].path.pieces().size(), std::size_t(3));
        QVERIFY(joined[0].path.start() == Point(1, 1) && joined[0].path.end() == Point(12, 4));
        QCOMPARE(joined[1].path.pieces().size(), std::size_t(1));
        QCOMPARE(joined[3].path.pieces().size(), std::size_t(3));
        QVERIFY(joined[3].path.start() == joined[3].path.end());
        QCOMPARE(joined[4].first->layer, QString("OTHER"));
        DxfOptions options;
        QCOMPARE(entitiesOf(dxfOf(drawing, options)).count("LINE"), 9);
        options.join = true;
        QCOMPARE(entitiesOf(dxfOf(drawing, options)).join(' '),
                 QString("LWPOLYLINE LINE LINE LWPOLYLINE LINE"));
    }

    void cornersOfFlatStrokesAreMitres_data()
    {
        QTest::addColumn<bool>("round");
        QTest::addColumn<int>("strokes");
        QTest::addColumn<bool>("isInk");
        QTest::newRow("flat") << false << 3 << true;
        QTest::newRow("round") << true << 7 << false;
    }

    // A rectangle of four lines, one that ends on its corner from within, and two that go on.
    void cornersOfFlatStrokesAreMitres()
    {
        QFETCH(bool, round);
        QFETCH(int, strokes);
        QFETCH(bool, isInk);
        Pen pen;
        pen.width = 4.0;
        pen.roundEnds = round;
        Drawing drawing = sheet(
            { lineBetween(Point(10, 10), Point(30, 10)), lineBetween(Point(30, 30), Point(30, 10)),
              lineBetween(Point(10, 10), Point(20, 20)), lineBetween(Point(30, 30), Point(10, 30)),
              lineBetween(Point(10, 30), Point(10, 10)), lineBetween(Point(40, 10), Point(40, 20)),
              lineBetween(Point(40, 20), Point(40, 30)) },
            pen);
        drawing.width = 50;
        drawing.height = 40;
        const std::optional<Drawing> joined = withCorners(drawing);
        QCOMPARE(joined.has_value(), !round);
        if (joined) {
            QCOMPARE(int(joined->outlines.size()), strokes + 1);
            QVERIFY(joined->outlines[0].shape.start() == joined->outlines[0].shape.end());
            QCOMPARE(joined->outlines[0].shape.pieces().size(), std::size_t(4));
        }
        const QImage image = renderDrawing(drawing, PaintStyle(), 1.0);
        for (const QPoint &corner : { QPoint(8, 8), QPoint(31, 8), QPoint(8, 31), QPoint(31, 31) })
            QCOMPARE(qAlpha(image.pixel(corner)) == 255, isInk);
        QCOMPARE(svgOf(drawing).count("<path"), isInk ? strokes + 1 : strokes);
    }

    void strokesOverAnotherColourStayOverIt()
    {
        Pen pen;
        pen.roundEnds = false;
        Drawing drawing = sheet({ lineBetween(Point(5, 5), Point(30, 5)),
                                  lineBetween(Point(20, 0), Point(20, 25)),
                                  lineBetween(Point(30, 5), Point(10, 20)) },
                                pen);
        QVERIFY(withCorners(drawing).has_value());
        drawing.outlines[1].colour = qRgb(255, 0, 0);
        QVERIFY(!withCorners(drawing).has_value());
    }

    // What is cut out of an area is so after strokes before it have become one.
    void holesAreCountedAnewAtCorners()
    {
        Pen pen;
        pen.roundEnds = false;
        Drawing drawing
            = sheet({ lineBetween(Point(0, 0), Point(9, 0)), lineBetween(Point(9, 0), Point(9, 9)),
                      pathOf(shapeOf(WholeShape::Rectangle, 9, 9, 0, 1)),
                      pathOf(shapeOf(WholeShape::Rectangle, 3, 3, 0, 1)) },
                    pen);
        drawing.outlines[2].pen = drawing.outlines[3].pen = -1;
        drawing.outlines[2].holes.push_back(3);
        const std::optional<Drawing> joined = withCorners(drawing);
        QVERIFY(joined.has_value());
        QCOMPARE(joined->outlines.size(), std::size_t(3));
        QCOMPARE(*joined->outlines[1].holes.begin(), 2);
    }

    void joinedPathsKeepCurvesOfBackwardStrokes()
    {
        Path curve;
        curve.moveTo(Point(10, 1));
        curve.ellipticArcTo(Point(5, 1), 0.4, 0.5, 0.3);
        Path other;
        other.moveTo(Point(10, 1));
        other.cubicTo(Point(11, 1), Point(12, 3), Point(14, 5));
        const Drawing drawing = sheet({ lineBetween(Point(1, 1), Point(5, 1)), curve, other });
        const std::vector<StrokePath> joined = longestPaths(drawing);
        QCOMPARE(joined.size(), std::size_t(1));
        std::vector<PathPiece> pieces;
        piecesOf(joined[0].path, &pieces);
        QCOMPARE(pieces.size(), std::size_t(3));
        const Ellipse before = ellipseOf(*curve.pieces().begin());
        const Ellipse after = ellipseOf(pieces[1]);
        QVERIFY(std::fabs(before.center.x - after.center.x) < 1e-12);
        QVERIFY(std::fabs(before.sweep + after.sweep) < 1e-12);
        QVERIFY(pieces[2].control1 == Point(11, 1) && pieces[2].end == Point(14, 5));
    }

    void dxfDashesComeOutInTheDrawingsUnit()
    {
        Drawing drawing = sheet({ lineBetween(Point(1, 1), Point(30, 1)) },
                                dashed(LineType::Hidden, { 20, 10 }, 5.1));
        drawing.pens.push_back(dashed(LineType::Hidden, { 40, 20 }));
        drawing.pens.push_back(dashed(LineType::Hidden, { 10, 20 }));
        const DxfLineTypes types(drawing, DxfVersion::R2004);
        const auto lengths = [&](int pen) {
            std::vector<double> pattern = types.recordOf(pen)->pattern;
            for (double &length : pattern)
                length *= types.scaleOf(pen);
            return pattern;
        };
        const std::vector<std::vector<double>> wanted = { { 2, 1 }, { 4, 2 }, { 1, 2 } }; // mm
        for (int pen = 0; pen < 3; ++pen) {
            const std::vector<double> found = lengths(pen);
            QCOMPARE(found.size(), std::size_t(2));
            for (std::size_t i = 0; i < 2; ++i)
                QVERIFY(std::fabs(found[i] - wanted[std::size_t(pen)][i]) < 1e-9);
        }
        QCOMPARE(types.recordOf(1)->name, QByteArray("HIDDEN"));
        QCOMPARE(types.recordOf(2)->name, QByteArray("HIDDEN_2"));
        const QByteArray dxf = dxfOf(drawing);
        for (const char *name : { "HIDDEN", "CENTER", "PHANTOM", "DOT", "HIDDEN_2" })
            QVERIFY(dxf.contains("AcDbLinetypeTableRecord\n2\n" + QByteArray(name) + "\n"));
        // A pen of 0.51 mm.
        QVERIFY(dxf.contains("\n8\n0\n6\nHIDDEN\n48\n"));
        QVERIFY(dxf.contains("\n370\n50\n100\nAcDbLine\n"));
    }

    void oldDxfHasTheLengthsThemselves()
    {
        Drawing drawing = sheet({ lineBetween(Point(1, 1), Point(30, 1)) },
                                dashed(LineType::Center, { 24, 3, 3, 3 }));
        drawing.pens.push_back(dashed(LineType::Center, { 48, 6, 6, 6 }));
        const DxfLineTypes types(drawing, DxfVersion::R12);
        QVERIFY(std::fabs(types.recordOf(0)->pattern[0] - 2.4) < 1e-9);
        QVERIFY(std::fabs(types.recordOf(1)->pattern[0] - 4.8) < 1e-9);
        QCOMPARE(types.scaleOf(1), 1.0);
        DxfOptions options;
        options.version = DxfVersion::R12;
        QVERIFY(!dxfOf(drawing, options).contains("\n48\n"));
        QVERIFY(!dxfOf(drawing, options).contains("\n370\n"));
    }

    void lineWeightsAreThoseOfTheSeries_data()
    {
        QTest::addColumn<double>("width");
        QTest::addColumn<int>("weight");
        QTest::newRow("finest") << 0.001 << 0;
        QTest::newRow("between") << 0.22 << 20;
        QTest::newRow("exact") << 0.7 << 70;
        QTest::newRow("above the half") << 0.76 << 80;
        QTest::newRow("widest") << 50.0 << 211;
    }
    void lineWeightsAreThoseOfTheSeries()
    {
        QFETCH(double, width);
        QTEST(dxfLineWeight(width), "weight");
    }

    void svgStrokes()
    {
        Drawing drawing = sheet({ lineBetween(Point(5, 15), Point(35, 15)) },
                                dashed(LineType::Hidden, { 8, 4 }));
        QVERIFY2(svgOf(drawing).contains(
                     "fill=\"none\" stroke=\"#000000\" stroke-width=\"2\" stroke-linecap=\"round\" "
                     "stroke-linejoin=\"round\" stroke-dasharray=\"6 6\""),
                 svgOf(drawing));
        drawing.pens[0].roundEnds = false;
        QVERIFY(svgOf(drawing).contains("stroke-width=\"2\" stroke-dasharray=\"8 4\""));
        drawing.outlines[0].shape = pathOf(shapeOf(WholeShape::Ellipse, 9.0, 3.0, 0.5));
        QVERIFY(svgOf(drawing).contains("A9 3 -28.6478"));
    }

    void previewDrawsStrokes()
    {
        Drawing drawing = sheet({ lineBetween(Point(0, 15), Point(40, 15)) },
                                dashed(LineType::Hidden, { 8, 4 }));
        drawing.pens[0].roundEnds = false;
        const QImage image = renderDrawing(drawing, PaintStyle(), 1.0);
        int inked = 0;
        for (int x = 0; x < 40; ++x)
            inked += qAlpha(image.pixel(x, 14)) > 128 ? 1 : 0;
        QCOMPARE(inked, 8 + 8 + 8 + 4);
        QCOMPARE(qAlpha(image.pixel(4, 17)), 0);
        drawing.pens[0] = dashed(LineType::Dot, { 0, 10 }, 3.0);
        for (bool roundEnds : { true, false }) {
            drawing.pens[0].roundEnds = roundEnds;
            const QImage dots = renderDrawing(drawing, PaintStyle(), 1.0);
            QVERIFY(qAlpha(dots.pixel(roundEnds ? 10 : 11, 15)) > 200);
            QCOMPARE(qAlpha(dots.pixel(15, 15)), 0);
        }
        // So many dashes that nobody could see one are not drawn one by one.
        drawing.pens[0].dashes = { 1e-300, 1e-300 };
        QVERIFY(qAlpha(renderDrawing(drawing, PaintStyle(), 1.0).pixel(9, 14)) > 128);
    }
};

QTEST_GUILESS_MAIN(tst_Strokes)
#include "tst_strokes.moc"
