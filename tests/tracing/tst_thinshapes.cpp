// (c) the ztrace developers. Licence: see LICENSE.
//
// True shapes of what is a pixel or two wide: lines keep their width, and what is mended where
// boundaries would cross is mended there alone.
#include "FitRig.h"
#include "PaintedTruth.h"

#include "imaging/Picture.h"
#include "tracing/chainfit.h"
#include "tracing/meetings.h"
#include "tracing/pipeline.h"
#include "drawing/pieces.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace;

namespace {

const double kPi = 3.14159265358979323846;
const QRgb kInk = qRgb(20, 22, 30);
const QRgb kRed = qRgb(200, 40, 30);
const QRgb kCream = qRgb(250, 244, 228);
const QRgb kPale = qRgb(222, 236, 200);

Drawing traceInk(const QImage &image, bool marks)
{
    TracePlan plan;
    plan.segmentation = Ink();
    plan.geometry.fit = Geometry::Fit::Fair;
    plan.geometry.leastBorder = 8;
    plan.geometry.marks = marks;
    return traceImage(Picture(image), plan).drawing;
}

Drawing traceFlat(const QImage &image, int colours)
{
    Flat flat;
    flat.colours = colours;
    TracePlan plan;
    plan.segmentation = flat;
    plan.geometry.fit = Geometry::Fit::Fair;
    return traceImage(Picture(image), plan).drawing;
}

// Of corners joined by lines.
double areaOf(const Path &path)
{
    double sum = 0;
    for (const PathPiece piece : path.pieces())
        sum += 0.5 * (piece.start.x * piece.end.y - piece.start.y * piece.end.x);
    return std::fabs(sum);
}

const Outline *outlineOf(const Drawing &drawing, QRgb colour)
{
    const Outline *nearest = nullptr;
    int least = 120;
    for (const Outline &outline : drawing.outlines) {
        const int away = std::abs(qRed(outline.colour) - qRed(colour))
            + std::abs(qGreen(outline.colour) - qGreen(colour))
            + std::abs(qBlue(outline.colour) - qBlue(colour));
        if (away < least) {
            least = away;
            nearest = &outline;
        }
    }
    return nearest;
}

fit::Piece pieceOf(fit::Piece piece, int first, int count)
{
    piece.first = first;
    piece.count = count;
    return piece;
}

} // namespace

class tst_ThinShapes : public QObject
{
    Q_OBJECT

private slots:
    void lineBetweenAreasIsStraight_data();
    void lineBetweenAreasIsStraight();
    void frameOfAPixelIsUpright();
    void bevelledFrameIsUpright();
    void inkOfThinLinesIsKept_data();
    void inkOfThinLinesIsKept();
    void dotsOfDrawnPagesStay();
    void notchesEndInNoHole();
    void mendedWhereItCrosses();
    void cutAroundACrossing();
    void piecesThatFollowMeetAwayFromTheirJoint();
    void bothEndsOfASideAreCut();
    void meetingsGoOverJoints();
    void mostOfALoopIsFittedAgain();
    void piecesNearAPlaceAreFound();
};

void tst_ThinShapes::lineBetweenAreasIsStraight_data()
{
    QTest::addColumn<QRgb>("beyond");
    QTest::addColumn<double>("degrees");
    for (double degrees : { 4.0, 17.0, 45.0, 70.0 }) {
        QTest::addRow("one colour, %g degrees", degrees) << kCream << degrees;
        QTest::addRow("two colours, %g degrees", degrees) << kPale << degrees;
    }
}

// From rim to rim, so that it has another area on each side.
void tst_ThinShapes::lineBetweenAreasIsStraight()
{
    QFETCH(QRgb, beyond);
    QFETCH(double, degrees);
    const double angle = degrees * kPi / 180;
    const fit::Point middle = { 50.3, 50.6 };
    const fit::Point normal = { -std::sin(angle), std::cos(angle) };
    QImage image(100, 100, QImage::Format_RGB32);
    image.fill(kCream);
    paint(fit::rectangleTruth(middle + 100 * normal, 400, 200, angle), beyond, &image);
    paint(fit::rectangleTruth(middle, 400, 1.2, angle), kInk, &image);
    const Drawing drawing = traceFlat(image, 4);
    const Outline *line = outlineOf(drawing, kInk);
    QVERIFY(line);
    QVERIFY2(line->shape.pieces().size() <= 6,
             qPrintable(QString::number(line->shape.pieces().size())));
    const double length = 100 / std::max(std::fabs(std::cos(angle)), std::fabs(std::sin(angle)));
    const double paper = 0.5 * (qGreen(kCream) + qGreen(beyond));
    const double contrast = (paper - qGreen(line->colour)) / (paper - qGreen(kInk));
    const double width = areaOf(line->shape) / length * contrast;
    QVERIFY2(std::fabs(width - 1.2) < 0.06, qPrintable(QString::number(width)));
}

// A sunken field of a dialog: grey above and to the left, white below and to the right, a pixel
// wide each. Where the two meet, boundaries step aside by a pixel beside their nodes.
void tst_ThinShapes::frameOfAPixelIsUpright()
{
    QImage image(120, 80, QImage::Format_RGB32);
    image.fill(qRgb(212, 208, 200));
    const auto fill = [&image](int left, int top, int right, int bottom, QRgb colour) {
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x)
                image.setPixel(x, y, colour);
        }
    };
    fill(10, 12, 100, 60, qRgb(255, 255, 255));
    fill(10, 12, 100, 13, qRgb(128, 128, 128));
    fill(10, 12, 11, 59, qRgb(128, 128, 128));
    const Drawing drawing = traceFlat(image, 4);
    const Outline *frame = outlineOf(drawing, qRgb(128, 128, 128));
    QVERIFY(frame);
    for (const PathPiece piece : frame->shape.pieces()) {
        const double dx = std::fabs(piece.end.x - piece.start.x);
        const double dy = std::fabs(piece.end.y - piece.start.y);
        if (std::max(dx, dy) > 8)
            QVERIFY2(std::min(dx, dy) < 0.05, qPrintable(QString::number(std::min(dx, dy))));
    }
    QVERIFY2(std::fabs(areaOf(frame->shape) - 136) < 2,
             qPrintable(QString::number(areaOf(frame->shape))));
}

// A raised button without soft pixels, its light and its dark sides mitred: the few steps of a
// mitre do not tell where its end is, the sides do.
void tst_ThinShapes::bevelledFrameIsUpright()
{
    for (int wide : { 3, 4, 5 }) {
        QImage image(70, 60, QImage::Format_RGB32);
        image.fill(qRgb(150, 150, 165));
        for (int y = 10; y < 50; ++y) {
            for (int x = 10; x < 60; ++x) {
                const int lit = std::min(x - 10, y - 10);
                const int dark = std::min(59 - x, 49 - y);
                const int grey = std::min(lit, dark) >= wide ? 190 : lit <= dark ? 255 : 90;
                image.setPixel(x, y, qRgb(grey, grey, grey));
            }
        }
        const Drawing drawing = traceFlat(image, 4);
        const Outline *face = outlineOf(drawing, qRgb(190, 190, 190));
        QVERIFY(face);
        QVERIFY2(std::fabs(areaOf(face->shape) - (50 - 2 * wide) * (40 - 2 * wide)) < 2,
                 qPrintable(QString::number(areaOf(face->shape))));
        for (const PathPiece piece : face->shape.pieces()) {
            const double dx = std::fabs(piece.end.x - piece.start.x);
            const double dy = std::fabs(piece.end.y - piece.start.y);
            QVERIFY2(std::min(dx, dy) < 0.05, qPrintable(QString::number(std::min(dx, dy))));
        }
    }
}

void tst_ThinShapes::inkOfThinLinesIsKept_data()
{
    QTest::addColumn<int>("ink");
    QTest::addColumn<int>("paper");
    QTest::addColumn<double>("width");
    for (double width : { 1.1, 1.5, 2.2 }) {
        QTest::addRow("black on white, %g pixels", width) << 0 << 255 << width;
        QTest::addRow("grey on light grey, %g pixels", width) << 60 << 210 << width;
        QTest::addRow("pale grey on white, %g pixels", width) << 160 << 255 << width;
        QTest::addRow("light grey on dark grey, %g pixels", width) << 200 << 50 << width;
    }
}

// Between two pixels each, some of the lines are less than half covered everywhere, and black lines
// are not what greys are a part of.
void tst_ThinShapes::inkOfThinLinesIsKept()
{
    QFETCH(int, ink);
    QFETCH(int, paper);
    QFETCH(double, width);
    QImage image(120, 120, QImage::Format_RGB32);
    image.fill(qRgb(paper, paper, paper));
    for (int k = 0; k < 5; ++k)
        paint(fit::rectangleTruth({ 60.0 + 0.1 * k, 15.0 + 22.3 * k }, 90, width, 0.02 + 0.09 * k),
              qRgb(ink, ink, ink), &image);
    const Drawing drawing = traceInk(image, true);
    double area = 0;
    const QRgb colour = ink < paper ? qRgb(0, 0, 0) : qRgb(255, 255, 255);
    for (const Outline &outline : drawing.outlines) {
        if (outline.colour == colour && areaOf(outline.shape) < 3000)
            area += areaOf(outline.shape);
    }
    const double truth = 5 * 90 * width;
    QVERIFY2(std::fabs(area - truth) < 0.03 * truth, qPrintable(QString::number(area / truth)));
}

// The dot of an i, of which one pixel is ink, unless small areas are to go.
void tst_ThinShapes::dotsOfDrawnPagesStay()
{
    QImage image(80, 60, QImage::Format_RGB32);
    image.fill(qRgb(255, 255, 255));
    paint(fit::rectangleTruth({ 20.5, 15.4 }, 1.3, 1.3, 0), qRgb(0, 0, 0), &image);
    paint(fit::rectangleTruth({ 20.5, 35.4 }, 1.6, 20, 0), qRgb(0, 0, 0), &image);
    const std::size_t whole = traceInk(image, true).outlines.size();
    QCOMPARE(traceInk(image, false).outlines.size() + 1, whole);
}

// Two lines that all but touch at one end are straight everywhere else.
// Where a bowl meets a stem, the last pixels of the notch between them are mixed, and one may lie
// over a corner from the others.
void tst_ThinShapes::notchesEndInNoHole()
{
    fit::Noise random(5);
    for (int k = 0; k < 60; ++k) {
        const fit::Point at = fit::phase(&random, 0);
        const double turn = 0.2 * random.uniform();
        const double wide = 12 + 16 * random.uniform();
        std::vector<fit::Point> corners;
        for (const fit::Point p : { fit::Point { 20, 20 },
                                    { 80, 22 },
                                    { 82, 70 },
                                    { 50, 70 },
                                    { 50, 42 },
                                    { 50 - wide, 66 },
                                    { 18, 60 } }) {
            corners.push_back(at
                              + fit::Point { std::cos(turn) * p.x - std::sin(turn) * p.y,
                                             std::sin(turn) * p.x + std::cos(turn) * p.y });
        }
        QImage image(100, 100, QImage::Format_RGB32);
        image.fill(Qt::white);
        paint(fit::polygonTruth(corners), qRgb(0, 0, 0), &image);
        const Drawing drawing = traceInk(image, true);
        int drawn = 0;
        for (const Outline &outline : drawing.outlines)
            drawn += areaOf(outline.shape) < 9000 ? 1 : 0;
        QVERIFY2(drawn == 1, qPrintable(QString("%1: %2 shapes").arg(k).arg(drawn)));
    }
}

void tst_ThinShapes::mendedWhereItCrosses()
{
    QImage image(200, 150, QImage::Format_RGB32);
    image.fill(kCream);
    const struct
    {
        double degrees;
        double width;
        QRgb colour;
    } lines[] = { { 39, 2, kInk }, { 51, 3, kRed } };
    for (const auto &line : lines) {
        const double angle = line.degrees * kPi / 180;
        const fit::Point along = { std::cos(angle), std::sin(angle) };
        paint(fit::rectangleTruth(fit::Point { 100, 75 } + -40.0 * along, 52, line.width, angle),
              line.colour, &image);
    }
    const Drawing drawing = traceFlat(image, 4);
    for (const auto &line : lines) {
        const Outline *outline = outlineOf(drawing, line.colour);
        QVERIFY(outline);
        QVERIFY2(outline->shape.pieces().size() <= 24,
                 qPrintable(QString::number(outline->shape.pieces().size())));
    }
}

void tst_ThinShapes::cutAroundACrossing()
{
    ChainPoints points;
    for (int k = 0; k < 60; ++k) {
        points.x.push_back(k + 0.5);
        points.y.push_back(10);
    }
    fit::Path path = {};
    path.pieces = { pieceOf(fit::linePiece({ 0, 10 }, { 60, 10 }), 0, 60) };
    fit::Path other = {};
    other.pieces = { fit::linePiece({ 20, 0 }, { 21, 20 }) };
    std::vector<Meeting> meetings(1);
    addMeetings(PiecePlaces(path), PiecePlaces(other), &meetings);
    QVERIFY(std::fabs(meetings[0].from() - 20.5 / 60) < 1e-9);
    QVERIFY(std::fabs(meetings[0].to() - 20.5 / 60) < 1e-9);
    const std::vector<char> meets = cutAround(meetings, points, &path);
    QCOMPARE(meets, (std::vector<char> { 0, 1, 0 }));
    QCOMPARE(path.pieces.size(), std::size_t(3));
    int next = 0;
    for (const fit::Piece &piece : path.pieces) {
        QCOMPARE(piece.first, next);
        next += piece.count;
        QVERIFY(piece.end.x > piece.start.x);
    }
    QCOMPARE(next, 60);
    QVERIFY(path.pieces[1].start.x < 20.5 - 2 && path.pieces[1].end.x > 20.5 + 2);
    QVERIFY(path.pieces[1].end.x - path.pieces[1].start.x < 12);

    fit::Path apart = {};
    apart.pieces = { fit::linePiece({ 20, 0 }, { 21, 9.8 }) };
    meetings.assign(path.pieces.size(), Meeting());
    addMeetings(PiecePlaces(path), PiecePlaces(apart), &meetings);
    for (const Meeting &meeting : meetings)
        QVERIFY(meeting.isNone());
}

void tst_ThinShapes::piecesThatFollowMeetAwayFromTheirJoint()
{
    fit::Path path = {};
    path.pieces = { fit::linePiece({ 0, 0 }, { 10, 0 }), fit::linePiece({ 10, 0 }, { 10, 8 }),
                    fit::arcPiece({ 10, 8 }, { 4, -2 }, 0.2) };
    std::vector<Meeting> meetings(3);
    addMeetings(PiecePlaces(path), PiecePlaces(path), &meetings);
    QVERIFY(!meetings[0].isNone() && meetings[0].from() > 0.3 && meetings[0].to() < 0.8);
    QVERIFY(meetings[1].isNone());
    QVERIFY(!meetings[2].isNone());
}

void tst_ThinShapes::bothEndsOfASideAreCut()
{
    ChainPoints points;
    for (int k = 0; k < 60; ++k) {
        points.x.push_back(k + 0.5);
        points.y.push_back(10);
    }
    fit::Path path = {};
    path.pieces = { pieceOf(fit::linePiece({ 0, 10 }, { 60, 10 }), 0, 60) };
    fit::Path other = {};
    other.pieces = { fit::linePiece({ 2, 0 }, { 2, 20 }), fit::linePiece({ 2, 20 }, { 57, 20 }),
                     fit::linePiece({ 57, 20 }, { 57, 0 }) };
    std::vector<Meeting> meetings(1);
    addMeetings(PiecePlaces(path), PiecePlaces(other), &meetings);
    const std::vector<char> meets = cutAround(meetings, points, &path);
    QCOMPARE(meets, (std::vector<char> { 1, 0, 1 }));
    QVERIFY(path.pieces[1].start.x < 10 && path.pieces[1].end.x > 50);
}

void tst_ThinShapes::meetingsGoOverJoints()
{
    fit::Path path = {};
    for (int k = 0; k < 4; ++k)
        path.pieces.push_back(
            pieceOf(fit::linePiece({ 20.0 * k, 0 }, { 20.0 * k + 20, 0 }), 20 * k, 20));
    path.pieces[2].count = 3;
    std::vector<Meeting> meetings(4);
    meetings[2].add(0.4, 0.6);
    spreadMeetings(path, false, 0, &meetings);
    QVERIFY(meetings[1].isNone() && meetings[3].isNone());
    spreadMeetings(path, false, 3, &meetings);
    QVERIFY(meetings[0].isNone());
    QCOMPARE(meetings[1].from(), 1.0);
    QCOMPARE(meetings[3].to(), 0.0);
}

// The points of a letter of 16 px, of which more than half are to be fitted again: a stretch with
// less than half of its points explained was taken for one that ends before it begins, and half of
// the letter was gone.
void tst_ThinShapes::mostOfALoopIsFittedAgain()
{
    const struct
    {
        double x;
        double y;
        double sigma;
        uint32_t crack;
    } measured[]
        = { { 0.8068, -0.5, 0.0522, 1 },  { 1.373, -1.208, 0.05, 2 },   { 2.5, -1.755, 0.05, 4 },
            { 3.5, -1.89, 0.05, 5 },      { 4.5, -1.896, 0.05, 6 },     { 5.454, -1.729, 0.05, 7 },
            { 4.5, -1.104, 0.05, 10 },    { 3.5, -1.11, 0.05, 11 },     { 2.5, -0.7163, 0.05, 12 },
            { 2.273, -0.5, 0.0522, 13 },  { 1.773, 0.5, 0.05, 14 },     { 2.5, 1.35, 0.05, 15 },
            { 3.5, 1.35, 0.05, 16 },      { 4.5, 1.411, 0.05, 17 },     { 5.484, 1.636, 0.05, 19 },
            { 6.41, 2.096, 0.05, 20 },    { 6.891, 2.594, 0.05, 21 },   { 7.278, 3.5, 0.05, 22 },
            { 7.306, 4.5, 0.05, 23 },     { 7.074, 5.541, 0.05, 24 },   { 6.5, 6.067, 0.05, 25 },
            { 5.792, 6.5, 0.0522, 26 },   { 5.426, 6.659, 0.05, 27 },   { 4.5, 6.816, 0.05, 28 },
            { 3.5, 6.818, 0.05, 29 },     { 2.967, 6.5, 0.0522, 30 },   { 2.5, 6.282, 0.05, 31 },
            { 1.633, 6.416, 0.05, 32 },   { 1.208, 6.5, 0.0522, 33 },   { 0.5553, 6.608, 0.05, 34 },
            { -0.5, 6.606, 0.05, 35 },    { -0.7132, 6.299, 0.05, 36 }, { -0.5, 5.778, 0.05, 37 },
            { -0.0155, 5.5, 0.0522, 38 }, { 0.2993, 4.5, 0.05, 39 },    { 0.3152, 3.5, 0.05, 40 },
            { 0.3291, 2.49, 0.05, 41 },   { 0.8192, 1.5, 0.0901, 42 },  { 0.3922, 0.5, 0.05, 43 } };
    ChainPoints points;
    points.edge = fit::Edge::Soft;
    for (const auto &point : measured) {
        points.x.push_back(point.x);
        points.y.push_back(point.y);
        points.sigma.push_back(point.sigma);
        points.crack.push_back(point.crack);
    }
    const fit::Path path = fitPoints(points, true);
    for (std::size_t k = 0; k < points.x.size(); ++k) {
        double nearest = 1e9;
        for (const fit::Piece &piece : path.pieces)
            nearest = std::min(nearest, distanceTo(piece, { points.x[k], points.y[k] }));
        QVERIFY2(nearest < 1, qPrintable(QString("%1: %2").arg(int(k)).arg(nearest)));
    }
}

// Against a look at all of them: short and long pieces, also beyond the plane.
void tst_ThinShapes::piecesNearAPlaceAreFound()
{
    fit::Noise noise(3);
    fit::Path path = {};
    for (int k = 0; k < 300; ++k) {
        const fit::Point a = { 1000 * noise.uniform() - 100, 800 * noise.uniform() - 100 };
        const double length = k % 20 == 0 ? 900 : 15;
        const fit::Point b
            = a + fit::Point { length * (noise.uniform() - 0.5), length * (noise.uniform() - 0.5) };
        path.pieces.push_back(k % 3 ? fit::linePiece(a, b) : fit::arcPiece(a, b, 0.4));
    }
    const PiecePlaces places(path);
    std::size_t found = 0;
    for (int round = 0; round < 200; ++round) {
        const fit::Point low = { 1000 * noise.uniform() - 100, 800 * noise.uniform() - 100 };
        const double size = round % 10 == 0 ? 500 : 20;
        const fit::Box box = { low, low + fit::Point { size, 0.3 * size } };
        std::vector<uint32_t> near;
        places.findNear(box, &near);
        QVERIFY(std::is_sorted(near.begin(), near.end()));
        QVERIFY(std::adjacent_find(near.begin(), near.end()) == near.end());
        for (uint32_t k = 0; k < path.pieces.size(); ++k) {
            const fit::Box &own = places.box(k);
            const bool meets = own.low.x <= box.high.x + 0.1 && box.low.x <= own.high.x + 0.1
                && own.low.y <= box.high.y + 0.1 && box.low.y <= own.high.y + 0.1;
            QVERIFY(!meets || std::binary_search(near.begin(), near.end(), k));
        }
        found += round % 10 == 0 ? 0 : near.size();
    }
    QVERIFY(found < 180 * path.pieces.size() / 4); // not just all of them
}

QTEST_GUILESS_MAIN(tst_ThinShapes)
#include "tst_thinshapes.moc"
