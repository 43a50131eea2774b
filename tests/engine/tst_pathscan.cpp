// (c) the ztrace developers. Licence: see LICENSE.
//
// Walks along the outlines of one entry.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Grids.h"
#include "support/Messages.h"
#include "support/Pictures.h"
#include "support/Reference.h"

#include <QtTest>

#include <limits>

using ztrace::difference;
using ztrace::GridTracer;

namespace {

using Path = QVector<QVector<int>>;
using Paths = QVector<Path>;
using Grid = QVector<QVector<int>>;

// The positions of a path, codes left out.
Path positions(const Path &path)
{
    Path result;
    for (const QVector<int> &point : path)
        result.append(point.mid(0, 2));
    return result;
}

QVector<int> lengths(const Paths &paths)
{
    QVector<int> result;
    for (const Path &path : paths)
        result.append(int(path.size()));
    return result;
}

} // namespace

class tst_Pathscan : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void diagonalPairIsOnePath();
    void otherDiagonalPairIsOnePath();
    void singlePixelHasFourPoints();
    void pointsCarryTheCodeBeforeTheWalk();
    void gridOfZerosHasNoPaths();
    void emptyGridHasNoPaths();
    void lengthLimit_data();
    void lengthLimit();
    void regionWithAHoleGivesItsOuterPath();
    void holeIsDroppedWhateverItsLength();
    void regionInsideAHoleIsFound();
    void pathsAreOrderedByTheirFirstNode();
    void callersGridIsUnchanged();
    void batchKeepsOneEntryALayer();
    void batchOfNoLayers();
    void ringsAndSaddlesEqualTheReference();
    void malformedGridsEnd();
    void raggedGridsEnd();
};

void tst_Pathscan::diagonalPairIsOnePath()
{
    GridTracer tracer({ "01", "10" });
    const Paths paths = tracer.paths(0);
    QCOMPARE(paths.size(), 1);
    const Path expected(
        { { 0, 0 }, { 1, 0 }, { 1, 1 }, { 2, 1 }, { 2, 2 }, { 1, 2 }, { 1, 1 }, { 0, 1 } });
    QCOMPARE(positions(paths.at(0)), expected);
    QCOMPARE(paths.at(0).at(2).at(2), 5);
    QCOMPARE(paths.at(0).at(6).at(2), 7); // what the first pass left
}

void tst_Pathscan::otherDiagonalPairIsOnePath()
{
    GridTracer tracer({ "10", "01" });
    const Paths paths = tracer.paths(0);
    QCOMPARE(paths.size(), 1);
    QCOMPARE(paths.at(0).size(), 8);
    QCOMPARE(paths.at(0).at(0), QVector<int>({ 1, 0, 4 }));
    QCOMPARE(paths.at(0).at(3), QVector<int>({ 1, 1, 10 }));
    QCOMPARE(paths.at(0).at(7), QVector<int>({ 1, 1, 14 }));
}

void tst_Pathscan::singlePixelHasFourPoints()
{
    GridTracer tracer({ "111", "101", "111" });
    const Paths paths = tracer.paths(0, 4);
    QCOMPARE(paths, Paths({ Path({ { 1, 1, 4 }, { 2, 1, 8 }, { 2, 2, 1 }, { 1, 2, 2 } }) }));
    QVERIFY(tracer.paths(0, 5).isEmpty());
}

void tst_Pathscan::pointsCarryTheCodeBeforeTheWalk()
{
    GridTracer tracer({ "0010", "0000", "1000" });
    const auto layer = tracer.layering().at(0);
    for (const Path &path : tracer.paths(0)) {
        for (const QVector<int> &point : path) {
            QCOMPARE(point.size(), 3);
            QCOMPARE(point.at(2), layer.at(point.at(1) + 1).at(point.at(0) + 1));
        }
    }
}

void tst_Pathscan::gridOfZerosHasNoPaths()
{
    QVERIFY(ZTraceBitmap().pathscan(Grid(5, QVector<int>(4, 0)), 0).isEmpty());
    GridTracer tracer({ "22", "22" }, 3);
    const auto batch = tracer.batchpathscan(tracer.layering(), 0);
    QCOMPARE(batch.size(), 3);
    QVERIFY(batch.at(0).isEmpty());
    QVERIFY(batch.at(1).isEmpty());
    QCOMPARE(batch.at(2).size(), 1);
}

void tst_Pathscan::emptyGridHasNoPaths()
{
    QVERIFY(ZTraceBitmap().pathscan(Grid(), 0).isEmpty());
    QVERIFY(ZTraceBitmap().pathscan(Grid(1), 0).isEmpty());
    QVERIFY(ZTraceBitmap().pathscan(Grid(3), 0).isEmpty());
}

void tst_Pathscan::lengthLimit_data()
{
    QTest::addColumn<float>("pathomit");
    QTest::addColumn<QVector<int>>("kept");
    QTest::newRow("as long as the limit stays") << 8.0f << QVector<int>({ 8, 10 });
    QTest::newRow("one point shorter is dropped") << 9.0f << QVector<int>({ 10 });
    QTest::newRow("a fraction above drops") << 8.001f << QVector<int>({ 10 });
    QTest::newRow("a fraction below keeps") << 7.999f << QVector<int>({ 8, 10 });
    QTest::newRow("four") << 4.0f << QVector<int>({ 4, 8, 10 });
    QTest::newRow("zero") << 0.0f << QVector<int>({ 4, 8, 10 });
    QTest::newRow("negative") << -3.0f << QVector<int>({ 4, 8, 10 });
    QTest::newRow("not a number") << std::numeric_limits<float>::quiet_NaN()
                                  << QVector<int>({ 4, 8, 10 });
    QTest::newRow("infinity") << std::numeric_limits<float>::infinity() << QVector<int>();
    QTest::newRow("minus infinity")
        << -std::numeric_limits<float>::infinity() << QVector<int>({ 4, 8, 10 });
    QTest::newRow("the largest integer") << 2147483647.0f << QVector<int>();
}

void tst_Pathscan::lengthLimit()
{
    QFETCH(float, pathomit);
    QFETCH(QVector<int>, kept);
    GridTracer tracer({ "01001", "11001", "11111", "00011", "01111" });
    QCOMPARE(lengths(tracer.paths(0, pathomit)), kept);
}

void tst_Pathscan::regionWithAHoleGivesItsOuterPath()
{
    GridTracer tracer({ "000", "010", "000" });
    const Paths paths = tracer.paths(0);
    QCOMPARE(lengths(paths), QVector<int>({ 12 }));
    QCOMPARE(paths.at(0).at(0), QVector<int>({ 0, 0, 4 }));
}

void tst_Pathscan::holeIsDroppedWhateverItsLength()
{
    GridTracer tracer({ "0000000", "0111110", "0111110", "0111110", "0000000" });
    QCOMPARE(lengths(tracer.paths(0, -100)), QVector<int>({ 24 }));
}

void tst_Pathscan::regionInsideAHoleIsFound()
{
    GridTracer tracer({ "00000", "01110", "01010", "01110", "00000" });
    const Paths paths = tracer.paths(0);
    QCOMPARE(lengths(paths), QVector<int>({ 20, 4 }));
    QCOMPARE(paths.at(1).at(0), QVector<int>({ 2, 2, 4 }));
}

void tst_Pathscan::pathsAreOrderedByTheirFirstNode()
{
    // The right region begins higher up, the left ones in rows of their own.
    GridTracer tracer({ "1110", "0110", "1110", "0101" });
    const Paths paths = tracer.paths(0);
    Path starts;
    for (const Path &path : paths)
        starts.append(path.at(0).mid(0, 2));
    QCOMPARE(starts, Path({ { 3, 0 }, { 0, 1 }, { 0, 3 } }));
}

void tst_Pathscan::callersGridIsUnchanged()
{
    ztrace::Random random(4);
    for (int round = 0; round < 50; ++round) {
        ZTraceBitmap tracer;
        tracer.setOption("pathomit", 0);
        tracer.trace(ztrace::saddlePicture(random, 15, 15).toImage());
        const auto layers = tracer.layering();
        auto before = layers;
        for (Grid &grid : before)
            for (QVector<int> &row : grid)
                row.detach();
        tracer.batchpathscan(layers, 0);
        for (const Grid &grid : layers)
            tracer.pathscan(grid, 4);
        QCOMPARE(layers, before);
    }
}

void tst_Pathscan::batchKeepsOneEntryALayer()
{
    GridTracer tracer({ "0033", "0033" }, 5);
    const auto layers = tracer.layering();
    const auto batch = tracer.batchpathscan(layers, 4);
    QCOMPARE(batch.size(), 5);
    for (int k = 0; k < 5; ++k)
        QCOMPARE(batch.at(k), tracer.pathscan(layers.at(k), 4));
}

void tst_Pathscan::batchOfNoLayers()
{
    QVERIFY(ZTraceBitmap().batchpathscan(QVector<Grid>(), 0).isEmpty());
}

void tst_Pathscan::ringsAndSaddlesEqualTheReference()
{
    ztrace::Random random(ztrace::testSeed());
    const ztrace::reference::Reference expected;
    for (int round = 0; round < 1500; ++round) {
        QStringList rows;
        const int w = random.between(1, 16);
        for (int y = random.between(1, 16); y > 0; --y) {
            QString row;
            for (int x = 0; x < w; ++x)
                row += QChar('0' + random.below(2));
            rows.append(row);
        }
        GridTracer tracer(rows);
        const float pathomit = static_cast<float>(random.between(-1, 12));
        for (const Grid &layer : tracer.layering()) {
            ztrace::reference::Grid grid;
            for (const QVector<int> &row : layer)
                grid.emplace_back(row.begin(), row.end());
            const QString found
                = difference(tracer.pathscan(layer, pathomit), expected.pathscan(grid, pathomit));
            QVERIFY2(found.isEmpty(), qPrintable(rows.join('/') + found));
        }
    }
}

// What comes back is not defined; the call returns, and its paths have points of three numbers.
void tst_Pathscan::malformedGridsEnd()
{
    ztrace::Random random(ztrace::testSeed());
    ZTraceBitmap tracer;
    for (int round = 0; round < 3000; ++round) {
        Grid grid(random.between(0, 8), QVector<int>(random.between(0, 8), 0));
        const int kind = random.below(4);
        for (QVector<int> &row : grid) {
            for (int &code : row) {
                code = kind == 0 ? random.between(-20, 40) : random.below(16);
                if (kind == 3)
                    code = random.oneIn(2) ? 5 : 10;
                if (kind == 1 && random.oneIn(30))
                    code = static_cast<int>(random.word());
            }
        }
        const Grid before = grid;
        for (const Path &path : tracer.pathscan(grid, 0)) {
            QVERIFY(!path.isEmpty());
            for (const QVector<int> &point : path)
                QCOMPARE(point.size(), 3);
        }
        QCOMPARE(grid, before);
    }
}

void tst_Pathscan::raggedGridsEnd()
{
    ztrace::Random random(5);
    ZTraceBitmap tracer;
    for (int round = 0; round < 1000; ++round) {
        Grid grid(random.between(1, 6));
        for (QVector<int> &row : grid) {
            for (int x = random.below(7); x > 0; --x)
                row.append(random.below(16));
        }
        tracer.pathscan(grid, 0);
    }
}

QTEST_GUILESS_MAIN(tst_Pathscan)
#include "tst_pathscan.moc"
