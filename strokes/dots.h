// (c) the ztrace developers. Licence: see LICENSE.
//
// Specks of ink too short to be lines: the dots of dotted and centre lines among them.
#ifndef ZTRACE_STROKES_DOTS_H
#define ZTRACE_STROKES_DOTS_H

#include "strokes/graph.h"
#include "strokes/primitives.h"

namespace ztrace::strokes {

// A connected part of the ink.
struct Dot
{
    Point centre = { 0, 0 }; // of gravity
    int pixels = 0;
    double length[2] = { 0.0, 0.0 }; // along its main axis and across it
    Point axis = { 1, 0 };           // unit
};

// The parts of the ink of at most `most` pixels in width and height that no atom was seen in. Takes
// time in proportion to their pixels.
std::vector<Dot> dotsOf(const Graph &graph, const Plane &distance, const std::vector<Atom> &atoms,
                        int most);

// Pixels that a dot of these lines is wide and high at most: kDotWidths of the widest line that is
// drawn often.
int mostOfDot(const Cores &cores);

} // namespace ztrace::strokes

#endif
