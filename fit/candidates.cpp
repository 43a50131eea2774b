// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/candidates.h"
#include "fit/segment.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const double kPi = 3.14159265358979323846;

// A walk that is this much longer than its chord turns back on itself. A staircase is up to 1.08
// times longer; 1.5 px more for the ends of short ones.
bool goesAhead(double chord, double walk)
{
    return chord >= 0.75 * walk - 1.5;
}

// Pixels: half a crack, half of another where the pixels of a corner are lost, and noise.
const double kFarthestStep = 0.8;
// A few points are on a circle whatever they come from, so that serifs and the ends of bars would
// become balls on a neck. Fewer than so many are no more than the rounding of a corner (radians);
// in one bit up to kFewCracks tell of no arc at all, and small circles of the end of a bar only.
const int kSomePoints = 10;
const double kRoundingOfSoft = 2.2;
const double kRoundingOfSteps = 1.8;
const int kFewCracks = 6;
const double kBallRadius = 3; // pixels
const double kBarEnd = 3.5;   // radians: half a turn, and a little for the steps

const double kLargestBall = 4; // pixels
// What a corner of more than 100 degrees (its cosine) beside such a circle costs more, in corners.
// The round end of a bar goes over into its sides; what meets them in a corner is more often a
// tooth or a notch than a ball. Of gears of radius 24 in one bit 27 % of the corners were missed,
// now 18; letters, whose arcs meet their stems at less, take as many kinks as without.
const double kSharpOfBall = -0.2;
const double kCornerOfBall = 1.5;

// Radians; none, or a quarter turn at least. Ends of centre lines are another thing.
double largestSweep(const Table &table, int points, double radius)
{
    if (table.judgement.meeting == Meeting::OfCentreLines)
        return kLargestSweep;
    if (table.points.edge == Edge::Soft)
        return points < kSomePoints ? kRoundingOfSoft : kLargestSweep;
    if (points <= kFewCracks)
        return 0;
    return points < kSomePoints ? kRoundingOfSteps : radius < kBallRadius ? kBarEnd : kLargestSweep;
}

// Of soft edges: pixels, and standard deviations where that is more.
const double kFarthest = 0.35;
const double kFarthestSigmas = 4;
const int kLookedAt = 64;

const double kAngleRounding = 1e-9; // radians

// Bounds of the angle of a sine and a cosine, from 0 to a full turn, that are given times
// `lengths`: t - t^3/3 < atan t < t - t^3/3 + t^5/5, with t of half the angle to the nearer end of
// the axis.
struct AngleBounds
{
    double least;
    double most;

    AngleBounds(double sine, double cosine, double lengths)
    {
        const double t = std::fabs(sine) / (lengths + std::fabs(cosine));
        const double low = 2 * t * (1 - t * t / 3);
        const double high = low + 0.4 * t * t * t * t * t;
        const double end = cosine >= 0 ? (sine >= 0 ? 0 : 2 * kPi) : kPi;
        const bool onwards = (cosine >= 0) == (sine >= 0);
        least = onwards ? end + low : end - high;
        most = onwards ? end + high : end - low;
    }
};

// Whether the way round a circle is about as long as the walk, like goesAhead, and at most
// `largest` radians. The angle is that of the given sine and cosine times `lengths`.
bool goesRound(double sine, double cosine, double lengths, double radius, double walk,
               double largest)
{
    const double room = 0.3 * walk + 1.5;
    // Two bounds decide nearly always.
    const AngleBounds angle(sine, cosine, lengths);
    const double rounding = 1e-9 * (1 + walk);
    const double least = radius * angle.least - walk;
    const double most = radius * angle.most - walk;
    if (angle.least > largest + kAngleRounding || most < -room - rounding
        || least > room + rounding)
        return false;
    if (angle.most < largest - kAngleRounding && least > rounding - room && most < room - rounding)
        return true;
    double sweep = std::atan2(sine, cosine);
    sweep = sweep < 0 ? sweep + 2 * kPi : sweep;
    return sweep <= largest && std::fabs(radius * sweep - walk) <= room;
}

// Gives a circle the direction of the walk; false where it is no arc of these points.
bool isArcOf(const Table &table, int first, int last, Primitive *arc)
{
    const Points &points = table.points;
    const double largest = largestSweep(table, last - first, arc->radius);
    if (largest <= 0)
        return false;
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
        && goesRound(sine, cosine, lengths, arc->radius, points.walk(first, last - 1), largest);
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

Point breakPoint(const Points &points, int i)
{
    const int n = points.size();
    if (i > 0 && i < n)
        return 0.5 * (points.at(i - 1) + points.at(i));
    // A closed chain goes on where it was cut: both ends are looked at in one place.
    if (points.closed)
        return 0.5 * (points.at(n - 1) + points.at(0));
    return points.at(i <= 0 ? 0 : n - 1);
}

SpanEnd endAt(const Points &points, const Span &span, int i)
{
    const Point p = breakPoint(points, i);
    const Primitive &primitive = span.primitive;
    const double walk = span.last > span.first ? points.walk(span.first, span.last - 1) + 0.5 : 0;
    const bool ball = primitive.arc && points.edge == Edge::Hard && primitive.radius < kLargestBall
        && walk > kRoundingOfSteps * primitive.radius;
    SpanEnd end = { primitive.arc, p, primitive.direction, walk, ball };
    primitive.lead(p, &end.foot, &end.tangent);
    return end;
}

} // namespace

SpanPair spansOf(const Table &table, int first, int last, double most)
{
    SpanMeter meter(table);
    meter.measure(first, &last, &most, &most, 1);
    SpanPair pair = {};
    if (const Span *line = meter.lineOf(0)) {
        pair.hasLine = true;
        pair.line = *line;
    }
    if (const Span *arc = meter.arcOf(0, meter.arcMisfitOf(0), most)) {
        pair.hasArc = true;
        pair.arc = *arc;
    }
    return pair;
}

void SpanMeter::measure(int first, const int *last, const double *most, const double *mostOfLine,
                        int count)
{
    const Points &points = table.points;
    begin = first;
    for (int k = 0; k < kSpanLanes; ++k) {
        // Lanes that are not asked for do what the last one does.
        const int from = std::min(k, count - 1);
        ends[k] = last[from];
        mosts[k] = most[from];
        mostsOfLines[k] = mostOfLine[from];
    }
    table.sums.over(kernels, first, ends, &lanes, origins);
    kernels.measureLines(&lanes);
    const Point a = points.at(first);
    const double arcPrice = table.numbers(table.prices.arc);
    const bool arcs = offered(table.prices.arc);
    const double perfect = table.numbers(table.judgement.meeting == Meeting::OfOutlines ? 1 : 0.5);
    bool any = false;
    for (int k = 0; k < count; ++k) {
        const int n = ends[k] - first;
        const Point chord = points.at(ends[k] - 1) - a;
        lineMisfits[k] = table.judgement.misfit(lanes.least[k] * lanes.sums[kSumW][k], n);
        // Two or three points are always a line, so that there is a way through every chain.
        ahead[k]
            = n <= 3 || goesAhead(std::sqrt(dot(chord, chord)), points.walk(first, ends[k] - 1));
        // Where the line is that near to perfect, no arc can tell itself from it.
        mayBeArc[k] = arcs && n >= kArcPoints && arcPrice <= mosts[k]
            && (!ahead[k] || lineMisfits[k] > perfect);
        any = any || mayBeArc[k];
    }
    if (any)
        kernels.measureCircles(&lanes);
}

const Span *SpanMeter::lineOf(int k)
{
    const bool isCheap
        = lineMisfits[k] + table.numbers(table.prices.line) <= mostsOfLines[k] && ahead[k];
    return isCheap && completeLine(k) ? &line : nullptr;
}

double SpanMeter::arcMisfitOf(int k) const
{
    if (!mayBeArc[k] || !(lanes.radius[k] < kLargestRadius && lanes.radius[k] > 0))
        return kAnyCost;
    return table.judgement.misfit(lanes.root[k] * lanes.sums[kSumW][k], ends[k] - begin);
}

const Span *SpanMeter::arcOf(int k, double misfit, double most)
{
    const bool isCheap = misfit < kAnyCost && misfit + table.numbers(table.prices.arc) <= most;
    return isCheap && completeArc(k, misfit) ? &arc : nullptr;
}

bool SpanMeter::completeLine(int k)
{
    const Points &points = table.points;
    Point along = { lanes.alongX[k], lanes.alongY[k] };
    if (!(dot(along, along) > 0))
        along = { 1, 0 }; // all points coincide
    if (dot(along, points.at(ends[k] - 1) - points.at(begin)) < 0)
        along = -1.0 * along;
    line.first = begin;
    line.last = ends[k];
    line.smooth = false;
    line.misfit = lineMisfits[k];
    line.primitive = { false, { lanes.mx[k] + origins[k].x, lanes.my[k] + origins[k].y },
                       along, 0,
                       0,     lanes.least[k] * lanes.sums[kSumW][k] };
    return ends[k] - begin <= 3 || staysNear(line);
}

bool SpanMeter::completeArc(int k, double misfit)
{
    arc.first = begin;
    arc.last = ends[k];
    arc.smooth = false;
    arc.misfit = misfit;
    Primitive &circle = arc.primitive;
    circle.arc = true;
    circle.point = { lanes.centreX[k] + lanes.mx[k] + origins[k].x,
                     lanes.centreY[k] + lanes.my[k] + origins[k].y };
    circle.direction = { 1, 0 };
    circle.radius = lanes.radius[k];
    circle.chi2 = lanes.root[k] * lanes.sums[kSumW][k];
    return isArcOf(table, begin, ends[k], &circle) && staysNear(arc);
}

// Whether no point lies farther off than noise, or the steps of a staircase, take it. The misfit is
// pooled over the span, whose other points can pay for a corner that a short piece cuts off.
bool SpanMeter::staysNear(const Span &span) const
{
    const Points &points = table.points;
    const Primitive &primitive = span.primitive;
    const bool soft = points.edge == Edge::Soft;
    // No point alone can be that far off.
    if (soft && primitive.chi2 < kFarthestSigmas * kFarthestSigmas)
        return true;
    const double least = soft ? kFarthest : kFarthestStep;
    const double sigmas = soft ? kFarthestSigmas : 0;
    if (allAreNear(points, primitive, least))
        return true;
    const auto first = static_cast<std::size_t>(span.first);
    const int count = span.last - span.first;
    const int stride = 1 + count / kLookedAt;
    if (stride == 1)
        return kernels.allNear({ points.x.data() + first, points.y.data() + first,
                                 points.sigma.data() + first, primitive.arc, primitive.point.x,
                                 primitive.point.y, primitive.direction.x, primitive.direction.y,
                                 primitive.radius, least, sigmas },
                               count);
    for (int i = span.first; i < span.last; i += stride) {
        if (std::fabs(primitive.distance(points.at(i)))
            > std::max(least, sigmas * points.sigmaOf(i)))
            return false;
    }
    return true;
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
    const bool ball = table.judgement.meeting == Meeting::OfOutlines && (before.ball || after.ball)
        && dot(before.tangent, after.tangent) < kSharpOfBall;
    const double corner = table.numbers(table.prices.corner) * (ball ? 1 + kCornerOfBall : 1);
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
