// (c) the ztrace developers. Licence: see LICENSE.
//
// The assignment pass: the plain form against the fast one, over random images and palettes of all
// shapes. ZTRACE_TEST_SEED in the environment takes another seed.
#include "engine/kernels/IndexPlane.h"
#include "engine/kernels/assign.h"
#include "engine/kernels/cpu.h"
#include "engine/kernels/nearest.h"
#include "support/Pictures.h"

#include <QtTest>

#include <algorithm>
#include <cstring>

using ztrace::ColourSum;
using ztrace::IndexPlane;
using ztrace::PixelView;
using ztrace::Random;

namespace {

typedef std::vector<signed char> Bytes;

struct Case
{
    int width;
    int height;
    Bytes pixels;
    Bytes palette;
    QString what;
    ztrace::PixelLayout layout = ztrace::PixelLayout::StoredBytes;

    PixelView view() const { return { pixels.data(), width, height, layout }; }
    int entries() const { return int(palette.size() / 4); }
};

// How colours are strewn: spread 256 is any colour, a small one makes many ties and close calls.
struct Strewing
{
    const char *name;
    int spread;
    int alphaSpread;
    int run; // pixels in a row that share a colour, on average
};

const Strewing kStrewings[] = {
    { "any colours", 256, 256, 1 },          { "opaque colours", 256, 1, 1 },
    { "close colours", 12, 2, 1 },           { "few levels", 3, 1, 1 },
    { "any colours in runs", 256, 256, 40 }, { "opaque colours in runs", 256, 1, 200 },
};

signed char stored(int value)
{
    return static_cast<signed char>((value & 255) - 128);
}

Bytes strewn(Random &random, int count, const Strewing &how, int centre)
{
    Bytes bytes;
    signed char colour[4] = { 0, 0, 0, 0 };
    for (int i = 0; i < count; ++i) {
        if (i == 0 || random.oneIn(how.run)) {
            for (int c = 0; c < 3; ++c)
                colour[c] = stored(centre + random.below(how.spread));
            colour[3] = stored(how.alphaSpread == 1 ? 255 : random.below(how.alphaSpread) * 127);
        }
        bytes.insert(bytes.end(), colour, colour + 4);
    }
    return bytes;
}

Case randomCase(Random &random, int width, int height, int entries)
{
    const Strewing &how = kStrewings[random.below(int(std::size(kStrewings)))];
    const int centre = random.below(256);
    Case result = { width, height, {}, {}, QString() };
    result.pixels = strewn(random, width * height, how, centre);
    result.palette = strewn(random, entries, random.oneIn(3) ? kStrewings[0] : how, centre);
    result.what
        = QString("%1x%2, %3 entries, %4").arg(width).arg(height).arg(entries).arg(how.name);
    return result;
}

typedef void (*Assign)(const PixelView &, const Bytes &, std::vector<ColourSum> *, IndexPlane *);

struct Outcome
{
    std::vector<ColourSum> sums;
    std::vector<qint64> cells; // the whole plane, border and all
};

std::vector<qint64> cellsOf(const IndexPlane &plane)
{
    std::vector<qint64> result;
    plane.visit([&](const auto *cells) {
        const size_t rows = static_cast<size_t>(plane.height()) + 2;
        result.assign(cells, cells + rows * static_cast<size_t>(plane.stride()));
    });
    return result;
}

Outcome assigned(Assign assign, const Case &c, bool withSums, bool withPlane)
{
    Outcome outcome;
    IndexPlane plane;
    if (withPlane)
        plane.resize(c.width, c.height, c.entries());
    // What is there before must not matter.
    if (withSums)
        outcome.sums.assign(3, ColourSum { { 7, 7, 7, 7 }, 7 });
    assign(c.view(), c.palette, withSums ? &outcome.sums : nullptr, withPlane ? &plane : nullptr);
    if (withPlane)
        outcome.cells = cellsOf(plane);
    return outcome;
}

QString sumsDifference(const std::vector<ColourSum> &actual, const std::vector<ColourSum> &expected)
{
    if (actual.size() != expected.size())
        return QString("%1 sums against %2").arg(actual.size()).arg(expected.size());
    for (size_t k = 0; k < actual.size(); ++k) {
        const ColourSum &a = actual[k];
        const ColourSum &e = expected[k];
        if (a.count != e.count)
            return QString("count of entry %1: %2 against %3").arg(k).arg(a.count).arg(e.count);
        for (int c = 0; c < 4; ++c)
            if (a.channel[c] != e.channel[c])
                return QString("channel %1 of entry %2: %3 against %4")
                    .arg(c)
                    .arg(k)
                    .arg(a.channel[c])
                    .arg(e.channel[c]);
    }
    return QString();
}

QString cellsDifference(const std::vector<qint64> &actual, const std::vector<qint64> &expected,
                        int stride)
{
    for (size_t i = 0; i < expected.size(); ++i) {
        if (actual[i] == expected[i])
            continue;
        return QString("cell (%1, %2) of the plane: %3 against %4")
            .arg(int(i) % stride)
            .arg(int(i) / stride)
            .arg(actual[i])
            .arg(expected[i]);
    }
    return QString();
}

// Empty when the fast form gives what is expected, asked for both results and for each alone.
QString comparedWith(const Outcome &expected, const Case &c)
{
    const struct
    {
        bool sums;
        bool plane;
    } ways[] = { { true, true }, { true, false }, { false, true }, { false, false } };
    for (const auto &way : ways) {
        const Outcome actual = assigned(ztrace::assignFast, c, way.sums, way.plane);
        QString found;
        if (way.sums)
            found = sumsDifference(actual.sums, expected.sums);
        if (found.isEmpty() && way.plane)
            found = cellsDifference(actual.cells, expected.cells, c.width + 2);
        if (!found.isEmpty())
            return QString("%1%2: %3")
                .arg(c.what,
                     way.sums && way.plane ? ""
                         : way.sums        ? ", sums alone"
                                           : ", plane alone")
                .arg(found);
    }
    return QString();
}

// Empty when the fast form does what the plain one does.
QString compared(const Case &c)
{
    return comparedWith(assigned(ztrace::assignPlain, c, true, true), c);
}

// The same pixels as words 0xAARRGGBB.
Case asWords(Case c)
{
    for (size_t i = 0; i < c.pixels.size(); i += 4) {
        std::uint32_t word = 0;
        for (const size_t channel : { 3u, 0u, 1u, 2u })
            word = word << 8 | static_cast<std::uint32_t>(c.pixels[i + channel] + 128);
        std::memcpy(c.pixels.data() + i, &word, sizeof word);
    }
    c.layout = ztrace::PixelLayout::ColourWords;
    c.what += ", as words";
    return c;
}

} // namespace

class tst_Assign : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void workedExample();
    void tieGoesToTheLowerIndex();
    void farPixelFallsToEntryZero_data();
    void farPixelFallsToEntryZero();
    void sumsAddTheStoredByteAnd128();
    void borderIsLeftAlone();
    void cellsAreAsNarrowAsThePaletteAllows_data();
    void cellsAreAsNarrowAsThePaletteAllows();

    void fastEqualsPlain_data();
    void fastEqualsPlain();
    void sizesAroundATile();
    void wordsCountAsStoredBytes();
    void everyPaletteSize();
    void farAndNearTogether();
    void allEqualTiles();
    void seventyThousandEntries();
};

void tst_Assign::initTestCase()
{
    qInfo("seed %llu, fast form with %s", ztrace::testSeed(),
          ztrace::useAvx2() ? "AVX2" : "the kernels of any machine");
}

// One row of pixels against a palette, by both forms.
#define COMPARE_INDICES(pixelBytes, paletteBytes, ...)                                             \
    do {                                                                                           \
        const Bytes row = pixelBytes;                                                              \
        Case c = { int(row.size() / 4), 1, row, paletteBytes, "row" };                             \
        const std::vector<qint64> wanted = { __VA_ARGS__ };                                        \
        const Outcome plain = assigned(ztrace::assignPlain, c, true, true);                        \
        for (size_t x = 0; x < wanted.size(); ++x)                                                 \
            QCOMPARE(plain.cells[static_cast<size_t>(c.width) + 3 + x], wanted[x]);                \
        QCOMPARE(compared(c), QString());                                                          \
    } while (false)

// Opaque greys 0, 10, 200 and 255 against 0 and 200: white, read as -1, is next to black.
void tst_Assign::workedExample()
{
    const Bytes pixels({ 0, 0, 0, -1, 10, 10, 10, -1, -56, -56, -56, -1, -1, -1, -1, -1 });
    const Bytes palette({ 0, 0, 0, -1, -56, -56, -56, -1 });
    COMPARE_INDICES(pixels, palette, 0, 0, 1, 0);
    const Case c = { 4, 1, pixels, palette, "greys" };
    const std::vector<ColourSum> sums = assigned(ztrace::assignPlain, c, true, false).sums;
    const std::vector<ColourSum> expected
        = { { { 393, 393, 393, 381 }, 3 }, { { 72, 72, 72, 127 }, 1 } };
    QCOMPARE(sumsDifference(sums, expected), QString());
}

void tst_Assign::tieGoesToTheLowerIndex()
{
    const Bytes pixel({ 10, 0, 0, 0 });
    COMPARE_INDICES(pixel, Bytes({ 0, 0, 0, 0, 20, 0, 0, 0 }), 0);
    COMPARE_INDICES(pixel, Bytes({ 20, 0, 0, 0, 0, 0, 0, 0 }), 0);
    COMPARE_INDICES(pixel, Bytes({ 90, 0, 0, 0, 10, 9, 0, 0, 10, 0, 9, 0, 19, 0, 0, 0 }), 1);
    // Equal entries: the first of them.
    COMPARE_INDICES(pixel, Bytes({ 50, 0, 0, 0, 9, 0, 0, 0, 9, 0, 0, 0 }), 1);
    // A difference of 1 in alpha is as far as 4 in a colour.
    COMPARE_INDICES(pixel, Bytes({ 10, 0, 0, 1, 14, 0, 0, 0, 10, 3, 0, 0 }), 2);
    COMPARE_INDICES(pixel, Bytes({ 14, 0, 0, 0, 10, 0, 0, 1 }), 0);
}

void tst_Assign::farPixelFallsToEntryZero_data()
{
    QTest::addColumn<int>("red"); // of entry 1, whose alpha is 255 from the pixel's
    QTest::addColumn<int>("distance");
    QTest::addColumn<int>("index");
    QTest::newRow("nearer entry wins at 1020") << 127 << 1020 << 1;
    QTest::newRow("nearer entry wins at 1023") << 124 << 1023 << 1;
    QTest::newRow("entry zero at 1024") << 123 << 1024 << 0;
    QTest::newRow("entry zero at 1147") << 0 << 1147 << 0;
}

void tst_Assign::farPixelFallsToEntryZero()
{
    QFETCH(int, red);
    QFETCH(int, distance);
    QFETCH(int, index);
    const Bytes pixel(4, 127);
    const Bytes palette({ -128, -128, -128, -128, static_cast<signed char>(red), 127, 127, -128 });
    QCOMPARE(ztrace::weightedL1(pixel.data(), palette.data()), 1785);
    QCOMPARE(ztrace::weightedL1(pixel.data(), palette.data() + 4), distance);
    COMPARE_INDICES(pixel, palette, index);
}

void tst_Assign::sumsAddTheStoredByteAnd128()
{
    const Case c = { 2, 1, { -1, 0, 127, -128, -1, 5, 1, -128 }, { 0, 0, 0, -128 }, "two pixels" };
    for (const Assign assign : { ztrace::assignPlain, ztrace::assignFast }) {
        const Outcome outcome = assigned(assign, c, true, false);
        QCOMPARE(outcome.sums.size(), size_t(1));
        QCOMPARE(outcome.sums[0].count, int64_t(2));
        QCOMPARE(outcome.sums[0].channel[0], int64_t(127 + 127));
        QCOMPARE(outcome.sums[0].channel[1], int64_t(128 + 133));
        QCOMPARE(outcome.sums[0].channel[2], int64_t(255 + 129));
        QCOMPARE(outcome.sums[0].channel[3], int64_t(0));
    }
}

void tst_Assign::borderIsLeftAlone()
{
    Random random(ztrace::testSeed());
    for (const int entries : { 2, 300, 70000 }) {
        const Case c = randomCase(random, 13, 9, entries);
        const qint64 border = entries == 2 ? 255 : entries == 300 ? 65535 : -1;
        for (const Assign assign : { ztrace::assignPlain, ztrace::assignFast }) {
            const Outcome outcome = assigned(assign, c, true, true);
            for (int y = 0; y < 11; ++y) {
                for (int x = 0; x < 15; ++x) {
                    const qint64 cell = outcome.cells[static_cast<size_t>(15 * y + x)];
                    const bool outside = x == 0 || x == 14 || y == 0 || y == 10;
                    QVERIFY(outside ? cell == border : cell >= 0 && cell < entries);
                }
            }
        }
    }
}

void tst_Assign::cellsAreAsNarrowAsThePaletteAllows_data()
{
    QTest::addColumn<int>("entries");
    QTest::addColumn<int>("bytes");
    QTest::newRow("none") << 0 << 1;
    QTest::newRow("255: index 254 is the highest, 255 the border") << 255 << 1;
    QTest::newRow("256") << 256 << 2;
    QTest::newRow("65535") << 65535 << 2;
    QTest::newRow("65536") << 65536 << 4;
}

void tst_Assign::cellsAreAsNarrowAsThePaletteAllows()
{
    QFETCH(int, entries);
    QFETCH(int, bytes);
    IndexPlane plane;
    plane.resize(3, 2, entries);
    QCOMPARE(plane.cellBytes(), bytes);
}

void tst_Assign::fastEqualsPlain_data()
{
    QTest::addColumn<int>("rounds");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("mostEntries");
    QTest::newRow("1x1") << 400 << 1 << 1 << 40;
    QTest::newRow("1xN") << 200 << 1 << 90 << 40;
    QTest::newRow("Nx1") << 200 << 90 << 1 << 40;
    QTest::newRow("odd sizes") << 300 << 61 << 37 << 40;
    QTest::newRow("two entries") << 100 << 61 << 37 << 2;
    QTest::newRow("many entries") << 60 << 50 << 50 << 300;
    QTest::newRow("large") << 6 << 300 << 200 << 64;
}

void tst_Assign::fastEqualsPlain()
{
    QFETCH(int, rounds);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, mostEntries);
    Random random(ztrace::testSeed() + static_cast<quint64>(width * height + mostEntries));
    for (int round = 0; round < rounds; ++round) {
        const Case c = randomCase(random, random.between(1, width), random.between(1, height),
                                  random.between(1, mostEntries));
        QCOMPARE(compared(c), QString());
    }
}

void tst_Assign::sizesAroundATile()
{
    Random random(ztrace::testSeed() + 1);
    const int sizes[] = { 1, 2, 7, 8, 9, 15, 16, 17, 24, 25 };
    for (const int width : sizes) {
        for (const int height : sizes) {
            for (int round = 0; round < 4; ++round)
                QCOMPARE(compared(randomCase(random, width, height, random.between(1, 33))),
                         QString());
        }
    }
}

void tst_Assign::wordsCountAsStoredBytes()
{
    Random random(ztrace::testSeed() + 5);
    for (int round = 0; round < 300; ++round) {
        const Case bytes = randomCase(random, random.between(1, 40), random.between(1, 40),
                                      random.between(1, 40));
        const Case words = asWords(bytes);
        const Outcome expected = assigned(ztrace::assignPlain, bytes, true, true);
        const Outcome plain = assigned(ztrace::assignPlain, words, true, true);
        QCOMPARE(sumsDifference(plain.sums, expected.sums), QString());
        QCOMPARE(cellsDifference(plain.cells, expected.cells, words.width + 2), QString());
        QCOMPARE(comparedWith(expected, words), QString());
    }
}

void tst_Assign::everyPaletteSize()
{
    Random random(ztrace::testSeed() + 2);
    for (int entries = 1; entries <= 300; ++entries)
        QCOMPARE(compared(randomCase(random, 19, 11, entries)), QString());
}

// Opaque and transparent pixels against entries that are transparent or nearly so: distances on
// both sides of 1024 in one tile.
void tst_Assign::farAndNearTogether()
{
    Random random(ztrace::testSeed() + 3);
    for (int round = 0; round < 400; ++round) {
        Case c = randomCase(random, random.between(1, 20), random.between(1, 20),
                            random.between(1, 20));
        const int most = random.oneIn(2) ? 3 : 256;
        for (size_t i = 3; i < c.pixels.size(); i += 4)
            c.pixels[i] = stored(255 - random.below(most));
        for (size_t i = 3; i < c.palette.size(); i += 4)
            c.palette[i] = stored(random.below(most));
        c.what += ", far and near";
        QCOMPARE(compared(c), QString());
    }
}

// Tiles of one colour, the last one remembered; a few are near ties, a few too far.
void tst_Assign::allEqualTiles()
{
    Random random(ztrace::testSeed() + 4);
    for (int round = 0; round < 300; ++round) {
        Case c = randomCase(random, random.between(1, 40), random.between(1, 40),
                            random.between(1, 20));
        const Bytes colours = strewn(random, 3, kStrewings[random.below(4)], random.below(256));
        std::vector<int> ofTile(25);
        for (int &colour : ofTile)
            colour = random.below(3);
        for (int y = 0; y < c.height; ++y) {
            for (int x = 0; x < c.width; ++x) {
                const int colour = ofTile[static_cast<size_t>(y / 8 * 5 + x / 8)];
                std::copy_n(colours.begin() + 4 * colour, 4,
                            c.pixels.begin() + 4 * (y * c.width + x));
            }
        }
        c.what += ", tiles of one colour";
        QCOMPARE(compared(c), QString());
    }
}

void tst_Assign::seventyThousandEntries()
{
    Random random(ztrace::testSeed() + 5);
    for (const int entries : { 255, 256, 65534, 65535, 65536, 70000 }) {
        const Case c = randomCase(random, 9, 10, entries);
        QCOMPARE(compared(c), QString());
    }
    // The last entry is the only near one.
    Case c = { 3, 3, Bytes(36, 100), Bytes(4 * 70000, -100), "last entry" };
    std::fill(c.palette.end() - 4, c.palette.end(), static_cast<signed char>(100));
    QCOMPARE(assigned(ztrace::assignFast, c, false, true).cells[6], qint64(69999));
    QCOMPARE(compared(c), QString());
}

QTEST_GUILESS_MAIN(tst_Assign)
#include "tst_assign.moc"
