// (c) the ztrace developers. Licence: see LICENSE.
//
// Solids that are nothing but lines which cross in one place. docs/strokes/strokes.md.
#ifndef ZTRACE_STROKES_EXPLAINED_H
#define ZTRACE_STROKES_EXPLAINED_H

#include "strokes/primitives.h"

#include <vector>

namespace ztrace::strokes {

// Takes out of the solids, 1 in their cells, every part that the ink of its lines makes up: where
// many lines cross in one place, discs wider than any pen fit in, and nobody has drawn them.
// `atoms` have their ends; dashed ones are left out, as their gaps are no ink. Does nothing where
// there are no solids.
void dropExplained(const std::vector<Atom> &atoms, Plane *solids);

} // namespace ztrace::strokes

#endif
