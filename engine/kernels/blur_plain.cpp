// (c) the ztrace developers. Licence: see LICENSE.
#include "blur.h"

#include "convert.h"
#include "gaussian.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace ztrace {

namespace {

// One blurred channel at `position` of a line of `length` samples that lie `step` bytes apart.
signed char blurredSample(const signed char *line, size_t step, int length, int position,
                          const double *weights, int radius)
{
    double sum = 0.0;
    double weightSum = 0.0;
    for (int k = -radius; k <= radius; ++k) {
        const int tap = position + k;
        if (tap <= 0 || tap >= length)
            continue;
        const double weight = weights[k + radius];
        sum += line[step * static_cast<size_t>(tap)] * weight;
        weightSum += weight;
    }
    if (weightSum == 0.0)
        return 0; // 0 / 0 is not a number; its byte is 0
    return lowByte(floorToInt(sum / weightSum));
}

int change(const signed char *a, const signed char *b)
{
    return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2])
        + std::abs(a[3] - b[3]);
}

} // namespace

void blurPlain(signed char *pixels, int width, int height, int radius, int limit)
{
    const double *weights = gaussianKernel(radius);
    const size_t rowBytes = 4 * static_cast<size_t>(width);
    std::vector<signed char> horizontal(rowBytes * static_cast<size_t>(height));
    for (int y = 0; y < height; ++y) {
        const signed char *row = pixels + rowBytes * static_cast<size_t>(y);
        signed char *out = horizontal.data() + rowBytes * static_cast<size_t>(y);
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < 4; ++c)
                *out++ = blurredSample(row + c, 4, width, x, weights, radius);
        }
    }
    for (int y = 0; y < height; ++y) {
        signed char *out = pixels + rowBytes * static_cast<size_t>(y);
        for (size_t x = 0; x < rowBytes; x += 4, out += 4) {
            signed char blurred[4];
            for (size_t c = 0; c < 4; ++c)
                blurred[c] = blurredSample(horizontal.data() + x + c, rowBytes, height, y, weights,
                                           radius);
            if (change(blurred, out) <= limit)
                std::copy(blurred, blurred + 4, out);
        }
    }
}

} // namespace ztrace
