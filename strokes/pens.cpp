// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/pens.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ztrace::strokes {

namespace {

// The logarithm of widths is looked at in steps, smoothed over neighbours: drawn pens differ by a
// factor of 1.4, scans widen thin pens more than thick ones.
const double kStep = 0.04;
const int kSmoothing = 3;       // steps to either side
const double kValley = 0.6;     // part of the lower of two peaks that the valley between may reach
const double kLeastPart = 0.01; // of all length that makes a pen
const double kLeastWidth = 0.3; // pixels

int binOf(double width)
{
    return int(std::lround(std::log(std::max(width, kLeastWidth) / kLeastWidth) / kStep));
}

std::vector<double> smoothed(const std::vector<double> &bins)
{
    const int n = int(bins.size());
    std::vector<double> result(bins.size(), 0.0);
    for (int i = 0; i < n; ++i) {
        for (int d = -kSmoothing; d <= kSmoothing; ++d) {
            const int k = i + d;
            if (k >= 0 && k < n)
                result[std::size_t(i)] += bins[std::size_t(k)] * (kSmoothing + 1 - std::abs(d));
        }
    }
    return result;
}

// The first bins of all pens but the first.
std::vector<int> valleysOf(const std::vector<double> &bins, double least)
{
    std::vector<int> valleys;
    double peak = 0.0;
    double lowest = 0.0;
    int at = 0;
    for (int i = 0; i < int(bins.size()); ++i) {
        const double value = bins[std::size_t(i)];
        if (value < lowest) {
            lowest = value;
            at = i;
        }
        if (value > least && peak > least && lowest < kValley * std::min(peak, value)) {
            valleys.push_back(at);
            peak = value;
            lowest = value;
        } else if (value > peak) {
            peak = value;
            lowest = value;
        }
    }
    return valleys;
}

double medianWidth(const std::vector<DrawnWidth> &drawn, const std::vector<int> &members)
{
    std::vector<int> order = members;
    std::sort(order.begin(), order.end(), [&drawn](int a, int b) {
        return drawn[std::size_t(a)].width < drawn[std::size_t(b)].width;
    });
    double all = 0.0;
    for (int k : order)
        all += drawn[std::size_t(k)].length;
    double seen = 0.0;
    for (int k : order) {
        seen += drawn[std::size_t(k)].length;
        if (2 * seen >= all)
            return drawn[std::size_t(k)].width;
    }
    return 0.0;
}

} // namespace

Pens pensOf(const std::vector<DrawnWidth> &drawn)
{
    Pens pens;
    pens.penOf.assign(drawn.size(), -1);
    if (drawn.empty())
        return pens;
    int last = 0;
    double all = 0.0;
    for (const DrawnWidth &one : drawn) {
        last = std::max(last, binOf(one.width));
        all += one.length;
    }
    std::vector<double> bins(std::size_t(last) + 1, 0.0);
    for (const DrawnWidth &one : drawn)
        bins[std::size_t(binOf(one.width))] += one.length;
    const double most = kLeastPart * all * (kSmoothing + 1);
    const std::vector<int> valleys = valleysOf(smoothed(bins), most);
    std::vector<std::vector<int>> members(valleys.size() + 1);
    for (std::size_t k = 0; k < drawn.size(); ++k) {
        const auto above = std::upper_bound(valleys.begin(), valleys.end(), binOf(drawn[k].width));
        pens.penOf[k] = int(above - valleys.begin());
        members[std::size_t(pens.penOf[k])].push_back(int(k));
    }
    for (const std::vector<int> &group : members)
        pens.widths.push_back(medianWidth(drawn, group));
    return pens;
}

} // namespace ztrace::strokes
