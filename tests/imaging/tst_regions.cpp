// (c) the ztrace developers. Licence: see LICENSE.
//
// Regions that pay for their borders, their palette and their labels.
#include "imaging/oklab.h"
#include "imaging/regionpalette.h"
#include "imaging/regions.h"
#include "imaging/shaded.h"
#include "support/Messages.h"

#include <QImage>
#include <QtTest>

#include <cmath>
#include <map>
#include <random>
#include <set>

using namespace ztrace;

namespace {

const double kPrice = 400.0;

QImage filled(int width, int height, QRgb colour)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

// Grey 128 with a square of another grey in its middle.
QImage withSquare(int size, int side, int grey)
{
    QImage image = filled(size, size, qRgb(128, 128, 128));
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x)
            image.setPixel((size - side) / 2 + x, (size - side) / 2 + y, qRgb(grey, grey, grey));
    }
    return image;
}

QImage noise(int width, int height, unsigned seed)
{
    std::mt19937 random(seed);
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, 0xFF000000u | (QRgb(random()) & 0xFFFFFFu));
    }
    return image;
}

RegionGraph regionsOf(const QImage &image, double price = kPrice)
{
    return findRegions(image, SeenColours(), price);
}

int opaqueOrHalf(const LabelPlane &plane)
{
    return int(std::count_if(plane.colours.begin(), plane.colours.end(),
                             [](QRgb colour) { return qAlpha(colour) != 0; }));
}

} // namespace

class tst_Regions : public QObject
{
    Q_OBJECT

private slots:
    void tablesSayWhatOklabSays();
    void halvesAreTwoRegions();
    void areaStaysWhereItPays_data();
    void areaStaysWhereItPays();
    void sizeOfThePictureDoesNotMatter();
    void sidesAreThoseOfThePicture();
    void alphasStayApart();
    void glassHasSeveralColours();
    void noiseIsBounded();
    void priceOfNothingEnds();
    void coloursAreAHardLimit_data();
    void coloursAreAHardLimit();
    void smallAccentKeepsItsColour();
    void coloursAreMeansTheCommonestFirst();
    void chipsGoToTheLongerBorder();
    void thinPicturesHaveLabels_data();
    void thinPicturesHaveLabels();
};

void tst_Regions::tablesSayWhatOklabSays()
{
    const SeenColours seen;
    std::mt19937 random(3);
    for (int k = 0; k < 20000; ++k) {
        const QRgb word = k < 256 ? qRgb(k, k, k) : QRgb(random());
        const SeenColour colour = seen.of(word);
        const Oklab exact = oklabOf(word);
        QVERIFY2(std::abs(colour.lightness - exact.lightness) < 1.0f
                     && std::abs(colour.greenRed - 2.0f * exact.greenRed) < 2.0f
                     && std::abs(colour.blueYellow - 2.0f * exact.blueYellow) < 2.0f,
                 qPrintable(QString::number(word, 16)));
    }
}

void tst_Regions::halvesAreTwoRegions()
{
    QImage image = filled(8, 4, qRgb(10, 20, 200));
    for (int y = 0; y < 4; ++y) {
        for (int x = 4; x < 8; ++x)
            image.setPixel(x, y, qRgb(220, 200, 40));
    }
    const RegionGraph graph = regionsOf(image);
    QCOMPARE(int(graph.regions.size()), 2);
    QCOMPARE(graph.regions[0].pixels, 16.0f);
    QCOMPARE(int(graph.sides.size()), 2);
    QCOMPARE(graph.sides[0].region, 1u);
    QCOMPARE(graph.sides[0].edges, 4u);
}

void tst_Regions::areaStaysWhereItPays_data()
{
    QTest::addColumn<int>("side");
    QTest::addColumn<double>("share"); // of the price at which it just pays
    QTest::addColumn<int>("regions");
    for (int side : { 1, 2, 5 }) {
        QTest::addRow("%d pixels, price a little below its worth", side) << side << 0.98 << 2;
        QTest::addRow("%d pixels, price a little above its worth", side) << side << 1.02 << 1;
    }
}

void tst_Regions::areaStaysWhereItPays()
{
    QFETCH(int, side);
    QFETCH(double, share);
    QFETCH(int, regions);
    const int size = 40;
    const SeenColours seen;
    const Region square = { seen.of(qRgb(220, 220, 220)), float(side * side), 255 };
    const Region around = { seen.of(qRgb(128, 128, 128)), float(size * size - side * side), 255 };
    const double worth = double(lossOf(square, around)) / (4.0 * side + double(kEdgesOfRegion));
    const QImage image = withSquare(size, side, 220);
    QCOMPARE(int(findRegions(image, seen, share * worth).regions.size()), regions);
}

void tst_Regions::sizeOfThePictureDoesNotMatter()
{
    for (int size : { 16, 64, 256 }) {
        QCOMPARE(int(regionsOf(withSquare(size, 4, 200)).regions.size()), 2);
        QCOMPARE(int(regionsOf(withSquare(size, 4, 132)).regions.size()), 1);
    }
}

void tst_Regions::sidesAreThoseOfThePicture()
{
    const RegionGraph graph = regionsOf(noise(37, 23, 5), 4000.0);
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> plain;
    std::vector<float> pixels(graph.regions.size(), 0.0f);
    for (std::size_t k = 0; k < graph.ofPixel.size(); ++k) {
        const uint32_t own = graph.ofPixel[k];
        ++pixels[own];
        for (std::size_t other : { k + 1, k + 37 }) {
            const bool beside = other < graph.ofPixel.size() && (other != k + 1 || other % 37 != 0);
            if (beside && graph.ofPixel[other] != own) {
                ++plain[{ own, graph.ofPixel[other] }];
                ++plain[{ graph.ofPixel[other], own }];
            }
        }
    }
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> found;
    for (uint32_t k = 0; k < graph.regions.size(); ++k) {
        QCOMPARE(graph.regions[k].pixels, pixels[k]);
        for (uint32_t s = graph.firstSide[k]; s < graph.firstSide[k + 1]; ++s)
            found[{ k, graph.sides[s].region }] += graph.sides[s].edges;
    }
    QVERIFY(plain.size() > 20);
    QCOMPARE(graph.sides.size(), plain.size());
    QVERIFY(found == plain);
}

void tst_Regions::alphasStayApart()
{
    QImage image = filled(30, 30, qRgba(90, 90, 90, 255));
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 10; ++x)
            image.setPixel(x, y, x < 5 ? 0u : qRgba(90, 90, 90, 128));
    }
    const LabelPlane plane = reduceShaded(image, 8, 1e9);
    QCOMPARE(int(plane.colours.size()), 3);
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 30; ++x)
            QCOMPARE(qAlpha(plane.colours[plane.labels[std::size_t(30 * y + x)]]),
                     qAlpha(image.pixel(x, y)));
    }
}

void tst_Regions::glassHasSeveralColours()
{
    QImage image = filled(40, 30, 0u);
    const QRgb colours[] = { qRgba(200, 0, 0, 128), qRgba(0, 160, 0, 128), qRgba(0, 0, 220, 128) };
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 30; ++x)
            image.setPixel(x, y, colours[x / 10]);
    }
    const LabelPlane plane = reduceShaded(image, 8, 400.0);
    QCOMPARE(int(plane.colours.size()), 4);
    for (int x = 5; x < 30; x += 10)
        QCOMPARE(plane.colours[plane.labels[std::size_t(x)]], colours[x / 10]);
}

void tst_Regions::noiseIsBounded()
{
    const QImage image = noise(200, 150, 7);
    const RegionGraph graph = regionsOf(image, 1.0);
    QVERIFY(graph.regions.size() <= 200 * 150 / 3 + 200 + 1024);
    QCOMPARE(int(graph.ofPixel.size()), 200 * 150);
}

void tst_Regions::priceOfNothingEnds()
{
    QVERIFY(regionsOf(noise(64, 64, 1), 0.0).regions.size() > 1);
}

void tst_Regions::coloursAreAHardLimit_data()
{
    QTest::addColumn<int>("most");
    for (int most : { 1, 2, 3, 8, 100, 4096 })
        QTest::addRow("%d colours", most) << most;
}

void tst_Regions::coloursAreAHardLimit()
{
    QFETCH(int, most);
    QImage image = noise(120, 90, 11);
    for (int y = 40; y < 60; ++y) {
        for (int x = 40; x < 60; ++x)
            image.setPixel(x, y, x < 50 ? 0u : qRgba(200, 10, 10, 100));
    }
    const LabelPlane plane = reduceShaded(image, most, 40.0);
    // One colour each for what is opaque and what is half so there must be.
    QVERIFY2(opaqueOrHalf(plane) <= std::max(most, 2),
             qPrintable(QString::number(opaqueOrHalf(plane))));
    QVERIFY(opaqueOrHalf(plane) >= std::min(most, 8));
    for (uint16_t label : plane.labels)
        QVERIFY(label < plane.colours.size());
}

void tst_Regions::smallAccentKeepsItsColour()
{
    QImage image(160, 120, QImage::Format_ARGB32);
    for (int y = 0; y < 120; ++y) {
        for (int x = 0; x < 160; ++x)
            image.setPixel(x, y, qRgb(60 + x, 60 + x, 70 + x));
    }
    for (int y = 50; y < 56; ++y) {
        for (int x = 80; x < 86; ++x)
            image.setPixel(x, y, qRgb(220, 20, 30));
    }
    const LabelPlane plane = reduceShaded(image, 8, kPrice);
    const QRgb eye = plane.colours[plane.labels[53 * 160 + 83]];
    QCOMPARE(eye, qRgb(220, 20, 30));
}

void tst_Regions::coloursAreMeansTheCommonestFirst()
{
    const QImage image = noise(90, 70, 13);
    const LabelPlane plane = reduceShaded(image, 12, 2000.0);
    std::vector<double> counts(plane.colours.size(), 0.0);
    std::vector<double> reds(plane.colours.size(), 0.0);
    for (int y = 0; y < 70; ++y) {
        for (int x = 0; x < 90; ++x) {
            const uint16_t label = plane.labels[std::size_t(90 * y + x)];
            ++counts[label];
            reds[label] += qRed(image.pixel(x, y));
        }
    }
    QVERIFY(plane.colours.size() > 4);
    for (std::size_t k = 0; k < counts.size(); ++k) {
        QVERIFY(counts[k] > 0.0 && (k == 0 || counts[k] <= counts[k - 1]));
        QVERIFY(std::abs(qRed(plane.colours[k]) - reds[k] / counts[k]) <= 0.5);
    }
    QCOMPARE(std::set<QRgb>(plane.colours.begin(), plane.colours.end()).size(),
             plane.colours.size());
}

// A straight border with one pixel of a mixed colour on the wrong side.
void tst_Regions::chipsGoToTheLongerBorder()
{
    QImage image = filled(20, 20, qRgb(100, 100, 100));
    for (int y = 0; y < 20; ++y) {
        for (int x = 10; x < 20; ++x)
            image.setPixel(x, y, qRgb(160, 160, 160));
    }
    image.setPixel(9, 9, qRgb(130, 130, 130)); // nearer to the right
    const LabelPlane plane = reduceShaded(image, 4, 1000.0);
    QCOMPARE(plane.labels[9 * 20 + 9], plane.labels[0]);
}

void tst_Regions::thinPicturesHaveLabels_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("one pixel") << 1 << 1;
    QTest::newRow("a row") << 300 << 1;
    QTest::newRow("a column") << 1 << 300;
    QTest::newRow("two by two") << 2 << 2;
}

void tst_Regions::thinPicturesHaveLabels()
{
    QFETCH(int, width);
    QFETCH(int, height);
    const LabelPlane plane = reduceShaded(noise(width, height, 17), 16, kPrice);
    QCOMPARE(int(plane.labels.size()), width * height);
    for (uint16_t label : plane.labels)
        QVERIFY(label < plane.colours.size());
}

QTEST_GUILESS_MAIN(tst_Regions)
#include "tst_regions.moc"
