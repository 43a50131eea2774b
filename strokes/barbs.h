// (c) the ztrace developers. Licence: see LICENSE.
//
// Heads of arrows that are two strokes of the pen. docs/strokes/arrows.md.
#ifndef ZTRACE_STROKES_BARBS_H
#define ZTRACE_STROKES_BARBS_H

#include "strokes/arrows.h"
#include "strokes/track.h"

namespace ztrace::strokes {

// A head is solid, two strokes of the pen, or none: lines that meet in a point.
enum class HeadKind { None, Solid, Open };

// Where both barbs of an open head meet, and where they end: the middles of the pen.
struct Barbs
{
    HeadKind kind = HeadKind::Solid;
    Point tip;
    Point end[2];
};

// The pen that drew a head: its width in pixels, how far the ends of its lines are round, 0 to 1,
// and whether noise hides what tips are like.
struct HeadPen
{
    double width = 0.0;
    double roundPart = 1.0;
    bool noisy = false;
};

// Looks behind the base of a head along both of its edges: ink as wide as the pen, apart from the
// line, is that of barbs; a solid head has none. What goes on far behind the base are lines of
// their own. Where the ink between barbs is closed, an open head is told by its tip: that of a pen
// is blunt. `track` is what the taper's lengths are along; `met` is the length at which the line
// ends.
Barbs barbsOf(const Coverage &coverage, const Track &track, const Taper &taper, const HeadPen &pen,
              double met);

// A line along a barb, as if it had been found by itself.
Atom barbAtom(const Barbs &barbs, int side, double pen, const Measure &measure);

} // namespace ztrace::strokes

#endif
