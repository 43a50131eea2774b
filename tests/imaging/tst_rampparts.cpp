// (c) the ztrace developers. Licence: see LICENSE.
//
// What the search for ramps is made of, each fast way against a plain one: tiles, colours of stops,
// stretches of rows where numbers change.
#include "imaging/rampcells.h"
#include "imaging/rampfit.h"
#include "imaging/ramphats.h"
#include "imaging/ramptiles.h"
#include "support/Messages.h"

#include <QImage>
#include <QtTest>

#include <cmath>
#include <random>

using namespace ztrace;

namespace {

QImage randomImage(std::mt19937 *random, int width, int height, unsigned alphas)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const unsigned word = unsigned((*random)());
            image.setPixel(x, y, (word & 0xFFFFFFu) | (word % 97 < alphas ? 0x80u : 0xFFu) << 24);
        }
    }
    return image;
}

// By the definition: means over a tile, slopes from the sums of colours times places.
RampTile plainTile(const QImage &image, int left, int top, int side)
{
    RampTile tile;
    tile.smooth = true;
    const double pixels = side * side;
    const double spread = pixels * (pixels - 1.0) / 12.0;
    double mean[3] = {};
    double slopeX[3] = {};
    double slopeY[3] = {};
    const auto forEachChannel = [&](const auto &use) {
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                const QRgb word = image.pixel(left + x, top + y);
                tile.smooth = tile.smooth && qAlpha(word) == 255;
                const RampColour colour = rampColourOf(word);
                for (std::size_t c = 0; c < 3; ++c)
                    use(c, colour[c], x - 0.5 * (side - 1), y - 0.5 * (side - 1));
            }
        }
    };
    forEachChannel([&](std::size_t c, double value, double x, double y) {
        mean[c] += value / pixels;
        slopeX[c] += value * x / spread;
        slopeY[c] += value * y / spread;
    });
    double error = 0.0;
    forEachChannel([&](std::size_t c, double value, double x, double y) {
        error += std::pow(value - mean[c] - slopeX[c] * x - slopeY[c] * y, 2);
    });
    for (std::size_t c = 0; c < 3; ++c) {
        tile.colour[c] = float(mean[c]);
        tile.slopeX[c] = float(slopeX[c]);
        tile.slopeY[c] = float(slopeY[c]);
    }
    tile.deviation = float(std::sqrt(error / (3.0 * (pixels - 3.0))));
    return tile;
}

// Squares that grow from random places: large calm parts and narrow ones.
std::vector<uint16_t> randomNumbers(std::mt19937 *random, int width, int height)
{
    std::vector<uint16_t> numbers(std::size_t(width * height), 0);
    for (int k = 0; k < 12; ++k) {
        const int left = int((*random)() % unsigned(width));
        const int top = int((*random)() % unsigned(height));
        const int side = 1 + int((*random)() % 40u);
        for (int y = top; y < std::min(height, top + side); ++y) {
            for (int x = left; x < std::min(width, left + side); ++x)
                numbers[std::size_t(y * width + x)] = uint16_t(k % 4);
        }
    }
    return numbers;
}

bool isAlikeAround(const std::vector<uint16_t> &numbers, int width, int height, int x, int y)
{
    const int reach = RampCells::kReach;
    const uint16_t own = numbers[std::size_t(y * width + x)];
    for (int j = std::max(0, y - reach); j <= std::min(height - 1, y + reach); ++j) {
        for (int i = std::max(0, x - reach); i <= std::min(width - 1, x + reach); ++i) {
            if (numbers[std::size_t(j * width + i)] != own)
                return false;
        }
    }
    return true;
}

} // namespace

class tst_RampParts : public QObject
{
    Q_OBJECT

private slots:
    void tilesInPlainOnesAreKnown()
    {
        QImage image(45, 30, QImage::Format_ARGB32);
        image.fill(0xFF336699u);
        for (int k = 0; k < 30; ++k)
            image.setPixel(k, (7 * k) % 30, k % 3 ? 0xFFFFFFFFu : 0u);
        for (int y = 16; y < 24; ++y) {
            for (int x = 32; x < 40; ++x)
                image.setPixel(x, y, 0u);
        }
        const RampTiles larger = tilesOf(image, TileSide::Eight);
        const RampTiles wanted = tilesOf(image, TileSide::Four);
        const RampTiles found = tilesOf(image, TileSide::Four, &larger);
        QCOMPARE(found.columns, 11);
        QCOMPARE(found.tiles.size(), wanted.tiles.size());
        QVERIFY(larger.at(4, 2).plain && !larger.at(4, 2).smooth && !larger.at(0, 0).plain);
        for (std::size_t k = 0; k < found.tiles.size(); ++k) {
            QCOMPARE(found.tiles[k].plain, wanted.tiles[k].plain);
            QCOMPARE(found.tiles[k].smooth, wanted.tiles[k].smooth);
            QCOMPARE(found.tiles[k].deviation, wanted.tiles[k].deviation);
            QCOMPARE(found.tiles[k].colour, wanted.tiles[k].colour);
            QCOMPARE(found.tiles[k].slopeX, wanted.tiles[k].slopeX);
            QCOMPARE(found.tiles[k].slopeY, wanted.tiles[k].slopeY);
        }
    }

    void tilesAreWhatTheyAreByDefinition_data()
    {
        QTest::addColumn<int>("side");
        QTest::newRow("of 8") << 8;
        QTest::newRow("of 4") << 4;
    }
    void tilesAreWhatTheyAreByDefinition()
    {
        QFETCH(int, side);
        std::mt19937 random(5);
        const QImage image = randomImage(&random, 43, 29, 1);
        const RampTiles tiles = tilesOf(image, side == 8 ? TileSide::Eight : TileSide::Four);
        QCOMPARE(tiles.columns, 43 / side);
        QCOMPARE(tiles.rows, 29 / side);
        std::size_t opaque = 0;
        for (int line = 0; line < tiles.rows; ++line) {
            for (int column = 0; column < tiles.columns; ++column) {
                const RampTile wanted = plainTile(image, column * side, line * side, side);
                const RampTile &tile = tiles.at(column, line);
                if (!wanted.smooth)
                    continue;
                ++opaque;
                QVERIFY(std::fabs(tile.deviation - wanted.deviation) < 1e-3f);
                for (std::size_t c = 0; c < 3; ++c) {
                    QVERIFY(std::fabs(tile.colour[c] - wanted.colour[c]) < 1e-3f);
                    QVERIFY(std::fabs(tile.slopeX[c] - wanted.slopeX[c]) < 1e-3f);
                    QVERIFY(std::fabs(tile.slopeY[c] - wanted.slopeY[c]) < 1e-3f);
                }
            }
        }
        QVERIFY(opaque > 0 && opaque < tiles.tiles.size());
    }

    // One pixel that is not opaque, and one flat tile.
    void tilesKnowTransparencyAndOneColour()
    {
        QImage image(16, 8, QImage::Format_ARGB32);
        image.fill(0xFF405060u);
        image.setPixel(15, 7, 0xFE405060u);
        const RampTiles tiles = tilesOf(image, TileSide::Eight);
        QVERIFY(tiles.at(0, 0).smooth);
        QVERIFY(!tiles.at(1, 0).smooth);
        QCOMPARE(tiles.at(0, 0).colour[2], 96.0f);
        QCOMPARE(tiles.at(0, 0).deviation, 0.0f);
    }

    // Sums of many samples, and the samples one by one; the error is that of what is drawn.
    void colourOfStopsFromSumsAndFromSamples()
    {
        std::mt19937 random(6);
        std::uniform_real_distribution<double> place(-40.0, 60.0);
        std::uniform_real_distribution<double> value(0.0, 255.0);
        const RampRange range = { -40.0, 60.0 };
        const std::vector<double> inner = { -10.0, 25.0 };
        RampHats single(range, inner);
        RampHats summed(range, inner);
        std::array<RampMoments, 3> moments;
        std::vector<RampSample> samples;
        for (int k = 0; k < 400; ++k) {
            const RampSample sample
                = { place(random), 0.0, { { value(random), value(random), value(random) } } };
            samples.push_back(sample);
            single.add(sample.x, sample.colour);
            moments[sample.x <= -10.0 ? 0 : sample.x <= 25.0 ? 1 : 2].add(sample.x, sample.colour);
            for (double channel : sample.colour) {
                single.addSquares(channel * channel);
                summed.addSquares(channel * channel);
            }
        }
        for (std::size_t k = 0; k < moments.size(); ++k)
            summed.add(k, moments[k]);
        Ramp ramp;
        Ramp other;
        const double error = single.solve(&ramp.stops);
        QVERIFY(std::fabs(error - summed.solve(&other.stops)) < 1e-6);
        QVERIFY(std::fabs(error - errorOf(ramp, samples)) < 1e-6);
        QCOMPARE(ramp.stops.size(), std::size_t(4));
        for (std::size_t k = 0; k < ramp.stops.size(); ++k)
            QVERIFY(farthestChannel(ramp.stops[k].colour, other.stops[k].colour) < 1e-6);
        // No other colour of a stop is better.
        for (RampStop &stop : ramp.stops) {
            for (double step : { -1.0, 1.0 }) {
                stop.colour[1] += step;
                QVERIFY(errorOf(ramp, samples) > error);
                stop.colour[1] -= step;
            }
        }
    }

    void stopsFarFromSamplesLieBetweenOthers()
    {
        RampHats hats({ 0.0, 100.0 }, { 50.0 });
        for (double at : { 0.0, 1.0, 99.0, 100.0 })
            hats.add(at, { { at, 2.0 * at, 10.0 } });
        std::vector<RampStop> stops;
        hats.solve(&stops);
        QCOMPARE(stops.size(), std::size_t(3));
        QVERIFY(farthestChannel(stops[1].colour, { { 50.0, 100.0, 10.0 } }) < 0.5);
    }

    void beyondStretchesNothingChanges_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        for (const QSize &size : { QSize(1, 1), QSize(7, 9), QSize(8, 8), QSize(1, 90),
                                   QSize(131, 1), QSize(100, 75), QSize(256, 64) })
            QTest::addRow("%d x %d", size.width(), size.height()) << size.width() << size.height();
    }
    void beyondStretchesNothingChanges()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        std::mt19937 random(8);
        for (int round = 0; round < 20; ++round) {
            const std::vector<uint16_t> numbers = randomNumbers(&random, width, height);
            const RampCells cells(numbers, width, height);
            for (int y = 0; y < height; ++y) {
                std::vector<bool> has(std::size_t(width), false);
                int before = 0;
                cells.forEachStretch(y, [&](int first, int end) {
                    QVERIFY(first >= before && first < end && end <= width);
                    before = end;
                    for (int x = first; x < end; ++x)
                        has[std::size_t(x)] = true;
                });
                for (int x = 0; x < width; ++x)
                    QVERIFY(has[std::size_t(x)] || isAlikeAround(numbers, width, height, x, y));
            }
        }
    }

    void onePictureOfOneNumberHasNoStretch()
    {
        const RampCells cells(std::vector<uint16_t>(64 * 64, 3), 64, 64);
        for (int y = 0; y < 64; ++y)
            cells.forEachStretch(y, [](int, int) { QFAIL("a stretch"); });
    }
};

QTEST_GUILESS_MAIN(tst_RampParts)
#include "tst_rampparts.moc"
