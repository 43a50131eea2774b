// (c) the ztrace developers. Licence: see LICENSE.
//
// The merging of small areas and of slivers, against the plain statement pixel by pixel.
#include "Planes.h"

#include "tracing/smallregions.h"

#include <QTest>

using namespace ztrace;
using namespace planes;

namespace {

// Label n is the grey 20 n.
int greyDistance(uint16_t a, uint16_t b)
{
    return 60 * std::abs(int(a) - int(b));
}

// Many labels are as far from each other.
int parityDistance(uint16_t a, uint16_t b)
{
    return (a + b) % 2;
}

std::vector<uint16_t> onRuns(const Plane &plane, std::size_t least, int similar,
                             const LabelDistance &distance)
{
    Runs runs = scanRuns(plane.labels.data(), plane.width, plane.height);
    const bool changed = mergeSmallRegions(&runs, least, similar, distance);
    std::vector<uint16_t> labels(plane.labels.size());
    paint(runs, labels.data());
    if (changed != (labels != plane.labels))
        return {};
    return labels;
}

QStringList merged(const QStringList &rows, std::size_t least, int similar = 0)
{
    const Plane plane = planeOf(rows);
    return textOf({ plane.width, plane.height, onRuns(plane, least, similar, greyDistance) });
}

} // namespace

class tst_SmallRegions : public QObject
{
    Q_OBJECT

private slots:
    void smallRegionGoesToTheMostSimilarNeighbour()
    {
        QCOMPARE(merged({ "00044", "00144", "00044" }, 5),
                 (QStringList { "00044", "00044", "00044" }));
    }

    void equallySimilarOnesAreChosenByTheirBorder()
    {
        QCOMPARE(merged({ "02222", "01222", "02222" }, 5),
                 (QStringList { "02222", "02222", "02222" }));
    }

    void largeEnoughStays()
    {
        const QStringList rows = { "0000", "0110", "0110", "0000" };
        QCOMPARE(merged(rows, 8), rows);
        QCOMPARE(merged(rows, 9), (QStringList { "0000", "0000", "0000", "0000" }));
    }

    // Ones have 16 edges around them and 4 around the two, which goes to them first.
    void areaMayBecomeSmallWhenItsHoleIsFilled()
    {
        const QStringList rows
            = { "00000000", "00111100", "00121100", "00111100", "00111100", "00000000" };
        QStringList none;
        for (int y = 0; y < rows.size(); ++y)
            none << QStringLiteral("00000000");
        QCOMPARE(merged(rows, 20), none);
        QStringList filled = rows;
        filled[2] = QStringLiteral("00111100");
        QCOMPARE(merged(rows, 16), filled);
    }

    void sliverGoesToWhatIsSimilarOnly()
    {
        const QStringList rows = { "0013", "0013", "0013" };
        QCOMPARE(merged(rows, 1, 59), rows);
        QCOMPARE(merged(rows, 1, 60), (QStringList { "0003", "0003", "0003" }));
    }

    // The line of ones lies on threes, and ends at a two, which it is more like.
    void whatASliverEndsAtIsNotBesideIt()
    {
        const QStringList rows = { "333333333322", "111111111122", "333333333322" };
        QCOMPARE(merged(rows, 1, 60), rows);
    }

    void sliversThatStandOutStay()
    {
        const Plane plane = planeOf({ "0000000000", "1111111111", "0000000000" });
        for (const bool stays : { true, false }) {
            Runs runs = scanRuns(plane.labels.data(), plane.width, plane.height);
            std::size_t asked = 0;
            mergeSmallRegions(&runs, 8, 60, greyDistance, [&](const SmallArea &area) {
                asked += area.pixels.size() == 10 && area.border == 22 ? 1u : 0u;
                return stays;
            });
            QVERIFY(asked > 0);
            QCOMPARE(runs.label[1] == 1, stays);
        }
    }

    void theOnlyRegionStays() { QCOMPARE(merged({ "3" }, 100), QStringList { "3" }); }

    void labelsAreThePlainOnes()
    {
        Random random(21);
        int changed = 0;
        forEachPlane(21, [&](const Plane &plane) {
            for (const auto &distance : { greyDistance, parityDistance }) {
                const std::size_t least = at(below(&random, 20));
                const int similar = below(&random, 3) * 60;
                Plane expected = plane;
                reference::mergeSmallRegions(&expected, least, similar, distance);
                const std::vector<uint16_t> labels = onRuns(plane, least, similar, distance);
                QVERIFY2(labels == expected.labels, qPrintable(describe(plane)));
                changed += labels != plane.labels;
            }
        });
        QVERIFY(changed > 1200);
    }

    void largeNoise()
    {
        Random random(22);
        const Plane plane = noise(&random, 900, 700, 40);
        Plane expected = plane;
        reference::mergeSmallRegions(&expected, 12, 120, greyDistance);
        QVERIFY(onRuns(plane, 12, 120, greyDistance) == expected.labels);
    }
};

QTEST_GUILESS_MAIN(tst_SmallRegions)
#include "tst_smallregions.moc"
