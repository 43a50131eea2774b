// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/solids.h"

#include "strokes/distance.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kLineLengths = 6.0; // widths that a pen has drawn at least, all its lines together
const double kLeastPart = 0.04;  // of the length of all lines that a pen has drawn
const double kWithin = 0.75;     // widths that count as drawn by a pen of 1
// Discs of ink reach by their radius and, in corners of solids, by 1.41 times it.
const double kCorner = 1.45;
// Pixels of the radius of a disc within a part of the ink that is no speck, where no pen is told.
const double kLeastSolid = 2.0;

// How far every cell is from the seeds, by the same distances from what is not "ink". With a rim,
// as what lies beyond the picture counts as none either.
Plane awayFrom(const std::vector<uint32_t> &seeds, const Plane &distance, int rim)
{
    Plane away(distance.width + 2 * rim, distance.height + 2 * rim);
    std::fill(away.cells.begin(), away.cells.end(), uint8_t(1));
    for (uint32_t cell : seeds)
        away.cells[away.cellOf(distance.xOf(cell) + rim, distance.yOf(cell) + rim)] = 0;
    return inkDistance(std::move(away));
}

// The parts of the ink that hold such a disc, all of them; what is left are specks.
Plane wholeParts(Plane *ink)
{
    Plane &distance = *ink;
    Plane solids(distance.width, distance.height);
    const int limit = int(std::lround((kLeastSolid + 0.5) / kDistanceUnit));
    std::vector<uint32_t> open;
    const auto take = [&](int x, int y) {
        if (x < 0 || y < 0 || x >= distance.width || y >= distance.height)
            return;
        const uint32_t cell = distance.cellOf(x, y);
        if (distance.cells[cell] == 0)
            return;
        distance.cells[cell] = 0;
        solids.cells[cell] = 1;
        open.push_back(cell);
    };
    for (std::size_t seed = 0; seed < distance.cells.size(); ++seed) {
        if (distance.cells[seed] < limit)
            continue;
        take(distance.xOf(uint32_t(seed)), distance.yOf(uint32_t(seed)));
        while (!open.empty()) {
            const int x = distance.xOf(open.back());
            const int y = distance.yOf(open.back());
            open.pop_back();
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx)
                    take(x + dx, y + dy);
            }
        }
    }
    const bool any = std::any_of(solids.cells.begin(), solids.cells.end(),
                                 [](uint8_t cell) { return cell != 0; });
    return any ? solids : Plane();
}

} // namespace

double widestPen(const Graph &graph, const Plane &distance)
{
    std::array<std::size_t, 256> counts = {};
    std::size_t all = 0;
    for (const Branch &branch : graph.branches) {
        if (!branch.alive)
            continue;
        for (uint32_t cell : branch.cells)
            ++counts[distance.cells[cell]];
        all += branch.cells.size();
    }
    std::size_t wider = 0; // cells of at least three quarters of the width
    int from = 255;
    for (int value = 255; value > 0; --value) {
        for (; from > kWithin * value; --from)
            wider += counts[std::size_t(from)];
        const double width = 2 * std::max(0.5, radiusOf(uint8_t(value)));
        if (counts[std::size_t(value)] > 0
            && double(wider) >= std::max(kLineLengths * width, kLeastPart * double(all)))
            return width;
    }
    return 0.0;
}

Plane takeSolids(double widest, Plane *ink)
{
    Plane &distance = *ink;
    if (!(widest > 0.0))
        return wholeParts(ink);
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
    const double reach = std::min(kCorner * (radius + 1.0), farthest);
    const int most = int(std::lround(reach / kDistanceUnit));
    const int rim = int(reach) + 1;
    const Plane away = awayFrom(seeds, distance, rim);
    Plane solids(distance.width, distance.height);
    for (std::size_t cell = 0; cell < distance.cells.size(); ++cell) {
        if (distance.cells[cell] == 0)
            continue;
        const int x = distance.xOf(uint32_t(cell)) + rim;
        const int y = distance.yOf(uint32_t(cell)) + rim;
        if (away.cells[away.cellOf(x, y)] > most)
            continue;
        solids.cells[cell] = 1;
        distance.cells[cell] = 0;
    }
    return solids;
}

} // namespace ztrace::strokes
