// (c) the ztrace developers. Licence: see LICENSE.
//
// Where lines and arcs end and meet, from the fits.
#ifndef ZTRACE_STROKES_MEETING_H
#define ZTRACE_STROKES_MEETING_H

#include "strokes/carriers.h"
#include "strokes/ends.h"

namespace ztrace::strokes {

// Gives every end its place. At a T an end lies on the middle of the line that goes through; two
// ends meet where their carriers cross, or where they touch each other; several in the middle of
// their crossings. An end that meets nothing ends with its ink, less half its width where ends are
// round. Returns whether they are.
bool settleEnds(const Coverage &coverage, const Measure &measure, Web *web);

} // namespace ztrace::strokes

#endif
