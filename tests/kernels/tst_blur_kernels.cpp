// (c) the ztrace developers. Licence: see LICENSE.
//
// The selective blur: the plain form against the fast one over all radii and shapes, and the inner
// loops against the rule for every combination of three samples. ZTRACE_TEST_SEED in the
// environment takes another seed.
#include "engine/kernels/blur.h"
#include "engine/kernels/blur_rows.h"
#include "engine/kernels/cpu.h"
#include "engine/kernels/gaussian.h"
#include "support/Pictures.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using ztrace::Random;

namespace {

typedef std::vector<signed char> Bytes;

const int kGuardBytes = 64;
const signed char kGuard = 0x5A;

struct Image
{
    int width;
    int height;
    Bytes bytes; // followed by guard bytes
    QString what;

    Image(int w, int h, const QString &name)
        : width(w), height(h), bytes(static_cast<size_t>(4 * w * h + kGuardBytes), kGuard),
          what(QString("%1x%2 %3").arg(w).arg(h).arg(name))
    { }

    // rule gives the byte of a channel of a pixel.
    template<typename Rule>
    void fill(Rule rule)
    {
        signed char *out = bytes.data();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < 4; ++c)
                    *out++ = static_cast<signed char>(rule(x, y, c));
    }

    bool guarded() const
    {
        return std::all_of(bytes.end() - kGuardBytes, bytes.end(),
                           [](signed char byte) { return byte == kGuard; });
    }
};

int anyByte(Random &random)
{
    return random.below(256) - 128;
}

Image randomImage(Random &random, int width, int height)
{
    const char *const names[] = { "noise", "extremes", "flat stretches", "gradient", "edges" };
    const int kind = random.below(5);
    Image image(width, height, names[kind]);
    const int slopeX = random.between(-9, 9);
    const int slopeY = random.between(-9, 9);
    const int start = anyByte(random);
    int flat = start;
    image.fill([&](int x, int y, int c) {
        switch (kind) {
        case 0:
            return anyByte(random);
        case 1: // the ends, the signed middle
            return random.oneIn(2) ? random.oneIn(2) ? -128 : 127 : -random.below(2);
        case 2:
            if (random.oneIn(90))
                flat = anyByte(random);
            return flat;
        case 3: // arithmetic rows: every symmetric mean is a whole number
            return ((start + slopeX * x + slopeY * y + 5 * c) & 255) - 128;
        default:
            return (x / 7 + y / 5) % 2 == 0 ? start : -1 - start;
        }
    });
    return image;
}

// Empty when both forms give the same bytes and leave the guard alone.
QString compared(const Image &image, int radius, int limit)
{
    Image plain = image;
    Image fast = image;
    ztrace::blurPlain(plain.bytes.data(), image.width, image.height, radius, limit);
    ztrace::blurFast(fast.bytes.data(), image.width, image.height, radius, limit);
    const QString where = QString("%1, radius %2, limit %3").arg(image.what).arg(radius).arg(limit);
    if (!plain.guarded() || !fast.guarded())
        return where + ": wrote behind the pixels";
    for (int i = 0; i < 4 * image.width * image.height; ++i) {
        const size_t at = static_cast<size_t>(i);
        if (plain.bytes[at] == fast.bytes[at])
            continue;
        return where
            + QString(": channel %1 of (%2, %3) is %4 against %5")
                  .arg(i % 4)
                  .arg(i / 4 % image.width)
                  .arg(i / 4 / image.width)
                  .arg(int(fast.bytes[at]))
                  .arg(int(plain.bytes[at]));
    }
    return QString();
}

int byteBelow(double value)
{
    return static_cast<int>(std::floor(value));
}

// The inner loops that this process runs with.
const ztrace::BlurKernels &kernels()
{
#ifdef ZTRACE_HAVE_AVX2
    if (ztrace::useAvx2())
        return ztrace::kBlurAvx2;
#endif
    return ztrace::kBlurBaseline;
}

} // namespace

class tst_BlurKernels : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void workedExample();
    void flatPictureMayLoseOne();
    void allShapes_data();
    void allShapes();
    void limits_data();
    void limits();
    void oneLine();
    void longRows();
    void everyGradient();
    void everyTripleAtRadiusOne();
    void everyPairOfTaps_data();
    void everyPairOfTaps();
    void flatLinesOfEveryByte();
    void keepSmallChanges_data();
    void keepSmallChanges();
};

void tst_BlurKernels::initTestCase()
{
    qInfo("seed %llu, fast form with %s", ztrace::testSeed(),
          ztrace::useAvx2() ? "AVX2" : "the kernels of any machine");
}

// Two rows of 0, 10, 20, 60 in every channel. Row 0 takes no part, so that the vertical pass has
// one tap and changes nothing here.
void tst_BlurKernels::workedExample()
{
    const int row[4] = { 0, 10, 20, 60 };
    const int expected[4] = { 10, 13, 28, 44 };
    Image image(4, 2, "worked example");
    image.fill([&](int x, int, int) { return row[x]; });
    QCOMPARE(compared(image, 1, 1024), QString());
    ztrace::blurPlain(image.bytes.data(), 4, 2, 1, 1024);
    for (size_t i = 0; i < 32; ++i)
        QCOMPARE(int(image.bytes[i]), expected[i / 4 % 4]);
}

// The sum of 3 times each weight comes out a hair below 3: a flat picture of 3 becomes one of 2.
void tst_BlurKernels::flatPictureMayLoseOne()
{
    Image image(9, 9, "all 3");
    image.fill([](int, int, int) { return 3; });
    QCOMPARE(compared(image, 1, 1024), QString());
    ztrace::blurPlain(image.bytes.data(), 9, 9, 1, 1024);
    QCOMPARE(int(image.bytes[4 * (9 * 4 + 4)]), 2);
}

void tst_BlurKernels::allShapes_data()
{
    QTest::addColumn<int>("radius");
    for (int radius = 1; radius <= ztrace::kLargestBlurRadius; ++radius)
        QTest::addRow("radius %d", radius) << radius;
}

// Every width and height up to 13, and a sample of the rest up to 40.
void tst_BlurKernels::allShapes()
{
    QFETCH(int, radius);
    Random random(ztrace::testSeed() + static_cast<quint64>(radius));
    for (int width = 1; width <= 40; ++width) {
        for (int height = 1; height <= 40; ++height) {
            if ((width > 13 || height > 13) && !random.oneIn(6))
                continue;
            const int limit = random.oneIn(2) ? 1024 : random.below(1021);
            QCOMPARE(compared(randomImage(random, width, height), radius, limit), QString());
        }
    }
}

void tst_BlurKernels::limits_data()
{
    QTest::addColumn<int>("limit");
    for (const int limit : { INT_MIN, -1, 0, 1, 5, 100, 1019, 1020, 1024 })
        QTest::addRow("%d", limit) << limit;
}

void tst_BlurKernels::limits()
{
    QFETCH(int, limit);
    Random random(ztrace::testSeed() + 10);
    for (int round = 0; round < 60; ++round) {
        const Image image = randomImage(random, random.between(1, 40), random.between(1, 40));
        const int radius = random.between(1, 5);
        QCOMPARE(compared(image, radius, limit), QString());
        if (limit < 0) {
            Image blurred = image;
            ztrace::blurFast(blurred.bytes.data(), image.width, image.height, radius, limit);
            QVERIFY(blurred.bytes == image.bytes);
        }
    }
}

void tst_BlurKernels::oneLine()
{
    Random random(ztrace::testSeed() + 11);
    for (int radius = 1; radius <= 5; ++radius) {
        for (int length = 1; length <= 40; ++length) {
            const Image row = randomImage(random, length, 1);
            QCOMPARE(compared(row, radius, 1024), QString());
            QCOMPARE(compared(randomImage(random, 1, length), radius, 1024), QString());
            // Row 0 takes no part: not one tap is left.
            Image blurred = row;
            ztrace::blurPlain(blurred.bytes.data(), length, 1, radius, 1024);
            QVERIFY(std::all_of(blurred.bytes.begin(), blurred.bytes.end() - kGuardBytes,
                                [](signed char byte) { return byte == 0; }));
        }
    }
}

void tst_BlurKernels::longRows()
{
    Random random(ztrace::testSeed() + 12);
    for (int round = 0; round < 40; ++round)
        QCOMPARE(compared(randomImage(random, random.between(200, 700), random.between(2, 14)),
                          random.between(1, 5), 1024),
                 QString());
}

// Rows that rise or fall evenly: the quotient comes out a hair above or below a whole number, and
// the floor tells which.
void tst_BlurKernels::everyGradient()
{
    const int kWidth = 40;
    for (int slope = -12; slope <= 12; ++slope) {
        for (int turned = 0; turned < 2; ++turned) {
            Image image(kWidth, kWidth, QString("rows of slope %1").arg(slope));
            image.fill([&](int x, int y, int c) {
                const int along = turned ? y : x;
                const int start = -128 + (turned ? x : y) * 6 + c;
                return std::max(-128, std::min(127, start + slope * along));
            });
            for (int radius = 1; radius <= 5; ++radius)
                QCOMPARE(compared(image, radius, 1024), QString());
        }
    }
}

// All 2^24 combinations of three samples, by the rule's own words: the sum in the order of the
// taps, one division, floored.
void tst_BlurKernels::everyTripleAtRadiusOne()
{
    const double *weights = ztrace::gaussianKernel(1);
    const double weightSum = 0.0 + weights[0] + weights[1] + weights[2];
    const size_t count = 65536;
    Bytes a(count);
    Bytes b(count);
    Bytes c(count);
    Bytes out(count + kGuardBytes, kGuard);
    for (size_t i = 0; i < count; ++i) {
        b[i] = static_cast<signed char>(int(i / 256) - 128);
        c[i] = static_cast<signed char>(int(i % 256) - 128);
    }
    ztrace::TapRow row = {
        { a.data(), b.data(), c.data() }, { weights[0], weights[1], weights[2] }, 3, weightSum
    };
    for (int first = -128; first <= 127; ++first) {
        std::fill(a.begin(), a.end(), static_cast<signed char>(first));
        kernels().weighRow(row, out.data(), count);
        for (size_t i = 0; i < count; ++i) {
            double sum = 0.0;
            sum += first * weights[0];
            sum += b[i] * weights[1];
            sum += c[i] * weights[2];
            if (out[i] != byteBelow(sum / weightSum))
                QFAIL(qPrintable(QString("(%1, %2, %3): %4 against %5")
                                     .arg(first)
                                     .arg(int(b[i]))
                                     .arg(int(c[i]))
                                     .arg(int(out[i]))
                                     .arg(byteBelow(sum / weightSum))));
        }
    }
    QCOMPARE(out.back(), kGuard);
}

void tst_BlurKernels::everyPairOfTaps_data()
{
    allShapes_data();
}

// Near an edge few taps are left: every pair of neighbouring weights with every pair of samples.
void tst_BlurKernels::everyPairOfTaps()
{
    QFETCH(int, radius);
    const double *weights = ztrace::gaussianKernel(radius);
    const size_t count = 65536;
    Bytes a(count);
    Bytes b(count);
    Bytes out(count);
    for (size_t i = 0; i < count; ++i) {
        a[i] = static_cast<signed char>(int(i / 256) - 128);
        b[i] = static_cast<signed char>(int(i % 256) - 128);
    }
    for (int k = 0; k < 2 * radius; ++k) {
        const double weightSum = weights[k] + weights[k + 1];
        const ztrace::TapRow row
            = { { a.data(), b.data() }, { weights[k], weights[k + 1] }, 2, weightSum };
        kernels().weighRow(row, out.data(), count);
        for (size_t i = 0; i < count; ++i) {
            const double sum = a[i] * weights[k] + b[i] * weights[k + 1];
            if (out[i] != byteBelow(sum / weightSum))
                QFAIL(qPrintable(QString("taps %1: (%2, %3)").arg(k).arg(a[i]).arg(b[i])));
        }
    }
}

// A flat picture may still change by one where the weights' roundings leave the quotient a hair
// below the value: the same in both forms.
void tst_BlurKernels::flatLinesOfEveryByte()
{
    for (int value = -128; value <= 127; ++value) {
        Image image(40, 12, QString("all %1").arg(value));
        image.fill([&](int, int, int) { return value; });
        for (int radius = 1; radius <= 5; ++radius)
            QCOMPARE(compared(image, radius, 1024), QString());
    }
}

void tst_BlurKernels::keepSmallChanges_data()
{
    QTest::addColumn<int>("limit");
    for (const int limit : { -1, 0, 3, 4, 5, 1019 })
        QTest::addRow("%d", limit) << limit;
}

void tst_BlurKernels::keepSmallChanges()
{
    QFETCH(int, limit);
    Random random(ztrace::testSeed() + 13);
    const size_t pixels = 203;
    Bytes blurred(4 * pixels);
    Bytes out(4 * pixels + kGuardBytes, kGuard);
    for (size_t i = 0; i < blurred.size(); ++i) {
        out[i] = static_cast<signed char>(anyByte(random));
        const bool near = i / 4 % 3 != 0;
        blurred[i] = near ? static_cast<signed char>(std::min(out[i] + random.below(3), 127))
                          : static_cast<signed char>(anyByte(random));
    }
    // A change by the largest possible sum.
    std::fill_n(out.begin(), 4, static_cast<signed char>(127));
    std::fill_n(blurred.begin(), 4, static_cast<signed char>(-128));
    const Bytes before = out;
    kernels().keepSmallChanges(blurred.data(), out.data(), pixels, limit);
    for (size_t i = 0; i < pixels; ++i) {
        int change = 0;
        for (size_t c = 0; c < 4; ++c)
            change += std::abs(blurred[4 * i + c] - before[4 * i + c]);
        for (size_t c = 0; c < 4; ++c)
            QCOMPARE(out[4 * i + c], (change <= limit ? blurred : before)[4 * i + c]);
    }
    QCOMPARE(out.back(), kGuard);
}

QTEST_GUILESS_MAIN(tst_BlurKernels)
#include "tst_blur_kernels.moc"
