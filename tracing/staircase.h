// (c) the ztrace developers. Licence: see LICENSE.
//
// The points of a hard edge: docs/tracing/shapes.md, "Points".
#ifndef ZTRACE_TRACING_STAIRCASE_H
#define ZTRACE_TRACING_STAIRCASE_H

#include "tracing/softedges.h"

namespace ztrace {

// The middles of the cracks of a chain. Sigma is that of a staircase at the boundary's angle, and
// of long stretches without a step next to nothing: there the boundary runs along the pixels.
// Where its two colours are hardly told apart, teeth of a pixel do not count.
ChainPoints staircaseOf(const BoundaryMap &map, uint32_t chain, bool isFaint = false);

} // namespace ztrace

#endif
