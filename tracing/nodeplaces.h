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

// Pixels around a node where three colours mix; and where mixtures of two look like the third one,
// which so has a tooth between them, at whose end the lattice point is.
const double kNodeLeavesOut = 1.6;
const double kToothLeavesOut = 2.6;
const double kToothReach = 2.2; // pixels from the lattice point to the node of a tooth at most

struct NodePlaces
{
    std::vector<fit::Point> places; // one a node of the map
    std::vector<char> hasTooth;     // likewise

    // Whether a place is where the colours around a node say nothing.
    bool isBlurred(const BoundaryMap &map, int32_t node, fit::Point p) const;
};

// The least squares of the distances from the lines of the chains that end in each node, no farther
// than .75 px from the lattice point, on the rim where that is, and in the corners of the plane
// these. Where all lines meet in one point within kToothReach, that is the place. `points` are
// those of each chain, from its start to its end. Never fails.
NodePlaces placesOfNodes(const BoundaryMap &map, const std::vector<ChainPoints> &points);

} // namespace ztrace

#endif
