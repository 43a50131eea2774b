// (c) the ztrace developers. Licence: see LICENSE.
//
// Whether a line and an arc touch or cross, as far as the error of their fits tells.
#ifndef ZTRACE_STROKES_TOUCHES_H
#define ZTRACE_STROKES_TOUCHES_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Pixels of a circle that a line cuts off in black and white without being a secant: one that
// keeps within a row of pixels lies up to half a pixel off, and one of some steps that much less.
const double kStepError = 0.55;

// Whether a line cuts off more of a circle than a tangent does whose fit is not exact. `ofB` is the
// carrier of `b`, or the circle that is nearest to it; false of two lines or two circles.
bool cutsInto(const Atom &a, const Atom &b, const fit::Primitive &ofB, const Measure &measure);

// Pixels from the middle of their common ink that a tangent's foot may be: a line that lies off a
// little leaves its arc that far from there. 0 of two lines or two circles.
double footReach(const Atom &a, const Atom &b, const fit::Primitive &ofB, const Measure &measure);

// Pixels from the place where ends meet to the edge of the widest of the others, along one of them;
// 0 where another one leads nearly along it, or none does.
double thicknessAcross(const Web &web, const AtomEnd &end, const std::vector<AtomEnd> &ends);

} // namespace ztrace::strokes

#endif
