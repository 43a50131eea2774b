// (c) the ztrace developers. Licence: see LICENSE.
//
// Branches that the unevenness of an edge has made, and not a line.
#ifndef ZTRACE_STROKES_SPURS_H
#define ZTRACE_STROKES_SPURS_H

#include "strokes/graph.h"

namespace ztrace::strokes {

// Takes away branches that end freely and do not stick out of the disc of ink at the junction they
// begin at: with its radius R, the branch's length L and the ink's radius r at its end, they stick
// out by L + r - R. Whether that is more than an uneven edge or the corner of a square end makes is
// told by kSpurHeight and kSpurPart. Where the junction is left with two branches they become one;
// all is repeated until nothing changes. A junction all of whose branches are spurs keeps the two
// that stick out most.
void dropSpurs(const Plane &distance, Graph *graph);

} // namespace ztrace::strokes

#endif
