// (c) the ztrace developers. Licence: see LICENSE.
//
// Arrow heads at the ends of lines. docs/strokes/arrows.md.
#ifndef ZTRACE_STROKES_ARROWS_H
#define ZTRACE_STROKES_ARROWS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// A solid triangle: its tip, and the two corners of its base.
struct Arrow
{
    Point corner[3] = {};
    int ink = 0; // as of a Stroke
};

// What a row of widths across a line's end tells: lengths along the line in the order of the rows.
struct Taper
{
    double base = 0.0;  // where the width jumps
    double tip = 0.0;   // where it would be nothing
    double width = 0.0; // at the base
    double ink = 0.0;   // where the ink ends, be it another line's
};

// A width, and how far the ink reaches on either side of the carrier.
struct Across
{
    double at = 0.0;
    double left = 0.0;
    double right = 0.0;
    double width() const { return left + right; }
};

// Whether rows from a line's inside outwards show an arrow head: the pen's width, a jump within a
// few pixels on both sides, and from there on a straight decline alike on both. `pen` in pixels.
bool taperOf(const std::vector<Across> &rows, double pen, Taper *taper);

// Whether the lines of a drawing end round, as barbs do then, and whether the page is a scan.
struct LineEnds
{
    bool round = true;
    bool noisy = false;
};

// Finds the heads at the ends of lines and arcs. Such an end is put on the tip, the line's role is
// Dimension, and what lies in a head alone is dropped: atoms, and cells of `solids`. After
// settleEnds(). Takes time in proportion to the atoms and the lengths of their heads.
// Open heads become two lines of the web.
std::vector<Arrow> takeArrows(const Coverage &coverage, const Measure &measure, LineEnds ends,
                              Web *web, Plane *solids);

} // namespace ztrace::strokes

#endif
