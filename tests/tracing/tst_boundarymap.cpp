// (c) the ztrace developers. Licence: see LICENSE.
//
// The boundary map: every crack once, nodes, rings, and the same map however the picture is turned.
#include "MapProperties.h"

#include <QTest>

using namespace ztrace;
using namespace planes;

class tst_BoundaryMap : public QObject
{
    Q_OBJECT

private slots:
    void workedExample()
    {
        const BoundaryMap map = mapOf(planeOf({ "0011", "0211", "0000" }));
        // Four corners, two places on the rim, and one where 0, 1 and 2 meet.
        QCOMPARE(map.nodes.size(), std::size_t(8));
        QCOMPARE(map.chains.size(), std::size_t(10));
        const Node &node = map.nodes[3];
        QCOMPARE(node.x, 2);
        QCOMPARE(node.y, 1);
        QCOMPARE(std::vector<int>(node.area, node.area + 4), (std::vector<int> { 1, 1, 2, 0 }));
        QCOMPARE(movesOf(map, node.leaving[kLeft]), (QStringList { "2,1 l1", "1,1 d1", "1,2 r1" }));
        QCOMPARE(movesOf(map, node.leaving[kLeft] ^ 1u),
                 (QStringList { "2,2 l1", "1,2 u1", "1,1 r1" }));
        const Chain &chain = map.chains[chainOf(node.leaving[kLeft])];
        QCOMPARE(isReversed(node.leaving[kLeft]) ? chain.right : chain.left, 2);
        QCOMPARE(isReversed(node.leaving[kLeft]) ? chain.left : chain.right, 0);
        QCOMPARE(map.firstRing, (std::vector<uint32_t> { 0, 1, 2, 3 }));
        QCOMPARE(enclosedArea(map, 0), int64_t(7));
    }

    void loopsHaveNoNodes()
    {
        const BoundaryMap map = mapOf(planeOf({ "0000", "0110", "0000" }));
        QCOMPARE(map.nodes.size(), std::size_t(4));
        QCOMPARE(map.chains.size(), std::size_t(5));
        QCOMPARE(map.chains[4].startNode, kNoNode);
        QCOMPARE(map.chains[4].left, 0);
        QCOMPARE(map.chains[4].right, 1);
        QCOMPARE(movesOf(map, referenceTo(4, false)),
                 (QStringList { "1,1 r2", "3,1 d1", "3,2 l2", "1,2 u1" }));
        QCOMPARE(map.firstRing, (std::vector<uint32_t> { 0, 2, 3 }));
        QCOMPARE(enclosedArea(map, 0), int64_t(12));
        QCOMPARE(enclosedArea(map, 1), int64_t(-2));
        QCOMPARE(enclosedArea(map, 2), int64_t(2));
    }

    void thinDiagonalLineIsOneLoop()
    {
        const BoundaryMap map = mapOf(planeOf({ "0000", "0100", "0010", "0000" }));
        QCOMPARE(map.areas.list.size(), std::size_t(2));
        QCOMPARE(map.chains.size(), std::size_t(5));
        QCOMPARE(map.chains[4].cracks, 8u);
    }

    void fourAreasMeetAtOneNode()
    {
        const BoundaryMap map = mapOf(planeOf({ "01", "23" }));
        QCOMPARE(map.nodes.size(), std::size_t(9));
        QCOMPARE(map.chains.size(), std::size_t(12));
    }

    void areaThatGoesOnParts()
    {
        // 1 goes on from corner to corner and parts 2 from 3 without a node.
        const BoundaryMap map = mapOf(planeOf({ "1122", "1122", "3311", "3311" }));
        QCOMPARE(map.areas.list.size(), std::size_t(3));
        QCOMPARE(map.nodes.size(), std::size_t(8));
        QCOMPARE(map.chains.size(), std::size_t(10));
    }

    void oneAreaOnly()
    {
        const BoundaryMap map = mapOf(planeOf({ "7" }));
        QCOMPARE(map.nodes.size(), std::size_t(4));
        QCOMPARE(map.chains.size(), std::size_t(4));
        QCOMPARE(map.references.size(), std::size_t(4));
        QCOMPARE(enclosedArea(map, 0), int64_t(1));
    }

    void emptyPlanes()
    {
        for (int size : { 0, 3 }) {
            const BoundaryMap map
                = makeBoundaryMap(scanRuns(static_cast<const uint16_t *>(nullptr), size, 3 - size));
            QVERIFY(map.nodes.empty() && map.chains.empty() && map.references.empty());
            QCOMPARE(map.firstRing, std::vector<uint32_t> { 0 });
            QCOMPARE(map.firstReference, std::vector<uint32_t> { 0 });
        }
    }

    void everyCrackIsInOneChain()
    {
        forEachPlane(31, [](const Plane &plane) {
            const QString error = chainError(plane, mapOf(plane));
            QVERIFY2(error.isEmpty(), qPrintable(error + describe(plane)));
        });
    }

    void nodesAreWhereAreasMeet()
    {
        forEachPlane(32, [](const Plane &plane) {
            const QString error = nodeError(plane, mapOf(plane));
            QVERIFY2(error.isEmpty(), qPrintable(error + describe(plane)));
        });
    }

    void chainsGoFromNodeToNode()
    {
        forEachPlane(33, [](const Plane &plane) {
            const QString error = endError(plane, mapOf(plane));
            QVERIFY2(error.isEmpty(), qPrintable(error + describe(plane)));
        });
    }

    void ringsAreSimpleAndSumToTheAreas()
    {
        forEachPlane(34, [](const Plane &plane) {
            const QString error = ringError(plane, mapOf(plane));
            QVERIFY2(error.isEmpty(), qPrintable(error + describe(plane)));
        });
    }

    void linesThroughTheMiddlesOfCracksDoNotCross()
    {
        forEachPlane(38, [](const Plane &plane) {
            QVERIFY2(!middlesCross(mapOf(plane)), qPrintable(describe(plane)));
        });
    }

    void turnedPictureHasTheTurnedMap()
    {
        forEachPlane(35, [](const Plane &plane) {
            const BoundaryMap map = mapOf(plane);
            const auto turn = [&plane](const Point &p) {
                return Point { plane.height - p.y, p.x };
            };
            QVERIFY2(shapesOf(mapOf(quarterTurn(plane))) == shapesOf(map, false, turn),
                     qPrintable(describe(plane)));
            const auto flip = [&plane](const Point &p) { return Point { plane.width - p.x, p.y }; };
            QVERIFY2(shapesOf(mapOf(mirror(plane))) == shapesOf(map, true, flip),
                     qPrintable(describe(plane)));
        });
    }

    void runsNeedNotBeLong()
    {
        Random random(36);
        forEachPlane(36, [&random](const Plane &plane) {
            Plane cut = plane;
            for (uint16_t &label : cut.labels)
                label = uint16_t(2 * label + below(&random, 2));
            Runs runs = scanRuns(cut.labels.data(), cut.width, cut.height);
            for (uint16_t &label : runs.label)
                label = uint16_t(label / 2);
            const BoundaryMap map = makeBoundaryMap(runs);
            const BoundaryMap expected = mapOf(plane);
            QCOMPARE(map.runs.start, expected.runs.start);
            QCOMPARE(map.runs.firstOfRow, expected.runs.firstOfRow);
            QCOMPARE(map.references, expected.references);
            QVERIFY(shapesOf(map) == shapesOf(expected));
        });
    }

    void largePlanes_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("noise") << 0;
        QTest::newRow("checkerboard") << 1;
        QTest::newRow("diamonds") << 2;
    }
    void largePlanes()
    {
        QFETCH(int, kind);
        Random random(37);
        const Plane plane = kind == 0 ? noise(&random, 400, 300, 4)
            : kind == 1               ? checkerboard(401, 300, 2)
                                      : diamonds(&random, 400, 301, 3, 9);
        const BoundaryMap map = mapOf(plane);
        QCOMPARE(chainError(plane, map), QString());
        QCOMPARE(nodeError(plane, map), QString());
        QCOMPARE(ringError(plane, map), QString());
    }
};

QTEST_GUILESS_MAIN(tst_BoundaryMap)
#include "tst_boundarymap.moc"
