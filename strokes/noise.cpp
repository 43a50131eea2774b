// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/noise.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace ztrace::strokes {

namespace {

const std::size_t kStep = 7; // of so many pixels one is looked at
// Deviation of a difference of two pixels over the median of its size.
const double kOfMedian = 1.0 / 0.954;

// Pixels unlike all four beside them, over the pixels of ink.
double speckledPart(const InkPicture &picture)
{
    std::size_t alone = 0;
    std::size_t ink = 0;
    for (int y = 1; y + 1 < picture.height; ++y) {
        for (int x = 1; x + 1 < picture.width; ++x) {
            const bool here = picture.isInk(x, y);
            ink += here;
            alone += here != picture.isInk(x - 1, y) && here != picture.isInk(x + 1, y)
                && here != picture.isInk(x, y - 1) && here != picture.isInk(x, y + 1);
        }
    }
    return ink > 0 ? double(alone) / double(ink) : 0.0;
}

// Of all pixels: most are paper, and a threshold that lies in the noise tells nothing.
double paperNoise(const InkPicture &picture)
{
    std::array<std::size_t, 256> counts = {};
    std::size_t all = 0;
    const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
    for (std::size_t i = 1; i < pixels; i += kStep) {
        const int a = picture.grey[i - 1];
        const int b = picture.grey[i];
        ++counts[std::size_t(std::abs(a - b))];
        ++all;
    }
    std::size_t seen = 0;
    for (std::size_t d = 0; d < counts.size(); ++d) {
        seen += counts[d];
        if (2 * seen > all)
            return kOfMedian * double(d);
    }
    return 0.0;
}

} // namespace

bool isNoisy(const InkPicture &picture, bool hard)
{
    return hard ? speckledPart(picture) > kSpeckled : paperNoise(picture) > kNoisy;
}

std::vector<uint8_t> smoothed(const InkPicture &picture)
{
    const std::size_t width = std::size_t(picture.width);
    std::vector<uint8_t> result(width * std::size_t(picture.height));
    std::vector<int> sums(width);
    for (int y = 0; y < picture.height; ++y) {
        const uint8_t *row = picture.grey + picture.at(0, y);
        const uint8_t *above = y > 0 ? row - width : row;
        const uint8_t *below = y + 1 < picture.height ? row + width : row;
        for (std::size_t x = 0; x < width; ++x)
            sums[x] = above[x] + 2 * row[x] + below[x];
        uint8_t *out = result.data() + picture.at(0, y);
        for (std::size_t x = 0; x < width; ++x) {
            const int left = sums[x > 0 ? x - 1 : x];
            const int right = sums[x + 1 < width ? x + 1 : x];
            out[x] = uint8_t((left + 2 * sums[x] + right + 8) / 16);
        }
    }
    return result;
}

} // namespace ztrace::strokes
