// (c) the ztrace developers. Licence: see LICENSE.
//
// What few points may become: ends of bars in one bit, crosses, the smallest areas.
#include "FitRig.h"

#include "fit/candidates.h"
#include "fit/Points.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace::fit;

namespace {

// The closed walk around pixels, in cracks' middles, from its corners.
ChainData walkAround(const std::vector<Point> &corners)
{
    ChainData data;
    data.edge = Edge::Hard;
    data.closed = true;
    for (std::size_t k = 0; k < corners.size(); ++k) {
        const Point from = corners[k];
        const Point way = corners[(k + 1) % corners.size()] - from;
        const int steps = static_cast<int>(std::lround(std::fabs(way.x) + std::fabs(way.y)));
        for (int s = 0; s < steps; ++s) {
            const Point at = from + ((s + 0.5) / steps) * way;
            data.x.push_back(at.x);
            data.y.push_back(at.y);
        }
    }
    return data;
}

double farthest(const ChainData &data, const Path &path)
{
    double worst = 0;
    for (std::size_t k = 0; k < data.x.size(); ++k) {
        double nearest = HUGE_VAL;
        for (const Piece &piece : path.pieces)
            nearest = std::min(nearest, distanceTo(piece, { data.x[k], data.y[k] }));
        worst = std::max(worst, nearest);
    }
    return worst;
}

// A cross with arms of the given length and width.
std::vector<Point> cross(double arm, double width)
{
    const double a = 10;
    const double b = a + arm;
    const double c = b + width;
    const double d = c + arm;
    return { { b, a }, { c, a }, { c, b }, { d, b }, { d, c }, { c, c },
             { c, d }, { b, d }, { b, c }, { a, c }, { a, b }, { b, b } };
}

} // namespace

class tst_FitSmall : public QObject
{
    Q_OBJECT

private slots:
    void barsEndSquarely_data();
    void barsEndSquarely();
    void noBallsOnNecks();
    void teethAreNoBalls();
    void fewPointsOfOneBitAreNoCircle();
    void smallAreasAreNoDiamonds();
    void smallSquaresOfOneBitAreNoDiscs();
};

void tst_FitSmall::barsEndSquarely_data()
{
    QTest::addColumn<double>("arm");
    QTest::addColumn<double>("width");
    QTest::newRow("2 px") << 6.0 << 2.0;
    QTest::newRow("2 px, long") << 15.0 << 2.0;
    QTest::newRow("3 px") << 7.0 << 3.0;
}

// Twelve lines on the pixels' edges: the arms of a cross are as even as the picture has them.
void tst_FitSmall::barsEndSquarely()
{
    QFETCH(double, arm);
    QFETCH(double, width);
    const ChainData data = walkAround(cross(arm, width));
    const Path path = fitChain(data.view(), settingsFor(svgPrices()));
    for (const Piece &piece : path.pieces)
        QCOMPARE(piece.kind, Kind::Line);
    QVERIFY(farthest(data, path) < 0.01);
}

// The foot of a letter: a bar that ends in two pixels.
void tst_FitSmall::noBallsOnNecks()
{
    const ChainData data
        = walkAround({ { 10, 10 }, { 12, 10 }, { 12, 24 }, { 15, 24 }, { 15, 26 }, { 10, 26 } });
    const Path path = fitChain(data.view(), settingsFor(svgPrices()));
    for (const Piece &piece : path.pieces) {
        const double sweep = 4 * std::atan(std::fabs(piece.bulge));
        QVERIFY(piece.kind != Kind::Arc || sweep < 3.6);
    }
}

// Twelve teeth of six pixels on a disc in one bit: some were balls, and so was what lies between.
void tst_FitSmall::teethAreNoBalls()
{
    Noise noise(7);
    int missed = 0;
    for (int gear = 0; gear < 8; ++gear) {
        const Point centre = phase(&noise, 30);
        const double turn = noise.uniform();
        std::vector<Point> corners;
        for (int k = 0; k < 48; ++k) {
            const double radius = k % 4 == 0 || k % 4 == 3 ? 19.2 : 24;
            const double angle = turn + (k / 2) * 3.14159265358979 / 12;
            corners.push_back(centre + radius * Point { std::cos(angle), std::sin(angle) });
        }
        const Path path = fitOf(polygonTruth(corners), Edge::Hard, settingsFor(svgPrices()));
        for (const Point corner : corners) {
            const auto isNear = [corner](const Piece &piece) {
                return std::hypot(piece.end.x - corner.x, piece.end.y - corner.y) < 1;
            };
            missed += std::none_of(path.pieces.begin(), path.pieces.end(), isNear);
        }
    }
    // Of 384; 150 where such a corner costs what any other does.
    QVERIFY2(missed < 125, qPrintable(QString::number(missed)));
}

void tst_FitSmall::fewPointsOfOneBitAreNoCircle()
{
    // Round a bar's end of two pixels: on a circle of 1.1 px, and a necklace of such is cheap.
    const std::vector<Point> end
        = { { 1.5, 0 }, { 0.5, 0 }, { 0, 0.5 }, { 0, 1.5 }, { 0.5, 2 }, { 1.5, 2 } };
    ChainData data;
    data.edge = Edge::Hard;
    data.closed = false;
    for (const Point p : end) {
        data.x.push_back(p.x);
        data.y.push_back(p.y);
    }
    const Points points = pointsOf(data.view());
    const Sums sums(points);
    const Prices prices = svgPrices();
    const Judgement judgement = judgementOf(Edge::Hard);
    QVERIFY(!spansOf({ points, sums, prices, judgement }, 0, 6, kAnyCost).hasArc);
}

// The counter of a letter of 16 px. Left-out points at four corners were all of it.
void tst_FitSmall::smallAreasAreNoDiamonds()
{
    ChainData data;
    data.x = { 8.49,  9.50, 10.50, 11.11, 11.69, 11.69, 11.05,
               10.50, 9.51, 8.50,  7.46,  7.46,  7.46,  7.46 };
    data.y = { 6.99,  6.95,  7.11,  7.50,  8.50, 9.50, 10.56,
               10.89, 11.05, 11.01, 10.50, 9.50, 8.50, 7.50 };
    data.sigma.assign(data.x.size(), 0.03);
    data.edge = Edge::Soft;
    data.closed = true;
    const Path path = fitChain(data.view(), settingsFor(svgPrices()));
    QVERIFY(path.pieces.front().kind != Kind::RoundedRectangle);
    QVERIFY2(farthest(data, path) < 0.4, qPrintable(QString::number(farthest(data, path))));
}

// Squares of 5 and 6 px, turned, and discs about as large. The chords of so few steps tell no
// direction, and from a wrong one no rectangle was found: seven in ten were circles.
void tst_FitSmall::smallSquaresOfOneBitAreNoDiscs()
{
    const double pi = std::acos(-1.0);
    Noise noise(11);
    int squares = 0;
    int discs = 0;
    const int count = 60;
    for (int k = 0; k < count; ++k) {
        const Point centre = { 10 + noise.uniform(), 10 + noise.uniform() };
        const double side = k % 2 == 0 ? 5 : 6;
        const double angle = noise.uniform() * pi / 2;
        const auto kindOf = [](const Truth &truth) {
            const ChainData data = outlineOf(rasterOf(truth, 21, 21), Edge::Hard);
            return fitChain(data.view(), settingsFor(svgPrices())).pieces.front().kind;
        };
        squares += kindOf(rectangleTruth(centre, side, side, angle)) == Kind::RoundedRectangle;
        discs += kindOf(circleTruth(centre, side / 2)) == Kind::Circle;
    }
    QVERIFY2(squares > 0.85 * count, qPrintable(QString::number(squares)));
    QVERIFY2(discs > 0.97 * count, qPrintable(QString::number(discs)));
}

QTEST_APPLESS_MAIN(tst_FitSmall)
#include "tst_fitsmall.moc"
