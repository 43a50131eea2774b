// (c) the ztrace developers. Licence: see LICENSE.
//
// The imaging library, which is loaded when it is first asked for something, and its images,
// released by themselves.
//
// Few pictures need it: scans that are turned, cleaned or unevenly lit, and blends of colours. It
// brings a dozen libraries of image formats along, which are not used here; to load them all takes
// 1.7 of the 14 million instructions of an icon's run, and 1 of its 12 ms.
#ifndef ZTRACE_IMAGING_LEPTONICA_H
#define ZTRACE_IMAGING_LEPTONICA_H

#include <leptonica/allheaders.h>

#include <memory>

#include "GreyPicture.h"

namespace ztrace {

// What is used of the library.
// clang-format off: one a line
#define ZTRACE_LEPTONICA_FUNCTIONS(USE)                                                            \
    USE(pixBackgroundNormSimple)                                                                   \
    USE(pixCreate)                                                                                 \
    USE(pixCreateNoInit)                                                                           \
    USE(pixDestroy)                                                                                \
    USE(pixFindSkewAndDeskew)                                                                      \
    USE(pixGetColormap)                                                                            \
    USE(pixGetData)                                                                                \
    USE(pixGetDepth)                                                                               \
    USE(pixGetHeight)                                                                              \
    USE(pixGetWidth)                                                                               \
    USE(pixGetWpl)                                                                                 \
    USE(pixInvert)                                                                                 \
    USE(pixMedianCutQuantGeneral)                                                                  \
    USE(pixSauvolaBinarizeTiled)                                                                   \
    USE(pixSelectByArea)                                                                           \
    USE(pixSetHeight)                                                                              \
    USE(pixSetWidth)                                                                               \
    USE(pixThresholdToBinary)                                                                      \
    USE(pixcmapGetColor)                                                                           \
    USE(pixcmapGetCount)                                                                           \
    USE(setMsgSeverity)
// clang-format on

// The functions by their names in the library.
struct Leptonica
{
// NOLINTNEXTLINE(bugprone-macro-parentheses): a declared name takes none
#define ZTRACE_MEMBER(name) decltype(&::name) name;
    ZTRACE_LEPTONICA_FUNCTIONS(ZTRACE_MEMBER)
#undef ZTRACE_MEMBER
};

// The library, which stays loaded. It prints what goes wrong; it is told not to. Throws a
// TraceError when it cannot be loaded, and the next call tries again.
const Leptonica &leptonica();

struct PixRelease
{
    void operator()(PIX *pix) const { leptonica().pixDestroy(&pix); }
};

typedef std::unique_ptr<PIX, PixRelease> PixPtr;

// 8 bits a pixel. Throws a TraceError when it does not fit into memory.
PixPtr greyPixOf(const GreyPicture &page);

// Of an image of 8 bits a pixel, or of one bit with ink as ones. Throws as well.
GreyPicture pageOfPix(PIX *pix);

} // namespace ztrace

#endif
