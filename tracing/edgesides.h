// (c) the ztrace developers. Licence: see LICENSE.
//
// What softedges.cpp and edgepoints.cpp look at: the sides of a chain, and one crack of it.
#ifndef ZTRACE_TRACING_EDGESIDES_H
#define ZTRACE_TRACING_EDGESIDES_H

#include "tracing/softedges.h"

#include <algorithm>

namespace ztrace {

const double kLeastContrast = 12; // steps of 255; below, an edge's place is its cracks'
const double kPlain = 0.02;       // of coverage: nearer to a side's tone, a pixel is that side's
const double kBlurredBy = 0.15;   // of coverage: both pixels at a crack are mixed by that much

inline double clamped(double value, double low, double high)
{
    return std::min(high, std::max(low, value));
}

// What coverage of the right side means along a chain.
struct SoftEdges::Side
{
    uint32_t left;
    uint32_t right;
    std::array<double, kMostChannels> base; // tone of the left side
    std::array<double, kMostChannels> span; // from there to the right side's
    double square;
    double noise; // of coverage
    double level; // coverage at which labels change
    // Of each lightness, in pictures of one channel. In colours, of pixels that were looked at, in
    // the places that keyOf() tells, each with its key: cracks side by side look at the same ones.
    mutable std::array<double, 256> coverage;
    mutable std::array<uint64_t, 256> keys;

    static uint64_t keyOf(int x, int y) { return uint64_t(uint32_t(y)) << 32 | uint32_t(x); }
    static std::size_t placeOf(int x, int y) { return std::size_t((y & 15) << 4 | (x & 15)); }
};

// From lattice point (x, y) by one step.
struct SoftEdges::Crack
{
    int x;
    int y;
    Heading heading;
    uint32_t number; // along the chain

    fit::Point middle() const { return { x + 0.5 * stepX(heading), y + 0.5 * stepY(heading) }; }
    // To the left.
    int acrossX() const { return stepX(turned(heading, 3)); }
    int acrossY() const { return stepY(turned(heading, 3)); }
    int rightX() const { return heading == kRight || heading == kUp ? x : x - 1; }
    int rightY() const { return heading == kRight || heading == kDown ? y : y - 1; }
};

inline uint32_t SoftEdges::areaAt(int x, int y) const
{
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height)
        return uint32_t(-1);
    return areas.at(x, y);
}

inline double SoftEdges::coverageOf(const Side &side, const uint8_t *value) const
{
    double sum = 0;
    for (int c = 0; c < picture.channels; ++c)
        sum += (value[c] - side.base[std::size_t(c)]) * side.span[std::size_t(c)];
    return onGrid(clamped(sum / side.square, 0, 1), kPointGrid);
}

// Of the right side; beyond the picture the nearest pixel's.
inline double SoftEdges::coverageAt(const Side &side, int x, int y) const
{
    const int lastX = picture.width - 1;
    const int lastY = picture.height - 1;
    return coverageIn(side, x < 0 ? 0 : std::min(x, lastX), y < 0 ? 0 : std::min(y, lastY));
}

// The same of a pixel of the picture.
inline double SoftEdges::coverageIn(const Side &side, int x, int y) const
{
    if (picture.channels == 1)
        return side.coverage[*picture.at(x, y)];
    const std::size_t place = Side::placeOf(x, y);
    const uint64_t key = Side::keyOf(x, y);
    if (side.keys[place] != key) {
        side.keys[place] = key;
        side.coverage[place] = coverageOf(side, picture.at(x, y));
    }
    return side.coverage[place];
}

} // namespace ztrace

#endif
