// (c) the ztrace developers. Licence: see LICENSE.
//
// Draws from the C library's generator. They are made in documented places and order only, since
// the caller's seed decides what a trace gives.
#ifndef ZTRACE_RANDOMBYTE_H
#define ZTRACE_RANDOMBYTE_H

#include <cmath>
#include <cstdlib>

#include "kernels/convert.h"

namespace ztrace {

// One draw, 0 to 1, both included.
inline double drawUnit()
{
    return std::rand() / 2147483647.0;
}

// One draw as a stored channel, -128 to 127.
inline signed char drawChannel()
{
    return lowByte(truncateToInt(std::floor(drawUnit() * 255.0)) - 128);
}

// Four draws: R, G, B and A. The alpha is random too, on purpose.
inline void drawEntry(signed char entry[4])
{
    for (int channel = 0; channel < 4; ++channel)
        entry[channel] = drawChannel();
}

} // namespace ztrace

#endif
