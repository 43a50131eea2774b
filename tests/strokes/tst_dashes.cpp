// (c) the ztrace developers. Licence: see LICENSE.
//
// Rows of dashes: which are one line, of what type, and where it ends.
#include "StrokesRig.h"
#include "strokes/worntypes.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

const double kTurn = 2 * 3.14159265358979323846;

typedef std::vector<double> Lengths;

double sumOf(const Lengths &pattern)
{
    double sum = 0.0;
    for (double length : pattern)
        sum += length;
    return sum;
}

std::vector<Run> runsOf(const Lengths &pattern, int periods, bool withLast = true)
{
    std::vector<Run> runs;
    double at = 0.0;
    for (int k = 0; k < periods; ++k) {
        for (std::size_t i = 0; i < pattern.size(); i += 2) {
            runs.push_back({ at, at + pattern[i] });
            at += pattern[i] + pattern[i + 1];
        }
    }
    if (withLast)
        runs.push_back({ at, at + pattern[0] });
    return runs;
}

// Dashes with square ends from a place on; returns where the last one ends.
Point drawDashes(Sheet *sheet, Point from, double radians, const Lengths &pattern, int periods,
                 double width)
{
    const Point u = { std::cos(radians), std::sin(radians) };
    double last = 0.0;
    for (const Run &run : runsOf(pattern, periods)) {
        // The rig's ends are round: the dash is as long with them.
        const double half = std::min(0.5 * width, 0.499 * run.length());
        sheet->line(from + (run.from + half) * u, from + (run.to - half) * u, width);
        last = run.to;
    }
    return from + last * u;
}

int dashedOf(const StrokeDrawing &drawing)
{
    int count = 0;
    for (const Stroke &stroke : drawing.strokes)
        count += stroke.dashing.type == DashType::None ? 0 : 1;
    return count;
}

} // namespace

class tst_Dashes : public QObject
{
    Q_OBJECT

private slots:
    void runsTellTheType_data();
    void runsTellTheType();
    void aPatternEndsWithTheLastDash();
    void aDotMayLieInAnotherLine();
    void withoutOrderThereIsNoType_data();
    void withoutOrderThereIsNoType();
    void dashesAreOneLine_data();
    void dashesAreOneLine();
    void aCircleOfDashesIsACircle();
    void aCrossedCircleOfDashesIsACircle();
    void thePitchCircleOfAGearIsOne();
    void sidesOfRoundedBoxesAreNoRow();
    void lostDotsLeaveARow();
    void brokenAnywhereIsNoRow();
    void aDashBehindACrossingIsPassed();
    void dashesKeepTheirCorner();
    void aDotAtACornerIsOfBothRows();
    void aBrokenLineStaysALine();
    void specksAreNoLine();
    void parallelsAreNoDashes();
    void rowsThatCrossAreWhole_data();
    void rowsThatCrossAreWhole();
    void aWholeLineBetweenDotsStaysWhole();
    void aScreenOfDotsIsNoRow();
    void closeRowsOfAScaleAreLines();
    void twoRowsOfPadsAreNoLines();
    void aRowGoesOnBehindACrossedGap();
    void aRowHasDotsInItsGaps();
    void aCircleInTheGapsOfACentreLine();
    void scalesOfDotsThatCrossAreLines();
};

Q_DECLARE_METATYPE(DashType)

void tst_Dashes::runsTellTheType_data()
{
    QTest::addColumn<Lengths>("pattern");
    QTest::addColumn<int>("type");
    QTest::newRow("even dashes are hidden") << Lengths { 36, 9 } << int(DashType::Hidden);
    QTest::newRow("short dashes are hidden") << Lengths { 9, 9 } << int(DashType::Hidden);
    QTest::newRow("dots") << Lengths { 3, 9 } << int(DashType::Dot);
    QTest::newRow("long and short is centre") << Lengths { 72, 9, 3, 9 } << int(DashType::Center);
    QTest::newRow("close ones too") << Lengths { 19, 2.4, 2.4, 2.4 } << int(DashType::Center);
    QTest::newRow("two short ones is phantom")
        << Lengths { 72, 9, 3, 9, 3, 9 } << int(DashType::Phantom);
}

void tst_Dashes::runsTellTheType()
{
    QFETCH(Lengths, pattern);
    QFETCH(int, type);
    const Dashing dashing = dashingOf(runsOf(pattern, 8), 3.0, 0.0);
    QCOMPARE(int(dashing.type), type);
    QCOMPARE(dashing.pattern.size(), pattern.size());
    for (std::size_t k = 0; k < pattern.size(); ++k)
        QVERIFY(std::fabs(dashing.pattern[k] - pattern[k]) < 1e-6);
    const double whole = 8 * sumOf(pattern);
    QCOMPARE(int(dashingOf(runsOf(pattern, 8, false), 3.0, whole).type), type);
}

// Gaps are even only where their dots are lost.
void tst_Dashes::lostDotsLeaveARow()
{
    std::vector<Run> runs;
    for (int k = 0; k < 7; ++k) {
        runs.push_back({ 66.0 * k + (k % 3), 66.0 * k + 44 - (k % 2) });
        if (k % 2 == 0 && k < 6)
            runs.push_back({ 66.0 * k + 54, 66.0 * k + 56 });
    }
    QCOMPARE(int(dashingOf(runs, 3.0, 0.0).type), int(DashType::None));
    const Dashing dashing = wornDashingOf(runs, 3.0);
    QCOMPARE(int(dashing.type), int(DashType::Center));
    QVERIFY(std::fabs(sumOf(dashing.pattern) - 66) < 2);
    runs.erase(
        std::remove_if(runs.begin(), runs.end(), [](const Run &r) { return r.length() < 9; }),
        runs.end());
    QCOMPARE(int(wornDashingOf(runs, 3.0).type), int(DashType::Hidden));
    runs.resize(3);
    QCOMPARE(int(wornDashingOf(runs, 3.0).type), int(DashType::None));
}

void tst_Dashes::brokenAnywhereIsNoRow()
{
    const std::vector<Run> runs
        = { { 0, 50 }, { 58, 77 }, { 90, 170 }, { 175, 204 }, { 221, 270 }, { 280, 301 } };
    QCOMPARE(int(wornDashingOf(runs, 3.0).type), int(DashType::None));
}

void tst_Dashes::aPatternEndsWithTheLastDash()
{
    std::vector<Run> runs = runsOf({ 30, 8 }, 6);
    for (Run &run : runs) {
        run.from *= 1.01;
        run.to *= 1.01;
    }
    runs[2].to += 0.7;
    const Dashing dashing = dashingOf(runs, 3.0, 0.0);
    QCOMPARE(int(dashing.type), int(DashType::Hidden));
    QVERIFY(std::fabs(6 * sumOf(dashing.pattern) + dashing.pattern[0] - runs.back().to) < 1e-6);
}

// Centre lines of a small circle, on which their outer dots lie.
void tst_Dashes::aDotMayLieInAnotherLine()
{
    const double lengths[] = { 27.5, 2.5, 22, 2.5, 3, 2.5, 22, 2.5, 27.5 };
    std::vector<Run> runs;
    double at = 0.0;
    for (int k = 0; k < 9; ++k) {
        if (k % 2 == 0)
            runs.push_back({ at, at + lengths[k] });
        at += lengths[k];
    }
    const Dashing dashing = dashingOf(runs, 3.0, 0.0);
    QCOMPARE(int(dashing.type), int(DashType::Center));
    QVERIFY(std::fabs(dashing.pattern[0] - 22) < 0.5);
    // A dash that is longer by any other length hides none.
    std::vector<Run> uneven = runs;
    uneven.front().from -= 9.0;
    uneven.back().to += 9.0;
    QCOMPARE(int(dashingOf(uneven, 3.0, 0.0).type), int(DashType::None));
}

void tst_Dashes::withoutOrderThereIsNoType_data()
{
    QTest::addColumn<std::vector<double>>("dashes");
    QTest::addColumn<std::vector<double>>("gaps");
    QTest::newRow("three dashes") << Lengths { 20, 20, 20 } << Lengths { 6, 6 };
    QTest::newRow("breaks of a pen") << Lengths { 90, 41, 160, 12, 70 } << Lengths { 3, 6, 4, 5 };
    QTest::newRow("gaps of all lengths")
        << Lengths { 20, 20, 20, 20, 20 } << Lengths { 4, 15, 30, 9 };
    QTest::newRow("longer gaps than dashes")
        << Lengths { 9, 9, 9, 9, 9 } << Lengths { 20, 20, 20, 20 };
    QTest::newRow("four dots") << Lengths { 3, 3, 3, 3 } << Lengths { 9, 9, 9 };
}

void tst_Dashes::withoutOrderThereIsNoType()
{
    QFETCH(std::vector<double>, dashes);
    QFETCH(std::vector<double>, gaps);
    std::vector<Run> runs;
    double at = 0.0;
    for (std::size_t k = 0; k < dashes.size(); ++k) {
        runs.push_back({ at, at + dashes[k] });
        at += dashes[k] + (k < gaps.size() ? gaps[k] : 0.0);
    }
    QCOMPARE(int(dashingOf(runs, 3.0, 0.0).type), int(DashType::None));
}

void tst_Dashes::dashesAreOneLine_data()
{
    QTest::addColumn<Lengths>("pattern");
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("degrees");
    QTest::addColumn<bool>("hard");
    for (double degrees : { 0.0, 33.0, 90.0 }) {
        for (bool hard : { false, true }) {
            const char *tone = hard ? "hard" : "soft";
            QTest::addRow("hidden, %g degrees, %s", degrees, tone)
                << Lengths { 24, 9 } << int(DashType::Hidden) << degrees << hard;
            QTest::addRow("centre, %g degrees, %s", degrees, tone)
                << Lengths { 48, 9, 3, 9 } << int(DashType::Center) << degrees << hard;
            QTest::addRow("phantom, %g degrees, %s", degrees, tone)
                << Lengths { 48, 9, 3, 9, 3, 9 } << int(DashType::Phantom) << degrees << hard;
            QTest::addRow("dots, %g degrees, %s", degrees, tone)
                << Lengths { 3, 9, 3, 9, 3, 9 } << int(DashType::Dot) << degrees << hard;
        }
    }
}

void tst_Dashes::dashesAreOneLine()
{
    QFETCH(Lengths, pattern);
    QFETCH(int, type);
    QFETCH(double, degrees);
    QFETCH(bool, hard);
    Sheet sheet(420, 420);
    const Point from = { 30.3, 30.4 };
    const Point to = drawDashes(&sheet, from, degrees * kTurn / 360, pattern, 4, 3.0);
    sheet.line({ 300, 390 }, { 400, 370 }, 3.0); // a pen: what has none is solid
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QCOMPARE(int(drawing.strokes.back().dashing.type), type);
    QVERIFY2(hasLine(drawing, from, to, 1.0), listOf(drawing).c_str());
}

void tst_Dashes::aCircleOfDashesIsACircle()
{
    Sheet sheet(300, 300);
    const Point centre = { 150.2, 149.7 };
    for (int k = 0; k < 20; ++k)
        sheet.arc(centre, 100, k * kTurn / 20, 0.7 * kTurn / 20, 4.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
    const Stroke &circle = drawing.strokes[0];
    QCOMPARE(int(circle.piece.kind), int(Kind::Circle));
    QCOMPARE(int(circle.dashing.type), int(DashType::Hidden));
    QVERIFY(std::fabs(circle.piece.radius - 100) < 0.2);
    QVERIFY(std::fabs(circle.piece.centre.x - centre.x) < 0.2);
    QVERIFY(std::fabs(circle.piece.centre.y - centre.y) < 0.2);
    QVERIFY(std::fabs(20 * sumOf(circle.dashing.pattern) - kTurn * 100) < 3.0);
}

// The short dash of a centre line, and one dash, lie on lines that cross it.
// The dash that the line crosses is in pieces and none of the row.
void tst_Dashes::aCrossedCircleOfDashesIsACircle()
{
    Sheet sheet(420, 420);
    for (int k = 0; k < 16; ++k)
        sheet.arc({ 210, 210 }, 150, kTurn * (k - 0.4) / 16, 0.8 * kTurn / 16, 4);
    sheet.line({ 20, 210 }, { 400, 210 }, 2);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(countOf(drawing, Kind::Circle) == 1, listOf(drawing).c_str());
    QVERIFY2(countOf(drawing, Kind::Arc) == 0, listOf(drawing).c_str());
}

// Its teeth cross some of the dashes and run along others.
void tst_Dashes::thePitchCircleOfAGearIsOne()
{
    for (const double first : { 0.0, 0.03, 0.06 }) {
        Sheet sheet(440, 440);
        const Point centre = { 220, 220 };
        const auto onCircle = [&](double angle) {
            return Point { centre.x + 165 * std::cos(angle), centre.y + 165 * std::sin(angle) };
        };
        for (double at = 0.0; at < kTurn * 165; at += 16) // chords of 10 px, .08 off
            sheet.line(onCircle(first + at / 165), onCircle(first + (at + 10) / 165), 1.5);
        for (const Point way : { Point { 1, 0 }, Point { 0, 1 } }) {
            for (double at = -210; at < 210; at += 40) {
                sheet.line(centre + at * way, centre + std::min(at + 24, 210.0) * way, 1.5);
                sheet.line(centre + (at + 30) * way, centre + (at + 34) * way, 1.5);
            }
        }
        sheet.arc(centre, 120, 0, kTurn, 2.0).arc(centre, 40, 0, kTurn, 3.0);
        std::vector<Point> corners;
        for (int k = 0; k < 18; ++k) {
            for (const Point way : { Point { -0.09, 150 }, Point { -0.05, 180 },
                                     Point { 0.05, 180 }, Point { 0.09, 150 } }) {
                const double angle = k * kTurn / 18 + way.x;
                corners.push_back(
                    { centre.x + way.y * std::cos(angle), centre.y + way.y * std::sin(angle) });
            }
        }
        for (std::size_t k = 0; k < corners.size(); ++k)
            sheet.line(corners[k], corners[(k + 1) % corners.size()], 3.0);
        const StrokeDrawing drawing = strokesOn(sheet);
        int circles = 0;
        int rows = 0;
        for (const Stroke &stroke : drawing.strokes) {
            rows += stroke.dashing.type != DashType::None ? 1 : 0;
            circles += stroke.piece.kind == Kind::Circle ? 1 : 0;
        }
        QVERIFY2(circles == 3 && rows == 3, listOf(drawing).c_str());
    }
}

void tst_Dashes::sidesOfRoundedBoxesAreNoRow()
{
    const double kQuarter = 1.57079632679489661923;
    const double r = 11;
    Sheet sheet(200, 520);
    for (int k = 0; k < 6; ++k) {
        const double top = 20 + 80 * k;
        const double low = top + 66;
        sheet.line({ 30 + r, top }, { 170 - r, top }, 6).line({ 30 + r, low }, { 170 - r, low }, 6);
        sheet.line({ 30, top + r }, { 30, low - r }, 6).line({ 170, top + r }, { 170, low - r }, 6);
        sheet.arc({ 30 + r, top + r }, r, 2 * kQuarter, kQuarter, 6);
        sheet.arc({ 170 - r, top + r }, r, 3 * kQuarter, kQuarter, 6);
        sheet.arc({ 170 - r, low - r }, r, 0, kQuarter, 6);
        sheet.arc({ 30 + r, low - r }, r, kQuarter, kQuarter, 6);
    }
    for (const Sheet::Tones tones : { Sheet::Tones::Soft, Sheet::Tones::Hard }) {
        const StrokeDrawing drawing = strokesOn(sheet, tones);
        for (const Stroke &stroke : drawing.strokes)
            QVERIFY2(stroke.dashing.type == DashType::None, listOf(drawing).c_str());
    }
}

void tst_Dashes::aDashBehindACrossingIsPassed()
{
    Sheet sheet(500, 120);
    const Point to = drawDashes(&sheet, { 20, 60 }, 0.0, { 60, 9, 3, 9 }, 5, 3.0);
    const double dot = 20 + 81 + 70.5;
    sheet.line({ dot, 15 }, { dot, 105 }, 6.0);
    sheet.line({ 300, 15 }, { 340, 105 }, 6.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(dashedOf(drawing), 1);
    QVERIFY2(drawing.strokes.size() == 3, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 20, 60 }, to, 1.0), listOf(drawing).c_str());
}

// Two hidden lines whose outer dashes meet.
void tst_Dashes::dashesKeepTheirCorner()
{
    Sheet sheet(260, 260);
    const Point right = drawDashes(&sheet, { 30, 30 }, 0.0, { 24, 8 }, 5, 4.0);
    const Point below = drawDashes(&sheet, { 32, 28 }, 0.25 * kTurn, { 24, 8 }, 5, 4.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QCOMPARE(dashedOf(drawing), 2);
    QVERIFY2(hasLine(drawing, { 32, 30 }, right, 1.2), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 32, 30 }, below, 1.2), listOf(drawing).c_str());
}

void tst_Dashes::aDotAtACornerIsOfBothRows()
{
    Sheet sheet(360, 360);
    sheet.bar({ 40, 330.5 }, { 340, 330.5 }, 7.0);
    for (int k = 0; k < 13; ++k) {
        const double at = 40 + 19.6 * k;
        sheet.bar({ at, 43.5 }, { at + 7, 43.5 }, 7.0);
        sheet.bar({ 43.5, at }, { 43.5, at + 7 }, 7.0);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    const double last = 40 + 19.6 * 12 + 7;
    QCOMPARE(dashedOf(drawing), 2);
    QVERIFY2(hasLine(drawing, { 40, 43.5 }, { last, 43.5 }, 4.5), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 43.5, 40 }, { 43.5, last }, 4.5), listOf(drawing).c_str());
}

void tst_Dashes::aBrokenLineStaysALine()
{
    Sheet sheet(500, 60);
    sheet.line({ 20, 30 }, { 480, 30 }, 4.0);
    for (double at : { 90.0, 131.0, 300.0, 320.0, 433.0 })
        sheet.paper({ at, 20 }, { at + 3.0, 40 });
    QCOMPARE(dashedOf(strokesOn(sheet)), 0);
}

void tst_Dashes::specksAreNoLine()
{
    Sheet sheet(600, 600);
    uint32_t seed = 12345;
    for (int k = 0; k < 3000; ++k) {
        seed = seed * 1664525u + 1013904223u;
        const double x = 5 + (seed >> 8) % 5900 / 10.0;
        seed = seed * 1664525u + 1013904223u;
        const double y = 5 + (seed >> 8) % 5900 / 10.0;
        sheet.disc({ x, y }, 1.2);
    }
    QVERIFY(dashedOf(strokesOn(sheet)) <= 2);
}

void tst_Dashes::parallelsAreNoDashes()
{
    Sheet sheet(400, 200);
    for (int k = 0; k < 20; ++k)
        sheet.line({ 20.0 + 18 * k, 60 }, { 20.0 + 18 * k, 140 }, 3.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(dashedOf(drawing), 0);
    QCOMPARE(countOf(drawing, Kind::Line), 20);
}

void tst_Dashes::rowsThatCrossAreWhole_data()
{
    QTest::addColumn<Lengths>("across");
    QTest::addColumn<Lengths>("down");
    QTest::addColumn<double>("width");
    QTest::addColumn<bool>("isHard");
    for (const bool isHard : { false, true }) {
        const QByteArray tones = isHard ? " in one bit" : " in greys";
        QTest::newRow("dashes across dashes" + tones)
            << Lengths { 34, 8.6 } << Lengths { 33, 8.4 } << 4.7 << isHard;
        QTest::newRow("dashes across dots" + tones)
            << Lengths { 34, 8.6 } << Lengths { 5, 8.2 } << 4.7 << isHard;
        QTest::newRow("graph paper" + tones)
            << Lengths { 6, 4 } << Lengths { 6, 4 } << 2.0 << isHard;
    }
}

void tst_Dashes::rowsThatCrossAreWhole()
{
    QFETCH(Lengths, across);
    QFETCH(Lengths, down);
    QFETCH(double, width);
    QFETCH(bool, isHard);
    const double apart = 61.3;
    const int rows = 5;
    Sheet sheet(560, 560);
    const auto drawRow = [&](bool isAcross, double at, const Lengths &pattern) {
        double last = 0.0;
        for (double s = 40.0; s + pattern[0] < 500.0; s += pattern[0] + pattern[1]) {
            last = s + pattern[0];
            if (isAcross)
                sheet.bar({ s, at }, { last, at }, width);
            else
                sheet.bar({ at, s }, { at, last }, width);
        }
        return last;
    };
    double right = 0.0;
    double below = 0.0;
    for (int k = 0; k < rows; ++k) {
        right = drawRow(true, 100.2 + apart * k, across);
        below = drawRow(false, 110.4 + apart * k, down);
    }
    const StrokeDrawing drawing
        = strokesOn(sheet, isHard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QVERIFY2(int(drawing.strokes.size()) == 2 * rows, listOf(drawing).c_str());
    QCOMPARE(dashedOf(drawing), 2 * rows);
    for (int k = 0; k < rows; ++k) {
        const double y = 100.2 + apart * k;
        const double x = 110.4 + apart * k;
        QVERIFY2(hasLine(drawing, { 40, y }, { right, y }, 3.0), listOf(drawing).c_str());
        QVERIFY2(hasLine(drawing, { x, 40 }, { x, below }, 3.0), listOf(drawing).c_str());
    }
}

void tst_Dashes::aWholeLineBetweenDotsStaysWhole()
{
    Sheet sheet(60, 900);
    for (int k = 0; k < 12; ++k) {
        sheet.bar({ 30, 40 + 20.7 * k }, { 30, 47 + 20.7 * k }, 7.0);
        sheet.bar({ 30, 520 + 19.9 * k }, { 30, 527 + 19.9 * k }, 7.0);
    }
    sheet.bar({ 30, 290 }, { 30, 500 }, 7.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 3, listOf(drawing).c_str());
    QCOMPARE(dashedOf(drawing), 2);
    QVERIFY2(hasLine(drawing, { 30, 290 }, { 30, 500 }, 4.0), listOf(drawing).c_str());
}

void tst_Dashes::aScreenOfDotsIsNoRow()
{
    Sheet sheet(300, 300);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x)
            sheet.disc({ 20.0 + 13 * x, 20.0 + 13 * y }, 2.4);
    }
    QCOMPARE(dashedOf(strokesOn(sheet)), 0);
}

void tst_Dashes::closeRowsOfAScaleAreLines()
{
    Sheet sheet(200, 760);
    sheet.bar({ 20, 20 }, { 180, 20 }, 7.0);
    for (const double x : { 40.0, 66.0, 89.1, 109.2, 160.0 }) {
        for (double y = 30; y < 720; y += 19.8)
            sheet.bar({ x, y }, { x, y + 7 }, 7.0);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 6, listOf(drawing).c_str());
    QCOMPARE(dashedOf(drawing), 5);
}

void tst_Dashes::twoRowsOfPadsAreNoLines()
{
    Sheet sheet(500, 120);
    for (int k = 0; k < 20; ++k) {
        sheet.disc({ 40 + 20.0 * k, 40 }, 4);
        sheet.disc({ 40 + 20.0 * k, 60 }, 4);
    }
    QCOMPARE(dashedOf(strokesOn(sheet)), 0);
}

// Its gap before the last dash is half filled by a line across it.
void tst_Dashes::aRowGoesOnBehindACrossedGap()
{
    Sheet sheet(640, 160);
    for (int k = 0; k < 9; ++k)
        sheet.bar({ 40 + 63.5 * k, 80 }, { 91 + 63.5 * k, 80 }, 7.0);
    const double gap = 40 + 63.5 * 8 - 6.2;
    sheet.line({ gap, 30 }, { gap, 130 }, 7.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 40, 80 }, { 91 + 63.5 * 8, 80 }, 2.0), listOf(drawing).c_str());
}

// Dots of rows across lie in the middle of a quarter of the gaps, and between those at its ends.
void tst_Dashes::aRowHasDotsInItsGaps()
{
    Sheet sheet(1180, 400);
    for (int k = 0; k < 17; ++k)
        sheet.bar({ 40 + 63.5 * k, 200 }, { 91 + 63.5 * k, 200 }, 7.0);
    for (const int k : { 1, 5, 9, 14 }) {
        const double x = 40 + 63.5 * k - 6.3;
        for (int j = -8; j <= 8; ++j)
            sheet.bar({ x, 196.5 + 19.8 * j }, { x, 203.5 + 19.8 * j }, 7.0);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 5, listOf(drawing).c_str());
    QCOMPARE(dashedOf(drawing), 5);
    QVERIFY2(hasLine(drawing, { 40, 200 }, { 91 + 63.5 * 16, 200 }, 2.0), listOf(drawing).c_str());
}

// A pixel beside a dot, on either side of the middle.
void tst_Dashes::aCircleInTheGapsOfACentreLine()
{
    Sheet sheet(1160, 560);
    for (int k = 0; k < 6; ++k) {
        const double from = 40 + 182.7 * k;
        sheet.bar({ from, 280 }, { from + 141.5, 280 }, 5.5);
        if (k < 5)
            sheet.bar({ from + 159.2, 280 }, { from + 165.1, 280 }, 5.5);
    }
    const double middle = 40 + 182.7 * 2.5 + 70.7;
    sheet.arc({ middle, 280 }, 182.7 + 9.5, 0, 2 * std::acos(-1.0), 11);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 40, 280 }, { 40 + 182.7 * 5 + 141.5, 280 }, 2.0),
             listOf(drawing).c_str());
    QCOMPARE(dashedOf(drawing), 1);
    QVERIFY2(drawing.dots.empty(), listOf(drawing).c_str());
}

void tst_Dashes::scalesOfDotsThatCrossAreLines()
{
    Sheet sheet(520, 520);
    sheet.bar({ 20, 20 }, { 500, 20 }, 5.0);
    for (int m = 2; m < 10; ++m) {
        const double at = 60 + 400 * std::log10(m);
        for (double s = 40; s < 480; s += 15) {
            sheet.bar({ at, s }, { at, s + 5 }, 5.0);
            sheet.bar({ s, at }, { s + 5, at }, 5.0);
        }
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 17, listOf(drawing).c_str());
    QCOMPARE(dashedOf(drawing), 16);
}

QTEST_APPLESS_MAIN(tst_Dashes)
#include "tst_dashes.moc"
