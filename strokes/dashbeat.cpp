// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dashgrids.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Pixels, and part of a length, that lengths of one kind differ by. In one bit each end of a dash
// is off by up to half a pixel.
const double kAlike = 1.1;
const double kAlikePart = 0.04;
const double kLeastGap = 1.6;      // pixels; shorter ones are breaks
const double kLeastGapPart = 0.15; // of the dash
const double kMostGapPart = 2.3;   // of it: what is farther apart is no line
// Gaps over so many widths are shorter than their dashes: edges in a row have such distances.
const double kWideGap = 7.0;
const double kWideGapPart = 0.6;
const double kLeastDashWidths = 0.6;
const double kOffBeat = 0.5; // pixels, and part of the period, root of mean square
const double kOffBeatPart = 0.015;
// Pixels that a gap is off where those before put it, and while these are few, part of the way.
const double kStray = 1.0;
const double kStrayPart = 0.03;
// Pixels that are left out at either end of a dash or gap that is looked at, a quarter of its
// length at most, and the part of the rest that has to be ink, or may be.
const double kEdge = 1.0;
const double kFull = 0.9;
const double kEmpty = 0.1;
const std::size_t kLeastClean = 5; // gaps without any ink
const double kCleanPart = 0.5;     // of all gaps, which are
const int kMostInRow = 2;          // gaps side by side in which ink is that nothing explains
const double kSeenGap = 0.75;      // part of a gap that is ink at most where its paper still tells
const double kExplained = 0.7;     // part of a gap's ink beside which there is some
const double kMostFilled = 0.08;   // of all gaps and one, in which ink is that nothing explains
// Pixels, more than half a width, beside the row where a line across it has ink.
const double kBeside = 2.0;
const double kMostCorners = 0.35; // part of the ends of dashes at clean gaps with ink beside them

double middleOf(const Run &run)
{
    return 0.5 * (run.from + run.to);
}

bool isAlike(double a, double b)
{
    return std::fabs(a - b) <= kAlike + kAlikePart * std::max(a, b);
}

// The mean of the largest group of lengths that are alike; of groups as large the shorter ones.
double usualOf(std::vector<double> lengths)
{
    std::sort(lengths.begin(), lengths.end());
    std::size_t most = 0;
    double usual = 0.0;
    std::size_t end = 0;
    double sum = 0.0;
    for (std::size_t k = 0; k < lengths.size(); ++k) {
        for (; end < lengths.size() && isAlike(lengths[k], lengths[end]); ++end)
            sum += lengths[end];
        if (end - k > most) {
            most = end - k;
            usual = sum / double(most);
        }
        sum -= lengths[k];
    }
    return usual;
}

// Between the runs of ink.
std::vector<Run> gapsOf(const std::vector<Run> &runs)
{
    std::vector<Run> gaps;
    for (std::size_t k = 1; k < runs.size(); ++k)
        gaps.push_back({ runs[k - 1].to, runs[k].from });
    return gaps;
}

// Numbers of equal steps and places along a row, and the line through them.
struct Steps
{
    double w = 0, k = 0, kk = 0, t = 0, kt = 0, tt = 0;
    void add(double number, double place)
    {
        w += 1;
        k += number;
        kk += number * number;
        t += place;
        kt += number * place;
        tt += place * place;
    }
    double period() const { return (w * kt - k * t) / (w * kk - k * k); }
    double origin() const { return (t - period() * k) / w; }
    double rms() const
    {
        const double rest = tt - origin() * t - period() * kt;
        return std::sqrt(std::max(0.0, rest / w));
    }
};

class BeatFinder
{
public:
    BeatFinder(const Track &t, const Coverage &c, const std::vector<Run> &r, double w)
        : track(t), coverage(c), runs(r), gaps(gapsOf(r)), width(w)
    { }

    bool find(DashBeat *beat) const
    {
        if (gaps.size() < kLeastClean)
            return false;
        std::vector<double> lengths;
        for (const Run &gap : gaps)
            lengths.push_back(gap.length());
        beat->gap = usualOf(lengths);
        lengths.clear();
        for (std::size_t k = 1; k + 1 < runs.size(); ++k) {
            if (isAlike(gaps[k - 1].length(), beat->gap) && isAlike(gaps[k].length(), beat->gap))
                lengths.push_back(runs[k].length());
        }
        beat->dash = usualOf(lengths);
        if (!isPossible(*beat) || !fitBeat(beat) || !takeLongest(beat) || hasCorners(*beat))
            return false;
        goOn(1, &beat->last, *beat);
        goOn(-1, &beat->first, *beat);
        return true;
    }

private:
    bool isPossible(const DashBeat &beat) const
    {
        return beat.dash > kLeastDashWidths * width && beat.gap > kLeastGap
            && beat.gap > kLeastGapPart * beat.dash && beat.gap < kMostGapPart * beat.dash
            && (beat.gap < kWideGap * width || beat.gap < kWideGapPart * beat.dash);
    }

    // Counts the middles of the clean gaps by the period, which each of them makes more certain.
    // Where one is off, another row begins; the longest counts.
    bool fitBeat(DashBeat *beat) const
    {
        Steps best;
        int bestLast = 0;
        Steps steps;
        double period = beat->period();
        double number = 0.0;
        double last = 0.0;
        for (const Run &gap : gaps) {
            if (!isAlike(gap.length(), beat->gap))
                continue;
            const double place = middleOf(gap);
            const double step = std::round((place - last) / period);
            const bool isSure = steps.w > 3;
            const double wanted
                = isSure ? steps.origin() + (number + step) * period : last + step * period;
            const double most = isSure ? kStray : kStray + kStrayPart * step * period;
            if (steps.w > 0 && std::fabs(place - wanted) > most) {
                steps = Steps();
                period = beat->period();
            }
            number = steps.w > 0 ? number + step : 0.0;
            last = place;
            steps.add(number, place);
            if (steps.w > 3)
                period = steps.period();
            if (steps.w > best.w) {
                best = steps;
                bestLast = int(number);
            }
        }
        if (best.w < double(kLeastClean) || best.rms() > kOffBeat + kOffBeatPart * beat->period())
            return false;
        beat->dash = best.period() - beat->gap;
        beat->origin = best.origin();
        beat->first = 0;
        beat->last = bestLast;
        return isPossible(*beat);
    }

    // Part of a stretch that is ink, its edges left out.
    double inkIn(double from, double to) const
    {
        const double edge = std::min(kEdge, 0.25 * (to - from));
        from += edge;
        to -= edge;
        double ink = 0.0;
        auto run = std::lower_bound(runs.begin(), runs.end(), from,
                                    [](const Run &r, double at) { return r.to < at; });
        for (; run != runs.end() && run->from < to; ++run)
            ink += std::min(run->to, to) - std::max(run->from, from);
        return ink / (to - from);
    }

    bool isInkBeside(double at) const
    {
        const Point p = track.placeAt(at);
        const Point u = track.headingAt(at);
        const double away = 0.5 * width + kBeside;
        const Point across = { -away * u.y, away * u.x };
        return std::max(coverage.at(p + across), coverage.at(p - across)) >= 0.5;
    }

    bool isInk(double at) const
    {
        const auto run = std::lower_bound(runs.begin(), runs.end(), at,
                                          [](const Run &r, double place) { return r.to < place; });
        return run != runs.end() && run->from <= at;
    }

    // Whether the ink of a gap is that of lines across it: beside most of it there is some as well,
    // as far off as it is beside, for lines aslant.
    bool isExplained(double from, double to) const
    {
        const double slack = 0.5 * width + kBeside;
        int ink = 0;
        int explained = 0;
        for (double at = from + 0.5; at < to; at += 0.5) {
            if (!isInk(at))
                continue;
            ++ink;
            explained += isCrossed(at - slack, at + slack) ? 1 : 0;
        }
        return explained >= kExplained * ink;
    }

    // Whether there is ink beside a stretch.
    bool isCrossed(double from, double to) const
    {
        for (double at = from; at <= to; at += 1.0) {
            if (isInkBeside(at))
                return true;
        }
        return false;
    }

    enum class Is { Clean, Crossed, Wrong };

    double inkOfGap(const DashBeat &beat, int number) const
    {
        const double from = beat.middle(number) - 0.5 * beat.gap;
        return inkIn(from, from + beat.gap);
    }

    Is gapIs(const DashBeat &beat, int number) const
    {
        const double from = beat.middle(number) - 0.5 * beat.gap;
        const double to = from + beat.gap;
        if (inkIn(from, to) <= kEmpty)
            return Is::Clean;
        return isExplained(from, to) ? Is::Crossed : Is::Wrong;
    }

    // The dash behind a gap.
    bool isDashBehind(const DashBeat &beat, int number) const
    {
        const double from = beat.middle(number) + 0.5 * beat.gap;
        return inkIn(from, from + beat.dash) >= kFull;
    }

    // The stretch with most clean gaps in which every dash is ink and every gap clean or crossed;
    // it begins and ends with a clean one. Few gaps may be filled by a dot of another row,
    // beside which there is no ink; paper beside the dot tells the gap.
    bool takeLongest(DashBeat *beat) const
    {
        const DashBeat all = *beat;
        DashBeat now = all;
        int clean = 0;
        int filled = 0;
        int most = 0;
        int mostFilled = 0;
        int inRow = 0; // filled gaps
        for (int number = all.first - 1; number <= all.last + 1; ++number) {
            const Is kind = gapIs(all, number);
            const bool isFilled = kind == Is::Wrong;
            const bool isFull = isFilled && inkOfGap(all, number) > kSeenGap;
            inRow = isFilled ? inRow + 1 : 0;
            if (!isDashBehind(all, number - 1) || !isDashBehind(all, number)
                || inRow > kMostInRow) {
                clean = 0;
                continue;
            }
            filled += isFull && clean > 0 ? 1 : 0;
            if (kind != Is::Clean)
                continue;
            if (clean++ == 0) {
                now.first = number;
                filled = 0;
            }
            now.last = number;
            if (clean > most) {
                most = clean;
                mostFilled = filled;
                *beat = now;
            }
        }
        const double count = double(beat->last - beat->first + 1);
        return most >= int(kLeastClean) && most >= kCleanPart * count
            && mostFilled <= 1.0 + kMostFilled * count;
    }

    // Beyond the last clean gap others may be crossed. What paper is left of one, with a whole dash
    // behind it, is still on the beat; a gap that a line fills leaves it to the next one.
    void goOn(int way, int *end, const DashBeat &beat) const
    {
        int full = 0;
        for (int number = *end + way; full <= kMostInRow; number += way) {
            if (!isDashBehind(beat, way > 0 ? number : number - 1))
                return;
            if (inkOfGap(beat, number) <= kSeenGap) {
                *end = number;
                full = 0;
            } else if (gapIs(beat, number) == Is::Crossed) {
                ++full;
            } else {
                return;
            }
        }
    }

    // Whether there is ink beside the ends of most dashes: these are sides of shapes in a row.
    bool hasCorners(const DashBeat &beat) const
    {
        std::size_t ends = 0;
        std::size_t corners = 0;
        for (int k = beat.first; k <= beat.last; ++k) {
            if (gapIs(beat, k) != Is::Clean)
                continue;
            const double half = 0.5 * beat.gap;
            for (const double way : { -1.0, 1.0 }) {
                const double end = beat.middle(k) + way * half;
                const double inside = std::min(width, 0.5 * beat.dash);
                corners += isCrossed(std::min(end, end + way * inside),
                                     std::max(end, end + way * inside))
                    ? 1u
                    : 0u;
                ++ends;
            }
        }
        return double(corners) > kMostCorners * double(ends);
    }

    const Track &track;
    const Coverage &coverage;
    const std::vector<Run> &runs;
    const std::vector<Run> gaps;
    const double width;
};

} // namespace

bool beatOf(const Track &track, const Coverage &coverage, const std::vector<Run> &runs,
            double width, DashBeat *beat)
{
    return BeatFinder(track, coverage, runs, width).find(beat);
}

} // namespace ztrace::strokes
