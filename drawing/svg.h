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
    int decimals = kDecimalsOfDrawing; // of coordinates
};

// Writes the drawing. Lines are `L`, quadratics `Q`, cubics `C`, arcs `A`; closed outlines end
// with `Z`. The viewBox is in pixels; width and height are in the drawing's unit. Fills are painted
// in the drawing's order unless style.byLayer groups them, which needs outlines whose holes are cut
// out to look the same.
//
// Where coordinates are rounded, to at most 9 decimals, they are written in few bytes (svg_path.h),
// looks once for several outlines in a row, and whole shapes as <circle>, <ellipse> and <rect>. Of
// more than 1000 outlines several are in one path, and those that look alike come together where
// that cannot be seen (paintorder.h). Returns false when the device took less than everything.
bool writeSvg(const Drawing &drawing, const SvgOptions &options, QIODevice *device);

} // namespace ztrace

#endif
