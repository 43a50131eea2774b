// (c) the ztrace developers. Licence: see LICENSE.
//
// The order of strokes for plotters.
#include "strokes/penorder.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

using namespace ztrace::strokes;
namespace fit = ztrace::fit;

namespace {

const Point kCorner = { 0, 100 };

Stroke line(Point from, Point to, int pen = 0, int ink = 0)
{
    Stroke stroke;
    stroke.piece = fit::linePiece(from, to);
    stroke.pen = pen;
    stroke.ink = ink;
    return stroke;
}

double apart(Point a, Point b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

// The rule itself, trying every stroke each time.
double travelByTrying(std::vector<Stroke> strokes)
{
    double travel = 0.0;
    Point pen = kCorner;
    while (!strokes.empty()) {
        std::size_t best = 0;
        double least = 1e300;
        bool atEnd = false;
        for (std::size_t k = 0; k < strokes.size(); ++k) {
            const double there = apart(pen, strokes[k].piece.start);
            const double other = strokes[k].dashing.type == DashType::None
                ? apart(pen, strokes[k].piece.end)
                : 1e300;
            if (std::min(there, other) < least) {
                least = std::min(there, other);
                best = k;
                atEnd = other < there;
            }
        }
        travel += least;
        pen = atEnd ? strokes[best].piece.start : strokes[best].piece.end;
        strokes.erase(strokes.begin() + std::ptrdiff_t(best));
    }
    return travel;
}

std::vector<Stroke> manyLines(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    const auto some = [&random] { return double(random() % 100000) / 100.0; };
    std::vector<Stroke> strokes;
    for (std::size_t k = 0; k < count; ++k) {
        const Point from = { some(), some() };
        strokes.push_back(line(from, from + Point { some() / 20, some() / 20 }));
        if (k % 7 == 0)
            strokes.back().dashing.type = DashType::Hidden;
    }
    return strokes;
}

} // namespace

class tst_PenOrder : public QObject
{
    Q_OBJECT

private slots:
    void aHatchIsDrawnToAndFro();
    void theNearestIsNext();
    void penAfterPenAndInkAfterInk();
    void whatIsTurnedStaysWhereItIs();
    void equalStrokesAreAllKept();
};

void tst_PenOrder::aHatchIsDrawnToAndFro()
{
    std::vector<Stroke> strokes;
    for (int y : { 40, 80, 10, 90, 60, 20, 100, 30, 70, 50 })
        strokes.push_back(line({ 10, double(y) }, { 210, double(y) }));
    QVERIFY(penUpTravel(kCorner, strokes) > 1500);
    putInPenOrder(kCorner, &strokes);
    QCOMPARE(penUpTravel(kCorner, strokes), 10.0 + 9 * 10.0);
}

void tst_PenOrder::theNearestIsNext()
{
    for (unsigned seed : { 1u, 2u, 3u }) {
        std::vector<Stroke> strokes = manyLines(400, seed);
        const double expected = travelByTrying(strokes);
        const double before = penUpTravel(kCorner, strokes);
        putInPenOrder(kCorner, &strokes);
        QCOMPARE(int(strokes.size()), 400);
        QVERIFY(std::fabs(penUpTravel(kCorner, strokes) - expected) < 1e-6);
        QVERIFY(expected < 0.1 * before);
    }
}

void tst_PenOrder::penAfterPenAndInkAfterInk()
{
    std::vector<Stroke> strokes;
    for (int k = 0; k < 24; ++k) {
        strokes.push_back(line({ double(k), 0 }, { double(k), 9 }, k % 2, k % 3));
        if (k % 4 == 0)
            strokes.back().role = Role::Text;
    }
    putInPenOrder(kCorner, &strokes);
    std::vector<int> layers;
    for (const Stroke &stroke : strokes) {
        const bool isText = stroke.role == Role::Text;
        const int layer = isText ? 100 + stroke.ink : 10 * stroke.ink + stroke.pen;
        if (layers.empty() || layers.back() != layer)
            layers.push_back(layer);
    }
    QVERIFY(std::is_sorted(layers.begin(), layers.end()));
    QCOMPARE(int(std::set<int>(layers.begin(), layers.end()).size()), int(layers.size()));
}

void tst_PenOrder::whatIsTurnedStaysWhereItIs()
{
    Stroke arc;
    arc.piece = fit::arcPiece({ 90, 50 }, { 10, 90 }, 0.4);
    arc.joint[0] = 3;
    arc.joint[1] = 4;
    const fit::ArcShape before = fit::arcShape(arc.piece);
    Stroke dashed = line({ 300, 90 }, { 200, 90 });
    dashed.dashing.type = DashType::Center;
    std::vector<Stroke> strokes = { dashed, arc };
    putInPenOrder(kCorner, &strokes);
    QCOMPARE(strokes[0].piece.start.x, 10.0);
    QCOMPARE(strokes[0].joint[0], 4);
    const fit::ArcShape after = fit::arcShape(strokes[0].piece);
    QVERIFY(apart(after.centre, before.centre) < 1e-9);
    QVERIFY(std::fabs(after.sweep + before.sweep) < 1e-9);
    QCOMPARE(strokes[1].piece.start.x, 300.0);
}

void tst_PenOrder::equalStrokesAreAllKept()
{
    std::vector<Stroke> strokes(50, line({ 5, 5 }, { 5, 5 }));
    Stroke circle;
    circle.piece.kind = fit::Kind::Circle;
    circle.piece.centre = { 20, 20 };
    circle.piece.radius = 5;
    strokes.insert(strokes.end(), 9, circle);
    putInPenOrder(kCorner, &strokes);
    QCOMPARE(int(strokes.size()), 59);
    std::vector<Stroke> none;
    putInPenOrder(kCorner, &none);
    QVERIFY(none.empty());
}

QTEST_APPLESS_MAIN(tst_PenOrder)
#include "tst_penorder.moc"
