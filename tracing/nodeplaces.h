// (c) the ztrace developers. Licence: see LICENSE.
//
// Where three or more areas meet: docs/tracing/shapes.md, "Nodes".
#ifndef ZTRACE_TRACING_NODEPLACES_H
#define ZTRACE_TRACING_NODEPLACES_H

#include "boundarymap.h"
#include "softedges.h"

#include "fit/fit.h"

#include <vector>

namespace ztrace {

const double kNodeLeavesOut = 1.6; // pixels around a node where three colours mix

// One a node of the map: the least squares of the distances from the lines of the chains that end
// there, no farther than .75 px from the lattice point, on the rim where that is, and in the
// corners of the plane these. `points` are those of each chain, from its start to its end. Never
// fails.
std::vector<fit::Point> placesOfNodes(const BoundaryMap &map,
                                      const std::vector<ChainPoints> &points);

} // namespace ztrace

#endif
