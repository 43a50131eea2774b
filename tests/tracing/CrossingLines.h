// (c) the ztrace developers. Licence: see LICENSE.
//
// Which lines cross, looked at one by one: what tells that no boundary runs over another.
#ifndef ZTRACE_TESTS_CROSSINGLINES_H
#define ZTRACE_TESTS_CROSSINGLINES_H

#include "fit/fit.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ztrace {

// How many pairs of lines cross by more than what their curves are cut off by.
inline int crossingLines(const std::vector<fit::Path> &paths)
{
    std::vector<fit::Piece> lines;
    for (const fit::Path &path : paths)
        lines.insert(lines.end(), path.pieces.begin(), path.pieces.end());
    const auto apart = [](const fit::Piece &line, const fit::Piece &other) {
        const fit::Point along = line.end - line.start;
        const double one = cross(along, other.start - line.start);
        const double two = cross(along, other.end - line.start);
        const double off = 0.005 * std::sqrt(dot(along, along));
        return std::min(one, two) < -off && std::max(one, two) > off;
    };
    const auto left = [](const fit::Piece &line) { return std::min(line.start.x, line.end.x); };
    std::sort(lines.begin(), lines.end(), [&](const fit::Piece &one, const fit::Piece &other) {
        return left(one) < left(other);
    });
    int count = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const double right = std::max(lines[i].start.x, lines[i].end.x);
        for (std::size_t k = i + 1; k < lines.size() && left(lines[k]) <= right; ++k)
            count += apart(lines[i], lines[k]) && apart(lines[k], lines[i]);
    }
    return count;
}

} // namespace ztrace

#endif
