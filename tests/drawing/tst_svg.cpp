// (c) the ztrace developers. Licence: see LICENSE.
//
// The SVG writer, number text and files that appear whole.
#include "drawing/output.h"
#include "drawing/hostpath.h"
#include "drawing/svg.h"

#include "ZPolyline.h"
#include "ZSpline.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <charconv>
#include <cmath>
#include <limits>
#include <random>

using namespace ztrace;

namespace {

ZPolyline square(double x, double y, double side)
{
    ZPolyline line;
    line.appendVertex(ZVector(x, y));
    line.appendVertex(ZVector(x + side, y));
    line.appendVertex(ZVector(x + side, y + side));
    line.appendVertex(ZVector(x, y + side));
    line.appendVertex(ZVector(x, y));
    return line;
}

Drawing drawingOf(const ZPolyline &line)
{
    Drawing drawing;
    drawing.width = 10;
    drawing.height = 8;
    Outline outline;
    outline.shape = pathOf(line);
    outline.colour = 0xFFFF8000u;
    drawing.outlines.push_back(outline);
    return drawing;
}

QString svgOf(const Drawing &drawing, const SvgOptions &options = SvgOptions())
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return writeSvg(drawing, options, &buffer) ? QString::fromUtf8(buffer.data()) : QString();
}

// A number by the library alone, without what text.cpp does to be fast.
QByteArray fromLibrary(double value, int decimals)
{
    char buffer[400];
    const std::to_chars_result result = decimals < 0
        ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed)
        : std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    QByteArray text(buffer, static_cast<int>(result.ptr - buffer));
    if (text.contains('.')) {
        while (text.endsWith('0'))
            text.chop(1);
        if (text.endsWith('.'))
            text.chop(1);
    }
    return text == "-0" ? QByteArray("0") : text;
}

} // namespace

class tst_Svg : public QObject
{
    Q_OBJECT

private slots:
    void numbers_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<QString>("text");
        QTest::newRow("whole") << 3.0 << kExactDecimals << "3";
        QTest::newRow("half") << -2.5 << kExactDecimals << "-2.5";
        QTest::newRow("shortest") << 0.1 << kExactDecimals << "0.1";
        QTest::newRow("small without exponent") << 1e-7 << kExactDecimals << "0.0000001";
        QTest::newRow("zero has no sign") << -0.0 << kExactDecimals << "0";
        QTest::newRow("rounded") << 1.2345 << 2 << "1.23";
        QTest::newRow("trailing zeros go") << 1.5 << 3 << "1.5";
        QTest::newRow("rounded to nothing") << -0.0001 << 2 << "0";
        QTest::newRow("ten keeps its zero") << 10.0 << 2 << "10";
        QTest::newRow("no decimals keeps zeros") << 100.0 << 0 << "100";
    }
    void numbers()
    {
        QFETCH(double, value);
        QFETCH(int, decimals);
        QTEST(QString::fromLatin1(numberText(value, decimals)), "text");
    }

    void linesAreTurnedOver()
    {
        const QString svg = svgOf(drawingOf(square(1, 2, 3)));
        QVERIFY2(svg.contains("<path fill=\"#ff8000\" d=\"M1 6L4 6L4 3L1 3L1 6Z\"/>"),
                 qPrintable(svg));
        QVERIFY(svg.contains("viewBox=\"0 0 10 8\""));
        QVERIFY(svg.contains("width=\"10\" height=\"8\""));
    }

    void quadraticsStayQuadratics()
    {
        ZPolyline line;
        line.appendVertex(ZVector(0, 0));
        ZSpline spline;
        spline.setDegree(2);
        spline.appendControlPoint(ZVector(0, 0));
        spline.appendControlPoint(ZVector(2, 4));
        spline.appendControlPoint(ZVector(4, 0));
        line.appendShape(spline, false);
        line.appendVertex(ZVector(0, 0));
        const QString svg = svgOf(drawingOf(line));
        QVERIFY2(svg.contains("d=\"M0 8Q2 4 4 8L0 8Z\""), qPrintable(svg));
    }

    void openPolylineIsNotClosed()
    {
        ZPolyline line;
        line.appendVertex(ZVector(0, 0));
        line.appendVertex(ZVector(1, 1));
        QVERIFY(svgOf(drawingOf(line)).contains("d=\"M0 8L1 7\""));
    }

    void arcKeepsItsSide()
    {
        ZPolyline line;
        line.appendVertex(ZVector(0, 0), 1.0); // half circle to the right of the chord, below it
        line.appendVertex(ZVector(2, 0));
        QVERIFY2(svgOf(drawingOf(line)).contains("M0 8A1 1 0 0 0 2 8"),
                 qPrintable(svgOf(drawingOf(line))));
    }

    void controlPointThatIsNoNumberBecomesALine()
    {
        ZPolyline line;
        line.appendVertex(ZVector(0, 0));
        ZSpline spline;
        spline.setDegree(2);
        spline.appendControlPoint(ZVector(0, 0));
        spline.appendControlPoint(ZVector(std::numeric_limits<double>::quiet_NaN(), 1));
        spline.appendControlPoint(ZVector(4, 0));
        line.appendShape(spline, false);
        QVERIFY(svgOf(drawingOf(line)).contains("d=\"M0 8L4 8\""));
    }

    void holesAreCutOutEvenOdd()
    {
        Drawing drawing = drawingOf(square(0, 0, 8));
        Outline inner;
        inner.shape = pathOf(square(2, 2, 2));
        inner.colour = 0;
        drawing.outlines.push_back(inner);
        drawing.outlines[0].holes.push_back(1);
        const QString svg = svgOf(drawing);
        QCOMPARE(svg.count("<path"), 1);
        QVERIFY(
            svg.contains("fill-rule=\"evenodd\" d=\"M0 8L8 8L8 0L0 0L0 8ZM2 6L4 6L4 4L2 4L2 6Z"));
    }

    void translucentFillHasItsOpacity()
    {
        Drawing drawing = drawingOf(square(0, 0, 8));
        drawing.outlines[0].colour = 0x33000000u;
        QVERIFY(svgOf(drawing).contains("fill-opacity=\"0.2\""));
    }

    void strokesInsteadOfFills()
    {
        SvgOptions options;
        options.style.stroked = true;
        options.style.strokeWidth = 0.25;
        QVERIFY(svgOf(drawingOf(square(0, 0, 8)), options)
                    .contains("fill=\"none\" stroke=\"#ff8000\" stroke-width=\"0.25\""));
    }

    void layersAreGroups()
    {
        Drawing drawing = drawingOf(square(0, 0, 8));
        drawing.outlines.push_back(drawing.outlines[0]);
        drawing.outlines.push_back(drawing.outlines[0]);
        drawing.outlines[1].layer = QString::fromLatin1("<ink> & \"pen\"");
        SvgOptions options;
        options.style.byLayer = true;
        const QString svg = svgOf(drawing, options);
        QCOMPARE(svg.count("inkscape:groupmode=\"layer\""), 2);
        QVERIFY(svg.contains("inkscape:label=\"&lt;ink&gt; &amp; &quot;pen&quot;\""));
        QCOMPARE(svg.count("<path"), 3);
    }

    void physicalSize()
    {
        Drawing drawing = drawingOf(square(0, 0, 8));
        drawing.dpi = 254;
        drawing.unit = Unit::Millimetre;
        const QString svg = svgOf(drawing);
        QVERIFY2(svg.contains("width=\"1mm\" height=\"0.8mm\" viewBox=\"0 0 10 8\""),
                 qPrintable(svg));
    }

    void withoutAPictureTheBoundingBoxIsDrawn()
    {
        Drawing drawing = drawingOf(square(-2, 5, 4));
        drawing.width = drawing.height = 0;
        const QString svg = svgOf(drawing);
        QVERIFY(svg.contains("viewBox=\"0 0 4 4\""));
        QVERIFY(svg.contains("M0 4L4 4L4 0L0 0L0 4Z"));
    }

    void numbersAreThoseOfTheLibrary_data()
    {
        QTest::addColumn<int>("decimals");
        for (int decimals = kExactDecimals; decimals <= 13; ++decimals)
            QTest::addRow("%d decimals", decimals) << decimals;
    }
    void numbersAreThoseOfTheLibrary()
    {
        QFETCH(int, decimals);
        std::mt19937_64 random(11);
        std::uniform_real_distribution<double> place(-5000.0, 5000.0);
        const double steps[] = { 1.0, 2.0, 4.0, 8.0, 16.0, 10.0, 1000.0, 1e6, 3.0, 1e-3 };
        for (int i = 0; i < 60000; ++i) {
            double value = place(random);
            const double step = steps[i % 10];
            if (i % 3 == 1)
                value = std::floor(value * step) / step;
            if (i % 3 == 2) // near the middle of two
                value = (std::floor(value * step) + 0.5) / step * (1.0 + (i % 7 - 3) * 1e-16);
            if (i % 11 == 0)
                value *= 1e-7;
            if (i % 13 == 0)
                value *= 1e9;
            QCOMPARE(numberText(value, decimals), fromLibrary(value, decimals));
        }
    }

    void failedWriteLeavesTheOldFile()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("a.svg");
        QString error;
        QVERIFY(writeWhole(
            name, [](QIODevice *d) { return d->write("old") == 3; }, &error));
        QVERIFY(!writeWhole(
            name, [](QIODevice *d) { return d->write("half") == 4 && false; }, &error));
        QVERIFY(!error.isEmpty());
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("old"));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 1);
    }

    void filesGetTheirNamesTogether()
    {
        QTemporaryDir folder;
        const QString first = folder.filePath("a.svg");
        const QString fresh = folder.filePath("b.svg");
        const QString refused = folder.filePath("c.svg");
        QString error;
        QVERIFY(writeWhole(
            first, [](QIODevice *d) { return d->write("old") == 3; }, &error));
        {
            OutputFiles files;
            for (const QString &name : { first, fresh, refused })
                QVERIFY(files.add(
                    name, [](QIODevice *d) { return d->write("new") == 3; }, &error));
            QVERIFY(QDir().mkdir(refused)); // a name that cannot be taken any more
            QString name;
            QVERIFY(!files.commit(&name, &error));
            QCOMPARE(name, refused);
            QVERIFY(!error.isEmpty());
        }
        QFile file(first);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("old"));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList("a.svg"));
    }

    void namesHoldNothingThatXmlForbids()
    {
        Drawing drawing = drawingOf(square(0, 0, 4));
        drawing.outlines[0].layer = QString::fromUtf8("a\x01<\xC3\xA4");
        SvgOptions options;
        options.style.byLayer = true;
        const QString svg = svgOf(drawing, options);
        QVERIFY2(svg.contains(QString::fromUtf8("inkscape:label=\"a_&lt;\xC3\xA4\"")),
                 qPrintable(svg));
    }

    void folderAndMissingFolderAreRefused()
    {
        QTemporaryDir folder;
        const auto write = [](QIODevice *d) { return d->write("x") == 1; };
        QString error;
        QVERIFY(!writeWhole(folder.path(), write, &error));
        QCOMPARE(error, QString("it is a folder"));
        QVERIFY(!writeWhole(folder.filePath("none/a.svg"), write, &error));
        QVERIFY(error.contains("No such file"));
    }

    void deviceWithoutRoomFails()
    {
        QString error;
        const QByteArray much(100000, 'x');
        QVERIFY(!writeWhole(
            QString::fromLatin1("/dev/full"),
            [&](QIODevice *d) { return d->write(much) == much.size(); }, &error));
        QVERIFY2(error.contains("No space"), qPrintable(error));
    }
};

QTEST_GUILESS_MAIN(tst_Svg)
#include "tst_svg.moc"
