// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/touches.h"

#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Pixels of a circle that a line cuts off and no tangent does whose fit is not exact: sigmas of the
// cross-sections, at least, and at most.
const double kCutOffSigmas = 1.5;
const double kLeastCutOff = 0.05;
const double kCutOff = 0.12;
const double kAcross = 0.5; // sine of the least angle of what lies across an end

// Pixels that a line may lie off where it was drawn.
double errorOf(const Atom &line, const Measure &measure)
{
    const double fitted = std::clamp(kCutOffSigmas * measure.sigma, kLeastCutOff, kCutOff);
    if (!measure.hard)
        return fitted;
    const Point along = line.samples.back().centre - line.samples.front().centre;
    const double steps = std::min(std::fabs(along.x), std::fabs(along.y));
    return std::max(fitted, kStepError / (1.0 + steps));
}

} // namespace

bool cutsInto(const Atom &a, const Atom &b, const fit::Primitive &ofB, const Measure &measure)
{
    if (a.carrier.arc == ofB.arc)
        return false;
    const fit::Primitive &line = a.carrier.arc ? ofB : a.carrier;
    const fit::Primitive &circle = a.carrier.arc ? a.carrier : ofB;
    return circle.radius - std::fabs(line.distance(circle.point))
        > errorOf(a.carrier.arc ? b : a, measure);
}

double footReach(const Atom &a, const Atom &b, const fit::Primitive &ofB, const Measure &measure)
{
    if (a.carrier.arc == ofB.arc)
        return 0.0;
    const double radius = a.carrier.arc ? a.carrier.radius : ofB.radius;
    return std::sqrt(2 * radius * errorOf(a.carrier.arc ? b : a, measure));
}

double thicknessAcross(const Web &web, const AtomEnd &end, const std::vector<AtomEnd> &ends)
{
    const Point out = outwardsOf(web.atoms[std::size_t(end.atom)], end.end);
    double thickness = 0.0;
    for (const AtomEnd &other : ends) {
        if (other.atom == end.atom)
            continue;
        const Atom &across = web.atoms[std::size_t(other.atom)];
        const double sine = std::fabs(fit::cross(out, outwardsOf(across, other.end)));
        if (sine < kAcross)
            return 0.0;
        thickness = std::max(thickness, 0.5 * across.width / sine);
    }
    return thickness;
}

} // namespace ztrace::strokes
