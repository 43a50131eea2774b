// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas whose fitted boundaries changed sides.
#ifndef ZTRACE_TRACING_TURNEDOVER_H
#define ZTRACE_TRACING_TURNEDOVER_H

#include "fit/fit.h"
#include "boundarymap.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace ztrace {

// Adds neighbouring chains, the lower number first, of small rings that enclose nothing or go the
// other way round than in the map: chains between the same nodes that passed each other there
// without crossing, so that areas lie over each other. `paths` and `looked`, which may be empty,
// have an element a chain; only rings with one that is set are looked at. A loop is a pair with
// itself: its corners may all have come to one place. Rings of more than kMostCracksOfSmall cracks,
// and whole shapes, never are looked at.
void addTurnedOver(const BoundaryMap &map, const std::vector<fit::Path> &paths,
                   const std::vector<char> &looked,
                   std::vector<std::pair<uint32_t, uint32_t>> *pairs);
const uint32_t kMostCracksOfSmall = 64; // chains are hardly ever two pixels from their cracks

} // namespace ztrace

#endif
