// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings in one bit whose lines a threshold has left little of, and corners of scanned boxes.
#include "StrokesRig.h"

#include "strokes/noise.h"

#include <QtTest>

#include <random>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

const int kSide = 400;

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

QTEST_APPLESS_MAIN(tst_ThinnedStrokes)
#include "tst_thinnedstrokes.moc"
