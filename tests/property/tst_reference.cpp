// (c) the ztrace developers. Licence: see LICENSE.
//
// The engine against the reference tracer: thousands of small random pictures with random options,
// stage by stage and from end to end, everything bit for bit.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Messages.h"
#include "support/Pictures.h"
#include "support/Reference.h"

#include <QColor>
#include <QtTest>

#include <cmath>
#include <cstdlib>
#include <vector>

using ztrace::difference;
using ztrace::Picture;
using ztrace::Random;
using ztrace::reference::Reference;

namespace {

using Options = QMap<QString, double>;

int lightness(int r, int g, int b)
{
    return QColor(r, g, b).lightness();
}

// The engine and the reference, set up alike.
struct Pair
{
    explicit Pair(const Options &options) : expected(lightness) { set(options); }

    void set(const Options &options)
    {
        for (auto it = options.begin(); it != options.end(); ++it) {
            tracer.setOption(it.key(), it.value());
            expected.options[it.key().toStdString()] = it.value();
        }
    }

    ZTraceBitmap tracer;
    Reference expected;
};

// What the members hold that stages leave behind; empty when all is the same.
QString stateDifference(const Pair &pair)
{
    const ZTraceBitmap &a = pair.tracer;
    const Reference &b = pair.expected;
    const QString found[] = {
        " imageWidth" + difference(a.imageWidth, b.imageWidth),
        " imageHeight" + difference(a.imageHeight, b.imageHeight),
        " imageData" + difference(a.imageData, b.imageData),
        " currentPalette" + difference(a.currentPalette, b.currentPalette),
        " width" + difference(a.indexedImage.width, b.indexedImage.width),
        " height" + difference(a.indexedImage.height, b.indexedImage.height),
        " indices" + difference(a.indexedImage.indices, b.indexedImage.indices),
        " palette" + difference(a.indexedImage.palette, b.indexedImage.palette),
        " tracedLayers" + difference(a.indexedImage.tracedLayers, b.indexedImage.tracedLayers),
    };
    for (const QString &text : found) {
        if (text.contains(':'))
            return text;
    }
    return QString();
}

// Runs both sides from the same state of rand(), and compares that state afterwards.
template<typename Engine, typename Expected>
QString runBoth(unsigned seed, Engine engine, Expected expected)
{
    std::srand(seed);
    engine();
    const int after = std::rand();
    std::srand(seed);
    expected();
    const int wanted = std::rand();
    return after == wanted ? QString() : QString(" state of rand()") + difference(after, wanted);
}

QString traceDifference(Pair &pair, const Picture &picture, unsigned seed)
{
    QList<ZPolyline> result;
    std::vector<ztrace::reference::Polyline> wanted;
    const QString draws = runBoth(
        seed, [&] { result = pair.tracer.trace(picture.toImage()); },
        [&] { wanted = pair.expected.trace(picture.words, picture.width, picture.height); });
    const QString state = stateDifference(pair);
    if (!state.isEmpty())
        return state;
    const QString polylines = difference(result, wanted);
    if (!polylines.isEmpty())
        return " polylines" + polylines;
    return draws;
}

QString preprocessDifference(Pair &pair, const Picture &picture, Picture &reduced, QImage &image)
{
    image = picture.toImage();
    reduced = picture;
    pair.tracer.preprocess(image);
    pair.expected.preprocess(reduced.words, reduced.width, reduced.height);
    for (int y = 0; y < reduced.height; ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < reduced.width; ++x) {
            const QString found = difference(line[x], reduced.at(x, y));
            if (!found.isEmpty())
                return QString(" preprocess (%1, %2)").arg(x).arg(y) + found;
        }
    }
    return QString();
}

// Every stage by itself, each fed with what the stage before it gave.
QString stagesDifference(Pair &pair, const Picture &picture, unsigned seed)
{
    QImage image;
    Picture reduced;
    QString found = preprocessDifference(pair, picture, reduced, image);
    if (!found.isEmpty())
        return found;

    pair.tracer.loadImageData(image);
    pair.expected.loadImageData(reduced.words, reduced.width, reduced.height);
    found = stateDifference(pair);
    if (!found.isEmpty())
        return " after loadImageData:" + found;

    found = runBoth(
        seed, [&] { pair.tracer.colorquantization(); }, [&] { pair.expected.colorquantization(); });
    if (found.isEmpty())
        found = stateDifference(pair);
    if (!found.isEmpty())
        return " after colorquantization:" + found;

    const auto layers = pair.tracer.layering();
    const auto wantedLayers = pair.expected.layering();
    found = difference(layers, wantedLayers);
    if (!found.isEmpty())
        return " layering" + found;

    const float pathomit
        = static_cast<float>(ztrace::reference::flooredInt(pair.expected.options["pathomit"]));
    const auto paths = pair.tracer.batchpathscan(layers, pathomit);
    const auto wantedPaths = pair.expected.batchpathscan(wantedLayers, pathomit);
    found = difference(paths, wantedPaths);
    if (!found.isEmpty())
        return " batchpathscan" + found;

    const auto points = pair.tracer.batchinternodes(paths);
    const auto wantedPoints = pair.expected.batchinternodes(wantedPaths);
    found = difference(points, wantedPoints);
    if (!found.isEmpty())
        return " batchinternodes" + found;

    const float ltres = static_cast<float>(pair.expected.options["ltres"]);
    const float qtres = static_cast<float>(pair.expected.options["qtres"]);
    pair.tracer.indexedImage.tracedLayers = pair.tracer.batchtracelayers(points, ltres, qtres);
    pair.expected.indexedImage.tracedLayers
        = pair.expected.batchtracelayers(wantedPoints, ltres, qtres);
    found = stateDifference(pair);
    if (!found.isEmpty())
        return " batchtracelayers:" + found;

    found = difference(pair.tracer.getPolylines(), pair.expected.getPolylines());
    return found.isEmpty() ? found : " getPolylines" + found;
}

QString report(quint64 seed, int round, const Picture &picture, const Options &options,
               const QString &found)
{
    return QString("seed %1, round %2, %3, %4:%5")
        .arg(seed)
        .arg(round)
        .arg(picture.describe())
        .arg(ztrace::describe(options))
        .arg(found);
}

} // namespace

class tst_Reference : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void stageByStage();
    void endToEnd();
    void largerPictures();
    void severalTracesOnOneTracer();
    void presetPalettes();
    void emptyImages();
    void bothSidesWereBusy();

private:
    int outlines = 0;
};

void tst_Reference::stageByStage()
{
    const quint64 seed = ztrace::testSeed();
    Random random(seed);
    for (int round = 0; round < 6000; ++round) {
        const Picture picture = ztrace::randomPicture(random, round % 10 == 0 ? 40 : 18);
        const Options options = ztrace::randomOptions(random);
        Pair pair(options);
        const QString found = stagesDifference(pair, picture, static_cast<unsigned>(round));
        QVERIFY2(found.isEmpty(), qPrintable(report(seed, round, picture, options, found)));
    }
}

void tst_Reference::endToEnd()
{
    const quint64 seed = ztrace::testSeed() + 1;
    Random random(seed);
    for (int round = 0; round < 12000; ++round) {
        const Picture picture = ztrace::randomPicture(random, round % 10 == 0 ? 40 : 18);
        const Options options = ztrace::randomOptions(random);
        Pair pair(options);
        const QString found = traceDifference(pair, picture, static_cast<unsigned>(round));
        QVERIFY2(found.isEmpty(), qPrintable(report(seed, round, picture, options, found)));
        for (const auto &paths : pair.tracer.indexedImage.tracedLayers)
            outlines += int(paths.size());
    }
}

// Wider than any block that the fast kernels work on at once.
void tst_Reference::largerPictures()
{
    const quint64 seed = ztrace::testSeed() + 5;
    Random random(seed);
    for (int round = 0; round < 60; ++round) {
        const Picture picture = ztrace::randomPicture(random, 150);
        const Options options = ztrace::randomOptions(random);
        Pair pair(options);
        const QString found = traceDifference(pair, picture, static_cast<unsigned>(round));
        QVERIFY2(found.isEmpty(), qPrintable(report(seed, round, picture, options, found)));
    }
}

void tst_Reference::severalTracesOnOneTracer()
{
    const quint64 seed = ztrace::testSeed() + 2;
    Random random(seed);
    for (int round = 0; round < 1000; ++round) {
        Pair pair((Options()));
        for (int image = 0; image < 4; ++image) {
            const Picture picture = ztrace::randomPicture(random, 16);
            const Options options = ztrace::randomOptions(random);
            pair.set(options);
            const QString found
                = traceDifference(pair, picture, static_cast<unsigned>(round * 4 + image));
            QVERIFY2(found.isEmpty(), qPrintable(report(seed, round, picture, options, found)));
        }
    }
}

void tst_Reference::presetPalettes()
{
    const quint64 seed = ztrace::testSeed() + 3;
    Random random(seed);
    for (int round = 0; round < 3000; ++round) {
        const Picture picture = ztrace::randomPicture(random, 24);
        Options options = ztrace::randomOptions(random);
        options["monochrome"] = 0;
        Pair pair(options);
        // Colours of the picture, with some that are not and some twice.
        for (int k = random.between(1, 20); k > 0; --k) {
            const auto pixel = static_cast<std::size_t>(random.below(int(picture.words.size())));
            std::uint32_t word = picture.words[pixel];
            if (random.oneIn(4))
                word = random.word();
            ztrace::reference::Bytes entry;
            for (const int shift : { 16, 8, 0, 24 })
                entry.push_back(static_cast<signed char>(static_cast<std::uint8_t>(word >> shift)));
            pair.expected.currentPalette.push_back(entry);
        }
        pair.tracer.currentPalette = ztrace::toQt(pair.expected.currentPalette);
        const QString found = traceDifference(pair, picture, static_cast<unsigned>(round));
        QVERIFY2(found.isEmpty(), qPrintable(report(seed, round, picture, options, found)));
    }
}

void tst_Reference::emptyImages()
{
    const quint64 seed = ztrace::testSeed() + 4;
    Random random(seed);
    for (int round = 0; round < 300; ++round) {
        const Options options = ztrace::randomOptions(random);
        Pair pair(options);
        const QString found = traceDifference(pair, Picture(), static_cast<unsigned>(round));
        QVERIFY2(found.isEmpty(), qPrintable(report(seed, round, Picture(), options, found)));
    }
}

// Guards against pictures and options that leave nothing to compare.
void tst_Reference::bothSidesWereBusy()
{
    QVERIFY2(outlines > 20000, qPrintable(QString::number(outlines)));
}

QTEST_GUILESS_MAIN(tst_Reference)
#include "tst_reference.moc"
