// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/staircase.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

using fit::Point;

namespace {

// Cracks in a row from which a straight stretch between corners is where the boundary is. Bars of
// screenshots would lean by up to a pixel else.
const int kExactStretch = 8;
const int kStairsReach = 4; // cracks to either side whose chord is the direction of a staircase

// A straight part of a staircase.
struct Stretch
{
    Heading heading;
    int length;
};

// Whether a boundary that steps aside by one pixel goes on as before: a step of a slanted line.
// `next` is the place in the walk after the stretch, in either direction.
bool isStep(const std::vector<Stretch> &stretches, std::size_t stretch, int direction, bool closed)
{
    const auto size = std::ptrdiff_t(stretches.size());
    const auto at = [&](int k) {
        const std::ptrdiff_t place = std::ptrdiff_t(stretch) + std::ptrdiff_t(direction) * k;
        return closed ? (place + 2 * size) % size : place;
    };
    if (at(2) < 0 || at(2) >= size)
        return false;
    return stretches[std::size_t(at(1))].length == 1
        && stretches[std::size_t(at(2))].heading == stretches[stretch].heading;
}

// Whether a boundary runs along the pixels there: a long stretch without a step at either end.
bool isExact(const std::vector<Stretch> &stretches, std::size_t stretch, bool closed)
{
    return stretches[stretch].length >= kExactStretch && !isStep(stretches, stretch, 1, closed)
        && !isStep(stretches, stretch, -1, closed);
}

// Of a crack of a staircase, from the angle between it and the boundary, as the fit has it.
double stairsSigma(const ChainPoints &points, std::size_t number, Heading heading, bool closed)
{
    const auto size = std::ptrdiff_t(points.x.size());
    const std::ptrdiff_t reach
        = closed ? std::min<std::ptrdiff_t>(kStairsReach, size / 4) : std::ptrdiff_t(kStairsReach);
    const auto at = [&](std::ptrdiff_t k) {
        const auto i = std::size_t(closed ? (k + size) % size
                                          : std::min(size - 1, std::max<std::ptrdiff_t>(0, k)));
        return Point { points.x[i], points.y[i] };
    };
    const Point chord = at(std::ptrdiff_t(number) + reach) - at(std::ptrdiff_t(number) - reach);
    const double length = std::sqrt(dot(chord, chord));
    const double along = stepX(heading) != 0 ? chord.x : chord.y;
    return length > 0 ? fit::kStaircaseSigma * std::fabs(along) / length : fit::kStaircaseSigma;
}

} // namespace

ChainPoints staircaseOf(const BoundaryMap &map, uint32_t chain)
{
    ChainPoints points;
    std::vector<Stretch> stretches;
    forEachMove(map, referenceTo(chain, false), [&](int x, int y, Heading h, int length) {
        stretches.push_back({ h, length });
        for (int k = 0; k < length; ++k) {
            const auto number = uint32_t(points.x.size());
            points.x.push_back(x + (k + 0.5) * stepX(h));
            points.y.push_back(y + (k + 0.5) * stepY(h));
            points.crack.push_back(number);
        }
    });
    const bool closed = map.chains[chain].startNode == kNoNode;
    for (std::size_t k = 0, first = 0; k < stretches.size(); ++k) {
        const bool exact = isExact(stretches, k, closed);
        const auto past = first + std::size_t(stretches[k].length);
        for (; first < past; ++first)
            points.sigma.push_back(
                exact ? fit::kHardFloor : stairsSigma(points, first, stretches[k].heading, closed));
    }
    return points;
}

} // namespace ztrace
