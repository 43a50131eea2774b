// (c) the ztrace developers. Licence: see LICENSE.
//
// A palette for regions, and which of its colours each region gets: docs/imaging/regions.md.
#ifndef ZTRACE_IMAGING_REGIONPALETTE_H
#define ZTRACE_IMAGING_REGIONPALETTE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "regions.h"

namespace ztrace {

// A colour of regions of one alpha.
struct PaletteColour
{
    SeenColour colour;
    int alpha = 255;
};

// At most `most` colours, clear ones not counted, which are as near to the regions of their alpha
// as few splits and means make them (squared, weighted by pixels), so that what is small but stands
// out keeps a colour of its own. At least one for each alpha that occurs.
std::vector<PaletteColour> paletteOf(const std::vector<Region> &regions, int most);

// The entry of every region: the nearest of its alpha, or that of a neighbour where a longer
// common border would cost more than the nearer colour saves, at `price` a pixel edge.
std::vector<uint16_t> labelRegions(const RegionGraph &graph,
                                   const std::vector<PaletteColour> &palette, double price);

} // namespace ztrace

#endif
