// (c) the ztrace developers. Licence: see LICENSE.
#include "gradients.h"

#include <algorithm>

namespace ztrace {

Gradient gradientOfRamp(const Ramp &ramp, int height)
{
    const double first = ramp.radial ? 0.0 : ramp.stops.front().at;
    const double last = ramp.stops.back().at;
    Gradient gradient;
    gradient.radial = ramp.radial;
    gradient.start = Point(ramp.x + first * ramp.alongX, height - ramp.y - first * ramp.alongY);
    if (ramp.radial) {
        gradient.start = Point(ramp.x, height - ramp.y);
        gradient.radius = last;
    } else {
        gradient.end = Point(ramp.x + last * ramp.alongX, height - ramp.y - last * ramp.alongY);
    }
    for (const RampStop &stop : ramp.stops) {
        const double at = std::clamp((stop.at - first) / (last - first), 0.0, 1.0);
        gradient.stops.push_back({ at, wordOf(stop.colour) });
    }
    return gradient;
}

void setGradients(const std::vector<Ramp> &ramps, Drawing *drawing)
{
    std::vector<int> places(ramps.size(), -1);
    for (Outline &outline : drawing->outlines) {
        if (qAlpha(outline.colour) == 0)
            outline.gradient = -1;
        if (outline.gradient < 0)
            continue;
        int &place = places[std::size_t(outline.gradient)];
        if (place < 0) {
            place = int(drawing->gradients.size());
            drawing->gradients.push_back(
                gradientOfRamp(ramps[std::size_t(outline.gradient)], drawing->height));
        }
        outline.gradient = place;
    }
}

} // namespace ztrace
