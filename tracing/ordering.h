// (c) the ztrace developers. Licence: see LICENSE.
//
// Order in the shapes of a boundary map: fit/snap.h for loops that nothing else meets.
#ifndef ZTRACE_TRACING_ORDERING_H
#define ZTRACE_TRACING_ORDERING_H

#include "fit/snap.h"
#include "boundarymap.h"
#include "softedges.h"

#include <vector>

namespace ztrace {

// Changes paths, an element a chain, that are whole shapes or polygons: loops without nodes. Those
// that would meet another path then stay as they are. The outcome does not depend on the threads.
void putInOrder(const BoundaryMap &map, const SoftEdges &edges, fit::Snap snap,
                unsigned mostThreads, std::vector<fit::Path> *paths);

} // namespace ztrace

#endif
