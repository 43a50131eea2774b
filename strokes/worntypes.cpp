// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/worntypes.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Parts of the long dashes: gaps that are a break of one, what is long, what is short, and what
// long ones differ by, with pixels that noise takes from an end.
const double kBreakPart = 0.08;
const double kLongPart = 0.6;
const double kShortPart = 0.35;
const double kAlikePart = 0.2;
const double kAlikePixels = 3.0;
// Of all long dashes, those that have to be alike, and of all steps those that have to be one or
// more periods: hatches and edges that are broken anywhere keep neither.
const double kLeastAlike = 0.75;
const double kLeastSteps = 0.75;
const double kStepPart = 0.1; // of the period, that a step differs by
const double kMostPeriods = 3.0;
const std::size_t kLeastLongs = 4;
const double kLeastWidths = 4.0; // widths of a long dash
// Of the period: the gap between two long dashes.
const double kLeastGapPart = 0.12;
const double kMostGapPart = 0.5;
const double kLeastGapWidths = 1.2;
// Part of the long dashes that are no longer than a whole one, and what noise takes from the outer
// ends: part of a dash, and pixels.
const double kWholePart = 0.8;
const double kEatenPart = 0.12;
const double kEatenPixels = 2.0;
const double kDotsLeft = 0.33; // part of the gaps in which dots are seen
const double kDotAside = 0.2;  // of a gap, that its one dot lies beside the middle

double quantile(std::vector<double> values, double part)
{
    const auto place = values.begin() + std::ptrdiff_t(part * double(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

double middleOf(const Run &run)
{
    return 0.5 * (run.from + run.to);
}

std::vector<Run> withoutBreaks(const std::vector<Run> &runs, double longest)
{
    std::vector<Run> whole;
    for (const Run &run : runs) {
        if (!whole.empty() && run.from - whole.back().to < kBreakPart * longest)
            whole.back().to = run.to;
        else
            whole.push_back(run);
    }
    return whole;
}

std::vector<double> lengthsOf(const std::vector<Run> &runs)
{
    std::vector<double> lengths;
    for (const Run &run : runs)
        lengths.push_back(run.length());
    return lengths;
}

// What lies in the gaps between long dashes: how many of them have one dot in their middle, or two.
struct Between
{
    std::size_t gaps = 0;
    std::size_t ones = 0;
    std::size_t twos = 0;
    std::vector<double> dots; // how long they are
};

Between lookBetween(const std::vector<Run> &runs, const std::vector<Run> &longs, double longDash,
                    double period)
{
    Between between;
    for (std::size_t k = 1; k < longs.size(); ++k) {
        const double from = longs[k - 1].to;
        const double to = longs[k].from;
        if (middleOf(longs[k]) - middleOf(longs[k - 1]) > (1 + kStepPart) * period)
            continue;
        ++between.gaps;
        std::vector<Run> dots;
        for (const Run &run : runs) {
            if (run.from >= from && run.to <= to && run.length() < kShortPart * longDash)
                dots.push_back(run);
        }
        const bool one = dots.size() == 1
            && std::fabs(middleOf(dots[0]) - 0.5 * (from + to)) < kDotAside * (to - from);
        if (!one && dots.size() != 2)
            continue;
        ++(one ? between.ones : between.twos);
        for (const Run &dot : dots)
            between.dots.push_back(dot.length());
    }
    return between;
}

} // namespace

Dashing wornDashingOf(const std::vector<Run> &dashes, double width)
{
    Dashing dashing;
    if (dashes.size() < kLeastLongs)
        return dashing;
    const double longest = quantile(lengthsOf(dashes), 0.85);
    const std::vector<Run> runs = withoutBreaks(dashes, longest);
    std::vector<Run> longs;
    for (const Run &run : runs) {
        if (run.length() > kLongPart * longest)
            longs.push_back(run);
    }
    if (longs.size() < kLeastLongs)
        return dashing;
    const double longDash = quantile(lengthsOf(longs), 0.5);
    const auto alike = std::count_if(longs.begin(), longs.end(), [&](const Run &run) {
        return std::fabs(run.length() - longDash) < kAlikePart * longDash + kAlikePixels;
    });
    std::vector<double> steps;
    for (std::size_t k = 1; k < longs.size(); ++k)
        steps.push_back(middleOf(longs[k]) - middleOf(longs[k - 1]));
    const double period = quantile(steps, 0.5);
    const auto even = std::count_if(steps.begin(), steps.end(), [&](double step) {
        const double times = std::round(step / period);
        return times >= 1 && times <= kMostPeriods
            && std::fabs(step - times * period) < kStepPart * period + 0.5 * kAlikePixels;
    });
    const double gap = period - longDash;
    if (double(alike) < kLeastAlike * double(longs.size())
        || double(even) < kLeastSteps * double(steps.size()) || longDash < kLeastWidths * width
        || gap < std::max(kLeastGapPart * period, kLeastGapWidths * width)
        || gap > kMostGapPart * period)
        return dashing;
    const Between between = lookBetween(runs, longs, longDash, period);
    const double needed = kDotsLeft * double(between.gaps);
    dashing.pattern = { longDash, gap };
    if (double(between.ones + between.twos) <= needed || between.dots.empty()) {
        dashing.type = DashType::Hidden;
        return dashing;
    }
    const std::size_t dots = double(between.twos) > needed ? 2 : 1;
    const double dot = quantile(between.dots, 0.5);
    const double apart = (gap - double(dots) * dot) / double(dots + 1);
    if (!(apart > 0))
        return Dashing();
    dashing.type = dots == 2 ? DashType::Phantom : DashType::Center;
    dashing.pattern = { longDash, apart };
    for (std::size_t k = 0; k < dots; ++k) {
        dashing.pattern.push_back(dot);
        dashing.pattern.push_back(apart);
    }
    return dashing;
}

void settleOuterDashes(double longDash, double period, std::vector<Run> *runs)
{
    std::vector<Run> longs;
    for (const Run &run : *runs) {
        if (std::fabs(run.length() - longDash) < kAlikePart * longDash + kAlikePixels)
            longs.push_back(run);
    }
    if (longs.size() < kLeastLongs)
        return;
    const double length = std::max(quantile(lengthsOf(longs), kWholePart), longDash);
    // The middles as a line over their numbers.
    double w = 0, k1 = 0, k2 = 0, t1 = 0, kt = 0;
    double number = 0.0;
    double last = middleOf(longs[0]);
    for (const Run &run : longs) {
        number += std::round((middleOf(run) - last) / period);
        last = middleOf(run);
        w += 1;
        k1 += number;
        k2 += number * number;
        t1 += last;
        kt += number * last;
    }
    const double spread = k2 - k1 * k1 / w;
    if (!(spread > 0))
        return;
    const double step = (kt - k1 * t1 / w) / spread;
    const double first = (t1 - step * k1) / w;
    const double from = first - 0.5 * length;
    const double to = first + number * step + 0.5 * length;
    const double most = kEatenPart * length + kEatenPixels;
    if (std::fabs(runs->front().from - from) < most)
        runs->front().from = from;
    if (std::fabs(runs->back().to - to) < most)
        runs->back().to = to;
}

} // namespace ztrace::strokes
