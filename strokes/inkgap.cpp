// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/inkgap.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kInked = 0.5; // coverage of a line that goes on
// Pixels from which on a line has sides, and where these are, in widths beside the middle. Walls of
// 10 pixels with windows of three lines 4 pixels apart were drawn across them; the symbols and
// sheets that are scored are the same with it.
const double kWide = 5.0;
const double kSides = 0.3;

bool hasInkAt(const Stretch &stretch, double t, double sides, const Coverage &coverage)
{
    const fit::Primitive &carrier = stretch.carrier;
    const double at = stretch.start + t * stretch.angle;
    const Point along = stretch.to - stretch.from;
    const double length = std::max(1e-9, std::hypot(along.x, along.y));
    const Point out = carrier.arc ? Point { std::cos(at), std::sin(at) }
                                  : (1.0 / length) * Point { -along.y, along.x };
    const Point p = carrier.arc ? carrier.point + carrier.radius * out : stretch.from + t * along;
    if (coverage.at(p) < kInked)
        return false;
    return sides == 0.0
        || (coverage.at(p + sides * out) >= kInked && coverage.at(p - sides * out) >= kInked);
}

} // namespace

double inkGap(const Stretch &stretch, double sides, const Coverage &coverage)
{
    const int steps = int(stretch.length) + 1;
    double missing = 0.0;
    double most = 0.0;
    for (int k = 0; k <= steps; ++k) {
        missing = hasInkAt(stretch, double(k) / steps, sides, coverage)
            ? 0.0
            : missing + stretch.length / steps;
        most = std::max(most, missing);
    }
    return most;
}

double sidesOf(double width)
{
    return width < kWide ? 0.0 : kSides * width;
}

} // namespace ztrace::strokes
