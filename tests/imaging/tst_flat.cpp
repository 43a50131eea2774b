// (c) the ztrace developers. Licence: see LICENSE.
//
// The stages for flat colours against their plain forms (plain/plain.h), on pictures of every kind.
#include "imaging/borders.h"
#include "imaging/colour.h"
#include "imaging/edges.h"
#include "imaging/nearestcolour.h"
#include "imaging/palette.h"
#include "imaging/ridges.h"
#include "imaging/segment.h"
#include "imaging/upsample.h"
#include "imaging/wordtable.h"

#include "plain/plain.h"

#include <QPainter>
#include <QTest>

#include <map>
#include <random>

using namespace ztrace;

namespace {

typedef std::mt19937 Random;

QRgb anyWord(Random *random, bool opaque)
{
    return QRgb((*random)()) | (opaque ? 0xFF000000u : 0u);
}

// Pixels are never nearly transparent or nearly opaque when they come to these stages.
QRgb settled(QRgb word)
{
    const int alpha = qAlpha(word);
    return alpha <= 12 ? 0u : alpha >= 243 ? word | 0xFF000000u : word;
}

template<typename Word>
QImage filled(int width, int height, const Word &word)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, settled(word()));
    }
    return image;
}

QImage noise(int width, int height, bool opaque, Random *random)
{
    return filled(width, height, [&] { return anyWord(random, opaque); });
}

QImage fewColours(int width, int height, Random *random)
{
    const QRgb words[] = { 0u, 0xFF102030u, 0xFF1A2030u, 0xFFFFFFFFu, 0x80FF0000u, 0xFFE8E8E8u };
    return filled(width, height, [&] { return words[(*random)() % 6]; });
}

// Differences about as long as a ridge needs.
QImage faint(int width, int height, Random *random)
{
    return filled(width, height, [&] {
        const int grey = 100 + static_cast<int>((*random)() % 12) * 4;
        return qRgb(grey, grey + static_cast<int>((*random)() % 8), grey);
    });
}

// Shapes and thin lines with soft edges, on paper or on nothing, drawn by arithmetic.
QImage drawing(int width, int height, bool onPaper, Random *random)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(onPaper ? 0xFFFFFFFFu : 0u);
    const auto below = [&](int limit) { return static_cast<int>((*random)() % unsigned(limit)); };
    for (int i = 0; i < 9; ++i) {
        const QRgb colour = anyWord(random, true);
        const double x0 = below(width);
        const double y0 = below(height);
        const double radius = 1 + below(width / 2);
        const double thickness = i % 3 == 0 ? radius : 0.3 + 0.5 * below(6);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const double away = std::abs(std::hypot(x - x0, y - y0) - radius + thickness);
                const double share = std::max(0.0, std::min(1.0, thickness - away + 0.5));
                const QRgb ground = image.pixel(x, y);
                const auto mixed = [&](int a, int b) { return int(a + share * (b - a) + 0.5); };
                const QRgb paint = qAlpha(ground) == 0 ? colour & 0x00FFFFFFu : ground;
                if (share > 0.0)
                    image.setPixel(x, y,
                                   settled(qRgba(mixed(qRed(paint), qRed(colour)),
                                                 mixed(qGreen(paint), qGreen(colour)),
                                                 mixed(qBlue(paint), qBlue(colour)),
                                                 mixed(qAlpha(ground), 255))));
            }
        }
    }
    return image;
}

// Frames, rules and a mark that is repeated, as dialogs have them: much is the same from pixel to
// pixel along their edges, up to the rim.
QImage frames(int width, int height, Random *random)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(0xFFEFF0F1u);
    const auto below = [&](int limit) { return static_cast<int>((*random)() % unsigned(limit)); };
    const auto fill = [&](int left, int top, int right, int bottom, QRgb word) {
        for (int y = std::max(0, top); y < std::min(height, bottom); ++y) {
            for (int x = std::max(0, left); x < std::min(width, right); ++x)
                image.setPixel(x, y, word);
        }
    };
    for (int i = 0; i < 7; ++i) {
        const int x = below(width) - width / 4;
        const int y = below(height) - height / 4;
        const int right = x + 2 + below(width);
        const int bottom = y + 2 + below(height);
        fill(x, y, right, bottom, anyWord(random, true));
        fill(x + 1, y + 1, right - 1, bottom - 1, anyWord(random, i % 3 != 0));
    }
    for (int i = 0; i < 6; ++i) {
        const int y = below(height);
        for (int x = 3; x + 5 < width; x += 6) {
            fill(x, y, x + 1, y + 5, 0xFF202428u);
            fill(x + 1, y, x + 2, y + 3, 0xFF9098A0u);
            fill(x + 2, y + 2, x + 4, y + 3, 0xFF505860u);
        }
    }
    return image;
}

QImage shading(int width, int height, Random *random)
{
    int i = 0;
    return filled(width, height, [&] {
        const int x = i++ % width;
        const int grey = 60 + x * 120 / width + static_cast<int>((*random)() % 30);
        return qRgb(grey, std::min(255, grey + x % 7 * 9), 255 - grey);
    });
}

struct Case
{
    QByteArray name;
    QImage image;
};

std::vector<Case> cases()
{
    Random random(20);
    std::vector<Case> all;
    const int sizes[][2]
        = { { 1, 1 }, { 1, 40 }, { 40, 1 }, { 2, 2 }, { 2, 19 }, { 3, 5 }, { 5, 4 }, { 33, 17 } };
    for (const auto &size : sizes) {
        const QByteArray words = QByteArray::number(size[0]) + " x " + QByteArray::number(size[1]);
        all.push_back({ "few colours, " + words, fewColours(size[0], size[1], &random) });
        all.push_back({ "noise, " + words, noise(size[0], size[1], true, &random) });
    }
    all.push_back({ "noise with alpha", noise(61, 47, false, &random) });
    all.push_back({ "few colours", fewColours(64, 48, &random) });
    all.push_back({ "faint", faint(60, 50, &random) });
    all.push_back({ "shading", shading(90, 70, &random) });
    for (int i = 0; i < 6; ++i) {
        all.push_back({ "drawing on paper", drawing(71 + i, 60, true, &random) });
        all.push_back({ "drawing on nothing", drawing(66 + i, 60, false, &random) });
    }
    for (int i = 0; i < 4; ++i)
        all.push_back({ "frames", frames(60 + i, 51 - i, &random) });
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i].name += ", " + QByteArray::number(int(i));
    return all;
}

void eachCase()
{
    QTest::addColumn<QImage>("image");
    for (const Case &one : cases())
        QTest::newRow(one.name.constData()) << one.image;
}

LabelPlane labelled(const QImage &image, int most)
{
    const EdgeMap edges(image);
    return reduceFlat(image, edges, flatPalette(image, edges, most));
}

} // namespace

class tst_Flat : public QObject
{
    Q_OBJECT

private slots:
    void edges_data() { eachCase(); }
    void edges()
    {
        QFETCH(QImage, image);
        const EdgeMap edges(image);
        const plain::RidgeMap ridges(image);
        const RidgeFinder finder(image);
        const bool clean = plain::isClean(image);
        QCOMPARE(edges.isClean(), clean);
        QCOMPARE(isClean(image), clean);
        std::size_t visible = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const uint8_t marks = edges.row(y)[x];
                const bool edge = plain::isEdge(image, x, y);
                visible += qAlpha(image.pixel(x, y)) != 0;
                QCOMPARE(isEdge(image, x, y), edge);
                QCOMPARE((marks & EdgeMap::kEdge) != 0, edge);
                const bool isOpaque = qAlpha(image.pixel(x, y)) == 255;
                const plain::Ridge faint
                    = isOpaque ? plain::faintRidgeAt(image, x, y) : plain::Ridge();
                QRgb beside = 0;
                QCOMPARE(finder.findFaint(x, y, &beside), faint.found);
                QCOMPARE(faint.found ? beside : 0u, faint.found ? faint.beside : 0u);
                const bool isRidge = plain::ridgeAt(image, x, y).found || (clean && faint.found);
                QCOMPARE((marks & EdgeMap::kRidge) != 0, edge && isRidge);
                QCOMPARE(edges.isLine(x, y), ridges.isLine(x, y));
                QCOMPARE(edges.isTexture(x, y), ridges.isTexture(x, y));
            }
        }
        QCOMPARE(edges.visiblePixels(), visible);
        QCOMPARE(edges.hasTransparentPixels(),
                 visible < std::size_t(image.width()) * std::size_t(image.height()));
    }

    void likeRidgesHaveTheSameSurroundings_data() { eachCase(); }
    void likeRidgesHaveTheSameSurroundings()
    {
        QFETCH(QImage, image);
        const EdgeMap edges(image);
        const int width = image.width();
        std::size_t repeated = 0;
        for (std::size_t k = 0; k < edges.ridges().size(); ++k) {
            const EdgeMap::RidgePixel &own = edges.ridges()[k];
            if (own.like == k)
                continue;
            ++repeated;
            QVERIFY(own.like < k);
            const EdgeMap::RidgePixel &like = edges.ridges()[own.like];
            QCOMPARE(own.beside, like.beside);
            QCOMPARE(like.like, own.like);
            const QRect around(int(own.pixel) % width - 2, int(own.pixel) / width - 2, 5, 5);
            const QRect other(int(like.pixel) % width - 2, int(like.pixel) / width - 2, 5, 5);
            QVERIFY(image.rect().contains(around) && image.rect().contains(other));
            QCOMPARE(image.copy(around), image.copy(other));
        }
        if (QByteArray(QTest::currentDataTag()).startsWith("frames"))
            QVERIFY(repeated > 0);
    }

    void ridges_data() { eachCase(); }
    void ridges()
    {
        QFETCH(QImage, image);
        const RidgeFinder finder(image);
        const std::vector<QRgb> palette = flatPalette(image, EdgeMap(image), 12);
        const RidgeColours colours(palette);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const plain::Ridge ridge = plain::ridgeAt(image, x, y);
                const Ridge found = finder.at(x, y);
                QCOMPARE(found.found, ridge.found);
                if (!ridge.found)
                    continue;
                QCOMPARE(found.colour, ridge.colour);
                QCOMPARE(found.beside, ridge.beside);
                QCOMPARE(colours.nearestTo(found), plain::nearestTo(ridge, palette));
            }
        }
    }

    // Edges on every pixel: labels come from one corner and need many rings.
    void labelsOfLargeEmptyAreas()
    {
        QImage image(60, 50, QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, (x + y) % 2 ? 0xFF404040u : 0xFFC0C0C0u);
        }
        for (int i = 0; i < 9; ++i)
            image.setPixel(i % 3, i / 3, 0xFF000000u);
        const LabelPlane plane = reduceFlat(image, EdgeMap(image), { 0xFFFFFFFFu, 0xFF000000u });
        QCOMPARE(int(plane.labels.front()), 1);
        for (uint16_t label : plane.labels)
            QVERIFY(label < 2);
    }

    void everyPixelHasALabel_data() { eachCase(); }
    void everyPixelHasALabel()
    {
        QFETCH(QImage, image);
        for (int most : { 1, 2, 5, 16, 64 }) {
            const LabelPlane plane = labelled(image, most);
            const std::size_t clear = EdgeMap(image).hasTransparentPixels() ? 1 : 0;
            QVERIFY(plane.colours.size() <= std::size_t(most) + clear);
            QCOMPARE(plane.labels.size(), plane.pixels());
            for (uint16_t label : plane.labels)
                QVERIFY(label < plane.colours.size());
        }
    }

    void finerGrid_data() { eachCase(); }
    void finerGrid()
    {
        QFETCH(QImage, image);
        const LabelPlane plane = labelled(image, 8);
        QCOMPARE(hasSoftEdges(image, plane), plain::hasSoftEdges(image, plane));
        for (int factor = 1; factor <= kMostUpsampling; ++factor) {
            QCOMPARE(upsampled(image, plane, factor).labels,
                     plain::upsampled(image, plane, factor).labels);
        }
    }

    void nearestColours()
    {
        Random random(7);
        for (std::size_t count : { 1u, 3u, 4u, 5u, 7u, 16u, 64u, 300u }) {
            std::vector<QRgb> palette;
            for (std::size_t k = 0; k < count; ++k)
                palette.push_back(k % 5 == 4 ? palette[k / 2] : anyWord(&random, k % 3 != 0));
            palette.push_back(0u);
            NearestColour nearest(palette);
            for (int i = 0; i < 20000; ++i) {
                const QRgb word = anyWord(&random, i % 4 != 0);
                const auto first
                    = std::min_element(palette.begin(), palette.end(), [&](QRgb a, QRgb b) {
                          return colourDistance(word, a) < colourDistance(word, b);
                      });
                QCOMPARE(std::ptrdiff_t(nearest.of(word)), first - palette.begin());
            }
        }
    }

    void nearestColourAtTheRimOfACube()
    {
        // As far from the first as from the second, whose cube it is.
        NearestColour nearest({ qRgb(15, 15, 60), qRgb(0, 0, 0), qRgb(250, 0, 0), qRgb(0, 250, 0),
                                qRgb(250, 250, 0) });
        QCOMPARE(int(nearest.of(qRgb(15, 15, 15))), 0);
        QCOMPARE(int(nearest.of(qRgb(14, 15, 15))), 1);
    }

    void distances()
    {
        QCOMPARE(colourDistance(0xFF000000u, 0xFFFFFFFFu), 765);
        QCOMPARE(colourDistance(0u, 0x00FFFFFFu), 0);
        QCOMPARE(colourDistance(0u, 0xFF123456u), 1020);
        QCOMPARE(colourDistance(0x01000000u, 0xFFFFFFFFu), 1016 + 765);
        QCOMPARE(colourDistance(0xFF102030u, 0xFE0F2232u), 1 + 2 + 2 + 4);
    }

    void tableHoldsWhatWasSet()
    {
        Random random(3);
        WordTable table;
        std::map<QRgb, uint32_t> expected;
        QCOMPARE(table.of(0u), 0u);
        for (uint32_t i = 1; i < 5000; ++i) {
            const QRgb word = random() & 0x00030F0Fu;
            table.set(word, i);
            expected[word] = i;
        }
        for (QRgb word = 0; word < 0x1000u; ++word)
            QCOMPARE(table.of(word), expected.count(word) ? expected[word] : 0u);
        for (const auto &entry : expected)
            QCOMPARE(table.of(entry.first), entry.second);
    }

    void bordersAreWhereLabelsMeet()
    {
        Random random(5);
        for (int width : { 1, 2, 9, 40 }) {
            LabelPlane plane;
            plane.width = width;
            plane.height = 23;
            plane.labels.resize(std::size_t(width) * 23);
            for (uint16_t &label : plane.labels)
                label = random() % 12 == 0;
            BorderRows borders(plane);
            for (int y = 0; y < plane.height; ++y) {
                const uint8_t *border = borders.next();
                for (int x = 0; x < width; ++x)
                    QCOMPARE(border[x] != 0, meets(plane, x, y));
                QVERIFY(nextSet(border, 0, width) <= width);
            }
        }
    }

    void nextSetFindsEachPlace()
    {
        for (int length = 0; length < 30; ++length) {
            std::vector<uint8_t> bytes(std::size_t(length) + 8, uint8_t(0));
            bytes[std::size_t(length)] = 1; // a guard behind the end
            QCOMPARE(nextSet(bytes.data(), 0, length), length);
            for (int place = 0; place < length; ++place) {
                bytes[std::size_t(place)] = 1;
                QCOMPARE(nextSet(bytes.data(), place / 2, length), place);
                bytes[std::size_t(place)] = 0;
            }
        }
    }

private:
    static bool meets(const LabelPlane &plane, int x, int y)
    {
        const auto at = [&](int u, int v) {
            return plane.labels[std::size_t(v) * std::size_t(plane.width) + std::size_t(u)];
        };
        for (int v = std::max(0, y - 1); v <= std::min(plane.height - 1, y + 1); ++v) {
            for (int u = std::max(0, x - 1); u <= std::min(plane.width - 1, x + 1); ++u) {
                if (at(u, v) != at(x, y))
                    return true;
            }
        }
        return false;
    }
};

QTEST_GUILESS_MAIN(tst_Flat)
#include "tst_flat.moc"
