// (c) the ztrace developers. Licence: see LICENSE.
//
// Palettes by the library's median cut, against the rule stated plainly: the opaque pixels of every
// n-th row and column in rows of 1024, the last filled up from the start, the rarest colours left
// out. ZTRACE_TEST_SEED in the environment takes another seed.
#include "imaging/palette.h"
#include "RandomImages.h"

#include <leptonica/allheaders.h>

#include <QImage>
#include <QtTest>

#include <algorithm>

using namespace ztrace;
using namespace randomimages;

namespace {

// More than one entry in random order of counts: `most` is 2 or more.
std::vector<QRgb> plainPalette(const QImage &image, int most, int step)
{
    std::vector<QRgb> sample;
    for (int y = 0; y < image.height(); y += step) {
        for (int x = 0; x < image.width(); x += step) {
            if (qAlpha(image.pixel(x, y)) == 255)
                sample.push_back(image.pixel(x, y));
        }
    }
    if (sample.empty())
        return sample;
    const int width = std::min<int>(1024, static_cast<int>(sample.size()));
    const int height = (static_cast<int>(sample.size()) + width - 1) / width;
    PIX *pix = pixCreate(width, height, 32);
    for (int i = 0; i < width * height; ++i) {
        const QRgb word = sample[static_cast<std::size_t>(i) % sample.size()];
        pixSetRGBPixel(pix, i % width, i / width, qRed(word), qGreen(word), qBlue(word));
    }
    PIX *quantised = pixMedianCutQuantGeneral(pix, 0, 8, std::min(most, 256), 5, 1, 0);
    std::vector<std::pair<int, QRgb>> found;
    for (int i = 0; i < pixcmapGetCount(pixGetColormap(quantised)); ++i) {
        int red = 0;
        int green = 0;
        int blue = 0;
        pixcmapGetColor(pixGetColormap(quantised), i, &red, &green, &blue);
        int count = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                l_uint32 value = 0;
                pixGetPixel(quantised, x, y, &value);
                count += value == static_cast<l_uint32>(i) ? 1 : 0;
            }
        }
        found.push_back({ count, qRgb(red, green, blue) });
    }
    pixDestroy(&pix);
    pixDestroy(&quantised);
    std::stable_sort(found.begin(), found.end(),
                     [](const auto &a, const auto &b) { return a.first > b.first; });
    found.resize(std::min(found.size(), static_cast<std::size_t>(most)));
    std::vector<QRgb> colours;
    for (const auto &entry : found)
        colours.push_back(entry.second);
    return colours;
}

QImage speckled(Random &random, int width, int height, bool withClear)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int noise = random.below(40);
            words[x] = qRgb(200 * x / width + noise, 200 * y / height + noise, 3 * noise);
            if (withClear && random.oneIn(3))
                words[x] = 0u;
        }
    }
    return image;
}

} // namespace

class tst_MedianPalette : public QObject
{
    Q_OBJECT

private slots:
    void equalsThePlainRule_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("most");
        QTest::addColumn<bool>("withClear");
        QTest::newRow("less than a row of the sample") << 17 << 13 << 8 << false;
        QTest::newRow("less than a row, some clear") << 30 << 40 << 8 << true;
        QTest::newRow("one pixel") << 1 << 1 << 5 << false;
        QTest::newRow("exactly a row") << 64 << 16 << 8 << false;
        QTest::newRow("several rows, the last filled up") << 201 << 87 << 48 << false;
        QTest::newRow("several rows, some clear") << 201 << 87 << 48 << true;
        QTest::newRow("more colours than the library makes") << 90 << 90 << 4000 << false;
        QTest::newRow("two colours") << 90 << 90 << 2 << false;
    }

    void equalsThePlainRule()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, most);
        QFETCH(bool, withClear);
        Random random(testSeed());
        const QImage image = speckled(random, width, height, withClear);
        std::vector<QRgb> expected = plainPalette(image, most, 1);
        if (withClear)
            expected.push_back(0u); // one colour for all of them
        QCOMPARE(medianPalette(image, most), expected);
    }

    // From four times 2^20 pixels on every second row and column is enough.
    void largeImagesAreSampled()
    {
        Random random(testSeed() + 1);
        const QImage image = speckled(random, 2049, 2048, false);
        QCOMPARE(medianPalette(image, 12), plainPalette(image, 12, 2));
        const QImage smaller = image.copy(0, 0, 2047, 2048);
        QCOMPARE(medianPalette(smaller, 12), plainPalette(smaller, 12, 1));
    }

    void oneColourIsTheMean()
    {
        QImage image(3, 1, QImage::Format_ARGB32);
        image.setPixel(0, 0, qRgb(10, 20, 31));
        image.setPixel(1, 0, qRgb(20, 40, 30));
        image.setPixel(2, 0, 0x80123456u);
        QCOMPARE(medianPalette(image, 2), (std::vector<QRgb> { qRgb(15, 30, 30), 0x80123456u }));
    }

    void moreColoursThanThereAreGiveSome()
    {
        QImage image(20, 20, QImage::Format_ARGB32);
        image.fill(0xFFE02020u);
        QCOMPARE(medianPalette(image, 1), std::vector<QRgb> { 0xFFE02020u });
        QVERIFY(!medianPalette(image, 300).empty());
    }

    void clearImagesHaveOneClearColour()
    {
        QImage image(20, 20, QImage::Format_ARGB32);
        image.fill(0x00FF8000u);
        QCOMPARE(medianPalette(image, 8), std::vector<QRgb> { 0x00FF8000u });
    }

    // As many as there are take the place of others, and fully transparent pixels take none.
    void translucentColoursCountTowardsTheNumber()
    {
        Random random(testSeed() + 2);
        QImage image = speckled(random, 60, 60, false);
        for (int x = 0; x < 60; ++x) {
            image.setPixel(x, 0, 0x40FF0000u);
            image.setPixel(x, 1, 0x80000000u | static_cast<QRgb>(x % 2));
            image.setPixel(x, 2, 0u);
        }
        const std::vector<QRgb> palette = medianPalette(image, 6);
        QCOMPARE(palette.size(), std::size_t(4 + 3));
        QCOMPARE(std::vector<QRgb>(palette.end() - 3, palette.end()),
                 (std::vector<QRgb> { 0u, 0x40FF0000u, 0x80000000u }));
    }
};

QTEST_GUILESS_MAIN(tst_MedianPalette)
#include "tst_medianpalette.moc"
