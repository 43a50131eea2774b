// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas and boundaries of drawn label planes, one byte a label:
//
//   runs/PLANE          rows to runs
//   components/PLANE    runs to components, joined by edges
//   parents/PLANE       neighbours and parents of these
//   areas/PLANE         the three together
//   corners/PLANE       corner separation on runs
//   map/PLANE           the boundary map: nodes, chains, rings
//   small/PLANE         merging of areas below 8 edges and of slivers, on runs
//
// The planes: drawing-35 (a large sheet, thin lines, 35 megapixels), text-8 (a page of letters, a
// million runs), map-8 (areas of 12 labels), noise-4 and checkerboard-4 (a run a pixel).
#include "BenchRig.h"

#include "tracing/boundarymap.h"
#include "tracing/containment.h"
#include "tracing/corners.h"
#include "tracing/smallregions.h"

#include <cmath>
#include <random>
#include <string>

namespace {

struct Plane
{
    int width;
    int height;
    std::vector<uint8_t> labels;

    Plane(int w, int h) : width(w), height(h), labels(std::size_t(w) * std::size_t(h), 0) { }

    void set(int x, int y, uint8_t label)
    {
        if (x >= 0 && y >= 0 && x < width && y < height)
            labels[std::size_t(y) * std::size_t(width) + std::size_t(x)] = label;
    }
};

typedef std::minstd_rand Random;

int below(Random *random, int n)
{
    return int(((*random)() >> 4) % unsigned(n));
}

void drawLine(Plane *plane, int x0, int y0, int x1, int y1, int pen)
{
    const int steps = 1 + std::max(std::abs(x1 - x0), std::abs(y1 - y0));
    for (int s = 0; s <= steps; ++s) {
        const int x = x0 + int((long long)(x1 - x0) * s / steps);
        const int y = y0 + int((long long)(y1 - y0) * s / steps);
        for (int dy = 0; dy < pen; ++dy) {
            for (int dx = 0; dx < pen; ++dx)
                plane->set(x + dx, y + dy, 1);
        }
    }
}

// `size` is the height; the proportions are those of a sheet.
Plane drawing(int size)
{
    Plane plane(size * 14 / 10, size);
    Random random(1);
    for (int n = 0; n < 300; ++n) {
        const int x = below(&random, plane.width);
        const int y = below(&random, plane.height);
        const int length = below(&random, size / 4);
        const double angle = below(&random, 8) * 0.785398;
        drawLine(&plane, x, y, x + int(length * std::cos(angle)), y + int(length * std::sin(angle)),
                 3);
    }
    return plane;
}

Plane text(int size)
{
    Plane plane(size * 10 / 14, size);
    Random random(2);
    for (int y = 8; y + 32 < size; y += 44) {
        for (int x = 8; x + 24 < plane.width; x += 28) {
            for (int stroke = 0; stroke < 4; ++stroke)
                drawLine(&plane, x + below(&random, 20), y + below(&random, 28),
                         x + below(&random, 20), y + below(&random, 28), 4);
        }
    }
    return plane;
}

Plane map(int size)
{
    Plane plane(size, size);
    Random random(3);
    double phase[6];
    for (double &p : phase)
        p = below(&random, 1000) / 100.0;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            double height = 0;
            for (int k = 0; k < 6; ++k)
                height += std::sin((x * (k + 1) + y * (5 - k)) * 0.004 + phase[k]);
            const bool speck = below(&random, 60) == 0;
            plane.set(x, y, uint8_t(speck ? below(&random, 12) : int(height + 6.0)));
        }
    }
    return plane;
}

Plane noise(int size)
{
    Plane plane(size, size);
    Random random(4);
    for (uint8_t &label : plane.labels)
        label = uint8_t(below(&random, 16));
    return plane;
}

Plane checkerboard(int size)
{
    Plane plane(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x)
            plane.set(x, y, uint8_t((x + y) % 2));
    }
    return plane;
}

struct Named
{
    const char *name;
    Plane (*draw)(int size);
    int size;
};

const Named kPlanes[] = { { "drawing-35", drawing, 5000 },
                          { "text-8", text, 3508 },
                          { "map-8", map, 2900 },
                          { "noise-4", noise, 2048 },
                          { "checkerboard-4", checkerboard, 2048 } };
const int kSmokeSize = 200;

// The last one is kept.
const Plane &planeNamed(const Named &named)
{
    static const Named *last = nullptr;
    static Plane plane(0, 0);
    if (last != &named)
        plane = named.draw(bench::smoke() ? kSmokeSize : named.size);
    last = &named;
    return plane;
}

ztrace::Runs runsOf(const Plane &plane)
{
    return ztrace::scanRuns(plane.labels.data(), plane.width, plane.height);
}

int distance(uint16_t a, uint16_t b)
{
    return 30 * std::abs(int(a) - int(b));
}

QString areaError(const Plane &plane)
{
    const ztrace::Runs runs = runsOf(plane);
    const ztrace::Components components = ztrace::findComponents(runs, ztrace::Connectivity::Edges);
    const ztrace::BoundaryMap boundary = ztrace::makeBoundaryMap(runs);
    int64_t enclosed = 0;
    for (uint32_t ring = 0; ring + 1 < boundary.firstReference.size(); ++ring)
        enclosed += ztrace::enclosedArea(boundary, ring);
    if (enclosed != int64_t(plane.labels.size()))
        return QLatin1String("rings do not sum to the plane's area");
    std::size_t pixels = 0;
    for (const ztrace::Component &component : components.list) {
        pixels += component.area;
        if (plane.labels[component.firstPixel] != component.label)
            return QLatin1String("a component does not begin at its first pixel");
    }
    return pixels == plane.labels.size()
        ? QString()
        : QString(QLatin1String("areas do not sum to the plane's"));
}

template<typename Work>
void measure(benchmark::State &state, const Named &named, Work work)
{
    const Plane &plane = planeNamed(named);
    if (!bench::isRight(state, QLatin1String(named.name), [&] { return areaError(plane); }))
        return;
    const ztrace::Runs runs = runsOf(plane);
    const ztrace::Components components = ztrace::findComponents(runs, ztrace::Connectivity::Edges);
    for (auto iteration : state) {
        (void)iteration;
        work(state, plane, runs, components);
    }
    state.counters["runs"] = double(runs.count());
    state.counters["components"] = double(components.list.size());
}

template<typename Work>
void add(const char *what, const Named &named, Work work)
{
    benchmark::RegisterBenchmark(
        (std::string(what) + "/" + named.name).c_str(),
        [&named, work](benchmark::State &state) { measure(state, named, work); })
        ->Unit(benchmark::kMillisecond);
}

typedef benchmark::State State;
typedef ztrace::Components Components;

void addAreas(const Named &named)
{
    add("runs", named, [](State &, const Plane &plane, const ztrace::Runs &, const Components &) {
        benchmark::DoNotOptimize(runsOf(plane).count());
    });
    add("components", named,
        [](State &, const Plane &, const ztrace::Runs &runs, const Components &) {
            benchmark::DoNotOptimize(
                ztrace::findComponents(runs, ztrace::Connectivity::Edges).list.data());
        });
    add("parents", named,
        [](State &, const Plane &, const ztrace::Runs &runs, const Components &components) {
            benchmark::DoNotOptimize(
                ztrace::findParents(components, ztrace::findNeighbours(runs, components)).data());
        });
    add("areas", named, [](State &, const Plane &plane, const ztrace::Runs &, const Components &) {
        const ztrace::Runs runs = runsOf(plane);
        const Components components = ztrace::findComponents(runs, ztrace::Connectivity::Edges);
        benchmark::DoNotOptimize(
            ztrace::findParents(components, ztrace::findNeighbours(runs, components)).data());
    });
}

void addChanges(const Named &named)
{
    add("corners", named, [](State &, const Plane &, const ztrace::Runs &runs, const Components &) {
        ztrace::Runs changed = runs;
        benchmark::DoNotOptimize(ztrace::separateCorners(&changed, 16).found);
    });
    add("map", named, [](State &, const Plane &, const ztrace::Runs &runs, const Components &) {
        benchmark::DoNotOptimize(ztrace::makeBoundaryMap(runs).references.data());
    });
    add("small", named, [](State &, const Plane &, const ztrace::Runs &runs, const Components &) {
        ztrace::Runs changed = runs;
        benchmark::DoNotOptimize(ztrace::mergeSmallRegions(&changed, 8, 90, distance));
    });
}

void registerAll()
{
    for (const Named &named : kPlanes) {
        addAreas(named);
        addChanges(named);
    }
}

} // namespace

int main(int argc, char **argv)
{
    return bench::run(argc, argv, registerAll);
}
