// (c) the ztrace developers. Licence: see LICENSE.
//
// Stamps and pens keep their colours beside black ink.
#include "tracing/inkhues.h"

#include <QtTest>

#include <algorithm>
#include <functional>
#include <random>

using namespace ztrace;

namespace {

const int kWidth = 120;
const int kHeight = 80;
const QRgb kPaper = 0xFFE6E1D2u;
const QRgb kBlack = 0xFF242120u;
const QRgb kRed = 0xFFB03040u;
const QRgb kBlue = 0xFF303C90u;

struct Page
{
    QImage image;
    Areas areas;
};

// Ink where `wordAt` is no paper, with noise; the plane may be finer.
Page page(const std::function<QRgb(int, int)> &wordAt, int upsampling = 1)
{
    Page result;
    result.image = QImage(kWidth, kHeight, QImage::Format_RGB32);
    std::mt19937 random(11);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const QRgb word = wordAt(x, y);
            const auto noisy = [&random](int value) {
                return std::clamp(value + int(random() % 21) - 10, 0, 255);
            };
            result.image.setPixel(x, y,
                                  qRgb(noisy(qRed(word)), noisy(qGreen(word)), noisy(qBlue(word))));
        }
    }
    std::vector<uint8_t> labels;
    for (int y = 0; y < upsampling * kHeight; ++y) {
        for (int x = 0; x < upsampling * kWidth; ++x)
            labels.push_back(wordAt(x / upsampling, y / upsampling) == kPaper ? 1 : 0);
    }
    result.areas.runs = scanRuns(labels.data(), upsampling * kWidth, upsampling * kHeight);
    result.areas.colours = { 0xFF000000u, 0xFFFFFFFFu };
    return result;
}

uint16_t labelAt(const Areas &areas, int x, int y)
{
    uint32_t run = areas.runs.rowBegin(y);
    while (areas.runs.end(run) <= x)
        ++run;
    return areas.runs.label[run];
}

bool isLike(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) < 12 && std::abs(qGreen(a) - qGreen(b)) < 12
        && std::abs(qBlue(a) - qBlue(b)) < 12;
}

bool isBox(int x, int y, int left, int top, int width, int height)
{
    return x >= left && y >= top && x < left + width && y < top + height;
}

// Black, red and blue boxes apart from one another.
QRgb threeInks(int x, int y)
{
    return isBox(x, y, 10, 10, 30, 20) ? kBlack
        : isBox(x, y, 50, 10, 30, 20)  ? kRed
        : isBox(x, y, 10, 50, 60, 12)  ? kBlue
                                       : kPaper;
}

} // namespace

class tst_InkHues : public QObject
{
    Q_OBJECT

private slots:
    void everyInkHasItsColour_data()
    {
        QTest::addColumn<int>("upsampling");
        QTest::newRow("grid of the picture") << 1;
        QTest::newRow("finer grid") << 2;
    }
    void everyInkHasItsColour()
    {
        QFETCH(int, upsampling);
        Page drawn = page(threeInks, upsampling);
        QVERIFY(keepHues(drawn.image, upsampling, &drawn.areas));
        const Areas &areas = drawn.areas;
        const auto colourAt = [&](int x, int y) {
            return areas.colours[labelAt(areas, x * upsampling, y * upsampling)];
        };
        QCOMPARE(areas.colours.size(), std::size_t(4));
        QCOMPARE(colourAt(20, 20), 0xFF000000u);
        QVERIFY(isLike(colourAt(60, 20), kRed));
        QVERIFY(isLike(colourAt(20, 55), kBlue));
        QCOMPARE(colourAt(0, 0), 0xFFFFFFFFu);
        QCOMPARE(colourAt(10, 10), 0xFF000000u); // corners are of their boxes
        QVERIFY(isLike(colourAt(50, 10), kRed));
    }

    void whatOneInkDrawsOverAnotherIsParted()
    {
        Page drawn = page([](int x, int y) {
            return isBox(x, y, 10, 36, 100, 6) ? kBlack
                : isBox(x, y, 40, 10, 40, 60)  ? kRed
                                               : kPaper;
        });
        QVERIFY(keepHues(drawn.image, 1, &drawn.areas));
        QCOMPARE(drawn.areas.colours.size(), std::size_t(3));
        QCOMPARE(labelAt(drawn.areas, 15, 38), uint16_t(0));
        QCOMPARE(labelAt(drawn.areas, 105, 38), uint16_t(0));
        QCOMPARE(labelAt(drawn.areas, 60, 15), uint16_t(2));
        QCOMPARE(labelAt(drawn.areas, 60, 65), uint16_t(2));
    }

    void smallPartsFollowTheirInk()
    {
        Page drawn = page([](int x, int y) {
            return isBox(x, y, 50, 10, 30, 20) || isBox(x, y, 20, 60, 4, 5) ? kRed : kPaper;
        });
        QVERIFY(keepHues(drawn.image, 1, &drawn.areas));
        QCOMPARE(labelAt(drawn.areas, 21, 62), uint16_t(2));
    }

    void othersStayBlack_data()
    {
        QTest::addColumn<QRgb>("ink");
        QTest::addColumn<int>("side");
        QTest::newRow("black") << kBlack << 40;
        QTest::newRow("sepia") << 0xFF6E5040u << 40;
        QTest::newRow("grey") << 0xFF808080u << 40;
        QTest::newRow("a red speck") << kRed << 8;
    }
    void othersStayBlack()
    {
        QFETCH(QRgb, ink);
        QFETCH(int, side);
        Page drawn
            = page([&](int x, int y) { return isBox(x, y, 20, 20, side, side) ? ink : kPaper; });
        const Runs before = drawn.areas.runs;
        QVERIFY(!keepHues(drawn.image, 1, &drawn.areas));
        QVERIFY(drawn.areas.runs.label == before.label);
        QCOMPARE(drawn.areas.colours.size(), std::size_t(2));
    }

    void greysAndPagesOfOneToneHaveNone()
    {
        for (QRgb all : { kPaper, kRed }) {
            Page drawn = page([&](int, int) { return kPaper; });
            drawn.image.fill(all);
            QVERIFY(!keepHues(drawn.image, 1, &drawn.areas));
        }
        Page drawn = page(threeInks);
        const QImage grey = drawn.image.convertToFormat(QImage::Format_Grayscale8);
        QVERIFY(!keepHues(grey, 1, &drawn.areas));
    }
};

QTEST_GUILESS_MAIN(tst_InkHues)
#include "tst_inkhues.moc"
