// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/areaplane.h"

#include <algorithm>

namespace ztrace {

AreaPlane::AreaPlane(const Runs &runs, const Components &areas)
    : columns((std::size_t(runs.width) + kSide - 1) >> kBits),
      tiles(columns * ((std::size_t(runs.height) + kSide - 1) >> kBits), kNoArea)
{
    findMixedTiles(runs, areas);
    uint32_t mixed = 0;
    for (uint32_t &tile : tiles) {
        if (tile == kMixed)
            tile += mixed++;
    }
    pixels.resize(std::size_t(mixed) << (2 * kBits));
    fillMixedTiles(runs, areas);
}

void AreaPlane::findMixedTiles(const Runs &runs, const Components &areas)
{
    forEachRun(runs, [&](uint32_t run, int y, int begin, int end) {
        const uint32_t area = areas.ofRun[run];
        uint32_t *const row = tiles.data() + std::size_t(y >> kBits) * columns;
        for (int column = begin >> kBits; column <= (end - 1) >> kBits; ++column) {
            if (row[column] != area)
                row[column] = row[column] == kNoArea ? area : kMixed;
        }
    });
}

void AreaPlane::fillMixedTiles(const Runs &runs, const Components &areas)
{
    forEachRun(runs, [&](uint32_t run, int y, int begin, int end) {
        const uint32_t area = areas.ofRun[run];
        const uint32_t *const row = tiles.data() + std::size_t(y >> kBits) * columns;
        for (int x = begin; x < end;) {
            const uint32_t tile = row[x >> kBits];
            const int next = std::min(end, ((x >> kBits) + 1) << kBits);
            if (tile >= kMixed)
                std::fill_n(pixels.begin() + std::ptrdiff_t(placeIn(tile, x, y)), next - x, area);
            x = next;
        }
    });
}

} // namespace ztrace
