// (c) the ztrace developers. Licence: see LICENSE.
//
// DXF: outlines in model space, y upwards, in the drawing's unit.
#ifndef ZTRACE_DRAWING_DXF_H
#define ZTRACE_DRAWING_DXF_H

#include "Drawing.h"

class QIODevice;

namespace ztrace {

enum class DxfCurves {
    Spline,  // every quadratic as a spline of degree 2, exactly; lines between them as polylines
    Arc,     // one polyline an outline, curves as arcs within the tolerance
    Polyline // one polyline an outline, curves as lines within the tolerance
};

enum class DxfVersion { R12, R2000, R2004 };

struct DxfOptions
{
    DxfCurves curves = DxfCurves::Spline;
    DxfVersion version = DxfVersion::R2004;
    double tolerance = 0.05; // in pixels
};

// Writes the drawing: a layer for every layer, in the colour of its first outline. R12 knows no
// splines: Spline is taken as Polyline there. Returns false when the device took less than
// everything.
bool writeDxf(const Drawing &drawing, const DxfOptions &options, QIODevice *device);

// Index of the colour among the 255 of the format that is most like it; black is 7, which readers
// show in black on white and in white on black.
int dxfColourIndex(QRgb colour);

} // namespace ztrace

#endif
