// (c) the ztrace developers. Licence: see LICENSE.
//
// Boundaries that go on where a third one ends at them, fitted as one: docs/tracing/shapes.md,
// "Boundaries that go on".
#ifndef ZTRACE_TRACING_THROUGHNODES_H
#define ZTRACE_TRACING_THROUGHNODES_H

#include "boundarymap.h"
#include "nodeplaces.h"
#include "softedges.h"
#include "walks.h"

#include "fit/fit.h"

#include <vector>

namespace ztrace {

// Per chain what it has of the path of the boundary that it is a part of, in the picture; no pieces
// where it is none of such a boundary. `points` are those of each chain, from its start to its end;
// `nodes` are changed where a boundary goes through them. Pieces say which cracks of
// the chain they explain instead of which points. `threads` at most; their number does not matter.
std::vector<fit::Path> fitThroughNodes(const BoundaryMap &map, const std::vector<Pose> &poses,
                                       const std::vector<ChainPoints> &points, NodePlaces *nodes,
                                       unsigned threads);

// Cracks to the numbers of the points, which are those of the chain between its nodes.
void tellPoints(const ChainPoints &points, fit::Path *path);

} // namespace ztrace

#endif
