// (c) the ztrace developers. Licence: see LICENSE.
//
// trace, which streams, against the stage operations called one after another: thousands of
// pictures, many of them full of nodes where two regions of one colour touch at a corner.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QtTest>

#include <cmath>
#include <cstdlib>

using ztrace::difference;
using ztrace::Picture;
using ztrace::Random;

namespace {

struct Work
{
    int outlines = 0;
    int saddles = 0;
};

// The stages in their order, as trace goes through them.
QList<ZPolyline> stages(ZTraceBitmap &tracer, const QImage &image, Work &work)
{
    QImage copy = image;
    tracer.preprocess(copy);
    tracer.loadImageData(copy);
    tracer.colorquantization();
    const auto layers = tracer.layering();
    for (const auto &layer : layers) {
        for (const QVector<int> &row : layer)
            work.saddles += int(row.count(5)) + int(row.count(10));
    }
    const float pathomit = static_cast<float>(std::floor(tracer.options.value("pathomit")));
    const auto paths = tracer.batchpathscan(layers, pathomit);
    for (const auto &layer : paths)
        work.outlines += int(layer.size());
    const float ltres = static_cast<float>(tracer.options.value("ltres"));
    const float qtres = static_cast<float>(tracer.options.value("qtres"));
    const auto points = tracer.batchinternodes(paths);
    tracer.indexedImage.tracedLayers = tracer.batchtracelayers(points, ltres, qtres);
    return tracer.getPolylines();
}

// Pixels as they are, and an entry for every colour that a saddle picture has.
void keepColours(ZTraceBitmap &tracer, const Picture &picture)
{
    tracer.setOption("monochrome", 0);
    tracer.setOption("blurradius", 0);
    tracer.setOption("colorquantcycles", 1);
    for (const std::uint32_t word : picture.words) {
        const QVector<char> entry(
            { static_cast<char>(word >> 16 & 255), static_cast<char>(word >> 8 & 255),
              static_cast<char>(word & 255), static_cast<char>(word >> 24 & 255) });
        if (!tracer.currentPalette.contains(entry))
            tracer.currentPalette.append(entry);
        if (tracer.currentPalette.size() == 8)
            break;
    }
}

void setRandomFit(ZTraceBitmap &tracer, Random &random)
{
    const double tolerances[] = { 0, 0.1, 0.25, 0.5, 1, 3, -1 };
    tracer.setOption("ltres", tolerances[random.below(7)]);
    tracer.setOption("qtres", tolerances[random.below(7)]);
    tracer.setOption("pathomit", random.oneIn(2) ? 0 : random.between(1, 12));
}

// Both ways from the same state of rand(); empty when they end alike.
QString compared(const ZTraceBitmap &start, const Picture &picture, unsigned seed, Work &work)
{
    ZTraceBitmap fast;
    fast.options = start.options;
    fast.currentPalette = start.currentPalette;
    ZTraceBitmap plain;
    plain.options = start.options;
    plain.currentPalette = start.currentPalette;

    const QImage image = picture.toImage();
    std::srand(seed);
    const QList<ZPolyline> result = fast.trace(image);
    const int after = std::rand();
    std::srand(seed);
    const QList<ZPolyline> expected = stages(plain, image, work);
    const int wanted = std::rand();

    const QString found[] = {
        " imageData" + difference(fast.imageData, plain.imageData),
        " currentPalette" + difference(fast.currentPalette, plain.currentPalette),
        " indices" + difference(fast.indexedImage.indices, plain.indexedImage.indices),
        " palette" + difference(fast.indexedImage.palette, plain.indexedImage.palette),
        " tracedLayers"
            + difference(fast.indexedImage.tracedLayers, plain.indexedImage.tracedLayers),
        " polylines" + difference(result, expected),
        " rand()" + difference(after, wanted),
    };
    for (const QString &text : found) {
        if (text.contains(':'))
            return text;
    }
    return QString();
}

} // namespace

class tst_Streaming : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void saddlePictures_data();
    void saddlePictures();
    void everyTinyPicture_data();
    void everyTinyPicture();
    void lonePixelInEveryColumn();
    void manyEntries_data();
    void manyEntries();
    void anyPictureAndOptions();
};

void tst_Streaming::saddlePictures_data()
{
    QTest::addColumn<int>("rounds");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("tiny") << 2000 << 8 << 8;
    QTest::newRow("small") << 1200 << 40 << 40;
    QTest::newRow("wide and low") << 200 << 300 << 5;
    QTest::newRow("narrow and high") << 200 << 3 << 200;
    QTest::newRow("large") << 30 << 300 << 200;
}

void tst_Streaming::saddlePictures()
{
    QFETCH(int, rounds);
    QFETCH(int, width);
    QFETCH(int, height);
    const quint64 seed = ztrace::testSeed() + static_cast<quint64>(width);
    Random random(seed);
    Work work;
    for (int round = 0; round < rounds; ++round) {
        // The largest rows take their full size, the others up to it.
        const bool full = width * height > 10000;
        const int w = full ? width : random.between(1, width);
        const int h = full ? height : random.between(1, height);
        const Picture picture = ztrace::saddlePicture(random, w, h);
        ZTraceBitmap start;
        keepColours(start, picture);
        setRandomFit(start, random);
        const QString found = compared(start, picture, static_cast<unsigned>(round), work);
        QVERIFY2(found.isEmpty(),
                 qPrintable(QString("seed %1, round %2, %3, %4:%5")
                                .arg(seed)
                                .arg(round)
                                .arg(picture.describe())
                                .arg(ztrace::describe(start.options))
                                .arg(found)));
    }
    QVERIFY(work.saddles > rounds);
    QVERIFY(work.outlines > rounds);
}

void tst_Streaming::everyTinyPicture_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("colours");
    QTest::newRow("3 by 3 in two colours") << 3 << 3 << 2;
    QTest::newRow("4 by 3 in two colours") << 4 << 3 << 2;
    QTest::newRow("4 by 4 in two colours") << 4 << 4 << 2;
    QTest::newRow("3 by 2 in four colours") << 3 << 2 << 4;
    QTest::newRow("2 by 4 in three colours") << 2 << 4 << 3;
}

// All pictures of the size, so that every meeting of indices round a node occurs.
void tst_Streaming::everyTinyPicture()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, colours);
    ZTraceBitmap start;
    start.setOption("monochrome", 0);
    start.setOption("blurradius", 0);
    start.setOption("colorquantcycles", 1);
    start.setOption("pathomit", 0);
    for (int k = 0; k < colours; ++k)
        start.currentPalette.append(QVector<char>({ static_cast<char>(k * 20), 0, 0, -1 }));

    const int pixels = width * height;
    int count = 1;
    for (int i = 0; i < pixels; ++i)
        count *= colours;
    Work work;
    for (int number = 0; number < count; ++number) {
        Picture picture = ztrace::uniformPicture(width, height);
        int rest = number;
        for (std::uint32_t &word : picture.words) {
            word = 0xFF000000u | static_cast<std::uint32_t>(rest % colours * 20) << 16;
            rest /= colours;
        }
        const QString found = compared(start, picture, 1, work);
        QVERIFY2(found.isEmpty(), qPrintable(QString("picture %1:%2").arg(number).arg(found)));
    }
}

// One pixel in an even picture, at every place of rows of many lengths: equal nodes are skipped
// several at a time, and no start may be missed at either end of such a stretch.
void tst_Streaming::lonePixelInEveryColumn()
{
    ZTraceBitmap start;
    start.setOption("monochrome", 0);
    start.setOption("blurradius", 0);
    start.setOption("colorquantcycles", 1);
    start.setOption("pathomit", 0);
    start.currentPalette = { QVector<char>({ 0, 0, 0, -1 }), QVector<char>({ 60, 0, 0, -1 }) };
    Work work;
    for (const int width : { 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 129 }) {
        for (int x = 0; x < width; ++x) {
            for (int y = 0; y < 3; ++y) {
                Picture picture = ztrace::uniformPicture(width, 3);
                picture.at(x, y) = 0xFF3C0000u;
                const QString found = compared(start, picture, 1, work);
                QVERIFY2(
                    found.isEmpty(),
                    qPrintable(QString("(%1, %2) of %3:%4").arg(x).arg(y).arg(width).arg(found)));
            }
        }
    }
}

void tst_Streaming::manyEntries_data()
{
    QTest::addColumn<int>("entries");
    for (const int entries : { 127, 128, 129, 254, 255, 256, 257, 65534, 65535, 65536, 65537 })
        QTest::addRow("%d entries", entries) << entries;
}

// The last entries are those of the picture, whatever an index takes to store.
void tst_Streaming::manyEntries()
{
    QFETCH(int, entries);
    Random random(ztrace::testSeed());
    ZTraceBitmap start;
    start.setOption("monochrome", 0);
    start.setOption("blurradius", 0);
    start.setOption("colorquantcycles", 1);
    start.setOption("pathomit", 0);
    for (int k = 0; k < entries - 4; ++k)
        start.currentPalette.append(QVector<char>({ static_cast<char>(k), 0, 0, 127 }));
    for (int k = 0; k < 4; ++k)
        start.currentPalette.append(QVector<char>({ static_cast<char>(k * 20), 0, 0, -1 }));

    Work work;
    for (int round = 0; round < (entries > 1000 ? 5 : 100); ++round) {
        Picture picture = ztrace::uniformPicture(random.between(1, 6), random.between(1, 6));
        for (std::uint32_t &word : picture.words)
            word = 0xFF000000u | static_cast<std::uint32_t>(random.below(4) * 20) << 16;
        picture.words[0] = 0xFF3C0000u; // the very last entry
        const QString found = compared(start, picture, 1, work);
        QVERIFY2(found.isEmpty(), qPrintable(picture.describe() + found));
        ZTraceBitmap tracer;
        tracer.options = start.options;
        tracer.currentPalette = start.currentPalette;
        tracer.trace(picture.toImage());
        QCOMPARE(tracer.indexedImage.indices.at(1).at(1), entries - 1);
        QCOMPARE(tracer.indexedImage.indices.at(0).at(1), -1);
    }
}

void tst_Streaming::anyPictureAndOptions()
{
    const quint64 seed = ztrace::testSeed();
    Random random(seed);
    Work work;
    for (int round = 0; round < 4000; ++round) {
        const Picture picture = ztrace::randomPicture(random, 30);
        ZTraceBitmap start;
        const QMap<QString, double> options = ztrace::randomOptions(random);
        for (auto it = options.begin(); it != options.end(); ++it)
            start.setOption(it.key(), it.value());
        // The plain way hands pathomit over as it is.
        if (!(std::fabs(start.options.value("pathomit")) < 1e9))
            start.setOption("pathomit", 3);
        const QString found = compared(start, picture, static_cast<unsigned>(round), work);
        QVERIFY2(found.isEmpty(),
                 qPrintable(QString("seed %1, round %2, %3, %4:%5")
                                .arg(seed)
                                .arg(round)
                                .arg(picture.describe())
                                .arg(ztrace::describe(options))
                                .arg(found)));
    }
    QVERIFY(work.outlines > 4000);
}

QTEST_GUILESS_MAIN(tst_Streaming)
#include "tst_streaming.moc"
