// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/explained.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Lines that cross in such a place: two make no disc as wide as a solid but at very acute angles,
// and a dot that is drawn on their crossing is to stay.
const std::size_t kLeastLines = 3;
// Pixels beside a line's edge that its ink may cover, as the middle of a pixel that it touches is
// within .71 of it; more takes dots away that are little wider than their lines.
const double kEdge = 0.71;
// Part of the cells that no line has to cover: blur fills the notches between lines at an acute
// angle. Hubs of six lines have none in one bit and .009 at most in bad scans, a filled shape with
// two lines .95; a dot twice as wide as a hub is to stay.
const double kUncovered = 0.05;
const double kStep = 0.5; // pixels along a line

const uint8_t kSolid = 1;
const uint8_t kCovered = 2; // by a line
const uint8_t kSeen = 3;    // solid, and counted
const uint8_t kSeenCovered = 4;

class Explainer
{
public:
    Explainer(const std::vector<Atom> &a, Plane *s) : atoms(a), solids(*s) { }

    void run()
    {
        for (std::size_t k = 0; k < atoms.size(); ++k) {
            const Atom &atom = atoms[k];
            if (atom.alive && atom.shape <= Shape::Arc && atom.dashing.type == DashType::None)
                cover(atom, int(k));
        }
        for (std::size_t cell = 0; cell < solids.cells.size(); ++cell) {
            if (solids.cells[cell] == kSolid || solids.cells[cell] == kCovered)
                judgePartAt(uint32_t(cell));
        }
        for (uint8_t &cell : solids.cells)
            cell = cell != 0 ? 1 : 0;
    }

private:
    struct Crossing
    {
        uint32_t cell;
        int atom;
    };

    // Marks the solid cells in the ink of a line or arc, and where it runs through them.
    void cover(const Atom &atom, int number)
    {
        const double length
            = std::hypot(atom.place[1].x - atom.place[0].x, atom.place[1].y - atom.place[0].y);
        if (atom.carrier.arc) {
            for (const Section &section : atom.samples)
                coverAt(section.centre, 0.5 * atom.width + kEdge, number);
            return;
        }
        const int steps = int(length / kStep) + 1;
        for (int k = 0; k <= steps; ++k) {
            const double t = double(k) / steps;
            coverAt(atom.place[0] + t * (atom.place[1] - atom.place[0]), 0.5 * atom.width + kEdge,
                    number);
        }
    }

    void coverAt(Point middle, double reach, int number)
    {
        const int x = int(std::floor(middle.x));
        const int y = int(std::floor(middle.y));
        if (!isInside(x, y) || solids.cells[solids.cellOf(x, y)] == 0)
            return;
        if (crossings.empty() || crossings.back().atom != number
            || crossings.back().cell != solids.cellOf(x, y))
            crossings.push_back({ solids.cellOf(x, y), number });
        const int far = int(reach) + 1;
        for (int v = std::max(0, y - far); v <= std::min(solids.height - 1, y + far); ++v) {
            for (int u = std::max(0, x - far); u <= std::min(solids.width - 1, x + far); ++u) {
                uint8_t &cell = solids.cells[solids.cellOf(u, v)];
                if (cell == kSolid && std::hypot(u + 0.5 - middle.x, v + 0.5 - middle.y) <= reach)
                    cell = kCovered;
            }
        }
    }

    bool isInside(int x, int y) const
    {
        return x >= 0 && y >= 0 && x < solids.width && y < solids.height;
    }

    // Takes the part of the solids away that a cell is of, where its lines make it up.
    void judgePartAt(uint32_t first)
    {
        part.clear();
        take(solids.xOf(first), solids.yOf(first));
        std::size_t uncovered = 0;
        for (std::size_t next = 0; next < part.size(); ++next) {
            const int x = solids.xOf(part[next]);
            const int y = solids.yOf(part[next]);
            uncovered += solids.cells[part[next]] == kSeen ? 1u : 0u;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx)
                    take(x + dx, y + dy);
            }
        }
        if (double(uncovered) > kUncovered * double(part.size()) || linesThrough() < kLeastLines)
            return;
        for (uint32_t cell : part)
            solids.cells[cell] = 0;
    }

    void take(int x, int y)
    {
        if (!isInside(x, y))
            return;
        uint8_t &cell = solids.cells[solids.cellOf(x, y)];
        if (cell != kSolid && cell != kCovered)
            return;
        cell = cell == kSolid ? kSeen : kSeenCovered;
        part.push_back(solids.cellOf(x, y));
    }

    // How many lines run through the part.
    std::size_t linesThrough()
    {
        std::sort(part.begin(), part.end());
        std::vector<int> lines;
        for (const Crossing &crossing : crossings) {
            if (std::binary_search(part.begin(), part.end(), crossing.cell))
                lines.push_back(crossing.atom);
        }
        std::sort(lines.begin(), lines.end());
        return std::size_t(std::unique(lines.begin(), lines.end()) - lines.begin());
    }

    const std::vector<Atom> &atoms;
    Plane &solids;
    std::vector<Crossing> crossings;
    std::vector<uint32_t> part;
};

} // namespace

void dropExplained(const std::vector<Atom> &atoms, Plane *solids)
{
    if (!solids->cells.empty())
        Explainer(atoms, solids).run();
}

} // namespace ztrace::strokes
