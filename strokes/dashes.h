// (c) the ztrace developers. Licence: see LICENSE.
//
// Rows of dashes become one line, arc or circle each. docs/strokes/linetypes.md.
#ifndef ZTRACE_STROKES_DASHES_H
#define ZTRACE_STROKES_DASHES_H

#include "strokes/dots.h"
#include "strokes/joining.h"

namespace ztrace::strokes {

// What all is measured in, and the same before thin lines were bridged; null where none were.
struct DashInk
{
    const Coverage &measured;
    const Coverage *bare;
};

// Puts atoms and dots on a common carrier whose lengths and gaps repeat together: one atom takes
// the place of all, with its Dashing; what has ended on one of them then ends on it. To be called
// before anything joins atoms across gaps. Where gaps may be those of a worn line, what has no
// order but is near enough together becomes one atom without a Dashing, and so do pieces of lines
// that were broken before they were bridged, farther apart. Takes time in proportion to
// atoms and dots.
void joinDashes(const DashInk &ink, const Measure &measure, const GapLimits &gaps,
                const std::vector<Dot> &dots, Web *web);

} // namespace ztrace::strokes

#endif
