// (c) the ztrace developers. Licence: see LICENSE.
//
// Corner separation: places where areas of one label touch at a corner only.
#ifndef ZTRACE_TRACING_CORNERS_H
#define ZTRACE_TRACING_CORNERS_H

#include "tracing/containment.h"
#include "tracing/runs.h"

#include <vector>

namespace ztrace {

// As many labels a plane of 16 bits may have in the end.
const int kMostSeparateLabels = 60000;

// The engine takes pixels that touch at a corner for one area, and draws no holes. So the paper
// inside a ring of ink that closes only over a corner would be one area with the paper outside, and
// would be lost; and so would ink inside a hole that touches the ring around it at a corner.
//
// Gives such areas labels of their own, from `labelCount` on. Two areas that touch at a corner keep
// one label when they lie side by side in the same area, and, where two labels cross, for the rarer
// label only; of two equally rare ones for the one whose pixels go down to the right. When there
// are mostLabels, areas keep what they have. All labels are below labelCount.
struct CornerSeparation
{
    bool found = false;           // areas that touch at a corner and must not be one
    std::vector<uint16_t> copies; // what each new label is a copy of; may be empty even so
    // Of the runs as they are now, by Connectivity::Corners: where areas of one label met at
    // corners, so that their neighbours had to be found.
    std::optional<AreaGraph> graph;
};
CornerSeparation separateCorners(Runs *runs, int labelCount, int mostLabels = kMostSeparateLabels);

} // namespace ztrace

#endif
