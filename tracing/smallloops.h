// (c) the ztrace developers. Licence: see LICENSE.
//
// Small loops of soft edges against what they cover of the pixels: docs/fit/areas.md.
#ifndef ZTRACE_TRACING_SMALLLOOPS_H
#define ZTRACE_TRACING_SMALLLOOPS_H

#include "equalchains.h"
#include "softedges.h"
#include "walks.h"

#include "fit/fit.h"

namespace ztrace {

// The paths of all chains, those of the loops that `small` marks as far as they cover the pixels
// better. Of what is around a loop by the paths as they were given, so that neither the order nor
// the number of threads, `threads` at most, matters. Each is fitted in its frame of `poses`; of
// equal chains those with equal pixels once.
std::vector<fit::Path> fitSmallLoops(const BoundaryMap &map, const std::vector<Pose> &poses,
                                     const SoftEdges &edges, const EqualChains &equal,
                                     std::vector<fit::Path> paths, const std::vector<char> &small,
                                     unsigned threads);

} // namespace ztrace

#endif
