// (c) the ztrace developers. Licence: see LICENSE.
//
// Regions, what lies in what, and the merging of small ones. Planes are given as text, a digit a
// pixel.
#include "imaging/corners.h"
#include "imaging/components.h"

#include <QTest>

using namespace ztrace;

namespace {

LabelPlane planeOf(const QStringList &rows)
{
    LabelPlane plane;
    plane.height = rows.size();
    plane.width = rows.first().size();
    for (const QString &row : rows) {
        for (QChar cell : row)
            plane.labels.push_back(static_cast<uint16_t>(cell.digitValue()));
    }
    // Label n is the grey 20 n.
    for (int n = 0; n < 10; ++n)
        plane.colours.push_back(qRgb(20 * n, 20 * n, 20 * n));
    return plane;
}

QStringList textOf(const LabelPlane &plane)
{
    QStringList rows;
    for (std::size_t i = 0; i < plane.pixels(); ++i) {
        if (i % static_cast<std::size_t>(plane.width) == 0)
            rows.append(QString());
        rows.last().append(QString::number(plane.labels[i]));
    }
    return rows;
}

std::vector<int> parentsOf(const QStringList &rows)
{
    const LabelPlane plane = planeOf(rows);
    return findNesting(plane, findRegions(plane)).parent;
}

} // namespace

class tst_Components : public QObject
{
    Q_OBJECT

private slots:
    void cornersJoin()
    {
        const RegionMap map = findRegions(planeOf({ "0100", "1011", "0100" }));
        QCOMPARE(map.regions.size(), std::size_t(2));
        QCOMPARE(map.regions[1].area, std::size_t(5));
    }

    void regionsAreInTheOrderOfTheirFirstPixels()
    {
        // The upper right pixel belongs to the region that is known by its first pixel.
        const RegionMap map = findRegions(planeOf({ "21022", "22222" }));
        QCOMPARE(map.regions.size(), std::size_t(3));
        QCOMPARE(map.regions[0].label, 2);
        QCOMPARE(map.regions[0].firstPixel, std::size_t(0));
        QCOMPARE(map.regions[1].label, 1);
        QCOMPARE(map.regions[2].label, 0);
        QCOMPARE(map.regionOfPixel[3], 0);
    }

    void bordersAndBoxes()
    {
        const RegionMap map = findRegions(planeOf({ "0000", "0110", "0010" }));
        const Region &inner = map.regions[1];
        QCOMPARE(inner.border, std::size_t(8));
        QCOMPARE(inner.left, 1);
        QCOMPARE(inner.right, 2);
        QCOMPARE(inner.top, 1);
        QCOMPARE(inner.bottom, 2);
    }

    void ringHoldsWhatIsInside()
    {
        QCOMPARE(parentsOf({ "00000", "01110", "01210", "01110", "00000" }),
                 (std::vector<int> { kOutside, 0, 1 }));
    }

    void neighboursSideBySideShareTheirParent()
    {
        QCOMPARE(parentsOf({ "0000", "0120", "0000" }), (std::vector<int> { kOutside, 0, 0 }));
        const LabelPlane plane = planeOf({ "0000", "0120", "0000" });
        const Nesting nesting = findNesting(plane, findRegions(plane));
        QCOMPARE(nesting.neighbours,
                 (std::vector<std::pair<int, int>> { { 0, 1 }, { 0, 2 }, { 1, 2 } }));
    }

    void openRingHoldsNothing()
    {
        QCOMPARE(parentsOf({ "00000", "01110", "01310", "01310", "00300" }),
                 (std::vector<int> { kOutside, kOutside, kOutside }));
    }

    void twoTogetherHoldAThirdButNeitherDoes()
    {
        QCOMPARE(parentsOf({ "00000", "01110", "01320", "02220", "00000" }),
                 (std::vector<int> { kOutside, 0, 0, 0 }));
    }

    void halvesOfAnImageLieInNothing()
    {
        QCOMPARE(parentsOf({ "0011", "0011" }), (std::vector<int> { kOutside, kOutside }));
    }

    void deepNestingNeedsNoStack()
    {
        const int size = 2001;
        LabelPlane plane;
        plane.width = plane.height = size;
        plane.colours = { 0, 1 };
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const int ring = std::min(std::min(x, y), std::min(size - 1 - x, size - 1 - y));
                plane.labels.push_back(static_cast<uint16_t>(ring % 2));
            }
        }
        const Nesting nesting = findNesting(plane, findRegions(plane));
        QCOMPARE(nesting.parent.size(), std::size_t(1001));
        for (int i = 0; i < 1001; ++i)
            QCOMPARE(nesting.parent[static_cast<std::size_t>(i)], i - 1);
    }

    void edgesAskForMore()
    {
        const LabelPlane plane = planeOf({ "0100", "1011", "0100" });
        QCOMPARE(findRegions(plane, Touching::Edges).regions.size(), std::size_t(9));
    }

    // Label 1 is ink, label 0 paper; labels above 1 are copies.
    void crossings_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QStringList>("after");
        QTest::newRow("nothing touches")
            << QStringList { "0000", "0110", "0000" } << QStringList { "0000", "0110", "0000" };
        QTest::newRow("thin diagonal line stays one")
            << QStringList { "00000", "01000", "00100", "00010", "00000" }
            << QStringList { "00000", "01000", "00100", "00010", "00000" };
        QTest::newRow("ring that closes over corners keeps its hole")
            << QStringList { "00000", "00100", "01010", "00100", "00000" }
            << QStringList { "00000", "00100", "01210", "00100", "00000" };
        QTest::newRow("ink in a hole stays apart from the ring around it")
            << QStringList { "0000000", "0111110", "0101010", "0100010", "0111110", "0000000" }
            << QStringList { "0000000", "0111110", "0101010", "0100010", "0111110", "0000000" };
        QTest::newRow("ink that hangs on a corner inside a ring")
            << QStringList { "00000000", "01111110", "01100010", "01010010",
                             "01000010", "01111110", "00000000" }
            << QStringList { "00000000", "01111110", "01100010", "01020010",
                             "01000010", "01111110", "00000000" };
    }
    void crossings()
    {
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        LabelPlane plane = planeOf(before);
        plane.colours.resize(2);
        QCOMPARE(separateCorners(&plane), before != after);
        QCOMPARE(textOf(plane), after);
        for (std::size_t k = 2; k < plane.colours.size(); ++k)
            QVERIFY(plane.colours[k] == plane.colours[0] || plane.colours[k] == plane.colours[1]);
    }

    void smallRegionGoesToTheMostSimilarNeighbour()
    {
        LabelPlane plane = planeOf({ "00044", "00144", "00044" });
        mergeSmallRegions(&plane, 5);
        QCOMPARE(textOf(plane), (QStringList { "00044", "00044", "00044" }));
    }

    void equallySimilarOnesAreChosenByTheirBorder()
    {
        LabelPlane plane = planeOf({ "02222", "01222", "02222" });
        mergeSmallRegions(&plane, 5);
        QCOMPARE(textOf(plane), (QStringList { "02222", "02222", "02222" }));
    }

    void largeEnoughStays()
    {
        LabelPlane plane = planeOf({ "0000", "0110", "0110", "0000" });
        mergeSmallRegions(&plane, 8);
        QCOMPARE(textOf(plane), (QStringList { "0000", "0110", "0110", "0000" }));
        mergeSmallRegions(&plane, 9);
        QCOMPARE(textOf(plane), (QStringList { "0000", "0000", "0000", "0000" }));
    }

    void theOnlyRegionStays()
    {
        LabelPlane plane = planeOf({ "3" });
        mergeSmallRegions(&plane, 100);
        QCOMPARE(textOf(plane), QStringList { "3" });
    }
};

QTEST_GUILESS_MAIN(tst_Components)
#include "tst_components.moc"
