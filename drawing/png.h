// (c) the ztrace developers. Licence: see LICENSE.
//
// PNG: a preview of the drawing.
#ifndef ZTRACE_DRAWING_PNG_H
#define ZTRACE_DRAWING_PNG_H

#include <QImage>

#include "Drawing.h"

class QIODevice;

namespace ztrace {

// Beyond this the toolkit's painter does not draw.
const int kLargestPictureSide = 32767;

// The drawing as a smooth picture of `scale` times its size, transparent where nothing is painted.
// Null when memory does not hold it. Needs no display.
QImage renderDrawing(const Drawing &drawing, const PaintStyle &style, double scale);

// Writes a picture; false when the device took less.
bool savePng(const QImage &image, QIODevice *device);

// Writes that picture with its resolution. Returns false when there is none, or when the device
// took less than everything.
bool writePng(const Drawing &drawing, const PaintStyle &style, double scale, QIODevice *device);

} // namespace ztrace

#endif
