// (c) the ztrace developers. Licence: see LICENSE.
//
// The start palettes of startpalette.cpp as the class's nested vectors.
#include "ZTraceBitmap.h"

#include "nestedpalette.h"
#include "quantize.h"

static_assert(ZTraceBitmap::kLargestPalette == ztrace::kMostEntries, "one limit for both");

ZTraceBitmap::Palette ZTraceBitmap::generatepalette(int numberofcolors)
{
    return ztrace::nested(ztrace::generatedPalette(numberofcolors));
}

ZTraceBitmap::Palette ZTraceBitmap::samplepalette(int numberofcolors)
{
    const ztrace::PixelView image
        = { reinterpret_cast<const signed char *>(imageData.constData()), imageData.size() / 4, 1 };
    return ztrace::nested(
        ztrace::sampledPalette(image, static_cast<size_t>(imageData.size()), numberofcolors));
}
