// (c) the ztrace developers. Licence: see LICENSE.
//
// Tips in which two arcs end that touch each other: between the turns of a coil, at the end of a
// leaf. Their ink is one for some widths before the tip. docs/strokes/strokes.md, "Ends".
#ifndef ZTRACE_STROKES_CUSPS_H
#define ZTRACE_STROKES_CUSPS_H

#include "strokes/ends.h"

namespace ztrace::strokes {

// Has both arcs, or arc and line, of every such tip end in one joint, of kind Tip: where one of
// them was seen all the way and the other ended on it, and where what they share was seen as a line
// of its own, which goes. What has dashes is left as it is.
void takeCusps(Web *web);

// What most tips of two are like: pens' own ends lie over each other in some, square or round, and
// lines that turn around leave others round. Round where none tells, and in noise.
EndForm formOfTips(const Coverage &coverage, const Measure &measure, const Web &web);

} // namespace ztrace::strokes

#endif
