// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/merge.h"

#include <cmath>

namespace ztrace::fit {

namespace {

// Pixels of room: the line of least squares need not be the one that is consistent.
const double kRoom = 0.12;
const int kMostMerged = 5;

bool cheaper(const Table &table, const std::vector<Span> &spans, std::size_t from, int count,
             double price)
{
    double sum = 0;
    for (int k = 0; k < count; ++k)
        sum += table.priceOf(spans[from + static_cast<std::size_t>(k)]);
    return table.numbers(price) < sum;
}

// Tries `count` spans from `from` on; true where they became one.
bool mergeAt(const Table &table, std::vector<Span> *spans, std::size_t from, int count)
{
    const Span &a = (*spans)[from];
    const Span &b = (*spans)[from + static_cast<std::size_t>(count) - 1];
    const SpanPair pair = spansOf(table, a.first, b.last, kAnyCost);
    Span merged = pair.line;
    const bool line = pair.hasLine && cheaper(table, *spans, from, count, table.prices.line)
        && isConsistent(table.points, merged.primitive, a.first, b.last);
    if (!line) {
        merged = pair.arc;
        if (!pair.hasArc || !cheaper(table, *spans, from, count, table.prices.arc)
            || !isConsistent(table.points, merged.primitive, a.first, b.last))
            return false;
    }
    merged.smooth = false;
    const auto at = spans->begin() + static_cast<std::ptrdiff_t>(from);
    spans->erase(at + 1, at + count);
    (*spans)[from] = merged;
    return true;
}

// Joints beside merged spans have to be judged again.
void judgeJoints(const Table &table, std::vector<Span> *spans)
{
    for (std::size_t k = 1; k < spans->size(); ++k) {
        const Span &before = (*spans)[k - 1];
        Span *span = &(*spans)[k];
        const int leftOut = span->first - before.last;
        jointCost(table, endOf(table.points, before), startOf(table.points, *span), leftOut,
                  &span->smooth);
    }
}

// The cap of a joint, across the direction half way between the one that comes and the one that
// turned round leaves.
Span capBetween(const Points &points, const Span &before, const Span &after)
{
    const SpanEnd a = endOf(points, before);
    const SpanEnd b = startOf(points, after);
    const Point ahead = a.tangent - b.tangent;
    const double length = std::hypot(ahead.x, ahead.y);
    const Point direction = length > 1e-6 ? (1 / length) * ahead : a.tangent;
    Span cap = {};
    cap.first = cap.last = after.first;
    cap.primitive.point = points.at(after.first);
    for (int i = before.last - 1; i != after.first; i = (i + 1) % points.size()) {
        if (dot(points.at(i) - cap.primitive.point, direction) > 0)
            cap.primitive.point = points.at(i);
    }
    cap.primitive.direction = { -direction.y, direction.x };
    if (dot(cap.primitive.direction, b.foot - a.foot) < 0)
        cap.primitive.direction = -1.0 * cap.primitive.direction;
    return cap;
}

} // namespace

std::vector<Span> withCaps(const Table &table, const std::vector<Span> &spans)
{
    const Points &points = table.points;
    std::vector<Span> result;
    for (std::size_t k = 0; k < spans.size(); ++k) {
        result.push_back(spans[k]);
        const bool last = k + 1 == spans.size();
        const Span &next = spans[last ? 0 : k + 1];
        if ((last && !points.closed)
            || meetNear(endOf(points, spans[k]), startOf(points, next), table.judgement.meeting))
            continue;
        result.push_back(capBetween(points, spans[k], next));
    }
    return result;
}

bool isConsistent(const Points &points, const Primitive &primitive, int first, int last)
{
    for (int i = first; i < last; ++i) {
        if (std::fabs(primitive.distance(points.at(i))) > kHalfCrack * points.sigmaOf(i) + kRoom)
            return false;
    }
    return true;
}

std::vector<Span> mergeSteps(const Table &table, std::vector<Span> spans)
{
    if (table.points.edge != Edge::Hard)
        return spans;
    bool any = false;
    for (std::size_t from = 0; from + 1 < spans.size();) {
        bool merged = false;
        for (int count = 2; count <= kMostMerged && !merged; ++count) {
            if (from + static_cast<std::size_t>(count) <= spans.size())
                merged = mergeAt(table, &spans, from, count);
        }
        any = any || merged;
        // A longer span may merge with the one before it.
        from = merged ? (from > 0 ? from - 1 : 0) : from + 1;
    }
    if (any)
        judgeJoints(table, &spans);
    return spans;
}

} // namespace ztrace::fit
