// (c) the ztrace developers. Licence: see LICENSE.
//
// Lines and quadratic pieces fitted to internodes.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Messages.h"
#include "support/Pictures.h"
#include "support/Reference.h"

#include <QtTest>

#include <climits>
#include <cmath>
#include <limits>

using ztrace::difference;

namespace {

const float kNan = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

using Internodes = QVector<QVector<double>>;
using Segments = QVector<QVector<double>>;

Internodes singlePixel()
{
    return { { 0.5, 0, 1 }, { 1, 0.5, 3 }, { 0.5, 1, 5 }, { 0, 0.5, 7 } };
}

// A path along x whose y values are given; all codes equal.
Internodes wave(const QVector<double> &heights)
{
    Internodes path;
    for (int i = 0; i < heights.size(); ++i)
        path.append({ double(i), heights.at(i), 0 });
    return path;
}

QVector<double> line(double x1, double y1, double x2, double y2)
{
    return { 1.0, x1, y1, x2, y2, 0.0, 0.0 };
}

QVector<double> quadratic(double x1, double y1, double cx, double cy, double x2, double y2)
{
    return { 2.0, x1, y1, cx, cy, x2, y2 };
}

// A closed path as the stages before make one, with few sharp turns.
Internodes randomOutline(ztrace::Random &random)
{
    ZTraceBitmap tracer;
    tracer.setOption("monochrome", 0);
    tracer.setOption("blurradius", 0);
    tracer.setOption("colorsampling", 0);
    tracer.setOption("numberofcolors", 2);
    for (;;) {
        tracer.loadImageData(ztrace::randomPicture(random, 40).toImage());
        tracer.colorquantization();
        for (const auto &paths :
             tracer.batchinternodes(tracer.batchpathscan(tracer.layering(), 8))) {
            if (!paths.isEmpty())
                return paths.at(random.below(int(paths.size())));
        }
    }
}

} // namespace

class tst_Fitseq : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void singlePixelWithWideTolerance_data();
    void singlePixelWithWideTolerance();
    void singlePixelWithNarrowTolerance();
    void straightRunIsOneLine();
    void lineEndsOnTheNextSequence();
    void everySequenceOneLineWhenAllPass_data();
    void everySequenceOneLineWhenAllPass();
    void firstOfEqualErrorsIsTheFitPoint();
    void controlPointInTheStatedOrder();
    void splitAtTheMiddleOfFitAndErrorPoint();
    void wrappedSequenceThroughZero();
    void thirdCodeAtTheLastInternodeStillCloses();
    void sequenceHoldsTwoCodes();
    void endOutsideThePathIsEmpty_data();
    void endOutsideThePathIsEmpty();
    void startEqualToEndIsOneLine();
    void toleranceIsComparedAsWidenedFloat();
    void negativeToleranceKeepsANotANumber();
    void directionCodesAreNotRead();
    void batchesKeepEveryEntry();
    void shortPathsAreHandled();
    void oddArgumentsReturn();
    void equalsReference();
    void wrappedSequencesEqualTheReference();
    void longSequencesAreSplitToTheEnd();
};

void tst_Fitseq::singlePixelWithWideTolerance_data()
{
    QTest::addColumn<float>("ltres");
    QTest::newRow("just enough") << 0.25f;
    QTest::newRow("the default") << 1.0f;
    QTest::newRow("infinity") << kInfinity;
    QTest::newRow("not a number: no error is larger") << kNan;
}

void tst_Fitseq::singlePixelWithWideTolerance()
{
    QFETCH(float, ltres);
    const Segments expected({ line(0.5, 0, 0.5, 1), line(0.5, 1, 0.5, 0) });
    const Segments result = ZTraceBitmap().tracepath(singlePixel(), ltres, 1);
    QCOMPARE(difference(result, expected), QString());
}

void tst_Fitseq::singlePixelWithNarrowTolerance()
{
    const Segments expected(
        { quadratic(0.5, 0, 1.5, 0.5, 0.5, 1), quadratic(0.5, 1, -0.5, 0.5, 0.5, 0) });
    for (const float ltres : { 0.2499f, 0.0f, -1.0f, -kInfinity }) {
        const Segments result = ZTraceBitmap().tracepath(singlePixel(), ltres, 1);
        QCOMPARE(difference(result, expected), QString());
    }
}

void tst_Fitseq::straightRunIsOneLine()
{
    const Internodes path = wave({ 3, 3, 3, 3, 3, 3 });
    const Segments result = ZTraceBitmap().fitseq(path, 0, 0, 1, 5);
    QCOMPARE(difference(result, Segments({ line(1, 3, 5, 3) })), QString());
}

void tst_Fitseq::lineEndsOnTheNextSequence()
{
    // Two codes make the first sequence; the third code begins the next one, and so does its end.
    const Internodes path({ { 0, 0, 0 },
                            { 1, 0, 0 },
                            { 2, 0, 0 },
                            { 3, 0, 1 },
                            { 4, 1, 2 },
                            { 4, 2, 4 },
                            { 3, 3, 4 },
                            { 2, 3, 6 },
                            { 1, 2, 6 } });
    const Segments result = ZTraceBitmap().tracepath(path, 100, 0);
    QCOMPARE(difference(result.at(0), line(0, 0, 4, 1)), QString());
    QCOMPARE(difference(result.at(1), line(4, 1, 2, 3)), QString());
    QCOMPARE(difference(result.at(2), line(2, 3, 0, 0)), QString());
    QCOMPARE(result.size(), 3);
}

void tst_Fitseq::everySequenceOneLineWhenAllPass_data()
{
    QTest::addColumn<float>("ltres");
    QTest::newRow("1e30") << 1e30f;
    QTest::newRow("infinity") << kInfinity;
}

void tst_Fitseq::everySequenceOneLineWhenAllPass()
{
    QFETCH(float, ltres);
    ztrace::Random random(8);
    for (int round = 0; round < 100; ++round) {
        const Internodes path = randomOutline(random);
        const int n = int(path.size());
        // The sequences, counted on their own.
        Segments expected;
        int start = 0;
        while (start >= 0) {
            QVector<double> codes({ path.at(start).at(2) });
            int end = start + 1;
            while (end < n - 1) {
                const double code = path.at(end).at(2);
                if (!codes.contains(code)) {
                    if (codes.size() == 2)
                        break;
                    codes.append(code);
                }
                ++end;
            }
            const bool closes = end == n - 1;
            const QVector<double> &s = path.at(start);
            const QVector<double> &e = path.at(closes ? 0 : end);
            expected.append(line(s.at(0), s.at(1), e.at(0), e.at(1)));
            start = closes ? -1 : end;
        }
        QCOMPARE(difference(ZTraceBitmap().tracepath(path, ltres, 1), expected), QString());
    }
}

void tst_Fitseq::firstOfEqualErrorsIsTheFitPoint()
{
    // Inner internodes 1 and 3 are both 2 off the line; through internode 1 (t = 0.25) the control
    // point lies at y = 2 / 0.375, through internode 3 it would be the same height but mirrored.
    const Internodes path = wave({ 0, 2, 1, 2, 0, 0 });
    const Segments result = ZTraceBitmap().fitseq(path, 0.1f, 1000, 0, 4);
    QCOMPARE(result.size(), 1);
    const double t = 0.25;
    const double t1 = (1 - t) * (1 - t);
    const double t2 = 2 * (1 - t) * t;
    const double t3 = t * t;
    const double cx = ((t1 * 0 + t3 * 4) - 1) / -t2;
    const double cy = ((t1 * 0 + t3 * 0) - 2) / -t2;
    QCOMPARE(difference(result.at(0), quadratic(0, 0, cx, cy, 4, 0)), QString());

    // The same the other way round: the first in walk order again.
    const Internodes skewed(
        { { 0, 0, 0 }, { 1.5, 2, 0 }, { 2, 0, 0 }, { 2.5, 2, 0 }, { 4, 0, 0 }, { 9, 9, 0 } });
    const Segments other = ZTraceBitmap().fitseq(skewed, 0.1f, 1000, 0, 4);
    const double ox = ((t1 * 0 + t3 * 4) - 1.5) / -t2;
    QCOMPARE(difference(other.at(0), quadratic(0, 0, ox, cy, 4, 0)), QString());
}

void tst_Fitseq::controlPointInTheStatedOrder()
{
    // Thirds and sevenths, so that another order of the operations shows in the last bit.
    ztrace::Random random(ztrace::testSeed());
    ZTraceBitmap tracer;
    const ztrace::reference::Reference expected;
    for (int round = 0; round < 2000; ++round) {
        ztrace::reference::InternodePath path;
        for (int i = random.between(4, 12); i > 0; --i)
            path.push_back({ random.unit() * 30, random.unit() * 30, 0 });
        const int last = int(path.size()) - 1;
        const Segments result = tracer.fitseq(ztrace::toQt(path), 0.001f, 1e9f, 0, last);
        QCOMPARE(difference(result, expected.fitseq(path, 0.001f, 1e9f, 0, last)), QString());
        QCOMPARE(result.at(0).at(0), 2.0);
    }
}

void tst_Fitseq::splitAtTheMiddleOfFitAndErrorPoint()
{
    const Internodes path = wave({ 0, 0, 9, 0, 0, 0, -1, 0, 0, 0 });
    ZTraceBitmap tracer;
    const Segments whole = tracer.fitseq(path, 0.01f, 0.01f, 0, 8);
    QVERIFY(whole.size() > 1);
    // The split is at an internode: both halves joined make the whole, for one place only.
    int places = 0;
    for (int split = 1; split < 8; ++split) {
        const Segments halves = tracer.fitseq(path, 0.01f, 0.01f, 0, split)
            + tracer.fitseq(path, 0.01f, 0.01f, split, 8);
        places += difference(whole, halves).isEmpty() ? 1 : 0;
    }
    QVERIFY(places >= 1);
    for (int i = 0; i + 1 < whole.size(); ++i) {
        const bool isLine = whole.at(i).at(0) == 1.0;
        QCOMPARE(whole.at(i).at(isLine ? 3 : 5), whole.at(i + 1).at(1));
        QCOMPARE(whole.at(i).at(isLine ? 4 : 6), whole.at(i + 1).at(2));
    }
}

void tst_Fitseq::wrappedSequenceThroughZero()
{
    const Segments result = ZTraceBitmap().fitseq(singlePixel(), 0.1f, 1, 2, 0);
    const Segments expected({ quadratic(0.5, 1, -0.5, 0.5, 0.5, 0) });
    QCOMPARE(difference(result, expected), QString());
    const Segments wide = ZTraceBitmap().fitseq(singlePixel(), 1, 1, 2, 0);
    QCOMPARE(difference(wide, Segments({ line(0.5, 1, 0.5, 0) })), QString());
}

void tst_Fitseq::thirdCodeAtTheLastInternodeStillCloses()
{
    // The scan stops at internode 3, the last, because of its third code; the path closes anyway.
    const Internodes path({ { 0, 0, 0 }, { 1, 0, 1 }, { 2, 1, 1 }, { 0, 1, 5 } });
    const Segments result = ZTraceBitmap().tracepath(path, 1000, 0);
    QCOMPARE(difference(result, Segments({ line(0, 0, 0, 0) })), QString());
}

void tst_Fitseq::sequenceHoldsTwoCodes()
{
    const Internodes path({ { 0, 0, 0 },
                            { 1, 0, 7 },
                            { 2, 0, 0 },
                            { 3, 0, 7 },
                            { 4, 0, 0 },
                            { 5, 0, 2 },
                            { 6, 0, 2 },
                            { 7, 0, 7 },
                            { 8, 0, 0 },
                            { 9, 0, 0 } });
    const Segments result = ZTraceBitmap().tracepath(path, 1000, 0);
    QCOMPARE(difference(result, Segments({ line(0, 0, 5, 0), line(5, 0, 8, 0), line(8, 0, 0, 0) })),
             QString());
}

void tst_Fitseq::endOutsideThePathIsEmpty_data()
{
    QTest::addColumn<int>("seqend");
    QTest::newRow("minus one") << -1;
    QTest::newRow("one past the path's length") << 5;
    QTest::newRow("far below") << INT_MIN;
    QTest::newRow("far above") << INT_MAX;
}

void tst_Fitseq::endOutsideThePathIsEmpty()
{
    QFETCH(int, seqend);
    QVERIFY(ZTraceBitmap().fitseq(singlePixel(), 1, 1, 0, seqend).isEmpty());
}

void tst_Fitseq::startEqualToEndIsOneLine()
{
    const Segments result = ZTraceBitmap().fitseq(singlePixel(), 0, 0, 2, 2);
    QCOMPARE(difference(result, Segments({ line(0.5, 1, 0.5, 1) })), QString());
}

void tst_Fitseq::toleranceIsComparedAsWidenedFloat()
{
    // 0.1 as a float is a little more than 0.1, so a squared error of 0.1 passes.
    const double h = 0.316227767;
    const Internodes path = wave({ 0, h, 0, 0 });
    QVERIFY(h * h > 0.1 && h * h < double(0.1f));
    QCOMPARE(ZTraceBitmap().fitseq(path, 0.1f, 0, 0, 2).at(0).at(0), 1.0);
    const float below = std::nextafter(0.1f, 0.0f);
    QCOMPARE(ZTraceBitmap().fitseq(path, below, 0, 0, 2).at(0).at(0), 2.0);
}

void tst_Fitseq::negativeToleranceKeepsANotANumber()
{
    // No error is above zero, so the start itself is the fit point, at parameter 0.
    const Segments result = ZTraceBitmap().fitseq(wave({ 3, 3, 3, 3, 3 }), -1, -1, 0, 4);
    QCOMPARE(result.size(), 1);
    QCOMPARE(result.at(0).at(0), 2.0);
    QVERIFY(std::isnan(result.at(0).at(3)));
    QVERIFY(std::isnan(result.at(0).at(4)));
    QCOMPARE(result.at(0).at(5), 4.0);
    QCOMPARE(result.at(0).at(6), 3.0);
}

void tst_Fitseq::directionCodesAreNotRead()
{
    Internodes other = singlePixel();
    for (QVector<double> &point : other)
        point[2] = std::numeric_limits<double>::quiet_NaN();
    const Segments expected = ZTraceBitmap().fitseq(singlePixel(), 0.1f, 1, 0, 2);
    QCOMPARE(difference(ZTraceBitmap().fitseq(other, 0.1f, 1, 0, 2), expected), QString());
}

void tst_Fitseq::batchesKeepEveryEntry()
{
    ZTraceBitmap tracer;
    const Segments one = tracer.tracepath(singlePixel(), 1, 1);
    const auto paths = tracer.batchtracepaths({ singlePixel(), {}, singlePixel() }, 1, 1);
    QCOMPARE(paths.size(), 3);
    QCOMPARE(difference(paths.at(0), one), QString());
    QVERIFY(paths.at(1).isEmpty());
    QCOMPARE(difference(paths.at(2), one), QString());

    const auto layers = tracer.batchtracelayers({ {}, { singlePixel() }, {} }, 0.1f, 2);
    QCOMPARE(layers.size(), 3);
    QVERIFY(layers.at(0).isEmpty());
    const auto expected = tracer.batchtracepaths({ singlePixel() }, 0.1f, 2);
    QCOMPARE(difference(layers.at(1), expected), QString());
    QVERIFY(layers.at(2).isEmpty());
    QVERIFY(tracer.batchtracelayers({}, 1, 1).isEmpty());
}

void tst_Fitseq::shortPathsAreHandled()
{
    ZTraceBitmap tracer;
    QVERIFY(tracer.tracepath(Internodes(), 1, 1).isEmpty());
    tracer.tracepath({ { 1, 1, 8 } }, 1, 1);
    const Segments two = tracer.tracepath({ { 1, 1, 0 }, { 2, 1, 4 } }, 1, 1);
    QCOMPARE(difference(two, Segments({ line(1, 1, 1, 1) })), QString());
}

// What comes back is not defined, but the call returns.
void tst_Fitseq::oddArgumentsReturn()
{
    ztrace::Random random(ztrace::testSeed());
    ZTraceBitmap tracer;
    const float tolerances[] = { 0, -1, 0.01f, 1, kNan, kInfinity, -kInfinity };
    for (int round = 0; round < 20000; ++round) {
        Internodes path;
        for (int i = random.below(9); i > 0; --i) {
            path.append(
                { random.below(20) * 0.5, random.below(20) * 0.5, double(random.below(9)) });
            if (random.oneIn(50))
                path.last()[random.below(3)] = std::numeric_limits<double>::quiet_NaN();
            if (random.oneIn(50))
                path.last()[random.below(3)] = std::numeric_limits<double>::infinity();
        }
        const float ltres = tolerances[random.below(7)];
        const float qtres = tolerances[random.below(7)];
        const int n = int(path.size());
        const int start = random.oneIn(40) ? INT_MAX : random.between(-2, n + 2);
        const int end = random.oneIn(40) ? INT_MIN : random.between(-2, n + 2);
        for (const QVector<double> &segment : tracer.fitseq(path, ltres, qtres, start, end))
            QCOMPARE(segment.size(), 7);
        for (const QVector<double> &segment : tracer.tracepath(path, ltres, qtres))
            QCOMPARE(segment.size(), 7);
    }
}

void tst_Fitseq::equalsReference()
{
    ztrace::Random random(ztrace::testSeed());
    ZTraceBitmap tracer;
    const ztrace::reference::Reference expected;
    const float tolerances[] = { 0, 0.01f, 0.1f, 0.25f, 0.5f, 1, 2, -1, kNan, kInfinity };
    for (int round = 0; round < 1500; ++round) {
        const Internodes path = randomOutline(random);
        ztrace::reference::InternodePath other;
        for (const QVector<double> &point : path)
            other.emplace_back(point.begin(), point.end());
        const float ltres = tolerances[random.below(10)];
        const float qtres = tolerances[random.below(10)];
        const auto wanted = expected.tracepath(other, ltres, qtres);
        QCOMPARE(difference(tracer.tracepath(path, ltres, qtres), wanted), QString());

        const int start = random.below(int(path.size()) - 1);
        const int end = random.oneIn(3) ? 0 : random.between(start + 1, int(path.size()) - 1);
        const auto part = expected.fitseq(other, ltres, qtres, start, end);
        const QString found = difference(tracer.fitseq(path, ltres, qtres, start, end), part);
        QVERIFY2(found.isEmpty(), qPrintable(found));
    }
}

// From any internode but the last to any before it. Splits may lie outside such a sequence; where
// the rule then has no end, nothing is compared.
void tst_Fitseq::wrappedSequencesEqualTheReference()
{
    ztrace::Random random(ztrace::testSeed());
    ZTraceBitmap tracer;
    int compared = 0;
    int splits = 0;
    for (int round = 0; round < 4000; ++round) {
        ztrace::reference::InternodePath path;
        const int n = random.between(4, 14);
        for (int i = 0; i < n; ++i)
            path.push_back({ random.below(20) * 0.5, random.below(20) * 0.5, 0 });
        const int start = random.between(1, n - 2);
        const int end = random.below(start);
        const float ltres = static_cast<float>(random.below(10));
        const float qtres = static_cast<float>(random.below(60));
        ztrace::reference::Reference expected;
        expected.mostFits = 8 * n;
        const auto wanted = expected.fitseq(path, ltres, qtres, start, end);
        const Segments result = tracer.fitseq(ztrace::toQt(path), ltres, qtres, start, end);
        if (expected.gaveUp)
            continue;
        ++compared;
        splits += wanted.size() > 1 ? 1 : 0;
        const QString found = difference(result, wanted);
        QVERIFY2(found.isEmpty(),
                 qPrintable(QString("round %1, %2 to %3 of %4: %5")
                                .arg(round)
                                .arg(start)
                                .arg(end)
                                .arg(n)
                                .arg(found)));
    }
    QVERIFY(compared > 1000);
    QVERIFY(splits > 100);
}

// A sequence that grows towards its end, so that it is split again and again near there.
void tst_Fitseq::longSequencesAreSplitToTheEnd()
{
    const int n = 4000;
    ztrace::reference::InternodePath path;
    double y = 1;
    for (int i = 0; i < n; ++i) {
        path.push_back({ double(i), i % 2 == 0 ? y : -y, 0 });
        y *= 1.01;
    }
    const auto expected = ztrace::reference::Reference().fitseq(path, 0, 0, 0, n - 1);
    const Segments result = ZTraceBitmap().fitseq(ztrace::toQt(path), 0, 0, 0, n - 1);
    QVERIFY(result.size() > n / 2);
    QCOMPARE(difference(result, expected), QString());
}

QTEST_GUILESS_MAIN(tst_Fitseq)
#include "tst_fitseq.moc"
