// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/solids.h"

#include "strokes/distance.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kLineLengths = 6.0; // widths that a branch is long which a pen has drawn
const double kLeastPart = 0.02;  // of the length of all lines that a pen has drawn
// Discs of ink reach by their radius and, in corners of solids, by 1.41 times it.
const double kCorner = 1.45;

double medianRadius(const Branch &branch, const Plane &distance)
{
    std::vector<uint8_t> values;
    values.reserve(branch.cells.size());
    for (uint32_t cell : branch.cells)
        values.push_back(distance.cells[cell]);
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return std::max(0.5, radiusOf(*middle));
}

} // namespace

double widestPen(const Graph &graph, const Plane &distance)
{
    std::vector<std::pair<double, double>> lines; // width, length
    double all = 0.0;
    for (const Branch &branch : graph.branches) {
        if (!branch.alive || branch.cells.empty())
            continue;
        const double width = 2 * medianRadius(branch, distance);
        const double length = double(branch.cells.size());
        if (length < kLineLengths * width)
            continue;
        lines.push_back({ width, length });
        all += length;
    }
    std::sort(lines.begin(), lines.end());
    double seen = 0.0;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        seen += line->second;
        if (seen >= kLeastPart * all)
            return line->first;
    }
    return 0.0;
}

Plane takeSolids(double widest, Plane *ink)
{
    Plane &distance = *ink;
    const double radius = 0.5 * kSolidWidths * widest;
    const double farthest = kFarthestInk - 1.0;
    const int limit = int(std::lround((std::min(radius, farthest) + 0.5) / kDistanceUnit));
    std::vector<uint32_t> seeds;
    for (std::size_t cell = 0; cell < distance.cells.size(); ++cell) {
        if (distance.cells[cell] > limit)
            seeds.push_back(uint32_t(cell));
    }
    if (seeds.empty())
        return Plane();
    // How far every cell is from the seeds, by the same distances from what is not "ink".
    Plane away(distance.width, distance.height);
    std::fill(away.cells.begin(), away.cells.end(), uint8_t(1));
    for (uint32_t cell : seeds)
        away.cells[cell] = 0;
    away = inkDistance(std::move(away));
    const double reach = std::min(kCorner * (radius + 1.0), farthest);
    const int most = int(std::lround(reach / kDistanceUnit));
    Plane solids(distance.width, distance.height);
    for (std::size_t cell = 0; cell < away.cells.size(); ++cell) {
        if (distance.cells[cell] == 0 || away.cells[cell] > most)
            continue;
        solids.cells[cell] = 1;
        distance.cells[cell] = 0;
    }
    return solids;
}

} // namespace ztrace::strokes
