// (c) the ztrace developers. Licence: see LICENSE.
//
// The conversions between number types, over their edges.
#include "engine/kernels/convert.h"

#include <QtTest>

#include <cstring>
#include <limits>

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

void addEdges()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("zero") << 0.0 << 0;
    QTest::newRow("negative zero") << -0.0 << 0;
    QTest::newRow("whole number") << 7.0 << 7;
    QTest::newRow("negative whole number") << -7.0 << -7;
    QTest::newRow("highest") << 2147483647.0 << INT_MAX;
    QTest::newRow("lowest") << -2147483648.0 << INT_MIN;
    QTest::newRow("one above the highest") << 2147483648.0 << INT_MAX;
    QTest::newRow("one below the lowest") << -2147483649.0 << INT_MIN;
    QTest::newRow("far above") << 1e300 << INT_MAX;
    QTest::newRow("far below") << -1e300 << INT_MIN;
    QTest::newRow("infinity") << kInfinity << INT_MAX;
    QTest::newRow("negative infinity") << -kInfinity << INT_MIN;
    QTest::newRow("not a number") << kNan << INT_MIN;
    QTest::newRow("smallest positive") << 5e-324 << 0;
    QTest::newRow("just below the highest") << 2147483646.9999998 << 2147483646;
}

// The bits of a double: tells zeros of either sign apart.
quint64 bits(double value)
{
    quint64 result;
    std::memcpy(&result, &value, sizeof result);
    return result;
}

} // namespace

class tst_Convert : public QObject
{
    Q_OBJECT

private slots:
    void truncateToInt_data();
    void truncateToInt();
    void floorToInt_data();
    void floorToInt();
    void roundedToSingle_data();
    void roundedToSingle();
    void roundedToSingleSideBySide();
    void lowByteOfEveryByteAndBeyond();
    void wrappingProduct_data();
    void wrappingProduct();
};

void tst_Convert::truncateToInt_data()
{
    addEdges();
    QTest::newRow("half") << 0.5 << 0;
    QTest::newRow("negative half") << -0.5 << 0;
    QTest::newRow("just below one") << 0.9999999999999999 << 0;
    QTest::newRow("just above minus one") << -0.9999999999999999 << 0;
    QTest::newRow("fraction above the lowest") << -2147483647.5 << -2147483647;
    QTest::newRow("fraction below the lowest") << -2147483648.5 << INT_MIN;
    QTest::newRow("fraction above the highest") << 2147483647.5 << INT_MAX;
}

void tst_Convert::truncateToInt()
{
    QFETCH(double, value);
    QFETCH(int, expected);
    QCOMPARE(ztrace::truncateToInt(value), expected);
}

void tst_Convert::floorToInt_data()
{
    addEdges();
    QTest::newRow("half") << 0.5 << 0;
    QTest::newRow("negative half") << -0.5 << -1;
    QTest::newRow("smallest negative") << -5e-324 << -1;
    QTest::newRow("just above minus one") << -0.9999999999999999 << -1;
    QTest::newRow("fraction above the lowest") << -2147483647.5 << INT_MIN;
    QTest::newRow("fraction below the lowest") << -2147483648.5 << INT_MIN;
    QTest::newRow("fraction above the highest") << 2147483647.5 << INT_MAX;
}

void tst_Convert::floorToInt()
{
    QFETCH(double, value);
    QFETCH(int, expected);
    QCOMPARE(ztrace::floorToInt(value), expected);
}

void tst_Convert::roundedToSingle_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("expected");
    QTest::newRow("zero") << 0.0 << 0.0;
    QTest::newRow("negative zero") << -0.0 << -0.0;
    QTest::newRow("a half is exact") << 0.5 << 0.5;
    QTest::newRow("0.02") << 0.02 << 0.0199999995529651641845703125;
    QTest::newRow("0.1") << 0.1 << 0.100000001490116119384765625;
    QTest::newRow("tie goes to the even one below") << 16777217.0 << 16777216.0;
    QTest::newRow("tie goes to the even one above") << 16777219.0 << 16777220.0;
    QTest::newRow("largest") << 3.4028234663852886e38 << 3.4028234663852886e38;
    QTest::newRow("infinity") << kInfinity << kInfinity;
    QTest::newRow("negative infinity") << -kInfinity << -kInfinity;
    QTest::newRow("below the smallest") << 1e-60 << 0.0;
    QTest::newRow("below the smallest, negative") << -1e-60 << -0.0;
}

void tst_Convert::roundedToSingle()
{
    QFETCH(double, value);
    QFETCH(double, expected);
    QCOMPARE(bits(ztrace::roundedToSingle(value)), bits(expected));
    QVERIFY(std::isnan(ztrace::roundedToSingle(kNan)));
}

// Two roundings that end up next to each other in memory: where a compiler puts both into one
// register it must not lose the rounding.
void tst_Convert::roundedToSingleSideBySide()
{
    struct Pair
    {
        double first;
        double second;
    };
    volatile double tenth = 0.1;
    volatile double fiftieth = 0.02;
    const Pair pair = { ztrace::roundedToSingle(tenth), ztrace::roundedToSingle(fiftieth) };
    QCOMPARE(bits(pair.first), bits(static_cast<double>(0.1f)));
    QCOMPARE(bits(pair.second), bits(static_cast<double>(0.02f)));
}

void tst_Convert::lowByteOfEveryByteAndBeyond()
{
    for (int value = -70000; value <= 70000; ++value) {
        int expected = value % 256; // -255 to 255
        if (expected > 127)
            expected -= 256;
        if (expected < -128)
            expected += 256;
        QCOMPARE(int(ztrace::lowByte(value)), expected);
    }
    QCOMPARE(int(ztrace::lowByte(INT_MIN)), 0);
    QCOMPARE(int(ztrace::lowByte(INT_MAX)), -1);
}

void tst_Convert::wrappingProduct_data()
{
    QTest::addColumn<int>("a");
    QTest::addColumn<int>("b");
    QTest::addColumn<int>("expected");
    QTest::newRow("small") << 3 << 7 << 21;
    QTest::newRow("by zero") << INT_MAX << 0 << 0;
    QTest::newRow("largest that fits") << 46340 << 46340 << 2147395600;
    QTest::newRow("wraps to negative") << 46341 << 46341 << -2147479015;
    QTest::newRow("wraps to zero") << 65536 << 65536 << 0;
    QTest::newRow("wraps past zero") << 65537 << 65536 << 65536;
    QTest::newRow("negative") << -3 << 7 << -21;
    QTest::newRow("lowest by minus one") << INT_MIN << -1 << INT_MIN;
}

void tst_Convert::wrappingProduct()
{
    QFETCH(int, a);
    QFETCH(int, b);
    QFETCH(int, expected);
    QCOMPARE(ztrace::wrappingProduct(a, b), expected);
    QCOMPARE(ztrace::wrappingProduct(b, a), expected);
}

QTEST_GUILESS_MAIN(tst_Convert)
#include "tst_convert.moc"
