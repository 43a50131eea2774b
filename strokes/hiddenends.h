// (c) the ztrace developers. Licence: see LICENSE.
//
// Where lines end whose ends lie in the ink of other lines.
#ifndef ZTRACE_STROKES_HIDDENENDS_H
#define ZTRACE_STROKES_HIDDENENDS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Moves ends of lines and arcs that were put on the middle of another line to where the picture
// says that they are, as far as it says so: beyond a corner whose one line runs past the other,
// before a line at an acute angle or across a narrow gap. What is drawn is laid over the picture
// with every place that the end may have, and another one is taken where it explains a good many
// pixels more. Of clean pages; noise tells less than where lines are drawn to meet.
//
// `hard`: the picture has no values between ink and paper. `roundEnds`: what the ends of this pen
// are like.
void settleHiddenEnds(const Coverage &coverage, bool hard, bool roundEnds, Web *web);

} // namespace ztrace::strokes

#endif
