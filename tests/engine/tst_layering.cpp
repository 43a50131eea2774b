// (c) the ztrace developers. Licence: see LICENSE.
//
// Edge-node grids from the index grid.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Grids.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QtTest>

using ztrace::difference;
using ztrace::GridTracer;

class tst_Layering : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void onePixel();
    void twoPixelsOfTwoEntries();
    void uniformImage_data();
    void uniformImage();
    void entryWithoutPixelsIsAllZero();
    void noPixelsGiveTwoByTwoZeros();
    void emptyPaletteGivesAnEmptyList();
    void indexWithoutEntryIsLeftOut();
    void newTracerHasNoLayers();
    void nothingIsChanged();
    void equalsTheDefinition();
};

void tst_Layering::onePixel()
{
    GridTracer tracer({ "0" }, 1);
    const auto layers = tracer.layering();
    QCOMPARE(layers.size(), 1);
    QCOMPARE(layers.at(0), QVector<QVector<int>>({ { 0, 0, 0 }, { 0, 4, 8 }, { 0, 2, 1 } }));
}

void tst_Layering::twoPixelsOfTwoEntries()
{
    GridTracer tracer({ "01" });
    const auto layers = tracer.layering();
    QCOMPARE(layers.size(), 2);
    QCOMPARE(layers.at(0),
             QVector<QVector<int>>({ { 0, 0, 0, 0 }, { 0, 4, 8, 0 }, { 0, 2, 1, 0 } }));
    QCOMPARE(layers.at(1),
             QVector<QVector<int>>({ { 0, 0, 0, 0 }, { 0, 0, 4, 8 }, { 0, 0, 2, 1 } }));
}

void tst_Layering::uniformImage_data()
{
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::newRow("5 by 4") << 5 << 4;
    QTest::newRow("one row") << 6 << 1;
    QTest::newRow("one column") << 1 << 6;
    QTest::newRow("two by two") << 2 << 2;
}

void tst_Layering::uniformImage()
{
    QFETCH(int, w);
    QFETCH(int, h);
    GridTracer tracer(QStringList(QVector<QString>(h, QString(w, '0')).toList()), 3);
    const auto layers = tracer.layering();
    QCOMPARE(layers.size(), 3);
    for (int r = 0; r < h + 2; ++r) {
        for (int c = 0; c < w + 2; ++c) {
            const bool top = r == 1;
            const bool bottom = r == h + 1;
            const bool left = c == 1;
            const bool right = c == w + 1;
            int code = 15;
            if (r == 0 || c == 0)
                code = 0;
            else if (top)
                code = left ? 4 : right ? 8 : 12;
            else if (bottom)
                code = left ? 2 : right ? 1 : 3;
            else if (left)
                code = 6;
            else if (right)
                code = 9;
            QCOMPARE(layers.at(0).at(r).at(c), code);
            QCOMPARE(layers.at(1).at(r).at(c), 0);
            QCOMPARE(layers.at(2).at(r).at(c), 0);
        }
    }
}

void tst_Layering::entryWithoutPixelsIsAllZero()
{
    GridTracer tracer({ "020", "202" }, 4);
    const auto layers = tracer.layering();
    const QVector<QVector<int>> zeros(4, QVector<int>(5, 0));
    QCOMPARE(layers.at(1), zeros);
    QCOMPARE(layers.at(3), zeros);
    QVERIFY(layers.at(2) != zeros);
}

void tst_Layering::noPixelsGiveTwoByTwoZeros()
{
    ZTraceBitmap tracer;
    tracer.setOption("colorsampling", 0);
    tracer.setOption("numberofcolors", 2);
    tracer.loadImageData(QImage());
    tracer.colorquantization();
    const QVector<QVector<int>> zeros(2, QVector<int>(2, 0));
    QCOMPARE(tracer.layering(), QVector<QVector<QVector<int>>>({ zeros, zeros }));
}

void tst_Layering::emptyPaletteGivesAnEmptyList()
{
    GridTracer tracer({ "00", "00" }, 0);
    QVERIFY(tracer.layering().isEmpty());
}

void tst_Layering::indexWithoutEntryIsLeftOut()
{
    GridTracer tracer({ "05", "00" }, 1);
    tracer.indexedImage.indices[2][1] = -7;
    const auto layers = tracer.layering();
    QCOMPARE(layers.size(), 1);
    QCOMPARE(layers.at(0), ztrace::layerByDefinition(tracer.indexedImage.indices, 0));
}

void tst_Layering::newTracerHasNoLayers()
{
    QVERIFY(ZTraceBitmap().layering().isEmpty());
}

void tst_Layering::nothingIsChanged()
{
    GridTracer tracer({ "010", "121" }, 3);
    const auto indices = tracer.indexedImage.indices;
    const auto first = tracer.layering();
    QCOMPARE(tracer.indexedImage.indices, indices);
    QCOMPARE(tracer.layering(), first);
}

void tst_Layering::equalsTheDefinition()
{
    ztrace::Random random(ztrace::testSeed());
    for (int round = 0; round < 2000; ++round) {
        const int entries = random.between(1, 5);
        QStringList rows;
        const int w = random.between(1, 20);
        for (int y = random.between(1, 20); y > 0; --y) {
            QString row;
            for (int x = 0; x < w; ++x)
                row += QChar('0' + random.below(entries));
            rows.append(row);
        }
        GridTracer tracer(rows, entries);
        const auto layers = tracer.layering();
        for (int k = 0; k < entries; ++k) {
            const auto expected = ztrace::layerByDefinition(tracer.indexedImage.indices, k);
            const QString found = difference(layers.at(k), expected);
            QVERIFY2(found.isEmpty(), qPrintable(rows.join('/') + found));
        }
    }
}

QTEST_GUILESS_MAIN(tst_Layering)
#include "tst_layering.moc"
