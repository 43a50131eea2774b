// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/hatches.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kPi = 3.14159265358979323846;
const double kSlope = 0.03;      // radians between lines of a hatch
const double kUpright = 0.12;    // radians from upright or level that are no slope
const double kMostWidths = 30.0; // widths, and pixels, between neighbours
const double kMostPixels = 12.0;
const double kEven = 0.2; // part of the distance, and pixels, that distances differ by
const double kEvenPixels = 0.8;
const std::size_t kAhead = 24; // lines further on that are looked at for the next

struct Line
{
    int atom = -1;
    double angle = 0.0;  // 0 to pi
    double offset = 0.0; // from the origin, along the family's normal
    double from = 0.0;   // along its direction
    double to = 0.0;
    double width = 0.0;
};

std::vector<Line> linesOf(const Web &web)
{
    std::vector<Line> lines;
    for (std::size_t k = 0; k < web.atoms.size(); ++k) {
        const Atom &atom = web.atoms[k];
        if (!atom.alive || atom.shape != Shape::Line || atom.role != Role::Line
            || atom.dashing.type != DashType::None)
            continue;
        const Point d = atom.place[1] - atom.place[0];
        Line line;
        line.atom = int(k);
        line.width = atom.width;
        line.angle = std::atan2(d.y, d.x);
        line.angle -= kPi * std::floor(line.angle / kPi);
        const double fromAxis = std::fabs(std::remainder(line.angle, 0.5 * kPi));
        if (std::hypot(d.x, d.y) > 2 * atom.width && fromAxis > kUpright)
            lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end(), [](const Line &a, const Line &b) {
        return a.angle < b.angle || (!(b.angle < a.angle) && a.atom < b.atom);
    });
    return lines;
}

// Runs of one distance among the lines of one slope.
class Family
{
public:
    Family(std::vector<Line> l, Web *w) : lines(std::move(l)), web(*w) { }

    // The family, without atoms where it has no hatch.
    HatchFamily mark()
    {
        measure();
        // Longest run that ends with a line, by the line before it and the distance to that.
        std::vector<std::size_t> length(lines.size(), 1);
        std::vector<int> before(lines.size(), -1);
        std::vector<double> step(lines.size(), 0.0);
        for (std::size_t k = 0; k < lines.size(); ++k) {
            const std::size_t end = std::min(lines.size(), k + kAhead);
            for (std::size_t i = k + 1; i < end; ++i) {
                const double distance = lines[i].offset - lines[k].offset;
                if (distance > kMostWidths * lines[k].width + kMostPixels)
                    break;
                if (!isBeside(lines[k], lines[i], distance))
                    continue;
                const bool goesOn = length[k] == 1
                    || std::fabs(distance - step[k]) < kEven * step[k] + kEvenPixels;
                const std::size_t run = goesOn ? length[k] + 1 : 2;
                if (run > length[i]) {
                    length[i] = run;
                    before[i] = int(k);
                    step[i] = distance;
                }
            }
        }
        for (std::size_t k = 0; k < lines.size(); ++k) {
            if (length[k] < kLeastHatch)
                continue;
            std::size_t left = length[k];
            for (int i = int(k); i >= 0 && left > 0; i = before[std::size_t(i)], --left)
                web.atoms[std::size_t(lines[std::size_t(i)].atom)].role = Role::Hatch;
            hasHatch = true;
        }
        HatchFamily family;
        family.direction = direction;
        for (const Line &line : lines) {
            if (hasHatch)
                family.atoms.push_back(line.atom);
        }
        return family;
    }

private:
    // Along and across the direction of all of them.
    void measure()
    {
        double angle = 0.0;
        for (const Line &line : lines)
            angle += line.angle / double(lines.size());
        const Point u = direction = { std::cos(angle), std::sin(angle) };
        for (Line &line : lines) {
            const Atom &atom = web.atoms[std::size_t(line.atom)];
            const double a = fit::dot(atom.place[0], u);
            const double b = fit::dot(atom.place[1], u);
            line.offset = fit::cross(u, 0.5 * (atom.place[0] + atom.place[1]));
            line.from = std::min(a, b);
            line.to = std::max(a, b);
        }
        std::sort(lines.begin(), lines.end(), [](const Line &a, const Line &b) {
            return a.offset < b.offset || (!(b.offset < a.offset) && a.atom < b.atom);
        });
    }

    static bool isBeside(const Line &a, const Line &b, double distance)
    {
        const double common = std::min(a.to, b.to) - std::max(a.from, b.from);
        const double shorter = std::min(a.to - a.from, b.to - b.from);
        return distance > std::max(a.width, b.width) && common > 0.4 * shorter
            && std::fabs(a.width - b.width) < 0.4 * std::max(a.width, b.width) + 0.6;
    }

    std::vector<Line> lines;
    Web &web;
    Point direction = { 1, 0 };
    bool hasHatch = false;
};

} // namespace

std::vector<HatchFamily> takeHatches(Web *web)
{
    std::vector<HatchFamily> families;
    const std::vector<Line> lines = linesOf(*web);
    std::size_t first = 0;
    for (std::size_t k = 1; k <= lines.size(); ++k) {
        // A family is what follows without a step in its slopes, and is not too wide in all.
        if (k < lines.size() && lines[k].angle - lines[k - 1].angle < kSlope
            && lines[k].angle - lines[first].angle < 2 * kSlope)
            continue;
        if (k - first >= kLeastHatch) {
            HatchFamily family = Family(std::vector<Line>(lines.begin() + std::ptrdiff_t(first),
                                                          lines.begin() + std::ptrdiff_t(k)),
                                        web)
                                     .mark();
            if (!family.atoms.empty())
                families.push_back(std::move(family));
        }
        first = k;
    }
    return families;
}

} // namespace ztrace::strokes
