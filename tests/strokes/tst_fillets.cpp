// (c) the ztrace developers. Licence: see LICENSE.
//
// Rounded corners a few pens large: of boxes, of boxes side by side, and what is none.
#include "StrokesRig.h"

#include <QTest>

#include <cmath>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

const double kPi = 3.14159265358979323846;
const double kRadius = 13.2;

void drawBox(Sheet *sheet, Point low, Point high, double radius, double width)
{
    const double left = low.x + radius;
    const double right = high.x - radius;
    const double top = low.y + radius;
    const double bottom = high.y - radius;
    sheet->line({ left, low.y }, { right, low.y }, width);
    sheet->line({ left, high.y }, { right, high.y }, width);
    sheet->line({ low.x, top }, { low.x, bottom }, width);
    sheet->line({ high.x, top }, { high.x, bottom }, width);
    sheet->arc({ left, top }, radius, kPi, kPi / 2, width);
    sheet->arc({ right, top }, radius, -kPi / 2, kPi / 2, width);
    sheet->arc({ right, bottom }, radius, 0, kPi / 2, width);
    sheet->arc({ left, bottom }, radius, kPi / 2, kPi / 2, width);
}

// How many arcs of the drawing have that centre and radius within so many pixels.
int arcsAt(const StrokeDrawing &drawing, Point centre, double radius, double within)
{
    int count = 0;
    for (const Stroke &stroke : drawing.strokes) {
        if (stroke.piece.kind != Kind::Arc)
            continue;
        const ztrace::fit::ArcShape arc = ztrace::fit::arcShape(stroke.piece);
        count += std::fabs(arc.radius - radius) < within
                && std::hypot(arc.centre.x - centre.x, arc.centre.y - centre.y) < 2 * within
            ? 1
            : 0;
    }
    return count;
}

} // namespace

class tst_Fillets : public QObject
{
    Q_OBJECT

private slots:
    void cornersOfBoxesSideBySideAreArcs_data();
    void cornersOfBoxesSideBySideAreArcs();
    void sharpCornersStaySharp_data();
    void sharpCornersStaySharp();
    void aBarStaysWholeBesideAnArc_data();
    void aBarStaysWholeBesideAnArc();
};

void tst_Fillets::cornersOfBoxesSideBySideAreArcs_data()
{
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("width");
    for (double width : { 5.6, 6.7 }) {
        QTest::addRow("greys, %.1f", width) << false << width;
        QTest::addRow("one bit, %.1f", width) << true << width;
    }
}

// Labels on a sheet: where four of them meet, the four arcs leave no line through the middle.
void tst_Fillets::cornersOfBoxesSideBySideAreArcs()
{
    QFETCH(bool, hard);
    QFETCH(double, width);
    Sheet sheet(560, 400);
    const double x[] = { 30.3, 200.7, 371.1, 520.6 };
    const double y[] = { 25.4, 190.8, 356.2 };
    for (int i = 0; i < 2; ++i) {
        for (int k = 0; k < 2; ++k)
            drawBox(&sheet, { x[i], y[k] }, { x[i + 1], y[k + 1] }, kRadius, width);
    }
    drawBox(&sheet, { 400.2, y[0] }, { x[3], y[1] }, kRadius, width);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    const std::string all = listOf(drawing);
    QCOMPARE(countOf(drawing, Kind::Arc), 20);
    QCOMPARE(countOf(drawing, Kind::Line), 16);
    QCOMPARE(int(drawing.strokes.size()), 36);
    for (int i = 0; i < 2; ++i) {
        for (int k = 0; k < 2; ++k) {
            for (double cx : { x[i] + kRadius, x[i + 1] - kRadius }) {
                for (double cy : { y[k] + kRadius, y[k + 1] - kRadius })
                    QVERIFY2(arcsAt(drawing, { cx, cy }, kRadius, hard ? 0.7 : 0.5) == 1,
                             all.c_str());
            }
        }
    }
    QVERIFY2(hasLine(drawing, { x[0] + kRadius, y[1] }, { x[1] - kRadius, y[1] }, 2.0),
             all.c_str());
    QVERIFY2(hasLine(drawing, { x[1], y[0] + kRadius }, { x[1], y[1] - kRadius }, 2.0),
             all.c_str());
}

void tst_Fillets::sharpCornersStaySharp_data()
{
    QTest::addColumn<bool>("hard");
    QTest::addColumn<double>("width");
    for (double width : { 3.0, 6.2, 9.0 }) {
        QTest::addRow("greys, %.1f", width) << false << width;
        QTest::addRow("one bit, %.1f", width) << true << width;
    }
}

// Round joins of a pen are round outside alone; corners of 45 degrees hardly show what they are.
void tst_Fillets::sharpCornersStaySharp()
{
    QFETCH(bool, hard);
    QFETCH(double, width);
    Sheet sheet(500, 400);
    sheet.line({ 40.3, 40.6 }, { 200.4, 40.6 }, width)
        .line({ 200.4, 40.6 }, { 200.4, 200.2 }, width);
    sheet.line({ 40.3, 120.5 }, { 200.4, 120.5 }, width);  // T
    sheet.line({ 120.6, 160.3 }, { 280.4, 160.3 }, width); // X
    sheet.line({ 300.2, 60.1 }, { 360.5, 120.4 }, width)
        .line({ 360.5, 120.4 }, { 360.5, 300 }, width);
    sheet.line({ 60.5, 300.2 }, { 160.3, 360.4 }, width)
        .line({ 160.3, 360.4 }, { 240, 240 }, width);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QVERIFY2(countOf(drawing, Kind::Arc) == 0, listOf(drawing).c_str());
    QVERIFY2(countOf(drawing, Kind::Line) == 8, listOf(drawing).c_str());
}

void tst_Fillets::aBarStaysWholeBesideAnArc_data()
{
    sharpCornersStaySharp_data();
}

// A bar that a turn leaves on one side: what the arc does not explain is its ink.
void tst_Fillets::aBarStaysWholeBesideAnArc()
{
    QFETCH(bool, hard);
    QFETCH(double, width);
    const double radius = 2.2 * width + 6;
    Sheet sheet(400, 300);
    sheet.line({ 40.3, 60.4 }, { 360.2, 60.4 }, width);
    sheet.arc({ 200.4 - radius, 60.4 + radius }, radius, -kPi / 2, kPi / 2, width);
    sheet.line({ 200.4, 60.4 + radius }, { 200.4, 250.3 }, width);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QVERIFY2(hasLine(drawing, { 40.3, 60.4 }, { 360.2, 60.4 }, 1.5), listOf(drawing).c_str());
}

QTEST_APPLESS_MAIN(tst_Fillets)
#include "tst_fillets.moc"
