// (c) the ztrace developers. Licence: see LICENSE.
//
// Whether a picture's colours are those of one ink on one paper: docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_ONEHUE_H
#define ZTRACE_IMAGING_ONEHUE_H

#include <QImage>

#include "GreyPicture.h"

namespace ztrace {

// Whether hue follows lightness: red and blue lie beside green where a straight line over the
// lightness says, but for noise. Of an image of format ARGB32 or RGB32; looks at 65536 pixels at
// most.
bool isOfOneHue(const QImage &image);

// Mean length in pixels of the rows' runs of ink, which is at most `threshold` light; 0 without
// any. Strokes of letters are short.
double meanInkRun(const GreyPicture &page, int threshold);

} // namespace ztrace

#endif
