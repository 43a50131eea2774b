// (c) the ztrace developers. Licence: see LICENSE.
//
// Dashed lines whose gaps blur and noise have filled: their ink goes through, but it is lighter at
// even distances. docs/strokes/linetypes.md, "Dips".
#ifndef ZTRACE_STROKES_DIPS_H
#define ZTRACE_STROKES_DIPS_H

#include "strokes/joining.h"
#include "strokes/track.h"

namespace ztrace::strokes {

// Ink along an open line from its first end to its last: a level every `step` pixels, and which of
// them show the line alone, without the ink of others.
struct InkProfile
{
    double step = 1.0;
    std::vector<float> levels;
    std::vector<uint8_t> isOwn;
};

InkProfile profileOf(const Track &track, const Coverage &coverage, double length, double width);

// The line type and pattern that explain a profile's dips; none where a line drawn throughout
// explains it nearly as well. A pattern begins and ends with its first dash, takes the whole
// profile, and has kLeastDashes at least.
Dashing dashingOfDips(const InkProfile &profile, double width);

// Lines and arcs of the web that are drawn throughout so far. After settleEnds() and
// settleDashes(); the ends stay. Takes time in proportion to the length of what has dips.
void takeDips(const Coverage &coverage, Web *web);

} // namespace ztrace::strokes

#endif
