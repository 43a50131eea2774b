// (c) the ztrace developers. Licence: see LICENSE.
//
// Order among strokes of known geometry.
#include "StrokesRig.h"

#include "strokes/snapping.h"

#include <QtTest>

#include <cmath>

using namespace ztrace::strokes;
using ztrace::fit::Kind;
using ztrace::fit::Piece;
using ztrace::fit::Snap;

namespace {

const double kQuarter = 2.0 * std::atan(1.0);

Point turned(Point p, double angle)
{
    return { p.x * std::cos(angle) - p.y * std::sin(angle),
             p.x * std::sin(angle) + p.y * std::cos(angle) };
}

// A rectangle with a bar across it whose ends lie on two of its sides, about its middle.
Sheet house(double angle, double lean)
{
    Sheet sheet(260, 260);
    const Point centre = { 130.3, 129.6 };
    const auto at = [&](double x, double y) { return centre + turned({ x, y }, angle); };
    const Point corner[] = { at(-80, -50), at(80, -50 + lean), at(80, 50), at(-80, 50) };
    for (int k = 0; k < 4; ++k)
        sheet.line(corner[k], corner[(k + 1) % 4], 4);
    sheet.line(at(-80, 5), at(80, 5), 4);
    return sheet;
}

double angleOf(const Piece &line)
{
    return std::atan2(line.end.y - line.start.y, line.end.x - line.start.x);
}

double farthestFrom(const StrokeDrawing &drawing, double angle)
{
    double farthest = 0;
    for (const Stroke &stroke : drawing.strokes) {
        if (stroke.piece.kind == Kind::Line)
            farthest = std::max(farthest,
                                std::fabs(std::remainder(angleOf(stroke.piece) - angle, kQuarter)));
    }
    return farthest;
}

// Ends that no other stroke has, and that lie on none.
int looseEnds(const StrokeDrawing &drawing)
{
    int loose = 0;
    for (const Stroke &stroke : drawing.strokes) {
        for (Point end : { stroke.piece.start, stroke.piece.end }) {
            bool met = false;
            for (const Stroke &other : drawing.strokes)
                met = met || (&other != &stroke && distanceTo(other.piece, end) < 1e-6);
            loose += met ? 0 : 1;
        }
    }
    return loose;
}

bool isSame(const Piece &a, const Piece &b)
{
    return a.start.x == b.start.x && a.start.y == b.start.y && a.end.x == b.end.x
        && a.end.y == b.end.y && a.centre.x == b.centre.x && a.centre.y == b.centre.y
        && a.radius == b.radius;
}

bool areSame(const StrokeDrawing &a, const StrokeDrawing &b)
{
    return std::equal(a.strokes.begin(), a.strokes.end(), b.strokes.begin(), b.strokes.end(),
                      [](const Stroke &p, const Stroke &q) { return isSame(p.piece, q.piece); });
}

} // namespace

class tst_Snapping : public QObject
{
    Q_OBJECT

private slots:
    void rectanglesAreInOrder_data();
    void rectanglesAreInOrder();
    void whatLeansStays_data();
    void whatLeansStays();
    void jointsAreOfLinesThatMeet();
    void linesThatGoOnAreOne();
    void circlesOfOneSizeAndPlace();
    void circlesThatDifferStay();
    void nothingIsAskedFor();
};

void tst_Snapping::rectanglesAreInOrder_data()
{
    QTest::addColumn<double>("degrees");
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("noise"); // greys, as a scanner has them
    for (double degrees : { 0.0, 17.0, 31.0 }) {
        QTest::addRow("soft, %g degrees", degrees) << degrees << false << 0.0;
        QTest::addRow("one bit, %g degrees", degrees) << degrees << true << 0.0;
        QTest::addRow("noisy, %g degrees", degrees) << degrees << false << 10.0;
    }
}

void tst_Snapping::rectanglesAreInOrder()
{
    QFETCH(double, degrees);
    QFETCH(bool, hard);
    QFETCH(double, noise);
    const double angle = degrees * kQuarter / 90;
    const Sheet sheet = house(angle, 0);
    std::vector<uint8_t> grey = sheet.grey(hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    if (noise > 0) {
        blurred(&grey, sheet.width(), sheet.height(), 0.8);
        uint32_t state = 7;
        for (uint8_t &value : grey) {
            state = state * 1664525u + 1013904223u;
            const double error = noise * (double(state >> 8) / double(1 << 24) - 0.5) * 3;
            value = uint8_t(std::min(255.0, std::max(0.0, value + error)));
        }
    }
    const StrokeDrawing before = strokesOn(grey, sheet.width(), sheet.height(), hard);
    QCOMPARE(before.strokes.size(), std::size_t(5));
    QCOMPARE(looseEnds(before), 0);
    for (const Snap snap : { Snap::Joints, Snap::All }) {
        StrokeDrawing after = before;
        putInOrder(snap, &after);
        // All have one direction, and it is the right one; upright lines are so to the bit.
        const double own = degrees == 0.0 ? 0.0 : angleOf(after.strokes.front().piece);
        QVERIFY2(farthestFrom(after, own) < (degrees == 0.0 ? 1e-300 : 1e-9),
                 listOf(after).c_str());
        QVERIFY(farthestFrom(after, angle) < 0.003);
        QCOMPARE(looseEnds(after), 0);
    }
}

void tst_Snapping::whatLeansStays_data()
{
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("lean");
    QTest::newRow("soft") << false << 2.0;
    QTest::newRow("one bit") << true << 4.0;
}

// One side leans by so many pixels: it stays, all others become upright and end on it.
void tst_Snapping::whatLeansStays()
{
    QFETCH(bool, hard);
    QFETCH(double, lean);
    StrokeDrawing drawing
        = strokesOn(house(0, lean), hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    putInOrder(Snap::All, &drawing);
    int leaning = 0;
    for (const Stroke &stroke : drawing.strokes) {
        const double off = std::fabs(std::remainder(angleOf(stroke.piece), kQuarter));
        if (off > 0)
            ++leaning;
        QVERIFY2(off == 0 || std::fabs(off - lean / 160) < 0.003, listOf(drawing).c_str());
    }
    QCOMPARE(leaning, 1);
    QCOMPARE(looseEnds(drawing), 0);
}

// Two turned crosses apart from each other.
void tst_Snapping::jointsAreOfLinesThatMeet()
{
    Sheet sheet(420, 200);
    const double angle = 0.4;
    for (const Point centre : { Point { 100.3, 100.2 }, Point { 310.75, 99.6 } }) {
        const Point corner = centre + turned({ -70, -40 }, angle);
        sheet.line(corner, centre + turned({ 70, -40 }, angle), 4);
        sheet.line(corner, centre + turned({ -70, 40 }, angle), 4);
    }
    const StrokeDrawing before = strokesOn(sheet, Sheet::Tones::Hard);
    QCOMPARE(before.strokes.size(), std::size_t(4));
    const auto directions = [](const StrokeDrawing &drawing) {
        std::vector<double> found;
        for (const Stroke &stroke : drawing.strokes)
            found.push_back(std::remainder(angleOf(stroke.piece), kQuarter));
        std::sort(found.begin(), found.end());
        found.erase(std::unique(found.begin(), found.end(),
                                [](double a, double b) { return std::fabs(a - b) < 1e-9; }),
                    found.end());
        return found.size();
    };
    QVERIFY(directions(before) > 2);
    StrokeDrawing joints = before;
    putInOrder(Snap::Joints, &joints);
    QCOMPARE(directions(joints), std::size_t(2));
    StrokeDrawing all = before;
    putInOrder(Snap::All, &all);
    QCOMPARE(directions(all), std::size_t(1));
}

// Lines on both sides of a joint lie on one carrier afterwards.
void tst_Snapping::linesThatGoOnAreOne()
{
    StrokeDrawing drawing;
    drawing.sigma = 0.1;
    const Point places[] = { { 10, 20.1 }, { 60, 20.0 }, { 120, 19.95 } };
    for (int k = 0; k < 2; ++k) {
        Stroke stroke;
        stroke.piece = ztrace::fit::linePiece(places[k], places[k + 1]);
        for (int i = 1; i < 50; ++i)
            stroke.samples.push_back(
                { places[k] + (i / 50.0) * (places[k + 1] - places[k]), 3, true });
        drawing.strokes.push_back(stroke);
    }
    putInOrder(Snap::Joints, &drawing);
    const double y = drawing.strokes[0].piece.start.y;
    QVERIFY(std::fabs(y - 20.02) < 0.05);
    for (const Stroke &stroke : drawing.strokes) {
        QCOMPARE(stroke.piece.start.y, y);
        QCOMPARE(stroke.piece.end.y, y);
    }
    QCOMPARE(drawing.strokes[0].piece.end.x, drawing.strokes[1].piece.start.x);
}

void tst_Snapping::circlesOfOneSizeAndPlace()
{
    for (const Sheet::Tones tones : { Sheet::Tones::Soft, Sheet::Tones::Hard }) {
        Sheet sheet(300, 160);
        sheet.arc({ 80.3, 80.4 }, 50, 0, 4 * kQuarter, 4);
        sheet.arc({ 80.3, 80.4 }, 30, 0, 4 * kQuarter, 4);
        sheet.arc({ 220.8, 79.9 }, 50, 0, 4 * kQuarter, 4);
        StrokeDrawing drawing = strokesOn(sheet, tones);
        QCOMPARE(countOf(drawing, Kind::Circle), 3);
        StrokeDrawing joints = drawing;
        putInOrder(Snap::Joints, &joints);
        QVERIFY(areSame(joints, drawing)); // compares no shapes
        putInOrder(Snap::All, &drawing);
        std::vector<Piece> large;
        for (const Stroke &stroke : drawing.strokes) {
            if (stroke.piece.radius > 40)
                large.push_back(stroke.piece);
        }
        QCOMPARE(large.size(), std::size_t(2));
        QCOMPARE(large[0].radius, large[1].radius);
        int atOnePlace = 0;
        for (const Stroke &stroke : drawing.strokes)
            for (const Piece &piece : large)
                atOnePlace += stroke.piece.radius < 40 && piece.centre.x == stroke.piece.centre.x
                    && piece.centre.y == stroke.piece.centre.y;
        QCOMPARE(atOnePlace, 1);
    }
}

void tst_Snapping::circlesThatDifferStay()
{
    Sheet sheet(300, 160);
    sheet.arc({ 80.3, 80.4 }, 50, 0, 4 * kQuarter, 4);
    sheet.arc({ 80.9, 80.4 }, 30, 0, 4 * kQuarter, 4);
    sheet.arc({ 220.8, 79.9 }, 50.6, 0, 4 * kQuarter, 4);
    const StrokeDrawing before = strokesOn(sheet);
    StrokeDrawing after = before;
    putInOrder(Snap::All, &after);
    QVERIFY(areSame(before, after));
}

void tst_Snapping::nothingIsAskedFor()
{
    const StrokeDrawing before = strokesOn(house(0.3, 0), Sheet::Tones::Hard);
    StrokeDrawing after = before;
    putInOrder(Snap::None, &after);
    QVERIFY(areSame(before, after));
    StrokeDrawing none;
    putInOrder(Snap::All, &none);
    QVERIFY(none.strokes.empty());
}

QTEST_APPLESS_MAIN(tst_Snapping)
#include "tst_snapping.moc"
