// (c) the ztrace developers. Licence: see LICENSE.
//
// Fitting of internode paths on flat arrays: worked examples, properties, and the reference.
// ZTRACE_TEST_SEED in the environment takes another seed.
#include "engine/kernels/direction.h"
#include "engine/kernels/fit.h"
#include "support/Comparison.h"
#include "support/Pictures.h"
#include "support/Reference.h"

#include <QtTest>

#include <limits>

using ztrace::difference;
using ztrace::Fitter;
using ztrace::PathView;
using ztrace::Random;
using ztrace::Segment;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();

template<typename Code>
struct Internodes
{
    std::vector<double> x;
    std::vector<double> y;
    std::vector<Code> code;

    PathView<Code> view() const { return { x.data(), y.data(), code.data(), int(x.size()) }; }
};

// Closed path over the given points, with the codes of its steps.
Internodes<double> closed(const std::vector<std::pair<double, double>> &points)
{
    Internodes<double> path;
    for (size_t i = 0; i < points.size(); ++i) {
        const auto &next = points[(i + 1) % points.size()];
        path.x.push_back(points[i].first);
        path.y.push_back(points[i].second);
        path.code.push_back(
            ztrace::directionOf(points[i].first, points[i].second, next.first, next.second));
    }
    return path;
}

// The outline of one pixel.
Internodes<double> diamond()
{
    return closed({ { 0.5, 0 }, { 1, 0.5 }, { 0.5, 1 }, { 0, 0.5 } });
}

// A closed walk in half steps, as long as it happens to be; many runs of few codes.
Internodes<double> randomPath(Random &random, int most)
{
    std::vector<std::pair<double, double>> points;
    double x = 10;
    double y = 10;
    int heading = random.below(8);
    const int size = random.between(2, most);
    const int steadiness = random.between(1, 12);
    const int dx[8] = { 2, 1, 0, -1, -2, -1, 0, 1 };
    const int dy[8] = { 0, 1, 2, 1, 0, -1, -2, -1 };
    for (int i = 0; i < size; ++i) {
        points.push_back({ x, y });
        if (random.oneIn(steadiness))
            heading = (heading + random.between(-1, 1)) & 7;
        x += dx[heading] * 0.5;
        y += dy[heading] * 0.5;
    }
    return closed(points);
}

Internodes<uint8_t> withByteCodes(const Internodes<double> &path)
{
    Internodes<uint8_t> result = { path.x, path.y, {} };
    for (const double code : path.code)
        result.code.push_back(static_cast<uint8_t>(code));
    return result;
}

std::vector<std::vector<double>> nested(const std::vector<Segment> &segments)
{
    std::vector<std::vector<double>> result;
    for (const Segment &segment : segments)
        result.push_back(std::vector<double>(segment.field, segment.field + 7));
    return result;
}

ztrace::reference::InternodePath forReference(const Internodes<double> &path)
{
    ztrace::reference::InternodePath result;
    for (size_t i = 0; i < path.x.size(); ++i)
        result.push_back({ path.x[i], path.y[i], path.code[i] });
    return result;
}

std::vector<std::vector<double>> fitted(const Internodes<double> &path, double line,
                                        double quadratic)
{
    std::vector<Segment> segments;
    Fitter({ line, quadratic }).fitPath(path.view(), &segments);
    return nested(segments);
}

std::vector<std::vector<double>> fittedSequence(const Internodes<double> &path, double line,
                                                double quadratic, int start, int end)
{
    std::vector<Segment> segments;
    Fitter({ line, quadratic }).fitSequence(path.view(), start, end, &segments);
    return nested(segments);
}

double endX(const std::vector<double> &segment)
{
    return segment[0] == ztrace::kLineType ? segment[3] : segment[5];
}

double endY(const std::vector<double> &segment)
{
    return segment[0] == ztrace::kLineType ? segment[4] : segment[6];
}

typedef std::vector<std::vector<double>> Nested;

} // namespace

class tst_Fit : public QObject
{
    Q_OBJECT

private slots:
    void pixelByLines();
    void pixelByQuadratics();
    void straightRunIsOneLine();
    void halvesMeetAtTheSplit();
    void earlierOfEqualErrorsIsTheFitPoint();
    void segmentsAreAppended();
    void endsOutOfRange_data();
    void endsOutOfRange();
    void endAtTheSizeIsTheFirstInternode();
    void emptyAndTinyPaths();
    void wrappedSequencesEnd_data();
    void wrappedSequencesEnd();
    void workingMemoryIsKeptFromPathToPath();
    void byteCodesGiveTheSame();
    void segmentsChainAndClose();
    void fitPathEqualsReference();
    void fitSequenceEqualsReference();
};

void tst_Fit::pixelByLines()
{
    const Nested expected = { { 1, 0.5, 0, 0.5, 1, 0, 0 }, { 1, 0.5, 1, 0.5, 0, 0, 0 } };
    QCOMPARE(difference(fitted(diamond(), 0.25, 0), expected), QString());
}

void tst_Fit::pixelByQuadratics()
{
    const Nested expected = { { 2, 0.5, 0, 1.5, 0.5, 0.5, 1 }, { 2, 0.5, 1, -0.5, 0.5, 0.5, 0 } };
    QCOMPARE(difference(fitted(diamond(), 0.2, 0), expected), QString());
}

void tst_Fit::straightRunIsOneLine()
{
    Internodes<double> path
        = closed({ { 0, 0 }, { 1, 0 }, { 2, 0 }, { 3, 0 }, { 3, 5 }, { 0, 5 } });
    const Nested expected = { { 1, 0, 0, 3, 0, 0, 0 } };
    QCOMPARE(difference(fittedSequence(path, 0, 0, 0, 3), expected), QString());
}

// A corner that neither a line nor one quadratic follows closely enough.
void tst_Fit::halvesMeetAtTheSplit()
{
    const Internodes<double> path = closed(
        { { 0, 0 }, { 1, 0 }, { 2, 0 }, { 3, 0 }, { 4, 0 }, { 4, 1 }, { 4, 2 }, { 4, 3 } });
    const Nested segments = fittedSequence(path, 0, 0, 0, 7);
    QVERIFY(segments.size() >= 2);
    QCOMPARE(difference(segments.front()[1], 0.0) + difference(segments.front()[2], 0.0),
             QString());
    for (size_t i = 1; i < segments.size(); ++i) {
        QCOMPARE(segments[i][1], endX(segments[i - 1]));
        QCOMPARE(segments[i][2], endY(segments[i - 1]));
    }
    QCOMPARE(endX(segments.back()), 4.0);
    QCOMPARE(endY(segments.back()), 3.0);
}

void tst_Fit::earlierOfEqualErrorsIsTheFitPoint()
{
    // Internodes 1 and 3 are as far from the line, on its two sides: the curve goes through the
    // first.
    const Internodes<double> path = closed({ { 0, 0 }, { 1, 1 }, { 2, 0 }, { 3, -1 }, { 4, 0 } });
    const Nested segments = fittedSequence(path, 0.5, 100, 0, 4);
    QCOMPARE(segments.size(), size_t(1));
    QCOMPARE(segments[0][0], ztrace::kQuadraticType);
    const double t = 0.25;
    const double controlY = (1.0 - 0.0) / (2 * (1 - t) * t);
    QCOMPARE(segments[0][4], controlY);
    QCOMPARE(segments[0][3], (1.0 - t * t * 4) / (2 * (1 - t) * t));
}

void tst_Fit::segmentsAreAppended()
{
    std::vector<Segment> segments(1, Segment { { 9, 9, 9, 9, 9, 9, 9 } });
    Fitter fitter({ 1, 1 });
    const Internodes<double> path = diamond();
    fitter.fitPath(path.view(), &segments);
    fitter.fitSequence(path.view(), 0, 2, &segments);
    QCOMPARE(segments.size(), size_t(4));
    QCOMPARE(segments[0].field[0], 9.0);
}

void tst_Fit::endsOutOfRange_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("end");
    QTest::newRow("end below zero") << 0 << -1;
    QTest::newRow("end above the size") << 0 << 5;
    QTest::newRow("start below zero") << -1 << 2;
    QTest::newRow("start at the size") << 4 << 2;
}

void tst_Fit::endsOutOfRange()
{
    QFETCH(int, start);
    QFETCH(int, end);
    QVERIFY(fittedSequence(diamond(), 1, 1, start, end).empty());
}

void tst_Fit::endAtTheSizeIsTheFirstInternode()
{
    QCOMPARE(
        difference(fittedSequence(diamond(), 0, 1, 2, 4), fittedSequence(diamond(), 0, 1, 2, 0)),
        QString());
}

void tst_Fit::emptyAndTinyPaths()
{
    QVERIFY(fitted(Internodes<double>(), 1, 1).empty());
    QVERIFY(fittedSequence(Internodes<double>(), 1, 1, 0, 0).empty());
    const Nested point = fitted(closed({ { 3, 4 } }), 1, 1);
    QCOMPARE(point.size(), size_t(1));
    QCOMPARE(endX(point[0]), 3.0);
    const Nested two = fitted(closed({ { 3, 4 }, { 5, 4 } }), 0, 0);
    QCOMPARE(two.size(), size_t(1)); // the run reaches the last internode and closes
}

void tst_Fit::wrappedSequencesEnd_data()
{
    QTest::addColumn<double>("line");
    QTest::addColumn<double>("quadratic");
    QTest::newRow("zero") << 0.0 << 0.0;
    QTest::newRow("negative") << -1.0 << -1.0;
    QTest::newRow("small") << 0.1 << 0.1;
    QTest::newRow("negative line") << -1.0 << 0.3;
    QTest::newRow("not a number") << kNan << kNan;
}

// Any start with any end, wrapping included: the call ends, with at most a bounded number of
// segments.
void tst_Fit::wrappedSequencesEnd()
{
    QFETCH(double, line);
    QFETCH(double, quadratic);
    Random random(ztrace::testSeed());
    for (int round = 0; round < 25; ++round) {
        const Internodes<double> path = randomPath(random, 30);
        const int size = path.view().size;
        for (int start = 0; start < size; ++start) {
            for (int end = 0; end <= size; ++end) {
                const Nested segments = fittedSequence(path, line, quadratic, start, end);
                QVERIFY(!segments.empty());
                QVERIFY(int(segments.size()) <= 8 * size + 1);
                QCOMPARE(segments.front()[1], path.x[static_cast<size_t>(start)]);
                QCOMPARE(endX(segments.back()), path.x[static_cast<size_t>(end % size)]);
            }
        }
    }
}

void tst_Fit::workingMemoryIsKeptFromPathToPath()
{
    Random random(ztrace::testSeed() + 1);
    Fitter kept({ 0.1, 0.1 });
    for (int round = 0; round < 200; ++round) {
        const Internodes<double> path = randomPath(random, 80);
        std::vector<Segment> segments;
        kept.fitPath(path.view(), &segments);
        QCOMPARE(difference(nested(segments), fitted(path, 0.1, 0.1)), QString());
    }
}

void tst_Fit::byteCodesGiveTheSame()
{
    Random random(ztrace::testSeed() + 2);
    for (int round = 0; round < 500; ++round) {
        const Internodes<double> path = randomPath(random, 80);
        const Internodes<uint8_t> bytes = withByteCodes(path);
        std::vector<Segment> segments;
        Fitter({ 0.2, 0.3 }).fitPath(bytes.view(), &segments);
        QCOMPARE(difference(nested(segments), fitted(path, 0.2, 0.3)), QString());
    }
}

void tst_Fit::segmentsChainAndClose()
{
    Random random(ztrace::testSeed() + 3);
    for (int round = 0; round < 500; ++round) {
        const Internodes<double> path = randomPath(random, 120);
        const Nested segments = fitted(path, random.unit(), random.unit());
        for (size_t i = 0; i < segments.size(); ++i) {
            const std::vector<double> &next = segments[(i + 1) % segments.size()];
            QCOMPARE(difference(endX(segments[i]), next[1]), QString());
            QCOMPARE(difference(endY(segments[i]), next[2]), QString());
        }
    }
}

void tst_Fit::fitPathEqualsReference()
{
    Random random(ztrace::testSeed() + 4);
    const ztrace::reference::Reference reference;
    const float tolerances[] = { 0, 0.1f, 0.25f, 0.5f, 1, 7, -1 };
    for (int round = 0; round < 3000; ++round) {
        const Internodes<double> path = randomPath(random, round % 100 == 0 ? 1000 : 60);
        const float line = tolerances[random.below(7)];
        const float quadratic = tolerances[random.below(7)];
        const QString found = difference(fitted(path, double(line), double(quadratic)),
                                         reference.tracepath(forReference(path), line, quadratic));
        QVERIFY2(
            found.isEmpty(),
            qPrintable(QString("seed %1, round %2: ").arg(ztrace::testSeed()).arg(round) + found));
    }
}

// Any forward sequence and any that wraps by end 0.
void tst_Fit::fitSequenceEqualsReference()
{
    Random random(ztrace::testSeed() + 5);
    for (int round = 0; round < 3000; ++round) {
        const Internodes<double> path = randomPath(random, 60);
        const int size = path.view().size;
        const int start = random.below(size - 1);
        const int end = random.oneIn(3) && start > 0 ? 0 : random.between(start + 1, size - 1);
        const float line = static_cast<float>(random.unit() * 0.5);
        const float quadratic = static_cast<float>(random.unit() * 0.5);
        const ztrace::reference::Reference reference; // counts its calls
        const QString found
            = difference(fittedSequence(path, double(line), double(quadratic), start, end),
                         reference.fitseq(forReference(path), line, quadratic, start, end));
        QVERIFY2(
            found.isEmpty(),
            qPrintable(QString("seed %1, round %2: ").arg(ztrace::testSeed()).arg(round) + found));
    }
}

QTEST_GUILESS_MAIN(tst_Fit)
#include "tst_fit.moc"
