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

// Radians from the first to the last point around the circle, in the direction of the walk.
double sweepOf(const Primitive &arc, Point first, Point last)
{
    const Point a = first - arc.point;
    const Point b = last - arc.point;
    const double sweep = std::atan2(arc.turn * cross(a, b), dot(a, b));
    return sweep < 0 ? sweep + 2 * kPi : sweep;
}

bool goesRound(double onCircle, double walk)
{
    return std::fabs(onCircle - walk) <= 0.3 * walk + 1.5;
}

bool completeArc(const Table &table, int first, int last, Primitive *arc)
{
    const Points &points = table.points;
    const Point a = points.at(first);
    const Point b = points.at((first + last - 1) / 2);
    const Point c = points.at(last - 1);
    arc->turn = cross(b - a, c - b) < 0 ? -1 : 1;
    const double sweep = sweepOf(*arc, a, c);
    if (sweep > kLargestSweep || !goesRound(arc->radius * sweep, points.walk(first, last - 1)))
        return false;
    const double sagitta = arc->radius * (1 - std::cos(sweep / 2));
    return sagitta > points.sigmaOf((first + last) / 2);
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
    return { primitive.arc, primitive.foot(p), primitive.tangent(p) };
}

} // namespace

SpanPair spansOf(const Table &table, int first, int last)
{
    const Points &points = table.points;
    const Moments m = table.sums.over(first, last);
    const int n = last - first;
    const Point a = points.at(first);
    const Point b = points.at(last - 1);
    SpanPair pair;
    pair.line.first = pair.arc.first = first;
    pair.line.last = pair.arc.last = last;
    pair.line.smooth = pair.arc.smooth = false;
    pair.line.primitive = lineOf(m, a, b);
    pair.lineMisfit = pair.line.misfit = table.judgement.misfit(pair.line.primitive.chi2, n);
    const Point chord = b - a;
    pair.hasLine = goesAhead(std::sqrt(dot(chord, chord)), points.walk(first, last - 1));
    pair.arcMisfit = pair.lineMisfit;
    // Where the line is within half a number of perfect, no arc can tell itself from it.
    pair.hasArc = n >= kArcPoints && offered(table.prices.arc)
        && (!pair.hasLine || pair.lineMisfit > table.numbers(0.5))
        && circleOf(m, &pair.arc.primitive);
    if (!pair.hasArc)
        return pair;
    pair.arcMisfit = pair.arc.misfit = table.judgement.misfit(pair.arc.primitive.chi2, n);
    pair.hasArc = completeArc(table, first, last, &pair.arc.primitive);
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

// Whether the two ends, drawn on, meet within reach of where they end.
bool meetNear(const SpanEnd &before, const SpanEnd &after)
{
    const Point gap = after.foot - before.foot;
    if (dot(gap, gap) < kSmoothGap * kSmoothGap)
        return true;
    const double sine = cross(before.tangent, after.tangent);
    const double ahead = cross(gap, after.tangent);
    const double back = cross(gap, before.tangent);
    const double reach = kMeetingReach * std::fabs(sine);
    return std::fabs(ahead) <= reach && std::fabs(back) <= reach;
}

double jointCost(const Table &table, const SpanEnd &before, const SpanEnd &after, int leftOut,
                 bool *smooth)
{
    const double corner = table.numbers(table.prices.corner);
    *smooth = false;
    if (!meetNear(before, after))
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
