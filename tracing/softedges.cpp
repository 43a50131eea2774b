// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/softedges.h"

#include "tracing/areatones.h"
#include "tracing/edgesides.h"
#include "tracing/staircase.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace ztrace {

using fit::Point;

namespace {

const double kFaint = 16;      // steps of 255; below, teeth of a pixel are hardly seen
const double kMixed = 0.1;     // of coverage: a pixel this far from both sides is mixed
const double kSoftShare = 0.3; // of the corners of a soft chain lie beside mixed pixels
// From a median of third differences to the deviation of what is different: 1 / (.6745 sqrt(20)).
const double kDeviationOfThird = 0.3315;
// Slanted points from which they tell what they are off by: of fewer most are at corners. Slanted
// are those between whose neighbours is this much of either axis.
const std::size_t kTellScatter = 48;
const double kSlanted = 0.1;
// Pixels of scatter from which mixed pixels say less than the cracks: lines that were drawn with
// nearly hard edges.
const double kStairs = 0.2;

// Pixels around a loop whose coverage is looked at.
const int kAroundLoop = 2;
// Deviation of a coverage at least: rasterisers round, and curves are chords there.
const double kLeastOfCoverage = 0.02;

int clampedTo(int at, int most)
{
    return std::min(most, std::max(0, at));
}

// Of each crack of a chain how many corners come before it: places where two cracks or more along
// one axis are followed by two or more along the other. Lines have none, since of one of the axes
// each of their cracks stands alone; curves few.
std::vector<uint32_t> cornersBefore(const BoundaryMap &map, uint32_t chain)
{
    std::vector<uint32_t> corners;
    uint32_t count = 0;
    int last = 0; // length of the move before
    forEachMove(map, referenceTo(chain, false), [&](int, int, Heading, int length) {
        count += last > 1 && length > 1;
        corners.insert(corners.end(), std::size_t(length), count);
        last = length;
    });
    return corners;
}

// What the points of a chain are off by, as a deviation, found from the points alone: the median of
// their third differences across the walk, in which lines and wide curves leave nothing. What runs
// along the pixels is exact and does not count, nor do points on both sides of a corner. Zero where
// too few points tell.
double scatterOf(const ChainPoints &points, const std::vector<uint32_t> &corners)
{
    std::vector<double> third;
    const auto cornersAt = [&](std::size_t k) { return corners[points.crack[k]]; };
    for (std::size_t k = 0; k + 3 < points.x.size(); ++k) {
        if (cornersAt(k) != cornersAt(k + 3))
            continue;
        const auto at = [&](std::size_t i) { return Point { points.x[k + i], points.y[k + i] }; };
        const Point along = at(3) - at(0);
        const double length = std::sqrt(dot(along, along));
        if (std::min(std::fabs(along.x), std::fabs(along.y)) > kSlanted * length)
            third.push_back(std::fabs(cross(along, (at(3) - at(0)) - 3 * (at(2) - at(1))))
                            / length);
    }
    if (third.size() < kTellScatter)
        return 0;
    const auto middle = third.begin() + std::ptrdiff_t(third.size() / 2);
    std::nth_element(third.begin(), middle, third.end());
    return kDeviationOfThird * *middle;
}

} // namespace

SoftEdges::SoftEdges(const EdgePicture &p, const BoundaryMap &m, const std::vector<Tone> &tones)
    : picture(p), map(m)
{
    if (picture.hard)
        return;
    areas = AreaPlane(map.runs, map.areas);
    AreaTones measured = areaTones(picture, map, tones);
    toneOf = std::move(measured.toneOf);
    noiseOf = std::move(measured.noiseOf);
}

SoftEdges::Side SoftEdges::sideOf(uint32_t chain) const
{
    const Chain &c = map.chains[chain];
    Side side;
    if (!picture.hard && c.left >= 0 && c.right >= 0) {
        sideBetween(uint32_t(c.left), uint32_t(c.right), &side);
        for (int value = 0; picture.channels == 1 && value < 256; ++value) {
            const uint8_t byte = uint8_t(value);
            side.coverage[byte] = coverageOf(side, &byte);
        }
        if (picture.channels > 1)
            side.keys.fill(uint64_t(-1)); // no pixel's
        return side;
    }
    side.square = side.noise = side.level = 0;
    side.base = side.span = {};
    side.left = uint32_t(c.left);
    side.right = uint32_t(c.right);
    return side;
}

// All but the table of coverages.
void SoftEdges::sideBetween(uint32_t left, uint32_t right, Side *result) const
{
    Side &side = *result;
    side.square = 0;
    side.left = left;
    side.right = right;
    for (std::size_t k = 0; k < kMostChannels; ++k) {
        side.base[k] = double(toneOf[left][k]);
        side.span[k] = double(toneOf[right][k]) - side.base[k];
        side.square += side.span[k] * side.span[k];
    }
    const double a = noiseOf[left];
    const double b = noiseOf[right];
    side.noise = side.square > 0 ? std::sqrt(0.5 * (a * a + b * b) / side.square) : 0;
    side.level = 0.5;
    if (picture.threshold >= 0 && picture.channels == 1 && side.span[0] != 0)
        side.level = clamped((picture.threshold + 0.5 - side.base[0]) / side.span[0], kBlurredBy,
                             1 - kBlurredBy);
}

// Whether the staircase of a chain has mixed pixels where it steps. What runs along pixels all the
// way shows none, and its cracks are where it is.
bool SoftEdges::isSoft(uint32_t chain, const Side &side) const
{
    if (picture.hard || side.square < kLeastContrast * kLeastContrast)
        return false;
    int corners = 0;
    int mixed = 0;
    const double least = std::max(kMixed, 3 * side.noise);
    bool first = map.chains[chain].startNode != kNoNode;
    forEachMove(map, referenceTo(chain, false), [&](int x, int y, Heading, int) {
        if (first) {
            first = false;
            return;
        }
        ++corners;
        for (int k = 0; k < 4; ++k) {
            const int px = x - (k & 1);
            const int py = y - (k >> 1);
            const uint32_t area = areaAt(px, py);
            if (area != side.left && area != side.right)
                continue;
            const double part = coverageAt(side, px, py);
            if (part > least && part < 1 - least) {
                ++mixed;
                break;
            }
        }
    });
    // A straight chain between nodes has no steps: its first crack decides nothing either way.
    return corners == 0 || mixed >= kSoftShare * corners;
}

ChainPoints SoftEdges::pointsOf(uint32_t chain, bool mirrored) const
{
    const Side side = sideOf(chain);
    const bool onRim = map.chains[chain].left < 0 || map.chains[chain].right < 0;
    if (!onRim && isSoft(chain, side)) {
        ChainPoints points = softPoints(chain, side, false, mirrored);
        // Of the smallest areas every crack is needed.
        if (4 * points.x.size() < map.chains[chain].cracks || points.x.size() < 8)
            points = softPoints(chain, side, true, mirrored);
        const double scatter = scatterOf(points, cornersBefore(map, chain));
        for (double &sigma : points.sigma)
            sigma = std::max(sigma, scatter);
        if (scatter < kStairs)
            return points;
    }
    const bool isFaint = side.square > 0 && side.square < kFaint * kFaint;
    return staircaseOf(map, chain, isFaint);
}

fit::Coverage SoftEdges::coverageAround(uint32_t chain, const CoverOf &coverOf) const
{
    const Side side = sideOf(chain);
    int left = map.runs.width, top = map.runs.height, right = 0, bottom = 0;
    forEachMove(map, referenceTo(chain, false), [&](int x, int y, Heading, int) {
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    });
    fit::Coverage result;
    result.left = std::max(0, left - kAroundLoop);
    result.top = std::max(0, top - kAroundLoop);
    result.width = std::min(map.runs.width, right + kAroundLoop) - result.left;
    result.height = std::min(map.runs.height, bottom + kAroundLoop) - result.top;
    result.sigma = std::max(kLeastOfCoverage, side.noise);
    std::map<uint32_t, std::vector<std::size_t>> others; // and the pixels that they are near to
    for (int y = result.top; y < result.top + result.height; ++y) {
        for (int x = result.left; x < result.left + result.width; ++x) {
            const double part = coverageAt(side, x, y);
            const bool mixed = part > kPlain && part < 1 - kPlain;
            for (int k = mixed ? 0 : 4; k < (mixed ? 9 : 5); ++k) {
                const uint32_t area = areaAt(clampedTo(x + k % 3 - 1, picture.width - 1),
                                             clampedTo(y + k / 3 - 1, picture.height - 1));
                if (area != side.left && area != side.right)
                    others[area].push_back(result.right.size());
            }
            result.right.push_back(part);
        }
    }
    result.counts.assign(result.right.size(), 1);
    for (const auto &[area, pixels] : others) {
        const auto labelOf = [this](uint32_t a) { return map.areas.list[a].label; };
        const bool asLeft = labelOf(area) == labelOf(side.left);
        std::vector<double> cover;
        if (asLeft || labelOf(area) == labelOf(side.right))
            cover = coverOf(area, result);
        for (std::size_t k = 0; k < cover.size(); ++k)
            result.right[k] += asLeft ? cover[k] : -cover[k];
        for (std::size_t k : cover.empty() ? pixels : std::vector<std::size_t>())
            result.counts[k] = 0;
    }
    return result;
}

ChainPoints SoftEdges::cracksOf(uint32_t chain) const
{
    return staircaseOf(map, chain);
}

} // namespace ztrace
