// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/solids.h"

#include "strokes/distance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace ztrace::strokes {

namespace {

const double kLineLengths = 6.0; // widths that a pen has drawn at least, all its lines together
const double kLeastPart = 0.04;  // of the length of all lines that a pen has drawn
const double kWithin = 0.75;     // widths that count as drawn by a pen of 1
// The same from above: crossings of a pen's own lines have up to 1.41.
const double kBeyondPen = 1.5;
// Widths that a stretch of a pen reaches at least; more: short bars are solid; less: dots on lines,
// which are that wide along half of their diameter, are a pen if there are many.
const double kRunLength = 1.2;
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

// The stretches of the skeleton that are about as wide as a pen, through all nodes on their way.
class PenRuns
{
public:
    // `widest` is the largest distance of each branch.
    PenRuns(const Graph &g, const Plane &d, const std::vector<uint8_t> &w)
        : graph(g), distance(d), widest(w)
    { }

    // Cells of about the distance `value` in stretches that reach as far as `length`, pixels. A
    // dot on a line, or a hub of lines, has each width in one place only.
    std::size_t cellsAlongRuns(int value, double length) const
    {
        std::vector<Reach> reaches(graph.nodes.size());
        std::vector<int> parent(graph.nodes.size());
        std::iota(parent.begin(), parent.end(), 0);
        std::size_t sum = 0;
        for (std::size_t k = 0; k < graph.branches.size(); ++k) {
            const Branch &branch = graph.branches[k];
            if (!branch.alive || widest[k] <= kWithin * value)
                continue;
            Reach run;
            bool fromStart = true;
            for (std::size_t c = 0; c <= branch.cells.size(); ++c) {
                if (c < branch.cells.size() && isOfPen(distance.cells[branch.cells[c]], value)) {
                    run.take(distance.middleOf(branch.cells[c]));
                    continue;
                }
                const bool toEnd = c == branch.cells.size();
                if (run.cells > 0)
                    sum += settle(run, fromStart ? branch.node[0] : -1, toEnd ? branch.node[1] : -1,
                                  length, &reaches, &parent);
                run = Reach();
                fromStart = false;
            }
        }
        for (std::size_t k = 0; k < reaches.size(); ++k) {
            if (parent[k] == int(k) && reaches[k].length() >= length)
                sum += reaches[k].cells;
        }
        return sum;
    }

private:
    struct Reach
    {
        std::size_t cells = 0;
        Point low = { 0, 0 };
        Point high = { 0, 0 };

        void take(Point p) { take({ 1, p, p }); }
        void take(const Reach &other)
        {
            if (other.cells == 0)
                return;
            if (cells == 0)
                *this = { 0, other.low, other.high };
            cells += other.cells;
            low = { std::min(low.x, other.low.x), std::min(low.y, other.low.y) };
            high = { std::max(high.x, other.high.x), std::max(high.y, other.high.y) };
        }
        double length() const { return std::hypot(high.x - low.x, high.y - low.y); }
    };

    static bool isOfPen(int cell, int value)
    {
        return cell > kWithin * value && cell < kBeyondPen * value;
    }

    static int rootOf(int node, std::vector<int> *parent)
    {
        while ((*parent)[std::size_t(node)] != node)
            node = (*parent)[std::size_t(node)]
                = (*parent)[std::size_t((*parent)[std::size_t(node)])];
        return node;
    }

    // Gives a stretch to the nodes it comes from and leads to, -1: none; returns its cells where
    // it has none and is long enough by itself.
    static std::size_t settle(const Reach &run, int from, int to, double length,
                              std::vector<Reach> *reaches, std::vector<int> *parent)
    {
        if (from < 0 && to < 0)
            return run.length() >= length ? run.cells : 0;
        const int first = rootOf(from < 0 ? to : from, parent);
        (*reaches)[std::size_t(first)].take(run);
        const int second = rootOf(to < 0 ? from : to, parent);
        if (second != first) {
            (*parent)[std::size_t(second)] = first;
            (*reaches)[std::size_t(first)].take((*reaches)[std::size_t(second)]);
        }
        return 0;
    }

    const Graph &graph;
    const Plane &distance;
    const std::vector<uint8_t> &widest;
};

} // namespace

double widestPen(const Graph &graph, const Plane &distance)
{
    std::array<std::size_t, 256> counts = {};
    std::vector<uint8_t> widest(graph.branches.size(), uint8_t(0));
    std::size_t all = 0;
    for (std::size_t k = 0; k < graph.branches.size(); ++k) {
        const Branch &branch = graph.branches[k];
        if (!branch.alive)
            continue;
        for (uint32_t cell : branch.cells) {
            ++counts[distance.cells[cell]];
            widest[k] = std::max(widest[k], distance.cells[cell]);
        }
        all += branch.cells.size();
    }
    const PenRuns runs(graph, distance, widest);
    std::size_t wider = 0; // cells of at least three quarters of the width
    int from = 255;
    for (int value = 255; value > 0; --value) {
        for (; from > kWithin * value; --from)
            wider += counts[std::size_t(from)];
        const double width = 2 * std::max(0.5, radiusOf(uint8_t(value)));
        const double least = std::max(kLineLengths * width, kLeastPart * double(all));
        if (counts[std::size_t(value)] > 0 && double(wider) >= least
            && double(runs.cellsAlongRuns(value, kRunLength * width)) >= least)
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
