// (c) the ztrace developers. Licence: see LICENSE.
//
// True shapes from pictures of known geometry, and of pictures without any.
#include "CrossingLines.h"
#include "FitRig.h"

#include "imaging/Picture.h"
#include "tracing/pipeline.h"
#include "drawing/pieces.h"
#include "tracing/shapes.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace;

namespace {

const double kPi = 3.14159265358979323846;

// The exact raster of a truth as a grey picture, ink on paper.
QImage pictureOf(const fit::Truth &truth, int width, int height)
{
    const fit::Raster raster = fit::rasterOf(truth, width, height);
    QImage image(width, height, QImage::Format_Grayscale8);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.scanLine(y)[x] = uchar(std::lround(255 * (1 - raster.at(x, y))));
    }
    return image;
}

QImage oneBit(const QImage &grey)
{
    QImage image = grey;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.scanLine(y)[x] = image.scanLine(y)[x] < 128 ? 0 : 255;
    }
    return image;
}

TracePlan planOf(Segmentation segmentation)
{
    TracePlan plan;
    plan.segmentation = std::move(segmentation);
    plan.geometry.fit = Geometry::Fit::Fair;
    return plan;
}

TraceResult traceInk(const QImage &image)
{
    return traceImage(Picture(image), planOf(Ink()));
}

const int kFlat = 0; // as many points as leave chords .002 px from their piece at the most

// A chord of length s is off by s * s / 8r, and a piece is no longer than a whole circle.
int chordsOf(const fit::Piece &piece)
{
    const fit::Box box = fit::boxOf(piece);
    const double size = std::max(box.high.x - box.low.x, box.high.y - box.low.y);
    return 16 + int(40 * std::sqrt(size));
}

// Points on a path, y downwards.
std::vector<fit::Point> pointsOn(const Path &path, double height, int pointsAPiece = 64)
{
    std::vector<fit::Point> points;
    for (const PathPiece p : path.pieces()) {
        if (p.kind == PathPiece::EllipticArc) {
            const Ellipse ellipse = ellipseOf(p);
            const int count = pointsAPiece == kFlat ? 200 : pointsAPiece;
            for (int k = 0; k < count; ++k) {
                const Point on
                    = pointOn(ellipse, ellipse.start + ellipse.sweep * double(k) / count);
                points.push_back({ on.x, height - on.y });
            }
            continue;
        }
        const fit::Point start = { p.start.x, height - p.start.y };
        const fit::Point end = { p.end.x, height - p.end.y };
        const fit::Point one = { p.control1.x, height - p.control1.y };
        const fit::Point two = { p.control2.x, height - p.control2.y };
        fit::Piece piece = fit::linePiece(start, end);
        if (p.kind == PathPiece::Arc)
            piece = fit::arcPiece(start, end, -p.bulge);
        else if (p.kind == PathPiece::Quadratic)
            piece = fit::quadraticPiece(start, one, end);
        else if (p.kind == PathPiece::Cubic)
            piece = fit::cubicPiece(start, one, two, end);
        int count = pointsAPiece;
        if (count == kFlat)
            count = p.kind == PathPiece::Line ? 1 : chordsOf(piece);
        for (int k = 0; k < count; ++k)
            points.push_back(fit::pointAt(piece, double(k) / count));
    }
    return points;
}

double areaOf(const Path &path)
{
    const std::vector<fit::Point> points = pointsOn(path, 0);
    double sum = 0;
    for (std::size_t k = 0; k < points.size(); ++k)
        sum += cross(points[k], points[(k + 1) % points.size()]);
    return 0.5 * sum;
}

struct Distances
{
    double rms;
    double worst;
};

Distances distancesOf(const Path &path, const fit::Truth &truth, double height)
{
    double squares = 0;
    double worst = 0;
    const std::vector<fit::Point> points = pointsOn(path, height);
    for (fit::Point p : points) {
        double nearest = HUGE_VAL;
        for (const fit::Piece &piece : truth)
            nearest = std::min(nearest, fit::distanceTo(piece, p));
        squares += nearest * nearest;
        worst = std::max(worst, nearest);
    }
    return { std::sqrt(squares / double(points.size())), worst };
}

// Corners that are drawn; a line of no length closes some paths.
int linesOf(const Path &path)
{
    int lines = 0;
    for (const PathPiece piece : path.pieces())
        lines += piece.kind == PathPiece::Line
            && std::hypot(piece.end.x - piece.start.x, piece.end.y - piece.start.y) > 1e-9;
    return lines;
}

bool allOfKind(const Path &path, PathPiece::Kind kind, std::size_t count)
{
    bool all = path.pieces().size() == count;
    for (const PathPiece piece : path.pieces())
        all = all && piece.kind == kind;
    return all;
}

bool isFinite(const Drawing &drawing)
{
    for (const Outline &outline : drawing.outlines) {
        for (const fit::Point &p : pointsOn(outline.shape, drawing.height)) {
            if (!std::isfinite(p.x) || !std::isfinite(p.y))
                return false;
        }
    }
    return true;
}

QImage noiseOf(int width, int height, std::uint64_t seed)
{
    fit::Noise noise(seed);
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y,
                           qRgb(int(256 * noise.uniform()), int(256 * noise.uniform()),
                                int(256 * noise.uniform())));
    }
    return image;
}

} // namespace

class tst_Shapes : public QObject
{
    Q_OBJECT

private slots:
    void offsetInvertsCoverage();
    void circleIsOneCircle_data();
    void circleIsOneCircle();
    void rotatedRectangleHasFourSides_data();
    void rotatedRectangleHasFourSides();
    void chordsOfACircleAreACircle();
    void lineKeepsItsInk_data();
    void lineKeepsItsInk();
    void ringIsTwoCircles();
    void inkOnTheRimEndsThere();
    void noiseOfAGreyPictureDoesNotMatter();
    void neighboursHaveTheSamePieces();
    void uprightRectangleIsExact();
    void nearlyHardLineIsStraight();
    void boundariesDoNotCross();
    void oddPictures_data();
    void oddPictures();
    void tooManyBoundariesGoToTheEngine();
    void sameBytesEachTime();
    void threadsDoNotMatter_data();
    void threadsDoNotMatter();
};

void tst_Shapes::offsetInvertsCoverage()
{
    // The part of a pixel below a line, by 400 rows of it.
    for (double angle = 0; angle < 6.3; angle += 0.37) {
        const fit::Point normal = { std::cos(angle), std::sin(angle) };
        for (double coverage = 0.05; coverage < 1; coverage += 0.1) {
            const double offset = offsetOfCoverage(normal, coverage);
            int below = 0;
            for (int k = 0; k < 400 * 400; ++k) {
                const fit::Point p = { (k % 400 + 0.5) / 400 - 0.5, (k / 400 + 0.5) / 400 - 0.5 };
                below += dot(normal, p) <= offset;
            }
            QVERIFY(std::fabs(below / 160000.0 - coverage) < 0.005);
        }
    }
}

void tst_Shapes::circleIsOneCircle_data()
{
    QTest::addColumn<double>("radius");
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("rms"); // pixels, of the worst phase
    QTest::newRow("soft, 5") << 5.0 << false << 0.015;
    QTest::newRow("soft, 20") << 20.0 << false << 0.005;
    QTest::newRow("soft, 150") << 150.0 << false << 0.0015;
    QTest::newRow("one bit, 10") << 10.0 << true << 0.1;
    QTest::newRow("one bit, 40") << 40.0 << true << 0.05;
    QTest::newRow("one bit, 150") << 150.0 << true << 0.03;
}

void tst_Shapes::circleIsOneCircle()
{
    QFETCH(double, radius);
    QFETCH(bool, hard);
    QFETCH(double, rms);
    fit::Noise noise(7);
    const int size = int(2 * radius) + 12;
    double worst = 0;
    for (int phase = 0; phase < 8; ++phase) {
        const fit::Truth truth = fit::circleTruth(
            { radius + 5 + noise.uniform(), radius + 5 + noise.uniform() }, radius);
        const QImage image = pictureOf(truth, size, size);
        const Drawing drawing = traceInk(hard ? oneBit(image) : image).drawing;
        QCOMPARE(drawing.outlines.size(), std::size_t(2)); // the page comes first
        // Two half circles: no kink, and 360 degrees in all.
        const Path &path = drawing.outlines[1].shape;
        QVERIFY(allOfKind(path, PathPiece::Arc, 2));
        for (const PathPiece piece : path.pieces())
            QCOMPARE(piece.bulge, -1.0);
        worst = std::max(worst, distancesOf(path, truth, size).rms);
    }
    QVERIFY2(worst <= rms, qPrintable(QString::number(worst)));
}

void tst_Shapes::rotatedRectangleHasFourSides_data()
{
    QTest::addColumn<double>("degrees");
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("worst");
    for (double degrees : { 3.0, 10.0, 17.0, 30.0, 45.0 }) {
        QTest::addRow("soft, %g degrees", degrees)
            << degrees << false << (degrees == 45.0 ? 0.02 : 0.003);
        // At 45 degrees the place of a side is not in the picture.
        QTest::addRow("one bit, %g degrees", degrees)
            << degrees << true << (degrees == 45.0 ? 0.3 : 0.04);
    }
}

void tst_Shapes::rotatedRectangleHasFourSides()
{
    QFETCH(double, degrees);
    QFETCH(bool, hard);
    QFETCH(double, worst);
    const fit::Truth truth = fit::rectangleTruth({ 80.3, 80.6 }, 100, 60, degrees * kPi / 180);
    const QImage image = pictureOf(truth, 160, 160);
    const Drawing drawing = traceInk(hard ? oneBit(image) : image).drawing;
    QCOMPARE(drawing.outlines.size(), std::size_t(2));
    const Path &path = drawing.outlines[1].shape;
    QCOMPARE(linesOf(path), 4);
    QCOMPARE(path.pieces().size(), std::size_t(4)); // 8 numbers
    const double farthest = distancesOf(path, truth, 160).worst;
    QVERIFY2(farthest <= worst, qPrintable(QString::number(farthest)));
}

// A browser draws a circle as chords up to a fifth of a pixel off.
void tst_Shapes::chordsOfACircleAreACircle()
{
    std::vector<fit::Point> corners;
    for (int k = 0; k < 64; ++k)
        corners.push_back({ 170.3 + 149 * std::cos(k * kPi / 32 + 0.05),
                            169.8 + 149 * std::sin(k * kPi / 32 + 0.05) });
    const Drawing drawing = traceInk(pictureOf(fit::polygonTruth(corners), 340, 340)).drawing;
    QCOMPARE(drawing.outlines.size(), std::size_t(2));
    QCOMPARE(drawing.outlines[1].shape.pieces().size(), std::size_t(2));
    QCOMPARE((*drawing.outlines[1].shape.pieces().begin()).kind, PathPiece::Arc);
}

void tst_Shapes::lineKeepsItsInk_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("degrees");
    for (double width : { 1.0, 1.5, 2.0, 3.0 }) {
        for (double degrees : { 12.0, 33.0, 45.0, 71.0 })
            QTest::addRow("%g px, %g degrees", width, degrees) << width << degrees;
    }
}

void tst_Shapes::lineKeepsItsInk()
{
    QFETCH(double, width);
    QFETCH(double, degrees);
    const double angle = degrees * kPi / 180;
    const fit::Truth truth = fit::rectangleTruth({ 60.3, 60.8 }, 90, width, angle);
    const Drawing drawing = traceInk(pictureOf(truth, 120, 120)).drawing;
    QCOMPARE(drawing.outlines.size(), std::size_t(2));
    const double area = areaOf(drawing.outlines[1].shape);
    QVERIFY2(std::fabs(area / (90 * width) - 1) < (width == 1 ? 0.04 : 0.007),
             qPrintable(QString::number(area)));
    QCOMPARE(drawing.outlines[1].shape.pieces().size(), std::size_t(4)); // 8 numbers
}

void tst_Shapes::ringIsTwoCircles()
{
    const fit::Truth outer = fit::circleTruth({ 50.2, 50.7 }, 40);
    const fit::Truth inner = fit::circleTruth({ 50.2, 50.7 }, 25);
    QImage image = pictureOf(outer, 100, 100);
    const QImage hole = pictureOf(inner, 100, 100);
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 100; ++x)
            image.scanLine(y)[x] = uchar(image.scanLine(y)[x] + 255 - hole.scanLine(y)[x]);
    }
    const Drawing drawing = traceInk(image).drawing;
    // What lies inside is painted over the ring, not cut out of it.
    QCOMPARE(drawing.outlines.size(), std::size_t(3));
    QVERIFY(drawing.outlines[1].holes.empty());
    QVERIFY(distancesOf(drawing.outlines[1].shape, outer, 100).worst < 0.02);
    QVERIFY(distancesOf(drawing.outlines[2].shape, inner, 100).worst < 0.02);
    QCOMPARE(drawing.outlines[2].colour, QRgb(0xFFFFFFFFu));
}

void tst_Shapes::inkOnTheRimEndsThere()
{
    // A band that crosses the picture at an angle and leaves it on both sides.
    const fit::Truth truth = fit::rectangleTruth({ 50, 40.3 }, 200, 20, 0.15);
    const Drawing drawing = traceInk(pictureOf(truth, 100, 80)).drawing;
    const auto band = std::find_if(drawing.outlines.begin(), drawing.outlines.end(),
                                   [](const Outline &o) { return qGray(o.colour) == 0; });
    QVERIFY(band != drawing.outlines.end());
    const Bounds bounds = boundsOf(band->shape);
    QCOMPARE(bounds.low.x, 0.0);
    QCOMPARE(bounds.high.x, 100.0);
    const double area = areaOf(band->shape);
    QVERIFY2(std::fabs(area - 2000 / std::cos(0.15)) < 4, qPrintable(QString::number(area)));
    QCOMPARE(linesOf(band->shape), 4);
}

void tst_Shapes::noiseOfAGreyPictureDoesNotMatter()
{
    const fit::Truth truth = fit::circleTruth({ 60.3, 60.8 }, 50);
    QImage image = pictureOf(truth, 120, 120);
    fit::Noise noise(3);
    for (int y = 0; y < 120; ++y) {
        for (int x = 0; x < 120; ++x)
            image.scanLine(y)[x] = uchar(std::min(
                255.0, std::max(0.0, 30 + image.scanLine(y)[x] * 0.8 + 8 * noise.normal())));
    }
    const Drawing drawing = traceInk(image).drawing;
    QCOMPARE(drawing.outlines.size(), std::size_t(2));
    QVERIFY(allOfKind(drawing.outlines[1].shape, PathPiece::Arc, 2));
    QVERIFY(distancesOf(drawing.outlines[1].shape, truth, 120).worst < 0.05);
}

// Three sectors around the middle: where two meet, one goes the other's way back.
void tst_Shapes::neighboursHaveTheSamePieces()
{
    QImage image(90, 90, QImage::Format_RGB32);
    for (int y = 0; y < 90; ++y) {
        for (int x = 0; x < 90; ++x) {
            const double angle = std::atan2(y - 44.3, x - 45.2) + kPi;
            const int sector = int(3 * angle / (2 * kPi)) % 3;
            image.setPixel(x, y,
                           sector == 0       ? qRgb(200, 0, 0)
                               : sector == 1 ? qRgb(0, 160, 0)
                                             : qRgb(0, 0, 220));
        }
    }
    Flat flat;
    flat.colours = 8;
    const Drawing drawing = traceImage(Picture(image), planOf(flat)).drawing;
    QCOMPARE(drawing.outlines.size(), std::size_t(3));
    double sum = 0;
    std::vector<std::pair<Point, Point>> sides;
    for (const Outline &outline : drawing.outlines) {
        sum += areaOf(outline.shape);
        for (const PathPiece piece : outline.shape.pieces())
            sides.push_back({ piece.start, piece.end });
    }
    QVERIFY(std::fabs(sum - 8100) < 1e-9 * 8100);
    for (const auto &side : sides) {
        const bool onRim
            = (side.first.x == side.second.x && (side.first.x == 0 || side.first.x == 90))
            || (side.first.y == side.second.y && (side.first.y == 0 || side.first.y == 90));
        const auto back
            = std::find(sides.begin(), sides.end(), std::make_pair(side.second, side.first));
        QVERIFY(onRim || back != sides.end());
    }
}

void tst_Shapes::uprightRectangleIsExact()
{
    const fit::Truth truth = fit::polygonTruth({ { 20, 15 }, { 70, 15 }, { 70, 45 }, { 20, 45 } });
    const Drawing drawing = traceInk(pictureOf(truth, 90, 60)).drawing;
    QCOMPARE(drawing.outlines.size(), std::size_t(2));
    QVERIFY(distancesOf(drawing.outlines[1].shape, truth, 60).worst < 1e-6);
    QCOMPARE(linesOf(drawing.outlines[1].shape), 4);
}

// Mixed pixels that are grey whatever they hold make steps, no places between the pixels.
void tst_Shapes::nearlyHardLineIsStraight()
{
    const fit::Truth truth = fit::rectangleTruth({ 80.3, 60.2 }, 130, 6, 0.45);
    QImage image = pictureOf(truth, 160, 120);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            uchar &grey = image.scanLine(y)[x];
            grey = grey < 128 ? 0 : grey < 190 ? 200 : 255;
        }
    }
    const TraceResult result = traceInk(image);
    const Path &bar = result.drawing.outlines.back().shape;
    QVERIFY2(linesOf(bar) <= 6, qPrintable(QString::number(linesOf(bar))));
    QVERIFY(distancesOf(bar, truth, 120).rms < 0.2);
}

void tst_Shapes::boundariesDoNotCross()
{
    fit::Noise noise(11);
    int crossing = 0;
    for (int round = 0; round < 20; ++round) {
        // Three colours in blots of a few pixels, with grey between them.
        QImage coarse(14, 10, QImage::Format_RGB32);
        for (int y = 0; y < coarse.height(); ++y) {
            for (int x = 0; x < coarse.width(); ++x) {
                static const QRgb colours[3] = { 0xffffffffu, 0xff000000u, 0xffd03020u };
                coarse.setPixel(x, y, colours[int(3 * noise.uniform())]);
            }
        }
        const QImage image
            = coarse.scaled(28 + 3 * round, 20 + 2 * round, Qt::IgnoreAspectRatio,
                            round % 2 ? Qt::SmoothTransformation : Qt::FastTransformation);
        Flat flat;
        flat.colours = 3;
        const Drawing drawing = traceImage(Picture(image), planOf(flat)).drawing;
        QVERIFY(drawing.outlines.size() > 10);
        std::vector<fit::Path> paths;
        for (const Outline &outline : drawing.outlines) {
            const std::vector<fit::Point> points = pointsOn(outline.shape, drawing.height, kFlat);
            fit::Path path = {};
            for (std::size_t k = 0; k < points.size(); ++k)
                path.pieces.push_back(fit::linePiece(points[k], points[(k + 1) % points.size()]));
            paths.push_back(path);
        }
        crossing += crossingLines(paths);
    }
    QCOMPARE(crossing, 0);
}

void tst_Shapes::oddPictures_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("one pixel") << 1 << 1;
    QTest::newRow("one row") << 57 << 1;
    QTest::newRow("one column") << 1 << 57;
    QTest::newRow("two by two") << 2 << 2;
    QTest::newRow("noise") << 83 << 71;
}

void tst_Shapes::oddPictures()
{
    QFETCH(int, width);
    QFETCH(int, height);
    for (std::uint64_t seed = 1; seed < 6; ++seed) {
        const QImage image = noiseOf(width, height, seed);
        Flat flat;
        flat.colours = 6;
        Blend blend;
        blend.colours = 6;
        for (const Segmentation &segmentation :
             { Segmentation(Ink()), Segmentation(flat), Segmentation(blend) }) {
            TracePlan plan = planOf(segmentation);
            for (double least : { 0.0, 8.0 }) {
                plan.geometry.leastBorder = least;
                const TraceResult result = traceImage(Picture(image), plan);
                QVERIFY(result.report.shapes);
                QVERIFY(isFinite(result.drawing));
            }
        }
    }
}

void tst_Shapes::tooManyBoundariesGoToTheEngine()
{
    QImage image(1400, 1400, QImage::Format_Grayscale8);
    for (int y = 0; y < 1400; ++y) {
        for (int x = 0; x < 1400; ++x)
            image.scanLine(y)[x] = (x / 2 + y / 2) % 2 != 0 ? 255 : 0;
    }
    const TraceResult result = traceInk(image);
    QVERIFY(!result.report.shapes);
    QCOMPARE(result.report.remarks.size(), std::size_t(1));
    QVERIFY(result.report.remarks[0] == Remark::TooManyShapes);
    QVERIFY(!result.drawing.outlines.empty());
}

void tst_Shapes::sameBytesEachTime()
{
    const QImage image = noiseOf(150, 150, 11);
    Flat flat;
    flat.colours = 5;
    const Drawing first = traceImage(Picture(image), planOf(flat)).drawing;
    const Drawing second = traceImage(Picture(image), planOf(flat)).drawing;
    QCOMPARE(first.outlines.size(), second.outlines.size());
    for (std::size_t k = 0; k < first.outlines.size(); ++k)
        QVERIFY(first.outlines[k].shape == second.outlines[k].shape);
}

void tst_Shapes::threadsDoNotMatter_data()
{
    QTest::addColumn<bool>("hard");
    QTest::addColumn<unsigned>("threads");
    for (unsigned threads : { 2u, 3u, 7u }) {
        QTest::addRow("%u, from the colours", threads) << false << threads;
        QTest::addRow("%u, one bit", threads) << true << threads;
    }
}

// Long enough boundaries for seven threads.
void tst_Shapes::threadsDoNotMatter()
{
    QFETCH(bool, hard);
    QFETCH(unsigned, threads);
    const QImage noise = noiseOf(320, 320, 11);
    Flat flat;
    flat.colours = 5;
    TracePlan plan = hard ? planOf(Ink()) : planOf(flat);
    const QImage image = hard ? oneBit(noise.convertToFormat(QImage::Format_Grayscale8)) : noise;
    plan.threads = 1;
    const Drawing one = traceImage(Picture(image), plan).drawing;
    plan.threads = threads;
    const Drawing several = traceImage(Picture(image), plan).drawing;
    QVERIFY(one.outlines.size() > 200);
    QCOMPARE(several.outlines.size(), one.outlines.size());
    for (std::size_t k = 0; k < one.outlines.size(); ++k)
        QVERIFY(several.outlines[k].shape == one.outlines[k].shape);
}

QTEST_GUILESS_MAIN(tst_Shapes)
#include "tst_shapes.moc"
