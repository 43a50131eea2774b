// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings of known lines: kinds, places, widths, where they meet and end.
#include "StrokesRig.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

const double kThin = 3.0;
const double kThick = 6.0;

bool isNear(Point a, Point b, double within)
{
    return std::hypot(a.x - b.x, a.y - b.y) < within;
}

} // namespace

namespace {

std::size_t solidCells(const StrokeDrawing &drawing)
{
    const std::vector<uint8_t> &cells = drawing.solids.cells;
    return std::size_t(std::count(cells.begin(), cells.end(), uint8_t(1)));
}

} // namespace

class tst_CentreLines : public QObject
{
    Q_OBJECT

private slots:
    void aLineIsOneStroke_data();
    void aLineIsOneStroke();
    void aCircleIsOneStroke_data();
    void aCircleIsOneStroke();
    void anArcKeepsItsEnds();
    void anEndOnALineStopsOnItsMiddle();
    void linesThatCrossGoThrough_data();
    void linesThatCrossGoThrough();
    void aCornerIsWhereTheLinesMeet();
    void aRectangleHasFourLines();
    void aRoundedCornerIsAnArc();
    void smallRoundedCornersAreArcsInBlackAndWhite();
    void arcsBetweenLinesAreFoundInBlackAndWhite();
    void aCircleBrokenByLinesStaysOne();
    void anUnevenEdgeMakesNoStrokes();
    void aShortGapIsBridged();
    void aLongGapIsNot();
    void twoPensAreTold();
    void aSolidDiscIsNoStroke();
    void solidsAloneAreDrawn();
    void aHubOfLinesIsNoSolid_data();
    void aHubOfLinesIsNoSolid();
    void aDotOnAHubStays();
    void dotsOnLinesAreCircles_data();
    void dotsOnLinesAreCircles();
    void cornersAndCrossingsAreNoDots();
    void aThickRingOnALineIsNoDot();
    void oddPicturesGiveSomething_data();
    void oddPicturesGiveSomething();
    void manyShortStrokesAreHardlyDrawn();
    void theContentOfADrawingIsTold();
    void theSamePictureGivesTheSame();
};

void tst_CentreLines::aLineIsOneStroke_data()
{
    QTest::addColumn<double>("degrees");
    QTest::addColumn<double>("width");
    QTest::addColumn<bool>("hard");
    for (double degrees : { 0.0, 1.0, 17.0, 45.0, 71.0, 90.0 }) {
        for (double width : { 2.0, 3.3, 8.0 }) {
            for (bool hard : { false, true })
                QTest::addRow("%g degrees, %g px, %s", degrees, width, hard ? "hard" : "soft")
                    << degrees << width << hard;
        }
    }
}

void tst_CentreLines::aLineIsOneStroke()
{
    QFETCH(double, degrees);
    QFETCH(double, width);
    QFETCH(bool, hard);
    const double angle = degrees * M_PI / 180;
    const Point middle = { 120.3, 120.7 };
    const Point arm = 100.0 * Point { std::cos(angle), std::sin(angle) };
    const StrokeDrawing drawing = strokesOn(Sheet(240, 240).line(middle - arm, middle + arm, width),
                                            hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, middle - arm, middle + arm, hard ? 0.8 : 0.35),
             listOf(drawing).c_str());
    QVERIFY2(std::fabs(drawing.strokes[0].width - width) < (hard ? 0.8 : 0.15),
             listOf(drawing).c_str());
}

void tst_CentreLines::aCircleIsOneStroke_data()
{
    QTest::addColumn<double>("radius");
    QTest::addColumn<bool>("hard");
    for (double radius : { 8.0, 20.0, 90.0 }) {
        for (bool hard : { false, true })
            QTest::addRow("radius %g, %s", radius, hard ? "hard" : "soft") << radius << hard;
    }
}

void tst_CentreLines::aCircleIsOneStroke()
{
    QFETCH(double, radius);
    QFETCH(bool, hard);
    const Point centre = { 120.3, 119.6 };
    const StrokeDrawing drawing = strokesOn(Sheet(240, 240).arc(centre, radius, 0, 2 * M_PI, kThin),
                                            hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
    const ztrace::fit::Piece &piece = drawing.strokes[0].piece;
    QCOMPARE(int(piece.kind), int(Kind::Circle));
    QVERIFY2(isNear(piece.centre, centre, hard ? 0.2 : 0.05), listOf(drawing).c_str());
    QVERIFY2(std::fabs(piece.radius - radius) < (hard ? 0.2 : 0.05), listOf(drawing).c_str());
}

void tst_CentreLines::anArcKeepsItsEnds()
{
    const Point centre = { 100, 100 };
    const StrokeDrawing drawing = strokesOn(Sheet(200, 200).arc(centre, 70, 0.4, 2.0, 4.0));
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
    const ztrace::fit::Piece &piece = drawing.strokes[0].piece;
    QCOMPARE(int(piece.kind), int(Kind::Arc));
    const ztrace::fit::ArcShape arc = ztrace::fit::arcShape(piece);
    QVERIFY2(isNear(arc.centre, centre, 0.15), listOf(drawing).c_str());
    QVERIFY(std::fabs(std::fabs(arc.sweep) - 2.0) < 0.01);
}

void tst_CentreLines::anEndOnALineStopsOnItsMiddle()
{
    const StrokeDrawing drawing = strokesOn(Sheet(240, 160)
                                                .line({ 20, 40.5 }, { 220, 44.5 }, kThick)
                                                .line({ 120, 42.5 }, { 100, 140 }, kThin));
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 20, 40.5 }, { 220, 44.5 }, 0.4), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 120, 42.5 }, { 100, 140 }, 0.4), listOf(drawing).c_str());
}

void tst_CentreLines::linesThatCrossGoThrough_data()
{
    QTest::addColumn<double>("degrees");
    for (double degrees : { 90.0, 60.0, 35.0, 20.0 })
        QTest::addRow("at %g degrees", degrees) << degrees;
}

void tst_CentreLines::linesThatCrossGoThrough()
{
    QFETCH(double, degrees);
    const double half = 0.5 * degrees * M_PI / 180;
    const Point middle = { 150, 150 };
    const Point a = 120.0 * Point { std::cos(0.3 + half), std::sin(0.3 + half) };
    const Point b = 120.0 * Point { std::cos(0.3 - half), std::sin(0.3 - half) };
    const StrokeDrawing drawing = strokesOn(
        Sheet(300, 300).line(middle - a, middle + a, 4.0).line(middle - b, middle + b, 4.0));
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, middle - a, middle + a, 0.4), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, middle - b, middle + b, 0.4), listOf(drawing).c_str());
}

void tst_CentreLines::aCornerIsWhereTheLinesMeet()
{
    const Point corner = { 50.3, 60.8 };
    const StrokeDrawing drawing
        = strokesOn(Sheet(240, 200).line(corner, { 220, 70 }, 5.0).line(corner, { 90, 180 }, 5.0));
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, corner, { 220, 70 }, 0.3), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, corner, { 90, 180 }, 0.3), listOf(drawing).c_str());
}

void tst_CentreLines::aRectangleHasFourLines()
{
    Sheet sheet(300, 200);
    sheet.line({ 30, 30 }, { 260, 30 }, 4).line({ 260, 30 }, { 260, 170 }, 4);
    sheet.line({ 260, 170 }, { 30, 170 }, 4).line({ 30, 170 }, { 30, 30 }, 4);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 4, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 30, 30 }, { 260, 30 }, 0.2), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 30, 170 }, { 30, 30 }, 0.2), listOf(drawing).c_str());
}

void tst_CentreLines::aRoundedCornerIsAnArc()
{
    Sheet sheet(240, 240);
    sheet.line({ 30, 40 }, { 150, 40 }, 4).arc({ 150, 70 }, 30, -M_PI / 2, M_PI / 2, 4);
    sheet.line({ 180, 70 }, { 180, 210 }, 4);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 3, listOf(drawing).c_str());
    QCOMPARE(countOf(drawing, Kind::Arc), 1);
    for (const Stroke &stroke : drawing.strokes) {
        if (stroke.piece.kind != Kind::Arc)
            continue;
        const ztrace::fit::ArcShape arc = ztrace::fit::arcShape(stroke.piece);
        QVERIFY2(std::fabs(arc.radius - 30) < 0.5, listOf(drawing).c_str());
        QVERIFY2(isNear(arc.centre, { 150, 70 }, 0.5), listOf(drawing).c_str());
    }
}

// Of one to three widths, at many angles: the window that tells corners is longer than the arc.
void tst_CentreLines::smallRoundedCornersAreArcsInBlackAndWhite()
{
    int right = 0;
    std::string lists;
    for (int k = 0; k < 24; ++k) {
        const double radius = 5 + 0.5 * (k % 12);
        const double turn = 0.13 * k;
        const Point along = { std::cos(turn), std::sin(turn) };
        const Point across = { -along.y, along.x };
        const Point centre = { 120.3, 119.6 };
        const Point first = centre - radius * across;
        const Point last = centre + radius * along;
        Sheet sheet(240, 240);
        sheet.line(first - 70 * along, first, 5).line(last, last + 70 * across, 5);
        sheet.arc(centre, radius, turn - M_PI / 2, M_PI / 2, 5);
        const StrokeDrawing drawing = strokesOn(sheet, Sheet::Tones::Hard);
        right += countOf(drawing, Kind::Arc) == 1 && drawing.strokes.size() == 3 ? 1 : 0;
        lists += listOf(drawing);
    }
    QVERIFY2(right >= 15, lists.c_str());
}

// Springs and slots: arcs of half a turn, of many radii and directions, between two lines.
void tst_CentreLines::arcsBetweenLinesAreFoundInBlackAndWhite()
{
    int right = 0;
    std::string lists;
    for (int k = 0; k < 24; ++k) {
        const double radius = 8 + 1.3 * k;
        const double turn = 0.26 * k;
        const Point along = { std::cos(turn), std::sin(turn) };
        const Point across = { -along.y, along.x };
        const Point centre = { 200.3, 200.6 };
        Sheet sheet(400, 400);
        sheet.arc(centre, radius, turn - M_PI / 2, M_PI, 5);
        for (const double side : { -radius, radius })
            sheet.line(centre + side * across, centre + side * across - 120 * along, 5);
        const StrokeDrawing drawing = strokesOn(sheet, Sheet::Tones::Hard);
        bool found = false;
        for (const Stroke &stroke : drawing.strokes) {
            found = found
                || (stroke.piece.kind == Kind::Arc
                    && isNear(ztrace::fit::arcShape(stroke.piece).centre, centre, 0.7)
                    && std::fabs(std::fabs(ztrace::fit::dot(stroke.piece.end - stroke.piece.start,
                                                            across))
                                 - 2 * radius)
                        < 1.0
                    && std::fabs(ztrace::fit::dot(stroke.piece.end - centre, along)) < 2
                    && std::fabs(ztrace::fit::dot(stroke.piece.start - centre, along)) < 2);
        }
        right += found && drawing.strokes.size() == 3;
        if (!found || drawing.strokes.size() != 3)
            lists += std::to_string(k) + ":\n" + listOf(drawing);
    }
    QVERIFY2(right >= 23, lists.c_str());
}

void tst_CentreLines::aCircleBrokenByLinesStaysOne()
{
    const Point centre = { 150, 150 };
    Sheet sheet(300, 300);
    sheet.arc(centre, 100, 0, 2 * M_PI, 4);
    for (int k = 0; k < 5; ++k) {
        const double angle = 0.2 + k * M_PI / 5;
        const Point arm = 130.0 * Point { std::cos(angle), std::sin(angle) };
        sheet.line(centre - arm, centre + arm, 3);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(countOf(drawing, Kind::Circle) == 1, listOf(drawing).c_str());
    QVERIFY2(countOf(drawing, Kind::Line) == 5, listOf(drawing).c_str());
    QVERIFY2(drawing.strokes.size() == 6, listOf(drawing).c_str());
}

void tst_CentreLines::anUnevenEdgeMakesNoStrokes()
{
    // Every ninth pixel along both edges a step of one pixel.
    Sheet sheet(300, 80);
    sheet.line({ 20, 40 }, { 280, 40 }, 7);
    for (int x = 25; x < 275; x += 9) {
        sheet.disc({ x + 0.5, 36.5 }, 1.2);
        sheet.disc({ x + 4.5, 43.5 }, 1.2);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
}

void tst_CentreLines::aShortGapIsBridged()
{
    Sheet sheet(300, 120);
    sheet.line({ 20, 40 }, { 280, 90 }, 4).paper({ 150, 0 }, { 153, 119 });
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 20, 40 }, { 280, 90 }, 0.4), listOf(drawing).c_str());
}

void tst_CentreLines::aLongGapIsNot()
{
    Sheet sheet(300, 120);
    sheet.line({ 20, 40 }, { 280, 90 }, 4).paper({ 140, 0 }, { 160, 119 });
    QCOMPARE(strokesOn(sheet).strokes.size(), std::size_t(2));
}

void tst_CentreLines::twoPensAreTold()
{
    Sheet sheet(300, 300);
    for (int k = 0; k < 4; ++k) {
        sheet.line({ 30, 30.0 + 25 * k }, { 270, 40.0 + 25 * k }, 2.5);
        sheet.line({ 30, 160.0 + 25 * k }, { 270, 150.0 + 25 * k }, 5.0);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(drawing.pens.size(), std::size_t(2));
    QVERIFY(std::fabs(drawing.pens[0] - 2.5) < 0.2);
    QVERIFY(std::fabs(drawing.pens[1] - 5.0) < 0.2);
    for (const Stroke &stroke : drawing.strokes)
        QCOMPARE(stroke.pen, stroke.piece.start.y > 140 ? 1 : 0);
}

void tst_CentreLines::aSolidDiscIsNoStroke()
{
    Sheet sheet(300, 200);
    sheet.line({ 20, 100 }, { 280, 100 }, 4).line({ 150, 20 }, { 150, 180 }, 4);
    sheet.disc({ 150, 100 }, 25);
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(drawing.strokes.size(), std::size_t(2));
    QCOMPARE(drawing.dots.size(), std::size_t(1));
    QVERIFY(std::fabs(drawing.dots[0].radius - 25) < 0.1);
    QCOMPARE(std::count(drawing.solids.cells.begin(), drawing.solids.cells.end(), 1),
             std::ptrdiff_t(0));
}

// Where no pen is told a square and a disc are solid, and a speck is nothing.
void tst_CentreLines::solidsAloneAreDrawn()
{
    Sheet sheet(200, 100);
    sheet.polygon({ { 20, 20 }, { 27, 20 }, { 27, 27 }, { 20, 27 } });
    sheet.disc({ 120, 50 }, 30);
    sheet.disc({ 180, 20 }, 1.5);
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(int(drawing.strokes.size()), 0);
    QVERIFY(!drawing.solids.cells.empty());
    QCOMPARE(int(drawing.solids.cells[drawing.solids.cellOf(20, 20)]), 1);
    QCOMPARE(int(drawing.solids.cells[drawing.solids.cellOf(120, 25)]), 1);
    QCOMPARE(int(drawing.solids.cells[drawing.solids.cellOf(180, 20)]), 0);
}

namespace {

// Six lines through one place.
Sheet hub(Point middle)
{
    Sheet sheet(320, 320);
    for (int k = 0; k < 6; ++k) {
        const double angle = k * 3.14159265358979 / 6;
        const Point out = 140.0 * Point { std::cos(angle), std::sin(angle) };
        sheet.line(middle - out, middle + out, 3.3);
    }
    return sheet;
}

} // namespace

void tst_CentreLines::aHubOfLinesIsNoSolid_data()
{
    QTest::addColumn<bool>("hard");
    QTest::newRow("greys") << false;
    QTest::newRow("one bit") << true;
}

// A disc wider than any pen fits into the ink there, and the lines are all that was drawn.
void tst_CentreLines::aHubOfLinesIsNoSolid()
{
    QFETCH(bool, hard);
    const StrokeDrawing drawing
        = strokesOn(hub({ 160.2, 160.4 }), hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QCOMPARE(solidCells(drawing), std::size_t(0));
    QVERIFY2(drawing.strokes.size() == 6, listOf(drawing).c_str());
}

void tst_CentreLines::aDotOnAHubStays()
{
    Sheet sheet = hub({ 160.2, 160.4 });
    sheet.disc({ 160.2, 160.4 }, 13);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(solidCells(drawing) > 400, qPrintable(QString::number(solidCells(drawing))));
}

void tst_CentreLines::dotsOnLinesAreCircles_data()
{
    QTest::addColumn<double>("radius");
    QTest::addColumn<bool>("crossed");
    QTest::addColumn<bool>("hard");
    for (double radius : { 4.0, 5.5, 6.0, 8.0, 14.0 }) {
        for (bool crossed : { false, true }) {
            if (crossed && radius < 5) // as good as covered by its lines
                continue;
            for (bool hard : { false, true })
                QTest::addRow("%g px, %s, %s", radius, crossed ? "crossing" : "line",
                              hard ? "hard" : "soft")
                    << radius << crossed << hard;
        }
    }
}

// The connections of a circuit stay, small or large, and so many of them are no pen: the lines run
// through, and each dot is the circle that it was drawn as.
void tst_CentreLines::dotsOnLinesAreCircles()
{
    QFETCH(double, radius);
    QFETCH(bool, crossed);
    QFETCH(bool, hard);
    Sheet sheet(500, 300);
    std::vector<Point> places;
    for (int row = 0; row < 2; ++row) {
        const double y = 80.3 + 130 * row;
        sheet.line({ 20, y }, { 480, y }, 2.6);
        for (int k = 0; k < 5; ++k) {
            const double x = 70.4 + 90.15 * k;
            if (crossed)
                sheet.line({ x, y - 50 }, { x, y + 50 }, 2.6);
            places.push_back({ x, y });
        }
    }
    for (const Point &place : places)
        sheet.disc(place, radius);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QCOMPARE(drawing.strokes.size(), std::size_t(crossed ? 12 : 2));
    QCOMPARE(drawing.dots.size(), places.size());
    QCOMPARE(solidCells(drawing), std::size_t(0));
    const double off = hard ? 0.35 : 0.12;
    for (const Point &place : places) {
        const bool isThere
            = std::any_of(drawing.dots.begin(), drawing.dots.end(), [&](const LineDot &dot) {
                  return std::hypot(dot.centre.x - place.x, dot.centre.y - place.y) < off
                      && std::fabs(dot.radius - radius) < off;
              });
        QVERIFY2(isThere, qPrintable(QString("%1, %2").arg(place.x).arg(place.y)));
    }
}

// Nothing is left of them that no line covers.
void tst_CentreLines::cornersAndCrossingsAreNoDots()
{
    for (bool hard : { false, true }) {
        Sheet sheet(500, 300);
        for (int k = 0; k < 8; ++k) {
            const double x = 40.3 + 55 * k;
            const double rise = 5.0 * k;
            sheet.line({ x, 60 }, { x + 40, 60 + rise }, 4)
                .line({ x, 60 }, { x + 40, 60 - rise }, 4);
            sheet.line({ x - 20, 200 }, { x + 20, 200 + rise }, 3);
            sheet.line({ x - 20, 200 + rise }, { x + 20, 200 }, 5);
        }
        QCOMPARE(strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft).dots.size(),
                 std::size_t(0));
    }
}

// Its hole stays.
void tst_CentreLines::aThickRingOnALineIsNoDot()
{
    for (bool hard : { false, true }) {
        Sheet sheet(500, 200);
        const Point centre = { 200.3, 100.2 };
        sheet.line({ 20, 100.2 }, { 190, 100.2 }, 2.6).line({ 210, 100.2 }, { 480, 100.2 }, 2.6);
        sheet.arc(centre, 9.5, 0, 2 * M_PI, 15); // a hole of 4 px
        const StrokeDrawing drawing
            = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
        QCOMPARE(drawing.dots.size(), std::size_t(0));
        QVERIFY(solidCells(drawing) > 600);
        QCOMPARE(int(drawing.solids.cells[drawing.solids.cellOf(200, 100)]), 0);
    }
}

void tst_CentreLines::oddPicturesGiveSomething_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("pattern");
    const char *const names[] = { "paper", "ink", "checkerboard", "noise", "lines of one pixel" };
    for (int pattern = 0; pattern < 5; ++pattern) {
        for (int side : { 1, 2, 3, 50 }) {
            QTest::addRow("%s, %d x 50", names[pattern], side) << side << 50 << pattern;
            QTest::addRow("%s, 50 x %d", names[pattern], side) << 50 << side << pattern;
        }
    }
}

void tst_CentreLines::oddPicturesGiveSomething()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, pattern);
    std::vector<uint8_t> grey;
    unsigned state = 1;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            state = state * 1664525u + 1013904223u;
            const int values[]
                = { 255, 0, (x + y) % 2 ? 0 : 255, int(state >> 24), y % 4 == 0 ? 0 : 255 };
            grey.push_back(uint8_t(values[pattern]));
        }
    }
    const StrokeDrawing drawing = strokesOn(grey, width, height, pattern != 3);
    for (const Stroke &stroke : drawing.strokes) {
        const ztrace::fit::Piece &p = stroke.piece;
        QVERIFY(std::isfinite(p.start.x + p.start.y + p.end.x + p.end.y + p.bulge + p.radius
                              + stroke.width));
        QVERIFY(stroke.pen >= 0 && std::size_t(stroke.pen) < drawing.pens.size());
    }
    if (pattern == 0)
        QVERIFY(drawing.strokes.empty());
}

// Many short strokes are no drawing; few, long ones, lettering and hatches are.
void tst_CentreLines::manyShortStrokesAreHardlyDrawn()
{
    const auto drawn = [](std::size_t count, double length, Role role) {
        StrokeDrawing drawing;
        Stroke stroke;
        stroke.piece = ztrace::fit::linePiece({ 0, 0 }, { length, 0 });
        stroke.width = 3.0;
        stroke.role = role;
        drawing.strokes.assign(count, stroke);
        return drawing;
    };
    QVERIFY(isHardlyDrawn(drawn(kManyStrokes, 10, Role::Line), 0));
    QVERIFY(!isHardlyDrawn(drawn(kManyStrokes - 1, 10, Role::Line), 0));
    QVERIFY(!isHardlyDrawn(drawn(kManyStrokes, 20, Role::Line), 0));
    QVERIFY(!isHardlyDrawn(drawn(kManyStrokes, 10, Role::Text), 0));
    QVERIFY(!isHardlyDrawn(drawn(kManyStrokes, 10, Role::Hatch), 0));
    QVERIFY(isHardlyDrawn(drawn(0, 10, Role::Line), kManyStrokes));
    QVERIFY(!isHardlyDrawn(drawn(kManyStrokes, 20, Role::Line), kManyStrokes));
}

void tst_CentreLines::theContentOfADrawingIsTold()
{
    const auto drawn = [](std::size_t lines, std::size_t letters, double inkPart) {
        StrokeDrawing drawing;
        Stroke stroke;
        stroke.piece = ztrace::fit::linePiece({ 0, 0 }, { 40, 0 });
        stroke.width = 3.0;
        drawing.strokes.assign(lines, stroke);
        stroke.role = Role::Text;
        drawing.strokes.insert(drawing.strokes.end(), letters, stroke);
        drawing.inkPixels = std::size_t(120.0 * double(lines + letters) / inkPart);
        return drawing;
    };
    QCOMPARE(int(contentOf(drawn(10, 0, 0.9))), int(Content::Lines));
    QCOMPARE(int(contentOf(drawn(10, 0, 0.5))), int(Content::FewLines));
    QCOMPARE(int(contentOf(drawn(kFewStrokes, 0, 0.5))), int(Content::Lines));
    QCOMPARE(int(contentOf(drawn(kFewStrokes, 0, 0.2))), int(Content::FewLines));
    QCOMPARE(int(contentOf(drawn(100, kManyLetters, 0.9))), int(Content::Lettering));
    QCOMPARE(int(contentOf(drawn(100, kManyLetters, 0.1))), int(Content::Lettering));
    QCOMPARE(int(contentOf(drawn(400, kManyLetters, 0.9))), int(Content::Lines));
    QCOMPARE(int(contentOf(drawn(50, kManyLetters - 1, 0.9))), int(Content::Lines));
    QCOMPARE(int(contentOf(StrokeDrawing())), int(Content::Lines));
}

void tst_CentreLines::theSamePictureGivesTheSame()
{
    Sheet sheet(200, 200);
    for (int k = 0; k < 7; ++k)
        sheet.line({ 20, 20.0 + 25 * k }, { 180, 100 }, 3)
            .line({ 100, 20 }, { 20.0 + 25 * k, 180 }, 3);
    QCOMPARE(listOf(strokesOn(sheet)), listOf(strokesOn(sheet)));
}

QTEST_APPLESS_MAIN(tst_CentreLines)
#include "tst_centrelines.moc"
