// (c) the ztrace developers. Licence: see LICENSE.
//
// The reduction to black and white.
#include "engine/ZTraceBitmap.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QColor>
#include <QtTest>

#include <limits>

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();
const quint32 kBlack = 0xFF000000u;
const quint32 kWhite = 0xFFFFFFFFu;

quint32 wordAt(const QImage &image, int x, int y)
{
    return reinterpret_cast<const quint32 *>(image.constScanLine(y))[x];
}

} // namespace

class tst_Preprocess : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void onePixel_data();
    void onePixel();
    void unchangedUnlessMonochrome_data();
    void unchangedUnlessMonochrome();
    void anyPositiveMonochromeReduces_data();
    void anyPositiveMonochromeReduces();
    void lightnessIsTheToolkits();
    void everyPixelOfEveryRowIsReduced();
    void sharedCopyIsNotChanged();
    void storedWordsCount_data();
    void storedWordsCount();
    void otherFormatsAreConverted_data();
    void otherFormatsAreConverted();
    void nullImageStaysNull();
    void traceReducesItsCopyOnly();
};

void tst_Preprocess::onePixel_data()
{
    QTest::addColumn<double>("alphathreshold");
    QTest::addColumn<double>("brightnessthreshold");
    QTest::addColumn<quint32>("word");
    QTest::addColumn<quint32>("expected");
    const auto row
        = [](const char *name, double alpha, double brightness, quint32 word, quint32 expected) {
              QTest::newRow(name) << alpha << brightness << word << expected;
          };

    row("opaque white turns black by default", 200, 200, kWhite, kBlack);
    row("opaque black turns black by default", 200, 200, kBlack, kBlack);
    row("opaque black turns white when alpha passes", 255, 200, kBlack, kWhite);
    row("opaque white turns black when alpha passes", 255, 200, kWhite, kBlack);
    row("transparent turns white by default", 200, 200, 0x00000000u, kWhite);
    row("both limits met exactly pass", 200, 100, 0xC8646464u, kWhite);
    row("alpha one above its limit", 200, 100, 0xC9646464u, kBlack);
    row("lightness one above its limit", 200, 100, 0xC8656565u, kBlack);
    row("light and half transparent turns black", 200, 200, 0x80FFFFFFu, kBlack);
    row("dark and half transparent turns white", 200, 200, 0x80202020u, kWhite);
    row("fractional alpha limit is floored", 199.9, 200, 0xC8000000u, kBlack);
    row("fractional alpha limit keeps its whole part", 199.9, 200, 0xC7000000u, kWhite);
    row("fractional brightness limit is floored", 255, 99.99, 0xFF646464u, kBlack);
    row("negative fraction is floored, not truncated", -0.5, 200, 0x00000000u, kBlack);
    row("negative alpha limit", -1, 200, 0x00000000u, kBlack);
    row("negative brightness limit", 255, -1, 0x00000000u, kBlack);
    row("alpha limit zero lets transparent pass", 0, 255, 0x00FFFFFFu, kWhite);
    row("alpha limit of 255 lets all pass", 255, 255, kWhite, kWhite);
    row("alpha limit of infinity", kInfinity, 200, kBlack, kWhite);
    row("alpha limit of 1e300", 1e300, 200, kBlack, kWhite);
    row("alpha limit of minus infinity", -kInfinity, 200, 0x00000000u, kBlack);
    row("alpha limit not a number is the lowest", kNan, 200, 0x00000000u, kBlack);
    row("brightness limit of infinity", 255, kInfinity, kWhite, kWhite);
    row("brightness limit of -1e300", 255, -1e300, kBlack, kBlack);
    row("brightness limit not a number is the lowest", 255, kNan, kBlack, kBlack);
}

void tst_Preprocess::onePixel()
{
    QFETCH(double, alphathreshold);
    QFETCH(double, brightnessthreshold);
    QFETCH(quint32, word);
    QFETCH(quint32, expected);
    ZTraceBitmap tracer;
    tracer.setOption("alphathreshold", alphathreshold);
    tracer.setOption("brightnessthreshold", brightnessthreshold);
    QImage image = ztrace::uniformPicture(1, 1, word).toImage();
    tracer.preprocess(image);
    QCOMPARE(wordAt(image, 0, 0), expected);
}

void tst_Preprocess::unchangedUnlessMonochrome_data()
{
    QTest::addColumn<double>("monochrome");
    QTest::newRow("zero") << 0.0;
    QTest::newRow("negative zero") << -0.0;
    QTest::newRow("not a number") << kNan;
    QTest::newRow("negative") << -1.0;
    QTest::newRow("minus infinity") << -kInfinity;
}

void tst_Preprocess::unchangedUnlessMonochrome()
{
    QFETCH(double, monochrome);
    ztrace::Random random(11);
    ZTraceBitmap tracer;
    tracer.setOption("monochrome", monochrome);
    const int formats[] = { QImage::Format_ARGB32, QImage::Format_Mono, QImage::Format_RGB16 };
    for (const int format : formats) {
        const QImage before = ztrace::randomPicture(random, 20)
                                  .toImage()
                                  .convertToFormat(static_cast<QImage::Format>(format));
        QImage image = before;
        tracer.preprocess(image);
        QCOMPARE(image.format(), before.format());
        QCOMPARE(image, before);
    }
}

void tst_Preprocess::anyPositiveMonochromeReduces_data()
{
    QTest::addColumn<double>("monochrome");
    QTest::newRow("one") << 1.0;
    QTest::newRow("a tiny fraction") << 1e-300;
    QTest::newRow("infinity") << kInfinity;
}

void tst_Preprocess::anyPositiveMonochromeReduces()
{
    QFETCH(double, monochrome);
    ZTraceBitmap tracer;
    tracer.setOption("monochrome", monochrome);
    QImage image = ztrace::uniformPicture(2, 2, 0x11223344u).toImage();
    tracer.preprocess(image);
    QCOMPARE(wordAt(image, 1, 1), kWhite);
}

void tst_Preprocess::lightnessIsTheToolkits()
{
    ztrace::Random random(ztrace::testSeed());
    ztrace::Picture picture = ztrace::uniformPicture(256, 300);
    for (std::uint32_t &word : picture.words)
        word = random.word();
    // All sums of a largest and a smallest channel, the odd ones included.
    for (int low = 0; low < 256; ++low)
        for (int high = low; high < 256; ++high)
            picture.at(low, high) = qRgb(low, (low + high) / 2, high);

    for (const int limit : { 0, 1, 99, 100, 127, 128, 200, 254 }) {
        ZTraceBitmap tracer;
        tracer.setOption("alphathreshold", 255);
        tracer.setOption("brightnessthreshold", limit);
        QImage image = picture.toImage();
        tracer.preprocess(image);
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const quint32 word = picture.at(x, y);
                const bool light = QColor(QRgb(word)).lightness() > limit;
                if (wordAt(image, x, y) != (light ? kBlack : kWhite))
                    QFAIL(qPrintable(QString("%1 at limit %2").arg(word, 8, 16).arg(limit)));
            }
        }
    }
}

void tst_Preprocess::everyPixelOfEveryRowIsReduced()
{
    ztrace::Random random(12);
    for (int round = 0; round < 200; ++round) {
        QImage image = ztrace::randomPicture(random, 40).toImage();
        ZTraceBitmap tracer;
        tracer.preprocess(image);
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                QVERIFY(wordAt(image, x, y) == kBlack || wordAt(image, x, y) == kWhite);
    }
}

void tst_Preprocess::sharedCopyIsNotChanged()
{
    const QImage original = ztrace::uniformPicture(4, 3, 0x00123456u).toImage();
    QImage copy = original;
    ZTraceBitmap tracer;
    tracer.preprocess(copy);
    QCOMPARE(wordAt(original, 3, 2), 0x00123456u);
    QCOMPARE(wordAt(copy, 3, 2), kWhite);
}

void tst_Preprocess::storedWordsCount_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<quint32>("word");
    QTest::addColumn<quint32>("expected");
    QTest::newRow("premultiplied word as it is stored")
        << int(QImage::Format_ARGB32_Premultiplied) << 0x64646464u << kWhite;
    QTest::newRow("premultiplied word above the lightness limit")
        << int(QImage::Format_ARGB32_Premultiplied) << 0x65656565u << kBlack;
    QTest::newRow("top byte of a word without alpha")
        << int(QImage::Format_RGB32) << 0x00202020u << kWhite;
    QTest::newRow("full top byte of a word without alpha")
        << int(QImage::Format_RGB32) << 0xFF202020u << kBlack;
}

void tst_Preprocess::storedWordsCount()
{
    QFETCH(int, format);
    QFETCH(quint32, word);
    QFETCH(quint32, expected);
    QImage image(1, 1, static_cast<QImage::Format>(format));
    reinterpret_cast<quint32 *>(image.scanLine(0))[0] = word;
    ZTraceBitmap tracer;
    tracer.setOption("brightnessthreshold", 100);
    tracer.preprocess(image);
    QCOMPARE(int(image.format()), format);
    QCOMPARE(wordAt(image, 0, 0), expected);
}

void tst_Preprocess::otherFormatsAreConverted_data()
{
    QTest::addColumn<int>("format");
    for (int format = QImage::Format_Invalid + 1; format < QImage::NImageFormats; ++format) {
        if (format < QImage::Format_RGB32 || format > QImage::Format_ARGB32_Premultiplied)
            QTest::addRow("format %d", format) << format;
    }
}

void tst_Preprocess::otherFormatsAreConverted()
{
    QFETCH(int, format);
    ztrace::Random random(13);
    for (int round = 0; round < 10; ++round) {
        QImage image = ztrace::randomPicture(random, 30)
                           .toImage()
                           .convertToFormat(static_cast<QImage::Format>(format));
        QImage expected = image.convertToFormat(QImage::Format_ARGB32);
        ZTraceBitmap tracer;
        tracer.setOption("alphathreshold", 255);
        tracer.setOption("brightnessthreshold", 120);
        tracer.preprocess(image);
        tracer.preprocess(expected);
        QCOMPARE(image.size(), expected.size());
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                QCOMPARE(image.pixel(x, y), expected.pixel(x, y));
    }
}

void tst_Preprocess::nullImageStaysNull()
{
    QImage image;
    ZTraceBitmap tracer;
    tracer.preprocess(image);
    QVERIFY(image.isNull());
}

void tst_Preprocess::traceReducesItsCopyOnly()
{
    const QImage original = ztrace::uniformPicture(4, 3, 0x00123456u).toImage();
    ZTraceBitmap tracer;
    tracer.setOption("blurradius", 0);
    tracer.trace(original);
    QCOMPARE(wordAt(original, 0, 0), 0x00123456u);
    QCOMPARE(tracer.imageData.mid(0, 4), QVector<char>({ -1, -1, -1, -1 }));
}

QTEST_GUILESS_MAIN(tst_Preprocess)
#include "tst_preprocess.moc"
