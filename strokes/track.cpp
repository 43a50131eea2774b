// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/track.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kTurn = 2 * 3.14159265358979323846;
const double kStep = 0.5;     // pixels
const double kRow = 0.25;     // of the width, between the rows that are looked at
const double kInk = 0.5;      // of the level that dashes have; blur takes much from thin lines
const double kInkPart = 0.85; // of all levels that lie below that of dashes
const double kLeastInk = 0.2; // coverage
const double kNothing = 0.5;  // pixels below which ink or a gap is none
// Pixels beside a row where lines across it have ink, from an end of a run to where that is looked
// for, and of what may be left of a run that is theirs alone.
const double kCrossingBeside = 2.0;
const double kCrossingEdge = 0.75;
const double kCrossingLeft = 1.5;
// Tangents of the angles, from straight across to 55 degrees off, that lines may cross at.
const double kSlants[] = { 0.0, -0.2, 0.2, -0.4, 0.4, -0.6, 0.6, -0.8, 0.8, -1.0, 1.0, -1.4, 1.4 };

double levelAt(const Track &track, const Coverage &coverage, double t, double width)
{
    const Point p = track.placeAt(t);
    const Point u = track.headingAt(t);
    const Point across = { -kRow * width * u.y, kRow * width * u.x };
    return (coverage.at(p) + coverage.at(p + across) + coverage.at(p - across)) / 3;
}

// Means of so many to either side.
std::vector<double> blurred(const std::vector<double> &levels, int reach)
{
    if (reach == 0)
        return levels;
    std::vector<double> result;
    const int n = int(levels.size());
    for (int k = 0; k < n; ++k) {
        double sum = 0.0;
        for (int i = k - reach; i <= k + reach; ++i)
            sum += i >= 0 && i < n ? levels[std::size_t(i)] : 0.0;
        result.push_back(sum / (2 * reach + 1));
    }
    return result;
}

double thresholdOf(std::vector<double> levels)
{
    const auto high = levels.begin() + std::ptrdiff_t(kInkPart * double(levels.size() - 1));
    std::nth_element(levels.begin(), high, levels.end());
    return std::clamp(kInk * *high, kLeastInk, kInk);
}

} // namespace

Track::Track(const fit::Primitive &carrier, Point from, Point next)
    : base(carrier), origin(carrier.foot(from))
{
    if (!base.arc) {
        way = fit::dot(next - from, base.direction) < 0 ? -1.0 : 1.0;
        return;
    }
    const Point u = origin - base.point;
    way = fit::cross(u, next - base.point) < 0 ? -1.0 : 1.0;
    angle = std::atan2(u.y, u.x);
}

double Track::lengthAt(Point p) const
{
    if (!base.arc)
        return way * fit::dot(p - origin, base.direction);
    const Point u = p - base.point;
    double turned = way * (std::atan2(u.y, u.x) - angle) / kTurn + kBefore;
    turned -= std::floor(turned);
    return (turned - kBefore) * kTurn * base.radius;
}

Point Track::placeAt(double length) const
{
    if (!base.arc)
        return origin + way * length * base.direction;
    const double at = angle + way * length / base.radius;
    return base.point + base.radius * Point { std::cos(at), std::sin(at) };
}

Point Track::headingAt(double length) const
{
    if (!base.arc)
        return way * base.direction;
    const double at = angle + way * length / base.radius;
    return way * Point { -std::sin(at), std::cos(at) };
}

double Track::whole() const
{
    return base.arc ? kTurn * base.radius : 0.0;
}

std::vector<Run> inkAlong(const Track &track, const Coverage &coverage, double from, double to,
                          double width, double blur)
{
    const int steps = std::max(1, int(std::ceil((to - from) / kStep)));
    const double step = (to - from) / steps;
    std::vector<double> levels;
    levels.reserve(std::size_t(steps) + 1);
    for (int k = 0; k <= steps; ++k)
        levels.push_back(levelAt(track, coverage, from + k * step, width));
    levels = blurred(levels, int(std::lround(blur / step)));
    const double ink = thresholdOf(levels);
    std::vector<Run> runs;
    if (levels[0] >= ink)
        runs.push_back({ from, to });
    for (int k = 1; k <= steps; ++k) {
        const double before = levels[std::size_t(k) - 1];
        const double level = levels[std::size_t(k)];
        const double crossed = from + step * (k - (level - ink) / (level - before));
        if (before < ink && level >= ink) {
            if (!runs.empty() && crossed - runs.back().to < kNothing)
                runs.back().to = to;
            else
                runs.push_back({ crossed, to });
        } else if (before >= ink && level < ink) {
            runs.back().to = crossed;
            if (runs.back().length() < kNothing)
                runs.pop_back();
        }
    }
    return runs;
}

std::vector<Run> withoutCrossings(const Track &track, const Coverage &coverage,
                                  const std::vector<Run> &runs, double width)
{
    const auto isCrossed = [&](double at) {
        const double away = 0.5 * width + kCrossingBeside;
        const Point p = track.placeAt(at);
        const Point u = track.headingAt(at);
        for (double slant : kSlants) {
            const Point across = { away * (slant * u.x - u.y), away * (slant * u.y + u.x) };
            if (coverage.at(p + across) >= kInk && coverage.at(p - across) >= kInk)
                return true;
        }
        return false;
    };
    std::vector<Run> own;
    for (std::size_t k = 0; k < runs.size(); ++k) {
        Run run = runs[k];
        while (k > 0 && run.from < run.to && isCrossed(run.from + kCrossingEdge))
            run.from += kStep;
        while (k + 1 < runs.size() && run.from < run.to && isCrossed(run.to - kCrossingEdge))
            run.to -= kStep;
        if (run.length() > kCrossingLeft)
            own.push_back(run);
    }
    return own;
}

} // namespace ztrace::strokes
