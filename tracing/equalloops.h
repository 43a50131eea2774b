// (c) the ztrace developers. Licence: see LICENSE.
//
// Loops of a boundary map that are the same but for their place: letters of a printed page.
#ifndef ZTRACE_TRACING_EQUALLOOPS_H
#define ZTRACE_TRACING_EQUALLOOPS_H

#include "tracing/boundarymap.h"

#include <vector>

namespace ztrace {

// Per chain another one of its kind, or kNoReference, and whether it is the first: from there on
// `next` leads to all of them.
struct EqualLoops
{
    std::vector<uint32_t> next;
    std::vector<char> isFirst;
};

// Chains that are no loops, or not among the `eligible` ones (an element a chain), are the only
// ones of their kind. Time is linear in the moves of the eligible loops.
EqualLoops equalLoops(const BoundaryMap &map, const std::vector<char> &eligible);

} // namespace ztrace

#endif
