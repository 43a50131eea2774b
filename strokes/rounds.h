// (c) the ztrace developers. Licence: see LICENSE.
//
// Circles and ellipses that other lines have left in pieces. docs/strokes/strokes.md, "Rounds".
#ifndef ZTRACE_STROKES_ROUNDS_H
#define ZTRACE_STROKES_ROUNDS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Puts arcs that follow each other into one circle or ellipse where that costs less than they do,
// each of them lies on it, and there is ink all the way around. What is left over of its ink at the
// same joints goes. In proportion to the samples of the arcs.
void takeRounds(const Coverage &coverage, const Measure &measure, Web *web);

} // namespace ztrace::strokes

#endif
