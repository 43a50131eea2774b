// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings as scanners give them: noise, uneven paper, ragged edges, breaks, ends that are blurred.
#include "StrokesRig.h"

#include "strokes/dips.h"
#include "strokes/dottedlines.h"
#include "strokes/noise.h"
#include "strokes/pieces.h"
#include "strokes/scans.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

const int kSide = 400;
const double kPaper = 215.0;
const double kInk = 60.0;

typedef std::vector<uint8_t> Greys;

// Blurred by binomial weights so many times, with noise of that many lightnesses.
Greys scanned(const Sheet &sheet, int blurs, double noise)
{
    Greys grey = sheet.grey(Sheet::Tones::Soft);
    for (int k = 0; k < blurs; ++k)
        grey = smoothed({ sheet.width(), sheet.height(), grey.data(), 127 });
    std::mt19937 random(7);
    for (uint8_t &value : grey) {
        // The sum of twelve even numbers has a variance of 1.
        double sum = -6.0;
        for (int k = 0; k < 12; ++k)
            sum += double(random()) / double(std::mt19937::max());
        const double level = kInk + value / 255.0 * (kPaper - kInk) + noise * sum;
        value = uint8_t(std::clamp(level, 0.0, 255.0));
    }
    return grey;
}

Greys cut(Greys grey, int at)
{
    for (uint8_t &value : grey)
        value = value <= at ? 0 : 255;
    return grey;
}

StrokeDrawing drawn(const Greys &grey, bool hard = false)
{
    return strokesOn(grey, kSide, kSide, hard);
}

// Eight lines from x = 60 to x = 340, with square ends where asked.
Sheet lines(bool square)
{
    Sheet sheet(kSide, kSide);
    for (int k = 0; k < 8; ++k)
        sheet.line({ 60, 40.0 + 42 * k }, { 340, 50.0 + 42 * k }, 7);
    if (square)
        sheet.paper({ 0, 0 }, { 60, kSide }).paper({ 340, 0 }, { kSide, kSide });
    return sheet;
}

} // namespace

class tst_ScannedStrokes : public QObject
{
    Q_OBJECT

private slots:
    void aPageWithLittleInkHasNoOther();
    void aNoisyPageWithoutInkHasNone();
    void unevenPaperBecomesEven();
    void aCellFullOfInkIsNoPaper();
    void raggedEdgesAreNoise();
    void faintNoiseOfAFaintPageIsNoise();
    void aLineInDotsIsOneStroke();
    void dotsFarApartAreALine();
    void dotsInNoRowStay_data();
    void dotsInNoRowStay();
    void brokenDashesFarApartAreARow();
    void dotsAreInOneRow();
    void aFoldIsNoLine();
    void dashesOfOneBitStayApart();
    void aWornLineIsOneStroke();
    void aBreakBesideACornerIsOfItsLine();
    void aGapBesideALineStaysOne();
    void gapsAreBreaksWhereThePenLeavesSome_data();
    void gapsAreBreaksWhereThePenLeavesSome();
    void dotsThatBlurSpreadsAreARow();
    void stubsBeyondSeveralLinesAreOfTheirLine();
    void dashesInNoiseAreNoWornLine();
    void specksAreDropped();
    void blurredEndsKeepTheirForm_data();
    void blurredEndsKeepTheirForm();
    void endsOfNoKnownFormAreHardlyOff_data();
    void endsOfNoKnownFormAreHardlyOff();
    void gapsThatBlurFillsAreDashes_data();
    void gapsThatBlurFillsAreDashes();
    void aHatchInPiecesIsWhole();
    void scannedLinesKeepTheirWidths_data();
    void scannedLinesKeepTheirWidths();
    void aSolidReachesNoFarther();
    void aCircleThatTouchesALineIsOne();
    void lettersKeepTheirForm();
    void aDenseGridIsNoPaper();
};

void tst_ScannedStrokes::aPageWithLittleInkHasNoOther()
{
    const StrokeDrawing drawing
        = drawn(scanned(Sheet(kSide, kSide).line({ 60, 200 }, { 340, 240 }, 4), 1, 25));
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 60, 200 }, { 340, 240 }, 2.0), listOf(drawing).c_str());
}

void tst_ScannedStrokes::aNoisyPageWithoutInkHasNone()
{
    const StrokeDrawing drawing = drawn(scanned(Sheet(kSide, kSide), 0, 20));
    QVERIFY2(drawing.strokes.empty(), listOf(drawing).c_str());
}

void tst_ScannedStrokes::unevenPaperBecomesEven()
{
    Greys grey(std::size_t(kSide * kSide));
    for (std::size_t i = 0; i < grey.size(); ++i)
        grey[i] = uint8_t(170 + 60 * (i % std::size_t(kSide)) / std::size_t(kSide));
    const EvenPage page = evenPageOf({ kSide, kSide, grey.data(), 127 });
    // The outermost half cell has no neighbour to tell its slope.
    for (int y = kPaperCell; y < kSide - kPaperCell; ++y) {
        for (int x = kPaperCell; x < kSide - kPaperCell; ++x)
            QVERIFY(std::abs(page.grey[std::size_t(y * kSide + x)] - page.paper) <= 2);
    }
}

void tst_ScannedStrokes::aCellFullOfInkIsNoPaper()
{
    const Greys grey = Sheet(kSide, kSide).disc({ 200, 200 }, 45).grey(Sheet::Tones::Soft);
    const EvenPage page = evenPageOf({ kSide, kSide, grey.data(), 127 });
    QCOMPARE(page.paper, 255);
    QVERIFY(page.grey[std::size_t(200 * kSide + 200)] < 20);
}

void tst_ScannedStrokes::raggedEdgesAreNoise()
{
    const Greys clean = lines(false).grey(Sheet::Tones::Hard);
    QVERIFY(!isNoisy({ kSide, kSide, clean.data(), 127 }, true));
    Greys ragged = cut(scanned(lines(false), 2, 30), 130);
    QVERIFY(isNoisy({ kSide, kSide, ragged.data(), 127 }, true));
}

// Grain of two pixels and a contrast of a quarter: neighbours differ by little, but so do ink and
// paper.
void tst_ScannedStrokes::faintNoiseOfAFaintPageIsNoise()
{
    Greys grey = scanned(lines(false), 0, 60);
    grey = smoothed({ kSide, kSide, grey.data(), 127 });
    for (uint8_t &value : grey)
        value = uint8_t(120 + value / 4);
    QVERIFY(isNoisy({ kSide, kSide, grey.data(), 127 }, false));
    const StrokeDrawing drawing = drawn(grey);
    QVERIFY2(drawing.strokes.size() == 8, listOf(drawing).c_str());
}

// Of a line two pixels wide the threshold leaves half of the pixels of its middle.
void tst_ScannedStrokes::aLineInDotsIsOneStroke()
{
    Sheet sheet = lines(false);
    sheet.line({ 40, 372.5 }, { 360, 380.5 }, 2.1);
    const Greys grey = cut(scanned(sheet, 2, 26), 108);
    int inked = 0;
    for (int x = 50; x < 350; ++x) {
        const int y = int(372.5 + 0.025 * (x - 40));
        inked += grey[std::size_t(y * kSide + x)] == 0 ? 1 : 0;
    }
    QVERIFY2(inked > 90 && inked < 240, qPrintable(QString::number(inked)));
    const StrokeDrawing drawing = drawn(grey, true);
    QVERIFY2(drawing.strokes.size() == 9, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 40, 372.5 }, { 360, 380.5 }, 6.0), listOf(drawing).c_str());
}

// A threshold leaves single pixels of a line; the row ends on the outline and at its last dot.
void tst_ScannedStrokes::dotsFarApartAreALine()
{
    Greys grey(std::size_t(kSide * kSide), 255);
    for (int y = 40; y < 360; ++y)
        std::fill_n(grey.begin() + y * kSide + 360, 5, uint8_t(0));
    std::mt19937 random(3);
    for (int x = 30; x < 350; ++x) {
        if (random() % 10 == 0)
            grey[std::size_t((100 + x / 4) * kSide + x)] = 0;
    }
    for (int k = 0; k < 40; ++k)
        grey[std::size_t((200 + int(random() % 190)) * kSide + int(random() % 350))] = 0;
    QCOMPARE(drawDottedLines({ kSide, kSide, grey.data(), 127 }, &grey), std::size_t(1));
    int inked = 0;
    for (int x = 50; x < 360; ++x) {
        const std::size_t at = std::size_t((100 + x / 4) * kSide + x);
        inked += grey[at] == 0 || grey[at + kSide] == 0 ? 1 : 0;
    }
    QVERIFY2(inked > 300, qPrintable(QString::number(inked)));
}

void tst_ScannedStrokes::dotsInNoRowStay_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("specks anywhere") << 0;
    QTest::newRow("dots of an even step") << 1;
    QTest::newRow("dots of an arc") << 2;
    QTest::newRow("dots beside an edge") << 3;
}

void tst_ScannedStrokes::dotsInNoRowStay()
{
    QFETCH(int, kind);
    Greys grey(std::size_t(kSide * kSide), 255);
    std::mt19937 random(3);
    for (int x = 30; x < 370; ++x) {
        int y = 100;
        if (kind == 0)
            y = 20 + int(random() % 360);
        else if (kind == 2)
            y = 380 - int(std::lround(std::sqrt(180.0 * 180.0 - (x - 200.0) * (x - 200.0))));
        if (kind == 1 ? x % 8 == 0 : random() % 10 == 0)
            grey[std::size_t(y * kSide + x)] = 0;
        if (kind == 3)
            std::fill_n(grey.begin() + 102 * kSide + x, 1, uint8_t(0));
    }
    const Greys before = grey;
    const std::size_t rows = drawDottedLines({ kSide, kSide, grey.data(), 127 }, &grey);
    QVERIFY2(rows == 0 && grey == before, qPrintable(QString::number(rows)));
}

// Of thin dashes a threshold leaves short pieces, of the dots between them nothing.
void tst_ScannedStrokes::brokenDashesFarApartAreARow()
{
    const int width = 1000;
    Sheet sheet(width, 160);
    for (double y : { 20.0, 45.0, 70.0 })
        sheet.line({ 60, y }, { 940, y + 10 }, 7);
    Greys grey = cut(scanned(sheet, 1, 26), 120);
    std::mt19937 random(5);
    for (int x = 40; x < 954; ++x) {
        const int at = (x - 40) % 106;
        if (at < 66 && random() % 10 < 6)
            grey[std::size_t(120 * width + x)] = grey[std::size_t(121 * width + x)] = 0;
    }
    const StrokeDrawing drawing = strokesOn(grey, width, 160, true);
    const auto dashed
        = std::count_if(drawing.strokes.begin(), drawing.strokes.end(), [](const Stroke &stroke) {
              return stroke.dashing.type != DashType::None && lengthOf(stroke.piece) > 890;
          });
    QVERIFY2(dashed == 1 && drawing.strokes.size() == 4, listOf(drawing).c_str());
}

// Although rows are looked for twice.
void tst_ScannedStrokes::dotsAreInOneRow()
{
    const int width = 600;
    Sheet sheet(width, 160);
    for (double y : { 20.0, 45.0, 70.0 })
        sheet.line({ 60, y }, { 540, y + 10 }, 7);
    for (int x = 60; x < 540; x += 15)
        sheet.line({ double(x), 120 }, { x + 0.5, 120 }, 5);
    const StrokeDrawing drawing = strokesOn(cut(scanned(sheet, 1, 26), 120), width, 160, true);
    const auto dotted
        = std::count_if(drawing.strokes.begin(), drawing.strokes.end(), [](const Stroke &stroke) {
              return stroke.dashing.type == DashType::Dot && lengthOf(stroke.piece) > 450;
          });
    QVERIFY2(dotted == 1 && drawing.strokes.size() == 4, listOf(drawing).c_str());
}

// A fold is a pixel or two of grey across the sheet; a line of two pixels is darker.
void tst_ScannedStrokes::aFoldIsNoLine()
{
    Sheet sheet = lines(false);
    sheet.line({ 30, 380 }, { 370, 390 }, 2.1);
    Greys grey = scanned(sheet, 2, 12);
    for (int y = 0; y < kSide; ++y) {
        const int x = 20 + y / 20;
        for (int k = -1; k <= 1; ++k) {
            uint8_t &value = grey[std::size_t(y * kSide + x + k)];
            value = uint8_t(std::max(0, value - (k == 0 ? 62 : 31)));
        }
    }
    const StrokeDrawing drawing = drawn(grey);
    QVERIFY2(drawing.strokes.size() == 9, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 30, 380 }, { 370, 390 }, 3.0), listOf(drawing).c_str());
}

// Gaps of dashes are longer than those that noise leaves.
void tst_ScannedStrokes::dashesOfOneBitStayApart()
{
    Sheet sheet = lines(false);
    for (int x = 40; x < 360; x += 24)
        sheet.bar({ double(x), 376.5 }, { x + 15.0, 376.5 }, 3);
    const StrokeDrawing drawing = drawn(cut(scanned(sheet, 1, 26), 120), true);
    QVERIFY2(drawing.strokes.size() == 9, listOf(drawing).c_str());
    const auto isHidden
        = [](const Stroke &stroke) { return stroke.dashing.type == DashType::Hidden; };
    QCOMPARE(int(std::count_if(drawing.strokes.begin(), drawing.strokes.end(), isHidden)), 1);
}

void tst_ScannedStrokes::aWornLineIsOneStroke()
{
    Sheet sheet(kSide, kSide);
    sheet.line({ 40, 100 }, { 360, 130 }, 4);
    const double at[] = { 70, 127, 141, 203, 300, 322 };
    const double gap[] = { 6, 4, 8, 7, 5, 8 };
    for (int k = 0; k < 6; ++k)
        sheet.paper({ at[k], 0 }, { at[k] + gap[k], 200 });
    const StrokeDrawing worn = drawn(scanned(sheet, 1, 18));
    QVERIFY2(worn.strokes.size() == 1, listOf(worn).c_str());
    QVERIFY2(hasLine(worn, { 40, 100 }, { 360, 130 }, 2.0), listOf(worn).c_str());
    const StrokeDrawing clean = strokesOn(sheet);
    QVERIFY2(clean.strokes.size() > 1, listOf(clean).c_str());
}

// A frame that a worn pen has left out of before two corners: in one there is nothing left of the
// line, in the other a stub.
void tst_ScannedStrokes::aBreakBesideACornerIsOfItsLine()
{
    Sheet sheet(kSide, kSide);
    const Point corners[] = { { 60, 60 }, { 340, 70 }, { 330, 340 }, { 50, 330 } };
    for (int k = 0; k < 4; ++k)
        sheet.line(corners[k], corners[(k + 1) % 4], 5);
    sheet.paper({ 328, 60 }, { 337, 80 }).paper({ 67, 50 }, { 76, 70 });
    const StrokeDrawing drawing = drawn(scanned(sheet, 1, 18));
    for (int k = 0; k < 4; ++k)
        QVERIFY2(hasLine(drawing, corners[k], corners[(k + 1) % 4], 2.0), listOf(drawing).c_str());
}

// As between an outline and the line of a dimension.
void tst_ScannedStrokes::aGapBesideALineStaysOne()
{
    Sheet sheet(kSide, kSide);
    sheet.line({ 60, 60 }, { 60, 340 }, 5).line({ 73, 200 }, { 340, 210 }, 4);
    sheet.line({ 60, 340 }, { 340, 340 }, 5).line({ 340, 60 }, { 340, 340 }, 5);
    const StrokeDrawing drawing = drawn(scanned(sheet, 1, 18));
    QVERIFY2(hasLine(drawing, { 73, 200 }, { 340, 210 }, 2.0), listOf(drawing).c_str());
}

void tst_ScannedStrokes::gapsAreBreaksWhereThePenLeavesSome_data()
{
    QTest::addColumn<bool>("isWorn");
    QTest::newRow("no line has a break") << false;
    QTest::newRow("another line has one") << true;
}

// A bar that ends ten pixels before a line, and another one that begins there.
void tst_ScannedStrokes::gapsAreBreaksWhereThePenLeavesSome()
{
    QFETCH(bool, isWorn);
    Sheet sheet(kSide, kSide);
    sheet.line({ 40, 300 }, { 360, 320 }, 6);
    if (isWorn)
        sheet.paper({ 150, 290 }, { 156, 330 });
    sheet.line({ 40, 105 }, { 360, 105 }, 6);
    sheet.line({ 200, 20 }, { 200, 88 }, 6).line({ 200, 105 }, { 200, 220 }, 6);
    const StrokeDrawing drawing = drawn(scanned(sheet, 1, 14));
    QVERIFY2(hasLine(drawing, { 40, 300 }, { 360, 320 }, 2.0), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 200, 20 }, { 200, 88 }, 2.0) == !isWorn, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 200, 20 }, { 200, 220 }, 2.0) == isWorn, listOf(drawing).c_str());
}

// As long as the gaps between them, from line to line across a third.
void tst_ScannedStrokes::dotsThatBlurSpreadsAreARow()
{
    Sheet sheet(kSide, kSide);
    for (int y = 40; y <= 355; y += 9)
        sheet.disc({ 200.0, double(y) }, 2.0);
    for (double y : { 40.0, 170.0, 355.0 })
        sheet.line({ 40, y }, { 360, y }, 5);
    const StrokeDrawing drawing = drawn(scanned(sheet, 2, 14));
    QVERIFY2(drawing.strokes.size() == 4, listOf(drawing).c_str());
    QVERIFY(std::any_of(drawing.strokes.begin(), drawing.strokes.end(),
                        [](const Stroke &stroke) { return stroke.dashing.type == DashType::Dot; }));
    QVERIFY2(hasLine(drawing, { 200, 40 }, { 200, 355 }, 2.5), listOf(drawing).c_str());
}

// The squares between the lines are too small for cross-sections.
void tst_ScannedStrokes::stubsBeyondSeveralLinesAreOfTheirLine()
{
    Sheet sheet(kSide, kSide);
    for (double y : { 40.0, 49.5 })
        sheet.line({ 20, y }, { 380, y + 2.5 }, 3.4);
    const double left[] = { 80, 88.5, 98.3 };
    for (double x : left)
        sheet.line({ x, 36.5 }, { x - 2.5, 380 }, 3.4);
    const StrokeDrawing drawing = drawn(scanned(sheet, 2, 10));
    for (double x : left)
        QVERIFY2(hasLine(drawing, { x, 36.5 }, { x - 2.5, 380 }, 2.0), listOf(drawing).c_str());
}

void tst_ScannedStrokes::dashesInNoiseAreNoWornLine()
{
    Sheet sheet(kSide, kSide);
    sheet.line({ 40, 100 }, { 360, 130 }, 4);
    for (int x = 58; x < 360; x += 26)
        sheet.paper({ double(x), 0 }, { x + 8.0, 200 });
    const StrokeDrawing drawing = drawn(scanned(sheet, 1, 18));
    QVERIFY2(drawing.strokes.size() == 1, listOf(drawing).c_str());
    QCOMPARE(int(drawing.strokes[0].dashing.type), int(DashType::Hidden));
}

void tst_ScannedStrokes::specksAreDropped()
{
    Sheet sheet = lines(false);
    for (int k = 0; k < 8; ++k)
        sheet.disc({ 90.0 + 30 * k, 66.0 + 42 * (k % 7) }, 2.0);
    const StrokeDrawing drawing = drawn(scanned(sheet, 1, 18));
    QVERIFY2(drawing.strokes.size() == 8, listOf(drawing).c_str());
}

void tst_ScannedStrokes::blurredEndsKeepTheirForm_data()
{
    QTest::addColumn<bool>("square");
    QTest::addColumn<double>("noise");
    for (bool square : { false, true }) {
        for (double noise : { 0.0, 16.0 })
            QTest::addRow("%s, noise %g", square ? "square" : "round", noise) << square << noise;
    }
}

void tst_ScannedStrokes::blurredEndsKeepTheirForm()
{
    QFETCH(bool, square);
    QFETCH(double, noise);
    const StrokeDrawing drawing = drawn(scanned(lines(square), 2, noise));
    QCOMPARE(drawing.strokes.size(), std::size_t(8));
    QCOMPARE(drawing.roundEnds, !square);
    for (int k = 0; k < 8; ++k)
        QVERIFY2(hasLine(drawing, { 60, 40.0 + 42 * k }, { 340, 50.0 + 42 * k }, 1.5),
                 listOf(drawing).c_str());
}

// A threshold that thins rounds square ends and shortens round ones: no end may be half a pen off.
void tst_ScannedStrokes::endsOfNoKnownFormAreHardlyOff_data()
{
    QTest::addColumn<bool>("square");
    QTest::newRow("round") << false;
    QTest::newRow("square") << true;
}

void tst_ScannedStrokes::endsOfNoKnownFormAreHardlyOff()
{
    QFETCH(bool, square);
    const StrokeDrawing drawing = drawn(cut(scanned(lines(square), 4, 24), 112), true);
    QCOMPARE(drawing.strokes.size(), std::size_t(8));
    for (int k = 0; k < 8; ++k)
        QVERIFY2(hasLine(drawing, { 60, 40.0 + 42 * k }, { 340, 50.0 + 42 * k }, 3.0),
                 listOf(drawing).c_str());
}

// Gaps of two pixels under blur and noise: the ink goes through, lighter at even distances.
void tst_ScannedStrokes::gapsThatBlurFillsAreDashes_data()
{
    QTest::addColumn<bool>("dashed");
    QTest::newRow("chain line") << true;
    QTest::newRow("drawn throughout") << false;
}

void tst_ScannedStrokes::gapsThatBlurFillsAreDashes()
{
    QFETCH(bool, dashed);
    InkProfile profile;
    profile.step = 0.5;
    std::mt19937 random(3);
    for (int k = 0; k <= 126; ++k) {
        // Of 63 pixels: dashes of 17, dots and gaps of 2, softened, and the ink of another line.
        const double at = std::fmod(0.5 * k, 23.0);
        const double dip = dashed && at > 16.0 ? 0.4 - 0.1 * std::cos(at * 3.14) : 0.0;
        const double noise = 0.2 * double(random()) / double(std::mt19937::max());
        profile.isOwn.push_back(k < 60 || k > 70);
        profile.levels.push_back(float(profile.isOwn.back() ? 0.5 - dip + noise : 1.0));
    }
    const Dashing dashing = dashingOfDips(profile, 2.0);
    QCOMPARE(dashing.type != DashType::None, dashed);
    if (dashed)
        QVERIFY(dashing.type == DashType::Center || dashing.type == DashType::Phantom);
}

// The threshold leaves pieces of lines two pixels wide; all of them go from one side to the other.
void tst_ScannedStrokes::aHatchInPiecesIsWhole()
{
    Sheet sheet(kSide, kSide);
    sheet.line({ 60, 30 }, { 60, 370 }, 5).line({ 300, 30 }, { 300, 370 }, 5);
    for (int k = 0; k < 9; ++k)
        sheet.line({ 60, 160.0 + 20 * k }, { 300, 60.0 + 20 * k }, 2.1);
    const StrokeDrawing drawing = drawn(cut(scanned(sheet, 2, 26), 108), true);
    for (int k = 0; k < 9; ++k)
        QVERIFY2(hasLine(drawing, { 60, 160.0 + 20 * k }, { 300, 60.0 + 20 * k }, 2.0),
                 listOf(drawing).c_str());
    QVERIFY2(drawing.strokes.size() == 11, listOf(drawing).c_str());
}

// Blur makes the middle of thin lines lighter than ink is, and a threshold takes from their edges.
void tst_ScannedStrokes::scannedLinesKeepTheirWidths_data()
{
    QTest::addColumn<bool>("hard");
    QTest::newRow("greys") << false;
    QTest::newRow("black and white") << true;
}

void tst_ScannedStrokes::scannedLinesKeepTheirWidths()
{
    QFETCH(bool, hard);
    Sheet sheet(kSide, kSide);
    for (int k = 0; k < 8; ++k)
        sheet.line({ 60, 40.0 + 42 * k }, { 340, 50.0 + 42 * k }, k < 6 ? 2.8 : 5.6);
    const Greys grey = scanned(sheet, 4, 20);
    const StrokeDrawing drawing = hard ? drawn(cut(grey, 128), true) : drawn(grey);
    QVERIFY2(drawing.strokes.size() == 8, listOf(drawing).c_str());
    for (const Stroke &stroke : drawing.strokes) {
        const double wanted = stroke.piece.start.y < 40 + 42 * 5.8 ? 2.8 : 5.6;
        QVERIFY2(std::fabs(stroke.width - wanted) < 0.14 * wanted, listOf(drawing).c_str());
    }
}

void tst_ScannedStrokes::aSolidReachesNoFarther()
{
    Sheet sheet(kSide, kSide);
    for (double y : { 8.0, 390.0 })
        sheet.line({ 12, y }, { 388, y }, 5);
    for (double x : { 60.0, 340.0 })
        sheet.line({ x, 60 }, { x, 340 }, 14);
    sheet.disc({ 200, 200 }, 40);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY(!drawing.solids.cells.empty());
    QVERIFY2(hasLine(drawing, { 12, 8 }, { 388, 8 }, 1.0), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 12, 390 }, { 388, 390 }, 1.0), listOf(drawing).c_str());
}

void tst_ScannedStrokes::aCircleThatTouchesALineIsOne()
{
    Sheet sheet(kSide, kSide);
    sheet.line({ 240, 20 }, { 240, 380 }, 7).arc({ 202, 200 }, 38, 0, 2 * M_PI, 7);
    const StrokeDrawing drawing = drawn(scanned(sheet, 2, 16));
    QVERIFY2(countOf(drawing, Kind::Circle) == 1, listOf(drawing).c_str());
    QVERIFY2(countOf(drawing, Kind::Arc) == 0, listOf(drawing).c_str());
}

// Threes with their openings, capitals with their bars, of letters whose edges are ragged.
void tst_ScannedStrokes::lettersKeepTheirForm()
{
    const double kPi = 3.14159265358979323846;
    const double w = 5.3;
    Sheet sheet(kSide, kSide);
    sheet.line({ 30, 30 }, { 370, 33 }, 9).line({ 30, 370 }, { 370, 366 }, 9);
    sheet.line({ 30, 30 }, { 34, 370 }, 9).line({ 370, 33 }, { 367, 366 }, 9);
    for (int row = 0; row < 4; ++row) {
        const double y = 70 + 75.0 * row;
        for (int k = 0; k < 4; ++k) {
            const double x = 60 + 74.0 * k;
            sheet.arc({ x + 10, y + 10 }, 9.4, -0.85 * kPi, 1.4 * kPi, w);
            sheet.arc({ x + 10, y + 30.5 }, 11.1, -0.5 * kPi, 1.3 * kPi, w);
            sheet.line({ x + 34, y + 41 }, { x + 46, y }, w)
                .line({ x + 46, y }, { x + 58, y + 41 }, w);
            sheet.line({ x + 38, y + 27 }, { x + 54, y + 27 }, w);
        }
    }
    const StrokeDrawing drawing = drawn(cut(scanned(sheet, 1, 38), 140), true);
    QVERIFY2(countOf(drawing, Kind::Circle) == 0, listOf(drawing).c_str());
    int bars = 0;
    for (int k = 0; k < 16; ++k) {
        const Point middle = { 60 + 74.0 * (k % 4) + 46, 70 + 75.0 * (k / 4) + 27 };
        bars += std::any_of(drawing.strokes.begin(), drawing.strokes.end(), [&](const Stroke &s) {
            const Point at = ztrace::fit::pointAt(s.piece, 0.5);
            return s.role == Role::Text && std::hypot(at.x - middle.x, at.y - middle.y) < 4;
        });
    }
    QVERIFY2(bars >= 15, listOf(drawing).c_str());
}

// More than half of most cells is ink, and yet the paper is what is light.
void tst_ScannedStrokes::aDenseGridIsNoPaper()
{
    Sheet sheet(kSide, kSide);
    for (int k = 0; k < 16; ++k) {
        const double at = 50 + 20.0 * k;
        sheet.line({ 50, at }, { 350, at + 2 }, 7).line({ at, 50 }, { at - 2, 350 }, 7);
    }
    const StrokeDrawing drawing = drawn(scanned(sheet, 1, 9));
    int found = 0;
    for (int k = 0; k < 16; ++k) {
        const double at = 50 + 20.0 * k;
        found += hasLine(drawing, { 50, at }, { 350, at + 2 }, 4) ? 1 : 0;
        found += hasLine(drawing, { at, 50 }, { at - 2, 350 }, 4) ? 1 : 0;
    }
    QVERIFY2(found >= 28, listOf(drawing).c_str());
}

QTEST_APPLESS_MAIN(tst_ScannedStrokes)
#include "tst_scannedstrokes.moc"
