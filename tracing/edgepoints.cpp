// (c) the ztrace developers. Licence: see LICENSE.
//
// The point that a crack of a soft edge stands for: docs/tracing/shapes.md, "Points".
#include "tracing/edgesides.h"

#include <cmath>

namespace ztrace {

using fit::Point;

namespace {

const double kUsefulCosine = 0.62; // between normal and axis; steeper cracks say little
const int kColumn = 3;             // pixels on either side of a crack that a blurred edge takes
const double kFarthest = 1.5;      // pixels from a crack to the edge that it stands for
const int kThinStroke = 5;         // pixels across which no pixel need have the stroke's own tone
const double kLeastBody = 0.4; // of coverage between what both sides have of their outermost pixels
const int kThinLine = 2;       // pixels across which the gradient tells no direction
// Of coverage: pixels at a crack of a blurred edge differ by less.
const double kBlurredSlope = 0.7;
// Pixels of sigma for each mixed pixel in a column beyond the two of a sharp edge: around corners
// and in narrow places blurred edges lie elsewhere.
const double kSigmaOfBlur = 0.015;
// Pixels between neighbouring points from which the cracks between them are points as well, and how
// far off those may be.
const double kWidestGap = 1.5;
const double kRoughSigma = 0.2;

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

// Its memory stays: most cracks are followed by one that is a point.
void clear(ChainPoints *points)
{
    points->x.clear();
    points->y.clear();
    points->sigma.clear();
    points->crack.clear();
}

} // namespace

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
    } else if (inside) {
        for (int v = 0; v < 3; ++v) {
            for (int u = 0; u < 3; ++u)
                c[v][u] = coverageIn(side, x + u - 1, y + v - 1);
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
        clear(&skipped);
    };
    uint32_t number = 0;
    forEachMove(map, referenceTo(chain, false), [&](int x, int y, Heading h, int length) {
        for (int k = 0; k < length; ++k)
            take({ x + k * stepX(h), y + k * stepY(h), h, number++ });
    });
    return points;
}

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

} // namespace ztrace
