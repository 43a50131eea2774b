// (c) the ztrace developers. Licence: see LICENSE.
//
// Order in shapes: what becomes exact, and what is left alone.
#include "FitRig.h"
#include "fit/snap.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace::fit;

namespace {

const double kPi = std::acos(-1.0);

// Shapes of one picture: each from a raster of its own.
class Scene
{
public:
    void add(const Truth &truth, Edge edge = Edge::Soft)
    {
        const int size = sizeFor(truth);
        data.push_back(outlineOf(rasterOf(truth, size, size), edge));
        const Settings settings = settingsFor(svgPrices());
        fitted.push_back(fitChain(data.back().view(), settings));
    }

    std::vector<Ordered> ordered(Snap snap = Snap::All) const
    {
        std::vector<Ordered> shapes;
        for (std::size_t k = 0; k < data.size(); ++k)
            shapes.push_back({ fitted[k], data[k].view(), false });
        putInOrder(&shapes, snap);
        return shapes;
    }

    std::vector<ChainData> data;
    std::vector<Path> fitted;
};

double chiSquare(const Path &path, const Chain &chain)
{
    double sum = 0;
    for (int k = 0; k < chain.size; ++k) {
        double least = HUGE_VAL;
        for (const Piece &piece : path.pieces)
            least = std::min(least, distanceTo(piece, { chain.x[k], chain.y[k] }));
        const double usual = chain.edge == Edge::Soft ? kSoftSigma : kStaircaseSigma;
        const double sigma = std::max(kSoftFloor, chain.sigma ? chain.sigma[k] : usual);
        sum += least * least / (sigma * sigma);
    }
    return sum;
}

bool isSame(const Path &a, const Path &b)
{
    if (a.pieces.size() != b.pieces.size())
        return false;
    for (std::size_t k = 0; k < a.pieces.size(); ++k) {
        const Piece &p = a.pieces[k];
        const Piece &q = b.pieces[k];
        if (p.kind != q.kind || p.start.x != q.start.x || p.start.y != q.start.y
            || p.end.x != q.end.x || p.end.y != q.end.y || p.half[0] != q.half[0]
            || p.half[1] != q.half[1] || p.angle != q.angle)
            return false;
    }
    return true;
}

// An L turned by that angle.
Truth angleIron(double angle)
{
    std::vector<Point> corners
        = { { 0, 0 }, { 60, 0 }, { 60, 20 }, { 20, 20 }, { 20, 50 }, { 0, 50 } };
    for (Point &p : corners) {
        p = { 55.3 + p.x * std::cos(angle) - p.y * std::sin(angle),
              30.7 + p.x * std::sin(angle) + p.y * std::cos(angle) };
    }
    return polygonTruth(corners);
}

// The farthest from a right angle or a straight one between sides, in radians.
double worstAngle(const Path &path)
{
    double worst = 0;
    const Point first = path.pieces.front().end - path.pieces.front().start;
    for (const Piece &piece : path.pieces) {
        const Point side = piece.end - piece.start;
        const double angle = std::atan2(cross(first, side), dot(first, side));
        worst = std::max(worst, std::fabs(std::remainder(angle, kPi / 2)));
    }
    return worst;
}

} // namespace

class tst_Snap : public QObject
{
    Q_OBJECT

private slots:
    void turnedPolygonGetsRightAngles();
    void uprightSidesAreExact();
    void threeCirclesHaveOneCentre();
    void circlesOfOneSizeAreEqual();
    void nearlySquareIsSquare();
    void jointsLeaveOtherShapesAlone();
    void randomShapesStay();
    void circlesThatDifferStay();
    void sidesThatLeanStay();
    void misfitHardlyRises();
    void oddPaths();
};

void tst_Snap::turnedPolygonGetsRightAngles()
{
    for (double degrees : { 7.0, 16.3, 28.8, 33.0, 41.0 }) {
        Scene scene;
        scene.add(angleIron(degrees * kPi / 180));
        QCOMPARE(scene.fitted[0].pieces.size(), std::size_t(6));
        QVERIFY(worstAngle(scene.fitted[0]) > 1e-5);
        const Path path = scene.ordered(Snap::Joints)[0].path;
        QVERIFY2(worstAngle(path) < 1e-9, qPrintable(QString::number(degrees)));
    }
}

void tst_Snap::uprightSidesAreExact()
{
    for (Edge edge : { Edge::Soft, Edge::Hard }) {
        Scene scene;
        scene.add(polygonTruth({ { 10.3, 10.6 }, { 80.3, 10.6 }, { 80.3, 40.2 } }), edge);
        const Path path = scene.ordered()[0].path;
        int upright = 0; // of the long sides
        for (const Piece &piece : path.pieces) {
            const Point side = piece.end - piece.start;
            upright += (side.x == 0 || side.y == 0) && dot(side, side) > 100;
        }
        QCOMPARE(upright, 2);
    }
}

void tst_Snap::threeCirclesHaveOneCentre()
{
    for (Edge edge : { Edge::Soft, Edge::Hard }) {
        Scene scene;
        for (double radius : { 12.0, 25.0, 40.0 })
            scene.add(circleTruth({ 50.37, 50.81 }, radius), edge);
        const std::vector<Ordered> shapes = scene.ordered();
        for (const Ordered &shape : shapes) {
            QCOMPARE(shape.path.pieces.front().kind, Kind::Circle);
            QCOMPARE(shape.path.pieces.front().centre.x, shapes[0].path.pieces.front().centre.x);
            QCOMPARE(shape.path.pieces.front().centre.y, shapes[0].path.pieces.front().centre.y);
        }
        QVERIFY(std::fabs(shapes[0].path.pieces.front().centre.x - 50.37) < 0.05);
    }
}

void tst_Snap::circlesOfOneSizeAreEqual()
{
    Scene scene;
    Noise random(3);
    for (int k = 0; k < 6; ++k)
        scene.add(circleTruth(phase(&random, 40), 18.3));
    std::vector<double> radii;
    for (const Ordered &shape : scene.ordered())
        radii.push_back(shape.path.pieces.front().half[0]);
    QCOMPARE(std::count(radii.begin(), radii.end(), radii.front()), std::ptrdiff_t(6));
    QVERIFY(std::fabs(radii.front() - 18.3) < 0.02);
}

void tst_Snap::nearlySquareIsSquare()
{
    Scene scene;
    scene.add(rectangleTruth({ 60.2, 60.7 }, 50, 50, 0.4));
    const Piece piece = scene.ordered(Snap::Joints)[0].path.pieces.front();
    QCOMPARE(piece.kind, Kind::RoundedRectangle);
    QCOMPARE(piece.half[0], piece.half[1]);
}

void tst_Snap::jointsLeaveOtherShapesAlone()
{
    Scene scene;
    scene.add(circleTruth({ 50.37, 50.81 }, 12));
    scene.add(circleTruth({ 50.37, 50.81 }, 30));
    for (const Ordered &shape : scene.ordered(Snap::Joints))
        QVERIFY(!shape.changed);
}

// Triangles and circles of any size at any angle.
void tst_Snap::randomShapesStay()
{
    Noise random(11);
    Scene scene;
    for (int k = 0; k < 12; ++k) {
        std::vector<Point> corners;
        const double turn = 6.3 * random.uniform();
        for (double at : { 0.0, 2.0 + 0.3 * random.uniform(), 4.1 + 0.3 * random.uniform() })
            corners.push_back({ 60 + 45 * std::cos(turn + at), 60 + 45 * std::sin(turn + at) });
        scene.add(polygonTruth(corners));
        scene.add(circleTruth(phase(&random, 60), 10 + 40 * random.uniform()));
    }
    const std::vector<Ordered> shapes = scene.ordered();
    for (std::size_t k = 0; k < shapes.size(); ++k) {
        QVERIFY2(!shapes[k].changed, qPrintable(QString::number(k)));
        QVERIFY(isSame(shapes[k].path, scene.fitted[k]));
    }
}

void tst_Snap::circlesThatDifferStay()
{
    Scene scene;
    scene.add(circleTruth({ 50.3, 50.8 }, 30));
    scene.add(circleTruth({ 50.5, 50.8 }, 15)); // a fifth of a pixel beside it
    scene.add(circleTruth({ 90.5, 80.1 }, 15.15));
    for (const Ordered &shape : scene.ordered())
        QVERIFY(!shape.changed);
}

// A degree is no error of a soft edge of 60 pixels.
void tst_Snap::sidesThatLeanStay()
{
    Scene scene;
    scene.add(polygonTruth({ { 20.3, 10.6 }, { 90.3, 11.8 }, { 89.1, 70.2 }, { 19.7, 69.0 } }));
    for (const Ordered &shape : scene.ordered())
        QVERIFY(worstAngle(shape.path) > 1e-3);
}

void tst_Snap::misfitHardlyRises()
{
    Noise random(21);
    for (int round = 0; round < 40; ++round) {
        Scene scene;
        const Edge edge = round % 2 ? Edge::Hard : Edge::Soft;
        scene.add(angleIron(round * 0.037), edge);
        scene.add(circleTruth({ 50 + 0.1 * random.normal(), 50 + 0.1 * random.normal() }, 20),
                  edge);
        scene.add(circleTruth({ 50, 50 }, 30 + 0.2 * random.normal()), edge);
        scene.add(
            rectangleTruth({ 60, 60 }, 40, 40 + 0.3 * random.normal(), 0.02 * random.normal()),
            edge);
        const std::vector<Ordered> shapes = scene.ordered();
        for (std::size_t k = 0; k < shapes.size(); ++k) {
            const Chain chain = scene.data[k].view();
            const double before = chiSquare(scene.fitted[k], chain);
            const double after = chiSquare(shapes[k].path, chain);
            // Three relations at most, each with its rise and a hundredth of a pixel.
            const double floor = edge == Edge::Soft ? kSoftFloor : kStaircaseSigma;
            const double most = 3 * kMostRise * std::max(1.0, before / chain.size)
                + 3 * chain.size * std::pow(0.01 / floor, 2);
            QVERIFY2(
                after - before <= 1.1 * most,
                qPrintable(QString("%1 %2: %3 to %4").arg(round).arg(k).arg(before).arg(after)));
        }
    }
}

void tst_Snap::oddPaths()
{
    QVERIFY(!mayBeOrdered(Path {}));
    std::vector<Ordered> none;
    putInOrder(&none, Snap::All);
    QVERIFY(none.empty());
    // Without points nothing speaks for or against anything.
    std::vector<Ordered> empty(2);
    for (Ordered &shape : empty) {
        shape.path.closed = true;
        shape.path.pieces = circleTruth({ 5, 5 }, 3);
        shape.points = { nullptr, nullptr, nullptr, 0, true, Edge::Soft, false, false };
    }
    putInOrder(&empty, Snap::All);
    for (const Ordered &shape : empty)
        QVERIFY(std::isfinite(shape.path.pieces.front().centre.x));
}

QTEST_APPLESS_MAIN(tst_Snap)
#include "tst_snap.moc"
