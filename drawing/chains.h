// (c) the ztrace developers. Licence: see LICENSE.
//
// Boundaries between areas, each once, and the rings of the areas that refer to them.
#ifndef ZTRACE_DRAWING_CHAINS_H
#define ZTRACE_DRAWING_CHAINS_H

#include "Drawing.h"

namespace ztrace {

inline std::size_t chainOfReference(int reference)
{
    return static_cast<std::size_t>(reference < 0 ? ~reference : reference);
}

// The chains of a ring one after the other, in the directions of the references: the shape of an
// outline for its first ring, bit for bit. References have to be of chains that are there.
Path pathAlong(const std::vector<BoundaryChain> &chains, const std::vector<int> &ring);

// What does not fit together, in words that name chain or outline (counted from 0); empty for
// chains in order, and for a drawing without any. They are in order where
// - sides and references are of outlines and chains that are there, none of a stroke;
// - every side of a chain that has an outline is in the rings of that one, once, and in the
//   direction which has it on the right; no ring has anything else;
// - the chains of a ring follow each other and return to its start, exactly;
// - the first ring of an outline is its shape.
// Nearly linear in chains and pieces.
QString flawOfChains(const Drawing &drawing);

} // namespace ztrace

#endif
