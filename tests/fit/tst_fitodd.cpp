// (c) the ztrace developers. Licence: see LICENSE.
//
// Chains that are hard on the fit: pinned ends, too few points, points on points, noise.
#include "FitRig.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace ztrace::fit;

namespace {

bool isFinite(const Path &path)
{
    for (const Piece &p : path.pieces) {
        for (const double v : { p.start.x, p.start.y, p.end.x, p.end.y, p.bulge, p.control.x,
                                p.control.y, p.control2.x, p.control2.y, p.centre.x, p.centre.y,
                                p.half[0], p.half[1], p.angle, p.radius, p.misfit }) {
            if (!std::isfinite(v))
                return false;
        }
    }
    return std::isfinite(path.misfit) && std::isfinite(path.numbers);
}

} // namespace

class tst_FitOdd : public QObject
{
    Q_OBJECT

private slots:
    void pinnedEndsAreExact();
    void degenerateChains_data();
    void degenerateChains();
    void randomChainsStayFinite();
    void sameInputSameBytes();
    void movedInputMovedFit();
};

void tst_FitOdd::pinnedEndsAreExact()
{
    const Settings settings = settingsFor(dxfPrices());
    ChainData data = { {}, {}, {}, Edge::Soft, false };
    for (int i = 0; i < 50; ++i) {
        data.x.push_back(100 + 20 * std::cos(0.05 * i));
        data.y.push_back(100 + 20 * std::sin(0.05 * i));
    }
    data.x[0] += 0.11; // nodes need not lie on the fit of the chain
    data.y[49] -= 0.07;
    Chain chain = data.view();
    chain.pinnedStart = chain.pinnedEnd = true;
    const Path path = fitChain(chain, settings);
    QVERIFY(isJoined(path));
    QCOMPARE(path.pieces.front().start.x, data.x[0]);
    QCOMPARE(path.pieces.front().start.y, data.y[0]);
    QCOMPARE(path.pieces.back().end.x, data.x[49]);
    QCOMPARE(path.pieces.back().end.y, data.y[49]);
    chain.pinnedStart = chain.pinnedEnd = false;
    QVERIFY(fitChain(chain, settings).pieces.front().start.x != data.x[0]);
}

void tst_FitOdd::degenerateChains_data()
{
    QTest::addColumn<QVector<double>>("x");
    QTest::addColumn<QVector<double>>("y");
    QTest::addColumn<int>("pieces"); // -1: any
    const double nan = std::nan("");
    const double inf = INFINITY;
    QTest::newRow("no point") << QVector<double>() << QVector<double>() << 0;
    QTest::newRow("one point") << QVector<double> { 3 } << QVector<double> { 4 } << 1;
    QTest::newRow("one point many times") << QVector<double>(9, 3.) << QVector<double>(9, 4.) << 1;
    QTest::newRow("only not-a-number") << QVector<double>(9, nan) << QVector<double>(9, 4.) << 0;
    QTest::newRow("some points not finite") << QVector<double> { 0, nan, 1, inf, 2, 3 }
                                            << QVector<double> { 0, 1, 0, 0, -inf, 0 } << -1;
    QTest::newRow("two points") << QVector<double> { 0, 1 } << QVector<double> { 0, 2 } << -1;
    QTest::newRow("three points on a line")
        << QVector<double> { 0, 1, 2 } << QVector<double> { 0, 0, 0 } << -1;
    QTest::newRow("there and back")
        << QVector<double> { 0, 1, 2, 3, 2, 1 } << QVector<double> { 0, 0, 0, 0, 0, 0 } << -1;
    QTest::newRow("one pixel") << QVector<double> { 0.5, 1, 0.5, 0 }
                               << QVector<double> { 0, 0.5, 1, 0.5 } << -1;
    QTest::newRow("far away") << QVector<double> { 1e8, 1e8 + 1, 1e8 + 2, 1e8 + 2, 1e8 + 1 }
                              << QVector<double> { 1e8, 1e8, 1e8, 1e8 + 2, 1e8 + 2 } << -1;
    QTest::newRow("huge steps") << QVector<double> { 0, 1e8, -1e8, 1e8, 0, 5 }
                                << QVector<double> { 0, 1e8, 1e8, -1e8, 3, 1e7 } << -1;
}

void tst_FitOdd::degenerateChains()
{
    QFETCH(QVector<double>, x);
    QFETCH(QVector<double>, y);
    QFETCH(int, pieces);
    const double nan = std::nan("");
    for (const double value : { 0., -1., nan, double(INFINITY), 1e-300, 1e300 }) {
        const std::vector<double> sigma(static_cast<std::size_t>(x.size()), value);
        for (int form = 0; form < 16; ++form) {
            Chain chain = {};
            chain.x = x.constData();
            chain.y = y.constData();
            chain.sigma = form & 8 ? sigma.data() : nullptr;
            chain.size = x.size();
            chain.closed = form & 1;
            chain.edge = form & 2 ? Edge::Hard : Edge::Soft;
            chain.pinnedStart = chain.pinnedEnd = form & 4;
            for (const Prices &prices : { svgPrices(), dxfPrices(), hostPrices() }) {
                const Path path = fitChain(chain, settingsFor(prices));
                QVERIFY(isFinite(path));
                QVERIFY(isJoined(path));
                if (pieces >= 0)
                    QCOMPARE(int(path.pieces.size()), pieces);
                else
                    QVERIFY(!path.pieces.empty());
            }
        }
    }
}

void tst_FitOdd::randomChainsStayFinite()
{
    Noise random(7);
    for (int round = 0; round < 400; ++round) {
        const int size = 1 + static_cast<int>(60 * random.uniform());
        const double scale = std::pow(10, 4 * random.uniform() - 1);
        std::vector<double> x, y, sigma;
        for (int i = 0; i < size; ++i) {
            x.push_back(scale * random.uniform());
            y.push_back(round % 3 ? scale * random.uniform() : i);
            sigma.push_back(random.uniform() < 0.2 ? 0 : random.uniform());
        }
        Chain chain = {};
        chain.x = x.data();
        chain.y = y.data();
        chain.sigma = sigma.data();
        chain.size = size;
        chain.closed = round & 1;
        chain.edge = round & 2 ? Edge::Hard : Edge::Soft;
        const Path path = fitChain(chain, settingsFor(round % 5 ? svgPrices() : hostPrices()));
        QVERIFY2(isFinite(path), qPrintable(QString::number(round)));
        QVERIFY2(isJoined(path), qPrintable(QString::number(round)));
    }
}

void tst_FitOdd::sameInputSameBytes()
{
    const Settings settings = settingsFor(svgPrices());
    Noise random(5);
    const Truth truth = leaf(phase(&random, 12));
    const Path a = fitOf(truth, Edge::Soft, settings);
    const Path b = fitOf(truth, Edge::Soft, settings);
    QCOMPARE(a.pieces.size(), b.pieces.size());
    for (std::size_t k = 0; k < a.pieces.size(); ++k) {
        QCOMPARE(std::memcmp(&a.pieces[k].start, &b.pieces[k].start, 2 * sizeof(Point)), 0);
        QCOMPARE(std::memcmp(&a.pieces[k].control, &b.pieces[k].control, 2 * sizeof(Point)), 0);
    }
}

void tst_FitOdd::movedInputMovedFit()
{
    const Settings settings = settingsFor(svgPrices());
    Noise random(6);
    const Truth truth = leaf(phase(&random, 12));
    const int size = sizeFor(truth);
    ChainData data = outlineOf(rasterOf(truth, size, size), Edge::Soft);
    const Path before = fitChain(data.view(), settings);
    for (double &x : data.x)
        x += 4096;
    const Path after = fitChain(data.view(), settings);
    QCOMPARE(before.pieces.size(), after.pieces.size());
    for (std::size_t k = 0; k < before.pieces.size(); ++k)
        QVERIFY(std::fabs(before.pieces[k].start.x + 4096 - after.pieces[k].start.x) < 1e-3);
}

QTEST_APPLESS_MAIN(tst_FitOdd)
#include "tst_fitodd.moc"
