// (c) the ztrace developers. Licence: see LICENSE.
//
// Ink that no stroke explains: letters, pale lines, specks of scans.
#include "StrokesRig.h"

#include "strokes/distance.h"
#include "strokes/leftovers.h"
#include "strokes/paleink.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace::strokes;

namespace {

// Lines that noise is told beside, so that a page has a pen.
Sheet pageOfLines()
{
    Sheet sheet(400, 300);
    for (int k = 0; k < 5; ++k)
        sheet.line({ 20, 20.3 + 16 * k }, { 380, 20.3 + 16 * k }, 3);
    return sheet;
}

// With letters twelve pixels high, of a fine pen.
Sheet pageOfSmallLetters()
{
    Sheet sheet = pageOfLines();
    for (int k = 0; k < 6; ++k) {
        const double x = 60 + 14 * k;
        sheet.line({ x, 150 }, { x, 162 }, 1.2).line({ x, 156 }, { x + 7, 156 }, 1.2);
        sheet.line({ x + 7, 150 }, { x + 7, 162 }, 1.2);
    }
    return sheet;
}

Stroke letterStroke(Point from, Point to, double width)
{
    Stroke stroke;
    stroke.piece.kind = ztrace::fit::Kind::Line;
    stroke.piece.start = from;
    stroke.piece.end = to;
    stroke.width = width;
    stroke.role = Role::Text;
    stroke.samples.resize(1);
    stroke.samples[0].centre = 0.5 * (from + to);
    return stroke;
}

// Ink as dark as a part of the paper's lightness.
void draw(std::vector<uint8_t> *grey, int width, int left, int top, int right, int bottom, int tone)
{
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x)
            (*grey)[std::size_t(y) * std::size_t(width) + std::size_t(x)] = uint8_t(tone);
    }
}

void addNoise(std::vector<uint8_t> *grey, double deviation)
{
    std::mt19937 random(7);
    for (uint8_t &value : *grey) {
        double sum = 0.0; // of twelve evenly spread numbers, which is nearly normal
        for (int k = 0; k < 12; ++k)
            sum += double(random()) / 4294967296.0 - 0.5;
        value = uint8_t(std::clamp(225.0 * value / 255.0 + 25.0 + deviation * sum, 0.0, 255.0));
    }
}

std::size_t cellsOf(const Plane &plane)
{
    return std::size_t(std::count(plane.cells.begin(), plane.cells.end(), uint8_t(1)));
}

} // namespace

class tst_Leftovers : public QObject
{
    Q_OBJECT

private slots:
    void paleLinesAreDrawn();
    void paleLinesAreWholeWhereTheyAreInkInPlaces();
    void paleAreasAreCounted();
    void aGivenThresholdLeavesPaleLinesOut();
    void edgesAreNotPale();
    void unclearLettersAreOutlined();
    void lettersOfTwoPensAreOutlined();
    void clearLettersStayStrokes();
    void smallLettersAreOutlined();
    void whatIsLeftOfAPenKeepsIt();
    void filledMarksAreSolids_data();
    void filledMarksAreSolids();
    void shortThickLinesAreStrokes();
    void squaresThatTouchInACornerAreSolids();
    void aSquareWithAHoleIsOneSolid();
    void whatIsLeftIsDrawn();
    void specksOfScansAreCounted();
};

void tst_Leftovers::paleLinesAreDrawn()
{
    std::vector<uint8_t> grey = pageOfLines().grey(Sheet::Tones::Soft);
    draw(&grey, 400, 60, 150, 340, 151, 190);
    draw(&grey, 400, 60, 180, 62, 280, 200);
    const StrokeDrawing drawing = strokesOn(grey, 400, 300);
    QVERIFY2(hasLine(drawing, { 60, 150.5 }, { 340, 150.5 }, 1.5), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, { 61, 180 }, { 61, 280 }, 1.5), listOf(drawing).c_str());
    QCOMPARE(drawing.leftOut.pale.count, std::size_t(0));
}

// A thin line of three fifths of the ink's darkness is ink where it keeps within a row of pixels
// and pale where it lies between two.
void tst_Leftovers::paleLinesAreWholeWhereTheyAreInkInPlaces()
{
    Sheet thin(400, 300);
    thin.line({ 30, 150.3 }, { 370, 163.7 }, 1.1).arc({ 200, 420 }, 200, 3.9, 1.6, 1.1);
    const std::vector<uint8_t> pale = thin.grey(Sheet::Tones::Soft);
    std::vector<uint8_t> grey = pageOfLines().grey(Sheet::Tones::Soft);
    for (std::size_t i = 0; i < grey.size(); ++i)
        grey[i] = std::min(grey[i], uint8_t(255 - 3 * (255 - pale[i]) / 5));
    const StrokeDrawing drawing = strokesOn(grey, 400, 300);
    QVERIFY2(hasLine(drawing, { 30, 150.3 }, { 370, 163.7 }, 1.5), listOf(drawing).c_str());
    QCOMPARE(countOf(drawing, ztrace::fit::Kind::Arc), 1);
    QCOMPARE(drawing.strokes.size(), std::size_t(7));
}

void tst_Leftovers::paleAreasAreCounted()
{
    std::vector<uint8_t> grey = pageOfLines().grey(Sheet::Tones::Soft);
    draw(&grey, 400, 100, 150, 160, 210, 190);
    const StrokeDrawing drawing = strokesOn(grey, 400, 300);
    QCOMPARE(drawing.leftOut.pale.count, std::size_t(1));
    QCOMPARE(drawing.leftOut.pale.largest, 3600);
    QVERIFY(std::abs(drawing.leftOut.pale.x - 130) <= 1);
    QVERIFY(std::abs(drawing.leftOut.pale.y - 180) <= 1);
}

void tst_Leftovers::aGivenThresholdLeavesPaleLinesOut()
{
    std::vector<uint8_t> grey = pageOfLines().grey(Sheet::Tones::Soft);
    draw(&grey, 400, 60, 150, 340, 151, 190);
    InkPicture picture;
    picture.width = 400;
    picture.height = 300;
    picture.grey = grey.data();
    StrokeOptions options;
    options.thresholdGiven = true;
    StrokeDrawing drawing;
    QVERIFY(strokesOf(picture, options, &drawing));
    QVERIFY(!hasLine(drawing, { 60, 150.5 }, { 340, 150.5 }, 1.5));
    QCOMPARE(drawing.leftOut.pale.count, std::size_t(1));
    QCOMPARE(drawing.leftOut.pale.largest, 280);
}

// Neither edges nor what a blur makes of them.
void tst_Leftovers::edgesAreNotPale()
{
    std::vector<uint8_t> grey = pageOfLines().grey(Sheet::Tones::Soft);
    blurred(&grey, 400, 300, 0.9);
    InkPicture picture;
    picture.width = 400;
    picture.height = 300;
    picture.grey = grey.data();
    const PaleInk pale = paleInkOf(picture);
    QVERIFY(pale.grey.empty());
    QCOMPARE(pale.lines.count + pale.left.count, std::size_t(0));
}

// An H of which the strokes have the bar, or have not; a full stop beside it.
void tst_Leftovers::unclearLettersAreOutlined()
{
    Sheet sheet(100, 60);
    const Point ends[][2]
        = { { { 20, 10 }, { 20, 40 } }, { { 36, 10 }, { 36, 40 } }, { { 20, 25 }, { 36, 25 } } };
    for (const auto &line : ends)
        sheet.line(line[0], line[1], 3);
    sheet.disc({ 46, 39 }, 2);
    const std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    InkPicture picture;
    picture.width = 100;
    picture.height = 60;
    picture.grey = grey.data();
    const Plane plane = inkOf(picture);
    const Coverage coverage(picture, 0, 255);
    for (std::size_t strokes : { 2u, 3u }) {
        StrokeDrawing drawing;
        for (std::size_t k = 0; k < strokes; ++k)
            drawing.strokes.push_back(letterStroke(ends[k][0], ends[k][1], 3));
        outlineUnclearLetters({ plane, coverage }, &drawing);
        QVERIFY(!drawing.letters.cells.empty()); // the full stop
        QVERIFY(drawing.letters.cells[plane.cellOf(46, 39)] != 0);
        QCOMPARE(drawing.letters.cells[plane.cellOf(28, 25)] != 0, strokes == 2);
        QCOMPARE(drawing.strokes.size(), std::size_t(strokes == 2 ? 0 : 3));
        QCOMPARE(drawing.outlined.strokes, std::size_t(strokes == 2 ? 2 : 0));
    }
}

// An L of one pen, and the same where the bar was taken for a wider one, as ink beside it does.
void tst_Leftovers::lettersOfTwoPensAreOutlined()
{
    Sheet sheet(100, 60);
    const Point ends[][2] = { { { 20, 10 }, { 20, 40 } }, { { 20, 40 }, { 36, 40 } } };
    for (const auto &line : ends)
        sheet.line(line[0], line[1], 3);
    const std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    InkPicture picture;
    picture.width = 100;
    picture.height = 60;
    picture.grey = grey.data();
    const Plane plane = inkOf(picture);
    const Coverage coverage(picture, 0, 255);
    for (double width : { 3.0, 4.2 }) {
        StrokeDrawing drawing;
        drawing.strokes = { letterStroke(ends[0][0], ends[0][1], 3),
                            letterStroke(ends[1][0], ends[1][1], width) };
        outlineUnclearLetters({ plane, coverage, false, false, true }, &drawing);
        QCOMPARE(drawing.strokes.size(), std::size_t(width > 4.0 ? 0 : 2));
        QCOMPARE(drawing.letters.cells.empty(), width < 4.0);
    }
}

void tst_Leftovers::clearLettersStayStrokes()
{
    Sheet sheet = pageOfLines();
    for (int k = 0; k < 6; ++k) {
        const double x = 60 + 30 * k;
        sheet.line({ x, 150 }, { x, 182 }, 3).line({ x, 166 }, { x + 16, 166 }, 3);
        sheet.line({ x + 16, 150 }, { x + 16, 182 }, 3);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY(drawing.letters.cells.empty());
    const auto letters = std::count_if(drawing.strokes.begin(), drawing.strokes.end(),
                                       [](const Stroke &s) { return s.role == Role::Text; });
    QCOMPARE(int(letters), 18);
}

void tst_Leftovers::smallLettersAreOutlined()
{
    Sheet sheet = pageOfSmallLetters();
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 5, listOf(drawing).c_str());
    for (int k = 0; k < 6; ++k)
        QCOMPARE(int(drawing.letters.cells[drawing.letters.cellOf(60 + 14 * k, 155)]), 1);
}

// Most of a thin pen is lettering that becomes areas; a short line of it, on a thick one, is left.
void tst_Leftovers::whatIsLeftOfAPenKeepsIt()
{
    Sheet sheet = pageOfSmallLetters();
    sheet.line({ 300, 84.3 }, { 300, 97 }, 1.2);
    const StrokeDrawing drawing = strokesOn(sheet);
    QVERIFY2(drawing.strokes.size() == 6, listOf(drawing).c_str());
    QCOMPARE(drawing.pens.size(), std::size_t(2));
    QVERIFY(drawing.pens[0] < 2.0 && drawing.pens[1] > 2.5);
}

// Marks wider than the lines and not much wider than the widest pen.
void tst_Leftovers::filledMarksAreSolids_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<bool>("triangle");
    QTest::newRow("square") << 25 << 25 << false;
    QTest::newRow("taller") << 20 << 30 << false;
    QTest::newRow("flat") << 32 << 16 << false;
    QTest::newRow("triangle") << 36 << 30 << true;
}

void tst_Leftovers::filledMarksAreSolids()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(bool, triangle);
    Sheet sheet = pageOfLines();
    sheet.line({ 300, 110 }, { 300, 290 }, 20);
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    std::size_t ink = 0;
    for (int y = 0; y < height; ++y) {
        const int in = triangle ? (height - 1 - y) * width / (2 * height) : 0;
        draw(&grey, 400, 100 + in, 150 + y, 100 + width - in, 151 + y, 0);
        ink += std::size_t(width - 2 * in);
    }
    const StrokeDrawing drawing = strokesOn(grey, 400, 300);
    QCOMPARE(cellsOf(drawing.solids), ink);
    QVERIFY(drawing.letters.cells.empty());
    QVERIFY2(drawing.strokes.size() == 6, listOf(drawing).c_str());
}

void tst_Leftovers::shortThickLinesAreStrokes()
{
    Sheet sheet = pageOfLines();
    sheet.line({ 300, 110 }, { 300, 290 }, 20);
    sheet.line({ 100, 200 }, { 180, 200 }, 20);
    const StrokeDrawing drawing = strokesOn(sheet.grey(Sheet::Tones::Soft), 400, 300);
    QVERIFY2(hasLine(drawing, { 100, 200 }, { 180, 200 }, 1.5), listOf(drawing).c_str());
    QVERIFY(drawing.solids.cells.empty());
}

// Of a crossword: the thickest pen would be that of their diagonal.
void tst_Leftovers::squaresThatTouchInACornerAreSolids()
{
    Sheet sheet(280, 280);
    for (int k = 0; k < 7; ++k) {
        sheet.line({ 20, 20.5 + 40 * k }, { 260, 20.5 + 40 * k }, 1.5);
        sheet.line({ 20.5 + 40 * k, 20 }, { 20.5 + 40 * k, 260 }, 1.5);
    }
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    draw(&grey, 280, 60, 60, 100, 100, 0);
    draw(&grey, 280, 100, 100, 140, 140, 0);
    const StrokeDrawing drawing = strokesOn(grey, 280, 280);
    for (const Stroke &stroke : drawing.strokes)
        QVERIFY2(stroke.width < 3.0, listOf(drawing).c_str());
    for (int at : { 61, 65, 80, 97, 103, 120, 135, 138 }) // under the lines around them as well
        QCOMPARE(int(drawing.solids.cells[drawing.solids.cellOf(at, at)]), 1);
    QCOMPARE(int(drawing.solids.cells[drawing.solids.cellOf(120, 80)]), 0);
}

void tst_Leftovers::aSquareWithAHoleIsOneSolid()
{
    Sheet sheet = pageOfLines();
    sheet.bar({ 60, 200 }, { 60, 222 }, 22);
    sheet.paper({ 57, 208 }, { 63, 214 });
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(cellsOf(drawing.solids), std::size_t(22 * 22 - 6 * 6));
    QVERIFY(drawing.dots.empty());
    QVERIFY2(drawing.strokes.size() == 5, listOf(drawing).c_str());
}

// A wedge on a line is as wide as no line, and too small for a solid.
void tst_Leftovers::whatIsLeftIsDrawn()
{
    Sheet sheet = pageOfLines();
    sheet.line({ 40, 200 }, { 360, 200 }, 4);
    sheet.polygon({ { 180, 196 }, { 190, 188 }, { 200, 196 } });
    const StrokeDrawing drawing = strokesOn(sheet);
    const bool isDot = std::any_of(drawing.dots.begin(), drawing.dots.end(), [](const LineDot &d) {
        return std::hypot(d.centre.x - 190, d.centre.y - 193) < 6;
    });
    const bool isStroke
        = std::any_of(drawing.strokes.begin(), drawing.strokes.end(), [](const Stroke &stroke) {
              return stroke.piece.start.y < 198 && stroke.piece.start.y > 180;
          });
    QVERIFY2(isDot || isStroke || cellsOf(drawing.letters) > 0 || cellsOf(drawing.solids) > 0,
             listOf(drawing).c_str());
    QCOMPARE(drawing.leftOut.specks.count, std::size_t(0));
}

void tst_Leftovers::specksOfScansAreCounted()
{
    Sheet sheet = pageOfLines();
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    for (int k = 0; k < 4; ++k)
        draw(&grey, 400, 60 + 70 * k, 160 + 20 * k, 63 + 70 * k, 163 + 20 * k, 0);
    addNoise(&grey, 14.0);
    const StrokeDrawing drawing = strokesOn(grey, 400, 300);
    QCOMPARE(drawing.leftOut.specks.count, std::size_t(4));
    QVERIFY(drawing.dots.empty());
}

QTEST_GUILESS_MAIN(tst_Leftovers)
#include "tst_leftovers.moc"
