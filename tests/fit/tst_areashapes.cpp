// (c) the ztrace developers. Licence: see LICENSE.
//
// Small loops as whole shapes, by what they cover of the pixels.
#include "FitRig.h"

#include "fit/areashapes.h"

#include <QtTest>

#include <cmath>
#include <random>

using namespace ztrace::fit;

namespace {

const double kLambda = 3;
const int kSide = 24;

Path closedPath(const std::vector<Point> &corners)
{
    Path path = {};
    path.closed = true;
    for (std::size_t k = 0; k < corners.size(); ++k)
        path.pieces.push_back(linePiece(corners[k], corners[(k + 1) % corners.size()]));
    path.numbers = numbersOf(path.pieces, true, svgPrices());
    return path;
}

Path whole(Kind kind, double a, double b, double angle = 0)
{
    Piece piece = {};
    piece.kind = kind;
    piece.centre = { 12.3, 11.8 };
    piece.half[0] = a;
    piece.half[1] = b;
    piece.angle = angle;
    return { { piece }, true, 0, numbersOf({ piece }, true, svgPrices()) };
}

std::vector<Point> rectangle(double width, double height, double degrees)
{
    const double angle = degrees * std::acos(-1.0) / 180;
    const Point along = { std::cos(angle), std::sin(angle) };
    const Point across = { -along.y, along.x };
    const Point centre = { 12.3, 11.8 };
    const auto at = [&](double u, double v) {
        return centre + (u * width / 2) * along + (v * height / 2) * across;
    };
    return { at(1, 1), at(-1, 1), at(-1, -1), at(1, -1) };
}

Coverage coverageOf(const std::vector<Piece> &pieces)
{
    const Raster raster = rasterOf(pieces, kSide, kSide);
    Coverage coverage = { 0, 0, kSide, kSide, 0.02, raster.coverage, {} };
    coverage.counts.assign(raster.coverage.size(), 1);
    return coverage;
}

} // namespace

class tst_AreaShapes : public QObject
{
    Q_OBJECT

private slots:
    void dashesAreNoDiscs_data();
    void dashesAreNoDiscs();
    void discsStayDiscs();
    void trianglesBecomeDiscs();
    void holesAsWell();
    void otherFormsStay();
    void outlinesGoRoundAsMuch();
    void noiseHasSizes();
};

void tst_AreaShapes::dashesAreNoDiscs_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("height");
    QTest::addColumn<double>("degrees");
    QTest::newRow("2 x 3, upright") << 2.0 << 3.0 << 0.0;
    QTest::newRow("2 x 3, turned") << 2.0 << 3.0 << 31.0;
    QTest::newRow("square of 3, upright") << 3.0 << 3.0 << 0.0;
    QTest::newRow("square of 3, on its corner") << 3.0 << 3.0 << 45.0;
    QTest::newRow("1.5 x 4, turned") << 4.0 << 1.5 << 67.0;
}

void tst_AreaShapes::dashesAreNoDiscs()
{
    QFETCH(double, width);
    QFETCH(double, height);
    QFETCH(double, degrees);
    const Path truth = closedPath(rectangle(width, height, degrees));
    const Coverage coverage = coverageOf(truth.pieces);
    const double angle = degrees * std::acos(-1.0) / 180;
    const Path lens = whole(Kind::Ellipse, 0.56 * width, 0.56 * height, angle);
    const auto found = smallShape(lens, coverage, kLambda);
    QVERIFY(found);
    const Piece &piece = found->pieces.front();
    QCOMPARE(piece.kind, Kind::RoundedRectangle);
    QVERIFY(std::fabs(4 * piece.half[0] * piece.half[1] - width * height) < 0.1);
    for (const Piece &side : truth.pieces)
        QVERIFY(distanceTo(piece, side.start) < 0.06);
    QVERIFY(degrees != 0 || piece.angle == 0);
}

void tst_AreaShapes::discsStayDiscs()
{
    const Coverage coverage = coverageOf(outlineOf(whole(Kind::Circle, 1.5, 1.5).pieces[0]).pieces);
    const auto found = smallShape(whole(Kind::Circle, 1.4, 1.4), coverage, kLambda);
    QVERIFY(found);
    QCOMPARE(found->pieces.front().kind, Kind::Circle);
    QVERIFY(std::fabs(found->pieces.front().half[0] - 1.5) < 0.01);
    QVERIFY(!smallShape(whole(Kind::Circle, 1.5, 1.5), coverage, kLambda)); // nothing to win
}

void tst_AreaShapes::trianglesBecomeDiscs()
{
    const Coverage coverage = coverageOf(outlineOf(whole(Kind::Circle, 2, 2).pieces[0]).pieces);
    const Path torn = closedPath({ { 10.4, 10.2 }, { 14.4, 11.1 }, { 13.9, 12.9 }, { 11.9, 14 } });
    const auto found = smallShape(torn, coverage, kLambda);
    QVERIFY(found);
    QCOMPARE(found->pieces.front().kind, Kind::Circle);
}

void tst_AreaShapes::holesAsWell()
{
    Coverage coverage = coverageOf(closedPath(rectangle(2, 3, 31)).pieces);
    for (double &part : coverage.right)
        part = 1 - part;
    const auto found = smallShape(whole(Kind::Ellipse, 1.7, 1.1, 121 * std::acos(-1.0) / 180),
                                  coverage, kLambda);
    QVERIFY(found);
    QCOMPARE(found->pieces.front().kind, Kind::RoundedRectangle);
}

void tst_AreaShapes::otherFormsStay()
{
    const Path angle = closedPath({ { 8.2, 8.1 },
                                    { 14.2, 8.1 },
                                    { 14.2, 10.1 },
                                    { 10.2, 10.1 },
                                    { 10.2, 14.1 },
                                    { 8.2, 14.1 } });
    const Coverage ofAngle = coverageOf(angle.pieces);
    QVERIFY(!smallShape(angle, ofAngle, kLambda));
    Path bad = angle;
    bad.pieces[0].end = bad.pieces[1].start = { 15, 8.1 };
    QVERIFY(!smallShape(bad, ofAngle, kLambda));
    Path open = whole(Kind::Circle, 1.4, 1.4);
    open.closed = false;
    QVERIFY(!smallShape(open, ofAngle, kLambda));
    QVERIFY(!smallShape(Path(), ofAngle, kLambda));
    const Path large = whole(Kind::Ellipse, 9, 8);
    QVERIFY(!smallShape(large, coverageOf(closedPath(rectangle(17, 15, 0)).pieces), kLambda));
}

void tst_AreaShapes::outlinesGoRoundAsMuch()
{
    const double pi = std::acos(-1.0);
    for (double size : { 1.2, 3.0, 7.0 }) {
        const Path ellipse = outlineOf(whole(Kind::Ellipse, size, 0.6 * size, 0.4).pieces[0]);
        double area = 0;
        for (const Piece &piece : ellipse.pieces)
            area += cross(piece.start, piece.end) / 2;
        QVERIFY(std::fabs(area - pi * 0.6 * size * size) < 1e-9);
        Path rounded = whole(Kind::RoundedRectangle, size, 0.6 * size, 0.4);
        rounded.pieces[0].radius = 0.3 * size;
        for (const Piece &piece : outlineOf(rounded.pieces[0]).pieces)
            QVERIFY(distanceTo(rounded.pieces[0], pointAt(piece, 0.5)) < 1e-6);
    }
}

// Steps towards what there is not may lead to sizes below nothing.
void tst_AreaShapes::noiseHasSizes()
{
    std::mt19937 random(3);
    const auto part = [&random] { return double(random()) / 4294967296.0; };
    for (int round = 0; round < 3000; ++round) {
        Coverage coverage = coverageOf(closedPath(rectangle(1, 1, 0)).pieces);
        std::fill(coverage.right.begin(), coverage.right.end(), 0.0);
        const int cells = 1 + round % 4;
        for (int k = 0; k < cells; ++k) {
            const int x = 11 + int(3 * part());
            const int y = 11 + int(3 * part());
            coverage.right[std::size_t(y * kSide + x)] = part() * part();
        }
        const Path loop = closedPath(rectangle(0.5 + 3 * part(), 0.5 + 2 * part(), 90 * part()));
        const std::optional<Path> shape = smallShape(loop, coverage, kLambda);
        if (!shape)
            continue;
        const Piece &piece = shape->pieces.front();
        QVERIFY(piece.half[0] > 0 && piece.half[1] > 0);
        QVERIFY(std::isfinite(piece.centre.x) && std::isfinite(piece.centre.y));
    }
}

QTEST_APPLESS_MAIN(tst_AreaShapes)
#include "tst_areashapes.moc"
