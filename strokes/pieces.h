// (c) the ztrace developers. Licence: see LICENSE.
//
// What an atom is drawn as.
#ifndef ZTRACE_STROKES_PIECES_H
#define ZTRACE_STROKES_PIECES_H

#include "strokes/primitives.h"

namespace ztrace::strokes {

// A line, an arc, a circle or an ellipse, between the atom's settled ends.
fit::Piece pieceOf(const Atom &atom);

// Pixels along such a piece.
double lengthOf(const fit::Piece &piece);

} // namespace ztrace::strokes

#endif
