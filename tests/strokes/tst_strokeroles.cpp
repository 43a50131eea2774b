// (c) the ztrace developers. Licence: see LICENSE.
//
// Arrow heads, letters, hatches: what lines are drawn for.
#include "StrokesRig.h"

#include "strokes/meeting.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace::strokes;
using ztrace::fit::Kind;

namespace {

// A solid head with its tip at a place, its body towards a unit direction.
void drawHead(Sheet *sheet, Point tip, Point back, double length, double width)
{
    const Point across = { -back.y, back.x };
    for (double s = 0.0; s <= length; s += 0.2) {
        const double half = 0.5 * width * s / length;
        sheet->line(tip + s * back - half * across, tip + s * back + half * across, 0.4);
    }
}

int countOf(const StrokeDrawing &drawing, Role role)
{
    int count = 0;
    for (const Stroke &stroke : drawing.strokes)
        count += stroke.role == role ? 1 : 0;
    return count;
}

// A letter E of lines.
void drawLetter(Sheet *sheet, Point at, double height)
{
    sheet->line(at, at + Point { 0, height }, 2.5);
    for (double part : { 0.0, 0.5, 1.0 })
        sheet->line(at + Point { 0, part * height }, at + Point { 0.6 * height, part * height },
                    2.5);
}

} // namespace

class tst_StrokeRoles : public QObject
{
    Q_OBJECT

private slots:
    void aTaperIsAJumpAndADecline();
    void whatIsNoHead_data();
    void whatIsNoHead();
    void aDimensionHasHeads_data();
    void aDimensionHasHeads();
    void openHeadsAreTwoLines_data();
    void openHeadsAreTwoLines();
    void barbsEndAsAllLinesDo_data();
    void barbsEndAsAllLinesDo();
    void aClosedHeadWithABluntTipIsOfThePen();
    void linesThatMeetInAPointAreNoHead();
    void aSlenderHeadIsOne();
    void anEndThatMeetsNothingElseStaysThere();
    void lettersAreText();
    void dashesAreNoText();
    void dashesThatCrossAreNoText();
    void aHatchIsAFamily();
    void rowsOfATableAreNoHatch();
};

void tst_StrokeRoles::aTaperIsAJumpAndADecline()
{
    std::vector<Across> rows;
    for (double s = -20; s < 24; s += 0.5) {
        const double width = s < 0 ? 3.0 : std::max(3.0, 10.0 * (1 - s / 25));
        rows.push_back({ s, 0.5 * width, 0.5 * width });
    }
    Taper taper;
    QVERIFY(taperOf(rows, 3.0, &taper));
    QVERIFY(std::fabs(taper.base) < 1.0);
    QVERIFY(std::fabs(taper.tip - 25) < 0.5);
    QVERIFY(std::fabs(taper.width - 10) < 0.5);
}

void tst_StrokeRoles::whatIsNoHead_data()
{
    QTest::addColumn<int>("form");
    QTest::newRow("a line's end") << 0;
    QTest::newRow("a wider line") << 1;
    QTest::newRow("a blunt bar across") << 2;
    QTest::newRow("a line that grows wide") << 3;
    QTest::newRow("a head on one side") << 4;
    QTest::newRow("an acute corner of thin lines") << 5;
}

void tst_StrokeRoles::whatIsNoHead()
{
    QFETCH(int, form);
    std::vector<Across> rows;
    for (double s = -20; s < 24; s += 0.5) {
        const double head = std::max(3.0, 10.0 * (1 - s / 25));
        const double widths[] = { 3.0,
                                  s < 0 ? 3.0 : 10.0,
                                  s > 0 && s < 3 ? 12.0 : 3.0,
                                  s < 0 ? 3.0 : 3.0 + 0.3 * s,
                                  s < 0 ? 3.0 : head,
                                  s < 0 ? 3.0 : std::max(3.0, 5.6 * (1 - s / 25)) };
        const double width = widths[form];
        const double left = form >= 4 ? 1.5 : 0.5 * width;
        rows.push_back({ s, left, width - left });
    }
    Taper taper;
    QVERIFY(!taperOf(rows, 3.0, &taper));
}

void tst_StrokeRoles::aDimensionHasHeads_data()
{
    QTest::addColumn<double>("degrees");
    QTest::addColumn<bool>("hard");
    for (double degrees : { 0.0, 37.0, 90.0 }) {
        QTest::addRow("%g degrees, soft", degrees) << degrees << false;
        QTest::addRow("%g degrees, hard", degrees) << degrees << true;
    }
}

// A line between two others with a head at either end.
void tst_StrokeRoles::aDimensionHasHeads()
{
    QFETCH(double, degrees);
    QFETCH(bool, hard);
    const double angle = degrees * 3.14159265358979 / 180;
    const Point u = { std::cos(angle), std::sin(angle) };
    const Point v = { -u.y, u.x };
    const Point middle = { 200.3, 200.6 };
    const Point tips[] = { middle - 120 * u, middle + 120 * u };
    Sheet sheet(400, 400);
    sheet.line(tips[0], tips[1], 3.0);
    drawHead(&sheet, tips[0], u, 28, 9);
    drawHead(&sheet, tips[1], -1.0 * u, 28, 9);
    for (const Point &tip : tips)
        sheet.line(tip - 40 * v, tip + 12 * v, 3.0);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QCOMPARE(int(drawing.arrows.size()), 2);
    for (const Arrow &arrow : drawing.arrows) {
        double nearest = 1e9;
        for (const Point &tip : tips)
            nearest = std::min(nearest,
                               std::hypot(arrow.corner[0].x - tip.x, arrow.corner[0].y - tip.y));
        // In whole pixels a head loses its width in steps of two.
        QVERIFY2(nearest < (hard ? 4.0 : 2.0), qPrintable(QString::number(nearest)));
        const Point base = arrow.corner[1] - arrow.corner[2];
        QVERIFY(std::fabs(std::hypot(base.x, base.y) - 9) < 1.5);
    }
    QCOMPARE(countOf(drawing, Role::Dimension), 1);
    QVERIFY2(drawing.strokes.size() == 3, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, tips[0], tips[1], hard ? 4.0 : 2.0), listOf(drawing).c_str());
}

void tst_StrokeRoles::openHeadsAreTwoLines_data()
{
    aDimensionHasHeads_data();
}

// The ink between the barbs closes near the tip, so that it is as a solid head's there.
void tst_StrokeRoles::openHeadsAreTwoLines()
{
    QFETCH(double, degrees);
    QFETCH(bool, hard);
    const double angle = degrees * 3.14159265358979 / 180;
    const Point u = { std::cos(angle), std::sin(angle) };
    const Point v = { -u.y, u.x };
    const Point tip = { 200.3, 120.6 };
    const Point ends[] = { tip + 24 * u + 7 * v, tip + 24 * u - 7 * v };
    Sheet sheet(400, 400);
    sheet.line(tip, tip + 150 * u, 4.0).line(tip, ends[0], 4.0).line(tip, ends[1], 4.0);
    const StrokeDrawing drawing = strokesOn(sheet, hard ? Sheet::Tones::Hard : Sheet::Tones::Soft);
    QCOMPARE(int(drawing.arrows.size()), 0);
    QVERIFY2(drawing.strokes.size() == 3, listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, tip, tip + 150 * u, 2.5), listOf(drawing).c_str());
    for (const Point &end : ends)
        QVERIFY2(hasLine(drawing, tip, end, 2.5), listOf(drawing).c_str());
    QCOMPARE(countOf(drawing, Role::Dimension), 3);
}

void tst_StrokeRoles::barbsEndAsAllLinesDo_data()
{
    QTest::addColumn<bool>("round");
    QTest::newRow("round") << true;
    QTest::newRow("square") << false;
}

// Other lines tell what ends are like.
void tst_StrokeRoles::barbsEndAsAllLinesDo()
{
    QFETCH(bool, round);
    const Point tip = { 60.3, 120.6 };
    const Point ends[] = { tip + Point { 40, 12 }, tip + Point { 40, -12 } };
    Sheet sheet(400, 400);
    const auto draw = [&](Point from, Point to) {
        round ? sheet.line(from, to, 8.0) : sheet.bar(from, to, 8.0);
    };
    draw(tip, tip + Point { 200, 0 });
    draw(tip, ends[0]);
    draw(tip, ends[1]);
    for (int k = 0; k < 6; ++k)
        draw({ 60, 200.0 + 25.3 * k }, { 330.3, 214.0 + 25.3 * k });
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(drawing.roundEnds, round);
    for (const Point &end : ends)
        QVERIFY2(hasLine(drawing, tip, end, 1.6), listOf(drawing).c_str());
}

// Barbs that are as near to the line as two pens: a head of ink, but for its tip. The line ends on
// the one that it points to, not behind it.
void tst_StrokeRoles::aClosedHeadWithABluntTipIsOfThePen()
{
    for (bool met : { false, true }) {
        const Point tip = { 200.3, 120.6 };
        Sheet sheet(400, 300);
        for (int k = 0; k < 3; ++k)
            sheet.bar({ 30, 220.0 + 25.3 * k }, { 330.3, 224.0 + 25.3 * k }, 6.0);
        sheet.bar(tip, tip - Point { 150, 0 }, 6.0);
        for (double side : { -5.0, 5.0 })
            sheet.bar(tip, tip + Point { -20, side }, 6.0);
        if (met)
            sheet.bar({ 200.3, 30 }, { 200.3, 210 }, 6.0);
        else
            sheet.disc(tip, 3.0);
        const StrokeDrawing drawing = strokesOn(sheet);
        QCOMPARE(int(drawing.arrows.size()), 0);
        QVERIFY2(hasLine(drawing, tip, tip - Point { 150, 0 }, 2.0), listOf(drawing).c_str());
        for (double side : { -5.0, 5.0 })
            QVERIFY2(hasLine(drawing, tip, tip + Point { -20, side }, 2.5),
                     listOf(drawing).c_str());
    }
}

void tst_StrokeRoles::linesThatMeetInAPointAreNoHead()
{
    Sheet sheet(500, 300);
    const Point tip = { 60.3, 150.2 };
    const Point fan[] = { { 400, 150 }, { 300, 60 }, { 300, 240 } };
    for (const Point &end : fan)
        sheet.line(tip, end, 3.3);
    const Point corner = { 120.4, 30.3 };
    sheet.line(corner, { 440, 30 }, 3.3).line(corner, { 440, 92 }, 3.3);
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(int(drawing.arrows.size()), 0);
    QCOMPARE(countOf(drawing, Role::Dimension), 0);
    for (const Point &end : fan)
        QVERIFY2(hasLine(drawing, tip, end, 1.5), listOf(drawing).c_str());
    QVERIFY2(hasLine(drawing, corner, { 440, 92 }, 1.5), listOf(drawing).c_str());
}

// A head less than two pens wide. Its tips are no ends of lines: these are square.
void tst_StrokeRoles::aSlenderHeadIsOne()
{
    Sheet sheet(500, 300);
    for (int k = 0; k < 5; ++k) {
        const Point tip = { 40.3, 40.0 + 50.3 * k };
        sheet.bar(tip + Point { 16, 0 }, tip + Point { 200, 0 }, 7.0);
        drawHead(&sheet, tip, { 1, 0 }, 24, 12.4);
    }
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(int(drawing.arrows.size()), 5);
    QVERIFY(!drawing.roundEnds);
}

// A letter's stroke that ends where only itself goes through has nothing to be led to.
void tst_StrokeRoles::anEndThatMeetsNothingElseStaysThere()
{
    Sheet sheet(100, 60);
    sheet.line({ 20, 20 }, { 60, 20 }, 4.0);
    const std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    InkPicture picture;
    picture.width = sheet.width();
    picture.height = sheet.height();
    picture.grey = grey.data();
    const Coverage coverage(picture, 0.0, 255.0);
    const Measure measure;
    Atom atom;
    for (int x = 22; x < 59; ++x) {
        Section section;
        section.centre = { double(x), 20.0 };
        section.width = 4.0;
        atom.samples.push_back(section);
    }
    refit(&atom, measure);
    atom.role = Role::Text;
    atom.joint[1] = 0;
    Web web;
    web.atoms = { atom };
    web.joints = { { { 58.0, 20.0 }, 2.0, JointKind::Tip } };
    web.meetings = { { { { 0, 1 } }, { 0 } } };
    settleEnds(coverage, measure, &web);
    QCOMPARE(int(web.atoms.size()), 1);
    QVERIFY(std::hypot(web.atoms[0].place[1].x - 58.0, web.atoms[0].place[1].y - 20.0) < 3.0);
}

void tst_StrokeRoles::lettersAreText()
{
    Sheet sheet(400, 200);
    for (int k = 0; k < 5; ++k)
        drawLetter(&sheet, { 40.0 + 28 * k, 60 }, 26);
    sheet.line({ 30, 130 }, { 370, 130 }, 2.5);
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(countOf(drawing, Role::Line), 1);
    QVERIFY(countOf(drawing, Role::Text) >= 15);
}

void tst_StrokeRoles::dashesAreNoText()
{
    Sheet sheet(400, 120);
    for (int k = 0; k < 10; ++k)
        sheet.line({ 20.0 + 36 * k, 30.0 + 5 * k }, { 44.0 + 36 * k, 33.0 + 5 * k }, 3.0);
    QCOMPARE(countOf(strokesOn(sheet), Role::Text), 0);
}

// Centre lines that cross in their dashes: crosses as large as letters, in a row.
void tst_StrokeRoles::dashesThatCrossAreNoText()
{
    Sheet sheet(560, 240);
    const auto dashes = [&sheet](Point from, Point step, int count) {
        for (int k = 0; k < count; ++k) {
            const Point at = from + 78.0 * k * step;
            sheet.bar(at, at + 58.0 * step, 3.0);
            sheet.bar(at + 66.5 * step, at + 69.5 * step, 3.0);
        }
    };
    dashes({ 30.3, 120.4 }, { 1, 0 }, 6);
    for (int k = 0; k < 5; ++k)
        dashes({ 59.6 + 78 * k, 13.2 }, { 0, 1 }, 3);
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(countOf(drawing, Role::Text), 0);
    const auto dashed
        = std::count_if(drawing.strokes.begin(), drawing.strokes.end(), [](const Stroke &stroke) {
              return stroke.dashing.type == DashType::Center;
          });
    QVERIFY2(dashed == 6, listOf(drawing).c_str());
}

void tst_StrokeRoles::aHatchIsAFamily()
{
    Sheet sheet(300, 300);
    for (int k = 0; k < 10; ++k)
        sheet.line({ 40.0 + 16 * k, 60 }, { 140.0 + 16 * k, 160 }, 2.5);
    sheet.line({ 20, 280 }, { 280, 240 }, 2.5);
    const StrokeDrawing drawing = strokesOn(sheet);
    QCOMPARE(countOf(drawing, Role::Hatch), 10);
    QCOMPARE(countOf(drawing, Role::Line), 1);
}

void tst_StrokeRoles::rowsOfATableAreNoHatch()
{
    Sheet sheet(300, 300);
    for (int k = 0; k < 10; ++k)
        sheet.line({ 40, 40.0 + 20 * k }, { 250, 40.0 + 20 * k }, 2.5);
    QCOMPARE(countOf(strokesOn(sheet), Role::Hatch), 0);
}

QTEST_APPLESS_MAIN(tst_StrokeRoles)
#include "tst_strokeroles.moc"
