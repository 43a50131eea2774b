// (c) the ztrace developers. Licence: see LICENSE.
//
// Chains whose points are the same in their frames: letters of a page or of a dialog.
#ifndef ZTRACE_TRACING_EQUALCHAINS_H
#define ZTRACE_TRACING_EQUALCHAINS_H

#include "tracing/boundarymap.h"
#include "tracing/softedges.h"

#include <vector>

namespace ztrace {

// Per chain another one of its kind, or kNoReference, and whether it is the first: from there on
// `next` leads to all of them.
struct EqualChains
{
    std::vector<uint32_t> next;
    std::vector<char> isFirst;
};

// `points` in the frames of the chains, and whether each is closed. Equal are those that a fit
// cannot tell apart: places, deviations, cracks and edges, bit by bit. Chains without points are
// the only ones of their kind. Time is linear in the points but for the sorting of the chains.
EqualChains equalChains(const std::vector<ChainPoints> &points, const std::vector<char> &closed);

} // namespace ztrace

#endif
