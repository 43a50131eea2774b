// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/softedges.h"

#include "tracing/areatones.h"
#include "tracing/staircase.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace ztrace {

using fit::Point;

namespace {

const double kLeastContrast = 12;  // steps of 255; below, an edge's place is its cracks'
const double kMixed = 0.1;         // of coverage: a pixel this far from both sides is mixed
const double kSoftShare = 0.3;     // of the corners of a soft chain lie beside mixed pixels
const double kUsefulCosine = 0.62; // between normal and axis; steeper cracks say little
const int kColumn = 3;             // pixels on either side of a crack that a blurred edge takes
const double kPlain = 0.02;        // of coverage: nearer to a side's tone, a pixel is that side's
const double kFarthest = 1.5;      // pixels from a crack to the edge that it stands for
const int kThinStroke = 5;         // pixels across which no pixel need have the stroke's own tone
const double kLeastBody = 0.4; // of coverage between what both sides have of their outermost pixels
const int kThinLine = 2;       // pixels across which the gradient tells no direction
const double kBlurredBy = 0.15;   // of coverage: both pixels at a crack are mixed by that much
const double kBlurredSlope = 0.7; // and differ by less
// Pixels of sigma for each mixed pixel in a column beyond the two of a sharp edge: around corners
// and in narrow places blurred edges lie elsewhere.
const double kSigmaOfBlur = 0.015;
// Pixels between neighbouring points from which the cracks between them are points as well, and how
// far off those may be.
const double kWidestGap = 1.5;
const double kRoughSigma = 0.2;
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

double clamped(double value, double low, double high)
{
    return std::min(high, std::max(low, value));
}

} // namespace

// What coverage of the right side means along a chain.
struct SoftEdges::Side
{
    uint32_t left;
    uint32_t right;
    std::array<double, kMostChannels> base; // tone of the left side
    std::array<double, kMostChannels> span; // from there to the right side's
    double square;
    double noise; // of coverage
    double level; // coverage at which labels change
    // Of each lightness, in pictures of one channel.
    std::array<double, 256> coverage;
};

// From lattice point (x, y) by one step.
struct SoftEdges::Crack
{
    int x;
    int y;
    Heading heading;
    uint32_t number; // along the chain

    Point middle() const { return { x + 0.5 * stepX(heading), y + 0.5 * stepY(heading) }; }
    // To the left.
    int acrossX() const { return stepX(turned(heading, 3)); }
    int acrossY() const { return stepY(turned(heading, 3)); }
    int rightX() const { return heading == kRight || heading == kUp ? x : x - 1; }
    int rightY() const { return heading == kRight || heading == kDown ? y : y - 1; }
};

namespace {

void insert(const ChainPoints &points, std::size_t at, ChainPoints *into)
{
    const auto add = [at](const std::vector<double> &from, std::vector<double> *to) {
        to->insert(to->begin() + std::ptrdiff_t(at), from.begin(), from.end());
    };
    add(points.x, &into->x);
    add(points.y, &into->y);
    add(points.sigma, &into->sigma);
    into->crack.insert(into->crack.begin() + std::ptrdiff_t(at), points.crack.begin(),
                       points.crack.end());
}

// What the points of a chain are off by, as a deviation, found from the points alone: the median of
// their third differences across the walk, in which lines and wide curves leave nothing. What runs
// along the pixels is exact and does not count. Zero where too few points tell.
double scatterOf(const ChainPoints &points)
{
    std::vector<double> third;
    for (std::size_t k = 0; k + 3 < points.x.size(); ++k) {
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

double offsetOfCoverage(Point normal, double coverage)
{
    const double a = std::fabs(normal.x);
    const double b = std::fabs(normal.y);
    const double high = std::max(a, b);
    const double low = std::min(a, b);
    const double part = std::min(coverage, 1 - coverage);
    const double offset = 2 * part * high < low
        ? std::sqrt(2 * std::max(0.0, part) * low * high) - 0.5 * (high + low)
        : (part - 0.5) * high;
    return coverage < 0.5 ? offset : -offset;
}

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

uint32_t SoftEdges::areaAt(int x, int y) const
{
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height)
        return uint32_t(-1);
    return areas.at(x, y);
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

double SoftEdges::coverageOf(const Side &side, const uint8_t *value) const
{
    double sum = 0;
    for (int c = 0; c < picture.channels; ++c)
        sum += (value[c] - side.base[std::size_t(c)]) * side.span[std::size_t(c)];
    return onGrid(clamped(sum / side.square, 0, 1), kPointGrid);
}

// Of the right side; beyond the picture the nearest pixel's.
double SoftEdges::coverageAt(const Side &side, int x, int y) const
{
    const uint8_t *value = picture.at(std::min(picture.width - 1, std::max(0, x)),
                                      std::min(picture.height - 1, std::max(0, y)));
    return picture.channels == 1 ? side.coverage[*value] : coverageOf(side, value);
}

// Towards the left side, not of unit length.
Point SoftEdges::normalAt(const Side &side, int x, int y) const
{
    double c[3][3];
    const bool inside = x > 0 && y > 0 && x + 1 < picture.width && y + 1 < picture.height;
    if (inside && picture.channels == 1) {
        for (int v = 0; v < 3; ++v) {
            const uint8_t *values = picture.at(x - 1, y - 1 + v);
            for (int u = 0; u < 3; ++u)
                c[v][u] = side.coverage[values[u]];
        }
    } else {
        for (int v = 0; v < 3; ++v) {
            for (int u = 0; u < 3; ++u)
                c[v][u] = coverageAt(side, x + u - 1, y + v - 1);
        }
    }
    return { c[0][0] + 2 * c[1][0] + c[2][0] - c[0][2] - 2 * c[1][2] - c[2][2],
             c[0][0] + 2 * c[0][1] + c[0][2] - c[2][0] - 2 * c[2][1] - c[2][2] };
}

// The whole edge in the column of pixels across the crack, from one side's own tone to the other's:
// what is missing of the right side against what there is of it beyond the crack. Exact for
// straight edges, however blurred. At the end of a stroke that covers its outermost pixels in part,
// what they have farther inside stands for the tone: the end would be slanted else.
bool SoftEdges::columnOffset(const Side &side, const Crack &crack, bool ofStroke, double *offset,
                             int *mixed) const
{
    const double plain = std::max(kPlain, 2.5 * side.noise);
    double sums[2] = { 0, 0 };   // of what the other side has of the pixels
    double bodies[2] = { 0, 0 }; // what it has of those that count as the side's own
    int counts[2] = { 0, 0 };
    for (int direction : { 0, 1 }) {
        const uint32_t own = direction == 0 ? side.right : side.left;
        bool reached = false;
        double before = 1;
        for (int k = 0; k < kColumn && !reached; ++k) {
            const int steps = direction == 0 ? -k : k + 1;
            const int x = crack.rightX() + steps * crack.acrossX();
            const int y = crack.rightY() + steps * crack.acrossY();
            if (areaAt(x, y) != own)
                return false;
            const double part = coverageAt(side, x, y);
            const double other = direction == 0 ? 1 - part : part;
            const bool steady
                = ofStroke && k > 0 && other < 0.5 && std::fabs(other - before) <= plain;
            reached = other <= plain || steady;
            if (!reached) {
                sums[direction] += other;
                ++counts[direction];
            } else if (steady && other > plain) {
                bodies[direction] = other;
            }
            before = other;
        }
        if (!reached)
            return false;
    }
    const double whole = 1 - bodies[0] - bodies[1];
    if (whole < kLeastBody)
        return false;
    *offset = ((sums[1] - counts[1] * bodies[1]) - (sums[0] - counts[0] * bodies[0])) / whole;
    *mixed = counts[0] + counts[1];
    return true;
}

// A stroke so thin that none of its pixels has its own tone, between the chain's other side and any
// area beyond: its width is what there is of it in the column, and it lies about the middle of
// that. Both of its sides find the same, so that it keeps its width.
bool SoftEdges::strokeOffset(const Side &side, const Crack &crack, bool ofRight, double *offset,
                             int *mixed) const
{
    const uint32_t stroke = ofRight ? side.right : side.left;
    const uint32_t around = ofRight ? side.left : side.right;
    if (!isAcross(crack, ofRight, stroke, kThinStroke))
        return false;
    // Pixel k lies in the stroke from 0 on, beside it below 0.
    const int away = ofRight ? -1 : 1;
    const int first = ofRight ? 0 : 1;
    const auto columnOf
        = [&](int k) { return crack.rightX() + (first + away * k) * crack.acrossX(); };
    const auto rowOf = [&](int k) { return crack.rightY() + (first + away * k) * crack.acrossY(); };
    const auto areaOf = [&](int k) { return areaAt(columnOf(k), rowOf(k)); };
    int width = 0;
    while (width <= kThinStroke && areaOf(width) == stroke)
        ++width;
    const uint32_t beyond = areaOf(width);
    if (width > kThinStroke || beyond == uint32_t(-1))
        return false;
    Side other;
    if (beyond != around)
        sideBetween(beyond, stroke, &other);
    if (beyond != around && other.square < kLeastContrast * kLeastContrast)
        return false;
    const auto here = [&](int k) {
        const double right = coverageAt(side, columnOf(k), rowOf(k));
        return ofRight ? right : 1 - right;
    };
    const auto there = [&](int k) {
        return beyond == around ? here(k) : coverageOf(other, picture.at(columnOf(k), rowOf(k)));
    };
    double sum = 0;
    double moment = 0;
    *mixed = 0;
    const auto add = [&](int k, double part) {
        sum += part;
        moment += part * (k + 0.5);
        ++*mixed;
    };
    for (int k = 0; k < width; ++k)
        add(k,
            2 * k + 1 < width       ? here(k)
                : 2 * k + 1 > width ? there(k)
                                    : 0.5 * (here(k) + there(k)));
    for (int direction : { -1, 1 }) {
        const bool isSide = direction < 0 || beyond == around;
        const double plain = std::max(kPlain, 2.5 * (isSide ? side : other).noise);
        bool reached = false;
        for (int n = 0; n < kColumn && !reached; ++n) {
            const int k = direction < 0 ? -1 - n : width + n;
            if (areaOf(k) != (direction < 0 ? around : beyond))
                return false;
            const double part = direction < 0 ? here(k) : there(k);
            reached = part <= plain;
            if (!reached)
                add(k, part);
        }
        if (!reached)
            return false;
    }
    const double begin = moment / sum - 0.5 * sum; // into the stroke
    *offset = ofRight ? -begin : begin;
    return true;
}

// Whether one of the sides is a line there, a pixel or two across.
bool SoftEdges::crossesThinLine(const Side &side, const Crack &crack) const
{
    return isAcross(crack, true, side.right, kThinLine)
        || isAcross(crack, false, side.left, kThinLine);
}

// Whether a stroke, to the right or the left of the crack, has at most so many pixels across it,
// and no fewer along it.
bool SoftEdges::isAcross(const Crack &crack, bool ofRight, uint32_t stroke, int most) const
{
    const int away = ofRight ? -1 : 1;
    const int x = crack.rightX() + (ofRight ? 0 : crack.acrossX());
    const int y = crack.rightY() + (ofRight ? 0 : crack.acrossY());
    int width = 1;
    while (width <= most
           && areaAt(x + width * away * crack.acrossX(), y + width * away * crack.acrossY())
               == stroke)
        ++width;
    if (width > most)
        return false;
    int length = 1;
    for (int direction : { -1, 1 }) {
        for (int k = 1; length < width
             && areaAt(x + direction * k * crack.acrossY(), y + direction * k * crack.acrossX())
                 == stroke;
             ++k)
            ++length;
    }
    return length >= width;
}

bool SoftEdges::softPoint(const Side &side, const Crack &crack, bool everywhere, bool mirrored,
                          ChainPoints *points) const
{
    const int rx = crack.rightX();
    const int ry = crack.rightY();
    const int lx = rx + crack.acrossX();
    const int ly = ry + crack.acrossY();
    const double right = coverageAt(side, rx, ry);
    const double left = coverageAt(side, lx, ly);
    const double share = right - left > 1e-3 ? clamped((right - 0.5) / (right - left), 0, 1) : 0.5;
    Point normal = (1 - share) * normalAt(side, rx, ry) + share * normalAt(side, lx, ly);
    const Point across = { double(crack.acrossX()), double(crack.acrossY()) };
    const double length = std::sqrt(dot(normal, normal));
    normal = length > 1e-6 ? (1 / length) * normal : across;
    double cosine = dot(normal, across);
    // Of a line a pixel wide the gradient tells nothing, but which way across it is shorter does.
    if (cosine < kUsefulCosine && crossesThinLine(side, crack)) {
        normal = across;
        cosine = 1;
    }
    if (cosine < kUsefulCosine && !everywhere)
        return false;

    double offset = 0;
    int mixed = 0;
    double sigma = 0;
    Point place = crack.middle();
    if (cosine >= kUsefulCosine
        && (columnOffset(side, crack, false, &offset, &mixed)
            || strokeOffset(side, crack, !mirrored, &offset, &mixed)
            || strokeOffset(side, crack, mirrored, &offset, &mixed)
            || columnOffset(side, crack, true, &offset, &mixed))) {
        place = place + clamped(offset, -kFarthest, kFarthest) * across;
        sigma = side.noise * std::sqrt(double(mixed)) * cosine
            + kSigmaOfBlur * std::max(0, mixed - 2);
    } else if (left > kBlurredBy && right < 1 - kBlurredBy && right - left < kBlurredSlope) {
        const double at = clamped((right - side.level) / (right - left), 0, 1);
        place = place + (at - 0.5) * across;
        sigma = side.noise / std::max(0.2, right - left) + kSigmaOfBlur;
    } else {
        const bool nearerRight = std::fabs(right - 0.5) < std::fabs(left - 0.5);
        const Point centre = { (nearerRight ? rx : lx) + 0.5, (nearerRight ? ry : ly) + 0.5 };
        const double part = nearerRight ? right : left;
        const double along = offsetOfCoverage(normal, part) - dot(normal, place - centre);
        place = place + clamped(along, -kFarthest, kFarthest) * normal;
        sigma = side.noise * std::max(std::fabs(normal.x), std::fabs(normal.y));
    }
    // Along the walk points do not go back: where the edge runs at 45 degrees, cracks of both
    // directions tell the same.
    if (!points->x.empty()) {
        const Point before = { points->x.back(), points->y.back() };
        const Point ahead = { -normal.y, normal.x };
        if (dot(place - before, ahead) < 0.05 && !everywhere)
            return false;
    }
    points->x.push_back(place.x);
    points->y.push_back(place.y);
    points->sigma.push_back(std::sqrt(fit::kSoftSigma * fit::kSoftSigma + sigma * sigma));
    points->crack.push_back(crack.number);
    return true;
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

// Where the picture crosses the level on the way from pixel to pixel: for cracks that tell nothing
// better, in places too narrow for any.
void SoftEdges::roughPoint(const Side &side, const Crack &crack, ChainPoints *points) const
{
    const double right = coverageAt(side, crack.rightX(), crack.rightY());
    const double left
        = coverageAt(side, crack.rightX() + crack.acrossX(), crack.rightY() + crack.acrossY());
    const double at
        = right - left > 1e-3 ? clamped((right - side.level) / (right - left), 0, 1) : 0.5;
    const Point place
        = crack.middle() + (at - 0.5) * Point { double(crack.acrossX()), double(crack.acrossY()) };
    points->x.push_back(place.x);
    points->y.push_back(place.y);
    points->sigma.push_back(kRoughSigma);
    points->crack.push_back(crack.number);
}

// The points of all cracks that tell something, and of all others where too many in a row do not.
ChainPoints SoftEdges::softPoints(uint32_t chain, const Side &side, bool everywhere,
                                  bool mirrored) const
{
    ChainPoints points;
    points.edge = fit::Edge::Soft;
    ChainPoints skipped; // since the last point
    const auto take = [&](const Crack &crack) {
        const std::size_t before = points.x.size();
        if (!softPoint(side, crack, everywhere, mirrored, &points)) {
            roughPoint(side, crack, &skipped);
            return;
        }
        if (before > 0 && !skipped.x.empty()) {
            const Point gap = { points.x[before] - points.x[before - 1],
                                points.y[before] - points.y[before - 1] };
            if (dot(gap, gap) > kWidestGap * kWidestGap)
                insert(skipped, before, &points);
        }
        skipped = ChainPoints();
    };
    uint32_t number = 0;
    forEachMove(map, referenceTo(chain, false), [&](int x, int y, Heading h, int length) {
        for (int k = 0; k < length; ++k)
            take({ x + k * stepX(h), y + k * stepY(h), h, number++ });
    });
    return points;
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
        const double scatter = scatterOf(points);
        for (double &sigma : points.sigma)
            sigma = std::max(sigma, scatter);
        if (scatter < kStairs)
            return points;
    }
    return cracksOf(chain);
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
