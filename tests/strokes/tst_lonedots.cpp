// (c) the ztrace developers. Licence: see LICENSE.
//
// Dots that no line runs into: stipple, full stops.
#include "StrokesRig.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace::strokes;

class tst_LoneDots : public QObject
{
    Q_OBJECT

private slots:
    void stippleStays_data();
    void stippleStays();
    void ringsAndBarsAreNone();
};

void tst_LoneDots::stippleStays_data()
{
    QTest::addColumn<bool>("hard");
    QTest::newRow("greys") << false;
    QTest::newRow("one bit") << true;
}

// Beside lines as wide as the dots, so that these are neither lines nor solids. One of two by three
// pixels may be a stroke as long as it is wide.
void tst_LoneDots::stippleStays()
{
    QFETCH(bool, hard);
    Sheet sheet(500, 320);
    for (int k = 0; k < 6; ++k)
        sheet.line({ 20, 20.3 + 8 * k }, { 480, 20.3 + 8 * k }, k < 3 ? 2 : 5);
    std::vector<LineDot> stipple;
    for (int k = 0; k < 40; ++k) {
        const double u = 18 * std::fmod(0.618 * k, 1.0) + 50.0 * (k % 8);
        const double v = 18 * std::fmod(0.755 * k * k, 1.0) + 40.0 * (k / 8);
        stipple.push_back({ { 45 + u, 95 + v }, 1.3 + 0.4 * (k * k % 5), 0 });
        sheet.disc(stipple.back().centre, stipple.back().radius);
    }
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    int found = 0;
    const double off = hard ? 0.5 : 0.15;
    for (const LineDot &dot : stipple) {
        found += std::any_of(drawing.dots.begin(), drawing.dots.end(), [&](const LineDot &other) {
            return std::hypot(other.centre.x - dot.centre.x, other.centre.y - dot.centre.y) < off
                && std::fabs(other.radius - dot.radius) < off;
        });
    }
    const auto isShort = [](const Stroke &stroke) {
        return stroke.piece.start.y > 80
            && std::fabs(stroke.piece.end.x - stroke.piece.start.x) < 2;
    };
    const auto bars = std::count_if(drawing.strokes.begin(), drawing.strokes.end(), isShort);
    QVERIFY2(found + bars == 40 && bars <= 2 && int(drawing.dots.size()) == found,
             qPrintable(QString("%1 of %2, %3").arg(found).arg(drawing.dots.size()).arg(bars)));
}

void tst_LoneDots::ringsAndBarsAreNone()
{
    Sheet sheet(300, 200);
    for (int k = 0; k < 4; ++k)
        sheet.line({ 20, 20.3 + 12 * k }, { 280, 20.3 + 12 * k }, 3);
    sheet.arc({ 60, 120 }, 4, 0, 2 * 3.14159265358979323846, 2);
    sheet.line({ 120, 120 }, { 127, 122 }, 3);
    QCOMPARE(strokesOn(sheet).dots.size(), std::size_t(0));
}

QTEST_GUILESS_MAIN(tst_LoneDots)
#include "tst_lonedots.moc"
