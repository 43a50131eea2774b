// (c) the ztrace developers. Licence: see LICENSE.
//
// Ends of lines in the ink of others: past a corner, short of the middle, before a narrow gap, in a
// tip.
#include "StrokesRig.h"

#include <QTest>

#include <cmath>

using namespace ztrace::strokes;

class tst_HiddenEnds : public QObject
{
    Q_OBJECT

private slots:
    void aLineRunsPastItsCorner_data();
    void aLineRunsPastItsCorner();
    void aCornerHasNoTails_data();
    void aCornerHasNoTails();
    void aLineEndsShortOfASlantedOne_data();
    void aLineEndsShortOfASlantedOne();
    void aLineEndsOnASlantedOne_data();
    void aLineEndsOnASlantedOne();
    void aLineRunsPastASlantedOne();
    void aNarrowGapStays();
    void aLineAtASolidIsNoLonger();
    void arcsBesideAGapDoNotMeet();
    void smallArcsKeepTheirEnds();
    void acuteCornersHaveNoSpecks();
    void turnsOfASpringMeetAtTheirTips_data();
    void turnsOfASpringMeetAtTheirTips();
};

namespace {

void addTones()
{
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("width");
    for (double width : { 4.3, 5.1, 7.2 }) {
        QTest::addRow("greys, %.1f px", width) << false << width;
        QTest::addRow("one bit, %.1f px", width) << true << width;
    }
}

StrokeDrawing drawnFrom(const Sheet &sheet, bool hard)
{
    return strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
}

// A line that another one at 18 degrees is met by at (120, 100), `beyond` pixels past that place.
Sheet slantedOnes(double width, double beyond)
{
    return Sheet(260, 180)
        .line({ 30.3, 129.2 }, { 230.3, 64.2 }, width)
        .line({ 120.3 + 100, 99.95 }, { 120.3 - beyond, 99.95 }, 0.8 * width);
}

} // namespace

void tst_HiddenEnds::aLineRunsPastItsCorner_data()
{
    addTones();
}

// Sheets whose draftsman let the lines of a corner run past each other by a pen.
void tst_HiddenEnds::aLineRunsPastItsCorner()
{
    QFETCH(bool, hard);
    QFETCH(double, width);
    const StrokeDrawing drawing
        = drawnFrom(Sheet(160, 160)
                        .line({ 40.3, 50.4 }, { 110.6, 50.4 }, width)
                        .line({ 110.6, 50.4 - 0.9 * width }, { 110.6, 120.2 }, width)
                        .line({ 110.6, 120.2 }, { 40.3, 120.2 }, width)
                        .line({ 40.3, 120.2 }, { 40.3, 50.4 }, width),
                    hard);
    QVERIFY2(drawing.strokes.size() == 4, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 110.6, 50.4 - 0.9 * width }, { 110.6, 120.2 }, 1.0),
             listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 40.3, 50.4 }, { 110.6, 50.4 }, 0.7), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 40.3, 120.2 }, { 40.3, 50.4 }, 0.7), listOf(drawing).c_str());
}

void tst_HiddenEnds::aCornerHasNoTails_data()
{
    addTones();
}

// Mitres stick out of either line.
void tst_HiddenEnds::aCornerHasNoTails()
{
    QFETCH(bool, hard);
    QFETCH(double, width);
    const double half = 0.5 * width;
    const StrokeDrawing drawing
        = drawnFrom(Sheet(160, 160)
                        .bar({ 40.3, 50.4 }, { 110.6 + half, 50.4 }, width)
                        .bar({ 110.6, 50.4 - half }, { 110.6, 120.2 }, width),
                    hard);
    QVERIFY2(hasLine(drawing, { 40.3, 50.4 }, { 110.6, 50.4 }, 0.8), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 110.6, 50.4 }, { 110.6, 120.2 }, 0.8), listOf(drawing).c_str());
}

void tst_HiddenEnds::aLineEndsShortOfASlantedOne_data()
{
    addTones();
}

void tst_HiddenEnds::aLineEndsShortOfASlantedOne()
{
    QFETCH(bool, hard);
    QFETCH(double, width);
    const double shorter = 1.5 * width;
    const StrokeDrawing drawing = drawnFrom(slantedOnes(width, -shorter), hard);
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 220.3, 99.95 }, { 120.3 + shorter, 99.95 }, 1.8),
             listOf(drawing).c_str());
}

void tst_HiddenEnds::aLineEndsOnASlantedOne_data()
{
    addTones();
}

void tst_HiddenEnds::aLineEndsOnASlantedOne()
{
    QFETCH(bool, hard);
    QFETCH(double, width);
    const StrokeDrawing drawing = drawnFrom(slantedOnes(width, 0), hard);
    QVERIFY2(drawing.strokes.size() == 2, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 220.3, 99.95 }, { 120.3, 99.95 }, 1.5), listOf(drawing).c_str());
}

// Its round end sticks out of the far side a little, less than a stub that is seen alone.
void tst_HiddenEnds::aLineRunsPastASlantedOne()
{
    const double width = 7.2;
    const StrokeDrawing drawing = strokesOn(slantedOnes(width, 0.9 * width));
    QVERIFY2(hasLine(drawing, { 220.3, 99.95 }, { 120.3 - 0.9 * width, 99.95 }, 1.0),
             listOf(drawing).c_str());
}

// A round end that touches the edge of a line leaves a notch on both sides.
void tst_HiddenEnds::aNarrowGapStays()
{
    const StrokeDrawing drawing = strokesOn(Sheet(160, 160)
                                                .line({ 20.2, 110.4 }, { 140.3, 110.4 }, 4.1)
                                                .line({ 80.8, 30.3 }, { 80.8, 106.1 }, 4.1));
    QVERIFY2(hasLine(drawing, { 80.8, 30.3 }, { 80.8, 106.1 }, 0.6), listOf(drawing).c_str());
}

void tst_HiddenEnds::aLineAtASolidIsNoLonger()
{
    const StrokeDrawing drawing
        = strokesOn(Sheet(220, 160)
                        .line({ 20.2, 80.4 }, { 120.3, 80.4 }, 4.1)
                        .line({ 120.3, 20.4 }, { 120.3, 140.4 }, 4.1)
                        .polygon({ { 122, 60 }, { 180, 60 }, { 180, 100 }, { 122, 100 } }));
    QVERIFY2(hasLine(drawing, { 20.2, 80.4 }, { 120.3, 80.4 }, 1.5), listOf(drawing).c_str());
}

// The rounded end of a slot that is open in its middle: its arcs were drawn on to where they cross.
void tst_HiddenEnds::arcsBesideAGapDoNotMeet()
{
    const double pi = 3.14159265358979323846;
    const StrokeDrawing drawing = strokesOn(Sheet(160, 200)
                                                .line({ 60.5, 52.9 }, { 60.5, 180.2 }, 4.5)
                                                .line({ 93.5, 52.9 }, { 93.5, 180.2 }, 4.5)
                                                .arc({ 72.1, 52.9 }, 11.6, pi, pi / 2, 4.5)
                                                .arc({ 81.9, 52.9 }, 11.6, -pi / 2, pi / 2, 4.5));
    int right = 0;
    for (const Stroke &stroke : drawing.strokes) {
        for (const Point end : { stroke.piece.start, stroke.piece.end }) {
            for (const double x : { 72.1, 81.9 })
                right += std::hypot(end.x - x, end.y - 41.3) < 1.2 ? 1 : 0;
        }
    }
    QVERIFY2(right == 2, listOf(drawing).c_str());
}

// Arcs of few widths that end in the middle of a line: beyond a quarter of a turn their other side
// is as far along the tangent.
void tst_HiddenEnds::smallArcsKeepTheirEnds()
{
    const double pi = 3.14159265358979323846;
    const double kinds[][2]
        = { { 3.0, 8.0 }, { 5.0, 8.0 }, { 5.0, 10.0 }, { 8.0, 15.0 }, { 5.0, 24.0 } };
    for (const auto &kind : kinds) {
        const double width = kind[0];
        const double radius = kind[1];
        const Point end = { 80.3, 100.4 };
        const StrokeDrawing drawing
            = strokesOn(Sheet(160, 160)
                            .line({ 20.2, 100.4 }, { 140.3, 100.4 }, width)
                            .arc({ 80.3 + radius, 100.4 }, radius, pi, 1.3 * pi, width));
        double least = 1e9;
        for (const Stroke &stroke : drawing.strokes) {
            if (stroke.piece.kind != ztrace::fit::Kind::Arc)
                continue;
            for (const Point p : { stroke.piece.start, stroke.piece.end })
                least = std::min(least, std::hypot(p.x - end.x, p.y - end.y));
        }
        QVERIFY2(least < 0.5, listOf(drawing).c_str());
    }
}

// A curve of a monitor.
void tst_HiddenEnds::acuteCornersHaveNoSpecks()
{
    Sheet sheet(400, 360);
    const std::vector<Point> corners
        = { { 28.6, 92.5 },   { 76.0, 333.2 },  { 110.6, 141.2 }, { 138.8, 284.6 }, { 172.1, 40.0 },
            { 242.0, 340.4 }, { 274.6, 155.3 }, { 313.0, 289.7 }, { 332.1, 92.5 } };
    for (std::size_t k = 1; k < corners.size(); ++k)
        sheet.line(corners[k - 1], corners[k], 8.3);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == corners.size() - 1, listOf(drawing).c_str());
}

void tst_HiddenEnds::turnsOfASpringMeetAtTheirTips_data()
{
    QTest::addColumn<bool>("square");
    QTest::addColumn<bool>("hard");
    QTest::newRow("greys") << false << false;
    QTest::newRow("one bit") << false << true;
    QTest::newRow("square ends in greys") << true << false;
    QTest::newRow("square ends in one bit") << true << true;
}

// Half circles that touch each other at their ends: one stem of ink leads to where they do.
void tst_HiddenEnds::turnsOfASpringMeetAtTheirTips()
{
    QFETCH(bool, square);
    QFETCH(bool, hard);
    Sheet sheet(300, 700);
    for (int k = 0; k < 5; ++k)
        sheet.arc({ 100.3, 83.4 + 124 * k }, 62, -std::acos(0.0), std::acos(-1.0), 6.6);
    if (square)
        sheet.paper({ 90, 0 }, { 100.3, 700 });
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QCOMPARE(int(drawing.strokes.size()), 5);
    for (const Stroke &stroke : drawing.strokes) {
        QVERIFY2(stroke.piece.kind == ztrace::fit::Kind::Arc, listOf(drawing).c_str());
        for (const Point &end : { stroke.piece.start, stroke.piece.end }) {
            const double y = 21.4 + 124 * std::round((end.y - 21.4) / 124);
            QVERIFY2(std::hypot(end.x - 100.3, end.y - y) < 2.0, listOf(drawing).c_str());
        }
    }
}

QTEST_GUILESS_MAIN(tst_HiddenEnds)
#include "tst_hiddenends.moc"
