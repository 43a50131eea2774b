// (c) the ztrace developers. Licence: see LICENSE.
//
// The imaging library's images, released by themselves.
#ifndef ZTRACE_CLI_LEPTONICA_H
#define ZTRACE_CLI_LEPTONICA_H

#include <leptonica/allheaders.h>

#include <memory>

namespace ztrace {

struct PixRelease
{
    void operator()(PIX *pix) const { pixDestroy(&pix); }
};

typedef std::unique_ptr<PIX, PixRelease> PixPtr;

} // namespace ztrace

#endif
