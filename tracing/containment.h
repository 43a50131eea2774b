// (c) the ztrace developers. Licence: see LICENSE.
//
// Which components are neighbours, and which lies in which:
// docs/tracing/boundary-map.md, "Containment".
#ifndef ZTRACE_TRACING_CONTAINMENT_H
#define ZTRACE_TRACING_CONTAINMENT_H

#include "tracing/components.h"

#include <utility>
#include <vector>

namespace ztrace {

const int kInNothing = -1;

typedef std::pair<int, int> Neighbours;

// Components that share pixel edges, whatever the connectivity: each pair once, the earlier
// component first, sorted.
std::vector<Neighbours> findNeighbours(const Runs &runs, const Components &components);

// What every component lies in: the one that separates it from the rim of the plane and is nearest
// to it, or kInNothing. It comes before the component in their order. Components that only ring
// something together do not count. `neighbours` are findNeighbours' of the same components.
std::vector<int> findParents(const Components &components,
                             const std::vector<Neighbours> &neighbours);

} // namespace ztrace

#endif
