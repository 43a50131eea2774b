// (c) the ztrace developers. Licence: see LICENSE.
#include "ramp.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

QRgb wordOf(const RampColour &colour)
{
    const auto byte = [](double value) { return int(std::lround(std::clamp(value, 0.0, 255.0))); };
    return qRgb(byte(colour[0]), byte(colour[1]), byte(colour[2]));
}

} // namespace ztrace
