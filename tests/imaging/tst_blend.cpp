// (c) the ztrace developers. Licence: see LICENSE.
//
// Blends against the tracer's own stage, which takes an image with the top bits of its channels
// inverted. ZTRACE_TEST_SEED in the environment takes another seed.
#include "engine/ZTraceBitmap.h"
#include "imaging/blend.h"
#include "imaging/failure.h"
#include "support/Messages.h"
#include "RandomImages.h"

#include <QImage>
#include <QtTest>

#include <cstdlib>
#include <set>

using namespace ztrace;
using namespace randomimages;

namespace {

typedef std::map<std::string, double> Options;

QImage invertedTopBits(QImage image)
{
    for (int y = 0; y < image.height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            words[x] ^= 0x80808080u;
    }
    return image;
}

// The colour of every pixel as the tracer's stage leaves it.
std::vector<QRgb> plainColours(const QImage &loaded, const std::vector<QRgb> &start,
                               const Options &options)
{
    ZTraceBitmap tracer;
    for (const auto &option : options)
        tracer.setOption(QString::fromStdString(option.first), option.second);
    for (QRgb colour : start) {
        QVector<char> entry;
        for (int value : { qRed(colour), qGreen(colour), qBlue(colour), qAlpha(colour) })
            entry.append(static_cast<char>(value - 128));
        tracer.currentPalette.append(entry);
    }
    tracer.loadImageData(loaded);
    tracer.colorquantization();
    std::vector<QRgb> colours;
    for (int y = 1; y <= tracer.indexedImage.height; ++y) {
        for (int x = 1; x <= tracer.indexedImage.width; ++x) {
            const QVector<char> &entry
                = tracer.currentPalette.at(tracer.indexedImage.indices.at(y).at(x));
            colours.push_back(
                colourOfEntry(reinterpret_cast<const signed char *>(entry.constData())));
        }
    }
    return colours;
}

// Fully transparent ones as one.
std::vector<QRgb> joined(std::vector<QRgb> colours)
{
    for (QRgb &colour : colours)
        colour = qAlpha(colour) == 0 ? 0u : colour;
    return colours;
}

std::vector<QRgb> coloursIn(const LabelPlane &plane)
{
    std::vector<QRgb> colours;
    for (uint16_t label : plane.labels)
        colours.push_back(plane.colours.at(label));
    return colours;
}

const Options kPlain = {
    { "monochrome", 0 }, { "mincolorratio", 0 }, { "blurradius", 0 }, { "colorquantcycles", 3 }
};

} // namespace

class tst_Blend : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { switchDebugOutput(false); }

    void equalsTheTracersStage()
    {
        Random random(testSeed());
        for (int i = 0; i < 300; ++i) {
            const QImage image = randomImage(random, 40);
            const double starts[] = { 2, 5, 17, 300 };
            Options options = kPlain;
            options["numberofcolors"] = starts[random.below(4)];
            options["colorsampling"] = random.below(2);
            options["mincolorratio"] = random.oneIn(2) ? 0.05 : 0.0;
            options["blurradius"] = random.oneIn(3) ? 2 : 0;
            std::vector<QRgb> start;
            for (int k = random.below(6); k > 0; --k)
                start.push_back(random.word());
            std::srand(static_cast<unsigned>(i));
            const LabelPlane plane = reduceBlend(image, start, options);
            const int next = std::rand();
            std::srand(static_cast<unsigned>(i));
            const std::vector<QRgb> expected
                = joined(plainColours(invertedTopBits(image), start, options));
            QCOMPARE(std::rand(), next);
            QVERIFY2(coloursIn(plane) == expected, qPrintable(QString("round %1").arg(i)));
            QCOMPARE(std::set<QRgb>(plane.colours.begin(), plane.colours.end()).size(),
                     plane.colours.size());
        }
    }

    void channelsKeepTheOrderOfTheirValues()
    {
        // As signed bytes 120 and 140 would be far apart.
        QImage image(21, 12, QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const int grey = x < 10 ? 120 : x > 10 ? 250 : 140;
                image.setPixel(x, y, qRgb(grey, grey, grey));
            }
        }
        const LabelPlane plane
            = reduceBlend(image, { qRgb(130, 130, 130), qRgb(240, 240, 240) }, kPlain);
        QCOMPARE(int(plane.labels[10]), 0);
        QCOMPARE(plane.colours[1], qRgb(250, 250, 250));
        QCOMPARE(qRed(plane.colours[0]), (10 * 120 + 140) / 11);
    }

    void equalAndClearColoursAreOneLabel()
    {
        QImage image(4, 1, QImage::Format_ARGB32);
        image.fill(0xFF204060u);
        image.setPixel(0, 0, 0u);
        image.setPixel(1, 0, 0x02FFFFFFu);
        const LabelPlane plane
            = reduceBlend(image, { 0xFF204060u, 0x00000000u, 0xFF204060u, 0x02FFFFFFu }, kPlain);
        QCOMPARE(plane.colours, (std::vector<QRgb> { 0xFF204060u, 0u }));
        QCOMPARE(plane.labels, (std::vector<uint16_t> { 1, 1, 0, 0 }));
    }

    // A caller's own buffer may have rows with gaps.
    void rowsWithGapsAreRead()
    {
        std::vector<QRgb> words(8 * 3, 0xFF00FF00u);
        for (std::size_t y = 0; y < 3; ++y)
            std::fill_n(words.begin() + static_cast<std::ptrdiff_t>(8 * y), 5, 0xFFFF0000u);
        const QImage image(reinterpret_cast<const uchar *>(words.data()), 5, 3, 32,
                           QImage::Format_ARGB32);
        const LabelPlane plane = reduceBlend(image, { 0xFFFF0000u, 0xFF00FF00u }, kPlain);
        QCOMPARE(plane.labels, std::vector<uint16_t>(15, 0));
    }

    void inkIsTheTracersBlackAndWhite()
    {
        Random random(testSeed() + 1);
        for (int i = 0; i < 100; ++i) {
            const QImage image = randomImage(random, 40);
            Options options = kPlain;
            options["monochrome"] = 1;
            options["alphathreshold"] = 255;
            options["brightnessthreshold"] = random.below(256);
            options["colorsampling"] = random.below(2);
            options["numberofcolors"] = random.between(1, 9);
            std::srand(static_cast<unsigned>(i));
            const LabelPlane plane = reduceInk(image, options);
            QImage reduced = image;
            ZTraceBitmap tracer;
            tracer.setOption("alphathreshold", 255);
            tracer.setOption("brightnessthreshold", options["brightnessthreshold"]);
            tracer.preprocess(reduced);
            std::srand(static_cast<unsigned>(i));
            QCOMPARE(coloursIn(plane), plainColours(reduced, {}, options));
        }
    }

    void noPaletteIsAnError_data()
    {
        QTest::addColumn<double>("colours");
        QTest::newRow("none") << 0.0;
        QTest::newRow("more than the engine makes") << 1e9;
        QTest::newRow("more than labels can tell") << 65535.0;
    }

    void noPaletteIsAnError()
    {
        QFETCH(double, colours);
        QImage image(3, 3, QImage::Format_ARGB32);
        image.fill(0xFF204060u);
        Options options = kPlain;
        options["numberofcolors"] = colours;
        QVERIFY_EXCEPTION_THROWN(reduceBlend(image, {}, options), TraceError);
    }

    void entriesAndColoursMatch()
    {
        const auto andBack = [](QRgb colour) {
            std::vector<signed char> entry;
            appendEntryOf(colour, &entry);
            return colourOfEntry(entry.data());
        };
        for (QRgb colour : { 0xFF000000u, 0xFFFFFFFFu, 0x80123456u, 0xFF7F80FFu })
            QCOMPARE(andBack(colour), colour);
        QCOMPARE(qAlpha(andBack(0xF7000000u)), 255);
        QCOMPARE(qAlpha(andBack(0xF6000000u)), 0xF6);
        QCOMPARE(qAlpha(andBack(0x08000000u)), 0);
        QCOMPARE(qAlpha(andBack(0x09000000u)), 9);
    }
};

QTEST_GUILESS_MAIN(tst_Blend)
#include "tst_blend.moc"
