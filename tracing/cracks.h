// (c) the ztrace developers. Licence: see LICENSE.
//
// The straight stretches of all boundaries and how they hang together: between runs and chains.
#ifndef ZTRACE_TRACING_CRACKS_H
#define ZTRACE_TRACING_CRACKS_H

#include "tracing/boundarymap.h"

namespace ztrace {

// Between one run and the one below it, or the outside.
struct FlatStretch
{
    int32_t x;
    int32_t length;
    int32_t above; // areas
    int32_t below;
};

// Stretches have numbers: the upright ones first, one pixel each, from the left to the right of a
// row; that of the edge left of run k in row y is k + y, and of the row's right end one more than
// of its last run. Flat ones follow, from the top, then from the left.
//
// Stretch s has the ends 2 s (top or left) and 2 s + 1 (bottom or right). link[end] is the end of
// another stretch that goes on from there, or kAtNode + the number of a node. A node's `leaving`
// holds ends so far.
struct Cracks
{
    uint32_t uprights = 0;
    std::vector<FlatStretch> flats;
    std::vector<uint32_t> firstFlat; // of every line y; height + 2 entries
    std::vector<uint32_t> link;
    std::vector<Node> nodes;
};

const uint32_t kAtNode = uint32_t(1) << 31;

// The runs must be as long as they can be, and the areas those of Connectivity::Split.
Cracks findCracks(const Runs &runs, const Components &areas);

} // namespace ztrace

#endif
