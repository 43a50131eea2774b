// (c) the ztrace developers. Licence: see LICENSE.
//
// The imaging library's images, released by themselves.
#ifndef ZTRACE_IMAGING_LEPTONICA_H
#define ZTRACE_IMAGING_LEPTONICA_H

#include <leptonica/allheaders.h>

#include <memory>

#include "GreyPicture.h"

namespace ztrace {

struct PixRelease
{
    void operator()(PIX *pix) const { pixDestroy(&pix); }
};

typedef std::unique_ptr<PIX, PixRelease> PixPtr;

// The library prints what goes wrong, from the first of its images on; it is told not to, once.
void silenceLibrary();

// 8 bits a pixel. Throws a TraceError when it does not fit into memory.
PixPtr greyPixOf(const GreyPicture &page);

// Of an image of 8 bits a pixel, or of one bit with ink as ones. Throws as well.
GreyPicture pageOfPix(PIX *pix);

} // namespace ztrace

#endif
