// (c) the ztrace developers. Licence: see LICENSE.
//
// Ramps of a picture as gradients of its drawing.
#ifndef ZTRACE_TRACING_GRADIENTS_H
#define ZTRACE_TRACING_GRADIENTS_H

#include "drawing/Drawing.h"
#include "imaging/ramp.h"

#include <vector>

namespace ztrace {

// The ramp, in a picture of that height in pixels.
Gradient gradientOfRamp(const Ramp &ramp, int height);

// Outlines have numbers of ramps as their gradients: the drawing gets those that are painted, in
// the order of their first outline, and the outlines their numbers there. Outlines that paint
// nothing lose theirs.
void setGradients(const std::vector<Ramp> &ramps, Drawing *drawing);

} // namespace ztrace

#endif
