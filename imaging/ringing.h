// (c) the ztrace developers. Licence: see LICENSE.
//
// What lossy compression in blocks leaves of flat art, as flat art again: docs/imaging/ringing.md.
#ifndef ZTRACE_IMAGING_RINGING_H
#define ZTRACE_IMAGING_RINGING_H

#include <QImage>

namespace ztrace {

// Takes ringing and smeared hues out of an opaque image in ARGB32 that went through JPEG: areas get
// one colour each, edges the mixtures of the colours beside them, and thin strokes their hue. An
// image without such unrest is left alone and not even copied where it is shared. Returns whether
// there was any.
bool removeRinging(QImage *image);

} // namespace ztrace

#endif
