// (c) the ztrace developers. Licence: see LICENSE.
#include "ramp.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

double Ramp::distanceAt(double atX, double atY) const
{
    return radial ? std::sqrt((atX - x) * (atX - x) + (atY - y) * (atY - y))
                  : (atX - x) * alongX + (atY - y) * alongY;
}

RampColour Ramp::colourOf(double distance) const
{
    std::size_t next = 0;
    while (next < stops.size() && stops[next].at < distance)
        ++next;
    if (next == 0)
        return stops.front().colour;
    if (next == stops.size())
        return stops.back().colour;
    const RampStop &a = stops[next - 1];
    const RampStop &b = stops[next];
    const double share = (distance - a.at) / (b.at - a.at);
    RampColour colour;
    for (std::size_t k = 0; k < colour.size(); ++k)
        colour[k] = a.colour[k] + share * (b.colour[k] - a.colour[k]);
    return colour;
}

double farthestChannel(const RampColour &a, const RampColour &b)
{
    double most = 0.0;
    for (std::size_t k = 0; k < a.size(); ++k)
        most = std::max(most, std::fabs(a[k] - b[k]));
    return most;
}

QRgb wordOf(const RampColour &colour)
{
    const auto byte = [](double value) { return int(std::lround(std::clamp(value, 0.0, 255.0))); };
    return qRgb(byte(colour[0]), byte(colour[1]), byte(colour[2]));
}

} // namespace ztrace
