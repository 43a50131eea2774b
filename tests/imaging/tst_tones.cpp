// (c) the ztrace developers. Licence: see LICENSE.
//
// Pictures of lightness, their tones, thresholds and light.
#include "imaging/GreyPicture.h"
#include "imaging/Picture.h"
#include "imaging/lightness.h"
#include "imaging/paper.h"
#include "imaging/scan.h"

#include <QColor>
#include <QTest>

#include <random>

using namespace ztrace;

namespace {

QImage greys(const std::vector<int> &values)
{
    QImage image(static_cast<int>(values.size()), 1, QImage::Format_Grayscale8);
    for (std::size_t x = 0; x < values.size(); ++x)
        image.scanLine(0)[x] = static_cast<uchar>(values[x]);
    return image;
}

int otsuOf(const std::vector<int> &values)
{
    return otsuThreshold(tonesOf(GreyPicture(greys(values))).counts);
}

// Words at random in any format; alpha too where it has one.
QImage randomPicture(QImage::Format format, int width, int height, unsigned seed)
{
    std::mt19937 random(seed);
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, static_cast<QRgb>(random()));
    }
    return image.convertToFormat(format);
}

// The plain statement: a colour over the paper, and what the toolkit calls its lightness.
int plainLightness(const QImage &image, int x, int y, QRgb paper)
{
    const QColor top = QColor::fromRgba(image.convertToFormat(QImage::Format_ARGB32).pixel(x, y));
    const auto over = [&](int own, int below) {
        return (own * top.alpha() + below * (255 - top.alpha()) + 127) / 255;
    };
    return QColor(over(top.red(), qRed(paper)), over(top.green(), qGreen(paper)),
                  over(top.blue(), qBlue(paper)))
        .lightness();
}

// A page with lines of ink; to the right its paper darkens to `darkest`.
QImage page(int side, double darkest)
{
    QImage image(side, side, QImage::Format_Grayscale8);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double light = 1.0 - (1.0 - darkest) * x / side;
            const bool ink = y % 12 < 3 && x % 40 > 4;
            image.scanLine(y)[x] = static_cast<uchar>(light * (ink ? 30 : 240));
        }
    }
    return image;
}

} // namespace

class tst_Tones : public QObject
{
    Q_OBJECT

private slots:
    void lightnessIsTheToolkits()
    {
        LightnessTable lightness;
        for (int largest = 0; largest < 256; largest += 3) {
            for (int smallest = 0; smallest <= largest; ++smallest) {
                const QRgb word = qRgb(smallest, largest, (smallest + largest) / 2);
                QCOMPARE(int(lightness(word)), QColor(word).lightness());
            }
        }
    }

    void greyIsThePlainStatement_data()
    {
        QTest::addColumn<int>("format");
        QTest::newRow("one bit") << int(QImage::Format_Mono);
        QTest::newRow("one bit, lowest first") << int(QImage::Format_MonoLSB);
        QTest::newRow("table of colours") << int(QImage::Format_Indexed8);
        QTest::newRow("grey") << int(QImage::Format_Grayscale8);
        QTest::newRow("opaque") << int(QImage::Format_RGB32);
        QTest::newRow("transparent") << int(QImage::Format_ARGB32);
        QTest::newRow("premultiplied") << int(QImage::Format_ARGB32_Premultiplied);
        QTest::newRow("16 bits") << int(QImage::Format_RGB16);
        QTest::newRow("48 bits of grey") << int(QImage::Format_Grayscale16);
    }
    void greyIsThePlainStatement()
    {
        QFETCH(int, format);
        const QImage image = randomPicture(QImage::Format(format), 37, 11, 5);
        const QRgb paper = qRgb(200, 100, 50);
        const GreyPicture grey(image, paper);
        std::vector<uint8_t> buffer(37);
        for (int y = 0; y < image.height(); ++y) {
            const uint8_t *row = grey.row(y, buffer.data());
            for (int x = 0; x < image.width(); ++x)
                QCOMPARE(int(row[x]), plainLightness(image, x, y, paper));
        }
    }

    void greyPicturesAreNotCopied()
    {
        const QImage image = greys({ 1, 2, 3, 4 });
        QVERIFY(GreyPicture(image).asImage().constBits() == image.constBits());
    }

    void colouredTablesAreNotGrey()
    {
        QImage image(2, 2, QImage::Format_Mono);
        image.setColorTable({ 0xFFFFFFFFu, 0xFF000000u });
        QVERIFY(GreyPicture::isGrey(image));
        image.setColorTable({ 0xFFFFFFFFu, 0xFF0000FFu });
        QVERIFY(!GreyPicture::isGrey(image));
        image.setColorTable({ 0xFFFFFFFFu, 0x80000000u });
        QVERIFY(!GreyPicture::isGrey(image));
    }

    void tonesAreCounted_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("width");
        for (int width : { 1, 7, 8, 9, 63, 64, 65, 200, 1000 }) {
            QTest::addRow("%d pixels, one bit", width) << int(QImage::Format_Mono) << width;
            QTest::addRow("%d pixels, grey", width) << int(QImage::Format_Grayscale8) << width;
        }
    }
    void tonesAreCounted()
    {
        QFETCH(int, format);
        QFETCH(int, width);
        const QImage image = randomPicture(QImage::Format(format), width, 13, 8);
        Histogram plain = {};
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < width; ++x)
                plain[static_cast<std::size_t>(qGray(image.pixel(x, y)))] += 1.0;
        }
        QCOMPARE(tonesOf(GreyPicture(image)).counts, plain);
    }

    void otsuTakesTheMiddleOfTheGap()
    {
        QCOMPARE(otsuOf({ 0, 0, 0, 255, 255 }), 127);
        QCOMPARE(otsuOf({ 10, 20, 200, 210 }), (20 + 199) / 2);
    }

    void otsuOfOneLightness()
    {
        QCOMPARE(otsuOf({ 255, 255 }), 127);
        QCOMPARE(otsuOf({ 0 }), 127);
    }

    // Few pixels are all ink where letters are thin, and Otsu's threshold is drawn to the paper.
    void cleanDrawingsAreSplitInTheMiddle_data()
    {
        QTest::addColumn<int>("paper");
        QTest::addColumn<int>("ink");
        QTest::newRow("black on white") << 255 << 0;
        QTest::newRow("grey on light grey") << 230 << 70;
        QTest::newRow("white on black") << 0 << 255;
    }
    void cleanDrawingsAreSplitInTheMiddle()
    {
        QFETCH(int, paper);
        QFETCH(int, ink);
        std::vector<int> values(1000, paper);
        for (int i = 0; i < 90; ++i)
            values.push_back(paper + (ink - paper) * i / 90);
        values.insert(values.end(), 10, ink);
        const Histogram counts = tonesOf(GreyPicture(greys(values))).counts;
        QVERIFY(std::abs(inkThreshold(counts) - (paper + ink) / 2) <= 6);
        QVERIFY(std::abs(otsuThreshold(counts) - (paper + ink) / 2) > 6);
    }

    // A quarter of the pixels of small letters are soft, and as many of them are nearly white as
    // are nearly black.
    void smallLettersAreNoNoise()
    {
        std::vector<int> values(7500, 210);
        for (int i = 0; i < 2500; ++i)
            values.push_back(60 + 149 * (i * i % 2500) / 2500);
        const Histogram counts = tonesOf(GreyPicture(greys(values))).counts;
        QVERIFY(isDrawn(counts));
        const InkTones tones = inkTones(counts, inkThreshold(counts));
        QVERIFY2(tones.ink >= 60 && tones.ink <= 62, qPrintable(QString::number(tones.ink)));
        QCOMPARE(tones.paper, 210);
        QVERIFY(!isDrawn(tonesOf(GreyPicture(greys({ 0, 255, 255 }))).counts));
        QCOMPARE(inkTones(tonesOf(GreyPicture(greys({ 255, 255 }))).counts, 127).ink, 0);
    }

    // Three in a row or a column; two are a mixture that comes twice.
    // Paper whose noise is a step of 17 or more: a scan in few greys, whatever lies beside the
    // step.
    void scansInFewGreysAreNotDrawn()
    {
        for (int step : { 2, 17, 21 }) {
            Histogram counts = {};
            counts[std::size_t(230)] = 6000;
            counts[std::size_t(230 - step)] = 900;
            counts[std::size_t(60)] = 300;
            counts[std::size_t(120)] = 80;
            QVERIFY(!isDrawn(counts));
            counts[std::size_t(230 - step)] = 90; // no noise: what soft edges have
            QVERIFY(isDrawn(counts));
        }
    }

    void flatTonesAreSeen()
    {
        QVERIFY(isSeenFlat(GreyPicture(greys({ 255, 90, 91, 89, 255 })), 90));
        QVERIFY(!isSeenFlat(GreyPicture(greys({ 255, 90, 90, 255, 90 })), 90));
        QVERIFY(!isSeenFlat(GreyPicture(greys({ 255, 90, 94, 90, 255 })), 90));
        QImage column(3, 5, QImage::Format_Grayscale8);
        column.fill(255);
        for (int y = 2; y < 4; ++y)
            column.scanLine(y)[1] = 90;
        QVERIFY(!isSeenFlat(GreyPicture(column), 90));
        column.scanLine(4)[1] = 90;
        QVERIFY(isSeenFlat(GreyPicture(column), 90));
    }

    void noisyPagesAreSplitByOtsu()
    {
        std::mt19937 random(4);
        std::vector<int> values;
        for (int i = 0; i < 4000; ++i)
            values.push_back((i % 20 == 0 ? 40 : 240) + int(random() % 9) - 4);
        const Histogram counts = tonesOf(GreyPicture(greys(values))).counts;
        QCOMPARE(inkThreshold(counts), otsuThreshold(counts));
        QCOMPARE(inkThreshold(tonesOf(GreyPicture(greys({ 255, 255 }))).counts), 127);
    }

    void twoValuesAreSplitWithoutRest()
    {
        const Tones tones = tonesOf(GreyPicture(greys({ 10, 10, 240 })));
        QCOMPARE(unevenness(tones.counts, 100), 0.0);
        QCOMPARE(tones.lightnesses(), 2);
    }

    void shadowsAreSeen()
    {
        QVERIFY(isUnevenlyLit(tonesOf(GreyPicture(page(480, 0.3)))));
        QVERIFY(!isUnevenlyLit(tonesOf(GreyPicture(page(480, 0.95)))));
    }

    void evenLightGivesTheWholePageBack()
    {
        ScanPlan plan;
        const CleanPage clean = cleanPage(Picture(page(480, 0.3)), plan);
        QVERIFY(clean.evenedOut);
        // Paper in the shade is lighter than the threshold, ink in the light darker.
        const uint8_t *paper = clean.page.row(8, nullptr);
        QVERIFY(paper[470] > clean.threshold);
        const uint8_t *ink = clean.page.row(1, nullptr);
        QVERIFY(ink[20] <= clean.threshold);
        plan.threshold = Threshold::Otsu;
        QVERIFY(!cleanPage(Picture(page(480, 0.3)), plan).evenedOut);
    }

    void fixedThresholdsHold()
    {
        ScanPlan plan;
        plan.threshold = Threshold::Fixed;
        plan.fixedThreshold = 200;
        const CleanPage clean = cleanPage(Picture(greys({ 0, 100, 200, 255 })), plan);
        QCOMPARE(clean.threshold, 200);
        QVERIFY(clean.wholePage);
    }

    void specksAndPinholesGo()
    {
        QImage image(40, 20, QImage::Format_Grayscale8);
        image.fill(255);
        for (int y = 4; y < 16; ++y) {
            for (int x = 4; x < 20; ++x)
                image.scanLine(y)[x] = 0;
        }
        image.scanLine(8)[10] = 255;
        image.scanLine(3)[30] = image.scanLine(4)[31] = 0;
        ScanPlan plan;
        plan.despeckle = 2;
        const CleanPage clean = cleanPage(Picture(image), plan);
        QVERIFY(clean.bilevel);
        std::vector<uint8_t> buffer(40);
        QCOMPARE(int(clean.page.row(8, buffer.data())[10]), 0);
        QCOMPARE(int(clean.page.row(3, buffer.data())[30]), 255);
        QCOMPARE(int(clean.page.row(4, buffer.data())[31]), 255);
        QCOMPARE(int(clean.page.row(8, buffer.data())[11]), 0);
    }
};

QTEST_GUILESS_MAIN(tst_Tones)
#include "tst_tones.moc"
