// (c) the ztrace developers. Licence: see LICENSE.
//
// The arc that rounds the corner of two lines, by the edges of its ink.
#ifndef ZTRACE_STROKES_CORNERARCS_H
#define ZTRACE_STROKES_CORNERARCS_H

#include "strokes/primitives.h"

namespace ztrace::strokes {

// Two lines that would meet in a place, and unit directions along them away from it. `alone`: no
// other line is there, so that the outer edge of the ink tells as well.
struct Corner
{
    Point place = { 0, 0 };
    const Atom *line[2] = { nullptr, nullptr };
    Point direction[2] = {};
    bool alone = false;
};

struct CornerArc
{
    Point centre = { 0, 0 };
    double radius = 0.0;
    double tangent = 0.0; // pixels from the corner to where it touches the lines
    double angle = 0.0;   // radians between the directions
    double width = 0.0;
};

// Pixels from a corner that arcs in it begin at most: larger ones are seen as arcs by themselves.
double cornerReach(double width);

// The arc whose edges are those of the ink, and that touches both lines as well as these are known.
// False where the inner edge is not seen, lies off an arc's, or is as sharp as that of two lines.
// `uneven` says that edges are, as they are in one bit and in noise.
bool arcIn(const Corner &corner, const Coverage &coverage, bool uneven, CornerArc *arc);

} // namespace ztrace::strokes

#endif
