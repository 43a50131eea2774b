// (c) the ztrace developers. Licence: see LICENSE.
//
// Flat areas in a pattern of two colours that look alike, as toolkits paint what lies between them.
#ifndef ZTRACE_IMAGING_DITHER_H
#define ZTRACE_IMAGING_DITHER_H

#include <QImage>

namespace ztrace {

// Part of the pixels that are repeated two pixels to the right, below and between the two, with
// others that are hardly different in between, of the 16 commonest such colours: 0 to 1. Of an
// image of format ARGB32 or RGB32; looks at 256 rows at most.
double ditheredShare(const QImage &image);

} // namespace ztrace

#endif
