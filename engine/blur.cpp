// (c) the ztrace developers. Licence: see LICENSE.
//
// The blur's options, and the kernel on the loaded image.
#include "ZTraceBitmap.h"

#include "kernels/blur.h"
#include "kernels/convert.h"
#include "kernels/gaussian.h"

#include <algorithm>
#include <cmath>

namespace {

// A larger limit keeps every pixel all the same: no change exceeds 4 * 255.
const int kLargestLimit = 1024;

} // namespace

void ZTraceBitmap::blur(float radius, float delta)
{
    const int wanted = ztrace::floorToInt(double(radius));
    if (wanted < 1 || !hasPixels())
        return;
    const int limit = std::min(ztrace::truncateToInt(std::fabs(double(delta))), kLargestLimit);
    const int used = std::min(wanted, int(ztrace::kLargestBlurRadius));
    ztrace::blurPixels(reinterpret_cast<signed char *>(imageData.data()), imageWidth, imageHeight,
                       used, limit);
}
