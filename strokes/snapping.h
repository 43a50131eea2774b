// (c) the ztrace developers. Licence: see LICENSE.
//
// Order among centre lines: what is upright, parallel, at right angles, concentric or equally large
// but for its errors becomes so exactly. docs/strokes/snapping.md.
#ifndef ZTRACE_STROKES_SNAPPING_H
#define ZTRACE_STROKES_SNAPPING_H

#include "strokes/strokes.h"

#include "fit/snap.h"

namespace ztrace::strokes {

// Changes the strokes' pieces, never their kinds. `Joints`: lines become upright, and parallel or
// at right angles to lines that they meet; `All`: to any others, and circles get common radii and
// centres. Strokes that met still do, in the same place; a line that ends on another one ends there
// again. A stroke stays as it is where its cross-sections speak against it (kMostRise of
// fit/snap.h, in deviations of the drawing), or an end would move by more than kMostMoved.
// Deterministic; lettering and strokes without cross-sections stay.
void putInOrder(fit::Snap snap, StrokeDrawing *drawing);

} // namespace ztrace::strokes

#endif
