// (c) the ztrace developers. Licence: see LICENSE.
//
// Sums against plain loops, and the program against exhaustive search.
// ZTRACE_TEST_SEED in the environment takes another seed.
#include "FitRig.h"

#include "fit/program.h"

#include <QtTest>

#include <cmath>

using namespace ztrace::fit;

namespace {

std::uint64_t testSeed()
{
    bool given = false;
    const qulonglong seed = qgetenv("ZTRACE_TEST_SEED").toULongLong(&given);
    return given ? seed : 20;
}

ChainData walkOf(Noise *noise, int size, double wander, Edge edge)
{
    ChainData data = { {}, {}, {}, edge, false };
    double angle = 6 * noise->uniform();
    double bend = 0;
    Point p = { 5, 5 };
    for (int i = 0; i < size; ++i) {
        data.x.push_back(p.x + 0.03 * noise->normal());
        data.y.push_back(p.y + 0.03 * noise->normal());
        data.sigma.push_back(0.03 + 0.1 * noise->uniform());
        if (noise->uniform() < 0.15)
            angle += 2 * noise->uniform() - 1;
        if (noise->uniform() < 0.2)
            bend = wander * (noise->uniform() - 0.5);
        angle += bend;
        p = p + Point { std::cos(angle), std::sin(angle) };
    }
    return data;
}

// The cheapest way from `span` on to the end, by trying everything.
struct Exhaustive
{
    const Table &table;
    int size;

    double from(int first, const Span *before) const
    {
        double best = first == size && before ? 0 : kAnyCost;
        const int most = before ? table.judgement.mayLeaveOut : 0;
        for (int leftOut = 0; leftOut <= most; ++leftOut) {
            const int start = first + leftOut;
            for (int last = start + 2; last <= size; ++last) {
                const SpanPair pair = spansOf(table, start, last, kAnyCost);
                if (pair.hasLine)
                    best = std::min(best, with(pair.line, before, leftOut));
                if (pair.hasArc)
                    best = std::min(best, with(pair.arc, before, leftOut));
            }
        }
        return best;
    }

    double with(const Span &span, const Span *before, int leftOut) const
    {
        bool smooth = false;
        if (before && leftOut > 0 && !mayLeaveOut(table.points, *before, span))
            return kAnyCost;
        const double joint = before ? jointCost(table, endOf(table.points, *before),
                                                startOf(table.points, span), leftOut, &smooth)
                                    : 0;
        return joint + span.misfit + table.priceOf(span) + from(span.last, &span);
    }
};

double relative(double a, double b)
{
    return std::fabs(a - b) / std::max(1.0, std::fabs(b));
}

} // namespace

const double kRadian = 3.14159265358979323846 / 180; // of a degree

// Soft points of a circle of 12 px, from angle to angle, `count` in all.
ChainData walkRound(const std::vector<double> &angles, int count)
{
    ChainData data = {};
    data.edge = Edge::Soft;
    double length = 0;
    for (std::size_t k = 1; k < angles.size(); ++k)
        length += std::fabs(angles[k] - angles[k - 1]);
    for (int i = 0; i < count; ++i) {
        double rest = length * i / (count - 1);
        std::size_t k = 1;
        for (; k + 1 < angles.size() && rest > std::fabs(angles[k] - angles[k - 1]); ++k)
            rest -= std::fabs(angles[k] - angles[k - 1]);
        const double angle = angles[k - 1] + std::copysign(rest, angles[k] - angles[k - 1]);
        data.x.push_back(30 + 12 * std::cos(angle));
        data.y.push_back(40 + 12 * std::sin(angle));
        data.sigma.push_back(kSoftSigma);
    }
    return data;
}

SpanPair spanOfAll(const Points &points)
{
    const Sums sums(points);
    const Prices prices = svgPrices();
    const Judgement judgement = judgementOf(points.edge);
    return spansOf({ points, sums, prices, judgement }, 0, points.size(), kAnyCost);
}

class tst_FitProgram : public QObject
{
    Q_OBJECT

private slots:
    void centreLinesGoOverSideBySide();
    void sumsEqualLoops();
    void shiftedMomentsEqualLoops();
    void lineOfPointsOnALine();
    void circleOfPointsOnACircle_data();
    void circleOfPointsOnACircle();
    void circleFarFromTheOrigin();
    void noCircleOfALine();
    void arcsOfAnySweep_data();
    void arcsOfAnySweep();
    void noArcOfFewPoints();
    void noArcOfAWalkThatTurnsBack();
    void programEqualsExhaustiveSearch_data();
    void programEqualsExhaustiveSearch();
    void latticeIsNearlyAsGood();
    void latticeIsNearLinear();
    void rightAngleIsTwoLines();
    void lineIntoArcIsSmooth();
    void pointsBesideACornerAreLeftOut();
};

// Ends half a pixel apart that turn by 15 degrees: a cap of outlines, a corner of centre lines.
void tst_FitProgram::centreLinesGoOverSideBySide()
{
    const double turn = 15 * std::acos(-1.0) / 180;
    const SpanEnd before = { false, { 0, 0 }, { 1, 0 }, 40 };
    const SpanEnd after = { true, { -0.1, -0.5 }, { std::cos(turn), std::sin(turn) }, 40 };
    QVERIFY(!meetNear(before, after, Meeting::OfOutlines));
    QVERIFY(meetNear(before, after, Meeting::OfCentreLines));
    const SpanEnd apart = { true, { -0.1, -3.0 }, { std::cos(turn), std::sin(turn) }, 40 };
    QVERIFY(!meetNear(before, apart, Meeting::OfCentreLines));
}

void tst_FitProgram::sumsEqualLoops()
{
    Noise noise(testSeed());
    const ChainData data = walkOf(&noise, 3000, 0.1, Edge::Soft); // three blocks
    const Points points = pointsOf(data.view());
    const Sums sums(points);
    for (const auto &range : std::vector<std::pair<int, int>> {
             { 0, 1 }, { 5, 900 }, { 1020, 1030 }, { 1024, 2048 }, { 10, 3000 }, { 2040, 2990 } }) {
        const Moments m = sums.over(range.first, range.second);
        double w = 0, x = 0, xy = 0, xz = 0, zz = 0;
        for (int i = range.first; i < range.second; ++i) {
            const Point p = points.at(i) - Point { m.ox, m.oy };
            const double z = p.x * p.x + p.y * p.y;
            w += points.weightOf(i);
            x += points.weightOf(i) * p.x;
            xy += points.weightOf(i) * p.x * p.y;
            xz += points.weightOf(i) * p.x * z;
            zz += points.weightOf(i) * z * z;
        }
        QVERIFY(relative(m.w, w) < 1e-9);
        QVERIFY(relative(m.x, x) < 1e-7);
        QVERIFY(relative(m.xy, xy) < 1e-7);
        QVERIFY(relative(m.xz, xz) < 1e-7);
        QVERIFY(relative(m.zz, zz) < 1e-7);
    }
}

void tst_FitProgram::shiftedMomentsEqualLoops()
{
    Noise noise(testSeed());
    const ChainData data = walkOf(&noise, 40, 0.3, Edge::Soft);
    const Points points = pointsOf(data.view());
    const Moments m = shifted(Sums(points).over(0, 40), 17, -4);
    double y = 0, yy = 0, yz = 0, zz = 0;
    for (int i = 0; i < 40; ++i) {
        const Point p = points.at(i) - Point { 17, -4 };
        const double z = p.x * p.x + p.y * p.y;
        y += points.weightOf(i) * p.y;
        yy += points.weightOf(i) * p.y * p.y;
        yz += points.weightOf(i) * p.y * z;
        zz += points.weightOf(i) * z * z;
    }
    QVERIFY(relative(m.y, y) < 1e-9);
    QVERIFY(relative(m.yy, yy) < 1e-9);
    QVERIFY(relative(m.yz, yz) < 1e-9);
    QVERIFY(relative(m.zz, zz) < 1e-9);
}

void tst_FitProgram::lineOfPointsOnALine()
{
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < 20; ++i) {
        data.x.push_back(3 - 0.6 * i);
        data.y.push_back(1 + 0.8 * i);
    }
    const Points points = pointsOf(data.view());
    const Moments m = Sums(points).over(0, 20);
    const Primitive line = lineOf(m, lineMoments(m), points.at(0), points.at(19));
    QVERIFY(std::fabs(line.direction.x + 0.6) < 1e-9);
    QVERIFY(std::fabs(line.direction.y - 0.8) < 1e-9);
    QVERIFY(line.chi2 < 1e-6);
    // Right of the walk, where x turns into y to the left, is positive.
    QVERIFY(std::fabs(line.distance(points.at(0) + Point { 0.8, 0.6 }) - 1) < 1e-9);
}

void tst_FitProgram::circleOfPointsOnACircle_data()
{
    QTest::addColumn<double>("radius");
    QTest::addColumn<double>("sweep");
    QTest::newRow("whole circle of 5") << 5. << 6.2;
    QTest::newRow("half circle of 50") << 50. << 3.;
    QTest::newRow("shallow arc of 1000") << 1000. << 0.1;
    QTest::newRow("quarter of 3") << 3. << 1.5;
}

void tst_FitProgram::circleOfPointsOnACircle()
{
    QFETCH(double, radius);
    QFETCH(double, sweep);
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < 60; ++i) {
        data.x.push_back(400 + radius * std::cos(sweep * i / 59));
        data.y.push_back(-70 + radius * std::sin(sweep * i / 59));
    }
    const Points points = pointsOf(data.view());
    const Moments m = Sums(points).over(0, 60);
    Primitive circle;
    QVERIFY(circleOf(m, lineMoments(m), &circle));
    const Point centre = circle.point + points.origin;
    QVERIFY(std::fabs(circle.radius - radius) < 1e-4 * radius);
    QVERIFY(std::hypot(centre.x - 400, centre.y + 70) < 1e-4 * radius);
    QVERIFY(circle.chi2 < 1e-3);
}

void tst_FitProgram::circleFarFromTheOrigin()
{
    // A small circle at the end of a long chain: its sums must not drown in the chain's.
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < 20000; ++i) {
        data.x.push_back(0.9 * i);
        data.y.push_back(0);
    }
    for (int i = 0; i < 20; ++i) {
        data.x.push_back(18000 + 10 * std::sin(0.08 * i));
        data.y.push_back(10 - 10 * std::cos(0.08 * i));
    }
    const Points points = pointsOf(data.view());
    const int n = points.size();
    const Moments m = Sums(points).over(n - 20, n);
    Primitive circle;
    QVERIFY(circleOf(m, lineMoments(m), &circle));
    QVERIFY(std::fabs(circle.radius - 10) < 0.01);
    QVERIFY(circle.chi2 < 0.1);
}

void tst_FitProgram::noCircleOfALine()
{
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < 30; ++i) {
        data.x.push_back(i);
        data.y.push_back(2 * i);
    }
    const Points points = pointsOf(data.view());
    const Sums sums(points);
    const Prices prices = dxfPrices();
    const Judgement judgement = judgementOf(Edge::Soft);
    const SpanPair pair = spansOf({ points, sums, prices, judgement }, 0, 30, kAnyCost);
    QVERIFY(pair.hasLine);
    QVERIFY(!pair.hasArc);
}

// Both ways round, up to the largest sweep, from anywhere.
void tst_FitProgram::arcsOfAnySweep_data()
{
    QTest::addColumn<int>("turn");
    QTest::newRow("one way") << 1;
    QTest::newRow("the other way") << -1;
}

void tst_FitProgram::arcsOfAnySweep()
{
    QFETCH(int, turn);
    for (int degrees = 20; degrees < 355; degrees += 3) {
        const double sweep = degrees * kRadian;
        const Points points = pointsOf(walkRound({ 0, turn * sweep }, 60).view());
        const SpanPair pair = spanOfAll(points);
        QVERIFY2(pair.hasArc == (sweep <= kLargestSweep), qPrintable(QString::number(degrees)));
        if (pair.hasArc)
            QCOMPARE(pair.arc.primitive.turn, double(turn));
    }
}

void tst_FitProgram::noArcOfFewPoints()
{
    const Points points = pointsOf(walkRound({ 0, 4.5 }, 20).view());
    const Sums sums(points);
    const Prices prices = svgPrices();
    const Judgement judgement = judgementOf(points.edge);
    const Table table = { points, sums, prices, judgement };
    SpanMeter meter(table);
    const int last[] = { kArcPoints - 2, kArcPoints - 1, kArcPoints, 20 };
    const double most[] = { kAnyCost, kAnyCost, kAnyCost, kAnyCost };
    meter.measure(0, last, most, most, 4);
    for (int lane = 0; lane < 4; ++lane) {
        const bool isArc = meter.arcOf(lane, meter.arcMisfitOf(lane), kAnyCost) != nullptr;
        QCOMPARE(isArc, last[lane] >= kArcPoints);
    }
}

// The way round is much shorter than the walk, or much longer.
void tst_FitProgram::noArcOfAWalkThatTurnsBack()
{
    for (double end = 0.2; end < 1.5; end += 0.2) {
        QVERIFY(!spanOfAll(pointsOf(walkRound({ 0, 3, end }, 60).view())).hasArc);
        QVERIFY(!spanOfAll(pointsOf(walkRound({ 0, -3, -end }, 60).view())).hasArc);
    }
}

void tst_FitProgram::programEqualsExhaustiveSearch_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("soft");
    QTest::newRow("no span of two points fits one") << 1 << true;
    QTest::newRow("two points") << 2 << true;
    QTest::newRow("three points") << 3 << true;
    QTest::newRow("eight soft points") << 8 << true;
    QTest::newRow("thirteen soft points") << 13 << true;
    QTest::newRow("eight hard points") << 8 << false;
    QTest::newRow("fourteen hard points") << 14 << false;
}

void tst_FitProgram::programEqualsExhaustiveSearch()
{
    QFETCH(int, size);
    QFETCH(bool, soft);
    Noise noise(testSeed() + static_cast<std::uint64_t>(size));
    const Edge edge = soft ? Edge::Soft : Edge::Hard;
    const Judgement judgement = judgementOf(edge);
    int spansSeen = 0;
    int notEqual = 0;
    for (int round = 0; round < 60; ++round) {
        Prices prices = round % 2 ? dxfPrices() : svgPrices();
        prices.corner = 0.5 * (round % 5);
        const ChainData data = walkOf(&noise, size, 0.8, edge);
        const Points points = pointsOf(data.view());
        const Sums sums(points);
        const Table table = { points, sums, prices, judgement };
        const Answer answer = runProgram(table, Reach::every(size));
        if (size < 2) {
            QCOMPARE(int(answer.spans.size()), 1);
            continue;
        }
        const double expected = Exhaustive { table, size }.from(0, nullptr);
        const bool equal = relative(answer.cost, expected) < 1e-9;
        // A way that is dearer by more than a corner was dropped, and the best one needs a cap.
        const double cap = table.numbers(prices.line + prices.corner);
        QVERIFY2(equal || (answer.cost > expected && answer.cost < expected + cap),
                 qPrintable(
                     QString("round %1: %2 against %3").arg(round).arg(answer.cost).arg(expected)));
        notEqual += equal ? 0 : 1;
        spansSeen = std::max(spansSeen, static_cast<int>(answer.spans.size()));
    }
    QVERIFY(notEqual <= 1);
    if (size > 8)
        QVERIFY(spansSeen > 2); // ways with several spans were compared
}

void tst_FitProgram::latticeIsNearlyAsGood()
{
    Noise noise(testSeed());
    const Prices prices = svgPrices();
    const Judgement judgement = judgementOf(Edge::Soft);
    double all = 0, thinned = 0;
    for (int round = 0; round < 30; ++round) {
        const ChainData data = walkOf(&noise, 120, 0.2, Edge::Soft);
        const Points points = pointsOf(data.view());
        const Sums sums(points);
        const Table table = { points, sums, prices, judgement };
        all += runProgram(table, Reach::every(120)).cost;
        const Answer rough = runProgram(table, Reach::lattice(points));
        const Answer fine = runProgram(table, Reach::refinement(table, rough.spans, 3));
        QVERIFY(fine.cost <= rough.cost + 1e-6);
        thinned += fine.cost;
    }
    QVERIFY2(thinned < 1.03 * all, qPrintable(QString("%1 of %2").arg(thinned).arg(all)));
}

void tst_FitProgram::latticeIsNearLinear()
{
    // Counted, not timed: spans offered a point grow by the logarithm only.
    double perPoint[2];
    for (int k = 0; k < 2; ++k) {
        const int size = k ? 16384 : 1024;
        ChainData data = { {}, {}, {}, Edge::Soft, false };
        for (int i = 0; i < size; ++i) {
            data.x.push_back(i);
            data.y.push_back(0.001 * i * i);
        }
        const Reach reach = Reach::lattice(pointsOf(data.view()));
        double sum = 0;
        for (int i = 0; i < size; ++i) {
            Reach::Ends ends(reach, i);
            for (int last = i, end = 0; ends.next(&end); last = end) {
                QVERIFY(end > last && end <= size);
                sum += 1;
            }
        }
        perPoint[k] = sum / size;
    }
    QVERIFY(perPoint[0] < 40);
    QVERIFY(perPoint[1] < 1.1 * perPoint[0]);
}

void tst_FitProgram::rightAngleIsTwoLines()
{
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < 20; ++i) {
        data.x.push_back(i < 10 ? i : 9.5);
        data.y.push_back(i < 10 ? 0 : i - 9.5);
    }
    const Points points = pointsOf(data.view());
    const Sums sums(points);
    const Prices prices = dxfPrices();
    const Judgement judgement = judgementOf(Edge::Soft);
    const Answer answer = runProgram({ points, sums, prices, judgement }, Reach::every(20));
    QCOMPARE(int(answer.spans.size()), 2);
    QCOMPARE(answer.spans[0].last, 10);
    QVERIFY(!answer.spans[1].smooth);
    QVERIFY(std::fabs(answer.cost - judgement.lambda * (2 + 2 + 1.5)) < 1e-6);
}

void tst_FitProgram::lineIntoArcIsSmooth()
{
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < 60; ++i) {
        const double angle = (i - 29.5) / 20;
        data.x.push_back(i < 30 ? i - 29.5 : 20 * std::sin(angle));
        data.y.push_back(i < 30 ? 0 : 20 - 20 * std::cos(angle));
    }
    const Points points = pointsOf(data.view());
    const Sums sums(points);
    const Prices prices = dxfPrices();
    const Judgement judgement = judgementOf(Edge::Soft);
    const Answer answer = runProgram({ points, sums, prices, judgement }, Reach::every(60));
    QCOMPARE(int(answer.spans.size()), 2);
    QVERIFY(!answer.spans[0].primitive.arc);
    QVERIFY(answer.spans[1].primitive.arc);
    QVERIFY(answer.spans[1].smooth);
    QVERIFY(std::fabs(answer.spans[1].primitive.radius - 20) < 0.3);
    QCOMPARE(answer.spans[1].primitive.turn, 1.);
}

void tst_FitProgram::pointsBesideACornerAreLeftOut()
{
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < 40; ++i) {
        data.x.push_back(i < 20 ? i : 19.5);
        data.y.push_back(i < 20 ? 0 : i - 19.5);
    }
    data.y[19] = 0.25; // as pixels see a corner
    data.x[20] = 19.25;
    const Points points = pointsOf(data.view());
    const Sums sums(points);
    const Prices prices = dxfPrices();
    const Judgement judgement = judgementOf(Edge::Soft);
    const Answer answer = runProgram({ points, sums, prices, judgement }, Reach::every(40));
    QCOMPARE(int(answer.spans.size()), 2);
    QCOMPARE(answer.spans[0].last, 19);
    QCOMPARE(answer.spans[1].first, 21);
}

QTEST_APPLESS_MAIN(tst_FitProgram)
#include "tst_fitprogram.moc"
