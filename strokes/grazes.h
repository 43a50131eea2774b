// (c) the ztrace developers. Licence: see LICENSE.
//
// Where arcs end that run into a line nearly along it.
#ifndef ZTRACE_STROKES_GRAZES_H
#define ZTRACE_STROKES_GRAZES_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Leads arcs on that end beside a line that goes through, where both are not seen apart any more,
// to where they meet it: ink hides some widths of the way. Expects ends that are settled.
void settleGrazes(const Coverage &coverage, Web *web);

} // namespace ztrace::strokes

#endif
