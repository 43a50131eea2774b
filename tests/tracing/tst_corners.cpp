// (c) the ztrace developers. Licence: see LICENSE.
//
// Corner separation: new labels for areas that touch at a corner only and must not be one.
#include "Planes.h"

#include "tracing/corners.h"

#include <QTest>

#include <algorithm>

using namespace ztrace;
using namespace planes;

namespace {

struct Result
{
    bool found;
    std::vector<uint16_t> copies;
    std::vector<uint16_t> labels;
};

Result onRuns(const Plane &plane, int labelCount, int mostLabels = kMostSeparateLabels)
{
    Runs runs = scanRuns(plane.labels.data(), plane.width, plane.height);
    const CornerSeparation separation = separateCorners(&runs, labelCount, mostLabels);
    Plane painted = plane;
    paint(runs, painted.labels.data());
    return { separation.found, separation.copies, painted.labels };
}

Result onPixels(const Plane &plane, int labelCount, int mostLabels = kMostSeparateLabels)
{
    Result result;
    Plane changed = plane;
    result.found
        = reference::separateCrossings(&changed, labelCount, &result.copies, at(mostLabels));
    result.labels = changed.labels;
    return result;
}

bool operator==(const Result &a, const Result &b)
{
    return a.found == b.found && a.copies == b.copies && a.labels == b.labels;
}

bool isSame(const Component &a, const Component &b)
{
    return a.firstPixel == b.firstPixel && a.area == b.area && a.border == b.border
        && a.rim == b.rim && a.left == b.left && a.top == b.top && a.right == b.right
        && a.bottom == b.bottom && a.label == b.label;
}

// Whether the graph, if there is one, is what would be found anew; counts those that are there.
bool hasRightGraph(const Plane &plane, int labelCount, int mostLabels, int *graphs)
{
    Runs runs = scanRuns(plane.labels.data(), plane.width, plane.height);
    const CornerSeparation separation = separateCorners(&runs, labelCount, mostLabels);
    if (!separation.graph)
        return true;
    ++*graphs;
    const AreaGraph anew = takeGraph({ Connectivity::Corners, {} }, runs);
    return separation.graph->neighbours == anew.neighbours
        && std::equal(separation.graph->areas.begin(), separation.graph->areas.end(),
                      anew.areas.begin(), anew.areas.end(), isSame);
}

} // namespace

class tst_Corners : public QObject
{
    Q_OBJECT

private slots:
    // Label 1 is ink, label 0 paper; labels above 1 are copies.
    void inkAndPaper_data()
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
        QTest::newRow("ink that hangs on a corner inside a ring")
            << QStringList { "00000000", "01111110", "01100010", "01010010",
                             "01000010", "01111110", "00000000" }
            << QStringList { "00000000", "01111110", "01100010", "01020010",
                             "01000010", "01111110", "00000000" };
    }
    void inkAndPaper()
    {
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        const Plane plane = planeOf(before);
        const Result result = onRuns(plane, 2);
        QCOMPARE(textOf({ plane.width, plane.height, result.labels }), after);
        QCOMPARE(result.found, before != after);
    }

    void labelsAreThePlainOnes()
    {
        int separated = 0;
        forEachPlane(11, [&separated](const Plane &plane) {
            const Result result = onRuns(plane, 10);
            separated += !result.copies.empty();
            QVERIFY2(result == onPixels(plane, 10), qPrintable(describe(plane)));
        });
        QVERIFY(separated > 200);
    }

    void labelsMayRunOut()
    {
        int different = 0;
        Random random(12);
        for (int n = 0; n < 300; ++n) {
            const Plane plane = noise(&random, 40, 30, 4);
            const int most = 4 + below(&random, 5);
            const Result result = onRuns(plane, 4, most);
            QVERIFY(result.copies.size() <= std::size_t(most - 4));
            QVERIFY(result == onPixels(plane, 4, most));
            different += !(result == onRuns(plane, 4));
        }
        QVERIFY(different > 30);
    }

    void graphIsThatOfTheNewLabels()
    {
        int graphs = 0;
        forEachPlane(14, [&graphs](const Plane &plane) {
            QVERIFY2(hasRightGraph(plane, 10, kMostSeparateLabels, &graphs),
                     qPrintable(describe(plane)));
        });
        Random random(15);
        for (int n = 0; n < 300; ++n) {
            const Plane plane = noise(&random, 40, 30, 4);
            QVERIFY2(hasRightGraph(plane, 4, 4 + below(&random, 5), &graphs),
                     qPrintable(describe(plane)));
        }
        QVERIFY(graphs > 500);
    }

    void largeNoise()
    {
        Random random(13);
        const Plane plane = noise(&random, 1200, 900, 2);
        QVERIFY(onRuns(plane, 2) == onPixels(plane, 2));
    }
};

QTEST_GUILESS_MAIN(tst_Corners)
#include "tst_corners.moc"
