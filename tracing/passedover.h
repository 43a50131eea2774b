// (c) the ztrace developers. Licence: see LICENSE.
//
// Holes that fitted boundaries passed over.
#ifndef ZTRACE_TRACING_PASSEDOVER_H
#define ZTRACE_TRACING_PASSEDOVER_H

#include "fit/fit.h"
#include "boundarymap.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace ztrace {

// Adds, for each small hole that lies outside of the area that it is in, its chains with the
// boundary of that area which is nearest, the lower number first: specks a pixel from a rim, where
// both moved past each other and nothing crosses. A hole lies where the middle of its first piece
// does. One that is kFarFromRim from all boundaries of its area is inside, and so is one of more
// than kMostCracksOfSmall cracks, which would have crossed them.
//
// `paths`    an element a chain
// `threads`  at most; the pairs are the same ones whatever their number
void addPassedOver(const BoundaryMap &map, const std::vector<fit::Path> &paths, unsigned threads,
                   std::vector<std::pair<uint32_t, uint32_t>> *pairs);
const double kFarFromRim = 2; // pixels: what passes a rim comes no farther beyond it

} // namespace ztrace

#endif
