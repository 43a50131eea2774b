// (c) the ztrace developers. Licence: see LICENSE.
//
// The boundaries that rings share, each once.
#ifndef ZTRACE_DRAWING_ARCSOFRINGS_H
#define ZTRACE_DRAWING_ARCSOFRINGS_H

#include "rings.h"

#include <vector>

namespace ztrace {

// Arcs of two points and more, and every chain of points as references to them: k for arc k, ~k for
// the same backwards. Arcs of a chain follow each other, each beginning with the last point of the
// one before.
struct SharedArcs
{
    std::vector<Ring> arcs;
    std::vector<std::vector<int>> references; // an element a chain, in its order
};

// Of chains of two points and more; those that end with their first point are rings. Points are the
// same where their coordinates are. No two arcs have a side in common, in either direction, where
// rings have it at most once each way. Nearly linear in the points.
SharedArcs sharedArcs(const std::vector<Ring> &chains);

} // namespace ztrace

#endif
