// (c) the ztrace developers. Licence: see LICENSE.
//
// From images to few colours: thresholds, palettes, edges.
#include "imaging/colour.h"
#include "imaging/labelwindow.h"
#include "imaging/palette.h"
#include "imaging/segment.h"
#include "imaging/ridges.h"
#include "imaging/resolution.h"
#include "imaging/spotcolours.h"

#include <QBuffer>
#include <QColor>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace;

namespace {

const QRgb kRed = 0xFFE02020u;
const QRgb kBlue = 0xFF2020E0u;

// Halves of two colours with a column of their mean between them.
QImage softEdge(QRgb left, QRgb right, QRgb between)
{
    QImage image(21, 12, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, x < 10 ? left : x > 10 ? right : between);
    }
    return image;
}

uint64_t windowBit(int dx, int dy)
{
    return uint64_t(1) << (LabelWindow::kMiddle + 8 * dy + dx);
}

// The rule of `behind`, one pixel after the other.
bool isBehind(uint64_t lines, int dx, int dy)
{
    const auto isLine = [lines](int u, int v) { return (lines & windowBit(u, v)) != 0; };
    if (std::abs(dx) <= 1 && std::abs(dy) <= 1)
        return dx != 0 && dy != 0 && isLine(dx, 0) && isLine(0, dy);
    const int u = dx / 2;
    const int v = dy / 2;
    return isLine(u, v) || isLine(u + dx % 2, v + dy % 2)
        || (std::abs(dx) == std::abs(dy)
            && ((isLine(u, 0) && isLine(0, v)) || (isLine(dx, v) && isLine(u, dy))));
}

} // namespace

class tst_Segment : public QObject
{
    Q_OBJECT

    static void compareWindow(const LabelPlane &plane, const EdgeMap &edges, int x, int y)
    {
        const LabelWindow window(plane, edges, x, y);
        const uint64_t lines = window.marked(EdgeMap::kOfLine | EdgeMap::kRule) & ~windowBit(0, 0);
        for (int dy = -2; dy <= 2; ++dy) {
            for (int dx = -2; dx <= 2; ++dx) {
                const bool isInside
                    = x + dx >= 0 && x + dx < plane.width && y + dy >= 0 && y + dy < plane.height;
                const std::size_t place
                    = std::size_t(y + dy) * std::size_t(plane.width) + std::size_t(x + dx);
                const uint16_t label = isInside ? plane.labels[place] : kUnlabelled;
                const unsigned marks = isInside ? edges.row(y + dy)[x + dx] : 0u;
                const uint64_t bit = windowBit(dx, dy);
                for (uint16_t other : { uint16_t(0), uint16_t(1), kUnlabelled })
                    QCOMPARE((window.pixelsOf(other) & bit) != 0, label == other);
                QCOMPARE((window.labelled() & bit) != 0, label != kUnlabelled);
                QCOMPARE((window.marked(EdgeMap::kRule) & bit) != 0, (marks & EdgeMap::kRule) != 0);
                const bool touches = std::max(std::abs(dx), std::abs(dy)) == 1;
                const bool ofLine = (marks & (EdgeMap::kOfLine | EdgeMap::kFlank)) != 0;
                if (dx != 0 || dy != 0)
                    QCOMPARE((window.admitted() & bit) != 0,
                             ofLine ? touches && (marks & EdgeMap::kOfLine) != 0
                                    : !isBehind(lines, dx, dy));
            }
        }
    }

private slots:
    void flatColoursAreExactAndEdgesLeaveNone()
    {
        const QImage image = softEdge(kRed, kBlue, 0xFF802080u);
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 16);
        QCOMPARE(palette, (std::vector<QRgb> { kRed, kBlue }));
    }

    void edgePixelsGoToOneOfTheSides()
    {
        // The mean of the two is exactly a third colour of the palette, which is not beside it.
        const QImage image = softEdge(kRed, kBlue, 0xFF812081u);
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), { kRed, kBlue, 0xFF802080u });
        for (uint16_t label : plane.labels)
            QVERIFY(label < 2);
    }

    // The column between would go to the nearer side, red; known, it stays, and so does a red pixel
    // that is known to be blue.
    void knownLabelsStay()
    {
        const QImage image = softEdge(kRed, kBlue, 0xFFC02040u);
        const std::vector<QRgb> palette = { kRed, kBlue };
        const LabelPlane free = reduceFlat(image, EdgeMap(image), palette);
        const std::size_t soft = 10;
        QCOMPARE(free.labels[soft], uint16_t(0));
        std::vector<uint16_t> known(free.labels.size(), kUnlabelled);
        known[0] = 1;
        known[soft] = 1;
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), palette, known);
        for (std::size_t k = 0; k < known.size(); ++k)
            QCOMPARE(plane.labels[k], k == 0 || k == soft ? uint16_t(1) : free.labels[k]);
    }

    // A strip that no other label reaches.
    void opaquePixelsAreNotClear()
    {
        const QRgb rust = 0xFFB55D23u, clear = 0u, brown = 0xFF49230Cu;
        QImage image(40, 12, QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, x < 10 ? brown : x > 20 && x < 23 ? rust : clear);
        }
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), { brown, clear });
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const bool isOpaque = qAlpha(image.pixel(x, y)) == 255;
                QCOMPARE(int(plane.labels[std::size_t(40 * y + x)]), isOpaque ? 0 : 1);
            }
        }
    }

    // A green line over a grey one on white: mixtures of green and white come near to the grey,
    // which has nothing of them.
    void mixturesGoToOneOfTheirColours()
    {
        const QRgb white = 0xFFFFFFFFu, grey = 0xFFD9D9D9u, green = 0xFF1B9A34u;
        QImage image(40, 40, QImage::Format_ARGB32);
        std::vector<double> cover;
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 40; ++x) {
                const bool isGrey = y >= 19 && y < 23;
                int inside = 0;
                for (int k = 0; k < 256; ++k) {
                    const double u = x + (k % 16 + 0.5) / 16 - 20.2;
                    const double v = y + (k / 16 + 0.5) / 16 - 20.6;
                    inside += std::fabs(0.88 * u - 0.475 * v) < 3.1;
                }
                cover.push_back(inside / 256.0);
                const auto mix
                    = [&](int a, int b) { return int(std::lround(a + (b - a) * cover.back())); };
                const QRgb under = isGrey ? grey : white;
                image.setPixel(x, y,
                               qRgb(mix(qRed(under), 0x1B), mix(qGreen(under), 0x9A),
                                    mix(qBlue(under), 0x34)));
            }
        }
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), { white, grey, green });
        int soft = 0;
        for (std::size_t k = 0; k < cover.size(); ++k) {
            const bool isGrey = k >= std::size_t(19 * 40) && k < std::size_t(23 * 40);
            if (isGrey || cover[k] == 0 || cover[k] == 1 || std::fabs(cover[k] - 0.5) < 0.1)
                continue;
            ++soft;
            QCOMPARE(plane.colours[plane.labels[k]], cover[k] > 0.5 ? green : white);
        }
        QVERIFY(soft > 80);
    }

    // Grey lines a pixel wide beside dark areas, at some angle: no mixture of the dark colour with
    // the paper. Where they are short, or come near to the dark colour, they are.
    void longLinesKeepTheirColour()
    {
        const auto drawn = [](int length, int tone) {
            QImage image(120, 120, QImage::Format_ARGB32);
            for (int y = 0; y < 120; ++y) {
                for (int x = 0; x < 120; ++x) {
                    int inside = 0;
                    for (int k = 0; k < 64; ++k) {
                        const double u = x + (k % 8 + 0.5) / 8 - 10;
                        const double v = y + (k / 8 + 0.5) / 8 - 30.3 - 0.31 * u;
                        inside += u > 0 && u < length && std::fabs(v) < 0.52;
                    }
                    const int grey = 240 - (240 - tone) * inside / 64;
                    const bool isDark = y > 90 && y < 100 && x > 20 && x < 60;
                    image.setPixel(x, y, isDark ? qRgb(70, 70, 70) : qRgb(grey, grey, grey));
                }
            }
            return image;
        };
        const auto coloursOf = [](const QImage &image) {
            const EdgeMap edges(image);
            return spotColoursIn(image, edges, { qRgb(240, 240, 240), qRgb(70, 70, 70) }, true, 8);
        };
        const std::vector<SpotColour> found = coloursOf(drawn(100, 160));
        QCOMPARE(found.size(), std::size_t(1));
        QVERIFY(std::abs(qRed(found[0].colour) - 160) < 15);
        QVERIFY(coloursOf(drawn(25, 160)).empty());
        QVERIFY(coloursOf(drawn(100, 80)).empty());
    }

    // In a column of pixels no line has neighbours; nothing beyond the last one is asked for.
    void oneColumnHasNoLongLines()
    {
        QImage image(1, 400, QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y)
            image.setPixel(0, y, y % 5 == 4 || y > 390 ? qRgb(70, 70, 70) : qRgb(240, 240, 240));
        const EdgeMap edges(image);
        spotColoursIn(image, edges, { qRgb(240, 240, 240), qRgb(20, 20, 20) }, true, 8);
    }

    void rareColourFarFromAllOthersIsKept()
    {
        QImage image(200, 200, QImage::Format_ARGB32);
        for (int y = 0; y < 200; ++y) {
            for (int x = 0; x < 200; ++x)
                image.setPixel(x, y, qRgb(0, 60 + y / 4 * 3, 255)); // a sky in 50 blues
        }
        for (int y = 100; y < 110; ++y) {
            for (int x = 100; x < 110; ++x)
                image.setPixel(x, y, kRed);
        }
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 6);
        QVERIFY(std::find(palette.begin(), palette.end(), kRed) != palette.end());
        QCOMPARE(palette.size(), std::size_t(6));
    }

    // A line has soft edges alone, in rows 28 to 32.
    static QImage softLine(QRgb ground, QRgb line)
    {
        QImage image(60, 60, QImage::Format_ARGB32);
        image.fill(ground);
        for (int x = 0; x < 60; ++x) {
            for (int y : { 29, 31 })
                image.setPixel(x, y, mixture(ground, line));
            image.setPixel(x, 30, line);
        }
        return image;
    }

    static QRgb mixture(QRgb a, QRgb b)
    {
        return qRgba((qRed(a) + qRed(b)) / 2, (qGreen(a) + qGreen(b)) / 2,
                     (qBlue(a) + qBlue(b)) / 2, (qAlpha(a) + qAlpha(b)) / 2);
    }

    void thinLinesHaveAColour_data()
    {
        QTest::addColumn<QRgb>("ground");
        QTest::addColumn<QRgb>("line");
        QTest::newRow("green on white") << 0xFFFFFFFFu << 0xFF148C28u;
        QTest::newRow("white on blue") << kBlue << 0xFFFFFFFFu;
        QTest::newRow("black on nothing") << 0u << 0xFF000000u;
    }
    void thinLinesHaveAColour()
    {
        QFETCH(QRgb, ground);
        QFETCH(QRgb, line);
        const QImage image = softLine(ground, line);
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 16);
        QCOMPARE(palette.size(), std::size_t(2));
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), palette);
        for (std::size_t i = 30 * 60 + 3; i < 31 * 60 - 3; ++i)
            QCOMPARE(palette[plane.labels[i]], line);
        QCOMPARE(palette[plane.labels[0]], ground);
    }

    void softEdgesAreNoLines()
    {
        const QImage image = softEdge(kRed, kBlue, mixture(kRed, kBlue));
        QCOMPARE(spotColoursIn(image, EdgeMap(image), { kRed, kBlue }, true, 16).size(),
                 std::size_t(0));
        for (int x = 0; x < image.width(); ++x)
            QVERIFY(!RidgeFinder(image).isRidge(x, image.height() / 2));
    }

    void pixelsAreMadeSquareWhereTheyFit()
    {
        QImage image(20, 10, QImage::Format_ARGB32);
        image.fill(kRed);
        image.setDotsPerMeterX(4000);
        image.setDotsPerMeterY(2000);
        QVERIFY(!resolutionOf(image).isSquare());
        QCOMPARE(withSquarePixels(image).size(), QSize(20, 20));
        QVERIFY(resolutionOf(withSquarePixels(image)).isSquare());
        image.setDotsPerMeterY(200); // that cannot be true
        QVERIFY(resolutionOf(image).isSquare());
        QImage large(16000, 16000, QImage::Format_Mono);
        large.setDotsPerMeterX(4000);
        large.setDotsPerMeterY(890);
        QVERIFY(withSquarePixels(large).isNull());
    }

    // Of a picture of two flat colours; a frame around it, a wider one on its left alone.
    // Slanted, 4 pixels wide, of a colour that thin lines have given the palette: too wide for a
    // ridge, and every pixel of it is an edge.
    void wideSoftLinesAreWhole()
    {
        QImage image(60, 60, QImage::Format_ARGB32);
        std::vector<double> coverage;
        for (int y = 0; y < 60; ++y) {
            for (int x = 0; x < 60; ++x) {
                const double away = std::fabs(x - y + 3.2) / std::sqrt(2.0);
                const double ripple = (x + y) % 4 < 2 ? 1.0 : 0.9; // as scaling leaves it
                coverage.push_back(std::max(0.0, std::min(1.0, 2.5 - away)));
                const double part = coverage.back() * ripple;
                image.setPixel(
                    x, y, qRgb(int(255 - 67 * part), int(255 - 230 * part), int(255 - 230 * part)));
            }
        }
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), { 0xFFFFFFFFu, 0xFFBA0A0Au });
        for (int y = 3; y < 57; ++y) {
            for (int x = 3; x < 57; ++x) {
                const std::size_t place = std::size_t(60 * y + x);
                if (coverage[place] > 0.8 || coverage[place] < 0.2)
                    QCOMPARE(int(plane.labels[place]), coverage[place] > 0.8 ? 1 : 0);
            }
        }
    }

    // On the way from white to black there is grey, but no area of it.
    void wideSoftEdgesHaveNoCore()
    {
        QImage image(40, 20, QImage::Format_ARGB32);
        const int greys[] = { 215, 165, 110, 60, 25 };
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 40; ++x) {
                const int grey = x < 18 ? 255 : x > 22 ? 0 : greys[x - 18];
                image.setPixel(x, y, qRgb(grey, grey, grey));
            }
        }
        const LabelPlane plane
            = reduceFlat(image, EdgeMap(image), { 0xFFFFFFFFu, 0xFF000000u, 0xFFA0A0A0u });
        for (uint16_t label : plane.labels)
            QVERIFY(label < 2);
    }

    static QImage framed(int width, QRgb frame)
    {
        QImage image(40, 30, QImage::Format_ARGB32);
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x) {
                const bool isFrame = x < width || y == 0 || x == 39 || y == 29;
                image.setPixel(x, y, isFrame ? frame : y < 15 ? kRed : kBlue);
            }
        }
        return image;
    }

    // What is beyond the picture is not seen, so that such a line has one side alone.
    void framesOnTheRimHaveAColour_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<QRgb>("frame");
        for (int width = 1; width <= 4; ++width) {
            QTest::addRow("%d, opaque", width) << width << 0xFF000000u;
            QTest::addRow("%d, translucent", width) << width << 0xD0000000u;
        }
    }
    void framesOnTheRimHaveAColour()
    {
        QFETCH(int, width);
        QFETCH(QRgb, frame);
        const QImage image = framed(width, frame);
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 16);
        if (qAlpha(frame) == 255) // spot colours are opaque, and may add what nothing has
            QCOMPARE(palette.size(), std::size_t(3));
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), palette);
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x)
                QCOMPARE(palette[plane.labels[std::size_t(40 * y + x)]], image.pixel(x, y));
        }
    }

    // An area whose soft side is the rim of the picture has no line there.
    void softRimsAreNoLines()
    {
        QImage image(40, 30, QImage::Format_ARGB32);
        image.fill(kRed);
        for (int x = 0; x < 40; ++x)
            image.setPixel(x, 0, kRed & 0x80FFFFFFu);
        const RidgeFinder finder(image);
        for (int x = 0; x < 40; ++x)
            QVERIFY(!finder.isRidge(x, 0));
    }

    // Whatever its angle, where it ends at the rim it is no line there.
    void softEdgesAreNoLinesOnTheRim()
    {
        const int size = 64;
        const double parts = 4.0; // a pixel's samples a side
        for (int degrees = 15; degrees <= 75; degrees += 5) {
            const double angle = degrees * 3.14159265358979 / 180.0;
            QImage image(size, size, QImage::Format_ARGB32);
            for (int pixel = 0; pixel < size * size; ++pixel) {
                int dark = 0;
                for (int i = 0; i < int(parts * parts); ++i) {
                    const double x = pixel % size + (i % int(parts) + 0.5) / parts - size / 2.0;
                    const double y = pixel / size + (i / int(parts) + 0.5) / parts - size / 2.0;
                    dark += x * std::cos(angle) + y * std::sin(angle) < 0.0 ? 1 : 0;
                }
                const int grey = 255 - int(255.0 * dark / (parts * parts));
                image.setPixel(pixel % size, pixel / size, qRgb(grey, grey, grey));
            }
            const RidgeFinder finder(image);
            for (int k = 0; k < size; ++k) {
                for (int rim : { 0, size - 1 }) {
                    const QByteArray place = QByteArray::number(degrees) + " degrees, "
                        + QByteArray::number(k) + ", " + QByteArray::number(rim);
                    QVERIFY2(!finder.isRidge(k, rim), place.constData());
                    QVERIFY2(!finder.isRidge(rim, k), place.constData());
                }
            }
        }
    }

    void texturesAreNoLines()
    {
        QImage image(60, 60, QImage::Format_ARGB32);
        image.fill(kRed);
        for (int y = 10; y < 50; ++y) {
            for (int x = 10; x < 50; ++x)
                image.setPixel(x, y, y % 2 ? qRgb(160, 160, 160) : qRgb(205, 205, 205));
        }
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 16);
        for (QRgb grey : { qRgb(160, 160, 160), qRgb(205, 205, 205) })
            QVERIFY(std::find(palette.begin(), palette.end(), grey) != palette.end());
    }

    void translucentColoursFillWhatOpaqueOnesLeave()
    {
        QImage image(160, 20, QImage::Format_ARGB32);
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 160; ++x)
                image.setPixel(x, y, qRgba(x / 20 * 30, 255 - x / 20 * 30, 90, 128));
        }
        QCOMPARE(flatPalette(image, EdgeMap(image), 16).size(), std::size_t(8));
        QCOMPARE(flatPalette(image, EdgeMap(image), 5).size(), std::size_t(5));
    }

    void spotColoursTakeThePlacesOfLessUsefulColours()
    {
        QImage image(200, 200, QImage::Format_ARGB32);
        for (int y = 0; y < 200; ++y) {
            for (int x = 0; x < 200; ++x)
                image.setPixel(x, y, qRgb(120 + x / 2, 120 + x / 2, 120 + x / 2)); // greys
        }
        for (int y = 0; y < 200; ++y)
            image.setPixel(100, y, qRgb(200, 120, 0));
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 6);
        QCOMPARE(palette.size(), std::size_t(6));
        const auto isOrange = [](QRgb colour) { return qRed(colour) > qBlue(colour) + 100; };
        QCOMPARE(std::count_if(palette.begin(), palette.end(), isOrange), std::ptrdiff_t(1));
    }

    void asManyFlatColoursAsThereAre()
    {
        // 33 squares of hues and greys that are clearly different.
        QImage image(33 * 12, 24, QImage::Format_ARGB32);
        image.fill(0xFFFFFFFFu);
        std::vector<QRgb> wanted = { 0xFFFFFFFFu };
        for (int k = 0; k < 33; ++k) {
            const QRgb colour = QColor::fromHsv(k * 10, 120 + k % 2 * 100, 90 + k % 3 * 50).rgb();
            wanted.push_back(colour);
            for (int i = 0; i < 100; ++i)
                image.setPixel(12 * k + i % 10, 4 + i / 10, colour);
        }
        std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 64);
        std::sort(palette.begin(), palette.end());
        std::sort(wanted.begin(), wanted.end());
        QCOMPARE(palette, wanted);
        QCOMPARE(flatPalette(image, EdgeMap(image), 16).size(), std::size_t(16));
    }

    // What lossy compression leaves around edges is no colour of its own.
    void noiseAboutEdgesHasNoColours()
    {
        QImage image(120, 80, QImage::Format_RGB32);
        image.fill(0xFFFFFFFFu);
        for (int y = 0; y < 80; ++y) {
            for (int x = 0; x < 120; ++x) {
                if ((x - 40) * (x - 40) + (y - 40) * (y - 40) < 900)
                    image.setPixel(x, y, 0xFFC81E28u);
                if (x > 60 && y > 30 && x < 110 && y < 60)
                    image.setPixel(x, y, 0xFF143CA0u);
            }
        }
        QBuffer file;
        file.open(QIODevice::ReadWrite);
        QVERIFY(image.save(&file, "jpg", 75));
        const QImage read
            = QImage::fromData(file.data(), "jpg").convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(flatPalette(read, EdgeMap(read), 64).size(), std::size_t(3));
    }

    // A pale rule is no black one of which little is left, whatever colours there are.
    void palesRulesStayPale()
    {
        QImage image(80, 40, QImage::Format_ARGB32);
        image.fill(0xFFFFFFFFu);
        for (int i = 0; i < 100; ++i)
            image.setPixel(10 + i % 10, 20 + i / 10, 0xFF000000u);
        for (int x = 0; x < 80; ++x)
            image.setPixel(x, 10, 0xFFC8C8C8u);
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 64);
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), palette);
        for (std::size_t x = 3; x < 77; ++x)
            QCOMPARE(palette[plane.labels[10 * 80 + x]], 0xFFC8C8C8u);
    }

    void linesHideWhatIsBehindThem()
    {
        std::mt19937_64 random(3);
        for (int i = 0; i < 20000; ++i) {
            const uint64_t lines = random() & (i % 2 ? random() : ~uint64_t(0)) & LabelWindow::kAll
                & ~windowBit(0, 0);
            const uint64_t hidden = behind(lines);
            QCOMPARE(hidden & ~LabelWindow::kAll, uint64_t(0));
            for (int dy = -2; dy <= 2; ++dy) {
                for (int dx = -2; dx <= 2; ++dx)
                    QCOMPARE((hidden & windowBit(dx, dy)) != 0, isBehind(lines, dx, dy));
            }
        }
    }

    // Beyond the rim there is nothing; labels of strokes count where their cores touch.
    void windowsSeeWhatIsAround()
    {
        std::mt19937 random(4);
        for (const QSize &size : { QSize(1, 1), QSize(3, 2), QSize(2, 9), QSize(19, 13) }) {
            QImage image(size, QImage::Format_ARGB32);
            image.fill(0xFFFFFFFFu);
            EdgeMap edges(image);
            LabelPlane plane;
            plane.width = size.width();
            plane.height = size.height();
            for (int k = 0; k < plane.width * plane.height; ++k)
                plane.labels.push_back(random() % 3 ? uint16_t(random() % 3) : kUnlabelled);
            for (int y = 0; y < plane.height; ++y) {
                for (int x = 0; x < plane.width; ++x)
                    edges.row(y)[x] = random() % 4 ? 0 : uint8_t(random());
            }
            for (int y = 0; y < plane.height; ++y) {
                for (int x = 0; x < plane.width; ++x)
                    compareWindow(plane, edges, x, y);
            }
        }
    }

    void transparencyIsAnEntryOfItsOwn()
    {
        QImage image = softEdge(0x00FFFFFFu, kBlue, 0x802020E0u);
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 16);
        QCOMPARE(palette, (std::vector<QRgb> { kBlue, 0u }));
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), palette);
        QCOMPARE(int(plane.labels.front()), 1);
        QCOMPARE(int(plane.labels.back()), 0);
    }
};

QTEST_GUILESS_MAIN(tst_Segment)
#include "tst_segment.moc"
