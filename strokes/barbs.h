// (c) the ztrace developers. Licence: see LICENSE.
//
// Heads of arrows that are two strokes of the pen. docs/strokes/arrows.md.
#ifndef ZTRACE_STROKES_BARBS_H
#define ZTRACE_STROKES_BARBS_H

#include "strokes/arrows.h"
#include "strokes/track.h"

#include <optional>

namespace ztrace::strokes {

// Where both barbs of an open head meet, and where they end: the middles of the pen.
struct Barbs
{
    Point tip;
    Point end[2];
};

// Looks behind the base of a head along both of its edges: ink as wide as the pen, apart from the
// line, is that of barbs; a solid head has none. `pen` in pixels, `track` as the taper's lengths
// are along it. Nothing where the head is solid.
std::optional<Barbs> barbsOf(const Coverage &coverage, const Track &track, const Taper &taper,
                             double pen);

// A line along a barb, as if it had been found by itself.
Atom barbAtom(const Barbs &barbs, int side, double pen, const Measure &measure);

} // namespace ztrace::strokes

#endif
