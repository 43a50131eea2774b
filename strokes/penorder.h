// (c) the ztrace developers. Licence: see LICENSE.
//
// The order that a plotter draws strokes in. docs/strokes/strokes.md, "Order".
#ifndef ZTRACE_STROKES_PENORDER_H
#define ZTRACE_STROKES_PENORDER_H

#include "strokes/strokes.h"

namespace ztrace::strokes {

// Puts strokes of one role, ink and pen after each other: lines first, dimensions, hatches, then
// lettering; in each, from `corner` on, always the one that begins or ends nearest to where the
// last one ended, turned around where it ends there. Dashed ones keep their direction. Takes
// n log n steps.
void putInPenOrder(Point corner, std::vector<Stroke> *strokes);

// Pixels that a pen moves without drawing, from `corner` through all strokes in their order.
double penUpTravel(Point corner, const std::vector<Stroke> &strokes);

} // namespace ztrace::strokes

#endif
