// (c) the ztrace developers. Licence: see LICENSE.
//
// Small pictures in which every pixel counts: docs/imaging/pixelart.md.
#ifndef ZTRACE_IMAGING_PIXELART_H
#define ZTRACE_IMAGING_PIXELART_H

#include <QImage>

#include "LabelPlane.h"

namespace ztrace {

const int kMostPixelsOfPixelArt = 64 * 64;

// Labels of an ARGB32 image that was set pixel by pixel: at most 4096 pixels in at most `most` and
// 16 colours, opaque or clear, none of them a mixture of two others, as soft edges have. Every
// pixel has its very colour, the first ones in reading order first; what is clear is one. No labels
// where the image is no such one.
LabelPlane labelPixelArt(const QImage &image, int most);

} // namespace ztrace

#endif
