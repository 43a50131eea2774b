// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin strokes are judged as a whole.
#include "imaging/palette.h"
#include "imaging/ridges.h"
#include "imaging/segment.h"

#include <QTest>

#include <algorithm>
#include <cstring>
#include <random>

using namespace ztrace;

namespace {

const QRgb kPaper = 0xFFFFFFFFu;
const QRgb kBlack = 0xFF000000u;
const QRgb kGrey = 0xFF787878u;

QRgb between(QRgb a, QRgb b, double part)
{
    const auto mix = [part](int from, int to) { return int(from + (to - from) * part + 0.5); };
    return qRgb(mix(qRed(a), qRed(b)), mix(qGreen(a), qGreen(b)), mix(qBlue(a), qBlue(b)));
}

// A stroke across paper at row 20, of the given coverage pixel by pixel, beside a square of black
// and one of grey.
QImage stroke(QRgb colour, const std::vector<double> &coverage)
{
    QImage image(100, 60, QImage::Format_ARGB32);
    image.fill(kPaper);
    for (int i = 0; i < 144; ++i) {
        image.setPixel(10 + i % 12, 40 + i / 12, kBlack);
        image.setPixel(60 + i % 12, 40 + i / 12, kGrey);
    }
    for (int x = 10; x < 90; ++x) {
        const double part = coverage[std::size_t(x) % coverage.size()];
        image.setPixel(x, 20, between(kPaper, colour, part));
    }
    return image;
}

std::vector<QRgb> coloursAlong(const QImage &image)
{
    const EdgeMap edges(image);
    const LabelPlane plane = reduceFlat(image, edges, flatPalette(image, edges, 64));
    std::vector<QRgb> colours;
    for (std::size_t x = 12; x < 88; ++x)
        colours.push_back(plane.colours[plane.labels[20 * 100 + x]]);
    std::sort(colours.begin(), colours.end());
    colours.erase(std::unique(colours.begin(), colours.end()), colours.end());
    return colours;
}

} // namespace

class tst_ThinStrokes : public QObject
{
    Q_OBJECT

private slots:
    void changingCoverageIsOneColour_data()
    {
        QTest::addColumn<QRgb>("colour");
        QTest::newRow("black, though grey is there") << kBlack;
        QTest::newRow("a brown that no area has") << 0xFF96502Du;
        QTest::newRow("grey") << kGrey;
    }
    void changingCoverageIsOneColour()
    {
        QFETCH(QRgb, colour);
        const QImage image = stroke(colour, { 1.0, 0.9, 0.7, 0.55, 0.7, 0.9, 1.0, 0.6 });
        const std::vector<QRgb> colours = coloursAlong(image);
        QCOMPARE(colours.size(), std::size_t(1));
        for (int shift : { 0, 8, 16 })
            QVERIFY(std::abs(int(colours[0] >> shift & 255u) - int(colour >> shift & 255u)) < 24);
    }

    // Pale ones neither, where greys between ink and paper would cost less than the contacts of
    // strokes and gaps.
    void gapsBetweenPaleStrokesStay()
    {
        // "Pub", 9 pixels high, of a menu's entry that cannot be chosen.
        const int kColumns = 23;
        const int letters[10][kColumns] = {
            { 243, 243, 243, 243, 243, 243, 243, 243, 243, 243, 243, 243,
              243, 243, 243, 234, 167, 243, 243, 243, 243, 243, 243 },
            { 188, 168, 168, 173, 187, 226, 243, 243, 243, 243, 243, 243,
              243, 243, 243, 234, 167, 243, 243, 243, 243, 243, 243 },
            { 188, 209, 243, 238, 205, 171, 241, 243, 243, 243, 243, 243,
              243, 243, 243, 234, 167, 243, 243, 243, 243, 243, 243 },
            { 188, 209, 243, 243, 241, 167, 232, 228, 170, 243, 243, 243,
              209, 190, 243, 234, 169, 210, 176, 173, 195, 240, 243 },
            { 188, 209, 243, 237, 203, 177, 243, 228, 170, 243, 243, 243,
              209, 190, 243, 234, 167, 199, 242, 240, 188, 198, 243 },
            { 188, 168, 170, 176, 195, 234, 243, 228, 170, 243, 243, 243,
              209, 190, 243, 234, 167, 235, 243, 243, 223, 173, 243 },
            { 188, 209, 243, 243, 243, 243, 243, 228, 170, 243, 243, 243,
              209, 190, 243, 234, 167, 241, 243, 243, 231, 167, 243 },
            { 188, 209, 243, 243, 243, 243, 243, 230, 169, 243, 243, 243,
              202, 190, 243, 234, 167, 234, 243, 243, 223, 173, 243 },
            { 188, 209, 243, 243, 243, 243, 243, 239, 169, 228, 243, 237,
              176, 190, 243, 234, 167, 197, 242, 240, 188, 199, 243 },
            { 188, 209, 243, 243, 243, 243, 243, 243, 215, 178, 182, 187,
              204, 190, 243, 234, 182, 209, 175, 173, 195, 240, 243 },
        };
        const QRgb ground = qRgb(239, 239, 239); // the palette's nearest to 243
        const QRgb ink = qRgb(146, 146, 146);
        QImage image(40, 24, QImage::Format_ARGB32);
        image.fill(qRgb(243, 243, 243));
        for (int y = 0; y < 10; ++y) {
            for (int x = 0; x < kColumns; ++x)
                image.setPixel(x + 6, y + 6, qRgb(letters[y][x], letters[y][x], letters[y][x]));
        }
        const LabelPlane plane = reduceFlat(
            image, EdgeMap(image), { ground, ink, qRgb(192, 192, 192), qRgb(201, 201, 201) });
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QRgb colour = plane.colours[plane.labels[std::size_t(40 * y + x)]];
                const int light = qGreen(image.pixel(x, y));
                if (light == 243)
                    QCOMPARE(colour, ground);
                if (light <= 171)
                    QCOMPARE(colour, ink);
            }
        }
    }

    // The paper between strokes is narrow, too. It never takes their colour: it is lighter than all
    // that is beside it.
    void gapsBetweenStrokesStay()
    {
        // "THE", 8 pixels high, in black strokes of a pixel.
        const int kColumns = 16;
        const int letters[8][kColumns] = {
            { 187, 139, 139, 139, 139, 187, 158, 255, 255, 222, 158, 139, 139, 139, 139, 141 },
            { 187, 139, 139, 139, 139, 185, 92, 255, 255, 185, 92, 46, 139, 139, 139, 141 },
            { 255, 255, 139, 139, 255, 185, 92, 255, 255, 185, 92, 46, 255, 255, 255, 255 },
            { 255, 255, 139, 139, 255, 185, 92, 139, 139, 139, 92, 46, 139, 139, 141, 255 },
            { 255, 255, 139, 139, 255, 185, 92, 139, 139, 139, 92, 46, 139, 139, 141, 255 },
            { 255, 255, 139, 139, 255, 185, 92, 255, 255, 185, 92, 46, 255, 255, 255, 255 },
            { 255, 255, 139, 139, 255, 185, 92, 255, 255, 185, 92, 46, 139, 139, 139, 141 },
            { 255, 255, 187, 187, 255, 222, 158, 255, 255, 222, 158, 139, 139, 139, 139, 141 },
        };
        QImage image(24, 20, QImage::Format_ARGB32);
        image.fill(kPaper);
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < kColumns; ++x)
                image.setPixel(x + 4, y + 6, qRgb(letters[y][x], letters[y][x], letters[y][x]));
        }
        const EdgeMap edges(image);
        const LabelPlane plane
            = reduceFlat(image, edges, { kPaper, qRgb(22, 22, 22), qRgb(139, 139, 139) });
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixel(x, y) == kPaper)
                    QCOMPARE(plane.colours[plane.labels[std::size_t(24 * y + x)]], kPaper);
            }
        }
    }

    // Soft pixels of a letter have every shade there is, some of them those of other things in the
    // picture; sides of its stroke may look like gaps of it.
    void lettersTakeNoOtherGreys()
    {
        // A bold "Sc", 14 pixels high, of #232629 on #eff0f1: red.
        const int kRows = 14, kColumns = 12;
        const int letters[kRows][kColumns] = {
            { 239, 239, 239, 239, 239, 239, 239, 239, 239, 239, 239, 239 },
            { 239, 239, 239, 239, 239, 239, 239, 239, 239, 239, 239, 239 },
            { 239, 239, 234, 160, 117, 121, 157, 221, 239, 239, 239, 239 },
            { 239, 237, 89, 35, 35, 35, 35, 123, 239, 239, 239, 239 },
            { 239, 203, 35, 65, 217, 214, 161, 210, 239, 239, 223, 171 },
            { 239, 200, 35, 62, 224, 239, 239, 239, 239, 167, 41, 35 },
            { 239, 236, 75, 35, 49, 144, 233, 239, 225, 41, 37, 157 },
            { 239, 239, 225, 110, 37, 35, 65, 219, 174, 35, 88, 239 },
            { 239, 239, 239, 239, 205, 80, 35, 105, 160, 35, 106, 239 },
            { 239, 221, 232, 239, 239, 192, 35, 83, 177, 35, 72, 239 },
            { 239, 159, 47, 97, 124, 72, 35, 135, 229, 48, 35, 97 },
            { 239, 189, 62, 35, 35, 41, 119, 234, 239, 193, 69, 35 },
            { 239, 239, 239, 227, 217, 237, 239, 239, 239, 239, 239, 226 },
            { 239, 239, 239, 239, 239, 239, 239, 239, 239, 239, 239, 239 },
        };
        const QRgb paper = qRgb(239, 240, 241), ink = qRgb(35, 38, 41);
        QImage image(kColumns + 20, kRows + 10, QImage::Format_ARGB32);
        image.fill(paper);
        for (int y = 0; y < kRows; ++y) {
            for (int x = 0; x < kColumns; ++x)
                image.setPixel(x + 10, y + 5,
                               between(ink, paper, (letters[y][x] - 35) / double(239 - 35)));
        }
        std::vector<QRgb> palette = { paper, ink };
        for (int grey : { 192, 84, 222, 247, 185, 127, 51, 108, 167, 90 })
            palette.push_back(qRgb(grey, grey + 1, grey + 2));
        const EdgeMap edges(image);
        const LabelPlane plane = reduceFlat(image, edges, palette);
        int ofInk = 0;
        for (const uint16_t label : plane.labels) {
            QVERIFY2(label <= 1, qPrintable(QString::number(palette[label], 16)));
            ofInk += label;
        }
        QVERIFY(ofInk > 45 && ofInk < 75);
    }

    // Mixtures of a line with the one side look like the other side.
    void labelsDoNotGoThroughALine()
    {
        const QRgb green = qRgb(222, 236, 200), cream = qRgb(250, 244, 228);
        QImage image(20, 20, QImage::Format_ARGB32);
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 20; ++x)
                image.setPixel(x, y, x < 9 ? green : x == 9 ? kBlack : cream);
            image.setPixel(10, y, between(cream, kBlack, 0.2));
        }
        const EdgeMap edges(image);
        const LabelPlane plane = reduceFlat(image, edges, { green, kBlack, cream });
        for (std::size_t y = 0; y < 20; ++y)
            QCOMPARE(plane.colours[plane.labels[20 * y + 10]], cream);
    }

    // A red stroke that a black one goes on from stays red: one colour for both would cost more.
    // Ridges of noise are judged one by one.
    void noiseHasNoStrokes()
    {
        QImage image(600, 600, QImage::Format_ARGB32);
        std::mt19937 random(7);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, 0xFF000000u | QRgb(random()));
        }
        const EdgeMap edges(image);
        const std::vector<QRgb> palette
            = { 0xFFFFFFFFu, 0xFF000000u, 0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFF808080u };
        const LabelPlane plane = reduceFlat(image, edges, palette);
        const RidgeColours colours(palette);
        int explained = 0;
        for (const EdgeMap::RidgePixel &ridge : edges.ridges()) {
            const QRgb word = image.pixel(int(ridge.pixel % 600), int(ridge.pixel / 600));
            const int label = colours.nearestTo({ true, word, ridge.beside });
            if (label < 0)
                continue;
            ++explained;
            QCOMPARE(int(plane.labels[ridge.pixel]), label);
        }
        QVERIFY(explained > 10000);
    }

    // Two colours of a palette are worked on side by side, the odd last one alone: alone each costs
    // the same, to the bit.
    void costsDoNotDependOnThePlaceInThePalette()
    {
        std::mt19937 random(11);
        const auto anyWord = [&random] {
            const QRgb word = QRgb(random());
            return random() % 4 == 0 ? word : word | 0xFF000000u;
        };
        int explained = 0;
        for (int round = 0; round < 2000; ++round) {
            std::vector<QRgb> palette;
            for (std::size_t k = 0; k < 1 + std::size_t(round) % 9; ++k)
                palette.push_back(anyWord());
            const QRgb beside = round % 7 == 0 ? palette[0] : anyWord(); // no way to go
            const Ridge ridge = { true, round % 11 == 0 ? beside : anyWord(), beside };
            std::vector<float> costs(palette.size());
            const bool isExplained = RidgeColours(palette).costsOf(ridge, costs.data());
            bool isAny = false;
            for (std::size_t k = 0; k < palette.size(); ++k) {
                float alone = 0.0f;
                isAny |= RidgeColours({ palette[k] }).costsOf(ridge, &alone);
                QCOMPARE(std::memcmp(&costs[k], &alone, sizeof alone), 0);
            }
            QCOMPARE(isExplained, isAny);
            explained += isAny;
        }
        QVERIFY(explained > 100);
    }

    // However many colours there are: they are compared four at a time, the odd last ones alone.
    void ofLabelsThatCostTheSameTheFirstIsTaken()
    {
        const QRgb kRed = 0xFFDC1414u;
        const QImage image = stroke(kRed, { 1.0, 0.8 });
        const EdgeMap edges(image);
        for (std::size_t before = 0; before < 9; ++before) {
            std::vector<QRgb> palette = { kPaper, kBlack, kGrey };
            for (std::size_t k = 0; k < before; ++k)
                palette.push_back(qRgb(0, 40 + 20 * int(k), 255));
            const std::size_t first = palette.size();
            palette.insert(palette.end(), { kRed, kRed, kRed });
            const LabelPlane plane = reduceFlat(image, edges, palette);
            for (std::size_t x = 12; x < 88; ++x)
                QCOMPARE(std::size_t(plane.labels[20 * 100 + x]), first);
        }
    }

    void twoColoursStayTwo()
    {
        QImage image = stroke(kBlack, { 1.0, 0.8 });
        for (int x = 10; x < 50; ++x)
            image.setPixel(x, 20, between(kPaper, 0xFFDC1414u, x % 2 ? 1.0 : 0.8));
        QCOMPARE(coloursAlong(image).size(), std::size_t(2));
    }

    void sidesOfAStrokeGoWithItOrWithThePaper()
    {
        QImage image = stroke(kBlack, { 1.0 });
        for (int x = 10; x < 90; ++x) {
            image.setPixel(x, 19, between(kPaper, kBlack, 0.7));
            image.setPixel(x, 21, between(kPaper, kBlack, 0.3));
        }
        const EdgeMap edges(image);
        const LabelPlane plane = reduceFlat(image, edges, flatPalette(image, edges, 64));
        for (std::size_t x = 14; x < 86; ++x) {
            QCOMPARE(plane.colours[plane.labels[19 * 100 + x]], kBlack);
            QCOMPARE(plane.colours[plane.labels[21 * 100 + x]], kPaper);
        }
    }
};

QTEST_GUILESS_MAIN(tst_ThinStrokes)
#include "tst_thinstrokes.moc"
