// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/staircase.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ztrace {

using fit::Point;

namespace {

// Cracks in a row from which a straight stretch between corners is where the boundary is. Bars of
// screenshots would lean by up to a pixel else.
const int kExactStretch = 8;
// The same between two stretches that are as long: of a line, an arc or any other smooth boundary
// one stretch of two is a pixel long, or both are where it is steepest. So that modules of codes,
// squares of boards and pixel lettering are what they are, and no discs and diamonds.
const int kBlock = 3;
const int kShortBlock = 2; // between two such
// Pixels of a rectangle that is one whatever its sides are.
const int kPixelsAlone = 3;
// Times as long as what goes on after a step, at one end or at both. A line's stretches differ by a
// crack, and the top of a circle has at most 4.8 times those beside it: 2 sqrt(2 r) to
// sqrt(4 r) - sqrt(2 r). Longer ones are a bar that goes over into a curve, or lacks a pixel at its
// corner, and would lean.
const int kLongBeside = 4;
const int kLongBetween = 6;
// Times what goes on after a step that may be a curve already before it.
const int kGoesOver = 2;
// Cracks between a step and the node where the boundary ends that say nothing: three colours mix
// there, and their pixels go to any of them.
const int kBesideNode = 2;
// A tooth is a pixel high and at most so many wide, between stretches of so many cracks.
const int kToothWidth = 2;
const int kBesideTooth = 4;
const int kStairsReach = 4; // cracks to either side whose chord is the direction of a staircase

// A straight part of a staircase.
struct Stretch
{
    Heading heading;
    int length;
};

// What follows a stretch in the walk, in either direction.
struct Next
{
    bool isStep = false;       // aside by one pixel, and on as before
    bool isFull = false;       // what goes on then ends in such a step as well
    Heading aside = Heading(); // of the step, in the order of the walk
    int length = 0;            // of what goes on
};

Next nextTo(const std::vector<Stretch> &stretches, std::size_t stretch, int direction, bool closed)
{
    const auto size = std::ptrdiff_t(stretches.size());
    const auto at = [&](int k) -> const Stretch * {
        const std::ptrdiff_t place = std::ptrdiff_t(stretch) + std::ptrdiff_t(direction) * k;
        if (!closed && (place < 0 || place >= size))
            return nullptr;
        return &stretches[std::size_t((place + 4 * size) % size)];
    };
    const auto isStepAt = [&](int k) {
        return at(k) && at(k + 1) && at(k)->length == 1
            && at(k + 1)->heading == stretches[stretch].heading;
    };
    Next next;
    if (!isStepAt(1) || (!at(3) && at(2)->length <= kBesideNode))
        return next;
    next.isStep = true;
    next.isFull = isStepAt(3);
    next.aside = at(1)->heading;
    next.length = at(2)->length;
    return next;
}

// Cracks of a stretch.
struct Range
{
    int from;
    int to;
};

// Whether a stretch ends, in either direction of the walk, at another side of blocks, or at the end
// of a bar of a pixel, whose sides go to and fro.
bool endsSquarely(const std::vector<Stretch> &stretches, std::size_t stretch, int direction,
                  bool closed)
{
    const auto size = std::ptrdiff_t(stretches.size());
    const auto at = [&](int k) -> const Stretch * {
        const std::ptrdiff_t place = std::ptrdiff_t(stretch) + std::ptrdiff_t(direction) * k;
        if (!closed && (place < 0 || place >= size))
            return nullptr;
        return &stretches[std::size_t((place + 2 * size) % size)];
    };
    if (!at(1) || at(1)->length >= kBlock)
        return at(1) != nullptr;
    return at(2) && at(2)->length >= kBlock
        && (at(1)->length >= kShortBlock
            || at(2)->heading == turned(stretches[stretch].heading, 2));
}

// Whether a stretch is a side of blocks, which are wider than a pixel both ways but for bars.
bool isBlock(const std::vector<Stretch> &stretches, std::size_t stretch, bool closed)
{
    if (closed && stretches.size() == 4
        && stretches[0].length * stretches[1].length >= kPixelsAlone)
        return true;
    return stretches[stretch].length >= kShortBlock && endsSquarely(stretches, stretch, 1, closed)
        && endsSquarely(stretches, stretch, -1, closed);
}

// Where a boundary runs along the pixels: a side of blocks, a long stretch without a step at either
// end, or one that is too long beside those that go on from it to be a part of their line or arc,
// but for what may be the begin of that.
Range exactPart(const std::vector<Stretch> &stretches, std::size_t stretch, bool closed)
{
    const int length = stretches[stretch].length;
    const Range none = { 0, 0 };
    if (isBlock(stretches, stretch, closed))
        return { 0, length };
    if (length < kExactStretch)
        return none;
    const Next after = nextTo(stretches, stretch, 1, closed);
    const Next before = nextTo(stretches, stretch, -1, closed);
    const Next &one = after.isStep ? after : before;
    const bool isBetween = after.isStep && before.isStep;
    if (isBetween
        && (length <= kLongBetween * std::max(after.length, before.length)
            || (after.aside == before.aside && !(after.isFull && before.isFull))))
        return none;
    if (!isBetween && one.isStep && !(one.isFull && length > kLongBeside * one.length))
        return none;
    return { kGoesOver * before.length, length - kGoesOver * after.length };
}

// Whether the boundary steps aside after a stretch by one pixel, and soon back to where it was.
bool isToothAfter(const std::vector<Stretch> &stretches, std::size_t stretch, bool closed)
{
    if ((!closed && stretch + 4 >= stretches.size()) || stretches.size() < 5)
        return false;
    const auto at = [&](std::size_t k) { return stretches[(stretch + k) % stretches.size()]; };
    return at(0).length >= kBesideTooth && at(4).length >= kBesideTooth && at(1).length == 1
        && at(3).length == 1 && at(2).length <= kToothWidth && at(2).heading == at(0).heading
        && at(4).heading == at(0).heading && at(3).heading == turned(at(1).heading, 2);
}

// Leaves out the cracks of teeth. The points are those of all cracks.
ChainPoints withoutTeeth(const std::vector<Stretch> &stretches, bool closed, ChainPoints points)
{
    std::vector<char> isTooth(points.x.size(), 0);
    std::size_t past = 0;
    for (std::size_t k = 0; k < stretches.size(); ++k) {
        past += std::size_t(stretches[k].length);
        const int cracks = isToothAfter(stretches, k, closed)
            ? stretches[(k + 2) % stretches.size()].length + 2
            : 0;
        for (int i = 0; i < cracks; ++i)
            isTooth[(past + std::size_t(i)) % isTooth.size()] = 1;
    }
    if (std::find(isTooth.begin(), isTooth.end(), 1) == isTooth.end())
        return points;
    ChainPoints kept;
    for (std::size_t k = 0; k < points.x.size(); ++k) {
        if (isTooth[k])
            continue;
        kept.x.push_back(points.x[k]);
        kept.y.push_back(points.y[k]);
        kept.sigma.push_back(points.sigma[k]);
        kept.crack.push_back(points.crack[k]);
    }
    return kept;
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

ChainPoints staircaseOf(const BoundaryMap &map, uint32_t chain, bool isFaint)
{
    const std::size_t cracks = map.chains[chain].cracks;
    ChainPoints points;
    points.x.reserve(cracks);
    points.y.reserve(cracks);
    points.sigma.reserve(cracks);
    points.crack.reserve(cracks);
    std::vector<Stretch> stretches;
    stretches.reserve(map.chains[chain].moves);
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
        const Range exact = exactPart(stretches, k, closed);
        for (int i = 0; i < stretches[k].length; ++i, ++first)
            points.sigma.push_back(i >= exact.from && i < exact.to
                                       ? fit::kHardFloor
                                       : stairsSigma(points, first, stretches[k].heading, closed));
    }
    if (isFaint)
        return withoutTeeth(stretches, closed, std::move(points));
    return points;
}

} // namespace ztrace
