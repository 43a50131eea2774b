// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dips.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5;        // pixels between levels
const double kLongStep = 1.0;    // of lines longer than kLong
const double kLong = 400.0;      // pixels
const double kRow = 0.25;        // of the width, between the rows that a level is the mean of
const double kAsideOfEdge = 2.5; // pixels from a line's edge at which there is no ink of its own
const double kOther = 0.35;      // coverage there that is the ink of another line
const double kSoftEdge = 2.5;    // pixels over which blur spreads the end of a dash
const double kLeastOwn = 0.5;    // part of the profile that shows the line alone
const double kDip = 0.6;         // of the usual level, below which a level lies in a dip
const double kLeastDips = 0.06;  // part of the profile that is in dips
const double kMostDips = 0.6;
const double kExplained = 0.55; // part of the variance that a pattern explains at least
const double kDeepest = 0.6;    // level in the gaps, of that in the dashes, at most
const int kMostPeriods = 40;
const double kLeastPeriod = 2.5; // widths, and pixels
const double kLeastPeriodPixels = 4.0;

// Parts of a period: ink and gaps in turn.
struct Layout
{
    DashType type;
    int shorts;
    double gap;     // of the period
    double shortly; // the short dash, of the gap
};

// Squares about a mean.
struct Fit
{
    double explained = -1.0;
    double high = 0.0;
    double low = 0.0;
};

// The ink of a pattern from its begin to t, pixels, for a t that never becomes less; t of at least
// 0. A line has thousands of places and hundreds of patterns: each goes on from the place before.
class InkUpTo
{
public:
    explicit InkUpTo(const std::vector<double> &p) : pattern(p), to(p.front()) { }

    double operator()(double t)
    {
        while (t > to) {
            sum += part % 2 == 0 ? to - from : 0.0;
            from = to;
            part = part + 1 < pattern.size() ? part + 1 : 0;
            to += pattern[part];
        }
        return sum + (part % 2 == 0 ? t - from : 0.0);
    }

private:
    const std::vector<double> &pattern;
    std::size_t part = 0;
    double from = 0.0;
    double to;
    double sum = 0.0;
};

// How well levels of a pattern, two of them to be found, explain a profile.
Fit fitOf(const InkProfile &profile, const std::vector<double> &pattern)
{
    InkUpTo ahead(pattern);
    InkUpTo behind(pattern);
    double n = 0, x1 = 0, x2 = 0, y1 = 0, y2 = 0, xy = 0;
    for (std::size_t i = 0; i < profile.levels.size(); ++i) {
        if (!profile.isOwn[i])
            continue;
        // From a whole period before the begin on, as its first dash goes on there.
        const double t = double(i) * profile.step;
        const double from = std::max(0.0, t - 0.5 * kSoftEdge);
        const double x = (ahead(t + 0.5 * kSoftEdge) - behind(from)) / (t + 0.5 * kSoftEdge - from);
        const double y = double(profile.levels[i]);
        n += 1;
        x1 += x;
        x2 += x * x;
        y1 += y;
        y2 += y * y;
        xy += x * y;
    }
    Fit fit;
    const double xx = x2 - x1 * x1 / n;
    const double yy = y2 - y1 * y1 / n;
    const double both = xy - x1 * y1 / n;
    if (!(xx > 1e-6) || !(yy > 1e-6) || both <= 0)
        return fit;
    fit.explained = both * both / (xx * yy);
    fit.low = y1 / n - both / xx * x1 / n;
    fit.high = fit.low + both / xx;
    return fit;
}

// That many periods and the first dash take the length.
std::vector<double> patternOf(const Layout &shape, int periods, double length)
{
    const double rest = shape.gap * (shape.shorts + 1 + shape.shorts * shape.shortly);
    const double period = length / (periods + 1 - rest);
    std::vector<double> pattern = { (1 - rest) * period, shape.gap * period };
    for (int k = 0; k < shape.shorts; ++k) {
        pattern.push_back(shape.shortly * shape.gap * period);
        pattern.push_back(shape.gap * period);
    }
    return pattern;
}

std::vector<Layout> layouts()
{
    std::vector<Layout> all;
    for (double gap : { 0.15, 0.2, 0.25, 0.3, 0.37, 0.44 })
        all.push_back({ DashType::Hidden, 0, gap, 0.0 });
    for (double gap : { 0.05, 0.07, 0.09, 0.11, 0.14, 0.17 }) {
        for (double shortly : { 0.4, 1.0, 2.0 }) {
            all.push_back({ DashType::Center, 1, gap, shortly });
            all.push_back({ DashType::Phantom, 2, gap, shortly });
        }
    }
    return all;
}

bool hasDips(const InkProfile &profile)
{
    std::vector<float> own;
    for (std::size_t i = 0; i < profile.levels.size(); ++i) {
        if (profile.isOwn[i])
            own.push_back(profile.levels[i]);
    }
    if (double(own.size()) < kLeastOwn * double(profile.levels.size()) || own.size() < 16)
        return false;
    const auto high = own.begin() + std::ptrdiff_t(0.7 * double(own.size()));
    std::nth_element(own.begin(), high, own.end());
    const float dip = float(kDip) * *high;
    const auto low = std::count_if(own.begin(), own.end(), [dip](float v) { return v < dip; });
    const double part = double(low) / double(own.size());
    return part > kLeastDips && part < kMostDips;
}

} // namespace

InkProfile profileOf(const Track &track, const Coverage &coverage, double length, double width)
{
    InkProfile profile;
    profile.step = length > kLong ? kLongStep : kStep;
    const int steps = int(length / profile.step);
    profile.levels.reserve(std::size_t(steps) + 1);
    for (int k = 0; k <= steps; ++k) {
        const Point p = track.placeAt(k * profile.step);
        const Point u = track.headingAt(k * profile.step);
        const Point across = { -u.y, u.x };
        const Point row = kRow * width * across;
        const Point beside = (0.5 * width + kAsideOfEdge) * across;
        profile.levels.push_back(
            float((coverage.at(p) + coverage.at(p + row) + coverage.at(p - row)) / 3));
        profile.isOwn.push_back(coverage.at(p + beside) < kOther
                                && coverage.at(p - beside) < kOther);
    }
    return profile;
}

Dashing dashingOfDips(const InkProfile &profile, double width)
{
    Dashing dashing;
    if (!hasDips(profile))
        return dashing;
    const double length = profile.step * double(profile.levels.size() - 1);
    const double least = kLeastPeriod * width + kLeastPeriodPixels;
    double best = kExplained;
    for (const Layout &shape : layouts()) {
        const int fewest = shape.shorts == 0 ? 3 : 2;
        const int most = std::min(kMostPeriods, int(length / ((shape.shorts + 1) * least)));
        for (int periods = fewest; periods <= most; ++periods) {
            std::vector<double> pattern = patternOf(shape, periods, length);
            const Fit fit = fitOf(profile, pattern);
            if (fit.explained < best || fit.low > kDeepest * fit.high)
                continue;
            best = fit.explained;
            dashing.type = shape.type;
            dashing.pattern = std::move(pattern);
        }
    }
    return dashing;
}

void takeDips(const Coverage &coverage, Web *web)
{
    for (Atom &atom : web->atoms) {
        if (!atom.alive || atom.shape > Shape::Arc || atom.role != Role::Line
            || atom.dashing.type != DashType::None || atom.samples.empty())
            continue;
        const Point middle = atom.samples[atom.samples.size() / 2].centre;
        const Track track(atom.carrier, atom.place[0], middle);
        const double length = track.lengthAt(atom.place[1]);
        if (!(length > 4 * (kLeastPeriod * atom.width + kLeastPeriodPixels)))
            continue;
        atom.dashing = dashingOfDips(profileOf(track, coverage, length, atom.width), atom.width);
    }
}

} // namespace ztrace::strokes
