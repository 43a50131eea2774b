// (c) the ztrace developers. Licence: see LICENSE.
//
// Ellipses through cross-sections.
#ifndef ZTRACE_STROKES_ELLIPSES_H
#define ZTRACE_STROKES_ELLIPSES_H

#include "strokes/primitives.h"

namespace ztrace::strokes {

// Pixels from an ellipse, positive outside: of first order in the scale by which the ellipse would
// pass through the place, so exact on the ellipse and on circles.
double distanceFrom(const fit::Piece &ellipse, Point place);

// The eccentric angle whose point is nearest to a place that is not far from the ellipse.
double angleAt(const fit::Piece &ellipse, Point place);

Point pointOn(const fit::Piece &ellipse, double angle);

// The circle that touches the ellipse nearest to a place and bends as it does there.
fit::Primitive circleAlong(const fit::Piece &ellipse, Point place);

// The ellipse of least squares of distances through the samples: a conic of least algebraic
// distance, then Gauss and Newton's method. False where there is none near them. The first half
// axis is the longer one.
bool ellipseOf(const std::vector<Section> &samples, fit::Piece *ellipse);

} // namespace ztrace::strokes

#endif
