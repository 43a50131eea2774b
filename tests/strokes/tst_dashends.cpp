// (c) the ztrace developers. Licence: see LICENSE.
//
// Where rows of dashes end: at the next side of a box, behind lines across their gaps, on clean
// pages and on scans.
#include "StrokesRig.h"
#include "strokes/dashends.h"
#include "strokes/dashparting.h"
#include "strokes/pieces.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

const double kQuarter = 1.57079632679489661923;

typedef std::vector<double> Lengths;

// Dashes with square ends from a place on, the last one whole; returns where it ends.
Point drawDashes(Sheet *sheet, Point from, double radians, const Lengths &pattern, int periods,
                 double width)
{
    const Point u = { std::cos(radians), std::sin(radians) };
    double at = 0.0;
    for (int k = 0; k <= periods; ++k) {
        for (std::size_t i = 0; i < pattern.size(); i += 2) {
            sheet->bar(from + at * u, from + (at + pattern[i]) * u, width);
            if (k == periods)
                return from + (at + pattern[0]) * u;
            at += pattern[i] + pattern[i + 1];
        }
    }
    return from;
}

// Dashes along an arc, from its begin to its end.
void drawDashedArc(Sheet *sheet, Point centre, double radius, double start, double dash, double gap,
                   double width)
{
    const double all = kQuarter * radius;
    const int periods = int(std::lround((all - dash) / (dash + gap)));
    const double scale = all / (periods * (dash + gap) + dash);
    // The rig's ends are round.
    for (int k = 0; k <= periods; ++k) {
        const double from = k * scale * (dash + gap) + 0.5 * width;
        sheet->arc(centre, radius, start + from / radius, (scale * dash - width) / radius, width);
    }
}

StrokeDrawing drawnOf(const Sheet &sheet, bool isScan)
{
    if (!isScan)
        return strokesOn(sheet);
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    blurred(&grey, sheet.width(), sheet.height(), 1.1);
    std::mt19937 random(11);
    for (uint8_t &value : grey) {
        double sum = -6.0;
        for (int k = 0; k < 12; ++k)
            sum += double(random()) / double(std::mt19937::max());
        value = uint8_t(std::clamp(45.0 + value / 255.0 * 190.0 + 13.0 * sum, 0.0, 255.0));
    }
    return strokesOn(grey, sheet.width(), sheet.height());
}

// A dashed line with these ends, in either order.
bool hasDashed(const StrokeDrawing &drawing, Point a, Point b, double within)
{
    return std::any_of(drawing.strokes.begin(), drawing.strokes.end(), [&](const Stroke &stroke) {
        const Point from = stroke.piece.start;
        const Point to = stroke.piece.end;
        const double off = std::min(std::max(lengthOf(from - a), lengthOf(to - b)),
                                    std::max(lengthOf(from - b), lengthOf(to - a)));
        return stroke.dashing.type != DashType::None && off < within;
    });
}

void addPages()
{
    QTest::addColumn<bool>("isScan");
    QTest::newRow("clean") << false;
    QTest::newRow("scanned") << true;
}

} // namespace

class tst_DashEnds : public QObject
{
    Q_OBJECT

private slots:
    void outerRunsAreCut_data();
    void outerRunsAreCut();
    void sidesOfADashedBoxShareDashes_data() { addPages(); }
    void sidesOfADashedBoxShareDashes();
    void aRowEndsWhereAWholeLineGoesOn_data() { addPages(); }
    void aRowEndsWhereAWholeLineGoesOn();
    void aGapMayBeCrossedAslant_data() { addPages(); }
    void aGapMayBeCrossedAslant();
    void aScannedRowGoesOnBehindCrossedGaps();
    void aRowDoesNotGoOnAlongAWholeLine();
};

void tst_DashEnds::outerRunsAreCut_data()
{
    QTest::addColumn<Lengths>("dashes"); // with gaps of 7
    QTest::addColumn<bool>("first");
    QTest::addColumn<bool>("last");
    QTest::newRow("all alike") << Lengths { 28, 28, 28, 28, 28 } << false << false;
    QTest::newRow("the last is one and a half") << Lengths { 28, 28, 28, 28, 43 } << false << true;
    QTest::newRow("both go on") << Lengths { 56, 28, 28, 28, 28, 200 } << true << true;
    QTest::newRow("two dashes and a filled gap")
        << Lengths { 28, 28, 28, 28, 63 } << false << false;
    QTest::newRow("one in the middle is broken")
        << Lengths { 28, 28, 28, 12, 28, 28, 28, 56 } << false << true;
    QTest::newRow("three strokes and a line") << Lengths { 28, 28, 28, 200 } << false << false;
    QTest::newRow("no order") << Lengths { 28, 9, 40, 17, 80 } << false << false;
    QTest::newRow("too few") << Lengths { 28, 28, 80 } << false << false;
}

void tst_DashEnds::outerRunsAreCut()
{
    QFETCH(Lengths, dashes);
    QFETCH(bool, first);
    QFETCH(bool, last);
    std::vector<Run> runs;
    double at = 0.0;
    for (double dash : dashes) {
        runs.push_back({ at, at + dash });
        at += dash + 7;
    }
    const OuterCuts cuts = cutOuterRuns(&runs);
    QCOMPARE(cuts.at[0], first);
    QCOMPARE(cuts.at[1], last);
    QCOMPARE(runs.front().length(), first ? 28.0 : dashes.front());
    QCOMPARE(runs.back().length(), last ? 28.0 : dashes.back());
}

void tst_DashEnds::sidesOfADashedBoxShareDashes()
{
    QFETCH(bool, isScan);
    const double r = 154;
    const double left = 30, top = 30, right = 30 + 2 * r + 7 * 35 + 28,
                 low = 30 + 2 * r + 6 * 35 + 28;
    Sheet sheet(int(right) + 30, int(low) + 30);
    drawDashes(&sheet, { left + r, top }, 0.0, { 28, 7 }, 7, 4.0);
    drawDashes(&sheet, { left + r, low }, 0.0, { 28, 7 }, 7, 4.0);
    drawDashes(&sheet, { left, top + r }, kQuarter, { 28, 7 }, 6, 4.0);
    drawDashes(&sheet, { right, top + r }, kQuarter, { 28, 7 }, 6, 4.0);
    drawDashedArc(&sheet, { left + r, top + r }, r, 2 * kQuarter, 28, 7, 4.0);
    drawDashedArc(&sheet, { right - r, top + r }, r, 3 * kQuarter, 28, 7, 4.0);
    drawDashedArc(&sheet, { right - r, low - r }, r, 0, 28, 7, 4.0);
    drawDashedArc(&sheet, { left + r, low - r }, r, kQuarter, 28, 7, 4.0);
    const StrokeDrawing drawing = drawnOf(sheet, isScan);
    QVERIFY2(drawing.strokes.size() == 8, listOf(drawing).c_str());
    for (double y : { top, low })
        QVERIFY2(hasDashed(drawing, { left + r, y }, { right - r, y }, 2.5),
                 listOf(drawing).c_str());
    for (double x : { left, right })
        QVERIFY2(hasDashed(drawing, { x, top + r }, { x, low - r }, 2.5), listOf(drawing).c_str());
    QVERIFY2(hasDashed(drawing, { left, top + r }, { left + r, top }, 2.5),
             listOf(drawing).c_str());
}

void tst_DashEnds::aRowEndsWhereAWholeLineGoesOn()
{
    QFETCH(bool, isScan);
    Sheet sheet(520, 200);
    const Point to = drawDashes(&sheet, { 30, 60 }, 0.0, { 28, 8 }, 7, 5.0);
    sheet.bar(to, { 490, 60 }, 5.0).bar({ to.x, 60 }, { to.x, 170 }, 5.0);
    const StrokeDrawing drawing = drawnOf(sheet, isScan);
    QVERIFY2(hasDashed(drawing, { 30, 60 }, to, 3.0), listOf(drawing).c_str());
}

void tst_DashEnds::aGapMayBeCrossedAslant()
{
    QFETCH(bool, isScan);
    Sheet sheet(330, 200);
    const Point to = drawDashes(&sheet, { 20, 100 }, 0.0, { 60, 15 }, 3, 7.0);
    sheet.bar({ 166 - 60, 100 - 72 }, { 166 + 60, 100 + 72 }, 7.0);
    const StrokeDrawing drawing = drawnOf(sheet, isScan);
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QVERIFY2(hasDashed(drawing, { 20, 100 }, to, 2.0), listOf(drawing).c_str());
}

void tst_DashEnds::aScannedRowGoesOnBehindCrossedGaps()
{
    Sheet sheet(620, 240);
    const Lengths pattern = { 50, 7, 3, 7 };
    const Point to = drawDashes(&sheet, { 20, 120 }, 0.0, pattern, 8, 3.0);
    for (int k : { 4, 5 }) {
        const double gap = 20 + 67 * k + 50 + 8.5;
        sheet.bar({ gap - 5, 30 }, { gap - 5, 210 }, 6.0)
            .bar({ gap + 5, 30 }, { gap + 5, 210 }, 6.0);
    }
    const StrokeDrawing drawing = drawnOf(sheet, true);
    QVERIFY2(hasDashed(drawing, { 20, 120 }, to, 2.5), listOf(drawing).c_str());
}

void tst_DashEnds::aRowDoesNotGoOnAlongAWholeLine()
{
    Sheet sheet(700, 120);
    const Point to = drawDashes(&sheet, { 20, 60 }, 0.0, { 30, 8 }, 7, 4.0);
    sheet.bar({ to.x + 8, 60 }, { 680, 60 }, 4.0);
    const StrokeDrawing drawing = drawnOf(sheet, true);
    QVERIFY2(hasLine(drawing, { to.x + 8, 60 }, { 680, 60 }, 45.0), listOf(drawing).c_str());
    for (const Stroke &stroke : drawing.strokes)
        QVERIFY2(stroke.dashing.type == DashType::None || lengthOf(stroke.piece) < to.x + 30,
                 listOf(drawing).c_str());
}

QTEST_APPLESS_MAIN(tst_DashEnds)
#include "tst_dashends.moc"
