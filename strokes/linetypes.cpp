// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/linetypes.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace ztrace::strokes {

namespace {

// Part of a length, and pixels, that dashes of one kind may differ by.
const double kDashPart = 0.25;
const double kGapPart = 0.35;
const double kSlack = 1.5;
const double kMostGapPart = 0.7; // of gaps that are no gap of the pattern, at least so many are
const double kOrder = 0.7;       // part of the dashes that keeps the order
const double kLongRatio = 1.9;   // between the long and the short dashes of a chain
const double kDotGap = 0.7;      // part of the gap that a dot is long at most
// The same of what is too short for a dash: blur and a threshold spread dots.
const double kSpreadDotGap = 1.3;
const double kSpreadOffBeat
    = 0.06;                        // of the period: of worn lines bridges leave pieces at any place
const double kDotWidths = 2.2;     // the same in widths of the line
const double kLeastDash = 0.8;     // part of the gap that dashes are long at least
const double kLeastWidths = 1.8;   // widths that a dash is long
const double kLeastGap = 1.6;      // pixels; noise makes shorter ones in thin lines
const double kLeastGapPart = 0.15; // of the dash
const double kLeastDotWidths = 0.35;
const double kLeastChainGap = 1.2;
const double kLeastLong = 3.5; // widths of a long dash
// The first or last dash of a row, into which another line joins a gap and the short dash: pixels,
// and part of the usual length, that it may differ from such a length. More takes uneven rows for
// chains; dashes of 22 pixels are off by one in one bit.
const double kHiddenSlack = 1.5;
const double kHiddenPart = 0.05;
const double kUsualLong = 0.25; // part of the long dashes below the usual one: two may hide some
// Gaps over so many widths have to be shorter than the dashes: edges in a row have such distances.
const double kWideGap = 7.0;
const double kWideGapPart = 0.6;
const double kShortWidths = 6.0; // widths of dashes whose places have to be even
const double kMostGapWidths = 14.0;
const std::size_t kLeastDots = 6; // where lengths say nothing, places have to say more
const double kOffBeat = 0.1;      // part of the period, and pixels, that dashes lie off the beat
const double kOffBeatPixels = 0.7;
const double kJoinedPart = 0.5; // of the gap by which a dash is longer that something has joined
const double kStretch = 0.15;   // part that a pattern is stretched by to end with the last dash

double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

bool isNear(double value, double wanted, double part)
{
    return std::fabs(value - wanted) <= part * wanted + kSlack;
}

// How long each dash and each gap behind it is; an open row has a gap less.
struct Row
{
    std::vector<double> dashes;
    std::vector<double> gaps;
    double gap = 0.0; // median
    bool closed = false;
};

Row rowOf(const std::vector<Run> &runs, double whole)
{
    Row row;
    row.closed = whole > 0.0;
    for (std::size_t k = 0; k < runs.size(); ++k) {
        row.dashes.push_back(runs[k].length());
        if (k + 1 < runs.size())
            row.gaps.push_back(runs[k + 1].from - runs[k].to);
        else if (row.closed)
            row.gaps.push_back(whole - runs[k].to + runs[0].from);
    }
    row.gap = median(row.gaps);
    return row;
}

double partOf(std::size_t count, std::size_t all)
{
    return all > 0 ? double(count) / double(all) : 0.0;
}

bool hasEvenGaps(const Row &row)
{
    std::size_t even = 0;
    for (double gap : row.gaps)
        even += isNear(gap, row.gap, kGapPart) ? 1u : 0u;
    return partOf(even, row.gaps.size()) >= kMostGapPart;
}

// Dashes of one length, or several of them that something has joined. The first and the last may
// have been cut.
bool isEven(const Row &row, double *dash)
{
    *dash = median(row.dashes);
    std::size_t single = 0;
    std::size_t joined = 0;
    const double period = *dash + row.gap;
    for (std::size_t k = 0; k < row.dashes.size(); ++k) {
        const double length = row.dashes[k];
        const double times = std::max(1.0, std::round((length + row.gap) / period));
        const bool fits = isNear(length, times * period - row.gap, kDashPart / times);
        single += fits && times < 1.5 ? 1u : 0u;
        joined += fits && times > 1.5 ? 1u : 0u;
    }
    return partOf(single + joined, row.dashes.size()) >= kOrder
        && partOf(single, row.dashes.size()) >= 0.6;
}

// How far the middles of dashes lie, root of mean square, from places a period apart. What another
// line has joined to a dash has its middle anywhere, and the next would be counted from there.
double offBeat(const std::vector<Run> &all, double dash, double period)
{
    std::vector<Run> runs;
    std::copy_if(all.begin(), all.end(), std::back_inserter(runs), [=](const Run &run) {
        return run.length() < dash + kJoinedPart * (period - dash);
    });
    if (runs.empty())
        return 0.0;
    double beat = 0.0;
    const double start = 0.5 * (runs[0].from + runs[0].to);
    double w = 0, k1 = 0, k2 = 0, t1 = 0, kt = 0, t2 = 0;
    double last = start;
    for (const Run &run : runs) {
        const double middle = 0.5 * (run.from + run.to);
        beat += std::round((middle - last) / period);
        last = middle;
        const double t = middle - start;
        w += 1;
        k1 += beat;
        k2 += beat * beat;
        t1 += t;
        kt += beat * t;
        t2 += t * t;
    }
    const double kk = k2 - k1 * k1 / w;
    const double tt = t2 - t1 * t1 / w;
    const double both = kt - k1 * t1 / w;
    const double rest = kk > 0 ? tt - both * both / kk : tt;
    return std::sqrt(std::max(0.0, rest / w));
}

// Long dashes with the same number of short ones between them.
struct ChainPattern
{
    double longDash = 0.0;
    double shortDash = 0.0;
    std::size_t shorts = 0; // 1 or 2
    bool certain = false;   // no dash is out of order
};

// Lengths above which a dash is long: at the widest step between neighbours in order; 0 where none
// is wide enough.
double limitOf(const Row &row)
{
    std::vector<double> sorted = row.dashes;
    std::sort(sorted.begin(), sorted.end());
    double widest = kLongRatio;
    double limit = 0.0;
    for (std::size_t k = 1; k < sorted.size(); ++k) {
        // A pixel to either counts little, so that dots of one and two pixels are one length.
        const double ratio = (sorted[k] + 1.0) / (sorted[k - 1] + 1.0);
        if (ratio > widest) {
            widest = ratio;
            limit = 0.5 * (sorted[k] + sorted[k - 1]);
        }
    }
    return limit;
}

// How often each number of short dashes comes between two long ones; more than two count as three.
struct Steps
{
    std::size_t count[4] = { 0, 0, 0, 0 };
    std::size_t all = 0;
};

Steps stepsOf(const Row &row, double limit)
{
    Steps steps;
    const std::size_t n = row.dashes.size();
    std::size_t first = 0;
    while (first < n && row.dashes[first] < limit)
        ++first;
    std::size_t shorts = 0;
    const std::size_t end = row.closed ? first + n + 1 : n;
    for (std::size_t k = first + 1; k < end; ++k) {
        if (row.dashes[k % n] < limit) {
            ++shorts;
            continue;
        }
        ++steps.count[std::min<std::size_t>(shorts, 3)];
        ++steps.all;
        shorts = 0;
    }
    return steps;
}

// How many of the ends of an open row are a dash that is longer than usual by a gap and the short
// dashes that are missing behind it: a circle lies over these where its centre lines leave it. In
// the middle of a row noise makes such dashes as well.
std::size_t hiddenSteps(const Row &row, double limit, double usual, double missing)
{
    const std::size_t n = row.dashes.size();
    if (row.closed || n < kLeastDashes)
        return 0;
    const auto hides = [&](double dash, double next) {
        return next >= limit && 2 * (dash - usual) > missing
            && std::fabs(dash - usual - missing) <= kHiddenSlack + kHiddenPart * usual;
    };
    return (hides(row.dashes[0], row.dashes[1]) ? 1u : 0u)
        + (hides(row.dashes[n - 1], row.dashes[n - 2]) ? 1u : 0u);
}

// A length that this part of the values is below.
double lower(std::vector<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0.0 : values[std::size_t(part * double(values.size()))];
}

// `mayHide`: short dashes may lie in other lines, as long as that explains all of the row.
bool isChain(const Row &row, bool mayHide, ChainPattern *chain)
{
    const double limit = limitOf(row);
    if (!(limit > 0.0))
        return false;
    std::vector<double> longs, shorts;
    for (double dash : row.dashes)
        (dash < limit ? shorts : longs).push_back(dash);
    const Steps steps = stepsOf(row, limit);
    if (longs.size() < 2 || steps.all == 0)
        return false;
    chain->shorts = steps.count[2] > steps.count[1] ? 2 : 1;
    chain->longDash = median(longs);
    chain->shortDash = median(shorts);
    // A short dash that lies on another line is not seen, and nor is one that a break took.
    std::size_t orderly = steps.count[chain->shorts];
    if (mayHide && orderly > 0) {
        const double usual = lower(longs, kUsualLong);
        const double missing = double(chain->shorts) * (chain->shortDash + row.gap);
        orderly += hiddenSteps(row, limit, usual, missing);
        chain->longDash = usual;
        if (orderly < steps.all)
            return false;
    }
    if (orderly == 0 || partOf(orderly, steps.all) < 0.5)
        return false;
    chain->certain = orderly == steps.all && steps.all > 1;
    std::size_t fits = 0;
    for (double dash : shorts)
        fits += isNear(dash, chain->shortDash, kGapPart) ? 1u : 0u;
    const double joined
        = double(chain->shorts) * (chain->shortDash + row.gap) + chain->longDash + row.gap;
    for (double dash : longs) {
        const double times = std::max(0.0, std::round((dash - chain->longDash) / joined));
        // The first and the last may be cut; half a pattern may be joined.
        fits += isNear(dash, chain->longDash + times * joined, kDashPart)
                || isNear(dash, chain->longDash + row.gap + chain->shortDash, kDashPart)
            ? 1u
            : 0u;
    }
    return partOf(fits, row.dashes.size()) >= kOrder;
}

bool canBeHidden(double dash, double gap, double width)
{
    if (dash < kLeastDash * gap || dash < kLeastWidths * width
        || gap < std::max(kLeastGap, kLeastGapPart * dash))
        return false;
    return gap < kWideGap * width || gap < kWideGapPart * dash;
}

// What a row with even gaps is, in pixels of ink and gaps in turn; not stretched.
Dashing patternOf(const Row &row, const std::vector<Run> &dashes, double width, bool mayHide)
{
    Dashing dashing;
    double dash = 0.0;
    ChainPattern chain;
    // Long dashes can be as long as several short ones with their gaps are.
    const bool mayBeChain = isChain(row, mayHide, &chain) && chain.longDash > row.gap;
    const bool isSure = mayBeChain && (chain.certain || chain.shortDash < kDotWidths * width + 1.0);
    if (!isSure && isEven(row, &dash)) {
        const double mostOfGap = dash < kLeastWidths * width ? kSpreadDotGap : kDotGap;
        const bool isDot = dash <= mostOfGap * row.gap && dash <= kDotWidths * width + 1.0;
        const bool fits = isDot ? row.dashes.size() >= kLeastDots && dash > kLeastDotWidths * width
                                : canBeHidden(dash, row.gap, width);
        const double period = dash + row.gap;
        if (!fits
            || (dash < kShortWidths * width
                && offBeat(dashes, dash, period) > kOffBeat * period + kOffBeatPixels)
            || (isDot && dash > kDotGap * row.gap
                && offBeat(dashes, dash, period) > kSpreadOffBeat * period))
            return dashing;
        dashing.type = isDot ? DashType::Dot : DashType::Hidden;
        dashing.pattern = { dash, row.gap };
    } else if (mayBeChain && chain.longDash > kLeastLong * width && row.gap > kLeastChainGap) {
        dashing.type = chain.shorts == 2 ? DashType::Phantom : DashType::Center;
        dashing.pattern = { chain.longDash, row.gap };
        for (std::size_t k = 0; k < chain.shorts; ++k) {
            dashing.pattern.push_back(chain.shortDash);
            dashing.pattern.push_back(row.gap);
        }
    }
    return dashing;
}

} // namespace

void stretchPattern(double length, bool closed, std::vector<double> *pattern)
{
    double period = 0.0;
    for (double part : *pattern)
        period += part;
    const double first = closed ? 0.0 : pattern->front();
    const double count = std::max(1.0, std::round((length - first) / period));
    const double factor = length / (count * period + first);
    if (std::fabs(factor - 1.0) > kStretch)
        return;
    for (double &part : *pattern)
        part *= factor;
}

Dashing dashingOf(const std::vector<Run> &dashes, double width, double whole)
{
    const Row row = rowOf(dashes, whole);
    if (row.dashes.size() < kLeastDashes || !hasEvenGaps(row)
        || row.gap > kMostGapWidths * width + 2 * kSlack)
        return Dashing();
    Dashing dashing = patternOf(row, dashes, width, false);
    if (dashing.type == DashType::None)
        dashing = patternOf(row, dashes, width, true);
    if (dashing.type == DashType::None)
        return dashing;
    const double length = row.closed ? whole : dashes.back().to - dashes.front().from;
    stretchPattern(length, row.closed, &dashing.pattern);
    return dashing;
}

} // namespace ztrace::strokes
