// (c) the ztrace developers. Licence: see LICENSE.
//
// Whether a pen has left breaks in its lines. docs/strokes/scans.md, "Breaks".
#ifndef ZTRACE_STROKES_BREAKS_H
#define ZTRACE_STROKES_BREAKS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Whether lines of the page have breaks in their middle, as a worn pen leaves them: at least one,
// between two long parts on one carrier that meet nothing there. What is drawn with gaps mostly has
// something in them, or one of its sides ends on a line. Lettering and dashed lines do not count,
// nor do lines so thin that noise breaks them.
bool hasBreaks(const Coverage &coverage, const Measure &measure, const Web &web);

} // namespace ztrace::strokes

#endif
