// (c) the ztrace developers. Licence: see LICENSE.
//
// Which area every pixel belongs to.
#ifndef ZTRACE_TRACING_AREAPLANE_H
#define ZTRACE_TRACING_AREAPLANE_H

#include "tracing/components.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// In tiles: those within one area, which most of a drawing's paper are, take one entry.
class AreaPlane
{
public:
    AreaPlane() = default; // without pixels
    AreaPlane(const Runs &runs, const Components &areas);

    // Within the plane only.
    uint32_t at(int x, int y) const
    {
        const uint32_t tile = tiles[std::size_t(y >> kBits) * columns + std::size_t(x >> kBits)];
        return tile < kMixed ? tile : pixels[placeIn(tile, x, y)];
    }

    // Tiles that have their pixels.
    std::size_t mixedTiles() const { return pixels.size() >> (2 * kBits); }

private:
    static constexpr int kBits = 5; // of a tile's side
    static constexpr int kSide = 1 << kBits;
    static constexpr uint32_t kMixed = uint32_t(1) << 31; // and the number of the tile's pixels
    static constexpr uint32_t kNoArea = uint32_t(-1);

    static std::size_t placeIn(uint32_t tile, int x, int y)
    {
        return (std::size_t(tile - kMixed) << (2 * kBits)) + (std::size_t(y & (kSide - 1)) << kBits)
            + std::size_t(x & (kSide - 1));
    }
    void findMixedTiles(const Runs &runs, const Components &areas);
    void fillMixedTiles(const Runs &runs, const Components &areas);

    std::size_t columns = 0; // of tiles
    std::vector<uint32_t> tiles;
    std::vector<uint32_t> pixels;
};

} // namespace ztrace

#endif
