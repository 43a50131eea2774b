// (c) the ztrace developers. Licence: see LICENSE.
//
// Strokes that cover paper. docs/strokes/leftovers.md.
#ifndef ZTRACE_STROKES_OVERPAPER_H
#define ZTRACE_STROKES_OVERPAPER_H

#include "strokes/strokes.h"

namespace ztrace::strokes {

// Drops wide strokes that are not dashed and no lettering and cover paper for a good part: the
// middle of squares that touch in their corners, of a wedge, of a square around a hole. What they
// lay on is ink again that no stroke explains. Gives their cells, 1, in a plane like the ink's; a
// plane of no size where there are none. For clean pages: in scans lines are as ragged. Takes time
// in proportion to the area of wide strokes.
Plane dropStrokesOverPaper(const Plane &ink, const Coverage &coverage, StrokeDrawing *drawing);

} // namespace ztrace::strokes

#endif
