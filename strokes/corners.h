// (c) the ztrace developers. Licence: see LICENSE.
//
// Corners that another line cuts off. docs/strokes/strokes.md.
#ifndef ZTRACE_STROKES_CORNERS_H
#define ZTRACE_STROKES_CORNERS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// The first line of a hatch leaves a small hole in the corner of its outline. What is seen of the
// outline around it is too short to tell two lines, and becomes an arc or a line of its own. Where
// the lines on both sides lead on to their crossing in ink, they meet there, and what was seen
// goes.
void meetInCutCorners(const Coverage &coverage, Web *web);

} // namespace ztrace::strokes

#endif
