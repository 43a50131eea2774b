// (c) the ztrace developers. Licence: see LICENSE.
//
// From a shaded picture to few colours, as many borders as they are worth: docs/imaging/regions.md.
#ifndef ZTRACE_IMAGING_SHADED_H
#define ZTRACE_IMAGING_SHADED_H

#include <QImage>

#include "LabelPlane.h"

namespace ztrace {

// Labels of an ARGB32 image whose transparency is settled (alpha.h): regions that look alike, in at
// most `colours` colours (1 to 65534), fully transparent ones not counted. `price` is what a pixel
// edge between two labels has to save: squared distance to the colours drawn (SeenColour) summed
// over pixels; at least 0. Colours are the means of their pixels, the commonest first, each once,
// and all of them occur.
LabelPlane reduceShaded(const QImage &image, int colours, double price);

} // namespace ztrace

#endif
