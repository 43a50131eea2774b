// (c) the ztrace developers. Licence: see LICENSE.
//
// Quantization: nearest entries, cycles, re-drawn entries, what is kept.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/FakeRand.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QtTest>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#endif

#include <cmath>
#include <limits>

using ztrace::difference;
using ztrace::FakeRand;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

using Palette = QVector<QVector<char>>;

QVector<char> entry(int r, int g, int b, int a)
{
    return QVector<char>({ char(r), char(g), char(b), char(a) });
}

// A tracer that holds a picture as it is and quantizes it without blur.
struct Quantizer : ZTraceBitmap
{
    explicit Quantizer(const ztrace::Picture &picture, const Palette &palette = Palette(),
                       double cycles = 1)
    {
        loadImageData(picture.toImage());
        currentPalette = palette;
        setOption("blurradius", 0);
        setOption("colorquantcycles", cycles);
        setOption("mincolorratio", 0);
    }
    int indexAt(int x, int y) const { return indexedImage.indices.at(y + 1).at(x + 1); }
};

// Two reds, 10 and 20, one pixel each.
ztrace::Picture twoPixels()
{
    ztrace::Picture picture = ztrace::uniformPicture(2, 1, 0xFF0A0000u);
    picture.at(1, 0) = 0xFF140000u;
    return picture;
}

} // namespace

class tst_Quantization : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }
    void init() { FakeRand::reset(); }

    void tieGoesToTheLowerIndex();
    void farPixelFallsToEntryZero();
    void distanceJustBelowTheCutCounts();
    void alphaCountsFourTimes();
    void bytesAreComparedSigned();
    void entriesMoveToTheMeanOfTheirPixels();
    void meanOfTransparentPixels_data();
    void meanOfTransparentPixels();
    void entryWithoutPixelsStays();
    void entryWithZeroAlphaSumStays();
    void meanIsTruncated();
    void nothingIsRedrawnAtRatioZero();
    void everyEntryIsRedrawnAboveRatioOne_data();
    void everyEntryIsRedrawnAboveRatioOne();
    void redrawsFollowTheDraws();
    void ratioIsComparedInSinglePrecision();
    void oneCycleKeepsTheStartPalette_data();
    void oneCycleKeepsTheStartPalette();
    void noCycleLeavesIndexZero_data();
    void noCycleLeavesIndexZero();
    void borderIsMinusOne_data();
    void borderIsMinusOne();
    void secondRunStartsFromTheFirstPalette();
    void paletteMakerIsChosenByExactZero_data();
    void paletteMakerIsChosenByExactZero();
    void sampledBeforeTheBlur();
    void blurRadiusSelectsTheBlur_data();
    void blurRadiusSelectsTheBlur();
    void emptyPaletteStaysEmptyUntilTheNextTrace_data();
    void emptyPaletteStaysEmptyUntilTheNextTrace();
    void emptyImageHasItsBorder();
    void tracedLayersAreEmptied();
    void publishedPaletteIsACopy();
    void sizesWithoutPixelsBehindThem_data();
    void sizesWithoutPixelsBehindThem();
};

void tst_Quantization::tieGoesToTheLowerIndex()
{
    Quantizer q(twoPixels(), { entry(5, 0, 0, -1), entry(15, 0, 0, -1), entry(25, 0, 0, -1) });
    q.colorquantization();
    QCOMPARE(q.indexAt(0, 0), 0);
    QCOMPARE(q.indexAt(1, 0), 1);
}

void tst_Quantization::farPixelFallsToEntryZero()
{
    Quantizer q(ztrace::uniformPicture(1, 1, 0x7F7F7F7Fu),
                { entry(-128, -128, -128, -128), entry(0, 0, 0, -128) });
    q.colorquantization();
    QCOMPARE(q.indexAt(0, 0), 0);
}

void tst_Quantization::distanceJustBelowTheCutCounts()
{
    // 4 * 255 + 3 = 1023 is nearer than the cut, 1024 is not.
    const ztrace::Picture picture = ztrace::uniformPicture(1, 1, 0x80000000u);
    Quantizer near(picture, { entry(127, 127, 127, 127), entry(3, 0, 0, 127) });
    near.colorquantization();
    QCOMPARE(near.indexAt(0, 0), 1);
    Quantizer far(picture, { entry(127, 127, 127, 127), entry(4, 0, 0, 127) });
    far.colorquantization();
    QCOMPARE(far.indexAt(0, 0), 0);
}

void tst_Quantization::alphaCountsFourTimes()
{
    const ztrace::Picture picture = ztrace::uniformPicture(1, 1, 0x0A000000u);
    Quantizer q(picture, { entry(0, 0, 0, 0), entry(13, 13, 13, 10), entry(13, 13, 14, 10) });
    q.colorquantization();
    QCOMPARE(q.indexAt(0, 0), 1); // 39 against 40
    Quantizer tie(picture, { entry(0, 0, 0, 0), entry(13, 13, 14, 10) });
    tie.colorquantization();
    QCOMPARE(tie.indexAt(0, 0), 0); // 40 against 40
}

void tst_Quantization::bytesAreComparedSigned()
{
    // Opaque white is next to black, not to 127.
    Quantizer q(ztrace::uniformPicture(1, 1, 0xFFFFFFFFu),
                { entry(127, 127, 127, -1), entry(0, 0, 0, -1) });
    q.colorquantization();
    QCOMPARE(q.indexAt(0, 0), 1);
}

void tst_Quantization::entriesMoveToTheMeanOfTheirPixels()
{
    ztrace::Picture picture = ztrace::uniformPicture(4, 1, 0xFF0A0000u);
    picture.at(1, 0) = 0xFF140000u;
    picture.at(2, 0) = 0xFF500000u;
    picture.at(3, 0) = 0xFF5A0000u;
    Quantizer q(picture, { entry(0, 0, 0, -1), entry(100, 0, 0, -1) }, 2);
    q.colorquantization();
    const Palette expected({ entry(15, 0, 0, -1), entry(85, 0, 0, -1) });
    QCOMPARE(difference(q.currentPalette, expected), QString());
    QCOMPARE(FakeRand::draws(), 0);
}

void tst_Quantization::meanOfTransparentPixels_data()
{
    QTest::addColumn<quint32>("word");
    QTest::addColumn<QVector<char>>("expected");
    // A loaded alpha of 0 adds 128 to the sum.
    QTest::newRow("fully transparent pixels move their entry")
        << 0x00102030u << entry(0x10, 0x20, 0x30, 0);
    QTest::newRow("alpha 128 adds nothing, the entry stays") << 0x80102030u << entry(1, 2, 3, -120);
    QTest::newRow("alpha 129 adds one") << 0x81102030u << entry(0x10, 0x20, 0x30, -127);
}

void tst_Quantization::meanOfTransparentPixels()
{
    QFETCH(quint32, word);
    QFETCH(QVector<char>, expected);
    const int alpha = word == 0x00102030u ? 5 : -120;
    Quantizer q(ztrace::uniformPicture(2, 2, word), { entry(1, 2, 3, alpha) }, 3);
    q.colorquantization();
    QCOMPARE(difference(q.currentPalette.at(0), expected), QString());
}

void tst_Quantization::entryWithoutPixelsStays()
{
    Quantizer q(twoPixels(), { entry(12, 0, 0, -1), entry(9, 9, 90, 90) }, 4);
    q.colorquantization();
    QCOMPARE(difference(q.currentPalette.at(1), entry(9, 9, 90, 90)), QString());
}

void tst_Quantization::entryWithZeroAlphaSumStays()
{
    ztrace::Picture picture = twoPixels();
    picture.at(0, 0) = 0x80646464u;
    Quantizer q(picture, { entry(0, 0, 0, -128), entry(15, 0, 0, -1) }, 4);
    q.colorquantization();
    QCOMPARE(q.indexAt(0, 0), 0);
    QCOMPARE(difference(q.currentPalette.at(0), entry(0, 0, 0, -128)), QString());
    QCOMPARE(difference(q.currentPalette.at(1), entry(20, 0, 0, -1)), QString());
}

void tst_Quantization::meanIsTruncated()
{
    // Reds 0, 0 and 2 stored as 128, 128 and 130: 386 / 3 = 128. Greens -1, -1, 0 likewise: 127.
    ztrace::Picture picture = ztrace::uniformPicture(3, 1, 0xFF00FF00u);
    picture.at(2, 0) = 0xFF020000u;
    Quantizer q(picture, { entry(0, 0, 0, -1) }, 2);
    q.colorquantization();
    QCOMPARE(difference(q.currentPalette.at(0), entry(0, -1, 0, -1)), QString());
}

void tst_Quantization::nothingIsRedrawnAtRatioZero()
{
    for (const double ratio : { 0.0, -0.0, -1.0, kNan, -kInfinity }) {
        Quantizer q(twoPixels(), { entry(10, 0, 0, -1), entry(9, 9, 90, 90) }, 5);
        q.setOption("mincolorratio", ratio);
        q.colorquantization();
        QCOMPARE(FakeRand::draws(), 0);
    }
}

void tst_Quantization::everyEntryIsRedrawnAboveRatioOne_data()
{
    QTest::addColumn<double>("cycles");
    QTest::addColumn<int>("rounds");
    QTest::newRow("one cycle: never") << 1.0 << 0;
    QTest::newRow("two cycles: never, the second is the last") << 2.0 << 0;
    QTest::newRow("three cycles: once") << 3.0 << 1;
    QTest::newRow("six cycles: four times") << 6.0 << 4;
    QTest::newRow("a fraction is floored") << 4.9 << 2;
}

void tst_Quantization::everyEntryIsRedrawnAboveRatioOne()
{
    QFETCH(double, cycles);
    QFETCH(int, rounds);
    for (const double ratio : { 1.000001, 2.0, kInfinity }) {
        FakeRand::reset();
        Quantizer q(twoPixels(), Palette(3, entry(10, 0, 0, -1)), cycles);
        q.setOption("mincolorratio", ratio);
        q.colorquantization();
        QCOMPARE(FakeRand::draws(), rounds * 3 * 4);
    }
}

void tst_Quantization::redrawsFollowTheDraws()
{
    // Entry 0 takes both pixels, entry 1 none and is drawn as R, G, B, A.
    FakeRand::reset({ 0, 2147483647, 1073741824, 8421505 });
    Quantizer q(twoPixels(), { entry(10, 0, 0, -1), entry(9, 9, 90, 90) }, 3);
    q.setOption("mincolorratio", 0.1);
    q.colorquantization();
    QCOMPARE(FakeRand::draws(), 4);
    QCOMPARE(difference(q.currentPalette.at(1), entry(-128, 127, -1, -127)), QString());
    QCOMPARE(difference(q.currentPalette.at(0), entry(15, 0, 0, -1)), QString());
}

void tst_Quantization::ratioIsComparedInSinglePrecision()
{
    // One pixel of three: as a float the third is larger than as a double.
    ztrace::Picture picture = ztrace::uniformPicture(3, 1, 0xFF000000u);
    picture.at(2, 0) = 0xFF640000u;
    const Palette palette({ entry(0, 0, 0, -1), entry(100, 0, 0, -1) });
    const double third = 1.0 / 3.0;
    const double thirdOfFloat = static_cast<double>(static_cast<float>(third));
    QVERIFY(thirdOfFloat > third);

    Quantizer same(picture, palette, 3);
    same.setOption("mincolorratio", thirdOfFloat); // not strictly greater
    same.colorquantization();
    QCOMPARE(FakeRand::draws(), 0);

    Quantizer between(picture, palette, 3);
    between.setOption("mincolorratio", (thirdOfFloat + third) / 2);
    between.colorquantization();
    QCOMPARE(FakeRand::draws(), 0);

    Quantizer above(picture, palette, 3);
    above.setOption("mincolorratio", std::nextafter(thirdOfFloat, 1.0));
    above.colorquantization();
    QCOMPARE(FakeRand::draws(), 4);
}

void tst_Quantization::oneCycleKeepsTheStartPalette_data()
{
    QTest::addColumn<double>("cycles");
    QTest::newRow("one") << 1.0;
    QTest::newRow("one and a fraction") << 1.99;
}

void tst_Quantization::oneCycleKeepsTheStartPalette()
{
    QFETCH(double, cycles);
    const Palette palette({ entry(11, 0, 0, -1), entry(19, 0, 0, -1) });
    Quantizer q(twoPixels(), palette, cycles);
    q.setOption("mincolorratio", 2);
    q.colorquantization();
    QCOMPARE(difference(q.currentPalette, palette), QString());
    QCOMPARE(q.indexAt(0, 0), 0);
    QCOMPARE(q.indexAt(1, 0), 1);
}

void tst_Quantization::noCycleLeavesIndexZero_data()
{
    QTest::addColumn<double>("cycles");
    QTest::newRow("zero") << 0.0;
    QTest::newRow("below one") << 0.99;
    QTest::newRow("a negative fraction") << -0.5;
    QTest::newRow("minus three") << -3.0;
    QTest::newRow("not a number") << kNan;
    QTest::newRow("minus infinity") << -kInfinity;
    QTest::newRow("-1e300") << -1e300;
}

void tst_Quantization::noCycleLeavesIndexZero()
{
    QFETCH(double, cycles);
    const Palette palette({ entry(11, 0, 0, -1), entry(19, 0, 0, -1) });
    Quantizer q(twoPixels(), palette, cycles);
    q.colorquantization();
    QCOMPARE(q.indexAt(0, 0), 0);
    QCOMPARE(q.indexAt(1, 0), 0);
    QCOMPARE(difference(q.currentPalette, palette), QString());
    QCOMPARE(difference(q.indexedImage.palette, palette), QString());
}

void tst_Quantization::borderIsMinusOne_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("one pixel") << 1 << 1;
    QTest::newRow("one row") << 9 << 1;
    QTest::newRow("one column") << 1 << 9;
    QTest::newRow("a rectangle") << 7 << 5;
}

void tst_Quantization::borderIsMinusOne()
{
    QFETCH(int, width);
    QFETCH(int, height);
    Quantizer q(ztrace::uniformPicture(width, height), { entry(0, 0, 0, -1) });
    q.colorquantization();
    const QVector<QVector<int>> &grid = q.indexedImage.indices;
    QCOMPARE(q.indexedImage.width, width);
    QCOMPARE(q.indexedImage.height, height);
    QCOMPARE(grid.size(), height + 2);
    for (int r = 0; r < height + 2; ++r) {
        QCOMPARE(grid.at(r).size(), width + 2);
        for (int c = 0; c < width + 2; ++c) {
            const bool border = r == 0 || c == 0 || r == height + 1 || c == width + 1;
            QCOMPARE(grid.at(r).at(c), border ? -1 : 0);
        }
    }
}

void tst_Quantization::secondRunStartsFromTheFirstPalette()
{
    Quantizer q(twoPixels(), Palette(), 3);
    q.setOption("numberofcolors", 2);
    q.setOption("colorsampling", 0);
    q.colorquantization();
    const Palette first = q.currentPalette;
    q.setOption("numberofcolors", 5);
    q.setOption("colorsampling", 1);
    q.setOption("colorquantcycles", 1);
    q.colorquantization();
    QCOMPARE(difference(q.currentPalette, first), QString());
    QCOMPARE(FakeRand::draws(), 0);
}

void tst_Quantization::paletteMakerIsChosenByExactZero_data()
{
    QTest::addColumn<double>("colorsampling");
    QTest::addColumn<bool>("sampled");
    QTest::newRow("zero generates") << 0.0 << false;
    QTest::newRow("negative zero generates") << -0.0 << false;
    QTest::newRow("one samples") << 1.0 << true;
    QTest::newRow("a tiny fraction samples") << 1e-300 << true;
    QTest::newRow("a negative value samples") << -1.0 << true;
    QTest::newRow("not a number samples") << kNan << true;
    QTest::newRow("infinity samples") << kInfinity << true;
}

void tst_Quantization::paletteMakerIsChosenByExactZero()
{
    QFETCH(double, colorsampling);
    QFETCH(bool, sampled);
    Quantizer q(twoPixels());
    q.setOption("colorsampling", colorsampling);
    q.setOption("numberofcolors", 4.9);
    q.colorquantization();
    QCOMPARE(q.currentPalette.size(), 4);
    QCOMPARE(FakeRand::draws(), sampled ? 4 : 0);
    QCOMPARE(int(q.currentPalette.at(0).at(3)), sampled ? -1 : 127);
}

void tst_Quantization::sampledBeforeTheBlur()
{
    ztrace::Picture picture = ztrace::uniformPicture(3, 3, 0xFF000000u);
    picture.at(1, 1) = 0xFF640000u;
    Quantizer q(picture);
    q.setOption("blurradius", 1);
    q.setOption("numberofcolors", 1);
    FakeRand::reset({ 1073741824 }); // the middle of the image
    q.colorquantization();
    QCOMPARE(difference(q.currentPalette.at(0), entry(100, 0, 0, -1)), QString());
    QVERIFY(q.imageData.at(4 * 4) != 100);
}

void tst_Quantization::blurRadiusSelectsTheBlur_data()
{
    QTest::addColumn<double>("radius");
    QTest::addColumn<bool>("blurs");
    QTest::newRow("zero") << 0.0 << false;
    QTest::newRow("negative") << -3.0 << false;
    QTest::newRow("not a number") << kNan << false;
    QTest::newRow("below one") << 0.9 << false;
    QTest::newRow("one") << 1.0 << true;
    QTest::newRow("just below two is two in single precision") << 1.9999999999 << true;
    QTest::newRow("infinity") << kInfinity << true;
    QTest::newRow("1e300") << 1e300 << true;
}

void tst_Quantization::blurRadiusSelectsTheBlur()
{
    QFETCH(double, radius);
    QFETCH(bool, blurs);
    ztrace::Picture picture = ztrace::uniformPicture(5, 5, 0xFF000000u);
    picture.at(2, 2) = 0xFF640000u;
    Quantizer q(picture);
    const QVector<char> before = q.imageData;
    q.setOption("blurradius", radius);
    q.colorquantization();
    QCOMPARE(q.imageData != before, blurs);
    if (blurs) {
        Quantizer expected(picture);
        expected.blur(static_cast<float>(qMin(radius, 5.0)), 2000);
        QCOMPARE(difference(q.imageData, expected.imageData), QString());
    }
}

void tst_Quantization::emptyPaletteStaysEmptyUntilTheNextTrace_data()
{
    QTest::addColumn<double>("numberofcolors");
    QTest::newRow("zero") << 0.0;
    QTest::newRow("a fraction") << 0.9;
    QTest::newRow("a negative number") << -4.0;
    QTest::newRow("not a number") << kNan;
    QTest::newRow("20 million") << 20000000.0;
    QTest::newRow("1e300") << 1e300;
    QTest::newRow("infinity") << kInfinity;
    QTest::newRow("minus infinity") << -kInfinity;
}

void tst_Quantization::emptyPaletteStaysEmptyUntilTheNextTrace()
{
    QFETCH(double, numberofcolors);
    for (const double sampling : { 0.0, 1.0 }) {
        ZTraceBitmap tracer;
        tracer.setOption("colorsampling", sampling);
        tracer.setOption("numberofcolors", numberofcolors);
        tracer.setOption("pathomit", 0);
        const QImage image = ztrace::uniformPicture(4, 3).toImage();
        QVERIFY(tracer.trace(image).isEmpty());
        QVERIFY(tracer.currentPalette.isEmpty());
        QVERIFY(tracer.indexedImage.palette.isEmpty());
        QVERIFY(tracer.indexedImage.tracedLayers.isEmpty());
        QCOMPARE(tracer.indexedImage.indices.at(1), QVector<int>({ -1, 0, 0, 0, 0, -1 }));
        QVERIFY(tracer.layering().isEmpty());

        tracer.setOption("numberofcolors", 4);
        tracer.setOption("colorquantcycles", 1);
        QCOMPARE(tracer.trace(image).size(), 1);
        QCOMPARE(tracer.currentPalette.size(), 4);
    }
}

void tst_Quantization::emptyImageHasItsBorder()
{
    ZTraceBitmap tracer;
    tracer.setOption("mincolorratio", 5);
    tracer.setOption("colorsampling", 0);
    tracer.setOption("numberofcolors", 4);
    tracer.loadImageData(QImage());
    tracer.colorquantization();
    QCOMPARE(tracer.indexedImage.width, 0);
    QCOMPARE(tracer.indexedImage.height, 0);
    QCOMPARE(tracer.indexedImage.indices,
             QVector<QVector<int>>({ QVector<int>({ -1, -1 }), QVector<int>({ -1, -1 }) }));
    QCOMPARE(tracer.indexedImage.palette.size(), 4);
    QCOMPARE(FakeRand::draws(), 0);

    ZTraceBitmap sampling;
    sampling.setOption("numberofcolors", 3);
    sampling.loadImageData(QImage());
    sampling.colorquantization();
    QCOMPARE(difference(sampling.currentPalette, Palette(3, entry(0, 0, 0, 0))), QString());
    QCOMPARE(FakeRand::draws(), 3);
}

void tst_Quantization::tracedLayersAreEmptied()
{
    ZTraceBitmap tracer;
    tracer.setOption("pathomit", 0);
    tracer.trace(ztrace::uniformPicture(4, 3).toImage());
    QVERIFY(!tracer.indexedImage.tracedLayers.isEmpty());
    tracer.colorquantization();
    QVERIFY(tracer.indexedImage.tracedLayers.isEmpty());
}

void tst_Quantization::publishedPaletteIsACopy()
{
    Quantizer q(twoPixels(), { entry(11, 0, 0, -1), entry(19, 0, 0, -1) }, 3);
    q.colorquantization();
    QCOMPARE(difference(q.indexedImage.palette, q.currentPalette), QString());
    q.currentPalette[0][0] = 99;
    QVERIFY(q.indexedImage.palette.at(0).at(0) != 99);
}

void tst_Quantization::sizesWithoutPixelsBehindThem_data()
{
    const int most = std::numeric_limits<int>::max();
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rows");
    QTest::newRow("a few more than there are") << 3 << 5 << 5 << 7;
    QTest::newRow("half a thousand million") << 20000 << 20000 << 2 << 2;
    QTest::newRow("no columns, many rows") << 0 << 500000000 << 2 << 2;
    QTest::newRow("many columns, no rows") << most << 0 << 2 << 2;
    QTest::newRow("the largest") << most << most << 2 << 2;
    QTest::newRow("negative") << -2 << -3 << 2 << 2;
    QTest::newRow("the lowest") << std::numeric_limits<int>::min() << 1 << 2 << 2;
}

// Somebody has changed the sizes and calls one stage alone: no gigabytes for pixels that are not
// there.
void tst_Quantization::sizesWithoutPixelsBehindThem()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, columns);
    QFETCH(int, rows);
    Quantizer tracer(twoPixels(), Quantizer::Palette(), 3);
    tracer.setOption("blurradius", 2);
    tracer.imageWidth = width;
    tracer.imageHeight = height;
#ifdef Q_OS_LINUX
    rusage before;
    rusage after;
    getrusage(RUSAGE_SELF, &before);
    tracer.colorquantization();
    getrusage(RUSAGE_SELF, &after);
    QVERIFY2(after.ru_maxrss - before.ru_maxrss < 64 * 1024, "more than 64 MB");
#else
    tracer.colorquantization();
#endif
    QCOMPARE(tracer.indexedImage.indices.size(), rows);
    QCOMPARE(tracer.indexedImage.indices.first().size(), columns);
    QCOMPARE(tracer.indexedImage.width, columns - 2);
    QVERIFY(tracer.getPolylines().isEmpty());
    tracer.layering();
}

QTEST_GUILESS_MAIN(tst_Quantization)
#include "tst_quantization.moc"
