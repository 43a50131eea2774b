// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings in one bit whose lines a threshold has left little of, and corners of scanned boxes.
#include "StrokesRig.h"

#include "strokes/noise.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

const int kSide = 400;
const double kStub = 4.5; // pixels that lines go on beyond a corner

typedef std::vector<uint8_t> Greys;

// Leaves that part of the ink of a drawing in one bit, a pixel here and there.
Greys thinned(const Sheet &sheet, double part)
{
    Greys grey = sheet.grey(Sheet::Tones::Hard);
    std::mt19937 random(11);
    for (uint8_t &value : grey) {
        const bool isKept = double(random()) < part * double(std::mt19937::max());
        if (value == 0 && !isKept)
            value = 255;
    }
    return grey;
}

// Blurred, with noise of that many lightnesses.
Greys scanned(const Sheet &sheet, double noise)
{
    Greys grey = sheet.grey(Sheet::Tones::Soft);
    grey = smoothed({ sheet.width(), sheet.height(), grey.data(), 127 });
    grey = smoothed({ sheet.width(), sheet.height(), grey.data(), 127 });
    std::mt19937 random(5);
    for (uint8_t &value : grey) {
        // The sum of twelve even numbers has a variance of 1.
        double sum = -6.0;
        for (int k = 0; k < 12; ++k)
            sum += double(random()) / double(std::mt19937::max());
        value = uint8_t(std::clamp(50.0 + 0.7 * value + noise * sum, 0.0, 255.0));
    }
    return grey;
}

// A box with round corners.
void drawBox(Sheet *sheet, Point from, Point to, double radius, double width)
{
    const double r = radius;
    sheet->line({ from.x + r, from.y }, { to.x - r, from.y }, width)
        .line({ from.x + r, to.y }, { to.x - r, to.y }, width)
        .line({ from.x, from.y + r }, { from.x, to.y - r }, width)
        .line({ to.x, from.y + r }, { to.x, to.y - r }, width);
    const double turn = 3.14159265358979323846 / 2;
    sheet->arc({ to.x - r, to.y - r }, r, 0, turn, width)
        .arc({ from.x + r, to.y - r }, r, turn, turn, width)
        .arc({ from.x + r, from.y + r }, r, 2 * turn, turn, width)
        .arc({ to.x - r, from.y + r }, r, 3 * turn, turn, width);
}

// A frame of 300 x 300 pixels that one line crosses.
Sheet frame(double width)
{
    const Point corner[] = { { 50.3, 50.6 }, { 350.3, 54.6 }, { 346.3, 354.6 }, { 46.3, 350.6 } };
    Sheet sheet(kSide, kSide);
    for (int k = 0; k < 4; ++k)
        sheet.line(corner[k], corner[(k + 1) % 4], width);
    return sheet.line({ 49.0, 150.6 }, { 348.9, 154.6 }, width);
}

} // namespace

class tst_ThinnedStrokes : public QObject
{
    Q_OBJECT

private slots:
    void linesOfLonePixelsAreNoise();
    void linesOfLonePixelsAreLines();
    void scannedBoxesSideBySideHaveArcs();
    void scannedStubsBeyondCornersAreSeen();
    void aFoldInShortPiecesIsNoLine();
};

// No edge of such lines is straight enough for a bump on it.
void tst_ThinnedStrokes::linesOfLonePixelsAreNoise()
{
    const Greys clean = frame(3.0).grey(Sheet::Tones::Hard);
    QVERIFY(!isNoisy({ kSide, kSide, clean.data(), 127 }, true));
    const Greys worn = thinned(frame(3.0), 0.4);
    QVERIFY(isNoisy({ kSide, kSide, worn.data(), 127 }, true));
}

void tst_ThinnedStrokes::linesOfLonePixelsAreLines()
{
    const StrokeDrawing drawing = strokesOn(thinned(frame(3.0), 0.4), kSide, kSide, true);
    QVERIFY2(drawing.strokes.size() == 5, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 50.3, 50.6 }, { 350.3, 54.6 }, 2.0), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 49.0, 150.6 }, { 348.9, 154.6 }, 2.0), listOf(drawing).c_str());
}

// In noise the edges of corners are uneven, but the four arcs between boxes are seen.
void tst_ThinnedStrokes::scannedBoxesSideBySideHaveArcs()
{
    Sheet sheet(560, 400);
    const double x[] = { 30.3, 200.7, 371.1, 541.5 };
    const double y[] = { 25.4, 190.8, 356.2 };
    for (int i = 0; i < 3; ++i) {
        for (int k = 0; k < 2; ++k)
            drawBox(&sheet, { x[i], y[k] }, { x[i + 1], y[k + 1] }, 15.0, 6.0);
    }
    const StrokeDrawing drawing = strokesOn(scanned(sheet, 14.0), 560, 400, false);
    int arcs = 0;
    for (const Stroke &stroke : drawing.strokes) {
        const double bulge = std::fabs(stroke.piece.bulge);
        const double chord = lengthOf(stroke.piece.end - stroke.piece.start);
        arcs += stroke.piece.kind == Kind::Arc
                && std::fabs(chord * (1 + bulge * bulge) / (4 * bulge) - 15.0) < 0.8
            ? 1
            : 0;
    }
    QVERIFY2(arcs >= 22, qPrintable(QString::number(arcs)));
    QVERIFY2(hasLine(drawing, { 215.7, 190.8 }, { 356.1, 190.8 }, 2.0), listOf(drawing).c_str());
}

// Both lines of a corner go on beyond it by little more than their width.
void tst_ThinnedStrokes::scannedStubsBeyondCornersAreSeen()
{
    Sheet sheet(560, 400);
    for (int k = 0; k < 3; ++k) {
        const double x = 60.3 + 160 * k;
        for (double y : { 60.6, 240.2 })
            sheet.line({ x - kStub, y }, { x + 100, y + 3 }, 7.5)
                .line({ x, y - kStub }, { x - 2, y + 110 }, 7.5);
    }
    const StrokeDrawing drawing = strokesOn(scanned(sheet, 14.0), 560, 400, false);
    int seen = 0;
    for (int k = 0; k < 3; ++k) {
        const double x = 60.3 + 160 * k;
        for (double y : { 60.6, 240.2 }) {
            seen += hasLine(drawing, { x - kStub, y }, { x + 100, y + 3 }, 2.0) ? 1 : 0;
            seen += hasLine(drawing, { x, y - kStub }, { x - 2, y + 110 }, 2.0) ? 1 : 0;
        }
    }
    QVERIFY2(seen >= 11, listOf(drawing).c_str());
}

// Noise leaves pieces of a fold that have next to no cross-sections; a short line stays.
void tst_ThinnedStrokes::aFoldInShortPiecesIsNoLine()
{
    Sheet sheet = frame(7.0);
    sheet.line({ 120.3, 300.4 }, { 132.3, 300.4 }, 5.0);
    Greys grey = scanned(sheet, 14.0);
    for (int y = 170; y < 340; ++y) {
        for (int k = -1; k <= 1 && y % 24 < 11; ++k) {
            uint8_t &value = grey[std::size_t(y * kSide + 180 + y / 4 + k)];
            value = uint8_t(std::max(0, value - (k == 0 ? 85 : 42)));
        }
    }
    const StrokeDrawing drawing = strokesOn(grey, kSide, kSide, false);
    QVERIFY2(drawing.strokes.size() == 6, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 120.3, 300.4 }, { 132.3, 300.4 }, 2.5), listOf(drawing).c_str());
}

QTEST_APPLESS_MAIN(tst_ThinnedStrokes)
#include "tst_thinnedstrokes.moc"
