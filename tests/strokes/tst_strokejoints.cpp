// (c) the ztrace developers. Licence: see LICENSE.
//
// Where lines end, meet and touch: square ends, mitres, tangents, rounds in pieces.
#include "StrokesRig.h"

#include <QtTest>

#include <cmath>

using namespace ztrace::strokes;
using ztrace::fit::ArcShape;
using ztrace::fit::Kind;
using ztrace::fit::Piece;

namespace {

const double kPi = 3.14159265358979323846;

bool isNear(Point a, Point b, double within)
{
    return std::hypot(a.x - b.x, a.y - b.y) < within;
}

const Piece *onlyOf(const StrokeDrawing &drawing, Kind kind)
{
    const Piece *found = nullptr;
    for (const Stroke &stroke : drawing.strokes) {
        if (stroke.piece.kind != kind)
            continue;
        if (found)
            return nullptr;
        found = &stroke.piece;
    }
    return found;
}

// An upright rectangle of lines with mitred corners: ink between two rectangles.
Sheet &frame(Sheet *sheet, Point low, Point high, double width)
{
    const double h = 0.5 * width;
    sheet->polygon({ { low.x - h, low.y - h },
                     { high.x + h, low.y - h },
                     { high.x + h, high.y + h },
                     { low.x - h, high.y + h } });
    return sheet->paper({ low.x + h, low.y + h }, { high.x - h, high.y - h });
}

} // namespace

class tst_StrokeJoints : public QObject
{
    Q_OBJECT

private slots:
    void squareEndsAreTold_data();
    void squareEndsAreTold();
    void roundEndsAreTold_data();
    void roundEndsAreTold();
    void pinsInARowAreOneObservation();
    void aSquareEndHasNoTail();
    void aMitredCornerIsWhereTheLinesMeet();
    void theTipOfAMitreIsNoLine();
    void aCornerThatALineCutsOffIsOne_data();
    void aCornerThatALineCutsOffIsOne();
    void aRoundedCornerThatALineCutsOffStays();
    void sidesOfSquaresAreNoDashes();
    void mullionsInAColumnAreNoDashes();
    void linesOfAScrewMeet_data();
    void linesOfAScrewMeet();
    void anArcEndsWhereItTouchesItsLine();
    void aTurnKeepsItsRadius();
    void theArcOfADoorIsThinner();
    void tipsOfTurnsThatCrossAreWhereTheInkEnds_data();
    void tipsOfTurnsThatCrossAreWhereTheInkEnds();
    void dashesTellNoFormOfEnds_data();
    void dashesTellNoFormOfEnds();
    void tangentsOfOneBitAreTangents();
    void aCutArcIsNoTangent();
    void cornersOfAZigzagAreNoArcs();
    void paperBetweenTwoFramesStays();
    void aCircleThatTouchesALineIsWhole();
    void anOpenArcStaysOpen();
    void wallsEndAtTheirWindows();
    void anEllipseIsOne_data();
    void anEllipseIsOne();
    void anEllipseCrossedByLinesIsOne();
    void aLineEndsOnAnEllipse();
};

void tst_StrokeJoints::squareEndsAreTold_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("blur");
    QTest::addColumn<bool>("hard");
    QTest::newRow("pixels half covered beside the middle") << 4.27 << 40.95 << 0.0 << false;
    QTest::newRow("blurred") << 5.5 << 40.3 << 1.2 << false;
    QTest::newRow("black and white") << 7.0 << 40.5 << 0.0 << true;
    QTest::newRow("blurred, then black and white") << 7.0 << 40.5 << 1.1 << true;
}

void tst_StrokeJoints::squareEndsAreTold()
{
    QFETCH(double, width);
    QFETCH(double, y);
    QFETCH(double, blur);
    QFETCH(bool, hard);
    Sheet sheet(260, 200);
    for (double more : { 0.0, 30.0, 60.0, 90.0, 120.0 })
        sheet.bar({ 30, y + more }, { 230, y + more }, width);
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    blurred(&grey, 260, 200, blur);
    if (hard) {
        for (uint8_t &value : grey)
            value = value < 128 ? 0 : 255;
    }
    const StrokeDrawing drawing = strokesOn(grey, 260, 200, hard);
    QVERIFY(!drawing.roundEnds);
    QVERIFY2(hasLine(drawing, { 30, y }, { 230, y }, 0.7), listOf(drawing).c_str());
}

void tst_StrokeJoints::roundEndsAreTold_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("blur");
    QTest::addColumn<bool>("hard");
    QTest::newRow("greys") << 5.0 << 0.0 << false;
    QTest::newRow("blurred") << 5.5 << 1.2 << false;
    QTest::newRow("black and white") << 6.0 << 0.0 << true;
    QTest::newRow("blurred, then black and white") << 7.0 << 1.1 << true;
}

void tst_StrokeJoints::roundEndsAreTold()
{
    QFETCH(double, width);
    QFETCH(double, blur);
    QFETCH(bool, hard);
    Sheet sheet(260, 160);
    for (double more : { 0.0, 40.0, 80.0 })
        sheet.line({ 30, 38.3 + more }, { 230, 41.7 + more }, width);
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    blurred(&grey, 260, 160, blur);
    if (hard) {
        for (uint8_t &value : grey)
            value = value < 128 ? 0 : 255;
    }
    const StrokeDrawing drawing = strokesOn(grey, 260, 160, hard);
    QVERIFY(drawing.roundEnds);
    QVERIFY2(hasLine(drawing, { 30, 38.3 }, { 230, 41.7 }, 0.8), listOf(drawing).c_str());
}

// The skeleton of a short bar runs into a corner of its end.
// Twelve pins begin in one column, where black and white leaves a round end square; a few ends
// elsewhere are round.
void tst_StrokeJoints::pinsInARowAreOneObservation()
{
    Sheet sheet(420, 300);
    sheet.line({ 200.3, 20.3 }, { 200.3, 280.3 }, 4.8);
    for (int k = 0; k < 12; ++k)
        sheet.line({ 40.94, 30.93 + 20 * k }, { 200.3, 30.93 + 20 * k }, 4.8);
    sheet.line({ 260.4, 50.2 }, { 380.2, 50.2 }, 4.8).line({ 300.7, 90.6 }, { 300.7, 250.8 }, 4.8);
    const StrokeDrawing drawing = strokesOn(sheet, Sheet::Tones::Hard);
    QVERIFY(drawing.roundEnds);
    QVERIFY2(hasLine(drawing, { 40.94, 50.93 }, { 200.3, 50.93 }, 1.2), listOf(drawing).c_str());
}

void tst_StrokeJoints::aSquareEndHasNoTail()
{
    Sheet sheet(200, 120);
    for (double x : { 20.83, 80.61, 140.77 })
        sheet.bar({ x, 36.44 }, { x + 33, 36.44 }, 9.0).bar({ x, 80.44 }, { x + 33, 80.44 }, 9.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 6, listOf(drawing).c_str());
    for (double x : { 20.83, 80.61, 140.77 }) {
        QVERIFY2(hasLine(drawing, { x, 36.44 }, { x + 33, 36.44 }, 0.5), listOf(drawing).c_str());
        QVERIFY2(hasLine(drawing, { x, 80.44 }, { x + 33, 80.44 }, 0.5), listOf(drawing).c_str());
    }
}

// A sharp mitre is seen as two corners of the skeleton: no line may run on into it.
// Zigzags of sharp corners, whose mitres stick out by up to three widths.
void tst_StrokeJoints::theTipOfAMitreIsNoLine()
{
    const double width = 3.0;
    for (Sheet::Tones tones : { Sheet::Tones::Soft, Sheet::Tones::Hard }) {
        for (double step : { 14.0, 17.0, 20.0, 26.0 }) {
            Sheet sheet(300, 160);
            std::vector<Point> corners = { { 20.3, 80.2 } };
            for (int k = 0; k < 8; ++k)
                corners.push_back({ 40.3 + step * k, k % 2 == 0 ? 50.2 : 110.2 });
            corners.push_back({ 60.3 + step * 8, 80.2 });
            for (std::size_t k = 1; k < corners.size(); ++k) {
                sheet.line(corners[k - 1], corners[k], width);
                if (k < 2 || k + 1 >= corners.size() - 1)
                    continue;
                const Point way = corners[k] - corners[k - 1];
                const double sine = step / std::hypot(way.x, way.y); // of half the angle
                const double tip = 0.5 * width / sine;
                const double up = corners[k].y < 80 ? -1.0 : 1.0;
                const double wide = 0.5 * width * std::sqrt(1 - sine * sine);
                const double low = corners[k].y + up * 0.5 * width * sine;
                sheet.polygon({ { corners[k].x, corners[k].y + up * tip },
                                { corners[k].x - wide, low },
                                { corners[k].x + wide, low } });
            }
            const StrokeDrawing drawing = strokesOn(sheet, tones);
            QVERIFY2(drawing.strokes.size() == corners.size() - 1, listOf(drawing).c_str());
        }
    }
}

void tst_StrokeJoints::aMitredCornerIsWhereTheLinesMeet()
{
    const double width = 7.0;
    const double h = 0.5 * width;
    // A square on its corner with a leg to tell square ends by.
    Sheet sheet(260, 260);
    const double far = 80 + h * std::sqrt(2.0);
    const double near = 80 - h * std::sqrt(2.0);
    sheet.polygon(
        { { 130, 130 - far }, { 130 + far, 130 }, { 130, 130 + far }, { 130 - far, 130 } });
    sheet.polygon(
        { { 130, 130 - near }, { 130 + near, 130 }, { 130, 130 + near }, { 130 - near, 130 } },
        false);
    for (double y : { 20.0, 240.0 })
        sheet.bar({ 20, y }, { 90, y }, width).bar({ 170, y }, { 240, y }, width);
    for (Sheet::Tones tones : { Sheet::Tones::Soft, Sheet::Tones::Hard }) {
        const StrokeDrawing drawing = strokesOn(sheet, tones);
        const Point corners[] = { { 130, 50 }, { 210, 130 }, { 130, 210 }, { 50, 130 } };
        for (int k = 0; k < 4; ++k)
            QVERIFY2(hasLine(drawing, corners[k], corners[(k + 1) % 4], 1.0),
                     listOf(drawing).c_str());
    }
}

void tst_StrokeJoints::aCornerThatALineCutsOffIsOne_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("apart");
    QTest::newRow("the hole is three pixels wide") << 8.0 << 19.0;
    QTest::newRow("a thinner outline") << 5.0 << 22.0;
    QTest::newRow("the cut is longer than the outline's side of it") << 6.0 << 24.0;
}

// The first line of a hatch, which leaves a hole in the corner of its outline.
void tst_StrokeJoints::aCornerThatALineCutsOffIsOne()
{
    QFETCH(double, width);
    QFETCH(double, apart);
    Sheet sheet(260, 260);
    sheet.line({ 50, 50.5 }, { 220, 50 }, width).line({ 50, 50.5 }, { 49, 220 }, width);
    for (double way : { apart, apart + 40, apart + 80 })
        sheet.line({ 50 + way, 50.5 }, { 50, 50.5 + way }, 4);
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    blurred(&grey, 260, 260, 1.2);
    const StrokeDrawing drawing = strokesOn(grey, 260, 260);
    QVERIFY2(hasLine(drawing, { 50, 50.5 }, { 220, 50 }, 1.0), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 50, 50.5 }, { 49, 220 }, 1.0), listOf(drawing).c_str());
    QVERIFY2(drawing.strokes.size() == 5, listOf(drawing).c_str());
}

void tst_StrokeJoints::aRoundedCornerThatALineCutsOffStays()
{
    Sheet sheet(260, 260);
    sheet.line({ 70, 50 }, { 220, 50 }, 6).line({ 50, 70 }, { 50, 220 }, 6);
    sheet.arc({ 70, 70 }, 20, kPi, kPi / 2, 6).line({ 90, 50 }, { 50, 90 }, 4);
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    blurred(&grey, 260, 260, 1.2);
    const StrokeDrawing drawing = strokesOn(grey, 260, 260);
    QVERIFY2(countOf(drawing, Kind::Arc) == 1, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 90, 50 }, { 50, 90 }, 2.0), listOf(drawing).c_str());
}

void tst_StrokeJoints::sidesOfSquaresAreNoDashes()
{
    Sheet sheet(400, 100);
    for (int k = 0; k < 6; ++k)
        frame(&sheet, { 30.0 + 60 * k, 30 }, { 60.0 + 60 * k, 66 }, 4.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(countOf(drawing, Kind::Line) == 24, listOf(drawing).c_str());
    for (const Stroke &stroke : drawing.strokes)
        QCOMPARE(int(stroke.dashing.type), int(DashType::None));
}

// A slot: half circles between parallel lines, in greys and in black and white.
// Every part of the row ends on the sides of its own window.
void tst_StrokeJoints::mullionsInAColumnAreNoDashes()
{
    Sheet sheet(220, 420);
    for (double y : { 20.0, 80.0, 140.0, 200.0, 260.0, 320.0, 380.0 }) {
        sheet.line({ 20, y }, { 200, y }, 4).line({ 20, y + 30 }, { 200, y + 30 }, 4);
        for (double x : { 20.0, 110.0, 200.0 })
            sheet.line({ x, y }, { x, y + 30 }, 4);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(int(drawing.strokes.size()), 35);
    QVERIFY2(hasLine(drawing, { 110, 80 }, { 110, 110 }, 0.5), listOf(drawing).c_str());
}

void tst_StrokeJoints::linesOfAScrewMeet_data()
{
    QTest::addColumn<bool>("hard");
    QTest::newRow("greys") << false;
    QTest::newRow("black and white") << true;
}

// Threads: acute corners of three lines, of which one comes around a corner of the skeleton, and
// slanting lines whose widths come in turns by the steps of black and white.
void tst_StrokeJoints::linesOfAScrewMeet()
{
    QFETCH(bool, hard);
    const Point left[] = { { 77.73, 12.87 }, { 77.73, 67.6 }, { 50.37, 94.96 }, { 77.73, 122.32 } };
    const Point right[]
        = { { 241.91, 12.87 }, { 269.27, 40.23 }, { 241.91, 67.6 }, { 241.91, 122.32 } };
    const Point lines[][2]
        = { { left[0], left[1] },   { left[1], left[2] },   { left[2], left[3] },
            { right[0], right[1] }, { right[1], right[2] }, { right[2], right[3] },
            { left[1], right[0] },  { left[2], right[1] },  { left[3], right[2] } };
    Sheet sheet(320, 160);
    for (const Point(&ends)[2] : lines)
        sheet.bar(ends[0], ends[1], 8.98);
    for (const Point &corner : { left[1], left[2], left[3], right[1], right[2] })
        sheet.disc(corner, 4.49);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    for (const Point(&ends)[2] : lines)
        QVERIFY2(hasLine(drawing, ends[0], ends[1], 2.0), listOf(drawing).c_str());
}

void tst_StrokeJoints::anArcEndsWhereItTouchesItsLine()
{
    for (double angle : { 0.0, 0.24, 0.7 }) {
        Sheet sheet(300, 300);
        const Point u = { std::cos(angle), std::sin(angle) };
        const Point v = { -u.y, u.x };
        const Point middle = { 150, 150 };
        const Point a = middle - 70.0 * u;
        const Point b = middle + 70.0 * u;
        sheet.line(a + 25.0 * v, b + 25.0 * v, 4.0).line(a - 25.0 * v, b - 25.0 * v, 4.0);
        sheet.arc(b, 25, angle - kPi / 2, kPi, 4.0).arc(a, 25, angle + kPi / 2, kPi, 4.0);
        const StrokeDrawing drawing = strokesOn(sheet);
        QVERIFY2(drawing.strokes.size() == 4, listOf(drawing).c_str());
        QVERIFY2(hasLine(drawing, a + 25.0 * v, b + 25.0 * v, 1.5), listOf(drawing).c_str());
        QVERIFY2(hasLine(drawing, a - 25.0 * v, b - 25.0 * v, 1.5), listOf(drawing).c_str());
        for (const Stroke &stroke : drawing.strokes) {
            if (stroke.piece.kind == Kind::Arc)
                QVERIFY2(std::fabs(arcShape(stroke.piece).radius - 25) < 0.1,
                         listOf(drawing).c_str());
        }
    }
}

// A turn that is a little less than half a circle meets its lines beside its tangents' feet.
void tst_StrokeJoints::aTurnKeepsItsRadius()
{
    const double half = 1.435; // radians
    const Point c = { 200.3, 100.6 };
    const Point end = { 17.2 * std::cos(half), 17.2 * std::sin(half) };
    const StrokeDrawing drawing
        = strokesOn(Sheet(260, 200)
                        .arc(c, 17.2, -half, 2 * half, 7.2)
                        .line(c + end, { 40.2, c.y + end.y }, 7.2)
                        .line(c + Point { end.x, -end.y }, { 40.2, c.y - end.y }, 7.2));
    QVERIFY2(countOf(drawing, Kind::Arc) == 1, listOf(drawing).c_str());
    for (const Stroke &stroke : drawing.strokes) {
        if (stroke.piece.kind == Kind::Arc)
            QVERIFY2(std::fabs(arcShape(stroke.piece).radius - 17.2) < 0.04,
                     listOf(drawing).c_str());
    }
}

void tst_StrokeJoints::theArcOfADoorIsThinner()
{
    const StrokeDrawing drawing = strokesOn(Sheet(180, 180)
                                                .line({ 30, 150 }, { 150, 150 }, 5.9)
                                                .line({ 30, 150 }, { 30, 30 }, 5.9)
                                                .arc({ 30, 150 }, 120, -kPi / 2, kPi / 2, 3.3));
    QVERIFY2(drawing.strokes.size() == 3 && countOf(drawing, Kind::Arc) == 1,
             listOf(drawing).c_str());
}

void tst_StrokeJoints::tipsOfTurnsThatCrossAreWhereTheInkEnds_data()
{
    linesOfAScrewMeet_data();
}

// Turns that are a little more than half circles cross twice in the ink that they share; it ends
// where they do, and square ends of the lines beside them say nothing of that.
void tst_StrokeJoints::tipsOfTurnsThatCrossAreWhereTheInkEnds()
{
    QFETCH(bool, hard);
    Sheet sheet(320, 560);
    const double more = 0.09;
    for (int k = 0; k < 4; ++k) {
        const double x = 100.3 + 57.2 * std::sin(more);
        sheet.arc({ x, 83.4 + 114 * k }, 57.2, -kPi / 2 - more, kPi + 2 * more, 6.7);
    }
    for (double x : { 220.4, 250.6, 280.8 })
        sheet.bar({ x, 40.2 }, { x, 500.7 }, 6.7);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QCOMPARE(countOf(drawing, Kind::Arc), 4);
    QCOMPARE(countOf(drawing, Kind::Line), 3);
    QVERIFY(!drawing.roundEnds);
    for (const Stroke &stroke : drawing.strokes) {
        if (stroke.piece.kind != Kind::Arc)
            continue;
        for (const Point &end : { stroke.piece.start, stroke.piece.end }) {
            const double tip = std::round((end.y - 26.4) / 114);
            const bool isOuter = tip < 0.5 || tip > 3.5; // round, as the ends of no bar are
            const Point wanted = { 100.3, 26.4 + 114 * tip };
            QVERIFY2(isOuter || std::hypot(end.x - wanted.x, end.y - wanted.y) < 2.0,
                     listOf(drawing).c_str());
        }
    }
}

void tst_StrokeJoints::dashesTellNoFormOfEnds_data()
{
    tipsOfTurnsThatCrossAreWhereTheInkEnds_data();
}

// Dashes are cut square whatever form the ends of whole lines have.
void tst_StrokeJoints::dashesTellNoFormOfEnds()
{
    QFETCH(bool, hard);
    Sheet sheet(500, 260);
    for (int row = 0; row < 4; ++row) {
        for (int k = 0; k < 8; ++k) {
            const double y = 40.3 + 30 * row;
            sheet.bar({ 30.4 + 50 * k, y }, { 60.4 + 50 * k, y }, 6.7);
        }
    }
    sheet.line({ 60.2, 200.4 }, { 400.7, 200.4 }, 6.7).line({ 60.2, 230.4 }, { 400.7, 230.4 }, 6.7);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QVERIFY2(hasLine(drawing, { 60.2, 200.4 }, { 400.7, 200.4 }, 1.0), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 60.2, 230.4 }, { 400.7, 230.4 }, 1.0), listOf(drawing).c_str());
}

// A line that keeps within a row of pixels lies up to half a pixel off and cuts into its arc.
void tst_StrokeJoints::tangentsOfOneBitAreTangents()
{
    for (double off : { 0.05, 0.3, 0.55, 0.8 }) {
        Sheet sheet(420, 300);
        const double y = 60 + off;
        sheet.bar({ 40, y }, { 200, y }, 4.0).bar({ 40, y + 180 }, { 200, y + 180 }, 4.0);
        sheet.arc({ 200, y + 90 }, 90, -kPi / 2, kPi, 4.0);
        const StrokeDrawing drawing = strokesOn(sheet, Sheet::Tones::Hard);
        QVERIFY2(drawing.strokes.size() == 3, listOf(drawing).c_str());
        QVERIFY2(hasLine(drawing, { 40, y }, { 200, y }, 2.0), listOf(drawing).c_str());
        QVERIFY2(hasLine(drawing, { 40, y + 180 }, { 200, y + 180 }, 2.0), listOf(drawing).c_str());
    }
}

// The arc of a spring drawn by hand begins .2 pixels off the tangent: 2.6 pixels farther on.
void tst_StrokeJoints::aCutArcIsNoTangent()
{
    const double radius = 17.0;
    const double half = std::acos((radius - 0.2) / radius);
    Sheet sheet(320, 160);
    const Point centre = { 260, 80 };
    const Point upper = centre + radius * Point { std::sin(half), -std::cos(half) };
    const Point lower = centre + radius * Point { std::sin(half), std::cos(half) };
    sheet.line({ 30, upper.y }, upper, 5.0).line({ 30, lower.y }, lower, 5.0);
    sheet.arc(centre, radius, -kPi / 2 + half, kPi - 2 * half, 5.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(hasLine(drawing, { 30, upper.y }, upper, 1.6), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 30, lower.y }, lower, 1.6), listOf(drawing).c_str());
}

void tst_StrokeJoints::aCircleThatTouchesALineIsWhole()
{
    Sheet sheet(220, 260);
    sheet.line({ 60.5, 20 }, { 60.5, 240 }, 7.0).line({ 116, 130 }, { 200, 130 }, 7.0);
    sheet.arc({ 88, 130 }, 28, 0, 2 * kPi, 7.0);
    for (Sheet::Tones tones : { Sheet::Tones::Soft, Sheet::Tones::Hard }) {
        const StrokeDrawing drawing = strokesOn(sheet, tones);
        const Piece *circle = onlyOf(drawing, Kind::Circle);
        QVERIFY2(circle && isNear(circle->centre, { 88, 130 }, 0.4), listOf(drawing).c_str());
        QVERIFY2(std::fabs(circle->radius - 28) < 0.3, listOf(drawing).c_str());
        QVERIFY2(hasLine(drawing, { 60.5, 20 }, { 60.5, 240 }, 3.6), listOf(drawing).c_str());
    }
}

// Three quarters of a circle whose ends a chord closes: no ink along the rest of the circle.
void tst_StrokeJoints::anOpenArcStaysOpen()
{
    Sheet sheet(200, 200);
    const Point a = { 100 + 60 * std::cos(0.6), 100 - 60 * std::sin(0.6) };
    const Point b = { a.x, 100 + 60 * std::sin(0.6) };
    sheet.arc({ 100, 100 }, 60, 0.6, 2 * kPi - 1.2, 5.0).line(a, b, 5.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(onlyOf(drawing, Kind::Arc), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, a, b, 1.5), listOf(drawing).c_str());
}

void tst_StrokeJoints::anEllipseIsOne_data()
{
    QTest::addColumn<double>("a");
    QTest::addColumn<double>("b");
    QTest::addColumn<double>("angle");
    QTest::addColumn<bool>("hard");
    QTest::newRow("isometric circle") << 90.0 << 52.0 << 0.0 << false;
    QTest::newRow("turned") << 90.0 << 40.0 << 1.05 << false;
    QTest::newRow("long") << 100.0 << 32.0 << 0.2 << false;
    QTest::newRow("black and white") << 90.0 << 52.0 << 0.5 << true;
}

void tst_StrokeJoints::anEllipseIsOne()
{
    QFETCH(double, a);
    QFETCH(double, b);
    QFETCH(double, angle);
    QFETCH(bool, hard);
    Sheet sheet(240, 240);
    sheet.ellipse({ 120, 120 }, a, b, angle, 5.0);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
    const Piece *ellipse = onlyOf(drawing, Kind::Ellipse);
    QVERIFY2(ellipse && isNear(ellipse->centre, { 120, 120 }, 0.2), listOf(drawing).c_str());
    QVERIFY(std::fabs(ellipse->half[0] - a) < 0.4);
    QVERIFY(std::fabs(ellipse->half[1] - b) < 0.4);
    QVERIFY(std::fabs(std::sin(ellipse->angle - angle)) < 0.02);
}

void tst_StrokeJoints::anEllipseCrossedByLinesIsOne()
{
    Sheet sheet(260, 220);
    sheet.ellipse({ 130, 110 }, 96, 56, 0, 4.0);
    sheet.line({ 15, 110 }, { 245, 110 }, 2.5).line({ 130, 30 }, { 130, 190 }, 2.5);
    sheet.line({ 30, 45 }, { 228, 176 }, 2.5);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 4, listOf(drawing).c_str());
    const Piece *ellipse = onlyOf(drawing, Kind::Ellipse);
    QVERIFY2(ellipse && isNear(ellipse->centre, { 130, 110 }, 0.3), listOf(drawing).c_str());
    QVERIFY2(std::fabs(ellipse->half[0] - 96) < 0.4 && std::fabs(ellipse->half[1] - 56) < 0.4,
             listOf(drawing).c_str());
}

// The side of a cylinder.
void tst_StrokeJoints::aLineEndsOnAnEllipse()
{
    Sheet sheet(260, 260);
    sheet.ellipse({ 130, 80 }, 90, 40, 0, 5.0);
    sheet.line({ 130, 120 }, { 130, 240 }, 5.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(onlyOf(drawing, Kind::Ellipse), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 130, 120 }, { 130, 240 }, 0.6), listOf(drawing).c_str());
}

// The thread of a screw in one bit.
void tst_StrokeJoints::cornersOfAZigzagAreNoArcs()
{
    Sheet sheet(120, 400);
    for (int k = 0; k < 9; ++k) {
        const double y = 20 + 38 * k;
        sheet.line({ 40, y }, { 59, y + 19 }, 7).line({ 59, y + 19 }, { 40, y + 38 }, 7);
    }
    const StrokeDrawing drawing = strokesOn(sheet, Sheet::Tones::Hard);
    QVERIFY2(countOf(drawing, Kind::Arc) == 0, listOf(drawing).c_str());
    QVERIFY2(countOf(drawing, Kind::Line) == 18, listOf(drawing).c_str());
}

// Boards on both sides of a window are two lines, and not one with a gap.
void tst_StrokeJoints::paperBetweenTwoFramesStays()
{
    Sheet sheet(340, 200);
    sheet.line({ 20, 100.2 }, { 160, 100.2 }, 5).line({ 170, 100.2 }, { 320, 100.2 }, 5);
    sheet.line({ 160, 20 }, { 160, 180 }, 5).line({ 170, 20 }, { 170, 180 }, 5);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(hasLine(drawing, { 20, 100.2 }, { 160, 100.2 }, 0.6), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 170, 100.2 }, { 320, 100.2 }, 0.6), listOf(drawing).c_str());
}

// The middle one of three panes goes on from the middle of the wall.
void tst_StrokeJoints::wallsEndAtTheirWindows()
{
    Sheet sheet(400, 120);
    sheet.bar({ 20, 60 }, { 130, 60 }, 10).bar({ 260, 60 }, { 380, 60 }, 10);
    for (int y : { 56, 60, 64 })
        sheet.bar({ 125, double(y) }, { 265, double(y) }, 1.5);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 5, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 20, 60 }, { 130, 60 }, 3.0), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 260, 60 }, { 380, 60 }, 3.0), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 130, 60 }, { 260, 60 }, 5.0), listOf(drawing).c_str());
}

QTEST_APPLESS_MAIN(tst_StrokeJoints)
#include "tst_strokejoints.moc"
