// (c) the ztrace developers. Licence: see LICENSE.
//
// SVG: a path an outline, coordinates in pixels with y downwards.
#ifndef ZTRACE_DRAWING_SVG_H
#define ZTRACE_DRAWING_SVG_H

#include "Drawing.h"
#include "text.h"

class QIODevice;

namespace ztrace {

struct SvgOptions
{
    PaintStyle style;
    int decimals = kExactDecimals;
};

// Writes the drawing. Lines are `L`, quadratics `Q`, cubics `C`, arcs `A`; closed outlines end
// with `Z`. The viewBox is in pixels; width and height are in the drawing's unit. Fills are painted
// in the drawing's order unless style.byLayer groups them, which needs outlines whose holes are cut
// out to look the same. Returns false when the device took less than everything.
bool writeSvg(const Drawing &drawing, const SvgOptions &options, QIODevice *device);

} // namespace ztrace

#endif
