// (c) the ztrace developers. Licence: see LICENSE.
//
// What no pen has drawn: ink far wider than the lines.
#ifndef ZTRACE_STROKES_SOLIDS_H
#define ZTRACE_STROKES_SOLIDS_H

#include "strokes/graph.h"

namespace ztrace::strokes {

// The width of the widest pen, in pixels: the largest that a good part of all branches, and several
// times their width, are drawn with. 0 where there is none.
double widestPen(const Graph &graph, const Plane &distance);

// Takes out of the ink, which is where distances are not 0, what is solid: discs of a radius over
// kSolidWidths times the widest pen's half width, and the ink around them that lies within their
// reach. Where there is no pen, all parts of the ink but specks are solid: a square alone is no
// drawing of lines. Gives what it took, 1 in the cells of solids; a plane of no size where there is
// nothing.
Plane takeSolids(double widest, Plane *distance);
const double kSolidWidths = 2.5;

} // namespace ztrace::strokes

#endif
