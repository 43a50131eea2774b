// (c) the ztrace developers. Licence: see LICENSE.
//
// Outlines of all entries in one pass, against a plain walk over the edges of each entry.
// ZTRACE_TEST_SEED in the environment takes another seed.
#include "engine/kernels/IndexPlane.h"
#include "engine/kernels/direction.h"
#include "engine/kernels/outline.h"
#include "support/Pictures.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <tuple>

using ztrace::IndexPlane;
using ztrace::Random;

namespace {

struct Field
{
    int width;
    int height;
    int entries; // of the palette: decides how wide the cells are
    std::vector<int> indices;
    QString what;

    int at(int x, int y) const
    {
        const bool inside = x >= 0 && y >= 0 && x < width && y < height;
        return inside ? indices[static_cast<size_t>(y * width + x)] : -1;
    }
};

// A field drawn as rows of digits.
Field drawn(const QStringList &rows, int entries = 10)
{
    Field field = {
        rows.isEmpty() ? 0 : int(rows.first().size()), int(rows.size()), entries, {}, rows.join('/')
    };
    for (const QString &row : rows)
        for (const QChar digit : row)
            field.indices.push_back(digit.digitValue());
    return field;
}

struct Outline
{
    int entry;
    std::vector<double> x;
    std::vector<double> y;
    std::vector<int> code;

    bool operator==(const Outline &other) const
    {
        return entry == other.entry && x == other.x && y == other.y && code == other.code;
    }
};

QString text(const Outline &outline)
{
    QString result = QString("entry %1:").arg(outline.entry);
    for (size_t i = 0; i < outline.x.size(); ++i)
        result += QString(" (%1, %2) %3").arg(outline.x[i]).arg(outline.y[i]).arg(outline.code[i]);
    return result;
}

std::vector<Outline> scanned(const Field &field, float shortest)
{
    IndexPlane plane;
    plane.resize(field.width, field.height, field.entries);
    plane.visit([&](auto *cells) {
        for (int y = 0; y < field.height; ++y)
            for (int x = 0; x < field.width; ++x)
                cells[(y + 1) * plane.stride() + x + 1]
                    = static_cast<std::remove_pointer_t<decltype(cells)>>(field.at(x, y));
    });
    std::vector<Outline> result;
    ztrace::scanOutlines(plane, shortest, [&](int entry, const ztrace::PathView<uint8_t> &path) {
        Outline outline = { entry,
                            { path.x, path.x + path.size },
                            { path.y, path.y + path.size },
                            { path.code, path.code + path.size } };
        result.push_back(outline);
    });
    return result;
}

// The plain way: every edge between a pixel of the entry and another one is a step with the entry's
// pixel on the right hand; a step goes on to the left where it can, else straight on, else to the
// right. Each step lies on one closed walk; those that go round clockwise are outer outlines.
struct Step
{
    int y;
    int x;
    int heading; // 0 right, 1 up, 2 left, 3 down

    bool operator<(const Step &other) const
    {
        return std::tie(y, x, heading) < std::tie(other.y, other.x, other.heading);
    }
};

const int kDx[4] = { 1, 0, -1, 0 };
const int kDy[4] = { 0, -1, 0, 1 };

std::set<Step> stepsOf(const Field &field, int entry)
{
    std::set<Step> steps;
    for (int y = 0; y < field.height; ++y) {
        for (int x = 0; x < field.width; ++x) {
            if (field.at(x, y) != entry)
                continue;
            if (field.at(x, y - 1) != entry)
                steps.insert({ y, x, 0 });
            if (field.at(x - 1, y) != entry)
                steps.insert({ y + 1, x, 1 });
            if (field.at(x, y + 1) != entry)
                steps.insert({ y + 1, x + 1, 2 });
            if (field.at(x + 1, y) != entry)
                steps.insert({ y, x + 1, 3 });
        }
    }
    return steps;
}

std::vector<Step> takeWalk(std::set<Step> *steps)
{
    // The first step that is left starts at the topmost, leftmost node of its walk.
    const Step first = *steps->begin();
    const std::set<Step> all = *steps;
    std::vector<Step> walk(1, first);
    steps->erase(first);
    for (;;) {
        const Step &last = walk.back();
        Step next = { last.y + kDy[last.heading], last.x + kDx[last.heading], 0 };
        for (const int turn : { 1, 0, 3 }) {
            next.heading = (last.heading + turn) & 3;
            if (all.count(next))
                break;
        }
        if (!(first < next) && !(next < first))
            return walk;
        walk.push_back(next);
        steps->erase(next);
    }
}

bool isClockwise(const std::vector<Step> &walk)
{
    int area = 0;
    for (const Step &step : walk)
        area += step.x * kDy[step.heading];
    return area > 0; // y grows downwards
}

Outline midpoints(int entry, const std::vector<Step> &walk)
{
    Outline outline = { entry, {}, {}, {} };
    for (size_t i = 0; i < walk.size(); ++i) {
        outline.x.push_back(walk[i].x + 0.5 * kDx[walk[i].heading]);
        outline.y.push_back(walk[i].y + 0.5 * kDy[walk[i].heading]);
    }
    for (size_t i = 0; i < walk.size(); ++i) {
        const size_t j = (i + 1) % walk.size();
        outline.code.push_back(
            ztrace::directionOf(outline.x[i], outline.y[i], outline.x[j], outline.y[j]));
    }
    return outline;
}

std::vector<Outline> walked(const Field &field, float shortest)
{
    const std::set<int> entries(field.indices.begin(), field.indices.end());
    std::map<std::pair<int, int>, Outline> byStart;
    for (const int entry : entries) {
        std::set<Step> steps = stepsOf(field, entry);
        while (!steps.empty()) {
            const std::vector<Step> walk = takeWalk(&steps);
            if (isClockwise(walk) && !(shortest > static_cast<float>(walk.size())))
                byStart[{ walk[0].y, walk[0].x }] = midpoints(entry, walk);
        }
    }
    std::vector<Outline> result;
    for (const auto &item : byStart)
        result.push_back(item.second);
    return result;
}

QString compared(const Field &field, float shortest = 0)
{
    const std::vector<Outline> actual = scanned(field, shortest);
    const std::vector<Outline> expected = walked(field, shortest);
    const QString where = QString("%1x%2 %3, shortest %4: ")
                              .arg(field.width)
                              .arg(field.height)
                              .arg(field.what)
                              .arg(double(shortest));
    for (size_t i = 0; i < std::min(actual.size(), expected.size()); ++i) {
        if (!(actual[i] == expected[i]))
            return where + QString("outline %1: ").arg(i) + text(actual[i]) + " against "
                + text(expected[i]);
    }
    if (actual.size() != expected.size())
        return where + QString("%1 outlines against %2").arg(actual.size()).arg(expected.size());
    return QString();
}

// Noise of a few indices near the end of the palette, so that wide cells use all their bytes.
Field noise(Random &random, int width, int height, int colours, int entries)
{
    Field field = { width, height, entries, {}, QString("noise of %1").arg(colours) };
    const int highest = entries - 1;
    const int rarity = random.between(1, 6);
    int index = highest;
    for (int i = 0; i < width * height; ++i) {
        if (random.oneIn(rarity))
            index = highest - random.below(colours);
        field.indices.push_back(index);
    }
    return field;
}

} // namespace

class tst_Outline : public QObject
{
    Q_OBJECT

private slots:
    void singlePixel();
    void twoPixelsThatTouchAtACorner();
    void holeHasNoOutlineOfItsOwn();
    void outlinesComeInTheOrderOfTheirStarts();
    void shortest_data();
    void shortest();
    void emptyPlanes_data();
    void emptyPlanes();
    void borderHasNoOutline();
    void everyPlaneOfTwoColours_data();
    void everyPlaneOfTwoColours();
    void noiseEqualsPlainWalk_data();
    void noiseEqualsPlainWalk();
    void widthsAroundAChunk();
};

void tst_Outline::singlePixel()
{
    const std::vector<Outline> outlines = scanned(drawn({ "3" }), 0);
    QCOMPARE(outlines.size(), size_t(1));
    const Outline expected = { 3, { 0.5, 1, 0.5, 0 }, { 0, 0.5, 1, 0.5 }, { 1, 3, 5, 7 } };
    QCOMPARE(text(outlines[0]), text(expected));
}

void tst_Outline::twoPixelsThatTouchAtACorner()
{
    const std::vector<Outline> outlines = scanned(drawn({ "01", "10" }), 5);
    // Both pairs are one outline each of eight nodes, which pass the middle twice.
    QCOMPARE(outlines.size(), size_t(2));
    const Outline zeros = { 0,
                            { 0.5, 1, 1.5, 2, 1.5, 1, 0.5, 0 },
                            { 0, 0.5, 1, 1.5, 2, 1.5, 1, 0.5 },
                            { 1, 1, 1, 3, 5, 5, 5, 7 } };
    QCOMPARE(text(outlines[0]), text(zeros));
    QCOMPARE(outlines[1].x.size(), size_t(8));
    QCOMPARE(compared(drawn({ "01", "10" })), QString());
}

void tst_Outline::holeHasNoOutlineOfItsOwn()
{
    const Field ring = drawn({ "000", "010", "000" });
    const std::vector<Outline> outlines = scanned(ring, 0);
    QCOMPARE(outlines.size(), size_t(2));
    QCOMPARE(outlines[0].entry, 0);
    QCOMPARE(outlines[0].x.size(), size_t(12));
    QCOMPARE(outlines[1].entry, 1);
    QCOMPARE(outlines[1].x.size(), size_t(4));
    // A hole whose first corner is a saddle, and two holes that touch.
    for (const QStringList &rows : { QStringList({ "0001", "0100", "1000" }),
                                     QStringList({ "00000", "01000", "00100", "00000" }),
                                     QStringList({ "1000", "0010", "0100", "0001" }) })
        QCOMPARE(compared(drawn(rows)), QString());
}

void tst_Outline::outlinesComeInTheOrderOfTheirStarts()
{
    const Field field = drawn({ "2201", "2001", "3311" });
    QCOMPARE(compared(field), QString());
    QList<int> entries;
    for (const Outline &outline : scanned(field, 0))
        entries.append(outline.entry);
    QCOMPARE(entries, QList<int>({ 2, 0, 1, 3 }));
}

void tst_Outline::shortest_data()
{
    QTest::addColumn<float>("shortest");
    QTest::addColumn<int>("count");
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    // Outlines of 20 and 4 nodes.
    QTest::newRow("none") << 0.0f << 2;
    QTest::newRow("negative") << -5.0f << 2;
    QTest::newRow("just as long") << 4.0f << 2;
    QTest::newRow("a fraction longer") << 4.5f << 1;
    QTest::newRow("longer than both") << 21.0f << 0;
    QTest::newRow("infinite") << infinity << 0;
    QTest::newRow("not a number") << nan << 2;
}

void tst_Outline::shortest()
{
    QFETCH(float, shortest);
    QFETCH(int, count);
    const Field field = drawn({ "00000", "00100", "00000", "00000", "00000" });
    QCOMPARE(int(scanned(field, shortest).size()), count);
    QCOMPARE(compared(field, shortest), QString());
}

void tst_Outline::emptyPlanes_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("0x0") << 0 << 0;
    QTest::newRow("0x5") << 0 << 5;
    QTest::newRow("5x0") << 5 << 0;
}

void tst_Outline::emptyPlanes()
{
    QFETCH(int, width);
    QFETCH(int, height);
    for (const int entries : { 1, 300, 70000 })
        QVERIFY(scanned(Field({ width, height, entries, {}, QString() }), 0).empty());
}

// The value around the plane is no entry, even where it stands inside the plane.
void tst_Outline::borderHasNoOutline()
{
    QVERIFY(scanned(drawn({ "0" }), 0).size() == 1);
    Random random(ztrace::testSeed());
    for (const int entries : { 2, 255, 256, 65535, 65536, 70000 }) {
        const Field field = noise(random, 12, 9, 2, entries);
        for (const Outline &outline : scanned(field, 0))
            QVERIFY(outline.entry >= 0 && outline.entry < entries);
        QCOMPARE(compared(field), QString());
    }
}

void tst_Outline::everyPlaneOfTwoColours_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("1x1") << 1 << 1;
    QTest::newRow("3x3") << 3 << 3;
    QTest::newRow("5x2") << 5 << 2;
    QTest::newRow("4x3") << 4 << 3;
    QTest::newRow("3x4") << 3 << 4;
}

void tst_Outline::everyPlaneOfTwoColours()
{
    QFETCH(int, width);
    QFETCH(int, height);
    for (int bits = 0; bits < 1 << (width * height); ++bits) {
        Field field = { width, height, 2, {}, QString("bits %1").arg(bits) };
        for (int i = 0; i < width * height; ++i)
            field.indices.push_back(bits >> i & 1);
        QCOMPARE(compared(field), QString());
    }
}

void tst_Outline::noiseEqualsPlainWalk_data()
{
    QTest::addColumn<int>("colours");
    QTest::addColumn<int>("entries");
    QTest::newRow("two colours, cells of 1 byte") << 2 << 2;
    QTest::newRow("three colours, cells of 1 byte") << 3 << 255;
    QTest::newRow("two colours, cells of 2 bytes") << 2 << 256;
    QTest::newRow("five colours, cells of 2 bytes") << 5 << 65535;
    QTest::newRow("two colours, cells of 4 bytes") << 2 << 65536;
    QTest::newRow("seven colours, cells of 4 bytes") << 7 << 70000;
}

void tst_Outline::noiseEqualsPlainWalk()
{
    QFETCH(int, colours);
    QFETCH(int, entries);
    Random random(ztrace::testSeed() + static_cast<quint64>(entries));
    for (int round = 0; round < 300; ++round) {
        const Field field
            = noise(random, random.between(1, 30), random.between(1, 30), colours, entries);
        const float shortest = random.oneIn(2) ? 0.0f : static_cast<float>(random.below(14));
        QCOMPARE(compared(field, shortest), QString());
    }
}

// Rows are looked at 64 nodes at a time, and eight of those together.
void tst_Outline::widthsAroundAChunk()
{
    Random random(ztrace::testSeed() + 1);
    for (const int width : { 7, 8, 9, 63, 64, 65, 66, 71, 72, 127, 128, 129, 130 }) {
        for (int round = 0; round < 12; ++round)
            QCOMPARE(compared(noise(random, width, random.between(1, 6), 2, round % 2 ? 2 : 300)),
                     QString());
        // One pixel alone, at every place of its row.
        for (int x = 0; x < width; ++x) {
            Field field = { width, 3, 2, {}, QString("pixel at %1").arg(x) };
            field.indices.assign(static_cast<size_t>(3 * width), 0);
            field.indices[static_cast<size_t>(width + x)] = 1;
            QCOMPARE(scanned(field, 0).size(), size_t(2));
            QCOMPARE(compared(field), QString());
        }
    }
}

QTEST_GUILESS_MAIN(tst_Outline)
#include "tst_outline.moc"
