// (c) the ztrace developers. Licence: see LICENSE.
//
// The merging of areas that are too small to be drawn.
#ifndef ZTRACE_TRACING_SMALLREGIONS_H
#define ZTRACE_TRACING_SMALLREGIONS_H

#include "tracing/runs.h"

#include <functional>
#include <vector>

namespace ztrace {

// How different the colours of two labels are; at least 0, and the same in both orders.
typedef std::function<int(uint16_t, uint16_t)> LabelDistance;

// Gives every area (Connectivity::Corners) with fewer than `leastBorder` edges to the neighbouring
// label with the most similar colour; of equally similar ones to the one with the longest common
// border, then to the lowest. So do areas of any length that are a pixel wide, if that neighbour's
// colour is within `similar`: they are fringes of soft edges.
//
// The smallest area goes first, and each looks at what the ones before it have become. All is done
// four times over, since areas grow together. Runs that grow together become one. Returns whether
// any label changed.
bool mergeSmallRegions(Runs *runs, std::size_t leastBorder, int similar,
                       const LabelDistance &distance);

// An area with a border below the least, or a fringe.
struct SmallArea
{
    std::vector<uint32_t> pixels; // places in the plane
    uint32_t border = 0;
    std::vector<uint16_t> around; // the labels beside it, each once
};

// Whether the first label's colour is a mixture of the other two.
typedef std::function<bool(uint16_t, uint16_t, uint16_t)> LabelMixture;

// The same, but what stands out stays however small or thin it is. And areas a pixel wide and eight
// long at most go to the nearer of the two between which they lie, along a quarter of their border
// each, where they are a mixture of these: pixels of a soft edge that look like a third colour.
bool mergeSmallRegions(Runs *runs, std::size_t leastBorder, int similar,
                       const LabelDistance &distance,
                       const std::function<bool(const SmallArea &)> &standsOut,
                       const LabelMixture &isMixture = LabelMixture());

} // namespace ztrace

#endif
