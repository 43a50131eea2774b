// (c) the ztrace developers. Licence: see LICENSE.
#include "chainfit.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kCheaper = 0.4; // of the price of a number, where the first fit is not good enough
const int kCheaperTimes = 3;
const double kFarAtLeast = 0.3;   // pixels
const double kFarOfStairs = 0.9;  // pixels; of hard edges, whose points are half a pixel off anyway
const double kFarByPoint = 0.025; // pixels; chains of 60 points may do what long ones may
const double kLeftOutWithin = 0.45; // pixels from the path; beside a corner .3 are usual
const int kLeftOutAtOnce = 4;       // points
const int kSamples = 5;             // of a piece that are looked at

fit::Chain viewOf(const ChainPoints &p, bool closed)
{
    return { p.x.data(),      p.y.data(), p.sigma.empty() ? nullptr : p.sigma.data(),
             int(p.x.size()), closed,     p.edge,
             !closed,         !closed };
}

// What a Path of a drawing can hold: no elliptic arcs; ellipses go in as four cubics.
fit::Settings usualSettings()
{
    fit::Prices prices = fit::svgPrices();
    prices.ellipticArc = fit::kNotOffered;
    return fit::settingsFor(prices);
}

// Of short chains less: small counters of letters are all corners.
double farFrom(const ChainPoints &points)
{
    const double least = points.edge == fit::Edge::Hard ? kFarOfStairs : kFarAtLeast;
    return std::min(kFarFromPoints, least + kFarByPoint * double(points.x.size()));
}

double toSegment(fit::Point p, fit::Point a, fit::Point b)
{
    const fit::Point d = b - a;
    const double square = dot(d, d);
    const double t = square > 0 ? std::min(1.0, std::max(0.0, dot(p - a, d) / square)) : 0;
    const fit::Point away = p - (a + t * d);
    return std::sqrt(dot(away, away));
}

// Of a piece from the points that it explains and one more on either side.
bool staysWith(const fit::Piece &piece, const ChainPoints &points, bool closed)
{
    const int size = int(points.x.size());
    const auto at = [&](int k) {
        const int wrapped
            = closed ? ((k % size) + size) % size : std::min(size - 1, std::max(0, k));
        return fit::Point { points.x[std::size_t(wrapped)], points.y[std::size_t(wrapped)] };
    };
    for (int k = piece.first; k < piece.first + piece.count; ++k) {
        if (distanceTo(piece, at(k)) > farFrom(points))
            return false;
    }
    for (int sample = 1; sample < kSamples; ++sample) {
        const fit::Point p = pointAt(piece, double(sample) / kSamples);
        double nearest = HUGE_VAL;
        for (int k = piece.first - 2; k < piece.first + piece.count + 1; ++k)
            nearest = std::min(nearest, toSegment(p, at(k), at(k + 1)));
        if (!(nearest <= farFrom(points)))
            return false;
    }
    return true;
}

// Points beside corners may be left out where pixels see both sides, but serifs, caps and small
// radii are made of such points, too.
bool leftOutRightly(const fit::Path &path, const ChainPoints &points)
{
    const int size = int(points.x.size());
    std::vector<bool> explained(std::size_t(size), false);
    for (const fit::Piece &piece : path.pieces) {
        for (int k = 0; k < piece.count; ++k)
            explained[std::size_t((piece.first + k) % size)] = true;
    }
    for (int k = 0; k < size; ++k) {
        if (explained[std::size_t(k)])
            continue;
        const fit::Point p = { points.x[std::size_t(k)], points.y[std::size_t(k)] };
        const bool near
            = std::any_of(path.pieces.begin(), path.pieces.end(), [&](const fit::Piece &piece) {
                  const int after = ((k - piece.first) % size + size) % size;
                  return (after <= piece.count + kLeftOutAtOnce || after >= size - kLeftOutAtOnce)
                      && distanceTo(piece, p) <= kLeftOutWithin;
              });
        if (!near)
            return false;
    }
    return true;
}

bool staysWith(const fit::Path &path, const ChainPoints &points, bool closed)
{
    if (path.pieces.empty())
        return false;
    if (closed && path.pieces.size() == 1 && !fit::isWhole(path.pieces.front().kind))
        return false;
    if (!leftOutRightly(path, points))
        return false;
    return std::all_of(path.pieces.begin(), path.pieces.end(),
                       [&](const fit::Piece &piece) { return staysWith(piece, points, closed); });
}

fit::Path lineByLine(const ChainPoints &points, bool closed)
{
    fit::Path path = {};
    path.closed = closed;
    const std::size_t size = points.x.size();
    for (std::size_t k = 0; k + (closed ? 0 : 1) < size; ++k) {
        const std::size_t next = (k + 1) % size;
        path.pieces.push_back(
            fit::linePiece({ points.x[k], points.y[k] }, { points.x[next], points.y[next] }));
    }
    return path;
}

} // namespace

fit::Path fitPoints(const ChainPoints &points, bool closed)
{
    fit::Settings settings = usualSettings();
    fit::Path path = fit::fitChain(viewOf(points, closed), settings);
    if (staysWith(path, points, closed))
        return path;
    settings.soft.mayLeaveOut = 0;
    path = fit::fitChain(viewOf(points, closed), settings);
    if (staysWith(path, points, closed))
        return path;
    for (int k = 0; k < kCheaperTimes; ++k) {
        settings.soft.lambda *= kCheaper;
        settings.hard.lambda *= kCheaper;
        path = fit::fitChain(viewOf(points, closed), settings);
        if (staysWith(path, points, closed))
            return path;
    }
    return lineByLine(points, closed);
}

} // namespace ztrace
