// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/program.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace ztrace::fit {

namespace {

// Ends in a row at which neither kind can win before longer spans are given up. Residuals of curves
// are not monotone, so one is not enough.
const int kFailures = 2;
// Nats a point, and numbers, that a span's misfit must exceed to count as a failure, and not to be
// taken. Relative to the
// points: an absolute bound breaks every long line of a staircase.
const double kHopelessPerPoint = 1;
const double kHopelessNumbers = 5;
// Part of a corner's price by which a way may be worse than the best one to a break and stay, where
// not all spans are looked at. With all of it as many numbers are written, a tenth later.
const double kSlack = 0.5;
const double kRounding = 1e-9; // nats

struct State
{
    double cost; // of the way up to and with this span
    int before;  // state, -1 at the start
    int next;    // state that ends at the same break, -1 at the end
    Span span;
};

// A state that may become part of the answer, with all that joints ask of it.
struct Survivor
{
    double cost;
    int state;
    SpanEnd end;
};

// What a program works with. It stays from one to the next: most chains are so short that it would
// take longer to get memory than to use it.
struct Room
{
    std::vector<State> states;
    std::vector<int> head;                     // per break: the state that came last
    std::vector<double> best;                  // per break
    std::vector<Survivor> survivors;           // break after break, the cheapest first
    std::vector<int> kept;                     // per break: where its survivors begin
    std::vector<std::pair<double, int>> order; // cost and state

    void clear(int size)
    {
        states.clear();
        survivors.clear();
        head.assign(static_cast<std::size_t>(size + 1), -1);
        best.assign(static_cast<std::size_t>(size + 1), std::numeric_limits<double>::infinity());
        kept.assign(static_cast<std::size_t>(size + 2), 0);
    }
};

// States that a thread keeps room for, 2 MB.
const std::size_t kMostKept = 1 << 14;

bool mayBeShort(const Table &table, const Reach &reach)
{
    return reach.mayCut() && table.judgement.meeting == Meeting::OfOutlines;
}

class Program : private Room
{
public:
    Program(Room *given, const Table &t, const Reach &r)
        : Room(std::move(*given)), room(given), table(t), reach(r), meter(t), size(t.points.size()),
          slack((mayBeShort(t, r) ? kSlack : 1) * cornerCost())
    { }
    ~Program()
    {
        if (states.capacity() <= kMostKept)
            *room = std::move(static_cast<Room &>(*this));
    }

    Answer run()
    {
        clear(size);
        for (int first = 0; first < size; ++first) {
            keepStates(first);
            if (reachable(first))
                leave(first);
        }
        keepStates(size);
        return bestEnd();
    }

private:
    bool reachable(int first) const
    {
        if (first == 0)
            return true;
        for (int k = 0; k <= table.judgement.mayLeaveOut && k <= first; ++k) {
            if (keptFrom(first - k) < keptFrom(first - k + 1))
                return true;
        }
        return false;
    }

    int keptFrom(int i) const { return kept[static_cast<std::size_t>(i)]; }

    // Sorts the ways that end at a break and drops those that no joint can make the best.
    void keepStates(int at)
    {
        const double limit = best[static_cast<std::size_t>(at)] + slack;
        order.clear();
        for (int s = head[static_cast<std::size_t>(at)]; s >= 0; s = state(s).next) {
            if (state(s).cost <= limit)
                order.push_back({ state(s).cost, s });
        }
        std::sort(order.begin(), order.end());
        for (const auto &[cost, s] : order)
            survivors.push_back({ cost, s, endOf(table.points, state(s).span) });
        kept[static_cast<std::size_t>(at + 1)] = static_cast<int>(survivors.size());
    }

    void leave(int first)
    {
        int failures = 0;
        const double before = leastBefore(first);
        const double beforeLine = leastBeforeLine(first) - kRounding;
        int last[kSpanLanes];
        double most[kSpanLanes];
        double mostOfLine[kSpanLanes];
        int count = 0;
        Reach::Ends ends(reach, first);
        for (bool more = true; more;) {
            int end = 0;
            more = ends.next(&end);
            if (more && (end - first >= 2 || size <= 1)) {
                const double toStay = best[static_cast<std::size_t>(end)] + slack;
                last[count] = end;
                most[count] = std::min(toStay, reach.limitAt(end)) - before;
                mostOfLine[count] = std::min(most[count], toStay - beforeLine);
                ++count;
            }
            if (count < kSpanLanes && more)
                continue;
            if (count > 0)
                meter.measure(first, last, most, mostOfLine, count);
            for (int lane = 0; lane < count; ++lane) {
                failures
                    = enterPair(first, last[lane], lane, before, most[lane]) ? 0 : failures + 1;
                if (failures >= kFailures)
                    return;
            }
            count = 0;
        }
    }

    // A measured span to which the cheapest way is that of `before`, for `most` in all. False where
    // neither kind can win.
    bool enterPair(int first, int last, int lane, double before, double most)
    {
        const double hopeless = reach.mayCut() && last - first > 3
            ? kHopelessPerPoint * (last - first) + table.numbers(kHopelessNumbers)
            : kAnyCost;
        const double lineMisfit = meter.lineMisfitOf(lane);
        const double arcMisfit = meter.arcMisfitOf(lane);
        if (lineMisfit <= hopeless) {
            if (const Span *line = meter.lineOf(lane))
                enter(*line);
        }
        if (arcMisfit <= hopeless) {
            // The line may be what an arc has to beat.
            const double toStay = best[static_cast<std::size_t>(last)] + slack - before;
            if (const Span *arc = meter.arcOf(lane, arcMisfit, std::min(toStay, most)))
                enter(*arc);
        }
        return std::min(lineMisfit, arcMisfit) <= hopeless;
    }

    // The cheapest way to a break from which a span may begin at `first`, joint not counted.
    double leastBefore(int first) const
    {
        if (first == 0)
            return 0;
        double least = std::numeric_limits<double>::infinity();
        for (int k = 0; k <= table.judgement.mayLeaveOut && k <= first; ++k)
            least = std::min(least, best[static_cast<std::size_t>(first - k)] + leftOutCost(k));
        return least;
    }

    // The same, from which a line may begin: the joint of two lines is a corner.
    double leastBeforeLine(int first) const
    {
        if (first == 0)
            return 0;
        double least = std::numeric_limits<double>::infinity();
        for (int s = keptFrom(first); s < keptFrom(first + 1); ++s) {
            const Survivor &before = survivors[static_cast<std::size_t>(s)];
            least = std::min(least, before.cost + (before.end.arc ? 0 : cornerCost()));
        }
        for (int k = 1; k <= table.judgement.mayLeaveOut && k <= first; ++k)
            least = std::min(least, best[static_cast<std::size_t>(first - k)] + leftOutCost(k));
        return least;
    }

    double leftOutCost(int k) const
    {
        return k > 0 ? cornerCost() + k * table.judgement.leftOut : 0;
    }

    // Adds the best way that ends with this span.
    void enter(const Span &span)
    {
        const double own = span.misfit + table.priceOf(span);
        const auto last = static_cast<std::size_t>(span.last);
        Way way = { own, -1, false };
        if (span.first > 0)
            way = bestWay(span, best[last] + slack - own);
        if (span.first > 0 && way.before < 0)
            return;
        const double cost = span.first > 0 ? way.cost + own : own;
        if (cost > best[last] + slack)
            return;
        best[last] = std::min(best[last], cost);
        states.push_back({ cost, way.before, head[last], span });
        states.back().span.smooth = way.smooth;
        head[last] = static_cast<int>(states.size()) - 1;
    }

    struct Way
    {
        double cost; // with the joint
        int before;  // state; -1 where all are dearer than asked for
        bool smooth;
    };

    // The cheapest way to the begin of a span that costs `most` at most.
    Way bestWay(const Span &span, double most) const
    {
        const SpanEnd start = startOf(table.points, span);
        Way way = { most + kRounding, -1, false };
        for (int k = 0; k <= table.judgement.mayLeaveOut && k <= span.first; ++k) {
            const int at = span.first - k;
            for (int s = keptFrom(at); s < keptFrom(at + 1); ++s) {
                const Survivor &before = survivors[static_cast<std::size_t>(s)];
                if (before.cost + leftOutCost(k) >= way.cost)
                    break;
                // Two lines never go over into one another, nor do ends that turn.
                const bool turns = (!span.primitive.arc && !before.end.arc)
                    || dot(before.end.tangent, start.tangent) <= kSmoothCosine;
                if (turns && before.cost + cornerCost() >= way.cost)
                    continue;
                bool smooth = false;
                const double joint = jointCost(table, before.end, start, k, &smooth);
                if (before.cost + joint < way.cost
                    && (k == 0 || mayLeaveOut(table.points, state(before.state).span, span)))
                    way = { before.cost + joint, before.state, smooth };
            }
        }
        return way;
    }

    // The cheapest way to the end. A closed chain's joint at its ends may leave points out, too.
    Answer bestEnd() const
    {
        Answer answer = { {}, std::numeric_limits<double>::infinity() };
        const int most = table.points.closed ? table.judgement.mayLeaveOut : 0;
        for (int k = 0; k <= most && k < size; ++k) {
            const int at = keptFrom(size - k);
            if (at == keptFrom(size - k + 1))
                continue;
            const int s = survivors[static_cast<std::size_t>(at)].state;
            const double cost = state(s).cost + leftOutCost(k);
            if (cost >= answer.cost)
                continue;
            std::vector<Span> spans = wayTo(s);
            if (k == 0 || mayLeaveOut(table.points, spans.back(), spans.front()))
                answer = { std::move(spans), cost };
        }
        return answer;
    }

    std::vector<Span> wayTo(int last) const
    {
        std::vector<Span> spans;
        for (int s = last; s >= 0; s = state(s).before)
            spans.push_back(state(s).span);
        std::reverse(spans.begin(), spans.end());
        return spans;
    }

    double cornerCost() const { return table.numbers(table.prices.corner); }
    const State &state(int s) const { return states[static_cast<std::size_t>(s)]; }

    Room *room;
    const Table &table;
    const Reach &reach;
    SpanMeter meter;
    const int size;
    const double slack; // nats by which ways that are kept may be worse than the best
};

} // namespace

Answer runProgram(const Table &table, const Reach &reach)
{
    if (table.points.size() == 0)
        return { {}, 0 };
    thread_local Room room;
    return Program(&room, table, reach).run();
}

} // namespace ztrace::fit
