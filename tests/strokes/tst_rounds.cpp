// (c) the ztrace developers. Licence: see LICENSE.
//
// Where arcs end that are alike or run into a line, and what is a whole round.
#include "StrokesRig.h"

#include <QtTest>

#include <cmath>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

const double kPi = 3.14159265358979323846;

StrokeDrawing drawnFrom(const Sheet &sheet, bool hard)
{
    return strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
}

double apart(Point a, Point b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

// A turn of a spring: an arc, and the lines that it joins, which cut off so many pixels of its
// circle. `side` is -1 where it is less than half a circle, 1 where it is more.
struct Turn
{
    Point centre;
    double radius;
    double cut;
    double slope; // radians of its lines
    double side;

    Point end(int which, double along = 0.0) const
    {
        const Point u = { std::cos(slope), std::sin(slope) };
        const Point n = { -u.y, u.x };
        const double half = std::sqrt(2 * radius * cut - cut * cut);
        return centre + (which == 0 ? 1.0 : -1.0) * (radius - cut) * n + (side * half + along) * u;
    }

    void draw(Sheet *sheet, double width) const
    {
        const Point from = end(0) - centre;
        const Point to = end(1) - centre;
        double sweep = std::atan2(to.y, to.x) - std::atan2(from.y, from.x);
        sweep += sweep < 0 ? 2 * kPi : 0.0;
        sheet->arc(centre, radius, std::atan2(from.y, from.x), sweep, width);
        for (int which = 0; which < 2; ++which)
            sheet->line(end(which), end(which, 190.0), width);
    }
};

int arcsWithin(const StrokeDrawing &drawing, const Turn &turn, double within)
{
    int count = 0;
    for (const Stroke &stroke : drawing.strokes) {
        const bool forth = apart(stroke.piece.start, turn.end(0)) < within
            && apart(stroke.piece.end, turn.end(1)) < within;
        const bool back = apart(stroke.piece.start, turn.end(1)) < within
            && apart(stroke.piece.end, turn.end(0)) < within;
        count += stroke.piece.kind == Kind::Arc && (forth || back) ? 1 : 0;
    }
    return count;
}

} // namespace

class tst_Rounds : public QObject
{
    Q_OBJECT

private slots:
    void turnsThatAreAlikeEndAlike_data();
    void turnsThatAreAlikeEndAlike();
    void anArcOfGreysTellsItsEnd_data();
    void anArcOfGreysTellsItsEnd();
    void anOpenRingIsAnArc_data();
    void anOpenRingIsAnArc();
    void anEllipseBetweenTangentsIsOne();
    void anArcRunsIntoItsLine_data();
    void anArcRunsIntoItsLine();
};

void tst_Rounds::turnsThatAreAlikeEndAlike_data()
{
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("side");
    QTest::addColumn<double>("cut");
    QTest::newRow("one bit, less than half") << true << -1.0 << 0.2;
    QTest::newRow("one bit, more than half") << true << 1.0 << 0.2;
    QTest::newRow("one bit, tangents") << true << 1.0 << 0.0;
    QTest::newRow("greys, less than half") << false << -1.0 << 0.2;
    QTest::newRow("greys, more than half") << false << 1.0 << 0.2;
    QTest::newRow("greys, tangents") << false << 1.0 << 0.0;
}

// What a line cuts off of its arc tells where they meet; of one arc noise hides it, of twelve not.
void tst_Rounds::turnsThatAreAlikeEndAlike()
{
    QFETCH(bool, hard);
    QFETCH(double, side);
    QFETCH(double, cut);
    Sheet sheet(300, 940);
    std::vector<Turn> turns;
    for (int k = 0; k < 12; ++k)
        turns.push_back({ { 50.3 + 0.13 * k, 50.2 + 73.37 * k }, 17.3, cut, 0.21, side });
    for (const Turn &turn : turns)
        turn.draw(&sheet, 6.0);
    const StrokeDrawing drawing = drawnFrom(sheet, hard);
    int right = 0;
    for (const Turn &turn : turns)
        right += arcsWithin(drawing, turn, 2.0);
    QVERIFY2(right >= 11, listOf(drawing).c_str());
}

void tst_Rounds::anArcOfGreysTellsItsEnd_data()
{
    QTest::addColumn<double>("side");
    QTest::newRow("less than half") << -1.0;
    QTest::newRow("more than half") << 1.0;
}

void tst_Rounds::anArcOfGreysTellsItsEnd()
{
    QFETCH(double, side);
    const Turn turn = { { 60.3, 60.2 }, 31.3, 0.3, 0.21, side };
    Sheet sheet(300, 180);
    turn.draw(&sheet, 6.0);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(arcsWithin(drawing, turn, 1.5) == 1, listOf(drawing).c_str());
}

void tst_Rounds::anOpenRingIsAnArc_data()
{
    QTest::addColumn<bool>("hard");
    QTest::newRow("greys") << false;
    QTest::newRow("one bit") << true;
}

// A tenth of the way around is paper: the eye of a bolt, beside its shank.
void tst_Rounds::anOpenRingIsAnArc()
{
    QFETCH(bool, hard);
    const Point centre = { 200.3, 190.2 };
    const double radius = 150.0;
    Sheet sheet(400, 480);
    sheet.arc(centre, radius, kPi / 2 + 0.3, 2 * kPi - 0.6, 7.0);
    for (double side : { -1.0, 1.0 }) {
        const Point end
            = { centre.x + side * radius * std::sin(0.3), centre.y + radius * std::cos(0.3) };
        sheet.line(end, { end.x, 450.2 }, 7.0);
    }
    const StrokeDrawing drawing = drawnFrom(sheet, hard);
    QVERIFY2(countOf(drawing, Kind::Circle) == 0, listOf(drawing).c_str());
    QVERIFY2(countOf(drawing, Kind::Arc) == 1, listOf(drawing).c_str());
}

// Lines that touch it at its vertices share ink with it for a while: a tin seen from the side.
void tst_Rounds::anEllipseBetweenTangentsIsOne()
{
    const Point centre = { 700.83, 301.01 };
    const double a = 660.0;
    const double width = 5.56;
    Sheet sheet(1400, 601);
    sheet.ellipse(centre, a, 260.27, 0.0, width);
    sheet.line({ centre.x - a, centre.y }, { centre.x - a, 526.84 }, width);
    sheet.line({ centre.x + a - 0.56, centre.y - 18.07 }, { centre.x + a - 0.56, 526.84 }, width);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(countOf(drawing, Kind::Ellipse) == 1, listOf(drawing).c_str());
    QVERIFY2(countOf(drawing, Kind::Arc) == 0, listOf(drawing).c_str());
}

void tst_Rounds::anArcRunsIntoItsLine_data()
{
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("cut");
    QTest::newRow("greys, a tangent") << false << 0.0;
    QTest::newRow("one bit, a tangent") << true << 0.0;
    QTest::newRow("greys, beyond the line and back") << false << 0.42;
}

// The ink of both is one for 40 pixels before they meet: an arch on the edge of a box.
void tst_Rounds::anArcRunsIntoItsLine()
{
    QFETCH(bool, hard);
    QFETCH(double, cut);
    const Point foot = { 150.3, 250.2 };
    const double slope = -0.74;
    const Point along = { std::cos(slope), std::sin(slope) };
    const Point down = { -along.y, along.x };
    const double radius = 115.0;
    const double turn = std::acos(1 - cut / radius);
    const Point end = foot - radius * std::sin(turn) * along;
    Sheet sheet(420, 400);
    sheet.line(foot - 150.0 * along, foot + 250.0 * along, 6.5);
    sheet.arc(foot + (radius - cut) * down, radius, slope - kPi / 2 - turn, 2.2, 6.5);
    const StrokeDrawing drawing = drawnFrom(sheet, hard);
    const int arcs = countOf(drawing, Kind::Arc);
    double nearest = 1e300;
    for (const Stroke &stroke : drawing.strokes) {
        if (stroke.piece.kind == Kind::Arc)
            nearest = std::min(
                { nearest, apart(stroke.piece.start, end), apart(stroke.piece.end, end) });
    }
    QVERIFY2(arcs == 1 && nearest < (cut > 0.0 ? 2.0 : 12.0), listOf(drawing).c_str());
}

QTEST_GUILESS_MAIN(tst_Rounds)
#include "tst_rounds.moc"
