// (c) the ztrace developers. Licence: see LICENSE.
//
// Runs, components, neighbours and parents, against the plain statement pixel by pixel.
#include "Planes.h"

#include "tracing/containment.h"

#include <QTest>

#include <stdexcept>

using namespace ztrace;
using namespace planes;

namespace {

Runs runsOf(const Plane &plane)
{
    return scanRuns(plane.labels.data(), plane.width, plane.height);
}

reference::Touching touchingOf(Connectivity connectivity)
{
    switch (connectivity) {
    case Connectivity::Corners:
        return reference::Touching::Corners;
    case Connectivity::Edges:
        return reference::Touching::Edges;
    case Connectivity::Split:
        break;
    }
    return reference::Touching::Split;
}

bool equals(const Component &component, const reference::Region &region)
{
    return component.label == region.label && component.firstPixel == region.firstPixel
        && component.area == region.area && component.border == region.border
        && component.rim == region.rim && component.left == region.left
        && component.top == region.top && component.right == region.right
        && component.bottom == region.bottom;
}

// Whether all that is known of the components is what the reference knows of its regions.
bool equals(const Runs &runs, const Components &components, const reference::RegionMap &map)
{
    if (components.list.size() != map.regions.size())
        return false;
    for (std::size_t k = 0; k < map.regions.size(); ++k) {
        if (!equals(components.list[k], map.regions[k]))
            return false;
    }
    bool equal = true;
    std::size_t pixel = 0;
    forEachRun(runs, [&](uint32_t run, int, int begin, int end) {
        for (int x = begin; x < end; ++x, ++pixel)
            equal = equal && int(components.ofRun[run]) == map.regionOfPixel[pixel];
    });
    return equal && pixel == map.regionOfPixel.size();
}

// Runs that are not as long as they could be.
Runs cutAtRandom(const Plane &plane, Random *random)
{
    Plane cut = plane;
    for (uint16_t &label : cut.labels)
        label = uint16_t(2 * label + below(random, 2));
    Runs runs = runsOf(cut);
    for (uint16_t &label : runs.label)
        label = uint16_t(label / 2);
    return runs;
}

const Connectivity kAll[] = { Connectivity::Corners, Connectivity::Edges, Connectivity::Split };

} // namespace

class tst_Components : public QObject
{
    Q_OBJECT

private slots:
    void workedExample()
    {
        const Runs runs = runsOf(planeOf({ "00110", "02200", "00220" }));
        QCOMPARE(runs.firstOfRow, (std::vector<uint32_t> { 0, 3, 6, 9 }));
        QCOMPARE(runs.start, (std::vector<int32_t> { 0, 2, 4, 0, 1, 3, 0, 2, 4, 0 }));
        QCOMPARE(runs.label, (std::vector<uint16_t> { 0, 1, 0, 0, 2, 0, 0, 2, 0 }));
        const Components components = findComponents(runs, Connectivity::Edges);
        QCOMPARE(components.ofRun, (std::vector<uint32_t> { 0, 1, 2, 0, 3, 2, 0, 3, 2 }));
        QCOMPARE(components.list[3].border, 10u);
        QCOMPARE(components.list[3].rim, 2u);
    }

    void scanFindsEveryStart()
    {
        Random random(1);
        for (int width = 1; width <= 140; ++width) {
            const Plane plane = noise(&random, width, 3, width % 3 == 0 ? 500 : 2);
            const std::vector<uint8_t> bytes(plane.labels.begin(), plane.labels.end());
            const Plane narrow { width, 3, { bytes.begin(), bytes.end() } };
            checkRuns(runsOf(plane), plane);
            checkRuns(scanRuns(bytes.data(), width, 3), narrow);
        }
    }

    void bitsAreScannedAsLabels()
    {
        Random random(9);
        const uint16_t ones[2] = { 3, 700 };
        for (int width = 1; width <= 200; ++width) {
            const Plane drawn = noise(&random, width, 4, 2);
            Plane plane = drawn;
            RunScanner scanner(width, 4);
            for (int y = 0; y < 4; ++y) {
                // What lies beyond the width is no part of the row.
                std::vector<uint8_t> bytes(at(width + 7) / 8, 0xFF);
                for (int x = 0; x < width; ++x) {
                    const std::size_t pixel = at(y * width + x);
                    plane.labels[pixel] = ones[drawn.labels[pixel]];
                    const unsigned bit = 0x80u >> (x % 8);
                    if (drawn.labels[pixel] == 0)
                        bytes[at(x / 8)] = uint8_t(bytes[at(x / 8)] & ~bit);
                }
                scanner.addBits(bytes.data(), ones);
            }
            const Runs runs = scanner.take();
            const Runs expected = runsOf(plane);
            QCOMPARE(runs.start, expected.start);
            QCOMPARE(runs.label, expected.label);
            QCOMPARE(runs.firstOfRow, expected.firstOfRow);
        }
    }

    void runsAreTakenAsTheyAre()
    {
        Random random(11);
        for (int width = 1; width <= 60; ++width) {
            const Plane plane = noise(&random, width, 3, 3);
            const Runs expected = runsOf(plane);
            RunScanner scanner(width, 3);
            for (int y = 0; y < 3; ++y) {
                const std::size_t begin = expected.rowBegin(y);
                scanner.addRuns(expected.start.data() + begin, expected.label.data() + begin,
                                expected.rowEnd(y) - begin);
            }
            const Runs runs = scanner.take();
            QCOMPARE(runs.start, expected.start);
            QCOMPARE(runs.label, expected.label);
            QCOMPARE(runs.firstOfRow, expected.firstOfRow);
        }
    }

    void longUniformRowsOfBits()
    {
        const uint16_t ones[2] = { 1, 0 };
        for (int seed : { 0, 0xFF }) {
            std::vector<uint8_t> bytes(100, uint8_t(seed));
            bytes[50] = uint8_t(seed ^ 0x10);
            RunScanner scanner(800, 1);
            scanner.addBits(bytes.data(), ones);
            QCOMPARE(scanner.take().start, (std::vector<int32_t> { 0, 403, 404, 0 }));
        }
    }

    void bytesAboveTheSignBitAreLabels()
    {
        const uint8_t bytes[] = { 200, 200, 56, 255 };
        const Runs runs = scanRuns(bytes, 4, 1);
        QCOMPARE(runs.label, (std::vector<uint16_t> { 200, 56, 255 }));
    }

    void emptyPlanes()
    {
        for (const auto &size :
             { std::make_pair(0, 0), std::make_pair(0, 5), std::make_pair(5, 0) }) {
            const Runs runs
                = scanRuns(static_cast<const uint8_t *>(nullptr), size.first, size.second);
            const Components components = findComponents(runs, Connectivity::Split);
            QCOMPARE(runs.count(), std::size_t(0));
            QVERIFY(components.list.empty());
            QVERIFY(findNeighbours(runs, components).empty());
            QVERIFY(findParents(components, {}).empty());
        }
    }

    void impossibleSizesAreRefused()
    {
        const uint8_t pixel = 0;
        QVERIFY_EXCEPTION_THROWN(scanRuns(&pixel, -1, 1), std::length_error);
        QVERIFY_EXCEPTION_THROWN(scanRuns(&pixel, -1, -1), std::length_error);
        QVERIFY_EXCEPTION_THROWN(scanRuns(&pixel, -1, 0), std::length_error);
        QVERIFY_EXCEPTION_THROWN(scanRuns(&pixel, 1, -1), std::length_error);
        QVERIFY_EXCEPTION_THROWN(scanRuns(&pixel, 1 << 16, 1 << 15), std::length_error);
    }

    void paintedRunsAreThePlane()
    {
        forEachPlane(2, [](const Plane &plane) {
            Runs runs = runsOf(plane);
            std::vector<uint16_t> &labels = runs.label;
            for (std::size_t k = 0; k < labels.size(); k += 2)
                ++labels[k];
            Plane painted = plane;
            paint(runs, painted.labels.data());
            std::size_t pixel = 0;
            forEachRun(runs, [&](uint32_t run, int y, int begin, int end) {
                QVERIFY(end > begin);
                QCOMPARE(at(y * plane.width + begin), pixel);
                for (int x = begin; x < end; ++x, ++pixel)
                    QCOMPARE(painted.labels[pixel], labels[run]);
            });
            QCOMPARE(pixel, plane.pixels());
        });
    }

    void componentsAreThePlainOnes()
    {
        int planes = 0;
        forEachPlane(3, [&planes](const Plane &plane) {
            const Runs runs = runsOf(plane);
            for (Connectivity connectivity : kAll)
                QVERIFY2(equals(runs, findComponents(runs, connectivity),
                                reference::findRegions(plane, touchingOf(connectivity))),
                         qPrintable(describe(plane)));
            ++planes;
        });
        QVERIFY(planes > 2500);
    }

    void runsNeedNotBeLong()
    {
        Random random(4);
        forEachPlane(4, [&random](const Plane &plane) {
            const Runs runs = cutAtRandom(plane, &random);
            for (Connectivity connectivity : kAll)
                QVERIFY2(equals(runs, findComponents(runs, connectivity),
                                reference::findRegions(plane, touchingOf(connectivity))),
                         qPrintable(describe(plane)));
        });
    }

    void neighboursAndParentsAreThePlainOnes()
    {
        forEachPlane(5, [](const Plane &plane) {
            const Runs runs = runsOf(plane);
            for (Connectivity connectivity : kAll) {
                const Components components = findComponents(runs, connectivity);
                const reference::RegionMap map
                    = reference::findRegions(plane, touchingOf(connectivity));
                const reference::Nesting nesting = reference::findNesting(plane, map);
                const std::vector<Neighbours> neighbours = findNeighbours(runs, components);
                QVERIFY2(neighbours == nesting.neighbours, qPrintable(describe(plane)));
                QVERIFY2(findParents(components, neighbours) == nesting.parent,
                         qPrintable(describe(plane)));
            }
        });
    }

    void parentsAreWhatTheirDefinitionSays()
    {
        Random random(6);
        for (int n = 0; n < 600; ++n) {
            const Plane plane = n % 2 ? rings(&random, 7, 6, 3, 5) : noise(&random, 6, 6, 2);
            const Runs runs = runsOf(plane);
            for (Connectivity connectivity : kAll) {
                const Components components = findComponents(runs, connectivity);
                const std::vector<int> parents
                    = findParents(components, findNeighbours(runs, components));
                QVERIFY2(parents
                             == reference::parentsByDefinition(
                                 plane, reference::findRegions(plane, touchingOf(connectivity))),
                         qPrintable(describe(plane)));
            }
        }
    }

    void largeNoise()
    {
        Random random(7);
        const Plane plane = noise(&random, 1500, 1000, 3);
        const Runs runs = runsOf(plane);
        const Components components = findComponents(runs, Connectivity::Edges);
        const reference::RegionMap map = reference::findRegions(plane, reference::Touching::Edges);
        QVERIFY(equals(runs, components, map));
        const reference::Nesting nesting = reference::findNesting(plane, map);
        const std::vector<Neighbours> neighbours = findNeighbours(runs, components);
        QVERIFY(neighbours == nesting.neighbours);
        QVERIFY(findParents(components, neighbours) == nesting.parent);
    }

    void deepNestingNeedsNoStack()
    {
        Random random(8);
        const Plane plane = rings(&random, 2001, 2001, 2, 0);
        const Runs runs = runsOf(plane);
        const Components components = findComponents(runs, Connectivity::Corners);
        const std::vector<int> parents = findParents(components, findNeighbours(runs, components));
        QCOMPARE(parents.size(), std::size_t(1001));
        for (int k = 0; k < 1001; ++k)
            QCOMPARE(parents[at(k)], k - 1);
    }

    void ofTwoThatCrossTheRarerGoesOn()
    {
        const auto count = [](const QStringList &rows) {
            return findComponents(runsOf(planeOf(rows)), Connectivity::Split).list.size();
        };
        QCOMPARE(count({ "0100", "1000" }), std::size_t(3)); // 1 goes on, 0 is cut in two
        QCOMPARE(count({ "1011", "0111" }), std::size_t(3)); // 0 goes on, 1 is cut in two
        QCOMPARE(count({ "01", "10" }), std::size_t(3));     // as rare: the lower label
        QCOMPARE(findComponents(runsOf(planeOf({ "10", "01" })), Connectivity::Split).list[1].label,
                 uint16_t(0));
        QCOMPARE(count({ "01", "20" }), std::size_t(3)); // nobody crosses
    }

private:
    static void checkRuns(const Runs &runs, const Plane &plane)
    {
        QCOMPARE(runs.pixels(), plane.pixels());
        forEachRun(runs, [&](uint32_t run, int y, int begin, int end) {
            const uint16_t *row = plane.labels.data() + y * plane.width;
            QVERIFY(begin == 0 || row[begin - 1] != row[begin]);
            for (int x = begin; x < end; ++x)
                QCOMPARE(runs.label[run], row[x]);
        });
    }
};

QTEST_GUILESS_MAIN(tst_Components)
#include "tst_components.moc"
