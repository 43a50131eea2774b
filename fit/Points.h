// (c) the ztrace developers. Licence: see LICENSE.
//
// The working copy of a chain: finite, without repeats, around an origin of its own, with weights.
#ifndef ZTRACE_FIT_POINTS_H
#define ZTRACE_FIT_POINTS_H

#include "fit/Chain.h"

namespace ztrace::fit {

// Pixels: what a pinned end weighs in free fits. Tighter would let one point turn a long piece.
const double kPinSigma = 0.05;

struct Points
{
    std::vector<double> x; // relative to `origin`
    std::vector<double> y;
    std::vector<double> sigma;
    std::vector<double> weight; // 1 / sigma squared
    std::vector<double> length; // of the walk up to this point; one element more when closed
    std::vector<int> source;    // the point's number in the chain
    Point origin;
    double largestSigma; // of the points
    Edge edge;
    bool closed;
    bool pinnedStart;
    bool pinnedEnd;

    int size() const { return static_cast<int>(x.size()); }
    Point at(int i) const
    {
        const auto k = static_cast<std::size_t>(i);
        return { x[k], y[k] };
    }
    double sigmaOf(int i) const { return sigma[static_cast<std::size_t>(i)]; }
    double weightOf(int i) const { return weight[static_cast<std::size_t>(i)]; }
    // Length of the walk from point i to point j, i <= j.
    double walk(int i, int j) const
    {
        return length[static_cast<std::size_t>(j)] - length[static_cast<std::size_t>(i)];
    }
};

// Never fails; a chain without usable points gives no points.
Points pointsOf(const Chain &chain);

// The same closed chain beginning at another point, 0 <= start < size.
Points rotated(const Points &points, int start);

} // namespace ztrace::fit

#endif
