// (c) the ztrace developers. Licence: see LICENSE.
//
// The blur's options, and the kernel on the loaded image.
#include "ZTraceBitmap.h"

#include "quantize.h"

void ZTraceBitmap::blur(float radius, float delta)
{
    if (hasPixels())
        ztrace::blurAsAsked(reinterpret_cast<signed char *>(imageData.data()), imageWidth,
                            imageHeight, radius, delta);
}
