// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours of what is faint or small: rules near to their ground, and words.
#include "imaging/colour.h"
#include "imaging/palette.h"
#include "imaging/segment.h"
#include "imaging/wordcolours.h"

#include <QTest>

#include <algorithm>
#include <random>

using namespace ztrace;

namespace {

const QRgb kSlate = 0xFF2B313Bu;
const QRgb kFaint = 0xFF363D47u; // twelve steps from it

// A grid of lines a pixel wide, 12 apart, and a black square.
QImage faintGrid(int noise)
{
    std::mt19937 engine(5);
    QImage image(100, 100, QImage::Format_ARGB32);
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 100; ++x) {
            const int by = noise > 0 ? int(engine() % unsigned(2 * noise + 1)) - noise : 0;
            const bool isLine = x % 12 == 5 || y % 12 == 5;
            const bool isSquare = x >= 40 && x < 60 && y >= 40 && y < 60;
            const QRgb own = isSquare ? qRgb(10, 10, 10) : isLine ? kFaint : kSlate;
            image.setPixel(x, y, qRgb(qRed(own) + by, qGreen(own) + by, qBlue(own) + by));
        }
    }
    return image;
}

// Rows of letters with strokes 1.1 pixels wide at any place: of `above` in the upper half, of
// `below` in the lower one.
QImage rowsOfLetters(QRgb ground, QRgb above, QRgb below)
{
    QImage image(160, 120, QImage::Format_ARGB32);
    image.fill(ground);
    const auto paint = [&](int x, int y, double part) {
        const QRgb ink = y < 60 ? above : below;
        const auto mixed = [part](int a, int b) { return int(a + part * (b - a) + 0.5); };
        const QRgb own = image.pixel(x, y);
        image.setPixel(x, y,
                       qRgb(mixed(qRed(own), qRed(ink)), mixed(qGreen(own), qGreen(ink)),
                            mixed(qBlue(own), qBlue(ink))));
    };
    for (int row = 0; row < 6; ++row) {
        for (int k = 0; k < 18; ++k) {
            if (k % 6 == 5)
                continue; // between words
            const int top = 6 + 19 * row;
            const double left = 6.0 + 8.3 * k + 0.37 * row;
            const int x = int(left);
            for (int y = top; y < top + 8; ++y) {
                paint(x, y, 1.0 - (left - x));
                paint(x + 1, y, std::min(1.0, left + 1.1 - (x + 1)));
            }
            for (int u = x + 2; u < x + 5; ++u)
                paint(u, top + k % 3 * 3, 1.0);
        }
    }
    return image;
}

bool plainlyDiffers(const QImage &image, const EdgeMap::RidgePixel &ridge)
{
    const uint32_t width = uint32_t(image.width());
    const QRgb own = row(image, int(ridge.pixel / width))[ridge.pixel % width];
    return hueDistance(own, ridge.beside) > 40;
}

bool holds(const std::vector<QRgb> &palette, QRgb colour)
{
    return std::find(palette.begin(), palette.end(), colour) != palette.end();
}

} // namespace

class tst_FaintColours : public QObject
{
    Q_OBJECT

private slots:
    // Also where lines cross, which are no ridges.
    void faintRulesHaveTheirColour()
    {
        const QImage image = faintGrid(0);
        const EdgeMap edges(image);
        const std::vector<QRgb> palette = flatPalette(image, edges, 64);
        QVERIFY(holds(palette, kFaint));
        QCOMPARE(int(palette.size()), 3);
        const LabelPlane plane = reduceFlat(image, edges, palette);
        for (int x = 0; x < 100; ++x)
            QCOMPARE(plane.colours[plane.labels[std::size_t(17 * 100 + x)]], kFaint);
    }

    // Compression leaves as much.
    void whatIsFaintIsNoLineInNoise()
    {
        const QImage image = faintGrid(3);
        const EdgeMap edges(image);
        QVERIFY(!edges.isClean());
        for (const EdgeMap::RidgePixel &ridge : edges.ridges())
            QVERIFY(plainlyDiffers(image, ridge));
    }

    void wordsOfAMixtureHaveTheirColour_data()
    {
        QTest::addColumn<QRgb>("ground");
        QTest::addColumn<QRgb>("ink");
        QTest::addColumn<QRgb>("mixture");
        QTest::newRow("grey between black and white") << 0xFFFFFFFFu << 0xFF000000u << 0xFF666666u;
        QTest::newRow("comments on a dark ground") << 0xFF1E1E1Eu << 0xFFD4D4D4u << 0xFF707070u;
    }
    void wordsOfAMixtureHaveTheirColour()
    {
        QFETCH(QRgb, ground);
        QFETCH(QRgb, ink);
        QFETCH(QRgb, mixture);
        const QImage both = rowsOfLetters(ground, ink, mixture);
        const std::vector<QRgb> palette = flatPalette(both, EdgeMap(both), 64);
        QVERIFY(holds(palette, ground) && holds(palette, ink) && holds(palette, mixture));
        QCOMPARE(int(palette.size()), 3);
        const QImage one = rowsOfLetters(ground, ink, ink);
        QCOMPARE(flatPalette(one, EdgeMap(one), 64), (std::vector<QRgb> { ground, ink }));
    }

    void gapsBetweenStrokesAreNoWords()
    {
        const QImage image = rowsOfLetters(0xFFFFFFFFu, 0xFF000000u, 0xFF000000u);
        for (const WordColour &word : wordColoursIn(image, EdgeMap(image)))
            QCOMPARE(word.ridge.beside, 0xFFFFFFFFu);
    }
};

QTEST_GUILESS_MAIN(tst_FaintColours)
#include "tst_faintcolours.moc"
