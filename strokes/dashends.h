// (c) the ztrace developers. Licence: see LICENSE.
//
// How a row of dashes goes on behind its ends in a scan. docs/strokes/linetypes.md.
#ifndef ZTRACE_STROKES_DASHENDS_H
#define ZTRACE_STROKES_DASHENDS_H

#include "strokes/track.h"

#include <vector>

namespace ztrace::strokes {

// What a row repeats, pixels: its long dash, and that with all that comes before the next one.
struct RowBeat
{
    double dash = 0.0;
    double period = 0.0;
    double width = 0.0;
};

// Adds runs to both sides of a row as long as there is a dash where the beat has one and paper
// before it. Two gaps on end may be ink, as lines lie across them, where the next one is not or the
// line ends by the beat. Ink that goes on farther than a dash is another line.
void extendRow(const Track &track, const Coverage &coverage, const RowBeat &beat,
               std::vector<Run> *runs);

} // namespace ztrace::strokes

#endif
