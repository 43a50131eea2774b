// (c) the ztrace developers. Licence: see LICENSE.
#include "seencolour.h"

#include <cmath>

namespace ztrace {

namespace {

const double kScale = 765.0; // as in oklab.cpp

// Steps of light: the darkest colour but black is 1 / 3295 of white, so that it has 20 of them.
const int kSteps = 65536;

// Red, green and blue in the three lights of Oklab, and in luminance.
const double kWeights[12]
    = { 0.4122214708, 0.5363325363, 0.0514459929, 0.2119034982, 0.6806995451, 0.1073969566,
        0.0883024619, 0.2817188376, 0.6299787005, 0.2126,       0.7152,       0.0722 };

// Light of a channel's value, 0 to 1 (IEC 61966-2-1).
double lightOf(int byte)
{
    const double value = byte / 255.0;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

} // namespace

SeenColours::SeenColours()
{
    for (int byte = 0; byte < 256; ++byte) {
        for (std::size_t k = 0; k < 12; ++k)
            shares[k % 3][std::size_t(byte)][k / 3]
                = int(std::lround(lightOf(byte) * kWeights[k] * kSteps));
    }
    const double kDark = 216.0 / 24389.0;
    roots.reserve(kSteps + 4);
    lightnesses.reserve(kSteps + 4);
    for (int i = 0; i < kSteps + 4; ++i) { // three roundings
        const double light = double(i) / kSteps;
        const double root = std::cbrt(light);
        roots.push_back(float(kScale * root));
        lightnesses.push_back(
            float(kScale * (light > kDark ? 1.16 * root - 0.16 : light * 24389.0 / 2700.0)));
    }
}

} // namespace ztrace
