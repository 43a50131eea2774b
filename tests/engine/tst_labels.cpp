// (c) the ztrace developers. Licence: see LICENSE.
//
// The door for labels against a whole trace of the same areas painted in distinct colours.
// ZTRACE_TEST_SEED in the environment takes another seed.
#include "engine/ZTraceBitmap.h"
#include "engine/labels.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QMap>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>

using ztrace::IndexPlane;
using ztrace::LabelOutline;
using ztrace::OutlineOptions;
using ztrace::Random;
using ztrace::Segment;
using ztrace::TracedLabels;

namespace {

struct Labels
{
    int width;
    int height;
    int count;
    std::vector<uint16_t> values;

    template<typename Cell>
    TracedLabels traced(const OutlineOptions &options) const
    {
        const std::vector<Cell> cells(values.begin(), values.end());
        return traceLabels(ztrace::planeOfLabels(cells.data(), width, height, count), options);
    }
};

// Blocks of random labels with single pixels strewn in, so that there are areas, holes, saddles.
Labels randomLabels(Random &random, int largest, int count)
{
    Labels labels = { random.between(1, largest), random.between(1, largest), count, {} };
    if (random.oneIn(8))
        labels.width = 1;
    const int block = random.between(1, 5);
    const int used = random.oneIn(2) ? count : std::min(count, 3);
    std::vector<uint16_t> blocks;
    for (int i = 0; i < 7 * (labels.height / block + 1); ++i)
        blocks.push_back(static_cast<uint16_t>(random.below(used)));
    for (int y = 0; y < labels.height; ++y) {
        for (int x = 0; x < labels.width; ++x) {
            const int place = (x / block) % 7 + 7 * (y / block);
            labels.values.push_back(random.oneIn(9) ? static_cast<uint16_t>(random.below(count))
                                                    : blocks[static_cast<size_t>(place)]);
        }
    }
    return labels;
}

OutlineOptions randomFit(Random &random)
{
    const double tolerances[]
        = { 0, 0.1, 0.25, 0.5, 1, 3, -1, 1e300, std::numeric_limits<double>::quiet_NaN() };
    const double lengths[] = { 0, 4, 7.9, 8, 20, -3, 1e12 };
    OutlineOptions options;
    options.ltres = tolerances[random.below(9)];
    options.qtres = tolerances[random.below(9)];
    options.pathomit = lengths[random.below(7)];
    return options;
}

// A colour that no other label has, as the byte of a channel.
int channelOf(int label, int channel)
{
    return label >> (6 * channel) & 63;
}

// Traces the labels as an image in which every label has a colour of its own.
void traceAsImage(ZTraceBitmap &tracer, const Labels &labels, const OutlineOptions &options)
{
    QImage image(labels.width, labels.height, QImage::Format_ARGB32);
    for (int y = 0; y < labels.height; ++y) {
        QRgb *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < labels.width; ++x) {
            const int label = labels.values[static_cast<size_t>(y * labels.width + x)];
            row[x] = qRgba(channelOf(label, 0), channelOf(label, 1), channelOf(label, 2), 100);
        }
    }
    for (int k = 0; k < labels.count; ++k) {
        QVector<char> entry(4, 100);
        for (int c = 0; c < 3; ++c)
            entry[c] = static_cast<char>(channelOf(k, c));
        tracer.currentPalette.append(entry);
    }
    tracer.setOption(QLatin1String("monochrome"), 0);
    tracer.setOption(QLatin1String("blurradius"), 0);
    tracer.setOption(QLatin1String("colorquantcycles"), 1);
    tracer.setOption(QLatin1String("ltres"), options.ltres);
    tracer.setOption(QLatin1String("qtres"), options.qtres);
    tracer.setOption(QLatin1String("pathomit"), options.pathomit);
    tracer.trace(image);
}

struct Expected
{
    int label;
    QVector<QVector<double>> segments;
};

// The outlines as getPolylines goes through them, by their first pixels.
QMap<size_t, Expected> expectedOf(const ZTraceBitmap &tracer)
{
    QMap<size_t, Expected> outlines;
    const auto &layers = tracer.indexedImage.tracedLayers;
    for (int k = 0; k < layers.size(); ++k) {
        for (const auto &path : layers.at(k)) {
            const double x = std::floor(path.at(0).at(1));
            const double key = x + path.at(0).at(2) * tracer.indexedImage.width;
            outlines.insert(static_cast<size_t>(key), Expected { k, path });
        }
    }
    return outlines;
}

bool equals(const QVector<double> &fields, const Segment &segment)
{
    return fields.size() == 7
        && !std::memcmp(fields.constData(), segment.field, sizeof segment.field);
}

// Empty when both are the same, bit for bit.
QString difference(const QMap<size_t, Expected> &expected, const TracedLabels &traced)
{
    if (size_t(expected.size()) != traced.outlines.size())
        return QString("%1 outlines, not %2").arg(traced.outlines.size()).arg(expected.size());
    size_t i = 0;
    size_t first = 0;
    for (auto it = expected.constBegin(); it != expected.constEnd(); ++it, ++i) {
        const LabelOutline &outline = traced.outlines[i];
        if (outline.label != it->label || outline.firstPixel != it.key())
            return QString("outline %1: label or first pixel").arg(i);
        if (outline.first != first || outline.count != size_t(it->segments.size()))
            return QString("outline %1: place of its segments").arg(i);
        for (const QVector<double> &segment : it->segments)
            if (!equals(segment, traced.segments[first++]))
                return QString("outline %1: segment %2").arg(i).arg(first - 1 - outline.first);
    }
    return first == traced.segments.size() ? QString() : QString("segments of no outline");
}

} // namespace

class tst_Labels : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void aSquareInAFrame();
    void outlinesAreThoseOfATrace_data();
    void outlinesAreThoseOfATrace();
    void cellsAreAsNarrowAsTheLabelsAllow();
    void allLabelsAtOnce();
    void namesOfLabelsDoNotMatter();
    void labelsBeyondTheirNumberAreRefused();
    void oddSizesAreRefused();
};

void tst_Labels::aSquareInAFrame()
{
    const std::vector<uint8_t> labels = { 0, 0, 0, 0, 1, 0, 0, 0, 0 };
    OutlineOptions options;
    options.pathomit = 0;
    const TracedLabels traced = traceLabels(ztrace::planeOfLabels(labels.data(), 3, 3, 2), options);
    QCOMPARE(traced.outlines.size(), size_t(2));
    QCOMPARE(traced.outlines[0].label, 0);
    QCOMPARE(traced.outlines[0].firstPixel, size_t(0));
    QCOMPARE(traced.outlines[1].label, 1);
    QCOMPARE(traced.outlines[1].firstPixel, size_t(4));
    QCOMPARE(traced.outlines[1].first, traced.outlines[0].count);
    QCOMPARE(traced.segments[traced.outlines[1].first].field[1], 1.5);
    QCOMPARE(traced.segments[traced.outlines[1].first].field[2], 1.0);
}

void tst_Labels::outlinesAreThoseOfATrace_data()
{
    QTest::addColumn<int>("count");
    const int counts[] = { 1, 2, 3, 40, 254, 255, 256, 257, 700 };
    for (int count : counts)
        QTest::newRow(qPrintable(QString("%1 labels").arg(count))) << count;
}

void tst_Labels::outlinesAreThoseOfATrace()
{
    QFETCH(int, count);
    const quint64 seed = ztrace::testSeed();
    Random random(seed);
    size_t outlines = 0;
    for (int run = 0; run < 200; ++run) {
        const Labels labels = randomLabels(random, 40, count);
        const OutlineOptions options = randomFit(random);
        ZTraceBitmap tracer;
        traceAsImage(tracer, labels, options);
        const QMap<size_t, Expected> expected = expectedOf(tracer);
        QCOMPARE(expected.size(), tracer.getPolylines().size());
        const QByteArray where = QString("seed %1, run %2, %3x%4: ")
                                     .arg(seed)
                                     .arg(run)
                                     .arg(labels.width)
                                     .arg(labels.height)
                                     .toLatin1();
        const QString wide = difference(expected, labels.traced<uint16_t>(options));
        QVERIFY2(wide.isEmpty(), where + qPrintable(wide));
        if (count <= 256) {
            const QString narrow = difference(expected, labels.traced<uint8_t>(options));
            QVERIFY2(narrow.isEmpty(), where + qPrintable(narrow));
        }
        outlines += size_t(expected.size());
    }
    QVERIFY(outlines > 50);
}

void tst_Labels::cellsAreAsNarrowAsTheLabelsAllow()
{
    const std::vector<uint8_t> bytes(6, 7);
    const std::vector<uint16_t> words(6, 7);
    QCOMPARE(ztrace::planeOfLabels(bytes.data(), 3, 2, 255).cellBytes(), 1);
    QCOMPARE(ztrace::planeOfLabels(words.data(), 3, 2, 255).cellBytes(), 1);
    QCOMPARE(ztrace::planeOfLabels(bytes.data(), 3, 2, 256).cellBytes(), 2);
    QCOMPARE(ztrace::planeOfLabels(words.data(), 3, 2, ztrace::kMostLabels).cellBytes(), 2);
}

void tst_Labels::allLabelsAtOnce()
{
    Labels labels = { 257, 255, ztrace::kMostLabels, {} };
    for (int i = 0; i < ztrace::kMostLabels; ++i)
        labels.values.push_back(static_cast<uint16_t>(ztrace::kMostLabels - 1 - i));
    OutlineOptions options;
    options.pathomit = 0;
    const TracedLabels traced = labels.traced<uint16_t>(options);
    QCOMPARE(traced.outlines.size(), labels.values.size());
    for (size_t i = 0; i < traced.outlines.size(); ++i) {
        QCOMPARE(traced.outlines[i].firstPixel, i);
        QCOMPARE(traced.outlines[i].label, int(labels.values[i]));
    }
}

// Any two labels may change places: outlines, their order and their segments stay.
void tst_Labels::namesOfLabelsDoNotMatter()
{
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        const int width = 1 + static_cast<int>(random() % 40);
        const int height = 1 + static_cast<int>(random() % 40);
        const int count = 2 + static_cast<int>(random() % 5);
        std::vector<std::uint8_t> labels(static_cast<std::size_t>(width * height));
        for (std::uint8_t &label : labels)
            label = static_cast<std::uint8_t>(random() % static_cast<unsigned>(count));
        const int other = 1 + static_cast<int>(random() % static_cast<unsigned>(count - 1));
        const auto exchanged = [other](int label) {
            return label == other ? 0 : label == 0 ? other : label;
        };
        std::vector<std::uint8_t> renamed = labels;
        for (std::uint8_t &label : renamed)
            label = static_cast<std::uint8_t>(exchanged(label));
        const OutlineOptions options;
        const TracedLabels one = ztrace::traceLabels(
            ztrace::planeOfLabels(labels.data(), width, height, count), options);
        const TracedLabels two = ztrace::traceLabels(
            ztrace::planeOfLabels(renamed.data(), width, height, count), options);
        QCOMPARE(two.outlines.size(), one.outlines.size());
        QCOMPARE(two.segments.size(), one.segments.size());
        for (std::size_t i = 0; i < one.outlines.size(); ++i) {
            QCOMPARE(two.outlines[i].label, exchanged(one.outlines[i].label));
            QCOMPARE(two.outlines[i].firstPixel, one.outlines[i].firstPixel);
            QCOMPARE(two.outlines[i].count, one.outlines[i].count);
        }
        for (std::size_t i = 0; i < one.segments.size(); ++i)
            QVERIFY(std::equal(std::begin(one.segments[i].field), std::end(one.segments[i].field),
                               std::begin(two.segments[i].field)));
    }
}

void tst_Labels::labelsBeyondTheirNumberAreRefused()
{
    const std::vector<uint8_t> bytes = { 0, 1, 255, 0 };
    const std::vector<uint16_t> words = { 0, 1, 256, 65535 };
    QVERIFY_EXCEPTION_THROWN(ztrace::planeOfLabels(bytes.data(), 2, 2, 255), std::invalid_argument);
    QVERIFY_EXCEPTION_THROWN(ztrace::planeOfLabels(words.data(), 2, 2, 200), std::invalid_argument);
    QVERIFY_EXCEPTION_THROWN(ztrace::planeOfLabels(words.data(), 2, 2, ztrace::kMostLabels),
                             std::invalid_argument);
    QCOMPARE(ztrace::planeOfLabels(bytes.data(), 2, 2, 256).width(), 2);
}

void tst_Labels::oddSizesAreRefused()
{
    const std::vector<uint8_t> bytes(4, 0);
    const int sizes[][3] = { { 0, 2, 1 },
                             { 2, 0, 1 },
                             { -2, -2, 1 },
                             { 2, 2, 0 },
                             { 2, 2, -1 },
                             { 2, 2, ztrace::kMostLabels + 1 },
                             { std::numeric_limits<int>::max(), 1, 1 } };
    for (const int *size : sizes)
        QVERIFY_EXCEPTION_THROWN(ztrace::planeOfLabels(bytes.data(), size[0], size[1], size[2]),
                                 std::invalid_argument);
}

QTEST_APPLESS_MAIN(tst_Labels)
#include "tst_labels.moc"
