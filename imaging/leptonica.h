// (c) the ztrace developers. Licence: see LICENSE.
//
// The imaging library's images, released by themselves.
#ifndef ZTRACE_IMAGING_LEPTONICA_H
#define ZTRACE_IMAGING_LEPTONICA_H

#include <leptonica/allheaders.h>

#include <QImage>

#include <memory>

namespace ztrace {

struct PixRelease
{
    void operator()(PIX *pix) const { pixDestroy(&pix); }
};

typedef std::unique_ptr<PIX, PixRelease> PixPtr;

// The lightness of an opaque image, 8 bits a pixel. The library prints nothing from then on. Throws
// a Failure when it does not fit into memory.
PixPtr greyPixOf(const QImage &image);

// RGB32 of an image of 8 bits a pixel, or of one bit with ink as ones. Throws as well.
QImage imageOfPix(PIX *pix);

} // namespace ztrace

#endif
