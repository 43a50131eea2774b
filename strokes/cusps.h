// (c) the ztrace developers. Licence: see LICENSE.
//
// Tips in which two arcs end that touch each other: between the turns of a coil, at the end of a
// leaf. Their ink is one for some widths before the tip. docs/strokes/strokes.md, "Ends".
#ifndef ZTRACE_STROKES_CUSPS_H
#define ZTRACE_STROKES_CUSPS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Has both arcs, or arc and line, of every such tip end in one joint, of kind Tip: where one of
// them was seen all the way and the other ended on it, and where what they share was seen as a line
// of its own, which goes. What has dashes is left as it is.
void takeCusps(Web *web);

} // namespace ztrace::strokes

#endif
