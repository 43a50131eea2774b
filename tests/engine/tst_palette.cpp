// (c) the ztrace developers. Licence: see LICENSE.
//
// The palette makers and their draws.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/FakeRand.h"
#include "support/Messages.h"
#include "support/Pictures.h"
#include "support/Reference.h"

#include <QtTest>

#include <climits>

using ztrace::difference;
using ztrace::FakeRand;

namespace {

const int kLargestDraw = 2147483647;

// Entries of channel values 0..255 in the stored form of generated palettes.
QVector<char> stored(int r, int g, int b, int a = 255)
{
    return QVector<char>({ char(r - 128), char(g - 128), char(b - 128), char(a - 128) });
}

QVector<QVector<char>> greys(const QVector<int> &values)
{
    QVector<QVector<char>> palette;
    for (const int v : values)
        palette.append(stored(v, v, v));
    return palette;
}

QVector<QVector<char>> cube(const QVector<int> &levels)
{
    QVector<QVector<char>> palette;
    for (const int r : levels)
        for (const int g : levels)
            for (const int b : levels)
                palette.append(stored(r, g, b));
    return palette;
}

} // namespace

class tst_Palette : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }
    void init() { FakeRand::reset(); }

    void greyRamp_data();
    void greyRamp();
    void cornersInOrder();
    void cubeOf27();
    void cubeTakesTheFlooredRoot_data();
    void cubeTakesTheFlooredRoot();
    void sixteenAreEightCornersAndEightRandom();
    void topUpChannelsFollowTheDraws();
    void everyEntryHasFourBytes();
    void fewerThanOneIsNone_data();
    void fewerThanOneIsNone();
    void twentyMillionIsNone();
    void generatedReadsNoImage();
    void sampledOnePixelImage();
    void sampledEntriesFollowTheDraws();
    void largestDrawTakesTheLastPixel();
    void sampledEmptyImageIsNotRead();
    void sampledDuplicatesStay();
    void sameSeedSamePalette();
    void equalsReference();
};

void tst_Palette::greyRamp_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QVector<int>>("values");
    QTest::newRow("one is opaque black") << 1 << QVector<int>({ 0 });
    QTest::newRow("two are black, then white") << 2 << QVector<int>({ 0, 255 });
    QTest::newRow("a half is rounded up") << 3 << QVector<int>({ 0, 128, 255 });
    QTest::newRow("four") << 4 << QVector<int>({ 0, 85, 170, 255 });
    QTest::newRow("five") << 5 << QVector<int>({ 0, 64, 128, 191, 255 });
    QTest::newRow("six") << 6 << QVector<int>({ 0, 51, 102, 153, 204, 255 });
    QTest::newRow("seven") << 7 << QVector<int>({ 0, 43, 85, 128, 170, 213, 255 });
}

void tst_Palette::greyRamp()
{
    QFETCH(int, count);
    QFETCH(QVector<int>, values);
    QCOMPARE(difference(ZTraceBitmap().generatepalette(count), greys(values)), QString());
    QCOMPARE(FakeRand::draws(), 0);
}

void tst_Palette::cornersInOrder()
{
    const QVector<QVector<char>> corners(
        { stored(0, 0, 0), stored(0, 0, 255), stored(0, 255, 0), stored(0, 255, 255),
          stored(255, 0, 0), stored(255, 0, 255), stored(255, 255, 0), stored(255, 255, 255) });
    QCOMPARE(difference(ZTraceBitmap().generatepalette(8), corners), QString());
    QCOMPARE(FakeRand::draws(), 0);
}

void tst_Palette::cubeOf27()
{
    const QVector<QVector<char>> expected = cube({ 0, 127, 254 });
    QCOMPARE(difference(ZTraceBitmap().generatepalette(27), expected), QString());
    QCOMPARE(FakeRand::draws(), 0);
}

void tst_Palette::cubeTakesTheFlooredRoot_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("side");
    QTest::addColumn<int>("step");
    const auto row = [](int count, int side, int step) {
        QTest::addRow("%d", count) << count << side << step;
    };
    row(8, 2, 255);
    row(26, 2, 255);
    row(27, 3, 127);
    row(64, 3, 127); // a perfect cube, yet not a side of 4
    row(65, 4, 85);
    row(125, 4, 85);
    row(126, 5, 63);
    row(216, 5, 63);
    row(217, 6, 51);
    row(343, 6, 51);
    row(344, 7, 42);
    row(512, 7, 42);
    row(513, 8, 36);
    row(729, 8, 36);
    row(730, 9, 31);
    row(1000, 9, 31);
}

void tst_Palette::cubeTakesTheFlooredRoot()
{
    QFETCH(int, count);
    QFETCH(int, side);
    QFETCH(int, step);
    QVector<int> levels;
    for (int i = 0; i < side; ++i)
        levels.append(i * step);
    const QVector<QVector<char>> palette = ZTraceBitmap().generatepalette(count);
    QCOMPARE(palette.size(), count);
    const int filled = side * side * side;
    QCOMPARE(difference(palette.mid(0, filled), cube(levels)), QString());
    QCOMPARE(FakeRand::draws(), 4 * (count - filled));
}

void tst_Palette::sixteenAreEightCornersAndEightRandom()
{
    const QVector<QVector<char>> palette = ZTraceBitmap().generatepalette(16);
    QCOMPARE(difference(palette.mid(0, 8), cube({ 0, 255 })), QString());
    QCOMPARE(FakeRand::draws(), 32);
}

void tst_Palette::topUpChannelsFollowTheDraws()
{
    // Zero, the largest draw, the two sides of a step from 0 to 1, and red before alpha.
    FakeRand::reset({ 0, kLargestDraw, 8421504, 8421505, 1073741824, 2139062142, 2139062143, 1 });
    const QVector<QVector<char>> palette = ZTraceBitmap().generatepalette(10);
    QCOMPARE(difference(palette.at(8), stored(0, 255, 0, 1)), QString());
    QCOMPARE(difference(palette.at(9), stored(127, 253, 254, 0)), QString());
    QCOMPARE(FakeRand::draws(), 8);
}

void tst_Palette::everyEntryHasFourBytes()
{
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(3, 3).toImage());
    for (int count = 0; count < 300; ++count) {
        for (const auto &palette : { tracer.generatepalette(count), tracer.samplepalette(count) }) {
            QCOMPARE(palette.size(), count);
            for (const QVector<char> &entry : palette)
                QCOMPARE(entry.size(), 4);
        }
    }
}

void tst_Palette::fewerThanOneIsNone_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("zero") << 0;
    QTest::newRow("minus one") << -1;
    QTest::newRow("the lowest") << INT_MIN;
}

void tst_Palette::fewerThanOneIsNone()
{
    QFETCH(int, count);
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(3, 3).toImage());
    QVERIFY(tracer.generatepalette(count).isEmpty());
    QVERIFY(tracer.samplepalette(count).isEmpty());
    QCOMPARE(FakeRand::draws(), 0);
}

void tst_Palette::twentyMillionIsNone()
{
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(3, 3).toImage());
    QVERIFY(tracer.generatepalette(20000000).isEmpty());
    QVERIFY(tracer.samplepalette(20000000).isEmpty());
    QVERIFY(tracer.generatepalette(16777217).isEmpty());
    QVERIFY(tracer.samplepalette(16777217).isEmpty());
    QVERIFY(tracer.generatepalette(INT_MAX).isEmpty());
    QVERIFY(tracer.samplepalette(INT_MAX).isEmpty());
    QCOMPARE(tracer.generatepalette(9).size(), 9);
}

void tst_Palette::generatedReadsNoImage()
{
    ZTraceBitmap tracer;
    const QVector<QVector<char>> without = tracer.generatepalette(27);
    tracer.loadImageData(ztrace::uniformPicture(3, 3).toImage());
    QCOMPARE(difference(tracer.generatepalette(27), without), QString());
    QVERIFY(tracer.currentPalette.isEmpty());
}

void tst_Palette::sampledOnePixelImage()
{
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(1, 1, 0x12F0807Fu).toImage());
    const QVector<char> pixel({ char(0xF0), char(0x80), 0x7F, 0x12 });
    FakeRand::reset({ 0, kLargestDraw, 5 });
    const QVector<QVector<char>> palette = tracer.samplepalette(5);
    QCOMPARE(difference(palette, QVector<QVector<char>>(5, pixel)), QString());
    QCOMPARE(FakeRand::draws(), 5);
}

void tst_Palette::sampledEntriesFollowTheDraws()
{
    ztrace::Picture picture = ztrace::uniformPicture(2, 2);
    for (std::size_t i = 0; i < 4; ++i)
        picture.words[i] = 0x01020304u * static_cast<std::uint32_t>(i + 1);
    ZTraceBitmap tracer;
    tracer.loadImageData(picture.toImage());
    // A quarter of the range and one below it, then three quarters and half.
    FakeRand::reset({ 536870912, 536870911, 1610612736, 1073741824 });
    const QVector<QVector<char>> palette = tracer.samplepalette(4);
    QCOMPARE(palette.at(0), QVector<char>({ 4, 6, 8, 2 }));
    QCOMPARE(palette.at(1), QVector<char>({ 2, 3, 4, 1 }));
    QCOMPARE(palette.at(2), QVector<char>({ 8, 12, 16, 4 }));
    QCOMPARE(palette.at(3), QVector<char>({ 6, 9, 12, 3 }));
}

void tst_Palette::largestDrawTakesTheLastPixel()
{
    ztrace::Picture picture = ztrace::uniformPicture(3, 2, 0u);
    picture.at(2, 1) = 0x04010203u;
    ZTraceBitmap tracer;
    tracer.loadImageData(picture.toImage());
    FakeRand::reset({ kLargestDraw });
    QCOMPARE(tracer.samplepalette(1).at(0), QVector<char>({ 1, 2, 3, 4 }));
}

void tst_Palette::sampledEmptyImageIsNotRead()
{
    ZTraceBitmap tracer;
    FakeRand::reset({ 0, kLargestDraw, 7 });
    const QVector<QVector<char>> palette = tracer.samplepalette(3);
    QCOMPARE(difference(palette, QVector<QVector<char>>(3, QVector<char>(4, 0))), QString());
    QCOMPARE(FakeRand::draws(), 3);
}

void tst_Palette::sampledDuplicatesStay()
{
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(2, 1).toImage());
    QCOMPARE(tracer.samplepalette(40).size(), 40);
}

void tst_Palette::sameSeedSamePalette()
{
    ztrace::Random random(1);
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::randomPicture(random, 40).toImage());
    std::srand(99);
    const QVector<QVector<char>> first = tracer.samplepalette(20) + tracer.generatepalette(20);
    std::srand(99);
    const QVector<QVector<char>> second = tracer.samplepalette(20) + tracer.generatepalette(20);
    QCOMPARE(difference(first, second), QString());
}

void tst_Palette::equalsReference()
{
    ztrace::Random random(ztrace::testSeed());
    for (int round = 0; round < 200; ++round) {
        const ztrace::Picture picture = ztrace::randomPicture(random, 30);
        const int count = random.below(1100);
        ZTraceBitmap tracer;
        tracer.loadImageData(picture.toImage());
        ztrace::reference::Reference expected;
        expected.loadImageData(picture.words, picture.width, picture.height);
        std::srand(static_cast<unsigned>(round));
        const auto generated = tracer.generatepalette(count);
        const auto sampled = tracer.samplepalette(count);
        const int after = std::rand();
        std::srand(static_cast<unsigned>(round));
        QCOMPARE(difference(generated, expected.generatepalette(count)), QString());
        QCOMPARE(difference(sampled, expected.samplepalette(count)), QString());
        QCOMPARE(after, std::rand());
    }
}

QTEST_GUILESS_MAIN(tst_Palette)
#include "tst_palette.moc"
