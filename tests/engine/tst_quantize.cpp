// (c) the ztrace developers. Licence: see LICENSE.
//
// The door for colours against the tracer's own stage, on random images, palettes and options.
// ZTRACE_TEST_SEED in the environment takes another seed.
#include "engine/ZTraceBitmap.h"
#include "engine/kernels/stop.h"
#include "engine/quantize.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QImage>
#include <QtTest>

#include <atomic>
#include <cstdlib>

using ztrace::FlatPalette;
using ztrace::PixelLayout;
using ztrace::PixelView;
using ztrace::Quantized;
using ztrace::QuantizeOptions;
using ztrace::Random;

namespace {

QImage randomImage(Random &random)
{
    QImage image(random.between(1, 40), random.between(1, 40), QImage::Format_ARGB32);
    const int colours = random.oneIn(2) ? 5 : 4000;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int colour = random.below(colours);
            const int alpha = random.oneIn(3) ? random.below(256) : 255;
            image.setPixel(x, y, qRgba(colour * 7, colour * 31 + 90, colour / 3, alpha));
        }
    }
    return image;
}

QuantizeOptions randomQuantizing(Random &random)
{
    const double colours[] = { -1, 0, 1, 2, 7.9, 16, 30, 300 };
    const double shares[] = { 0, 0.02, 0.1, 2 };
    const double cycles[] = { 0, 1, 2, 3.5, 9 };
    const double radii[] = { 0, 0, 0.5, 1, 3, 9 };
    const double deltas[] = { 2000, 40, -7.5 };
    QuantizeOptions options;
    options.numberofcolors = colours[random.below(8)];
    options.mincolorratio = shares[random.below(4)];
    options.colorquantcycles = cycles[random.below(5)];
    options.colorsampling = random.below(2);
    options.blurradius = radii[random.below(6)];
    options.blurdelta = deltas[random.below(3)];
    return options;
}

void setOptions(const QuantizeOptions &options, ZTraceBitmap *tracer)
{
    tracer->setOption("numberofcolors", options.numberofcolors);
    tracer->setOption("mincolorratio", options.mincolorratio);
    tracer->setOption("colorquantcycles", options.colorquantcycles);
    tracer->setOption("colorsampling", options.colorsampling);
    tracer->setOption("blurradius", options.blurradius);
    tracer->setOption("blurdelta", options.blurdelta);
}

FlatPalette flat(const ZTraceBitmap::Palette &palette)
{
    FlatPalette result;
    for (const QVector<char> &entry : palette)
        result.insert(result.end(), entry.begin(), entry.end());
    return result;
}

// First pixel whose index differs, or -1.
int firstDifference(const Quantized &quantized, const IndexedImage &expected)
{
    int first = -1;
    quantized.plane.visit([&](const auto *cells) {
        for (int y = expected.height; y-- > 0;) {
            for (int x = expected.width; x-- > 0;) {
                if (static_cast<int>(cells[(y + 1) * quantized.plane.stride() + x + 1])
                    != expected.indices.at(y + 1).at(x + 1))
                    first = y * expected.width + x;
            }
        }
    });
    return first;
}

} // namespace

class tst_Quantize : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void defaultsAreTheTracers()
    {
        const QMap<QString, double> defaults = ZTraceBitmap().options;
        const QuantizeOptions options;
        QCOMPARE(options.numberofcolors, defaults.value("numberofcolors"));
        QCOMPARE(options.mincolorratio, defaults.value("mincolorratio"));
        QCOMPARE(options.colorquantcycles, defaults.value("colorquantcycles"));
        QCOMPARE(options.colorsampling, defaults.value("colorsampling"));
        QCOMPARE(options.blurradius, defaults.value("blurradius"));
        QCOMPARE(options.blurdelta, defaults.value("blurdelta"));
    }

    void bytesGiveWhatTheTracerGives()
    {
        Random random(ztrace::testSeed());
        for (int i = 0; i < 400; ++i) {
            ZTraceBitmap tracer;
            const QuantizeOptions options = randomQuantizing(random);
            setOptions(options, &tracer);
            tracer.loadImageData(randomImage(random));
            const QVector<char> pixels = tracer.imageData;
            const PixelView view = { reinterpret_cast<const signed char *>(pixels.constData()),
                                     tracer.imageWidth, tracer.imageHeight };
            compare(view, FlatPalette(), options, &tracer, i);
            // The palette that the first run left is the start of the second, on the same pixels.
            tracer.imageData = pixels;
            compare(view, flat(tracer.currentPalette), options, &tracer, i);
        }
    }

    // A channel v of a word counts as v - 128: as the bytes of the image with all top bits
    // inverted.
    void wordsGiveWhatInvertedBytesGive()
    {
        Random random(ztrace::testSeed() + 1);
        for (int i = 0; i < 400; ++i) {
            const QImage image = randomImage(random);
            QImage inverted = image;
            for (int y = 0; y < image.height(); ++y) {
                QRgb *words = reinterpret_cast<QRgb *>(inverted.scanLine(y));
                for (int x = 0; x < image.width(); ++x)
                    words[x] ^= 0x80808080u;
            }
            ZTraceBitmap tracer;
            const QuantizeOptions options = randomQuantizing(random);
            setOptions(options, &tracer);
            tracer.loadImageData(inverted);
            const PixelView view = { reinterpret_cast<const signed char *>(image.constBits()),
                                     image.width(), image.height(), PixelLayout::ColourWords };
            compare(view, FlatPalette(), options, &tracer, i);
        }
    }

    void theImageStaysAsItIs()
    {
        Random random(ztrace::testSeed() + 2);
        const QImage image = randomImage(random);
        const QImage before = image.copy();
        QuantizeOptions options;
        options.blurradius = 3;
        ztrace::quantize({ reinterpret_cast<const signed char *>(image.constBits()), image.width(),
                           image.height(), PixelLayout::ColourWords },
                         FlatPalette(), options);
        QCOMPARE(image, before);
    }

    // Only where it is asked for, within and between cycles; and the tracer stays usable.
    void endsWhereAsked()
    {
        Random random(ztrace::testSeed() + 3);
        const QImage image = randomImage(random);
        const PixelView view = { reinterpret_cast<const signed char *>(image.constBits()),
                                 image.width(), image.height(), PixelLayout::ColourWords };
        const std::vector<signed char> palette = { 0, 0, 0, 127, 5, 5, 5, 127 };
        std::vector<ztrace::ColourSum> sums;
        ZTraceBitmap tracer;
        tracer.setOption("pathomit", 0);
        std::atomic<int> flag(1);
        {
            const ztrace::StoppedBy guard(&flag);
            QVERIFY_EXCEPTION_THROWN(ztrace::quantize(view, FlatPalette(), QuantizeOptions()),
                                     ztrace::Stopped);
            QVERIFY_EXCEPTION_THROWN(ztrace::assignPlain(view, palette, &sums, nullptr),
                                     ztrace::Stopped);
            QVERIFY_EXCEPTION_THROWN(ztrace::assignFast(view, palette, &sums, nullptr),
                                     ztrace::Stopped);
            QVERIFY(tracer.trace(image).isEmpty());
            const ztrace::StoppedBy nobody(nullptr);
            ztrace::assignFast(view, palette, &sums, nullptr);
        }
        ztrace::assignFast(view, palette, &sums, nullptr);
        QVERIFY(!tracer.trace(image).isEmpty());
    }

private:
    // The same from the same random numbers, and as many of them drawn.
    void compare(const PixelView &view, const FlatPalette &start, const QuantizeOptions &options,
                 ZTraceBitmap *tracer, int round)
    {
        std::srand(static_cast<unsigned>(round));
        const Quantized quantized = ztrace::quantize(view, start, options);
        const int next = std::rand();
        std::srand(static_cast<unsigned>(round));
        tracer->colorquantization();
        QCOMPARE(std::rand(), next);
        QCOMPARE(quantized.palette, flat(tracer->currentPalette));
        QCOMPARE(quantized.plane.width(), tracer->indexedImage.width);
        QCOMPARE(quantized.plane.height(), tracer->indexedImage.height);
        const int difference = firstDifference(quantized, tracer->indexedImage);
        QVERIFY2(difference < 0,
                 qPrintable(QString("round %1, pixel %2").arg(round).arg(difference)));
    }
};

QTEST_GUILESS_MAIN(tst_Quantize)
#include "tst_quantize.moc"
