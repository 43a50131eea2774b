// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas looked up by pixel, against the runs; and that plain tiles take no pixels.
#include "Planes.h"

#include "tracing/areaplane.h"

#include <QTest>

using namespace ztrace;
using namespace planes;

namespace {

struct Areas
{
    Runs runs;
    Components components;
    AreaPlane plane;

    explicit Areas(const Plane &p)
        : runs(scanRuns(p.labels.data(), p.width, p.height)),
          components(findComponents(runs, Connectivity::Split)), plane(runs, components)
    { }
};

bool isRight(const Plane &p)
{
    const Areas areas(p);
    bool right = true;
    forEachRun(areas.runs, [&](uint32_t run, int y, int begin, int end) {
        for (int x = begin; x < end; ++x)
            right = right && areas.plane.at(x, y) == areas.components.ofRun[run];
    });
    return right;
}

Plane onePlane(int width, int height)
{
    return { width, height, std::vector<uint16_t>(at(width) * at(height), 0) };
}

} // namespace

class tst_areaplane : public QObject
{
    Q_OBJECT
private slots:
    void randomPlanes();
    void sizesAroundTiles();
    void plainTilesTakeNoPixels();
};

void tst_areaplane::randomPlanes()
{
    Random random(3);
    for (int k = 0; k < 200; ++k) {
        Plane plane = onePlane(1 + below(&random, 100), 1 + below(&random, 100));
        // Rectangles, so that some tiles are plain and others not.
        for (int n = below(&random, 12); n > 0; --n) {
            const int left = below(&random, plane.width), top = below(&random, plane.height);
            const int right = left + below(&random, plane.width - left);
            const int bottom = top + below(&random, plane.height - top);
            for (int y = top; y <= bottom; ++y) {
                for (int x = left; x <= right; ++x)
                    plane.labels[at(y * plane.width + x)] = uint16_t(n % 4);
            }
        }
        QVERIFY2(isRight(plane), qPrintable(describe(plane)));
    }
}

void tst_areaplane::sizesAroundTiles()
{
    for (int width : { 1, 31, 32, 33, 64, 65 }) {
        for (int height : { 1, 31, 32, 33, 64, 65 }) {
            Plane plane = onePlane(width, height);
            QVERIFY(isRight(plane));
            plane.labels.back() = 1;
            QVERIFY(isRight(plane));
            plane.labels.front() = 2;
            QVERIFY(isRight(plane));
        }
    }
}

void tst_areaplane::plainTilesTakeNoPixels()
{
    Plane plane = onePlane(100, 100);
    QCOMPARE(Areas(plane).plane.mixedTiles(), std::size_t(0));
    plane.labels[at(40 * 100 + 70)] = 1;
    QCOMPARE(Areas(plane).plane.mixedTiles(), std::size_t(1));
    for (int x = 0; x < 32; ++x) // a whole tile, and no more
        for (int y = 0; y < 32; ++y)
            plane.labels[at(y * 100 + x)] = 1;
    QCOMPARE(Areas(plane).plane.mixedTiles(), std::size_t(1));
}

QTEST_APPLESS_MAIN(tst_areaplane)
#include "tst_areaplane.moc"
