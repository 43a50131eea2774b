// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/candidates.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const double kPi = 3.14159265358979323846;
const double kSmoothCosine = std::cos(kSmoothTurn * kPi / 180);

// A walk that is this much longer than its chord turns back on itself. A staircase is up to 1.08
// times longer; 1.5 px more for the ends of short ones.
bool goesAhead(double chord, double walk)
{
    return chord >= 0.75 * walk - 1.5;
}

// Pixels: half a crack, half of another where the pixels of a corner are lost, and noise.
const double kFarthestStep = 0.8;
// Of soft edges: pixels, and standard deviations where that is more.
const double kFarthest = 0.35;
const double kFarthestSigmas = 4;
const std::size_t kLookedAt = 64;

// Whether the way round a circle is about as long as the walk; like goesAhead. The angle is that of
// the given sine and cosine times `lengths`.
bool goesRound(double sine, double cosine, double lengths, double radius, double walk)
{
    const double room = 0.3 * walk + 1.5;
    if (sine >= 0 && cosine >= 0) {
        // Up to a quarter turn two bounds of the arc's length decide nearly always:
        // t - t^3/3 < atan t < t - t^3/3 + t^5/5.
        const double t = sine / (lengths + cosine);
        const double least = 2 * radius * t * (1 - t * t / 3);
        const double most = least + 0.4 * radius * t * t * t * t * t;
        const double rounding = 1e-9 * (1 + walk);
        if (least - walk > rounding - room && most - walk < room - rounding)
            return true;
        if (most - walk < -room - rounding || least - walk > room + rounding)
            return false;
    }
    double sweep = std::atan2(sine, cosine);
    sweep = sweep < 0 ? sweep + 2 * kPi : sweep;
    return sweep <= kLargestSweep && std::fabs(radius * sweep - walk) <= room;
}

// Gives a circle the direction of the walk; false where it is no arc of these points.
bool completeArc(const Table &table, int first, int last, Primitive *arc)
{
    const Points &points = table.points;
    const Point a = points.at(first) - arc->point;
    const Point b = points.at((first + last - 1) / 2) - arc->point;
    const Point c = points.at(last - 1) - arc->point;
    arc->turn = cross(b - a, c - b) < 0 ? -1 : 1;
    // Of the angle from the first to the last point around the circle, in the direction of the
    // walk.
    const double sine = arc->turn * cross(a, c);
    const double cosine = dot(a, c);
    const double lengths = std::sqrt(dot(a, a) * dot(c, c));
    const double half = std::sqrt(std::max(0.0, 0.5 + 0.5 * cosine / lengths));
    const double sagitta = arc->radius * (sine < 0 ? 1 + half : 1 - half);
    return sagitta > points.sigmaOf((first + last) / 2)
        && goesRound(sine, cosine, lengths, arc->radius, points.walk(first, last - 1));
}

// Whether no point can be `far` pixels off, by the sum of squares alone. Of a circle's sum a
// point's part is (d (1 + d / 2r) / sigma)^2, since r^2 is the mean of the squared distances from
// the centre; that is least inside of the circle. The sum is off by a thousandth.
bool allAreNear(const Points &points, const Primitive &primitive, double far)
{
    const double sagging = primitive.arc ? 1 - 0.5 * far / std::max(far, primitive.radius) : 1;
    const double least = far * sagging;
    return 1.1 * primitive.chi2 * points.largestSigma * points.largestSigma < least * least;
}

// How many of the points first, first + stride, ... below `last` lie farther off than limit(i). All
// are counted: loops without an early end take several points at once.
template<typename Limit>
int farPoints(const Points &points, const Primitive &primitive, std::size_t first, std::size_t last,
              std::size_t stride, Limit limit)
{
    const double *x = points.x.data();
    const double *y = points.y.data();
    const Point p = primitive.point;
    const Point direction = primitive.direction;
    const double radius = primitive.radius;
    const auto ofCircle = [=](std::size_t i) {
        const Point d = { x[i] - p.x, y[i] - p.y };
        return std::fabs(std::sqrt(dot(d, d)) - radius) > limit(i) ? 1L : 0L;
    };
    const auto ofLine = [=](std::size_t i) {
        const Point d = { x[i] - p.x, y[i] - p.y };
        return std::fabs(cross(d, direction)) > limit(i) ? 1L : 0L;
    };
    long far = 0;
    if (stride > 1) {
        for (std::size_t i = first; i < last; i += stride)
            far += primitive.arc ? ofCircle(i) : ofLine(i);
    } else if (primitive.arc) {
        for (std::size_t i = first; i < last; ++i)
            far += ofCircle(i);
    } else {
        for (std::size_t i = first; i < last; ++i)
            far += ofLine(i);
    }
    return static_cast<int>(far);
}

// Whether a point lies farther off than noise, or the steps of a staircase, take it. The misfit is
// pooled over the span, whose other points can pay for a corner that a short piece cuts off.
bool cutsCorners(const Points &points, const Span &span)
{
    const Primitive &primitive = span.primitive;
    const bool soft = points.edge == Edge::Soft;
    // No point alone can be that far off.
    if (soft && primitive.chi2 < kFarthestSigmas * kFarthestSigmas)
        return false;
    if (allAreNear(points, primitive, soft ? kFarthest : kFarthestStep))
        return false;
    const auto first = static_cast<std::size_t>(span.first);
    const auto last = static_cast<std::size_t>(span.last);
    const std::size_t stride = 1 + (last - first) / kLookedAt;
    if (!soft)
        return farPoints(points, primitive, first, last, stride,
                         [](std::size_t) { return kFarthestStep; })
            > 0;
    const double *sigma = points.sigma.data();
    return farPoints(
               points, primitive, first, last, stride,
               [sigma](std::size_t i) { return std::max(kFarthest, kFarthestSigmas * sigma[i]); })
        > 0;
}

Point breakPoint(const Points &points, int i)
{
    const int n = points.size();
    if (i <= 0)
        return points.at(0);
    if (i >= n)
        return points.at(n - 1);
    return 0.5 * (points.at(i - 1) + points.at(i));
}

SpanEnd endAt(const Points &points, const Span &span, int i)
{
    const Point p = breakPoint(points, i);
    const Primitive &primitive = span.primitive;
    const double walk = span.last > span.first ? points.walk(span.first, span.last - 1) + 0.5 : 0;
    SpanEnd end = { primitive.arc, p, primitive.direction, walk };
    primitive.lead(p, &end.foot, &end.tangent);
    return end;
}

} // namespace

SpanPair spansOf(const Table &table, int first, int last, double most, double hopeless)
{
    const Points &points = table.points;
    const Moments m = table.sums.over(first, last);
    const LineMoments c = lineMoments(m);
    const int n = last - first;
    SpanPair pair;
    pair.lineMisfit = table.judgement.misfit(c.least * m.w, n);
    pair.arcMisfit = kAnyCost;
    const Point a = points.at(first);
    const Point b = points.at(last - 1);
    const Point chord = b - a;
    // Two or three points are always a line, so that there is a way through every chain.
    pair.hasLine = n <= 3 || goesAhead(std::sqrt(dot(chord, chord)), points.walk(first, last - 1));
    // Where the line is within half a number of perfect, no arc can tell itself from it.
    const double arcPrice = table.numbers(table.prices.arc);
    const bool needsNoMisfit = pair.lineMisfit <= hopeless;
    const auto isHopeless = [&](double chi2) {
        const double misfit = table.judgement.misfit(chi2, n);
        return misfit + arcPrice > most && (needsNoMisfit || misfit > hopeless);
    };
    pair.hasArc = n >= kArcPoints && offered(table.prices.arc) && arcPrice <= most
        && (!pair.hasLine || pair.lineMisfit > table.numbers(0.5))
        && circleOf(m, c, isHopeless, &pair.arc.primitive);
    if (pair.hasLine && pair.lineMisfit + table.numbers(table.prices.line) <= most)
        pair.line = { first, last, lineOf(m, c, a, b), pair.lineMisfit, false };
    else
        pair.hasLine = false;
    if (pair.hasLine && n > 3 && cutsCorners(points, pair.line))
        pair.hasLine = false;
    if (!pair.hasArc)
        return pair;
    pair.arcMisfit = table.judgement.misfit(pair.arc.primitive.chi2, n);
    pair.hasArc
        = pair.arcMisfit + arcPrice <= most && completeArc(table, first, last, &pair.arc.primitive);
    pair.arc.first = first;
    pair.arc.last = last;
    pair.arc.misfit = pair.arcMisfit;
    pair.arc.smooth = false;
    pair.hasArc = pair.hasArc && !cutsCorners(points, pair.arc);
    return pair;
}

SpanEnd startOf(const Points &points, const Span &span)
{
    return endAt(points, span, span.first);
}

SpanEnd endOf(const Points &points, const Span &span)
{
    return endAt(points, span, span.last);
}

static double roomOf(const SpanEnd &end)
{
    return std::min(kMetBefore, kMetBeforePart * end.length);
}

// Whether the two ends lie side by side, or meet within reach of where they end.
static bool meetSideBySide(const SpanEnd &before, const SpanEnd &after)
{
    const Point gap = after.foot - before.foot;
    const double reach = kLargestMeetingReach * std::fabs(cross(before.tangent, after.tangent));
    return dot(gap, gap) < kSmoothGap * kSmoothGap
        || (std::fabs(cross(gap, after.tangent)) <= reach
            && std::fabs(cross(gap, before.tangent)) <= reach);
}

// Whether the two ends meet within reach of where they end: where they hardly turn side by side,
// else drawn on or cut a little short.
bool meetNear(const SpanEnd &before, const SpanEnd &after, Meeting meeting)
{
    if (meeting == Meeting::OfCentreLines)
        return meetSideBySide(before, after);
    const Point gap = after.foot - before.foot;
    const double cosine = dot(before.tangent, after.tangent);
    if (cosine > kSmoothCosine)
        return dot(gap, gap) < kSmoothGap * kSmoothGap;
    const double sine = cross(before.tangent, after.tangent);
    const double ahead = cross(gap, after.tangent) * (sine < 0 ? -1 : 1);
    const double back = -cross(gap, before.tangent) * (sine < 0 ? -1 : 1);
    const double scale = std::fabs(sine);
    if (!(ahead >= -roomOf(before) * scale && back >= -roomOf(after) * scale))
        return false;
    // The reach lies between these two.
    const double farther = std::max(ahead, back);
    if (farther <= scale * kMeetingReach)
        return true;
    if (!(farther <= scale * kLargestMeetingReach))
        return false;
    const double sharp = std::sqrt((1 - cosine) / std::max(1e-3, 1 + cosine));
    const double shorter = std::min(before.length, after.length);
    const double reach = scale
        * std::min({ kLargestMeetingReach, kMeetingReach + kMeetingReachSharp * sharp,
                     kMeetingReach + kMeetingReachPart * shorter });
    return ahead <= reach && back <= reach;
}

// Where two ends, drawn on, meet; half way between them where they hardly turn.
static Point meetingOf(const SpanEnd &before, const SpanEnd &after)
{
    const Point gap = after.foot - before.foot;
    const double sine = cross(before.tangent, after.tangent);
    if (dot(before.tangent, after.tangent) > kSmoothCosine || !(std::fabs(sine) > 1e-6))
        return 0.5 * (before.foot + after.foot);
    return before.foot + (cross(gap, after.tangent) / sine) * before.tangent;
}

static double toSegment(Point p, Point a, Point b)
{
    const Point d = b - a;
    const double square = dot(d, d);
    const double t = square > 0 ? std::min(1.0, std::max(0.0, dot(p - a, d) / square)) : 0;
    const Point away = p - (a + t * d);
    return std::sqrt(dot(away, away));
}

bool mayLeaveOut(const Points &points, const Span &before, const Span &after)
{
    const int n = points.size();
    const Point from = before.primitive.foot(points.at(before.last - 1));
    const Point to = after.primitive.foot(points.at(after.first % n));
    const Point corner = meetingOf(endOf(points, before), startOf(points, after));
    for (int i = before.last; i % n != after.first % n; ++i) {
        const Point p = points.at(i % n);
        if (toSegment(p, from, corner) > kLeftOutWithin
            && toSegment(p, corner, to) > kLeftOutWithin)
            return false;
    }
    return true;
}

double jointCost(const Table &table, const SpanEnd &before, const SpanEnd &after, int leftOut,
                 bool *smooth)
{
    const double corner = table.numbers(table.prices.corner);
    *smooth = false;
    if (!meetNear(before, after, table.judgement.meeting))
        return 2 * corner + table.numbers(table.prices.line) + leftOut * table.judgement.leftOut;
    if (leftOut > 0)
        return corner + leftOut * table.judgement.leftOut;
    if (!before.arc && !after.arc)
        return corner;
    const Point gap = after.foot - before.foot;
    *smooth = dot(before.tangent, after.tangent) > kSmoothCosine
        && dot(gap, gap) < kSmoothGap * kSmoothGap;
    return *smooth ? 0 : corner;
}

} // namespace ztrace::fit
