// (c) the ztrace developers. Licence: see LICENSE.
//
// A picture as square tiles, each with the plane that its colours lie on:
// docs/imaging/ramps.md, "Tiles".
#ifndef ZTRACE_IMAGING_RAMPTILES_H
#define ZTRACE_IMAGING_RAMPTILES_H

#include <QImage>

#include <array>
#include <vector>

#include "ramp.h"

namespace ztrace {

// Of one tile: the colour in its middle, and how much it changes from pixel to pixel. There are as
// many tiles as a sixteenth of the pixels: floats, which are exact to a ten-thousandth of a step.
struct RampTile
{
    typedef std::array<float, 3> Channels; // as in RampColour

    Channels colour = {};
    Channels slopeX = {};
    Channels slopeY = {};
    float deviation = 0.0f; // of a channel of a pixel from the plane
    bool smooth = false;    // nothing but the plane and noise; opaque throughout
    bool plain = false;     // of one word
};

// Whole tiles only; what is left on the right and below belongs to none.
struct RampTiles
{
    int side = 0; // pixels
    int columns = 0;
    int rows = 0;
    double noise = 0.0; // deviation of a pixel's channel that the picture has everywhere
    std::vector<RampTile> tiles;

    const RampTile &at(int column, int row) const
    {
        return tiles[std::size_t(row) * std::size_t(columns) + std::size_t(column)];
    }
    double middleX(std::size_t tile) const
    {
        return (double(tile % std::size_t(columns)) + 0.5) * side;
    }
    double middleY(std::size_t tile) const
    {
        const std::size_t row = tile / std::size_t(columns);
        return (double(row) + 0.5) * side;
    }
};

// Pixels. Blocks of JPEG are of the first size; small areas have no room for more than the second.
enum class TileSide { Eight = 8, Four = 4 };

// Of an ARGB32 image. `larger`, if given, are its tiles of twice the side: those in a plain one are
// known.
RampTiles tilesOf(const QImage &image, TileSide side, const RampTiles *larger = nullptr);

} // namespace ztrace

#endif
