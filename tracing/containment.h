// (c) the ztrace developers. Licence: see LICENSE.
//
// Which components are neighbours, and which lies in which:
// docs/tracing/boundary-map.md, "Containment".
#ifndef ZTRACE_TRACING_CONTAINMENT_H
#define ZTRACE_TRACING_CONTAINMENT_H

#include "tracing/components.h"

#include <optional>
#include <utility>
#include <vector>

namespace ztrace {

const int kInNothing = -1;

typedef std::pair<int, int> Neighbours;

// Components that share pixel edges, whatever the connectivity: each pair once, the earlier
// component first, sorted.
std::vector<Neighbours> findNeighbours(const Runs &runs, const Components &components);

// Components of a plane and findNeighbours' of them.
struct AreaGraph
{
    std::vector<Component> areas;
    std::vector<Neighbours> neighbours;
};

// How the areas of a plane hang together, and their graph where it has been found before.
struct Connection
{
    Connectivity connectivity;
    std::optional<AreaGraph> graph;
};

// The graph of the areas in `runs`; found now where it was not before.
AreaGraph takeGraph(Connection connection, const Runs &runs);

// The graph of areas some of which are one: leader[k] is the lowest area of those that area k is
// one with, itself if there are no others. Areas that are one share no pixel edge.
AreaGraph joinedGraph(AreaGraph graph, const std::vector<int> &leader);

// What every component lies in: the one that separates it from the rim of the plane and is nearest
// to it, or kInNothing. It comes before the component in their order. Components that only ring
// something together do not count. `neighbours` are findNeighbours' of the same components.
std::vector<int> findParents(const std::vector<Component> &components,
                             const std::vector<Neighbours> &neighbours);
inline std::vector<int> findParents(const Components &components,
                                    const std::vector<Neighbours> &neighbours)
{
    return findParents(components.list, neighbours);
}

} // namespace ztrace

#endif
