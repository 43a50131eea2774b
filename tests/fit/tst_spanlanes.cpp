// (c) the ztrace developers. Licence: see LICENSE.
//
// Spans measured side by side against the plain forms, bit by bit, and the systems of joints.
#include "FitRig.h"

#include "fit/candidates.h"
#include "fit/skyline.h"

#include <QtTest>

#include <cmath>
#include <cstring>

using namespace ztrace::fit;

namespace {

// Straight, bent or scattered points, or all in one place.
ChainData walkOf(Noise *noise, int size, int kind)
{
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < size; ++i) {
        const double angle = kind == 1 ? 0.05 * i : 0.3;
        const double off = kind == 2 ? 3 : 0.05;
        const double step = kind == 3 ? 1e-3 : 0.8;
        data.x.push_back(700 + step * i * std::cos(angle) + off * step * noise->normal());
        data.y.push_back(90 + step * i * std::sin(angle) + off * step * noise->normal());
        data.sigma.push_back(0.03 + 0.2 * noise->uniform());
    }
    return data;
}

bool isSame(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

bool sameLines(const SpanLanes &lanes, std::size_t k, const LineMoments &c)
{
    return isSame(lanes.mx[k], c.mx) && isSame(lanes.my[k], c.my) && isSame(lanes.cxx[k], c.xx)
        && isSame(lanes.cxy[k], c.xy) && isSame(lanes.cyy[k], c.yy)
        && isSame(lanes.least[k], c.least);
}

std::vector<const SpanKernels *> allKernels()
{
    std::vector<const SpanKernels *> list = { &kSpanBaseline };
    if (&spanKernels() != &kSpanBaseline)
        list.push_back(&spanKernels());
    return list;
}

} // namespace

class tst_SpanLanes : public QObject
{
    Q_OBJECT

private slots:
    void lanesEqualPlainForms_data();
    void lanesEqualPlainForms();
    void nearnessEqualsALoop();
    void blocksEqualElimination();
};

void tst_SpanLanes::lanesEqualPlainForms_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("size");
    QTest::newRow("straight") << 0 << 80;
    QTest::newRow("bent") << 1 << 80;
    QTest::newRow("scattered") << 2 << 80;
    QTest::newRow("almost in one place") << 3 << 80;
    QTest::newRow("over blocks of sums") << 1 << 1100;
}

void tst_SpanLanes::lanesEqualPlainForms()
{
    QFETCH(int, kind);
    QFETCH(int, size);
    Noise noise(3);
    int circles = 0;
    for (int round = 0; round < 50; ++round) {
        const ChainData data = walkOf(&noise, size, kind);
        const Points points = pointsOf(data.view());
        const Sums sums(points);
        const int first = size - 80 + int(60 * noise.uniform());
        const int last[kSpanLanes] = { first + 2, first + 5, first + 11, size };
        for (const SpanKernels *kernels : allKernels()) {
            SpanLanes lanes;
            Point origins[kSpanLanes];
            sums.over(*kernels, first, last, &lanes, origins);
            kernels->measureLines(&lanes);
            kernels->measureCircles(&lanes);
            for (std::size_t k = 0; k < kSpanLanes; ++k) {
                const Moments m = sums.over(first, last[k]);
                const LineMoments c = lineMoments(m);
                QVERIFY2(sameLines(lanes, k, c), qPrintable(QString::number(round)));
                Primitive circle = {};
                const bool found = circleOf(m, c, &circle);
                QCOMPARE(lanes.radius[k] > 0 && lanes.radius[k] < kLargestRadius, found);
                if (!found)
                    continue;
                ++circles;
                QVERIFY(isSame(lanes.radius[k], circle.radius));
                QVERIFY(isSame(lanes.root[k] * lanes.sums[kSumW][k], circle.chi2));
                QVERIFY(isSame(lanes.centreX[k] + lanes.mx[k] + origins[k].x, circle.point.x));
                QVERIFY(isSame(lanes.centreY[k] + lanes.my[k] + origins[k].y, circle.point.y));
                const Primitive line = lineOf(m, c, { 0, 0 }, { 0, 0 });
                QVERIFY(isSame(std::fabs(lanes.alongX[k]), std::fabs(line.direction.x)));
                QVERIFY(isSame(std::fabs(lanes.alongY[k]), std::fabs(line.direction.y)));
            }
        }
    }
    QVERIFY(circles > 50);
}

void tst_SpanLanes::nearnessEqualsALoop()
{
    Noise noise(4);
    int near = 0;
    for (int round = 0; round < 2000; ++round) {
        const int count = 1 + int(12 * noise.uniform());
        const ChainData data = walkOf(&noise, count, 0);
        const bool arc = round % 2 != 0;
        const Nearness n = { data.x.data(),
                             data.y.data(),
                             data.sigma.data(),
                             arc,
                             700,
                             90,
                             std::cos(0.3),
                             std::sin(0.3),
                             6,
                             arc ? 3.0 : 0.12,
                             round % 3 != 0 ? 1.5 : 0.0 };
        bool expected = true;
        for (std::size_t i = 0; i < data.x.size(); ++i) {
            const Point d = { data.x[i] - n.pointX, data.y[i] - n.pointY };
            const double off
                = arc ? std::sqrt(dot(d, d)) - n.radius : cross(d, { n.directionX, n.directionY });
            expected = expected && std::fabs(off) <= std::max(n.least, n.sigmas * data.sigma[i]);
        }
        near += expected ? 1 : 0;
        for (const SpanKernels *kernels : allKernels())
            QCOMPARE(kernels->allNear(n, count), expected);
    }
    QVERIFY(near > 200 && near < 1800);
}

// A ring of vertices whose last row is full, and one alone.
void tst_SpanLanes::blocksEqualElimination()
{
    Noise noise(6);
    for (const std::vector<int> &starts :
         std::vector<std::vector<int>> { { 0 }, { 0, 0 }, { 0, 0, 1, 1, 3, 0, 0 } }) {
        const std::size_t size = 3 * starts.size();
        std::vector<std::vector<double>> full(size, std::vector<double>(size));
        Skyline matrix(starts);
        const auto add = [&](int r, int c) {
            Block block;
            for (double &value : block)
                value = noise.normal();
            if (r == c) {
                for (std::size_t i = 0; i < 9; ++i)
                    block[i] = i % 4 == 0 ? 40 : 0.1;
                matrix.add(r, block);
            } else {
                matrix.addBoth(r, c, block);
            }
            for (int i = 0; i < 9; ++i) {
                const auto row = std::size_t(3 * r + i / 3);
                const auto column = std::size_t(3 * c + i % 3);
                full[row][column] += block[std::size_t(i)];
                if (r != c)
                    full[column][row] += block[std::size_t(i)];
            }
        };
        for (int r = 0; r < int(starts.size()); ++r) {
            for (int c = starts[std::size_t(r)]; c <= r; ++c)
                r % 2 != 0 && c != r ? add(c, r) : add(r, c);
        }
        std::vector<double> x, right(size, 0.0);
        for (std::size_t i = 0; i < size; ++i)
            x.push_back(noise.normal());
        for (std::size_t r = 0; r < x.size(); ++r) {
            for (std::size_t c = 0; c < x.size(); ++c)
                right[r] += full[r][c] * x[c];
        }
        QVERIFY(matrix.solve(&right));
        for (std::size_t i = 0; i < x.size(); ++i)
            QVERIFY(std::fabs(right[i] - x[i]) < 1e-10);
    }
}

QTEST_APPLESS_MAIN(tst_SpanLanes)
#include "tst_spanlanes.moc"
