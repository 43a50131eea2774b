// (c) the ztrace developers. Licence: see LICENSE.
//
// Which tiles lie on one ramp: docs/imaging/ramps.md, "Growth".
#ifndef ZTRACE_IMAGING_RAMPGROWTH_H
#define ZTRACE_IMAGING_RAMPGROWTH_H

#include <vector>

#include "rampfit.h"

namespace ztrace {

struct GrownRamp
{
    Ramp ramp;
    std::vector<std::size_t> members; // tiles
};

// How far the colours of a tile may be from those of a ramp on it, root of the mean square.
double toleranceOf(const RampTiles &tiles);

// Of the tile's plane from the ramp.
double differenceOf(const RampTiles &tiles, std::size_t tile, const Ramp &ramp);

// All ramps that hang together by tiles which `free` has, whether they pay or not; each tile is in
// one at most. Flat tiles are in none.
std::vector<GrownRamp> growRamps(const RampTiles &tiles, const std::vector<bool> &free);

// Where the colour stays at an end of the ramp, over more tiles than it changes over: these are
// taken off, since they are a flat area that the ramp lies beside.
void leaveWidePads(const RampTiles &tiles, GrownRamp *grown);

} // namespace ztrace

#endif
