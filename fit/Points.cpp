// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/Points.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

// Cracks to either side whose chord is the direction of the boundary: long enough to see past one
// step, short enough for radii of 5.
const int kStaircaseReach = 4;
// Coordinates beyond this many pixels lose the digits that fits need.
const double kFarthest = 1e9;

// Pixels: what says nothing about a place may not vanish from the sums either.
const double kLargestSigma = 100;

bool usable(double value)
{
    return std::isfinite(value) && std::fabs(value) < kFarthest;
}

void takePoints(const Chain &chain, Points *points)
{
    for (int i = 0; i < chain.size; ++i) {
        if (!usable(chain.x[i]) || !usable(chain.y[i]))
            continue;
        const Point p = { chain.x[i], chain.y[i] };
        if (points->source.empty())
            points->origin = p;
        const Point local = p - points->origin;
        if (points->size() > 0 && local.x == points->x.back() && local.y == points->y.back())
            continue;
        points->x.push_back(local.x);
        points->y.push_back(local.y);
        points->source.push_back(i);
    }
    // The origin is the first point, so a last one at 0 repeats it.
    while (chain.closed && points->size() > 1 && points->x.back() == 0 && points->y.back() == 0) {
        points->x.pop_back();
        points->y.pop_back();
        points->source.pop_back();
    }
}

// A crack's midpoint is half-integral along the crack.
bool liesAlongX(double x)
{
    return std::fabs(x - std::floor(x) - 0.5) < 0.25;
}

double staircaseSigma(const Points &points, int i)
{
    const int n = points.size();
    int before = i - kStaircaseReach;
    int after = i + kStaircaseReach;
    if (points.closed) {
        const int reach = std::min(kStaircaseReach, n / 4);
        before = (i - reach + n) % n;
        after = (i + reach) % n;
    }
    const Point chord = points.at(std::min(after, n - 1)) - points.at(std::max(before, 0));
    const double length = std::hypot(chord.x, chord.y);
    if (!(length > 0))
        return kStaircaseSigma;
    const bool along = liesAlongX(points.at(i).x + points.origin.x);
    return kStaircaseSigma * std::fabs(along ? chord.x : chord.y) / length;
}

double sigmaOf(const Chain &chain, const Points &points, int i)
{
    const bool soft = chain.edge == Edge::Soft;
    double sigma = kSoftSigma;
    if (chain.sigma)
        sigma = chain.sigma[points.source[static_cast<std::size_t>(i)]];
    else if (!soft)
        sigma = staircaseSigma(points, i);
    const double lowest = soft ? kSoftFloor : kHardFloor;
    return sigma > lowest && std::isfinite(sigma) ? std::min(sigma, kLargestSigma) : lowest;
}

void measureWalk(Points *points)
{
    const int n = points->size();
    points->length.clear();
    points->length.reserve(static_cast<std::size_t>(n + 1));
    points->length.push_back(0.0);
    for (int i = 1; i < n + (points->closed ? 1 : 0); ++i) {
        const Point step = points->at(i < n ? i : 0) - points->at(i - 1);
        points->length.push_back(points->length.back() + std::sqrt(dot(step, step)));
    }
}

template<typename T>
void rotate(std::vector<T> *values, int start)
{
    std::rotate(values->begin(), values->begin() + start, values->end());
}

} // namespace

Points pointsOf(const Chain &chain)
{
    Points points = {};
    points.edge = chain.edge;
    points.closed = chain.closed;
    points.pinnedStart = chain.pinnedStart && !chain.closed;
    points.pinnedEnd = chain.pinnedEnd && !chain.closed;
    const auto size = static_cast<std::size_t>(std::max(0, chain.size));
    points.x.reserve(size);
    points.y.reserve(size);
    points.source.reserve(size);
    takePoints(chain, &points);
    const int n = points.size();
    for (int i = 0; i < n; ++i) {
        const bool pinned = (i == 0 && points.pinnedStart) || (i == n - 1 && points.pinnedEnd);
        const double sigma = sigmaOf(chain, points, i);
        points.sigma.push_back(pinned ? std::min(sigma, kPinSigma) : sigma);
        points.weight.push_back(1.0 / (points.sigma.back() * points.sigma.back()));
        points.largestSigma = std::max(points.largestSigma, points.sigma.back());
    }
    if (n > 0)
        measureWalk(&points);
    return points;
}

Points rotated(const Points &points, int start)
{
    Points result = points;
    rotate(&result.x, start);
    rotate(&result.y, start);
    rotate(&result.sigma, start);
    rotate(&result.weight, start);
    rotate(&result.source, start);
    measureWalk(&result);
    return result;
}

} // namespace ztrace::fit
