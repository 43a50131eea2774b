// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas that one ramp of colour explains: drawn ramps, noise, JPEG, what lies over them, and what
// is none.
#include "imaging/ramps.h"
#include "imaging/seencolour.h"
#include "support/Messages.h"

#include <QBuffer>
#include <QImage>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <set>

using namespace ztrace;

namespace {

const double kPi = 3.14159265358979323846;
const int kWidth = 200;
const int kHeight = 160;
const RampColour kBlue = { { 30, 80, 200 } };
const RampColour kPale = { { 240, 250, 255 } };

typedef std::function<RampColour(double x, double y)> Painter;

RampColour mixture(const RampColour &a, const RampColour &b, double share)
{
    const double part = std::clamp(share, 0.0, 1.0);
    RampColour colour;
    for (std::size_t c = 0; c < 3; ++c)
        colour[c] = a[c] + part * (b[c] - a[c]);
    return colour;
}

// Blue to pale over the whole picture.
Painter linear(double degrees)
{
    const double x = std::cos(degrees * kPi / 180.0);
    const double y = std::sin(degrees * kPi / 180.0);
    const double reach = 0.5 * (std::fabs(x) * kWidth + std::fabs(y) * kHeight);
    return [=](double atX, double atY) {
        const double t = (atX - 0.5 * kWidth) * x + (atY - 0.5 * kHeight) * y;
        return mixture(kBlue, kPale, 0.5 + 0.5 * t / reach);
    };
}

Painter radial(double x, double y, double radius)
{
    return [=](double atX, double atY) {
        return mixture(kPale, kBlue, std::hypot(atX - x, atY - y) / radius);
    };
}

QImage painted(const Painter &painter, double noise = 0.0)
{
    std::mt19937 random(7);
    std::normal_distribution<double> deviation(0.0, 1.0);
    QImage image(kWidth, kHeight, QImage::Format_ARGB32);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            RampColour colour = painter(x + 0.5, y + 0.5);
            for (double &value : colour)
                value += noise > 0.0 ? noise * deviation(random) : 0.0;
            image.setPixel(x, y, wordOf(colour));
        }
    }
    return image;
}

QImage afterJpeg(const QImage &image, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG", quality);
    return QImage::fromData(bytes, "JPG").convertToFormat(QImage::Format_ARGB32);
}

double degreesOf(const Ramp &ramp)
{
    return std::atan2(ramp.alongY, ramp.alongX) * 180.0 / kPi;
}

// Of two directions of an axis.
double turnBetween(double a, double b)
{
    return std::fabs(std::remainder(a - b, 180.0));
}

// What SVG needs for it.
std::size_t numbersOf(const Ramp &ramp)
{
    return (ramp.radial ? 3 : 4) + 4 * ramp.stops.size() - 2; // offsets 0 and 1 go without saying
}

double errorOf(const Ramps &ramps, const Painter &painter)
{
    const SeenColours seen;
    double sum = 0.0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const uint16_t number = ramps.ofPixel[std::size_t(y * kWidth + x)];
            if (number == 0)
                return 1e9;
            const QRgb drawn = wordOf(ramps.areas[number - 1u].ramp.colourAt(x + 0.5, y + 0.5));
            sum += std::sqrt(double(
                squaredDistance(seen.of(drawn), seen.of(wordOf(painter(x + 0.5, y + 0.5))))));
        }
    }
    return sum / (kWidth * kHeight) / 7.6; // steps of lightness that the eye just sees
}

std::size_t pixelsOf(const Ramps &ramps, std::size_t area)
{
    return std::size_t(std::count(ramps.ofPixel.begin(), ramps.ofPixel.end(), uint16_t(area + 1)));
}

bool isInDisc(double x, double y)
{
    return std::hypot(x - 100, y - 80) < 40;
}

} // namespace

class tst_Ramps : public QObject
{
    Q_OBJECT

private slots:
    void drawnRampsAreOne_data()
    {
        QTest::addColumn<bool>("round");
        QTest::addColumn<double>("first"); // angle, or the centre's x
        QTest::addColumn<double>("second");
        QTest::addColumn<double>("noise");
        QTest::addColumn<int>("quality"); // of JPEG; 0: none
        for (double degrees : { 0.0, 17.0, 45.0, 90.0, 123.0, -70.0 })
            QTest::addRow("linear at %g", degrees) << false << degrees << 0.0 << 0.0 << 0;
        QTest::newRow("linear, noise") << false << 17.0 << 0.0 << 3.0 << 0;
        QTest::newRow("linear, JPEG") << false << 17.0 << 0.0 << 0.0 << 85;
        QTest::newRow("linear, noise and JPEG") << false << 60.0 << 0.0 << 3.0 << 85;
        QTest::newRow("radial") << true << 70.0 << 60.0 << 0.0 << 0;
        QTest::newRow("radial from a corner") << true << 0.0 << 160.0 << 0.0 << 0;
        QTest::newRow("radial from outside") << true << -60.0 << 200.0 << 0.0 << 0;
        QTest::newRow("radial, noise") << true << 70.0 << 60.0 << 3.0 << 0;
        QTest::newRow("radial, JPEG") << true << 70.0 << 60.0 << 0.0 << 85;
    }
    void drawnRampsAreOne()
    {
        QFETCH(bool, round);
        QFETCH(double, first);
        QFETCH(double, second);
        QFETCH(double, noise);
        QFETCH(int, quality);
        const Painter painter = round ? radial(first, second, 320) : linear(first);
        QImage image = painted(painter, noise);
        if (quality > 0)
            image = afterJpeg(image, quality);
        const Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        const Ramp &ramp = ramps.areas[0].ramp;
        QCOMPARE(ramp.radial, round);
        if (round) {
            QVERIFY2(std::hypot(ramp.x - first, ramp.y - second) < 2.0,
                     qPrintable(QString("centre %1 %2").arg(ramp.x).arg(ramp.y)));
        } else {
            QVERIFY2(turnBetween(degreesOf(ramp), first) < 0.3,
                     qPrintable(QString::number(degreesOf(ramp))));
        }
        QVERIFY2(numbersOf(ramp) <= 12, qPrintable(QString::number(numbersOf(ramp))));
        const double error = errorOf(ramps, painter);
        QVERIFY2(error < 0.3, qPrintable(QString::number(error)));
    }

    void bendsAreStops()
    {
        const RampColour red = { { 200, 30, 60 } };
        const Painter painter = [red](double x, double) {
            return x < 80 ? mixture(kBlue, kPale, x / 80) : mixture(kPale, red, (x - 80) / 120);
        };
        const Ramps ramps = findRamps(painted(painter), kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        const std::vector<RampStop> &stops = ramps.areas[0].ramp.stops;
        QCOMPARE(stops.size(), std::size_t(3));
        const Ramp &ramp = ramps.areas[0].ramp;
        const double x = ramp.x + stops[1].at * ramp.alongX;
        QVERIFY2(std::fabs(x - 80.0) < 2.0, qPrintable(QString::number(x)));
        QVERIFY(errorOf(ramps, painter) < 0.3);
    }

    // A ramp in the middle of its area: two stops say all.
    void endsThatStayAreNotWritten()
    {
        const Painter painter
            = [](double x, double) { return mixture(kBlue, kPale, (x - 60) / 80); };
        const Ramps ramps = findRamps(painted(painter), kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        QVERIFY(ramps.areas[0].ramp.stops.size() <= 3);
        const double error = errorOf(ramps, painter);
        QVERIFY2(error < 0.3, qPrintable(QString::number(error)));
    }

    void flatIsNoRamp_data()
    {
        QTest::addColumn<double>("noise");
        QTest::addColumn<int>("quality");
        QTest::newRow("clean") << 0.0 << 0;
        QTest::newRow("noise") << 3.0 << 0;
        QTest::newRow("JPEG") << 0.0 << 60;
        QTest::newRow("noise and JPEG") << 3.0 << 60;
    }
    void flatIsNoRamp()
    {
        QFETCH(double, noise);
        QFETCH(int, quality);
        QImage image = painted(
            [](double x, double y) {
                return isInDisc(x, y) ? kBlue : RampColour { { 200, 180, 90 } };
            },
            noise);
        if (quality > 0)
            image = afterJpeg(image, quality);
        QVERIFY(findRamps(image, kUsualPriceOfEdge).areas.empty());
    }

    // Tiles that two faint borders cross have slopes.
    void flatAreasSideBySideAreNoRamp()
    {
        const Painter steps = [](double, double y) {
            const double level = 24.0 + 9.0 * std::floor(y / 9.0);
            return RampColour { { level, level, level + 16.0 } };
        };
        QImage image = painted(steps).copy(0, 0, kWidth, 27);
        QVERIFY(findRamps(image, kUsualPriceOfEdge).areas.empty());
    }

    void whatIsNotSeenIsNoRamp()
    {
        const Painter painter = [](double x, double) {
            return RampColour { { 200 + 5 * x / kWidth, 200 + 5 * x / kWidth, 200 } };
        };
        QVERIFY(findRamps(painted(painter), kUsualPriceOfEdge).areas.empty());
    }

    // Waves and grain, as of water and cloth.
    void textureIsNoRamp()
    {
        const Painter waves = [](double x, double y) {
            const double light
                = 128 + 50 * std::sin(x * 0.9 + 3 * std::sin(y * 0.13)) + 30 * std::sin(y * 0.7);
            return RampColour { { light, light, 0.8 * light } };
        };
        QVERIFY(findRamps(painted(waves, 4.0), kUsualPriceOfEdge).areas.empty());
        std::mt19937 random(3);
        QImage grain(kWidth, kHeight, QImage::Format_ARGB32);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x)
                grain.setPixel(x, y, 0xFF000000u | (QRgb(random()) & 0xFFFFFFu));
        }
        QVERIFY(findRamps(grain, kUsualPriceOfEdge).areas.empty());
    }

    // A disc of a colour that the ramp has somewhere, and a hole in it through which it is seen.
    void objectsStayWhole()
    {
        const Painter ramp = linear(0.0);
        const RampColour middle = mixture(kBlue, kPale, 0.5);
        const QImage image = painted([&](double x, double y) {
            return isInDisc(x, y) && std::hypot(x - 100, y - 80) > 20 ? middle : ramp(x, y);
        });
        const Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        QVERIFY(ramps.ofPixel[std::size_t(80 * kWidth + 85)] == 1); // in the hole
        int lost = 0;
        int missing = 0;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const double away = std::hypot(x + 0.5 - 100, y + 0.5 - 80);
                const bool inRing = away < 40 && away > 20;
                const bool isRamp = ramps.ofPixel[std::size_t(y * kWidth + x)] == 1;
                // Where the ramp has the very colour of the disc nobody can tell.
                const bool sameColour = std::fabs(x + 0.5 - 100) < 16;
                lost += inRing && isRamp && !sameColour;
                missing += !inRing && !isRamp && !sameColour;
            }
        }
        QVERIFY2(lost < 20, qPrintable(QString::number(lost)));
        QVERIFY2(missing < 20, qPrintable(QString::number(missing)));
    }

    void shadowStaysOffTheRamp()
    {
        const Painter ramp = linear(60.0);
        const QImage image = painted([&](double x, double y) {
            const double away = std::hypot(x - 100, y - 80);
            if (away < 30)
                return RampColour { { 200, 30, 30 } };
            return mixture(RampColour {}, ramp(x, y), 0.4 + 0.6 * std::min(1.0, (away - 30) / 15));
        });
        const Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QVERIFY(!ramps.areas.empty());
        QVERIFY(turnBetween(degreesOf(ramps.areas[0].ramp), 60.0) < 0.5);
        const std::size_t page = kWidth * kHeight - std::size_t(kPi * 45 * 45);
        QVERIFY(pixelsOf(ramps, 0) > page * 95 / 100);
        QVERIFY(pixelsOf(ramps, 0) < page * 106 / 100);
        for (int x = 72; x < 128; ++x)
            QVERIFY(ramps.ofPixel[std::size_t(80 * kWidth + x)] != 1);
    }

    void facetsAreRampsOfTheirOwn()
    {
        const RampColour red = { { 220, 60, 30 } };
        const RampColour yellow = { { 250, 220, 80 } };
        const QImage image = painted([&](double x, double y) {
            return x < 100 ? mixture(kBlue, kPale, y / kHeight)
                           : mixture(red, yellow, (x - 100) / 100);
        });
        const Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(2));
        QCOMPARE(pixelsOf(ramps, 0), std::size_t(100 * kHeight));
        QCOMPARE(pixelsOf(ramps, 1), std::size_t(100 * kHeight));
    }

    void flattenedRampsAreFlat()
    {
        QImage image = painted([](double x, double y) {
            const double edge = std::clamp(std::hypot(x - 100, y - 80) - 39.5, 0.0, 1.0);
            return mixture(RampColour {}, linear(17.0)(x, y), edge);
        });
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        flatten(SoftPixels::Mixed, &ramps, &image);
        const QRgb standIn = ramps.areas[0].standIn;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                // Soft pixels are what they would be on the stand-in.
                const double edge
                    = std::clamp(std::hypot(x + 0.5 - 100, y + 0.5 - 80) - 39.5, 0.0, 1.0);
                const RampColour wanted = mixture(RampColour {}, rampColourOf(standIn), edge);
                QVERIFY2(farthestChannel(rampColourOf(image.pixel(x, y)), wanted) < 16.0,
                         qPrintable(QString("%1 %2").arg(x).arg(y)));
            }
        }
    }

    // Grey from black to white, under an object of the mean.
    void standInDiffersFromWhatLiesThere()
    {
        const RampColour grey = { { 128, 128, 128 } };
        QImage image = painted([&](double x, double y) {
            return std::hypot(x - 40, y - 80) < 25
                ? grey
                : mixture(RampColour {}, RampColour { { 255, 255, 255 } }, x / kWidth);
        });
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        flatten(SoftPixels::Mixed, &ramps, &image);
        QVERIFY(farthestChannel(rampColourOf(ramps.areas[0].standIn), grey) > 24.0);
        QCOMPARE(image.pixel(40, 80), wordOf(grey));
        QVERIFY(farthestChannel(rampColourOf(ramps.areas[0].mean), grey) < 24.0);
    }

    // A disc of the ramp's mean on it, and black far away from it.
    void standInIsNoColourOfThePicture()
    {
        const RampColour mean = { { 135, 135, 135 } };
        QImage image = painted([&](double x, double y) {
            if (std::hypot(x - 60, y - 80) < 23)
                return mean;
            if (x > 120)
                return x > 150 && x < 180 ? RampColour {} : mean;
            return mixture(RampColour { { 20, 120, 20 } }, RampColour { { 250, 150, 250 } },
                           x / 120);
        });
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        flatten(SoftPixels::Mixed, &ramps, &image);
        QVERIFY2(farthestChannel(rampColourOf(ramps.areas[0].standIn), RampColour {}) > 60.0,
                 qPrintable(QString::number(ramps.areas[0].standIn, 16)));
        QVERIFY(farthestChannel(rampColourOf(ramps.areas[0].standIn), mean) > 24.0);
    }

    // Dark letters on a button with a white rim: black would be no ground for them.
    void standInIsAsLightAsTheRamp()
    {
        QImage image = painted([&](double x, double y) {
            if (y < 12)
                return RampColour { { 255, 255, 255 } };
            if (std::fmod(x, 40) < 12 && y > 60 && y < 100)
                return RampColour { { 46, 52, 54 } };
            return mixture(RampColour { { 240, 240, 240 } }, RampColour { { 205, 205, 205 } },
                           y / 160);
        });
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        flatten(SoftPixels::Mixed, &ramps, &image);
        QVERIFY2(qGray(ramps.areas[0].standIn) > 150,
                 qPrintable(QString::number(ramps.areas[0].standIn, 16)));
    }

    // A mixture that took the colour of neither side.
    void mixturesGoToWhatTheyAreOf()
    {
        const QImage before = painted([](double x, double y) {
            const double away = std::hypot(x - 100.0, y - 80.0) - 40.0;
            return mixture(RampColour {}, linear(17.0)(x, y), away + 0.5);
        });
        QImage image = before;
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        flatten(SoftPixels::Mixed, &ramps, &image);
        LabelPlane plane;
        plane.width = kWidth;
        plane.height = kHeight;
        plane.colours = { 0xFF000000u, 0xFFFF0000u, ramps.areas[0].standIn };
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const double away = std::hypot(x - 99.5, y - 79.5) - 40.0;
                const bool isRed = std::fabs(away) > 0.25 && image.pixel(x, y) != before.pixel(x, y)
                    && (x + y) % 3 == 0 && ramps.ofPixel[std::size_t(y * kWidth + x)] == 0;
                plane.labels.push_back(isRed ? 1 : away < 0.0 ? 0 : 2);
            }
        }
        const auto reds = std::count(plane.labels.begin(), plane.labels.end(), uint16_t(1));
        QVERIFY(reds > 5);
        settleMixtures(ramps, 2, &plane);
        const auto left = std::count(plane.labels.begin(), plane.labels.end(), uint16_t(1));
        QVERIFY2(4 * left < reds, qPrintable(QString::number(left)));
    }

    // With the stand-in a mixture is a colour of its own; drawn in it, it would be a stranger.
    void coloursThatNothingHasAreThoseOfTheMixtures()
    {
        QImage image(4, 1, QImage::Format_ARGB32);
        const QRgb flat[] = { 0xFF954CA6u, 0xFF954CA6u, 0xFF204080u, 0xFF204080u };
        for (int x = 0; x < 4; ++x)
            image.setPixel(x, 0, flat[x]);
        Ramps ramps;
        ramps.mixtures = { { 0, 0xFF5080C0u }, { 1, 0xFF5484C8u }, { 3, 0xFF204884u } };
        LabelPlane plane;
        plane.width = 4;
        plane.height = 1;
        plane.colours = { 0xFF954CA6u, 0xFF204080u };
        plane.labels = { 0, 0, 1, 1 };
        recolourMixtures(image, ramps, 2, &plane);
        QCOMPARE(plane.colours[0], 0xFF5282C4u);
        QCOMPARE(plane.colours[1], 0xFF204080u);
    }

    void labelsAreThoseOfTheRamps()
    {
        QImage image = painted(
            [](double x, double y) { return isInDisc(x, y) ? RampColour {} : linear(17.0)(x, y); });
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        flatten(SoftPixels::Mixed, &ramps, &image);
        LabelPlane plane;
        plane.width = kWidth;
        plane.height = kHeight;
        plane.colours = { ramps.areas[0].standIn, 0xFF000000u };
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x)
                plane.labels.push_back(image.pixel(x, y) == 0xFF000000u ? 1 : 0);
        }
        QCOMPARE(labelRamps(image, ramps, &plane), std::size_t(2));
        QCOMPARE(plane.colours.size(), std::size_t(3));
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x)
                QCOMPARE(plane.labels[std::size_t(y * kWidth + x)],
                         uint16_t(isInDisc(x + 0.5, y + 0.5) ? 1 : 2));
        }
    }

    // A disc far from the ramp that was taken for its stand-in, which is no colour of the picture.
    void strangersTakeTheColourTheyHave()
    {
        const RampColour mean = { { 135, 135, 135 } };
        QImage image = painted([&](double x, double y) {
            if (std::hypot(x - 60, y - 80) < 23 || x > 120)
                return std::hypot(x - 160, y - 80) < 10 ? RampColour { { 250, 10, 10 } } : mean;
            return mixture(RampColour { { 20, 120, 20 } }, RampColour { { 250, 150, 250 } },
                           x / 120);
        });
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        flatten(SoftPixels::Mixed, &ramps, &image);
        LabelPlane plane;
        plane.width = kWidth;
        plane.height = kHeight;
        plane.colours = { wordOf(mean), 0xFFF00000u, ramps.areas[0].standIn };
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const bool isDisc = std::hypot(x + 0.5 - 160, y + 0.5 - 80) < 10;
                plane.labels.push_back(
                    ramps.ofPixel[std::size_t(y * kWidth + x)] != 0 || isDisc ? 2 : 0);
            }
        }
        labelRamps(image, ramps, &plane);
        QCOMPARE(plane.labels[std::size_t(80 * kWidth + 160)], uint16_t(1));
        QCOMPARE(std::count(plane.labels.begin(), plane.labels.end(), uint16_t(2)), 0);
    }

    // Beyond the ramp colours go on; the palette has none of them but a green, which is elsewhere.
    void whatNothingNearHasGoesToWhatItIsLike()
    {
        QImage image = painted(linear(0.0));
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        const QRgb green = 0xFF00A000u;
        const QRgb line = 0xFF101010u;
        const auto place = [](int x, int y) { return std::size_t(y * kWidth + x); };
        const int bottom = kHeight - 3;
        LabelPlane plane { kWidth, kHeight, {}, { green, line } };
        plane.labels.assign(std::size_t(kWidth * kHeight), 2);
        plane.colours.push_back(ramps.areas[0].standIn);
        for (int y = bottom; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                ramps.ofPixel[place(x, y)] = 0;
                plane.labels[place(x, y)] = 0;
            }
        }
        image.setPixel(100, bottom, green); // a green dot, and a soft pixel beside it
        image.setPixel(180, bottom, line);
        plane.labels[place(180, bottom)] = 1;
        ramps.cells = RampCells(ramps.ofPixel, kWidth, kHeight);
        settleStrangers(image, ramps, 2, &plane);
        QCOMPARE(plane.labels[place(30, bottom)], uint16_t(2));
        QCOMPARE(plane.labels[place(30, kHeight - 1)], uint16_t(2));
        QCOMPARE(plane.labels[place(100, bottom)], uint16_t(0));
        QCOMPARE(plane.labels[place(101, bottom + 1)], uint16_t(0));
        QCOMPARE(plane.labels[place(180, bottom)], uint16_t(1));
    }

    void transparentPixelsAreInNone()
    {
        QImage image = painted(linear(0.0));
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < 50; ++x)
                image.setPixel(x, y, image.pixel(x, y) & 0x80FFFFFFu);
        }
        const Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QCOMPARE(ramps.areas.size(), std::size_t(1));
        QCOMPARE(pixelsOf(ramps, 0), std::size_t((kWidth - 50) * kHeight));
    }

    void smallPicturesHaveNone_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        for (const QSize &size : { QSize(1, 1), QSize(1, 500), QSize(500, 1), QSize(3, 3),
                                   QSize(11, 11), QSize(500, 3) })
            QTest::addRow("%d x %d", size.width(), size.height()) << size.width() << size.height();
    }
    void smallPicturesHaveNone()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QImage image(width, height, QImage::Format_ARGB32);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x)
                image.setPixel(x, y, qRgb((x + y) % 256, 0, 0));
        }
        Ramps ramps = findRamps(image, kUsualPriceOfEdge);
        QVERIFY(ramps.areas.empty());
        QVERIFY(ramps.ofPixel.empty());
        const QImage before = image.copy();
        flatten(SoftPixels::Settled, &ramps, &image);
        QCOMPARE(image, before);
    }
};

QTEST_GUILESS_MAIN(tst_Ramps)
#include "tst_ramps.moc"
