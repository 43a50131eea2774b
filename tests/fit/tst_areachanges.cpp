// (c) the ztrace developers. Licence: see LICENSE.
//
// How covered areas change when joints move and arcs bend, against differences of the areas.
#include "fit/areachanges.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace ztrace::fit;

namespace {

const double kStep = 1e-4; // pixels, and of bulge, of a difference to either side
// An area a pixel by an end's way: pixels are at most a pixel across. What differs within it is
// left to steps over which an edge leaves a pixel, and arcs to chords.
const double kNearly = 2e-3;

Coverage window(int width, int height)
{
    Coverage coverage = {};
    coverage.left = 3;
    coverage.top = 2;
    coverage.width = width;
    coverage.height = height;
    coverage.right.assign(std::size_t(width * height), 0.0);
    coverage.counts.assign(std::size_t(width * height), 1);
    return coverage;
}

std::vector<double> drawn(const std::vector<Piece> &pieces, const Coverage &coverage)
{
    Areas areas(coverage);
    for (const Piece &piece : pieces)
        areas.add(piece, 1);
    std::vector<double> result(coverage.right.size(), 0.0);
    areas.forEach([&result](std::size_t k, double area) { result[k] = area; });
    return result;
}

// The control of a cubic goes with its end, that of other curves half the way.
void moveJoint(std::size_t joint, Point by, std::vector<Piece> *pieces)
{
    Piece &after = (*pieces)[joint];
    Piece &before = (*pieces)[(joint + pieces->size() - 1) % pieces->size()];
    after.start = after.start + by;
    after.control = after.control + (after.kind == Kind::Cubic ? 1 : 0.5) * by;
    before.end = before.end + by;
    if (before.kind == Kind::Cubic)
        before.control2 = before.control2 + by;
    else
        before.control = before.control + 0.5 * by;
}

template<typename Move>
std::vector<double> difference(const std::vector<Piece> &pieces, const Coverage &coverage,
                               const Move &move)
{
    std::vector<Piece> less = pieces;
    std::vector<Piece> more = pieces;
    move(-kStep, &less);
    move(kStep, &more);
    const std::vector<double> low = drawn(less, coverage);
    std::vector<double> result = drawn(more, coverage);
    for (std::size_t k = 0; k < result.size(); ++k)
        result[k] = (result[k] - low[k]) / (2 * kStep);
    return result;
}

void addChanges(const Piece &piece, AreaChange::Way way, const Coverage &coverage,
                std::vector<double> *sum)
{
    std::vector<AreaChange> changes;
    AreaChanges(piece, coverage, way >= AreaChange::Bend, &changes);
    for (const AreaChange &change : changes)
        (*sum)[change.pixel] += change.by[way];
}

double farthest(const std::vector<double> &a, const std::vector<double> &b)
{
    double most = 0;
    for (std::size_t k = 0; k < a.size(); ++k)
        most = std::max(most, std::fabs(a[k] - b[k]));
    return most;
}

double largest(const std::vector<double> &values)
{
    return farthest(values, std::vector<double>(values.size(), 0.0));
}

} // namespace

Q_DECLARE_METATYPE(std::vector<Piece>)

class tst_AreaChanges : public QObject
{
    Q_OBJECT

private slots:
    void jointsMove_data();
    void jointsMove();
    void arcsBend_data();
    void arcsBend();
    void controlsMove();
    void pixelsThatDoNotCountHaveNone();
};

// A triangle with one side of every kind.
void tst_AreaChanges::jointsMove_data()
{
    QTest::addColumn<std::vector<Piece>>("pieces");
    const Point a = { 6.31, 5.17 };
    const Point b = { 19.73, 8.42 };
    const Point c = { 10.86, 17.59 };
    const auto row = [&](const char *name, const Piece &side) {
        QTest::newRow(name) << std::vector<Piece> { side, linePiece(b, c), linePiece(c, a) };
    };
    row("lines", linePiece(a, b));
    row("slight arc", arcPiece(a, b, 0.05));
    row("arc to the other side", arcPiece(a, b, -0.3));
    row("half a circle", arcPiece(a, b, 1));
    row("most of a circle", arcPiece(a, b, -1.7));
    row("quadratic", quadraticPiece(a, { 14.2, 2.9 }, b));
    row("cubic", cubicPiece(a, { 9.4, 2.6 }, { 16.1, 13.3 }, b));
    row("part of an ellipse", conicPiece(a, { 13.4, 3.1 }, 0.6, b));
    QTest::newRow("arcs on both sides")
        << std::vector<Piece> { arcPiece(a, b, 0.4), arcPiece(b, c, -0.6), arcPiece(c, a, 0.2) };
}

void tst_AreaChanges::jointsMove()
{
    QFETCH(std::vector<Piece>, pieces);
    const Coverage coverage = window(21, 20);
    for (std::size_t joint = 0; joint < pieces.size(); ++joint) {
        const Piece &before = pieces[(joint + pieces.size() - 1) % pieces.size()];
        for (const bool isY : { false, true }) {
            const Point way = isY ? Point { 0, 1 } : Point { 1, 0 };
            const std::vector<double> truth
                = difference(pieces, coverage, [&](double by, std::vector<Piece> *moved) {
                      moveJoint(joint, by * way, moved);
                  });
            std::vector<double> changes(truth.size(), 0.0);
            addChanges(pieces[joint], isY ? AreaChange::StartY : AreaChange::StartX, coverage,
                       &changes);
            addChanges(before, isY ? AreaChange::EndY : AreaChange::EndX, coverage, &changes);
            QVERIFY(largest(truth) > 0.3);
            QVERIFY2(
                farthest(changes, truth) < kNearly,
                qPrintable(QString("joint %1: %2").arg(int(joint)).arg(farthest(changes, truth))));
        }
    }
}

void tst_AreaChanges::arcsBend_data()
{
    QTest::addColumn<double>("bulge");
    for (double bulge : { -1.5, -0.6, -0.1, 0.02, 0.3, 1.0 })
        QTest::newRow(qPrintable(QString::number(bulge))) << bulge;
}

void tst_AreaChanges::arcsBend()
{
    QFETCH(double, bulge);
    const Point a = { 9.31, 9.17 };
    const Point b = { 17.73, 10.42 };
    const Point c = { 12.86, 19.59 };
    const std::vector<Piece> pieces = { arcPiece(a, b, bulge), linePiece(b, c), linePiece(c, a) };
    const Coverage coverage = window(24, 24);
    const std::vector<double> truth = difference(
        pieces, coverage, [](double by, std::vector<Piece> *bent) { (*bent)[0].bulge += by; });
    std::vector<double> changes(truth.size(), 0.0);
    addChanges(pieces[0], AreaChange::Bend, coverage, &changes);
    // Slight arcs are drawn in fewer chords than are bent: of the height that they gain in a pixel
    // these miss less than a thirtieth.
    const double most = std::fabs(bulge) > 0.2 ? 0.02 * largest(truth) : 0.1 * largest(truth);
    QVERIFY(largest(truth) > 1);
    QVERIFY2(farthest(changes, truth) < most,
             qPrintable(QString("%1 of %2").arg(farthest(changes, truth)).arg(largest(truth))));
}

void tst_AreaChanges::controlsMove()
{
    const Point a = { 6.31, 5.17 };
    const Point b = { 19.73, 8.42 };
    const Point c = { 10.86, 17.59 };
    const Piece sides[]
        = { quadraticPiece(a, { 14.2, 2.9 }, b), cubicPiece(a, { 9.4, 2.6 }, { 16.1, 13.3 }, b) };
    const Coverage coverage = window(21, 20);
    for (const Piece &side : sides) {
        const std::vector<Piece> pieces = { side, linePiece(b, c), linePiece(c, a) };
        for (int k = 0; k < (side.kind == Kind::Cubic ? 4 : 2); ++k) {
            const Point by = k % 2 == 0 ? Point { 1, 0 } : Point { 0, 1 };
            const std::vector<double> truth
                = difference(pieces, coverage, [&](double step, std::vector<Piece> *moved) {
                      Point &control = k < 2 ? (*moved)[0].control : (*moved)[0].control2;
                      control = control + step * by;
                  });
            std::vector<double> changes(truth.size(), 0.0);
            addChanges(side, AreaChange::Way(AreaChange::ControlX + k), coverage, &changes);
            QVERIFY(largest(truth) > 0.05);
            QVERIFY2(farthest(changes, truth) < kNearly,
                     qPrintable(QString("control %1: %2").arg(k).arg(farthest(changes, truth))));
        }
    }
}

void tst_AreaChanges::pixelsThatDoNotCountHaveNone()
{
    Coverage coverage = window(21, 20);
    for (std::size_t k = 0; k < coverage.counts.size(); k += 2)
        coverage.counts[k] = 0;
    std::vector<AreaChange> changes;
    AreaChanges(linePiece({ 1.2, -3.4 }, { 40.7, 30.3 }), coverage, false, &changes);
    QVERIFY(!changes.empty());
    for (const AreaChange &change : changes) {
        QVERIFY(change.pixel < coverage.counts.size());
        QVERIFY(coverage.counts[change.pixel]);
    }
}

QTEST_APPLESS_MAIN(tst_AreaChanges)
#include "tst_areachanges.moc"
