// (c) the ztrace developers. Licence: see LICENSE.
//
// A ramp: a colour that goes evenly along a line or away from a point, as viewers of drawings
// paint gradients. docs/imaging/ramps.md.
#ifndef ZTRACE_IMAGING_RAMP_H
#define ZTRACE_IMAGING_RAMP_H

#include <QRgb>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace ztrace {

// Red, green and blue, 0 to 255, as in the file: what is between two of them is linear there, since
// that is what viewers do.
typedef std::array<double, 3> RampColour;

// What the colour is at a distance along the axis or from the centre, in pixels.
struct RampStop
{
    double at;
    RampColour colour;
};

// Pixels, y downwards, a pixel's centre is at a half. The stops are in the order of their
// distances, at least two; before the first and after the last the colour stays.
struct Ramp
{
    bool radial = false;
    double x = 0.0; // the centre, or a point of the axis that is at distance 0
    double y = 0.0;
    double alongX = 1.0; // of the axis, length 1; radial ramps have none
    double alongY = 0.0;
    std::vector<RampStop> stops;

    double distanceAt(double atX, double atY) const
    {
        return radial ? std::sqrt((atX - x) * (atX - x) + (atY - y) * (atY - y))
                      : (atX - x) * alongX + (atY - y) * alongY;
    }
    RampColour colourOf(double distance) const
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
    RampColour colourAt(double atX, double atY) const { return colourOf(distanceAt(atX, atY)); }
};

// Largest difference of a channel.
inline double farthestChannel(const RampColour &a, const RampColour &b)
{
    double most = 0.0;
    for (std::size_t k = 0; k < a.size(); ++k)
        most = std::max(most, std::fabs(a[k] - b[k]));
    return most;
}

inline RampColour rampColourOf(QRgb word)
{
    return { { double(qRed(word)), double(qGreen(word)), double(qBlue(word)) } };
}

// Rounded, within a byte, opaque.
QRgb wordOf(const RampColour &colour);

} // namespace ztrace

#endif
