// (c) the ztrace developers. Licence: see LICENSE.
//
// Which spans the program looks at, and where a chain turns.
#include "fit/program.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

// Spans shorter than this go between every fineStep-th point, here the second; longer ones, by
// doubling, between multiples of 4, 8, ...: 4 to 8 steps a span. Twice or four times as fine wins
// no numbers after the refinement on pages of letters, at 1.7 and 3 times the candidates; half as
// fine cuts small curves.
const int kFineLength = 16;
// Points to both sides over which a turn is measured: a staircase needs longer chords.
const int kSoftChord = 3;
const int kHardChord = 6;
// 1 - cosine of the least turn at a corner, 20 degrees.
const double kLeastTurn = 0.06;
// Points to both sides of a break that have to lie flat where a closed chain is cut.
const int kFlatReach = 8;
// Spans of the earlier answer that one of a refinement may replace.
const int kMostMerged = 3;
// Beside a span of fewer cracks a break is looked for so many points farther: corners nearer to
// each other than the chords of the turns hide each other.
const int kShortSpan = 6;
const int kMoreOfShort = 1;
// Numbers by which the way to a break may be dearer than the earlier answer's: points that go over
// to the next span take their misfit with them.
const double kRoomForBetter = 6;

// 1 - cosine of the turn at every point; 0 where the chain ends too near.
std::vector<double> turns(const Points &points)
{
    const int n = points.size();
    const int reach = points.edge == Edge::Soft ? kSoftChord : kHardChord;
    std::vector<double> turn(static_cast<std::size_t>(n), 0.0);
    if (n <= 2 * reach)
        return turn;
    for (int i = points.closed ? 0 : reach; i < (points.closed ? n : n - reach); ++i) {
        const int before = i < reach ? i - reach + n : i - reach;
        const int after = i + reach >= n ? i + reach - n : i + reach;
        const Point a = points.at(i) - points.at(before);
        const Point b = points.at(after) - points.at(i);
        const double lengths = std::sqrt(dot(a, a) * dot(b, b));
        turn[static_cast<std::size_t>(i)] = lengths > 0 ? 1 - dot(a, b) / lengths : 0;
    }
    return turn;
}

// Whether no point within the reach of the chord turns more; of equal ones the first.
bool isSharpest(const std::vector<double> &turn, int i, int reach)
{
    const int n = static_cast<int>(turn.size());
    const double here = turn[static_cast<std::size_t>(i)];
    for (int k = std::max(0, i - reach); k <= std::min(n - 1, i + reach); ++k) {
        const double there = turn[static_cast<std::size_t>(k)];
        if (there > here || (there == here && k < i))
            return false;
    }
    return true;
}

double costWithJoint(const Table &table, const std::vector<Span> &spans, int k)
{
    const Span &span = spans[static_cast<std::size_t>(k)];
    const double own = span.misfit + table.priceOf(span);
    if (k == 0)
        return own;
    const Span &before = spans[static_cast<std::size_t>(k - 1)];
    bool smooth = false;
    return own
        + jointCost(table, endOf(table.points, before), startOf(table.points, span),
                    span.first - before.last, &smooth);
}

} // namespace

int flattestBreak(const Points &points)
{
    const std::vector<double> turn = turns(points);
    const int n = static_cast<int>(turn.size());
    const int reach = std::min(kFlatReach, n / 2);
    double sum = 0;
    for (int k = 0; k < 2 * reach; ++k)
        sum += turn[static_cast<std::size_t>(k)];
    double least = sum;
    int best = reach;
    for (int i = reach; i < n; ++i) {
        // The window around break i holds the points i - reach to i + reach - 1.
        if (sum < least) {
            least = sum;
            best = i;
        }
        const int next = i + reach < n ? i + reach : i + reach - n;
        sum += turn[static_cast<std::size_t>(next)] - turn[static_cast<std::size_t>(i - reach)];
    }
    return n > 0 ? best % n : 0;
}

Reach Reach::every(int size)
{
    Reach reach;
    reach.size = size;
    return reach;
}

Reach Reach::lattice(const Points &points, const Search &search)
{
    Reach reach;
    reach.kind = Kind::Lattice;
    reach.fineStep = search.fineStep;
    reach.size = points.size();
    reach.isCorner.assign(static_cast<std::size_t>(reach.size + 1), 0);
    const std::vector<double> turn = turns(points);
    const int chord = points.edge == Edge::Soft ? kSoftChord : kHardChord;
    for (int i = 0; i < reach.size; ++i) {
        if (turn[static_cast<std::size_t>(i)] < kLeastTurn || !isSharpest(turn, i, chord))
            continue;
        const int end = std::min(reach.size, i + search.cornerReach + 1);
        for (int k = std::max(0, i - search.cornerReach); k <= end; ++k)
            reach.isCorner[static_cast<std::size_t>(k)] = 1;
    }
    reach.isCorner.front() = reach.isCorner.back() = 1;
    for (int i = 0; i <= reach.size; ++i) {
        if (reach.isCorner[static_cast<std::size_t>(i)])
            reach.corners.push_back(i);
    }
    return reach;
}

Reach Reach::refinement(const Table &table, const std::vector<Span> &spans, int radius)
{
    Reach reach;
    const int size = table.points.size();
    reach.kind = Kind::Refinement;
    reach.size = size;
    reach.isCorner.assign(static_cast<std::size_t>(size + 1), 0);
    reach.limits.assign(static_cast<std::size_t>(size + 1), kAnyCost);
    const int count = static_cast<int>(spans.size());
    double cost = table.numbers(kRoomForBetter);
    for (int k = 0; k <= count; ++k) {
        const bool inner = k > 0 && k < count;
        int from = k < count ? spans[static_cast<std::size_t>(k)].first : size;
        int to = from;
        if (k == count)
            from = std::max(reach.corners.back() + 1, spans.back().last);
        if (inner) {
            const Span &before = spans[static_cast<std::size_t>(k - 1)];
            const Span &after = spans[static_cast<std::size_t>(k)];
            const bool isShort = table.points.edge == Edge::Hard
                && std::min(before.last - before.first, after.last - after.first) < kShortSpan;
            const int own = radius + (isShort ? kMoreOfShort : 0);
            from = before.last - own;
            to += own;
        }
        if (k > 0)
            cost += costWithJoint(table, spans, k - 1);
        const int past = reach.corners.empty() ? 0 : reach.corners.back() + 1;
        for (int i = std::max(from, past); i <= std::min(to, k < count ? size - 1 : size); ++i) {
            reach.corners.push_back(i);
            reach.group.push_back(k);
            reach.isCorner[static_cast<std::size_t>(i)] = 1;
            reach.limits[static_cast<std::size_t>(i)] = cost;
        }
    }
    return reach;
}

Reach::Ends::Ends(const Reach &r, int f)
    : reach(r), first(f), step(r.fineStep), doubled(kFineLength), end(f + 1), place(0),
      isCorner(!r.isCorner.empty() && r.isCorner[static_cast<std::size_t>(f)] != 0)
{
    const bool isPlaced = isCorner || (reach.kind == Kind::Lattice && (first & (step - 1)) == 0);
    if (!isPlaced)
        return;
    const std::vector<int> &breaks = reach.corners;
    place = static_cast<std::size_t>(std::upper_bound(breaks.begin(), breaks.end(), first)
                                     - breaks.begin());
    if (reach.kind == Kind::Refinement)
        lastGroup = reach.group[place - 1] + kMostMerged;
}

bool Reach::Ends::next(int *result)
{
    if (reach.kind == Kind::Lattice)
        return nextOfLattice(result);
    if (reach.kind == Kind::Refinement)
        return nextOfRefinement(result);
    *result = end++;
    return *result <= reach.size;
}

// Corner to multiple, multiple to multiple; corners as ends come in between.
bool Reach::Ends::nextOfLattice(int *result)
{
    if (end > reach.size)
        return false;
    while (end - first >= doubled) {
        step *= 2;
        doubled *= 2;
    }
    if (!isCorner && (first & (step - 1)) != 0)
        return false;
    const int aligned = (end + step - 1) & -step;
    if (place < reach.corners.size() && reach.corners[place] <= aligned) {
        *result = reach.corners[place++];
        // The length of the next one is told by where it is looked for, multiple by multiple.
        if (*result == aligned)
            end = aligned + 1;
        return true;
    }
    end = aligned + 1;
    *result = aligned;
    return aligned <= reach.size;
}

bool Reach::Ends::nextOfRefinement(int *result)
{
    if (!isCorner || place >= reach.corners.size() || reach.group[place] > lastGroup)
        return false;
    *result = reach.corners[place++];
    return true;
}

} // namespace ztrace::fit
