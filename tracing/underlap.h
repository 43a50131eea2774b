// (c) the ztrace developers. Licence: see LICENSE.
//
// What areas painted one after the other reach under, so that nothing below shows between them:
// docs/tracing/composition.md, "Neighbours of true shapes".
#ifndef ZTRACE_TRACING_UNDERLAP_H
#define ZTRACE_TRACING_UNDERLAP_H

#include "tracing/boundarymap.h"
#include "tracing/containment.h"

#include <vector>

namespace ztrace {

// What is known of an area of a map.
struct PaintedArea
{
    int parent = kInNothing; // findParents
    int place = -1;          // in the order of painting, each once; below 0: it is not painted
    bool isOpaque = false;   // it hides what lies below it, and has to hide that
    bool isWholly = false;   // as much holds of all that lies within its outer ring
    bool isGround = false; // it lies in nothing and has the colour that is painted below everything
};

// What is painted for an area: rings of chains, the outer one first, and the areas taken in. What
// these are not opaque in is not cut out yet. Without rings it is the area's own outer ring.
struct Reach
{
    std::vector<std::vector<uint32_t>> rings;
    std::vector<int> taken;
    bool onGround = false; // nothing is painted over the ground there: the area need not be either
};

// Each area takes in the neighbours that are painted later and do not lie in it, with all that is
// in them, and others where that makes its outline cheaper. `numbers` are what the chains cost, an
// element a chain. No area reaches over one that is painted earlier, or that is not painted or not
// opaque. The ground is not taken in: what shows beside it is the ground. An element an area.
// Nearly linear in the chains where the larger areas are painted first; an area takes in at most
// kMostTakenIn others unasked.
std::vector<Reach> reachesOf(const BoundaryMap &map, const std::vector<PaintedArea> &areas,
                             const std::vector<double> &numbers);
const int kMostTakenIn = 64;

} // namespace ztrace

#endif
