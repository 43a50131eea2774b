// (c) the ztrace developers. Licence: see LICENSE.
//
// Inks of drawings in colour, and the strokes that they drew: docs/strokes/inks.md.
#include "StrokesRig.h"

#include "strokes/inks.h"
#include "strokes/inkstrokes.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace::strokes;

namespace {

const int kWidth = 240;
const int kHeight = 200;
const uint32_t kRed = 0xffdc1e1eu;
const uint32_t kBlue = 0xff1e3cc8u;
const uint32_t kYellow = 0xfff0c800u;
const uint32_t kBlack = 0xff000000u;

// Sheets of one ink each, laid over each other.
class Page
{
public:
    explicit Page(uint32_t paper = 0xffffffffu)
        : pixels(std::size_t(kWidth) * std::size_t(kHeight), paper)
    { }

    Page &lay(const Sheet &sheet, uint32_t ink, double blur = 0.0)
    {
        std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
        blurred(&grey, kWidth, kHeight, blur);
        for (std::size_t i = 0; i < grey.size(); ++i) {
            uint32_t mixed = 0xff000000u;
            for (int shift : { 0, 8, 16 }) {
                const int below = int(pixels[i] >> shift & 255u);
                const int above = int(ink >> shift & 255u);
                mixed |= uint32_t((grey[i] * below + (255 - grey[i]) * above) / 255) << shift;
            }
            pixels[i] = mixed;
        }
        return *this;
    }

    Page &noise(int steps)
    {
        std::mt19937 random(5);
        for (uint32_t &pixel : pixels) {
            uint32_t result = 0xff000000u;
            for (int shift : { 0, 8, 16 }) {
                const int more = int(random() % uint32_t(2 * steps + 1)) - steps;
                result |= uint32_t(std::clamp(int(pixel >> shift & 255u) + more, 0, 255)) << shift;
            }
            pixel = result;
        }
        return *this;
    }

    bool inks(Inks *result) const
    {
        return inksOf({ kWidth, kHeight, pixels.data(), kWidth }, result);
    }

    std::vector<uint32_t> pixels;
};

Sheet sheet()
{
    return Sheet(kWidth, kHeight);
}

// A red line, a blue one across it, a yellow and a black one.
Page fourInks(double blur = 0.0)
{
    Page page;
    page.lay(sheet().line({ 20, 40 }, { 220, 40 }, 4), kRed, blur);
    page.lay(sheet().line({ 120, 20 }, { 120, 180 }, 4), kBlue, blur);
    page.lay(sheet().line({ 20, 100 }, { 100, 160 }, 4), kYellow, blur);
    page.lay(sheet().line({ 150, 100 }, { 220, 160 }, 4), kBlack, blur);
    return page;
}

int inkOf(const Inks &inks, uint32_t colour)
{
    const auto found = std::find(inks.colours.begin(), inks.colours.end(), colour);
    return found == inks.colours.end() ? -1 : int(found - inks.colours.begin());
}

std::size_t cellAt(Point p)
{
    return std::size_t(std::floor(p.y)) * kWidth + std::size_t(std::floor(p.x));
}

StrokeDrawing strokesIn(const Inks &inks)
{
    StrokeDrawing drawing = strokesOn(inks.grey, kWidth, kHeight);
    takeInks([&inks](Point p) { return inks.labels[cellAt(p)]; }, &drawing);
    return drawing;
}

const Stroke *lineOf(const StrokeDrawing &drawing, Point a, Point b)
{
    for (const Stroke &stroke : drawing.strokes) {
        StrokeDrawing one;
        one.strokes.push_back(stroke);
        if (hasLine(one, a, b, 1.0))
            return &stroke;
    }
    return nullptr;
}

} // namespace

class tst_Inks : public QObject
{
    Q_OBJECT

private slots:
    void flatInksAreExact();
    void lightInksAreWorthAsMuchAsDarkOnes();
    void blurAndNoiseLeaveTheInks();
    void whatHasNoInks_data();
    void whatHasNoInks();
    void strokesKnowTheirInk();
    void aLineInTwoInksIsTwo();
    void anArcInTwoInksIsTwo();
};

void tst_Inks::flatInksAreExact()
{
    Inks inks;
    QVERIFY(fourInks().inks(&inks));
    QCOMPARE(inks.paper, 0xffffffffu);
    QCOMPARE(int(inks.colours.size()), 4);
    for (uint32_t colour : { kRed, kBlue, kYellow, kBlack })
        QVERIFY2(inkOf(inks, colour) >= 0, qPrintable(QString::number(colour, 16)));
    QCOMPARE(int(inks.labels[cellAt({ 60, 40 })]), inkOf(inks, kRed));
    QCOMPARE(int(inks.labels[cellAt({ 120, 40 })]), inkOf(inks, kBlue));
    QCOMPARE(int(inks.labels[cellAt({ 60, 130 })]), inkOf(inks, kYellow));
    QCOMPARE(int(inks.labels[cellAt({ 60, 60 })]), int(kNoInk));
}

void tst_Inks::lightInksAreWorthAsMuchAsDarkOnes()
{
    Inks inks;
    QVERIFY(fourInks().inks(&inks));
    for (const Point &p : { Point { 60, 40 }, { 120, 80 }, { 60, 130 }, { 185, 130 } })
        QCOMPARE(int(inks.grey[cellAt(p)]), 0);
    QCOMPARE(int(inks.grey[cellAt({ 60, 60 })]), 255);
}

void tst_Inks::blurAndNoiseLeaveTheInks()
{
    Inks inks;
    QVERIFY(fourInks(1.1).noise(16).inks(&inks));
    QCOMPARE(int(inks.colours.size()), 4);
    const StrokeDrawing drawing = strokesIn(inks);
    QCOMPARE(int(drawing.strokes.size()), 4);
    std::vector<bool> seen(4, false);
    for (const Stroke &stroke : drawing.strokes)
        seen[std::size_t(stroke.ink)] = true;
    QVERIFY(std::count(seen.begin(), seen.end(), true) == 4);
}

void tst_Inks::whatHasNoInks_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what : { "greys", "dark paper", "every colour", "nothing but paper" })
        QTest::addRow("%s", what) << QString::fromLatin1(what);
}

void tst_Inks::whatHasNoInks()
{
    QFETCH(QString, what);
    Page page;
    if (what == QLatin1String("greys")) {
        page.lay(sheet().line({ 20, 40 }, { 220, 40 }, 4), 0xff404040u, 1.0);
    } else if (what == QLatin1String("dark paper")) {
        page = Page(0xff102040u);
        page.lay(sheet().line({ 20, 40 }, { 220, 40 }, 4), kYellow);
    } else if (what == QLatin1String("every colour")) {
        page.noise(255);
    }
    Inks inks;
    QVERIFY(!page.inks(&inks));
    QVERIFY(inks.colours.empty() && inks.labels.empty() && inks.grey.empty());
}

void tst_Inks::strokesKnowTheirInk()
{
    Inks inks;
    QVERIFY(fourInks().inks(&inks));
    const StrokeDrawing drawing = strokesIn(inks);
    QVERIFY2(drawing.strokes.size() == 4, listOf(drawing).c_str());
    const Stroke *red = lineOf(drawing, { 20, 40 }, { 220, 40 });
    const Stroke *blue = lineOf(drawing, { 120, 20 }, { 120, 180 });
    const Stroke *yellow = lineOf(drawing, { 20, 100 }, { 100, 160 });
    QVERIFY2(red && blue && yellow, listOf(drawing).c_str());
    QCOMPARE(red->ink, inkOf(inks, kRed));
    QCOMPARE(blue->ink, inkOf(inks, kBlue));
    QCOMPARE(yellow->ink, inkOf(inks, kYellow));
}

void tst_Inks::aLineInTwoInksIsTwo()
{
    Page page;
    page.lay(sheet().line({ 20, 100 }, { 110, 100 }, 4), kRed);
    page.lay(sheet().line({ 112, 100 }, { 220, 100 }, 4), kBlue);
    page.lay(sheet().line({ 60, 20 }, { 60, 180 }, 6), kBlue);
    Inks inks;
    QVERIFY(page.inks(&inks));
    const StrokeDrawing drawing = strokesIn(inks);
    QVERIFY2(drawing.strokes.size() == 3, listOf(drawing).c_str());
    const Stroke *red = lineOf(drawing, { 20, 100 }, { 110, 100 });
    const Stroke *blue = lineOf(drawing, { 110, 100 }, { 220, 100 });
    QVERIFY2(red && blue, listOf(drawing).c_str());
    QCOMPARE(red->ink, inkOf(inks, kRed));
    QCOMPARE(blue->ink, inkOf(inks, kBlue));
}

void tst_Inks::anArcInTwoInksIsTwo()
{
    Page page;
    page.lay(sheet().arc({ 120, 110 }, 70, -3.0, 1.5, 4), kRed);
    page.lay(sheet().arc({ 120, 110 }, 70, -1.5, 1.5, 4), kBlue);
    Inks inks;
    QVERIFY(page.inks(&inks));
    const StrokeDrawing drawing = strokesIn(inks);
    QVERIFY2(countOf(drawing, ztrace::fit::Kind::Arc) == 2, listOf(drawing).c_str());
    for (const Stroke &stroke : drawing.strokes) {
        const ztrace::fit::ArcShape arc = ztrace::fit::arcShape(stroke.piece);
        QVERIFY2(std::fabs(arc.radius - 70) < 0.5, listOf(drawing).c_str());
        QVERIFY2(std::fabs(std::fabs(arc.sweep) - 1.5) < 0.06, listOf(drawing).c_str());
    }
    QVERIFY(drawing.strokes[0].ink != drawing.strokes[1].ink);
}

QTEST_APPLESS_MAIN(tst_Inks)
#include "tst_inks.moc"
