// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/linedots.h"

#include "strokes/distance.h"
#include "strokes/pieces.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace ztrace::strokes {

namespace {

const double kLeastRadius = 2.0; // pixels of a dot
// Pixels beside a line's edge that count as its ink: steps of one bit are .5 px.
const double kEdge = 0.5;
// Part of a dot that its lines leave uncovered: of dots 3.3 times as wide as two lines of 3 px on
// whose crossing they are, .12; of crossings themselves none.
const double kLeastUncovered = 0.12;
const int kLeastCells = 5; // that are uncovered
// Pixels around a dot in which there is hardly any ink but lines', and the part of it that may be:
// sides of filled shapes go on, and the rim of a dot is soft.
const double kRimFrom = 0.7;
const double kRimTo = 2.3;
const double kMostAround = 0.1;
// Pixels that a disc reaches beyond the nearest paper's pixel: between 0 and 1, as the skeleton's
// cell is at most .7 px beside its middle.
const double kBeyond = 0.5;
const double kStep = 0.5; // pixels along a line
// Rays from the middle of a dot to its edge, the part of them that has to get there, lines being in
// the way of the others, and pixels that its edge may be off a circle's. Squares of 8 px are .6
// off.
const std::size_t kRays = 64;
const double kLeastRays = 0.4;
const double kLeastFitting = 0.7; // of those that get there: sides of arrow heads are no circle's
const double kMostOffHard = 0.35; // steps of one bit
const double kMostOffSoft = 0.2;
const double kRayStep = 0.25;
const double kFrom = 0.6;       // parts of the supposed radius where an edge is looked for at first
const double kMostChange = 1.5; // pixels between the supposed radius and the fitted one

// Half widths of the widest line that a dot has at least. Corners, places where a thin line meets a
// thick one and notches between lines that part have up to 2 and rarely more; less: seven such dots
// in 104 clean drawings at 1.9, two at 2.2.
const double kLeastWidths = 2.2;
// Pixels that its radius has more in noisy scans, where lines are in blots: 55 dots on one drawing
// of four states without it.
const double kNoisyMore = 2.0;

// Of dots by themselves: pixels at the least, times as long as wide, pixels more that steps make of
// it, and the part of the ellipse around them that is ink: full stops and stipple have .9 to 1.1,
// rings less.
const int kLeastLone = 4;
const double kRound = 1.3;
const double kRoundStep = 0.5;
const double kLeastFilled = 0.8;

// Pixels that the middles of a disc's pixels may lie beside its edge, and the ink that may be
// farther out, in pixels and in parts of the disc: steps of one bit have .3 and less of a pixel,
// corners of squares from 9 pixels on more than both. Of smaller squares pixels do not tell.
const double kBesideDisc = 0.7;
const double kLeastCorners = 0.7;
const double kMostCorners = 0.012;

// Half widths beside lettering: bars of letters shorter than wide are drawn with their neighbours.
const double kBesideLetters = 2.0;

// Cells hold half the width of the widest line there, in quarters of a pixel, or that:
const uint8_t kOther = 255; // covered by lettering, an arrow head or a dot

// Where a ray leaves the ink, from `from` to `to` pixels away; negative where it does not.
double edgeAlong(const Coverage &coverage, Point middle, Point way, double from, double to)
{
    double before = coverage.at(middle + from * way);
    if (before < 0.5)
        return -1.0;
    for (double far = from + kRayStep; far <= to; far += kRayStep) {
        const double here = coverage.at(middle + far * way);
        if (here < 0.5)
            return far - kRayStep * (0.5 - here) / (before - here);
        before = here;
    }
    return -1.0;
}

// The circle of least squares of x^2 + y^2 - 2 a x - 2 b y - c around `middle`.
LineDot circleThrough(const std::vector<Point> &points, Point middle)
{
    double xx = 0, xy = 0, yy = 0, x = 0, y = 0, xz = 0, yz = 0, z = 0;
    for (const Point &p : points) {
        const Point q = p - middle;
        const double square = q.x * q.x + q.y * q.y;
        xx += q.x * q.x;
        xy += q.x * q.y;
        yy += q.y * q.y;
        x += q.x;
        y += q.y;
        xz += q.x * square;
        yz += q.y * square;
        z += square;
    }
    const double n = double(points.size());
    const double a = xx - x * x / n;
    const double b = xy - x * y / n;
    const double c = yy - y * y / n;
    const double u = 0.5 * (xz - x * z / n);
    const double v = 0.5 * (yz - y * z / n);
    const double det = a * c - b * b;
    if (!(det > 0.0))
        return {};
    const Point off = { (u * c - v * b) / det, (v * a - u * b) / det };
    const double square = (z - 2 * off.x * x - 2 * off.y * y) / n + off.x * off.x + off.y * off.y;
    return { middle + off, std::sqrt(std::max(0.0, square)), 0 };
}

// The disc around a place, by rays to its edge; radius 0 where there is none, or nothing runs into
// it. Edges beside lines are none of its own and lie off the circle of the others.
LineDot discAt(const Coverage &coverage, Point middle, double radius, double mostOff)
{
    std::vector<Point> ways;
    std::vector<double> lengths;
    for (std::size_t k = 0; k < kRays; ++k) {
        const double angle = 2 * M_PI * double(k) / double(kRays);
        ways.push_back({ std::cos(angle), std::sin(angle) });
        lengths.push_back(
            edgeAlong(coverage, middle, ways.back(), kFrom * radius, radius + kRimTo));
    }
    // Beside a line a ray sees that line's soft edge.
    std::vector<Point> edges;
    bool isFree = true;
    for (std::size_t k = 0; k < kRays; ++k) {
        const double before = lengths[(k + kRays - 1) % kRays];
        const double after = lengths[(k + 1) % kRays];
        isFree = isFree && lengths[k] > 0.0;
        if (std::min({ before, lengths[k], after }) > 0.0)
            edges.push_back(middle + lengths[k] * ways[k]);
    }
    if (isFree)
        return {};
    LineDot dot;
    const double least = std::max(kLeastRays * double(kRays), kLeastFitting * double(edges.size()));
    for (bool isSettled = false; !isSettled;) {
        if (double(edges.size()) < least)
            return {};
        dot = circleThrough(edges, middle);
        const auto offOf = [&dot](Point p) {
            return std::fabs(std::hypot(p.x - dot.centre.x, p.y - dot.centre.y) - dot.radius);
        };
        const auto worst = std::max_element(edges.begin(), edges.end(),
                                            [&](Point a, Point b) { return offOf(a) < offOf(b); });
        isSettled = offOf(*worst) <= mostOff;
        if (!isSettled)
            edges.erase(worst);
    }
    return std::fabs(dot.radius - radius) <= kMostChange ? dot : LineDot();
}

// Whether all pixels well inside of a disc are ink. Rings of much ink are no dots.
bool isFilled(const Coverage &coverage, const LineDot &dot)
{
    const double inside = dot.radius - 1.0;
    for (int y = int(dot.centre.y - inside); y <= int(dot.centre.y + inside); ++y) {
        for (int x = int(dot.centre.x - inside); x <= int(dot.centre.x + inside); ++x) {
            if (std::hypot(x + 0.5 - dot.centre.x, y + 0.5 - dot.centre.y) < inside
                && coverage.ofPixel(x, y) < 0.5)
                return false;
        }
    }
    return true;
}

bool isRound(const Dot &part)
{
    const double ellipse = 0.25 * M_PI * part.length[0] * part.length[1];
    return part.pixels >= kLeastLone && part.length[0] <= kRound * part.length[1] + kRoundStep
        && part.pixels >= kLeastFilled * ellipse;
}

// The circle that has as much ink as a part and the pixels around it, with their centre of gravity.
LineDot roundedOff(const Coverage &coverage, const Dot &part)
{
    const double reach = 0.5 * part.length[0] + 1.5;
    double ink = 0.0;
    Point sum = { 0, 0 };
    for (int y = int(std::floor(part.centre.y - reach)); y <= int(part.centre.y + reach); ++y) {
        for (int x = int(std::floor(part.centre.x - reach)); x <= int(part.centre.x + reach); ++x) {
            const Point middle = { x + 0.5, y + 0.5 };
            if (std::hypot(middle.x - part.centre.x, middle.y - part.centre.y) > reach)
                continue;
            const double here = std::clamp(coverage.ofPixel(x, y), 0.0, 1.0);
            ink += here;
            sum = sum + here * middle;
        }
    }
    if (!(ink > 0.0))
        return { part.centre, std::sqrt(part.pixels / M_PI), 0 };
    return { (1.0 / ink) * sum, std::sqrt(ink / M_PI), 0 };
}

// Whether all ink of a round part lies in its disc, which is ink throughout: not of a square, or of
// one with a hole.
bool isDisc(const Coverage &coverage, const LineDot &dot)
{
    const double reach = std::sqrt(2.0) * dot.radius + 1.0;
    double corners = 0.0;
    for (int y = int(std::floor(dot.centre.y - reach)); y <= int(dot.centre.y + reach); ++y) {
        for (int x = int(std::floor(dot.centre.x - reach)); x <= int(dot.centre.x + reach); ++x) {
            const double far = std::hypot(x + 0.5 - dot.centre.x, y + 0.5 - dot.centre.y);
            if (far > dot.radius + kBesideDisc && far <= reach)
                corners += std::clamp(coverage.ofPixel(x, y), 0.0, 1.0);
        }
    }
    return corners <= std::max(kLeastCorners, kMostCorners * M_PI * dot.radius * dot.radius)
        && isFilled(coverage, dot);
}

double mostOffOf(const DotLimits &limits)
{
    return limits.hard ? kMostOffHard : kMostOffSoft;
}

// Pixels of the radius of what is a dot.
double leastOf(const DotLimits &limits)
{
    return kLeastRadius + (limits.noisy ? kNoisyMore : 0.0);
}

class Finder
{
public:
    Finder(const Coverage &c, const Plane &d, const DotLimits &l, std::vector<LineDot> *found)
        : coverage(c), distance(d), covered(d.width, d.height), limits(l), dots(*found)
    { }

    void cover(const std::vector<Atom> &atoms)
    {
        for (const Atom &atom : atoms) {
            if (!atom.alive)
                continue;
            const double half = 0.5 * atom.width;
            const uint8_t mark = atom.role == Role::Text
                ? kOther
                : uint8_t(std::clamp(half / kDistanceUnit, 1.0, kOther - 1.0));
            const double reach = half + kEdge + (mark == kOther ? kBesideLetters * half : 0.0);
            if (atom.shape != Shape::Line) {
                for (const Section &section : atom.samples)
                    coverAt(section.centre, reach, mark);
                continue;
            }
            // Corners are as far beyond the places where lines end as they are wide.
            const Point way = atom.place[1] - atom.place[0];
            const double length = std::hypot(way.x, way.y);
            const Point step = (kStep / std::max(length, kStep)) * way;
            const int beyond = int(half / kStep) + 1;
            const int steps = int(length / kStep) + beyond;
            for (int k = -beyond; k <= steps; ++k)
                coverAt(atom.place[0] + double(k) * step, reach, mark);
        }
    }

    void cover(const DrawnPiece &drawn)
    {
        const double reach = 0.5 * drawn.width + kEdge;
        const int steps = int(lengthOf(drawn.piece) / kStep) + 1;
        for (int k = 0; k <= steps; ++k)
            coverAt(fit::pointAt(drawn.piece, double(k) / steps), reach, kOther);
    }

    bool isCovered(Point place) const
    {
        const int x = std::clamp(int(std::floor(place.x)), 0, distance.width - 1);
        const int y = std::clamp(int(std::floor(place.y)), 0, distance.height - 1);
        return covered.cells[covered.cellOf(x, y)] != 0;
    }

    // Heads of arrows are wide as dots are.
    void cover(const Arrow &arrow)
    {
        const Point middle = { (arrow.corner[0].x + arrow.corner[1].x + arrow.corner[2].x) / 3,
                               (arrow.corner[0].y + arrow.corner[1].y + arrow.corner[2].y) / 3 };
        double reach = 0.0;
        for (const Point &corner : arrow.corner)
            reach = std::max(reach, std::hypot(corner.x - middle.x, corner.y - middle.y));
        coverAt(middle, reach, kOther);
    }

    void cover(const LineDot &dot) { coverAt(dot.centre, dot.radius + 1.0, kOther); }

    void take(uint32_t cell)
    {
        const Point middle = distance.middleOf(cell);
        const double radius = radiusOf(distance.cells[cell]) + kBeyond;
        if (!isDot(middle, radius))
            return;
        const LineDot dot = discAt(coverage, middle, radius, mostOffOf(limits));
        if (!(dot.radius > 0.0))
            return;
        dots.push_back(dot);
        cover(dot);
    }

private:
    // Calls with the cells within a distance of a place, and how far each is.
    template<typename Call>
    void around(Point middle, double reach, Call call) const
    {
        const int left = std::max(0, int(std::floor(middle.x - reach)));
        const int right = std::min(distance.width - 1, int(middle.x + reach));
        const int top = std::max(0, int(std::floor(middle.y - reach)));
        const int bottom = std::min(distance.height - 1, int(middle.y + reach));
        for (int y = top; y <= bottom; ++y) {
            for (int x = left; x <= right; ++x) {
                const double far = std::hypot(x + 0.5 - middle.x, y + 0.5 - middle.y);
                if (far <= reach)
                    call(distance.cellOf(x, y), far);
            }
        }
    }

    void coverAt(Point middle, double reach, uint8_t mark)
    {
        around(middle, reach,
               [&](uint32_t at, double) { covered.cells[at] = std::max(covered.cells[at], mark); });
    }

    bool isDot(Point middle, double radius) const
    {
        int inside = 0;
        int open = 0;
        int rim = 0;
        int inkOfRim = 0;
        uint8_t widest = 0;
        around(middle, radius + kRimTo, [&](uint32_t at, double far) {
            const bool isOpen = distance.cells[at] != 0 && covered.cells[at] == 0;
            if (far <= radius) {
                ++inside;
                open += isOpen ? 1 : 0;
                widest = std::max(widest, covered.cells[at]);
            } else if (far >= radius + kRimFrom) {
                ++rim;
                inkOfRim += isOpen ? 1 : 0;
            }
        });
        return widest != kOther
            && radius >= kLeastWidths * kDistanceUnit * widest + (limits.noisy ? kNoisyMore : 0.0)
            && open >= kLeastCells && open >= kLeastUncovered * inside
            && inkOfRim <= kMostAround * rim;
    }

    const Coverage &coverage;
    const Plane &distance;
    Plane covered;
    DotLimits limits;
    std::vector<LineDot> &dots;
};

} // namespace

void takeDiscs(const Coverage &coverage, const DotLimits &limits, Plane *solids,
               std::vector<LineDot> *dots)
{
    const uint8_t seen = 2;
    std::vector<uint32_t> part;
    const auto take = [&](uint32_t cell) {
        if (solids->cells[cell] != 1)
            return;
        solids->cells[cell] = seen;
        part.push_back(cell);
    };
    const uint32_t stride = uint32_t(solids->stride());
    for (std::size_t first = 0; first < solids->cells.size(); ++first) {
        if (solids->cells[first] != 1)
            continue;
        part.clear();
        take(uint32_t(first));
        Point sum = { 0, 0 };
        for (std::size_t next = 0; next < part.size(); ++next) {
            sum = sum + solids->middleOf(part[next]);
            for (uint32_t row : { part[next] - stride, part[next], part[next] + stride }) {
                for (uint32_t cell : { row - 1, row, row + 1 })
                    take(cell);
            }
        }
        const double count = double(part.size());
        const LineDot dot
            = discAt(coverage, (1.0 / count) * sum, std::sqrt(count / M_PI), mostOffOf(limits));
        if (!(dot.radius > leastOf(limits)) || !isFilled(coverage, dot))
            continue;
        dots->push_back(dot);
        for (uint32_t cell : part)
            solids->cells[cell] = 0;
    }
    for (uint8_t &cell : solids->cells)
        cell = cell != 0 ? 1 : 0;
}

void takeSmallDots(const Coverage &coverage, const DotLimits &limits,
                   const std::vector<Atom> &atoms, const std::vector<Arrow> &arrows,
                   const std::vector<uint32_t> &skeleton, const Plane &distance,
                   std::vector<LineDot> *dots)
{
    std::vector<uint32_t> cells;
    for (uint32_t cell : skeleton) {
        if (radiusOf(distance.cells[cell]) >= kLeastRadius)
            cells.push_back(cell);
    }
    if (cells.empty())
        return;
    // The widest first: what lies beside its middle is part of the same dot.
    std::stable_sort(cells.begin(), cells.end(), [&distance](uint32_t a, uint32_t b) {
        return distance.cells[a] > distance.cells[b];
    });
    Finder finder(coverage, distance, limits, dots);
    finder.cover(atoms);
    for (const Arrow &arrow : arrows)
        finder.cover(arrow);
    for (const LineDot &dot : *dots)
        finder.cover(dot);
    for (uint32_t cell : cells)
        finder.take(cell);
}

void takeLoneDots(const Coverage &coverage, const Plane &distance, const std::vector<Dot> &parts,
                  const std::vector<DrawnPiece> &drawn, const std::vector<Arrow> &arrows,
                  std::vector<LineDot> *dots)
{
    std::vector<Dot> round;
    std::copy_if(parts.begin(), parts.end(), std::back_inserter(round), isRound);
    if (round.empty())
        return;
    Finder finder(coverage, distance, {}, dots);
    for (const DrawnPiece &piece : drawn)
        finder.cover(piece);
    for (const Arrow &arrow : arrows)
        finder.cover(arrow);
    for (const LineDot &dot : *dots)
        finder.cover(dot);
    for (const Dot &part : round) {
        const LineDot dot = roundedOff(coverage, part);
        if (!finder.isCovered(part.centre) && isDisc(coverage, dot))
            dots->push_back(dot);
    }
}

} // namespace ztrace::strokes
