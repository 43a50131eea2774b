// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dashends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Parts of a dash and of a gap that have ink, the part of a dash that its end may be behind its
// place, pixels by which ink that goes on is cut there, and runs of a row at most.
const double kDashInk = 0.6;
const double kGapInk = 0.5;
const double kEndSlack = 0.15;
const double kAtCut = 0.75;
const std::size_t kMostRuns = 1000;
// Gaps on end that lines lie across: centre lines cross both circles of a pipe and its flange.
const int kMostCrossed = 2;
const double kWholeInk = 0.85; // part of a dash behind a crossed gap that is ink

// One side of a row. Lengths count from its edge outwards.
class Side
{
public:
    Side(const Track &t, const Coverage &c, const RowBeat &b, bool isBack, std::vector<Run> *r)
        : track(t), coverage(c), beat(b), way(isBack ? 1.0 : -1.0), runs(*r)
    { }

    void extend()
    {
        while (runs.size() < kMostRuns && (step() || stepOverCrossings())) { }
    }

private:
    double edge() const { return way > 0 ? runs.back().to : runs.front().from; }
    double gap() const { return beat.period - beat.dash; }

    // Where the outer dash should end: a crossing may have taken its end.
    double beatEdge() const
    {
        const Run &outer = way > 0 ? runs.back() : runs.front();
        const double inner = way > 0 ? outer.from : outer.to;
        return outer.length() < beat.dash ? inner + way * beat.dash : edge();
    }

    // Ink between two lengths from a place, of all that is there.
    std::vector<Run> inkFrom(double place) const
    {
        const double behind = place - 2 * way * beat.period;
        const double ahead = place + way * (beat.period + kEndSlack * beat.dash);
        std::vector<Run> found;
        for (const Run &run : inkAlong(track, coverage, std::min(behind, ahead),
                                       std::max(behind, ahead), beat.width, 0.0)) {
            const double one = way * (run.from - place);
            const double other = way * (run.to - place);
            found.push_back({ std::min(one, other), std::max(one, other) });
        }
        return found;
    }

    static double inkOf(const std::vector<Run> &ink, double from, double to)
    {
        double sum = 0.0;
        for (const Run &run : ink)
            sum += std::max(0.0, std::min(run.to, to) - std::max(run.from, from));
        return sum;
    }

    // How far the dash behind a gap at a place reaches; 0 where there is none.
    double endOfNext(const std::vector<Run> &ink) const
    {
        const double most = beat.period + kEndSlack * beat.dash;
        double end = 0.0;
        for (const Run &run : ink) {
            if (run.from < beat.period && run.to > gap())
                end = std::max(end, run.to);
        }
        if (inkOf(ink, gap(), beat.period) < kDashInk * beat.dash
            || end < gap() + kDashInk * beat.dash)
            return 0.0;
        return end > most - kAtCut ? beat.period : end;
    }

    void add(double from, double to)
    {
        const Run run = { std::min(from, to), std::max(from, to) };
        runs.insert(way > 0 ? runs.end() : runs.begin(), run);
    }

    bool step()
    {
        const double from = edge();
        const std::vector<Run> ink = inkFrom(from);
        const double end = endOfNext(ink);
        if (!(end > 0.0) || inkOf(ink, 0.0, gap()) > kGapInk * gap())
            return false;
        add(from + way * gap(), from + way * end);
        return true;
    }

    bool stepOverCrossings()
    {
        double place = beatEdge();
        std::vector<Run> found;
        for (int k = 0; k <= kMostCrossed; ++k) {
            const std::vector<Run> ink = inkFrom(place);
            const double end = endOfNext(ink);
            if (!(end > 0.0))
                return false;
            const bool isOpen = inkOf(ink, 0.0, gap()) <= kGapInk * gap();
            found.push_back({ place + way * gap(), place + way * end });
            if (!isOpen && inkOf(ink, gap(), beat.period) < kWholeInk * beat.dash)
                return false;
            if (isOpen || endsBehind(place + way * beat.period))
                break;
            if (k == kMostCrossed)
                return false;
            place += way * beat.period;
        }
        for (const Run &run : found)
            add(run.from, run.to);
        return true;
    }

    // Whether there is paper behind a place as long as a gap.
    bool endsBehind(double place) const
    {
        return inkOf(inkFrom(place), 0.0, beat.period) < kEndSlack * beat.dash;
    }

    const Track &track;
    const Coverage &coverage;
    const RowBeat &beat;
    const double way;
    std::vector<Run> &runs;
};

} // namespace

void extendRow(const Track &track, const Coverage &coverage, const RowBeat &beat,
               std::vector<Run> *runs)
{
    Side(track, coverage, beat, true, runs).extend();
    Side(track, coverage, beat, false, runs).extend();
}

} // namespace ztrace::strokes
