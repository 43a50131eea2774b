// (c) the ztrace developers. Licence: see LICENSE.
//
// Distances from straight lines with ends.
#ifndef ZTRACE_FIT_SEGMENT_H
#define ZTRACE_FIT_SEGMENT_H

#include "fit/Chain.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

// From p to the nearest place between a and b, both included; they may be one point.
inline double toSegment(Point p, Point a, Point b)
{
    const Point d = b - a;
    const double square = dot(d, d);
    const double t = square > 0 ? std::min(1.0, std::max(0.0, dot(p - a, d) / square)) : 0;
    const Point away = p - (a + t * d);
    return std::sqrt(dot(away, away));
}

} // namespace ztrace::fit

#endif
