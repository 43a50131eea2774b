// (c) the ztrace developers. Licence: see LICENSE.
//
// Pages under uneven light: the fold of a book, the shadow of a hand, a lamp to one side.
#ifndef ZTRACE_IMAGING_LIGHTING_H
#define ZTRACE_IMAGING_LIGHTING_H

#include <QImage>

#include "leptonica.h"

namespace ztrace {

// Whether the paper of an opaque ARGB32 or RGB32 image darkens gradually to where a threshold for
// the whole page would take it for ink. Grey areas with edges do not count.
bool isUnevenlyLit(const QImage &image);

// The page with paper of the same lightness everywhere: every pixel in relation to the paper
// around it. Null when the page is too small for that.
PixPtr evenlyLit(PIX *page);

} // namespace ztrace

#endif
