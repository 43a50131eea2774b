// (c) the ztrace developers. Licence: see LICENSE.
//
// The whole way from an image to polylines.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <cstdlib>
#include <limits>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#include <unistd.h>
#endif

using ztrace::CaughtMessages;
using ztrace::difference;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

// Entry 0 black, entry 1 white, pixels as they are.
struct TwoColourTracer : ZTraceBitmap
{
    TwoColourTracer()
    {
        currentPalette = { QVector<char>({ 0, 0, 0, -1 }), QVector<char>({ 100, 100, 100, -1 }) };
        setOption("monochrome", 0);
        setOption("blurradius", 0);
        setOption("colorquantcycles", 1);
        setOption("pathomit", 0);
    }
};

ztrace::Picture letters(const QStringList &rows)
{
    return ztrace::letterPicture(rows, { { '#', 0xFF000000u }, { '.', 0xFF646464u } });
}

} // namespace

class tst_Trace : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void blackSquareOnGrey();
    void callersImageIsUnchanged_data();
    void callersImageIsUnchanged();
    void fileIsTracedAsItsImage();
    void unreadableFileIsAnEmptyList();
    void emptyImageIsAnEmptyList_data();
    void emptyImageIsAnEmptyList();
    void emptyImageAfterAnImageLeavesNothing();
    void pathomit_data();
    void pathomit();
    void tolerancesAreHandedOverInOrder();
    void tolerancesAreRoundedToSinglePrecision_data();
    void tolerancesAreRoundedToSinglePrecision();
    void paletteIsKeptFromTraceToTrace();
    void stateAfterATrace();
    void twentyMillionColoursLeaveTheTracerUsable();
    void memoryThatIsNotThereGivesAnEmptyList();
    void imageOfTooManyPixelsGivesAnEmptyList();
    void defaultsBlackenAnOpaqueImage();
    void everyFormatIsTraced_data();
    void everyFormatIsTraced();
    void debugLinesInOrder();
    void sameSeedSameResult();
};

void tst_Trace::blackSquareOnGrey()
{
    TwoColourTracer tracer;
    tracer.setOption("ltres", 0);
    tracer.setOption("qtres", 10);
    const QList<ZPolyline> result = tracer.trace(letters({ "...", ".#.", "..." }).toImage());
    QCOMPARE(result.size(), 2);
    // The outer one starts half a step along the top edge, the square one row lower.
    QCOMPARE(difference(result.at(0).getStartPoint(), ZVector(0.5, 3, 0, true)), QString());
    const ZPolyline &square = result.at(1);
    QCOMPARE(square.countPieces(), 2);
    const QVector<ZVector> first({ ZVector(1.5, 2), ZVector(2.5, 1.5), ZVector(1.5, 1) });
    const QVector<ZVector> second({ ZVector(1.5, 1), ZVector(0.5, 1.5), ZVector(1.5, 2) });
    QCOMPARE(difference(square.getPiecePoints(0), first), QString());
    QCOMPARE(difference(square.getPiecePoints(1), second), QString());
}

void tst_Trace::callersImageIsUnchanged_data()
{
    QTest::addColumn<double>("monochrome");
    QTest::newRow("monochrome on") << 1.0;
    QTest::newRow("monochrome off") << 0.0;
}

void tst_Trace::callersImageIsUnchanged()
{
    QFETCH(double, monochrome);
    ztrace::Random random(2);
    for (int round = 0; round < 30; ++round) {
        const QImage image = ztrace::randomPicture(random, 20).toImage();
        const QImage before = image.copy();
        const uchar *bits = image.constBits();
        ZTraceBitmap tracer;
        tracer.setOption("monochrome", monochrome);
        tracer.trace(image);
        QCOMPARE(image, before);
        QVERIFY(image.constBits() == bits);
    }
}

void tst_Trace::fileIsTracedAsItsImage()
{
    const QTemporaryDir folder;
    const QString name = folder.filePath("image.png");
    ztrace::Random random(3);
    const QImage image = ztrace::randomPicture(random, 30).toImage();
    QVERIFY(image.save(name));
    ZTraceBitmap fromImage;
    ZTraceBitmap fromFile;
    std::srand(5);
    const QList<ZPolyline> expected = fromImage.trace(image);
    std::srand(5);
    QCOMPARE(difference(fromFile.trace(name), expected), QString());
    QCOMPARE(difference(fromFile.imageData, fromImage.imageData), QString());
}

void tst_Trace::unreadableFileIsAnEmptyList()
{
    ZTraceBitmap tracer;
    QVERIFY(tracer.trace(QString("/nowhere/no-such-file.png")).isEmpty());
    QVERIFY(tracer.trace(QString()).isEmpty());
    QCOMPARE(tracer.imageWidth, 0);
    QCOMPARE(tracer.imageHeight, 0);
}

void tst_Trace::emptyImageIsAnEmptyList_data()
{
    QTest::addColumn<double>("colorsampling");
    QTest::newRow("generated palette") << 0.0;
    QTest::newRow("sampled palette") << 1.0;
}

void tst_Trace::emptyImageIsAnEmptyList()
{
    QFETCH(double, colorsampling);
    ZTraceBitmap tracer;
    tracer.setOption("colorsampling", colorsampling);
    tracer.setOption("blurradius", 3);
    QVERIFY(tracer.trace(QImage()).isEmpty());
    QVERIFY(tracer.imageData.isEmpty());
    QCOMPARE(tracer.indexedImage.width, 0);
    QCOMPARE(tracer.indexedImage.height, 0);
}

void tst_Trace::emptyImageAfterAnImageLeavesNothing()
{
    TwoColourTracer tracer;
    QVERIFY(!tracer.trace(letters({ "..", ".#" }).toImage()).isEmpty());
    QVERIFY(tracer.trace(QImage()).isEmpty());
    QCOMPARE(tracer.imageWidth, 0);
    QVERIFY(tracer.imageData.isEmpty());
    for (const auto &paths : tracer.indexedImage.tracedLayers)
        QVERIFY(paths.isEmpty());
    QVERIFY(tracer.getPolylines().isEmpty());
}

void tst_Trace::pathomit_data()
{
    QTest::addColumn<double>("pathomit");
    QTest::addColumn<int>("outlines");
    QTest::newRow("four keeps a pixel") << 4.0 << 3;
    QTest::newRow("4.9 is floored to four") << 4.9 << 3;
    QTest::newRow("five drops a pixel") << 5.0 << 2;
    QTest::newRow("six keeps a pair") << 6.0 << 2;
    QTest::newRow("seven drops a pair") << 7.0 << 1;
    QTest::newRow("-0.5") << -0.5 << 3;
    QTest::newRow("not a number drops none") << kNan << 3;
    QTest::newRow("minus infinity drops none") << -kInfinity << 3;
    QTest::newRow("-1e300 drops none") << -1e300 << 3;
    QTest::newRow("1e300 drops all") << 1e300 << 0;
    QTest::newRow("infinity drops all") << kInfinity << 0;
    QTest::newRow("4e9 drops all") << 4e9 << 0;
}

void tst_Trace::pathomit()
{
    QFETCH(double, pathomit);
    QFETCH(int, outlines);
    TwoColourTracer tracer;
    tracer.setOption("pathomit", pathomit);
    const ztrace::Picture picture = letters({ "......", ".#.##.", "......" });
    QCOMPARE(tracer.trace(picture.toImage()).size(), outlines);
    QCOMPARE(tracer.indexedImage.tracedLayers.size(), 2);
}

void tst_Trace::tolerancesAreHandedOverInOrder()
{
    const QImage image = letters({ "...", ".#.", "..." }).toImage();
    TwoColourTracer lines;
    lines.setOption("ltres", 1);
    lines.setOption("qtres", 0);
    QCOMPARE(lines.trace(image).at(1).getPieceKind(0), ZPolyline::LinePiece);
    TwoColourTracer curves;
    curves.setOption("ltres", 0);
    curves.setOption("qtres", 1);
    QCOMPARE(curves.trace(image).at(1).getPieceKind(0), ZPolyline::SplinePiece);
}

void tst_Trace::tolerancesAreRoundedToSinglePrecision_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("of lines") << "ltres";
    QTest::newRow("of quadratics") << "qtres";
}

// A value less a little is the value itself in single precision, also with the other tolerance
// next to it; the single-precision number below it is another one.
void tst_Trace::tolerancesAreRoundedToSinglePrecision()
{
    QFETCH(QString, name);
    ztrace::Random random(8);
    const QImage image = ztrace::saddlePicture(random, 40, 40).toImage();
    const auto traced = [&](double value) {
        TwoColourTracer tracer;
        tracer.setOption("ltres", 0);
        tracer.setOption("qtres", 0);
        tracer.setOption(name, value);
        tracer.trace(image);
        return tracer.indexedImage.tracedLayers;
    };
    int told = 0;
    for (int sixteenths = 1; sixteenths <= 32; ++sixteenths) {
        const float value = static_cast<float>(sixteenths) / 16;
        const auto exact = traced(double(value));
        QCOMPARE(difference(traced(double(value) - 1e-12), exact), QString());
        told += traced(double(std::nextafter(value, 0.0f))) != exact ? 1 : 0;
    }
    QVERIFY2(told > 0, "no error of the picture lies on any of the values");
}

void tst_Trace::paletteIsKeptFromTraceToTrace()
{
    ztrace::Random random(6);
    ZTraceBitmap tracer;
    tracer.setOption("monochrome", 0);
    tracer.setOption("colorquantcycles", 1);
    tracer.setOption("numberofcolors", 5);
    tracer.trace(ztrace::randomPicture(random, 30).toImage());
    const auto palette = tracer.currentPalette;
    QCOMPARE(palette.size(), 5);
    tracer.setOption("numberofcolors", 9);
    tracer.setOption("colorsampling", 0);
    tracer.trace(ztrace::randomPicture(random, 30).toImage());
    QCOMPARE(difference(tracer.currentPalette, palette), QString());
    QCOMPARE(difference(tracer.indexedImage.palette, palette), QString());
}

void tst_Trace::stateAfterATrace()
{
    TwoColourTracer tracer;
    tracer.trace(letters({ "....", "....", "...." }).toImage());
    const QList<ZPolyline> result = tracer.trace(letters({ "##", "#.", "#.", "##" }).toImage());
    QCOMPARE(tracer.imageWidth, 2);
    QCOMPARE(tracer.imageHeight, 4);
    QCOMPARE(tracer.imageData.size(), 32);
    QCOMPARE(tracer.indexedImage.width, 2);
    QCOMPARE(tracer.indexedImage.height, 4);
    QCOMPARE(tracer.indexedImage.indices.at(2), QVector<int>({ -1, 0, 1, -1 }));
    QCOMPARE(tracer.indexedImage.tracedLayers.size(), 2);
    QCOMPARE(tracer.indexedImage.tracedLayers.at(0).size(), 1);
    QCOMPARE(tracer.indexedImage.tracedLayers.at(1).size(), 1);
    QCOMPARE(difference(tracer.getPolylines(), result), QString());
}

void tst_Trace::twentyMillionColoursLeaveTheTracerUsable()
{
    const QImage image = letters({ "..", ".#" }).toImage();
    for (const double sampling : { 0.0, 1.0 }) {
        ZTraceBitmap tracer;
        tracer.setOption("monochrome", 0);
        tracer.setOption("pathomit", 0);
        tracer.setOption("colorsampling", sampling);
        tracer.setOption("numberofcolors", 20000000);
        QVERIFY(tracer.trace(image).isEmpty());
        tracer.setOption("numberofcolors", 2);
        QVERIFY(!tracer.trace(image).isEmpty());
        QCOMPARE(tracer.currentPalette.size(), 2);
    }
}

// The address space is narrowed for a while, as far as a sanitizer allows that.
void tst_Trace::memoryThatIsNotThereGivesAnEmptyList()
{
#if defined(__SANITIZE_ADDRESS__)
    QSKIP("the sanitizer takes more address space than the limit leaves");
#elif !defined(Q_OS_LINUX)
    QSKIP("the size of the process is read from /proc");
#else
    QFile file("/proc/self/statm");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const quint64 pages = file.readAll().split(' ').first().toULongLong();
    rlimit before;
    QCOMPARE(getrlimit(RLIMIT_AS, &before), 0);
    rlimit narrow = before;
    narrow.rlim_cur = pages * static_cast<quint64>(sysconf(_SC_PAGESIZE)) + 250000000u;

    const QImage image = letters({ "..", ".#" }).toImage();
    for (const double sampling : { 0.0, 1.0 }) {
        ZTraceBitmap tracer;
        tracer.setOption("monochrome", 0);
        tracer.setOption("pathomit", 0);
        tracer.setOption("colorsampling", sampling);
        tracer.setOption("numberofcolors", 16000000);
        QCOMPARE(setrlimit(RLIMIT_AS, &narrow), 0);
        const QList<ZPolyline> result = tracer.trace(image);
        QCOMPARE(setrlimit(RLIMIT_AS, &before), 0);
        QVERIFY(result.isEmpty());
        QVERIFY(tracer.currentPalette.isEmpty());
        tracer.setOption("numberofcolors", 2);
        QVERIFY(!tracer.trace(image).isEmpty());
    }
#endif
}

// 2^29 pixels of four bytes are more than one container holds.
void tst_Trace::imageOfTooManyPixelsGivesAnEmptyList()
{
    const QImage image(32768, 16384, QImage::Format_Mono);
    QVERIFY(!image.isNull());
    for (const double monochrome : { 0.0, 1.0 }) {
        ZTraceBitmap tracer;
        tracer.setOption("monochrome", monochrome);
        QVERIFY(tracer.trace(image).isEmpty());
        QCOMPARE(tracer.imageWidth, 0);
        QVERIFY(tracer.imageData.isEmpty());
    }
}

void tst_Trace::defaultsBlackenAnOpaqueImage()
{
    // Every opaque pixel turns black, whatever its colour: one outline round the whole image.
    ZTraceBitmap tracer;
    tracer.setOption("blurradius", 0);
    const QList<ZPolyline> result = tracer.trace(letters({ "...#", ".##.", "#..." }).toImage());
    QCOMPARE(result.size(), 1);
    QCOMPARE(difference(result.at(0).getStartPoint(), ZVector(0.5, 3, 0, true)), QString());
}

void tst_Trace::everyFormatIsTraced_data()
{
    QTest::addColumn<int>("format");
    for (int format = QImage::Format_Invalid + 1; format < QImage::NImageFormats; ++format)
        QTest::addRow("format %d", format) << format;
}

void tst_Trace::everyFormatIsTraced()
{
    QFETCH(int, format);
    ztrace::Random random(7);
    for (int round = 0; round < 5; ++round) {
        const QImage image = ztrace::randomPicture(random, 30)
                                 .toImage()
                                 .convertToFormat(static_cast<QImage::Format>(format));
        for (const double monochrome : { 0.0, 1.0 }) {
            // Outside the three 32-bit formats both ways go through ARGB32.
            const bool direct
                = format >= QImage::Format_RGB32 && format <= QImage::Format_ARGB32_Premultiplied;
            QImage plain(image.size(), QImage::Format_ARGB32);
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    plain.setPixel(x, y, image.pixel(x, y));
            if (direct && monochrome > 0)
                continue;
            ZTraceBitmap tracer;
            ZTraceBitmap expected;
            tracer.setOption("monochrome", monochrome);
            expected.setOption("monochrome", monochrome);
            if (monochrome > 0)
                plain = image.convertToFormat(QImage::Format_ARGB32);
            std::srand(8);
            const QList<ZPolyline> wanted = expected.trace(plain);
            std::srand(8);
            QCOMPARE(difference(tracer.trace(image), wanted), QString());
            QCOMPARE(difference(tracer.imageData, expected.imageData), QString());
        }
    }
}

void tst_Trace::debugLinesInOrder()
{
    TwoColourTracer tracer;
    const QImage image = letters({ "...", ".#.", "..." }).toImage();
    const CaughtMessages messages;
    tracer.trace(image);
    const QStringList expected({ "b: 0", "w: 0", "k: 1", "pcnt: 0", "k: 0", "pcnt: 0" });
    QCOMPARE(messages.lines(), expected);
}

void tst_Trace::sameSeedSameResult()
{
    ztrace::Random random(9);
    for (int round = 0; round < 50; ++round) {
        const QImage image = ztrace::randomPicture(random, 30).toImage();
        const QMap<QString, double> options = ztrace::randomOptions(random);
        QList<ZPolyline> results[2];
        for (QList<ZPolyline> &result : results) {
            ZTraceBitmap tracer;
            for (auto it = options.begin(); it != options.end(); ++it)
                tracer.setOption(it.key(), it.value());
            std::srand(static_cast<unsigned>(round));
            result = tracer.trace(image);
        }
        QCOMPARE(difference(results[0], results[1]), QString());
    }
}

QTEST_GUILESS_MAIN(tst_Trace)
#include "tst_trace.moc"
