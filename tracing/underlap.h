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

// A colour as the eye sees it, or nothing: the length of the difference of two is how unlike they
// look (imaging/oklab.h).
struct Tint
{
    float axes[3] = { 0.0f, 0.0f, 0.0f };
    bool isClear = true;
};

// What is known of an area of a map.
struct PaintedArea
{
    int parent = kInNothing; // findParents
    int place = -1;          // in the order of painting, each once; below 0: it is not painted
    bool isOpaque = false;   // it hides what lies below it, and has to hide that
    bool isWholly = false;   // as much holds of all that lies within its outer ring
    bool isGround = false; // it lies in nothing and has the colour that is painted below everything
    Tint tint;             // what is not opaque is taken to be clear
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
// in them, where nothing opaque lies below them, or what it closes between the two shows more than
// what it shows of itself beyond them: soft pixels along the neighbour's other sides. It takes in
// others where that makes its outline cheaper and shows nothing more. `numbers` are what the chains
// cost, an element a chain; `ground` is painted below everything, clear where there is none. No
// area reaches over one that is painted earlier, or that is not painted or not opaque. The ground
// is not taken in: what shows beside it is the ground. An element an area. Nearly linear in the
// chains where the larger areas are painted first; an area takes in at most kMostTakenIn others
// unasked.
std::vector<Reach> reachesOf(const BoundaryMap &map, const std::vector<PaintedArea> &areas,
                             const Tint &ground, const std::vector<double> &numbers);
const int kMostTakenIn = 64;

} // namespace ztrace

#endif
