// (c) the ztrace developers. Licence: see LICENSE.
//
// Regions of a shaded picture: pixels that hang together and look alike, as many as pay for their
// borders: docs/imaging/regions.md.
#ifndef ZTRACE_IMAGING_REGIONS_H
#define ZTRACE_IMAGING_REGIONS_H

#include <QImage>

#include <cstdint>
#include <limits>
#include <vector>

#include "pixeljoins.h"
#include "seencolour.h"

namespace ztrace {

// What a border is charged for besides its pixel edges: so many edges for every region, since an
// outline has a start, corners and a colour however short it is.
const float kEdgesOfRegion = 16.0f;

// The mean of its pixels, and their number. All of them have one alpha.
struct Region
{
    SeenColour mean;
    float pixels = 0.0f;
    int alpha = 255;
};

// A region beside another one, and how many pixel edges they have in common.
struct RegionSide
{
    uint32_t region;
    uint32_t edges;
};

// The sides of region k are sides[firstSide[k]] to sides[firstSide[k + 1] - 1]; each neighbour
// stands there once. `joins` with `regionOfStart`, which has PixelJoins::kNamesBeyond entries more
// than there are starts, tells the region of every pixel: a plane of numbers would take as much as
// the picture.
struct RegionGraph
{
    int width = 0;
    int height = 0;
    std::vector<Region> regions;
    std::vector<uint32_t> firstSide;
    std::vector<RegionSide> sides;
    PixelJoins joins;
    std::vector<uint32_t> regionOfStart;
};

// What the picture loses when two regions of one alpha become one: the squared distance of their
// pixels to their means (SeenColour) grows by so much.
inline float lossOfAlike(const Region &a, const Region &b)
{
    return a.pixels * b.pixels / (a.pixels + b.pixels) * squaredDistance(a.mean, b.mean);
}

// The same of any two: infinite for different alphas.
inline float lossOf(const Region &a, const Region &b)
{
    return a.alpha == b.alpha ? lossOfAlike(a, b) : std::numeric_limits<float>::infinity();
}

// The regions of an ARGB32 image: two neighbours are one where that loses less than `price` for
// every pixel edge that it saves. A picture without pixels has none. Fully transparent pixels are
// expected to be equal words.
RegionGraph findRegions(const QImage &image, const SeenColours &seen, double price);

} // namespace ztrace

#endif
