// (c) the ztrace developers. Licence: see LICENSE.
//
// Nearest palette entry of a pixel.
#ifndef ZTRACE_KERNELS_NEAREST_H
#define ZTRACE_KERNELS_NEAREST_H

#include <cstddef>
#include <cstdlib>

namespace ztrace {

enum {
    kChannels = 4,
    kAlpha = 3,
    kAlphaWeight = 4,
    // The distance that an entry must beat. It lies below the largest possible distance (1785) on
    // purpose: a pixel that far from every entry falls to entry 0.
    kFarthest = 1024
};

// |dR| + |dG| + |dB| + 4 |dA| of two colours of 4 signed bytes, 0 to 1785.
inline int weightedL1(const signed char *a, const signed char *b)
{
    return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2])
        + kAlphaWeight * std::abs(a[kAlpha] - b[kAlpha]);
}

// Index of the nearest of `count` entries of 4 signed bytes; the lower one of equals, and 0 when
// none is nearer than kFarthest or there are none.
inline int nearestPlain(const signed char *pixel, const signed char *palette, int count)
{
    int best = 0;
    int bestDistance = kFarthest;
    for (int k = 0; k < count; ++k) {
        const int distance = weightedL1(pixel, palette + std::ptrdiff_t(kChannels) * k);
        if (distance < bestDistance) {
            best = k;
            bestDistance = distance;
        }
    }
    return best;
}

} // namespace ztrace

#endif
