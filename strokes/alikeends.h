// (c) the ztrace developers. Licence: see LICENSE.
//
// Where arcs of one kind leave their lines: the turns of a spring, rounded ends of many slots.
#ifndef ZTRACE_STROKES_ALIKEENDS_H
#define ZTRACE_STROKES_ALIKEENDS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Puts the places where arcs go on as lines, or as arcs of larger circles, where the pixels that
// are cut off of their circles say. A line that misses its tangent by a tenth of a pixel ends two
// pixels from the foot of the centre: one arc tells that in clean greys alone, six that are alike
// but for the error of their fits do elsewhere. Where they tell nothing, or that all are tangents,
// the places stay. Expects ends that are settled: docs/strokes/strokes.md, "Alike ends".
void settleAlikeEnds(const Measure &measure, Web *web);

} // namespace ztrace::strokes

#endif
