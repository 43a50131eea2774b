// (c) the ztrace developers. Licence: see LICENSE.
//
// Regions that pay for their borders, their palette and their labels.
#include "imaging/oklab.h"
#include "imaging/pixeledges.h"
#include "imaging/regionpalette.h"
#include "imaging/regions.h"
#include "imaging/shaded.h"
#include "imaging/sidelist.h"
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

// The region of every pixel, rows from the top.
std::vector<uint32_t> regionsOfPixels(const RegionGraph &graph)
{
    const std::size_t width = std::size_t(graph.width);
    std::vector<uint32_t> regions(width * std::size_t(graph.height));
    PixelJoins::Rows<uint32_t> rows(graph.joins, graph.regionOfStart);
    for (std::size_t begin = 0; begin < regions.size(); begin += width)
        rows.next(&regions[begin > 0 ? begin - width : 0], &regions[begin]);
    return regions;
}

typedef std::pair<uint32_t, uint32_t> Pair;

Pair ordered(uint32_t a, uint32_t b)
{
    return { std::min(a, b), std::max(a, b) };
}

// The pixel edges of a plane, by what is on their sides.
std::map<Pair, int> plainEdges(const std::vector<uint32_t> &plane, std::size_t width)
{
    std::map<Pair, int> edges;
    for (std::size_t k = 0; k < plane.size(); ++k) {
        if ((k + 1) % width != 0 && plane[k] != plane[k + 1])
            ++edges[ordered(plane[k], plane[k + 1])];
        if (k + width < plane.size() && plane[k] != plane[k + width])
            ++edges[ordered(plane[k], plane[k + width])];
    }
    return edges;
}

std::map<Pair, int> foundEdges(const std::vector<uint32_t> &plane, std::size_t width,
                               PixelEdges kind)
{
    std::map<Pair, int> edges;
    EdgeFinder finder(width, kind);
    for (std::size_t begin = 0; begin < plane.size(); begin += width)
        finder.addRow(begin > 0 ? &plane[begin - width] : nullptr, &plane[begin],
                      [&edges](uint32_t a, uint32_t b) { ++edges[ordered(a, b)]; });
    return edges;
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
    void rowsAreNamedAsTheyWereJoined_data();
    void rowsAreNamedAsTheyWereJoined();
    void edgesAreThoseOfThePlane_data();
    void edgesAreThoseOfThePlane();
    void numbersFarApartAreNeighbours();
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
    const std::vector<uint32_t> ofPixel = regionsOfPixels(graph);
    std::vector<float> pixels(graph.regions.size(), 0.0f);
    for (uint32_t region : ofPixel)
        ++pixels.at(region);
    std::map<Pair, uint32_t> plain;
    for (const auto &edge : plainEdges(ofPixel, 37)) {
        plain[edge.first] = uint32_t(edge.second);
        plain[{ edge.first.second, edge.first.first }] = uint32_t(edge.second);
    }
    std::map<Pair, uint32_t> found;
    for (uint32_t k = 0; k < graph.regions.size(); ++k) {
        QCOMPARE(graph.regions[k].pixels, pixels[k]);
        for (uint32_t s = graph.firstSide[k]; s < graph.firstSide[k + 1]; ++s)
            found[{ k, graph.sides[s].region }] += graph.sides[s].edges;
    }
    QVERIFY(plain.size() > 20);
    QCOMPARE(graph.sides.size(), plain.size());
    QVERIFY(found == plain);
}

void tst_Regions::rowsAreNamedAsTheyWereJoined_data()
{
    QTest::addColumn<int>("width");
    for (int width : { 1, 2, 3, 4, 5, 8, 63 })
        QTest::addRow("%d columns", width) << width;
}

void tst_Regions::rowsAreNamedAsTheyWereJoined()
{
    QFETCH(int, width);
    const int height = 9;
    std::mt19937 random { unsigned(width) };
    PixelJoins joins(width, height);
    std::vector<uint16_t> names;
    std::vector<uint16_t> plain;
    for (int y = 0; y < height; ++y) {
        std::vector<PixelJoin> row;
        for (int x = 0; x < width; ++x) {
            PixelJoin join = PixelJoin(random() % 3);
            if ((join == PixelJoin::Left && x == 0) || (join == PixelJoin::Up && y == 0))
                join = PixelJoin::Start;
            if (join == PixelJoin::Start)
                names.push_back(uint16_t(random() % 1000));
            plain.push_back(join == PixelJoin::Start ? names.back()
                                : join == PixelJoin::Left
                                ? plain.back()
                                : plain[plain.size() - std::size_t(width)]);
            row.push_back(join);
        }
        joins.setRow(y, row.data());
    }
    names.resize(names.size() + PixelJoins::kNamesBeyond, 1000); // no name
    PixelJoins::Rows<uint16_t> rows(joins, names);
    std::vector<uint16_t> above(std::size_t(width), 0);
    std::vector<uint16_t> own(std::size_t(width), 0);
    for (int y = 0; y < height; ++y) {
        rows.next(above.data(), own.data());
        QVERIFY(std::equal(own.begin(), own.end(), plain.begin() + y * width));
        above.swap(own);
    }
}

void tst_Regions::edgesAreThoseOfThePlane_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("names");
    for (int width : { 1, 2, 15, 16, 17, 63, 64, 65, 127, 128, 129, 200 }) {
        for (int names : { 2, 300 })
            QTest::addRow("%d columns, %d names", width, names) << width << names;
    }
}

// Of the longest ones each stands for all that lie in a line between the same two.
void tst_Regions::edgesAreThoseOfThePlane()
{
    QFETCH(int, width);
    QFETCH(int, names);
    std::mt19937 random(unsigned(width * names));
    std::vector<uint32_t> plane;
    for (int k = 0; k < 11 * width; ++k) {
        const bool isNew = k < width || random() % 3 == 0;
        plane.push_back(isNew ? uint32_t(random() % unsigned(names))
                              : plane[std::size_t(k - (random() % 2 == 0 ? 1 : width))]);
    }
    const std::size_t columns = std::size_t(width);
    const std::map<Pair, int> plain = plainEdges(plane, columns);
    QVERIFY(foundEdges(plane, columns, PixelEdges::All) == plain);
    std::map<Pair, int> longest;
    for (std::size_t k = 0; k < plane.size(); ++k) {
        const auto at = [&plane](std::size_t place) { return plane[place]; };
        const bool hasNext = (k + 1) % columns != 0;
        const bool hasBelow = k + columns < plane.size();
        const bool goesOnDown = k >= columns && hasNext && at(k) == at(k - columns)
            && at(k + 1) == at(k + 1 - columns);
        if (hasNext && at(k) != at(k + 1) && !goesOnDown)
            ++longest[ordered(at(k), at(k + 1))];
        const bool goesOnRight = hasBelow && k % columns != 0 && at(k) == at(k - 1)
            && at(k + columns) == at(k + columns - 1);
        if (hasBelow && at(k) != at(k + columns) && !goesOnRight)
            ++longest[ordered(at(k), at(k + columns))];
    }
    QVERIFY(foundEdges(plane, columns, PixelEdges::Longest) == longest);
    QCOMPARE(longest.size(), plain.size());
}

void tst_Regions::numbersFarApartAreNeighbours()
{
    const uint32_t count = 3000000;
    const std::vector<Pair> pairs
        = { { 0, 1 },          { 0, 32767 },         { 0, 32768 },     { 0, 32769 },
            { 0, 2999999 },    { 70000, 37233 },     { 70000, 37232 }, { 70000, 37231 },
            { 65536, 131072 }, { 2999999, 2999998 }, { 32768, 65536 }, { 0, 1 } };
    const SideList list(count, [&pairs](auto use) {
        for (const Pair &pair : pairs)
            use(pair.first, pair.second);
    });
    std::map<uint32_t, std::multiset<uint32_t>> plain;
    for (const Pair &pair : pairs) {
        plain[pair.first].insert(pair.second);
        plain[pair.second].insert(pair.first);
    }
    for (uint32_t k = 0; k < count; ++k) {
        std::multiset<uint32_t> found;
        list.forEach(k, [&found](uint32_t other) { found.insert(other); });
        const auto expected = plain.find(k);
        QVERIFY(found == (expected == plain.end() ? std::multiset<uint32_t>() : expected->second));
    }
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
    for (uint32_t region : regionsOfPixels(graph))
        QVERIFY(region < graph.regions.size());
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
