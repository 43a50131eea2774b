// (c) the ztrace developers. Licence: see LICENSE.
//
// Pieces of a fit as a path of a drawing.
#ifndef ZTRACE_TRACING_SHAPEWRITER_H
#define ZTRACE_TRACING_SHAPEWRITER_H

#include "drawing/Path.h"
#include "fit/Piece.h"

#include <vector>

namespace ztrace {

// From a picture that many pixels high, y downwards, to a drawing, y upwards. Pieces follow each
// other; a whole shape stands alone, and goes clockwise on the screen, as areas' outlines do.
Path pathOf(const std::vector<fit::Piece> &pieces, int pictureHeight);

} // namespace ztrace

#endif
