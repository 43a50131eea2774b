// (c) the ztrace developers. Licence: see LICENSE.
//
// Which pixels belong to ramps: docs/imaging/ramps.md, "Pixels".
#ifndef ZTRACE_IMAGING_RAMPMASK_H
#define ZTRACE_IMAGING_RAMPMASK_H

#include "rampgrowth.h"
#include "ramps.h"

namespace ztrace {

class RampMask
{
public:
    explicit RampMask(const QImage &image); // is referred to

    std::size_t ramps() const { return list.size(); }

    // Tiles of which no pixel is in a ramp.
    std::vector<bool> freeTiles(const RampTiles &tiles) const;

    // The ramps' tiles, and the pixels around them and on the far side of what lies over them.
    // `free` are the tiles that are in no earlier ramp.
    void add(const RampTiles &tiles, const std::vector<bool> &free,
             const std::vector<GrownRamp> &grown);

    // Moves what was found to `ramps`; areas without pixels are left out.
    void finish(Ramps *ramps);

private:
    struct Nearby;

    void addTile(const RampTiles &tiles, std::size_t tile, uint16_t number);
    void addIslands(const RampTiles &tiles, const std::vector<bool> &free,
                    const std::vector<Ramp> &further, std::size_t first,
                    std::vector<uint16_t> *ofTile);
    std::vector<Nearby> nearbyOf(const RampTiles &tiles, const std::vector<uint16_t> &ofTile) const;
    void addPixels(const RampTiles &tiles, const std::vector<Ramp> &further,
                   const std::vector<Nearby> &nearby, std::size_t first);
    uint16_t pixelOf(int x, int y, bool smooth, double noise, const std::vector<Ramp> &further,
                     const Nearby &near, std::size_t first) const;
    void fillSpecks(std::size_t first);
    bool isSpeck(std::size_t start, uint16_t number, std::vector<bool> *seen,
                 std::vector<bool> *large, std::vector<std::size_t> *speck) const;
    bool isNearly(std::size_t place, uint16_t number) const;
    QRgb wordAt(int x, int y) const { return words[std::size_t(y) * wordsOfRow + std::size_t(x)]; }
    RampColour meanAround(int x, int y) const;

    const QRgb *words;
    std::size_t wordsOfRow;
    int width;
    int height;
    std::vector<Ramp> list;
    std::vector<uint16_t> ofPixel;
};

} // namespace ztrace

#endif
