// (c) the ztrace developers. Licence: see LICENSE.
//
// Chains of shapes of known geometry.
#include "FitRig.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace ztrace::fit;

namespace {

const double kPi = 3.14159265358979323846;
const double kGrey = 8.0 / 255; // noise of deviation 8, as coverage

// Root mean square over phases of the rms, and whether one piece of the kind came back each time.
struct Quality
{
    double squares = 0;
    double worst = 0;
    double numbers = 0;
    int kinks = 0;
    int count = 0;
    int ofKind = 0;

    void add(const Path &path, const Truth &truth, Kind kind, const Settings &settings)
    {
        const Score score = scoreOf(path, truth, settings);
        squares += score.rms * score.rms;
        worst = std::max(worst, score.rms);
        numbers += score.numbers;
        kinks += score.kinks;
        ++count;
        ofKind += path.pieces.size() == 1 && path.pieces[0].kind == kind;
    }
    double rms() const { return std::sqrt(squares / count); }
};

double kinkBefore(const Path &path, std::size_t k)
{
    const Point a = endTangent(path.pieces[k > 0 ? k - 1 : path.pieces.size() - 1]);
    const Point b = startTangent(path.pieces[k]);
    return std::fabs(std::atan2(cross(a, b), dot(a, b)));
}

// The cracks of a half plane below a line from the origin, as a chain between two nodes.
ChainData halfPlane(double slope, int width)
{
    ChainData data = { {}, {}, {}, Edge::Hard, false };
    int y = 0;
    for (int x = 0; x < width; ++x) {
        const int next = static_cast<int>(std::floor(slope * (x + 0.5) + 0.37));
        for (; y < next; ++y) {
            data.x.push_back(x);
            data.y.push_back(y + 0.5);
        }
        data.x.push_back(x + 0.5);
        data.y.push_back(y);
    }
    return data;
}

Truth star(Point centre, double turn)
{
    std::vector<Point> corners;
    for (int k = 0; k < 10; ++k) {
        const double a = turn + k * kPi / 5;
        corners.push_back(centre + (k % 2 ? 22.0 : 55.0) * Point { std::cos(a), std::sin(a) });
    }
    return polygonTruth(corners);
}

} // namespace

class tst_FitChain : public QObject
{
    Q_OBJECT

private slots:
    void circles_data();
    void circles();
    void circlesOfOneBitAreCircles();
    void ellipses_data();
    void ellipses();
    void rectangles_data();
    void rectangles();
    void roundedRectangles_data();
    void roundedRectangles();
    void roundEnds_data();
    void roundEnds();
    void thinLines_data();
    void thinLines();
    void longLines_data();
    void longLines();
    void longOpenLineIsOne();
    void bentLineOfOneBitIsTwo();
    void starsHaveTenCorners_data();
    void starsHaveTenCorners();
    void curvesOfLettering_data();
    void curvesOfLettering();
    void smoothLoopsHaveNoCorners();
    void noiseAddsNoNumbers();
    void smoothJointsHaveOneTangent();
    void quadraticsOnlyForTheHost();
};

void tst_FitChain::circles_data()
{
    QTest::addColumn<double>("radius");
    QTest::addColumn<bool>("soft");
    QTest::addColumn<double>("noise");
    QTest::addColumn<double>("rms");
    QTest::addColumn<double>("bias");
    QTest::newRow("radius 5, soft") << 5. << true << 0. << 0.012 << 0.011;
    QTest::newRow("radius 10, soft") << 10. << true << 0. << 0.007 << 0.007;
    QTest::newRow("radius 50, soft") << 50. << true << 0. << 0.003 << 0.003;
    QTest::newRow("radius 300, soft") << 300. << true << 0. << 0.002 << 0.001;
    QTest::newRow("radius 5, noise") << 5. << true << kGrey << 0.02 << 0.015;
    QTest::newRow("radius 50, noise") << 50. << true << kGrey << 0.006 << 0.004;
    QTest::newRow("radius 5, one bit") << 5. << false << 0. << 0.09 << 0.03;
    QTest::newRow("radius 10, one bit") << 10. << false << 0. << 0.07 << 0.02;
    QTest::newRow("radius 50, one bit") << 50. << false << 0. << 0.03 << 0.01;
    QTest::newRow("radius 300, one bit") << 300. << false << 0. << 0.012 << 0.005;
}

void tst_FitChain::circles()
{
    QFETCH(double, radius);
    QFETCH(bool, soft);
    QFETCH(double, noise);
    QFETCH(double, rms);
    QFETCH(double, bias);
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    Quality quality;
    double sum = 0;
    for (int k = 0; k < 20; ++k) {
        const Truth truth = circleTruth(phase(&random, radius + 4), radius);
        const Path path = fitOf(truth, soft ? Edge::Soft : Edge::Hard, settings, noise,
                                noise > 0 ? &random : nullptr);
        quality.add(path, truth, Kind::Circle, settings);
        sum += path.pieces[0].half[0] - radius;
    }
    QCOMPARE(quality.ofKind, 20);
    QVERIFY2(quality.rms() < rms, qPrintable(QString::number(quality.rms())));
    QVERIFY2(std::fabs(sum / 20) < bias, qPrintable(QString::number(sum / 20)));
}

// At whatever place: steps of some add up to more than is expected, but are those of a circle. An
// ellipse whose axes are plainly different is none.
void tst_FitChain::circlesOfOneBitAreCircles()
{
    const Settings settings = settingsFor(svgPrices());
    Noise random(2);
    for (const double radius : { 7., 8., 10., 13. }) {
        for (int k = 0; k < 400; ++k) {
            const Truth truth = circleTruth(phase(&random, radius + 4), radius);
            const Path path = fitOf(truth, Edge::Hard, settings);
            QVERIFY2(path.pieces.size() == 1 && path.pieces[0].kind == Kind::Circle,
                     qPrintable(QString("radius %1, place %2").arg(radius).arg(k)));
        }
    }
    for (int k = 0; k < 20; ++k) {
        const Truth truth = ellipseTruth(phase(&random, 20), 10, 8.6, 0.15 * k);
        const Path path = fitOf(truth, Edge::Hard, settings);
        QVERIFY2(path.pieces[0].kind != Kind::Circle, qPrintable(QString::number(k)));
    }
}

void tst_FitChain::ellipses_data()
{
    QTest::addColumn<double>("a");
    QTest::addColumn<double>("b");
    QTest::addColumn<bool>("soft");
    QTest::addColumn<double>("rms");
    QTest::newRow("40 by 20, soft") << 40. << 20. << true << 0.005;
    QTest::newRow("90 by 70, soft") << 90. << 70. << true << 0.003;
    QTest::newRow("12 by 8, soft") << 12. << 8. << true << 0.009;
    QTest::newRow("40 by 20, one bit") << 40. << 20. << false << 0.05;
    QTest::newRow("90 by 70, one bit") << 90. << 70. << false << 0.03;
}

void tst_FitChain::ellipses()
{
    QFETCH(double, a);
    QFETCH(double, b);
    QFETCH(bool, soft);
    QFETCH(double, rms);
    const Settings settings = settingsFor(svgPrices());
    Noise random(2);
    Quality quality;
    for (int k = 0; k < 20; ++k) {
        const Truth truth = ellipseTruth(phase(&random, a + 5), a, b, 3 * random.uniform());
        quality.add(fitOf(truth, soft ? Edge::Soft : Edge::Hard, settings), truth, Kind::Ellipse,
                    settings);
    }
    QCOMPARE(quality.ofKind, 20);
    QVERIFY2(quality.rms() < rms, qPrintable(QString::number(quality.rms())));
}

void tst_FitChain::rectangles_data()
{
    QTest::addColumn<double>("degrees");
    QTest::addColumn<bool>("soft");
    QTest::addColumn<double>("corner");
    for (const double degrees : { 0., 3., 10., 17., 30., 45. })
        QTest::newRow(qPrintable(QString("soft at %1 degrees").arg(degrees)))
            << degrees << true << 0.005;
    // In one bit the place at 0 and 45 degrees is not in the picture.
    QTest::newRow("one bit at 3 degrees") << 3. << false << 0.08;
    QTest::newRow("one bit at 10 degrees") << 10. << false << 0.06;
    QTest::newRow("one bit at 17 degrees") << 17. << false << 0.06;
    QTest::newRow("one bit at 30 degrees") << 30. << false << 0.06;
}

void tst_FitChain::rectangles()
{
    QFETCH(double, degrees);
    QFETCH(bool, soft);
    QFETCH(double, corner);
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    for (int k = 0; k < 20; ++k) {
        const double width = 90 + 10 * random.uniform();
        const double height = 50 + 10 * random.uniform();
        const double angle = degrees * kPi / 180;
        const Point centre = phase(&random, 70);
        const Truth truth = rectangleTruth(centre, width, height, angle);
        const Path path = fitOf(truth, soft ? Edge::Soft : Edge::Hard, settings);
        QCOMPARE(int(path.pieces.size()), 1);
        const Piece &piece = path.pieces[0];
        QCOMPARE(piece.kind, Kind::RoundedRectangle);
        QCOMPARE(piece.radius, 0.);
        const Point u = { std::cos(piece.angle), std::sin(piece.angle) };
        const Point v = { -u.y, u.x };
        double worst = 0;
        for (const Piece &side : truth) {
            double nearest = INFINITY;
            for (const double a : { -1., 1. }) {
                for (const double b : { -1., 1. }) {
                    const Point p
                        = piece.centre + (a * piece.half[0]) * u + (b * piece.half[1]) * v;
                    nearest = std::min(nearest, std::hypot(p.x - side.start.x, p.y - side.start.y));
                }
            }
            worst = std::max(worst, nearest);
        }
        QVERIFY2(worst < corner, qPrintable(QString("%1: %2").arg(k).arg(worst)));
    }
}

void tst_FitChain::roundedRectangles_data()
{
    QTest::addColumn<double>("radius");
    QTest::addColumn<bool>("soft");
    QTest::addColumn<double>("rms");
    QTest::newRow("radius 3, soft") << 3. << true << 0.008;
    QTest::newRow("radius 5, soft") << 5. << true << 0.006;
    QTest::newRow("radius 15, soft") << 15. << true << 0.005;
    QTest::newRow("radius 5, one bit") << 5. << false << 0.05;
    QTest::newRow("radius 15, one bit") << 15. << false << 0.05;
}

void tst_FitChain::roundedRectangles()
{
    QFETCH(double, radius);
    QFETCH(bool, soft);
    QFETCH(double, rms);
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    Quality quality;
    for (int k = 0; k < 20; ++k) {
        // Away from the axes, where one bit does not tell the place.
        const double angle = 0.1 + 0.5 * random.uniform();
        const Truth truth = rectangleTruth(phase(&random, 80), 100, 60, angle, radius);
        const Path path = fitOf(truth, soft ? Edge::Soft : Edge::Hard, settings);
        quality.add(path, truth, Kind::RoundedRectangle, settings);
        QVERIFY(path.pieces[0].radius > 0.5 * radius);
    }
    QCOMPARE(quality.ofKind, 20);
    QVERIFY2(quality.rms() < rms, qPrintable(QString::number(quality.rms())));
}

void tst_FitChain::roundEnds_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("length");
    QTest::addColumn<bool>("soft");
    QTest::addColumn<double>("rms");
    QTest::newRow("3 px, soft") << 3. << 60. << true << 0.02;
    QTest::newRow("10 px, soft") << 10. << 60. << true << 0.01;
    QTest::newRow("short, soft") << 10. << 16. << true << 0.01;
    QTest::newRow("long, soft") << 10. << 400. << true << 0.01;
    QTest::newRow("7 px, one bit") << 7. << 60. << false << 0.06;
    QTest::newRow("20 px, one bit") << 20. << 60. << false << 0.05;
}

// Ends that are half circles: a rounded rectangle whose radius is half of its height.
void tst_FitChain::roundEnds()
{
    QFETCH(double, width);
    QFETCH(double, length);
    QFETCH(bool, soft);
    QFETCH(double, rms);
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    Quality quality;
    for (int k = 0; k < 20; ++k) {
        const double angle = 3.14 * random.uniform();
        const Truth truth = rectangleTruth(phase(&random, 220), length, width, angle, 0.5 * width);
        const Path path = fitOf(truth, soft ? Edge::Soft : Edge::Hard, settings);
        quality.add(path, truth, Kind::RoundedRectangle, settings);
        QCOMPARE(path.pieces[0].radius, path.pieces[0].half[1]);
    }
    QCOMPARE(quality.ofKind, 20);
    QVERIFY2(quality.rms() < rms, qPrintable(QString::number(quality.rms())));
}

void tst_FitChain::thinLines_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<bool>("soft");
    QTest::addColumn<double>("rms");
    QTest::newRow("1 px, soft") << 1. << true << 0.03;
    QTest::newRow("1.5 px, soft") << 1.5 << true << 0.02;
    QTest::newRow("2 px, soft") << 2. << true << 0.02;
    QTest::newRow("3 px, soft") << 3. << true << 0.02;
    QTest::newRow("6 px, soft") << 6. << true << 0.01;
    QTest::newRow("1 px, one bit") << 1. << false << 0.1;
    QTest::newRow("2 px, one bit") << 2. << false << 0.06;
    QTest::newRow("4 px, one bit") << 4. << false << 0.06;
    QTest::newRow("6 px, one bit") << 6. << false << 0.05;
}

void tst_FitChain::thinLines()
{
    QFETCH(double, width);
    QFETCH(bool, soft);
    QFETCH(double, rms);
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    Quality quality;
    for (int k = 0; k < 20; ++k) {
        const Truth truth = rectangleTruth(phase(&random, 60), 100, width, 3.14 * random.uniform());
        const Path path = fitOf(truth, soft ? Edge::Soft : Edge::Hard, settings);
        quality.add(path, truth, Kind::RoundedRectangle, settings);
        QCOMPARE(path.pieces[0].radius, 0.0); // the ends are flat
    }
    QCOMPARE(quality.ofKind, 20);
    QVERIFY2(quality.rms() < rms, qPrintable(QString::number(quality.rms())));
}

void tst_FitChain::longLines_data()
{
    QTest::addColumn<double>("turn");
    QTest::newRow("any angle") << 3.14;
    QTest::newRow("nearly along the rows") << 0.02;
}

void tst_FitChain::longLines()
{
    QFETCH(double, turn);
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    for (int k = 0; k < 10; ++k) {
        const Truth truth = rectangleTruth(phase(&random, 760), 1480, 20, turn * random.uniform());
        for (const Edge edge : { Edge::Soft, Edge::Hard }) {
            const Path path = fitOf(truth, edge, settings);
            QCOMPARE(int(path.pieces.size()), 1);
        }
    }
}

void tst_FitChain::longOpenLineIsOne()
{
    const Settings settings = settingsFor(svgPrices());
    for (const double slope : { 0.0004, 0.003, 0.01, 0.07, 0.31, 0.5, 0.77, 1.0 }) {
        const ChainData data = halfPlane(slope, 1480);
        const Path path = fitChain(data.view(), settings);
        QVERIFY2(path.pieces.size() == 1, qPrintable(QString::number(slope)));
        QCOMPARE(path.pieces[0].kind, Kind::Line);
    }
}

void tst_FitChain::bentLineOfOneBitIsTwo()
{
    // Nearly along the rows, then nearly along the columns: steps hundreds of cracks apart.
    const Settings settings = settingsFor(svgPrices());
    for (const double slope : { 0.0021, 0.004, 0.0073, 0.011 }) {
        ChainData data = halfPlane(slope, 1200);
        int y = static_cast<int>(data.y.back());
        int x = 1200;
        for (const int top = y; y < top + 1200; ++y) {
            const int next = 1200 - static_cast<int>(std::floor(slope * (y - top + 0.5) + 0.4));
            for (; x > next; --x) {
                data.x.push_back(x - 0.5);
                data.y.push_back(y);
            }
            data.x.push_back(x);
            data.y.push_back(y + 0.5);
        }
        const Path path = fitChain(data.view(), settings);
        QVERIFY2(path.pieces.size() == 2,
                 qPrintable(QString("%1: %2").arg(slope).arg(path.pieces.size())));
        QCOMPARE(path.pieces[0].kind, Kind::Line);
        QCOMPARE(path.pieces[1].kind, Kind::Line);
        const Point corner = path.pieces[1].start;
        QVERIFY(std::hypot(corner.x - 1200, corner.y - slope * 1200) < 0.8);
    }
}

void tst_FitChain::starsHaveTenCorners_data()
{
    QTest::addColumn<bool>("soft");
    QTest::addColumn<double>("rms");
    QTest::addColumn<double>("numbers");
    QTest::newRow("soft") << true << 0.03 << 23.0; // a tip in twenty gets a cap
    QTest::newRow("one bit") << false << 0.08 << 20.5;
}

void tst_FitChain::starsHaveTenCorners()
{
    QFETCH(bool, soft);
    QFETCH(double, rms);
    QFETCH(double, numbers);
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    Quality quality;
    for (int k = 0; k < 20; ++k) {
        const Truth truth = star(phase(&random, 60), random.uniform());
        const Path path = fitOf(truth, soft ? Edge::Soft : Edge::Hard, settings);
        QVERIFY(isJoined(path));
        quality.add(path, truth, Kind::Line, settings);
    }
    QVERIFY2(quality.rms() < rms, qPrintable(QString::number(quality.rms())));
    QVERIFY2(quality.numbers / 20 <= numbers, qPrintable(QString::number(quality.numbers / 20)));
}

void tst_FitChain::curvesOfLettering_data()
{
    QTest::addColumn<bool>("soft");
    QTest::addColumn<double>("rms");
    QTest::addColumn<double>("numbers");
    QTest::newRow("soft") << true << 0.03 << 20.;
    QTest::newRow("one bit") << false << 0.2 << 16.;
}

void tst_FitChain::curvesOfLettering()
{
    QFETCH(bool, soft);
    QFETCH(double, rms);
    QFETCH(double, numbers);
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    Quality quality;
    bool cubics = false;
    for (int k = 0; k < 20; ++k) {
        const Truth truth = leaf(phase(&random, 12));
        const Path path = fitOf(truth, soft ? Edge::Soft : Edge::Hard, settings);
        quality.add(path, truth, Kind::Cubic, settings);
        for (const Piece &piece : path.pieces)
            cubics = cubics || piece.kind == Kind::Cubic;
    }
    QVERIFY(cubics);
    QVERIFY2(quality.rms() < rms, qPrintable(QString::number(quality.rms())));
    QVERIFY2(quality.numbers / 20 <= numbers, qPrintable(QString::number(quality.numbers / 20)));
}

// Wherever a closed chain is cut, it goes over there as anywhere else; and no speck of a line is in
// between, which turns twice.
void tst_FitChain::smoothLoopsHaveNoCorners()
{
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    for (int k = 0; k < 20; ++k) {
        const Point at = phase(&random, 70);
        const double bulge = 3 + 4 * random.uniform();
        const double turn = 2 * kPi * random.uniform();
        std::vector<double> x;
        std::vector<double> y;
        for (int i = 0; i < 300; ++i) {
            const double a = 2 * kPi * i / 300;
            const double radius = 50 + bulge * std::sin(3 * a + turn) + 2 * std::sin(2 * a);
            x.push_back(at.x + radius * std::cos(a) + 0.02 * random.normal());
            y.push_back(at.y + radius * std::sin(a) + 0.02 * random.normal());
        }
        const Path path = fitChain(
            { x.data(), y.data(), nullptr, int(x.size()), true, Edge::Soft, false, false },
            settings);
        QVERIFY(path.pieces.size() > 3);
        for (std::size_t i = 0; i < path.pieces.size(); ++i) {
            const Point from = endTangent(path.pieces[i]);
            const Point to = startTangent(path.pieces[(i + 1) % path.pieces.size()]);
            const double degrees
                = std::fabs(std::atan2(cross(from, to), dot(from, to))) * 180 / kPi;
            QVERIFY2(degrees < 12, qPrintable(QString("%1: %2").arg(k).arg(degrees)));
        }
    }
}

void tst_FitChain::noiseAddsNoNumbers()
{
    const Settings settings = settingsFor(svgPrices());
    Noise random(1);
    double clean = 0;
    double noisy = 0;
    for (int k = 0; k < 20; ++k) {
        for (const Truth &truth : { leaf(phase(&random, 12)), star(phase(&random, 60), 0.1 * k) }) {
            clean += scoreOf(fitOf(truth, Edge::Soft, settings), truth, settings).numbers;
            const Path path = fitOf(truth, Edge::Soft, settings, kGrey, &random);
            noisy += scoreOf(path, truth, settings).numbers;
        }
    }
    QVERIFY2(noisy < 1.1 * clean, qPrintable(QString("%1 of %2").arg(noisy).arg(clean)));
}

void tst_FitChain::smoothJointsHaveOneTangent()
{
    int smooth = 0;
    for (const Prices &prices : { svgPrices(), dxfPrices(), hostPrices() }) {
        const Settings settings = settingsFor(prices);
        Noise random(3);
        for (int k = 0; k < 10; ++k) {
            const Path path = fitOf(leaf(phase(&random, 12)), Edge::Hard, settings);
            for (std::size_t i = 0; i < path.pieces.size(); ++i) {
                if (!path.pieces[i].smooth)
                    continue;
                ++smooth;
                QVERIFY2(kinkBefore(path, i) < 1e-4,
                         qPrintable(QString::number(kinkBefore(path, i))));
            }
        }
    }
    QVERIFY(smooth > 20);
}

void tst_FitChain::quadraticsOnlyForTheHost()
{
    const Settings settings = settingsFor(hostPrices());
    Noise random(1);
    int quadratics = 0;
    for (const Truth &truth : { leaf(phase(&random, 12)), circleTruth(phase(&random, 30), 25) }) {
        const Path path = fitOf(truth, Edge::Soft, settings);
        for (const Piece &piece : path.pieces) {
            QVERIFY(piece.kind == Kind::Line || piece.kind == Kind::Quadratic);
            quadratics += piece.kind == Kind::Quadratic;
        }
        QVERIFY(scoreOf(path, truth, settings).rms < 0.07);
    }
    QVERIFY(quadratics >= 8);
}

QTEST_APPLESS_MAIN(tst_FitChain)
#include "tst_fitchain.moc"
