// (c) the ztrace developers. Licence: see LICENSE.
//
// DXF: outlines in model space, y upwards, in the drawing's unit.
#ifndef ZTRACE_DRAWING_DXF_H
#define ZTRACE_DRAWING_DXF_H

#include "Drawing.h"

class QIODevice;

namespace ztrace {

enum class DxfCurves {
    Spline,  // exactly: Bezier curves as splines, ellipses and circles as what they are; lines and
             // arcs between them as polylines
    Arc,     // one polyline or circle an outline, curves as arcs within the tolerance
    Polyline // one polyline an outline, arcs and curves as lines within the tolerance
};

enum class DxfVersion { R12, R2000, R2004 };

struct DxfOptions
{
    DxfCurves curves = DxfCurves::Spline;
    DxfVersion version = DxfVersion::R2004;
    double tolerance = 0.05; // in pixels
    // Strokes as the longest paths (strokepaths.h), one polyline each, curves as arcs within the
    // tolerance; else piece by piece.
    bool join = false;
};

// Writes the drawing: a layer for every layer, in the colour of its first outline. A line or an arc
// between curves is an entity of its own, several are a polyline. Strokes are
// lines, arcs, circles and ellipses one by one, with line type, its scale and line weight of their
// pen. R12 knows no splines and ellipses: with Spline they are lines there, within the tolerance.
// Returns false when the device took less than everything.
bool writeDxf(const Drawing &drawing, const DxfOptions &options, QIODevice *device);

// Index of the colour among the 255 of the format that is most like it; ink, black and nearly
// black, is 7, which readers show in black on white and in white on black. It is written without a
// true colour, which would be black on black.
int dxfColourIndex(QRgb colour);
bool isDxfInk(QRgb colour);

} // namespace ztrace

#endif
