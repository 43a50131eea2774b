// (c) the ztrace developers. Licence: see LICENSE.
//
// The regions of a label plane: which pixels hang together, and which region lies in which.
#ifndef ZTRACE_IMAGING_COMPONENTS_H
#define ZTRACE_IMAGING_COMPONENTS_H

#include "LabelPlane.h"

#include <utility>
#include <vector>

namespace ztrace {

// A largest set of pixels of one label that hang together by edges or corners, which is what the
// engine draws one outline around.
struct Region
{
    int label = 0;
    std::size_t firstPixel = 0; // the topmost, then leftmost one
    std::size_t area = 0;       // in pixels
    std::size_t border = 0;     // pixel edges towards other regions and the rim of the image
    int left = 0;               // bounding box, in pixels, right and bottom inclusive
    int top = 0;
    int right = 0;
    int bottom = 0;
};

struct RegionMap
{
    std::vector<int> regionOfPixel;
    std::vector<Region> regions; // in the order of their first pixels
};

enum class Touching { Corners, Edges };

// Regions as the engine sees them hang together by corners; Edges asks for more.
RegionMap findRegions(const LabelPlane &plane, Touching touching = Touching::Corners);

const int kOutside = -1;

// What every region lies in: the region that separates it from the rim of the image and is nearest
// to it, or kOutside.
struct Nesting
{
    std::vector<int> parent;
    std::vector<std::pair<int, int>> neighbours; // each pair once, the earlier region first
};

// Regions count as neighbours when pixels of theirs share an edge. A region's parent comes before
// it in the order of first pixels.
Nesting findNesting(const LabelPlane &plane, const RegionMap &map);

// Gives every region with fewer than `leastBorder` edges to the neighbour with the most similar
// colour; of equally similar ones to the one with the longest common border. So do regions of any
// length that are a pixel wide, if that neighbour's colour is within `similar` (colourDistance):
// they are fringes of soft edges.
void mergeSmallRegions(LabelPlane *plane, std::size_t leastBorder, int similar = 0);

} // namespace ztrace

#endif
