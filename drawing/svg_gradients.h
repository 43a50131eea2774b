// (c) the ztrace developers. Licence: see LICENSE.
//
// Gradients as SVG has them.
#ifndef ZTRACE_DRAWING_SVG_GRADIENTS_H
#define ZTRACE_DRAWING_SVG_GRADIENTS_H

#include <string>

#include "Drawing.h"

namespace ztrace {

// The definitions of the drawing's gradients, those that can be painted, in pixels with y
// downwards; nothing where there are none. `decimals` are those of coordinates, or kExactDecimals.
void appendSvgGradients(std::string *text, const Drawing &drawing, const Frame &frame,
                        int decimals);

// What a fill says to have the gradient of that number.
std::string svgGradientReference(int gradient);

} // namespace ztrace

#endif
