// (c) the ztrace developers. Licence: see LICENSE.
//
// Photographs and renders before a ground of one colour: docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_PLAINGROUND_H
#define ZTRACE_IMAGING_PLAINGROUND_H

#include <QImage>

#include "colourfeatures.h"

namespace ztrace {

// Whether what is not of the commonest flat colour is shaded from pixel to pixel, in colours far
// from that one, and hardly any of it is flat: the sky behind a game's scene, the black around a
// scan of a body. The ringing of JPEG around text is near its ground and does not count, nor does
// one shaded part beside many that are not: a photograph on a page of text. Of an opaque image of
// format ARGB32 or RGB32 and its features.
bool isShadedOnPlainGround(const QImage &image, const ColourFeatures &features);

} // namespace ztrace

#endif
