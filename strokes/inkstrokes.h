// (c) the ztrace developers. Licence: see LICENSE.
//
// Tells every stroke's ink, and parts strokes where another ink goes on. docs/strokes/inks.md.
#ifndef ZTRACE_STROKES_INKSTROKES_H
#define ZTRACE_STROKES_INKSTROKES_H

#include "strokes/strokes.h"

#include <functional>

namespace ztrace::strokes {

// The ink at a place of the drawing: its number, or kNoInk where there is none.
typedef std::function<uint8_t(Point)> InkAt;

// Gives every stroke, arrow and dot of a drawing its ink: that of most of its cross-sections. Lines
// and arcs that go on in another ink become one for each; what another ink only crosses stays
// whole, as do circles, ellipses and dashed ones.
void takeInks(const InkAt &inkAt, StrokeDrawing *drawing);

} // namespace ztrace::strokes

#endif
