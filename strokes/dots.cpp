// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dots.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kDotWidths = 3.0; // widths of a line
const double kWide = 0.9;      // part of the length of all lines that is no wider than the widest
const std::size_t kSome = 8;   // cross-sections that have a voice in it
const int kLeastDot = 5;       // pixels

class DotFinder
{
public:
    DotFinder(const Plane &d, int m) : distance(d), most(m), seen(d.width, d.height) { }

    // Ink that is not to be looked at.
    void mark(Point place)
    {
        const int x = std::clamp(int(std::floor(place.x)), 0, distance.width - 1);
        const int y = std::clamp(int(std::floor(place.y)), 0, distance.height - 1);
        seen.cells[seen.cellOf(x, y)] = kTaken;
    }

    void lookAt(uint32_t cell)
    {
        if (distance.cells[cell] == 0 || seen.cells[cell] != 0)
            return;
        bool whole = true;
        const std::vector<uint32_t> part = partAround(cell, &whole);
        if (whole)
            dots.push_back(dotOf(part));
    }

    std::vector<Dot> dots;

private:
    // What touches the cell, by sides and corners, until it is too large or taken.
    std::vector<uint32_t> partAround(uint32_t cell, bool *whole)
    {
        const int stride = distance.stride();
        const int steps[]
            = { 1, -1, stride, -stride, stride + 1, stride - 1, 1 - stride, -1 - stride };
        std::vector<uint32_t> part(1, cell);
        seen.cells[cell] = kSeen;
        for (std::size_t k = 0; k < part.size(); ++k) {
            if (std::abs(distance.xOf(part[k]) - distance.xOf(cell)) > most
                || std::abs(distance.yOf(part[k]) - distance.yOf(cell)) > most) {
                *whole = false;
                return part;
            }
            for (int step : steps) {
                const uint32_t next = uint32_t(int64_t(part[k]) + step);
                if (distance.cells[next] == 0 || seen.cells[next] == kSeen)
                    continue;
                *whole = *whole && seen.cells[next] != kTaken;
                seen.cells[next] = kSeen;
                part.push_back(next);
            }
        }
        return part;
    }

    Dot dotOf(const std::vector<uint32_t> &part) const
    {
        Dot dot;
        dot.pixels = int(part.size());
        const double w = 1.0 / double(part.size());
        for (uint32_t cell : part)
            dot.centre = dot.centre + w * distance.middleOf(cell);
        double xx = 0, xy = 0, yy = 0;
        for (uint32_t cell : part) {
            const Point d = distance.middleOf(cell) - dot.centre;
            xx += w * d.x * d.x;
            xy += w * d.x * d.y;
            yy += w * d.y * d.y;
        }
        const double angle = 0.5 * std::atan2(2 * xy, xx - yy);
        dot.axis = { std::cos(angle), std::sin(angle) };
        const double half = std::hypot(0.5 * (xx - yy), xy);
        // A bar of n pixels has a variance of (n * n - 1) / 12.
        dot.length[0] = std::sqrt(12 * (0.5 * (xx + yy) + half) + 1);
        dot.length[1] = std::sqrt(12 * std::max(0.0, 0.5 * (xx + yy) - half) + 1);
        return dot;
    }

    static const uint8_t kSeen = 1;
    static const uint8_t kTaken = 2;
    const Plane &distance;
    const int most;
    Plane seen;
};

} // namespace

int mostOfDot(const Cores &cores)
{
    std::vector<double> widths;
    for (const Core &core : cores.cores)
        widths.insert(widths.end(), core.samples.size() / kSome, core.width);
    if (widths.empty())
        return kLeastDot;
    const auto wide = widths.begin() + std::ptrdiff_t(double(widths.size() - 1) * kWide);
    std::nth_element(widths.begin(), wide, widths.end());
    return std::max(kLeastDot, int(std::lround(kDotWidths * *wide)));
}

std::vector<Dot> dotsOf(const Graph &graph, const Plane &distance, const std::vector<Atom> &atoms,
                        int most)
{
    DotFinder finder(distance, most);
    for (const Atom &atom : atoms) {
        for (const Section &section : atom.samples)
            finder.mark(section.centre);
    }
    for (const Node &node : graph.nodes) {
        if (node.ends.size() <= 1) {
            const int x = std::clamp(int(std::floor(node.place.x)), 0, distance.width - 1);
            const int y = std::clamp(int(std::floor(node.place.y)), 0, distance.height - 1);
            finder.lookAt(distance.cellOf(x, y));
        }
    }
    for (const Branch &branch : graph.branches) {
        if (branch.alive && branch.closed() && !branch.cells.empty() && branch.cells.size() < 8)
            finder.lookAt(branch.cells.front());
    }
    return std::move(finder.dots);
}

} // namespace ztrace::strokes
