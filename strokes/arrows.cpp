// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/arrows.h"

#include "strokes/barbs.h"
#include "strokes/ends.h"
#include "strokes/track.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5;          // pixels between rows
const double kInk = 0.5;           // coverage
const double kInwards = 28.0;      // widths, and pixels, that are looked at before a line's last
const double kInwardPixels = 12.0; // cross-section
const double kInwardPart = 0.75;   // of the line
const double kOutwards = 45.0;     // widths beyond it
const double kSidewards = 14.0;    // widths to either side; farther is another line's ink
const double kJumpWidths = 1.5;    // widths, and pixels, of a base
const double kJumpPixels = 2.2;
const double kThinPart = 1.35; // widths, and pixels, that a line is wide before the base
const double kThinPixels = 0.7;
const double kRise = 3.5; // pixels, and part of the base's width, in which the jump happens
const double kRisePart = 0.25;
const double kPenPart = 1.2; // widths, and pixels, below which the pen hides the taper
const double kPenPixels = 0.4;
const double kLeastRows = 8;     // half pixels of a taper
const double kLeastLength = 5.0; // pixels
const double kLeastSlope = 0.12; // width lost a pixel
const double kMostSlope = 1.2;
const double kOffPart = 0.05; // of the base's width, and pixels, that the taper is not straight
const double kOffPixels = 0.5;
const double kLopsided = 0.3; // of the width, and pixels, that the two sides differ by
const double kLopsidedPixels = 1.0;
// Part of what the one side of a base sticks out beyond the pen that the other does at least:
// beside an acute corner there is ink on one side alone. Rows of half a pixel that tell it.
const double kLeastOtherSide = 0.35;
const std::size_t kBaseRows = 6;
const double kLeastSeen = 0.35; // of the head's length that has to be seen
// The same where ink goes on to decline to a point that far below the pen's width: slender heads,
// whose line ends within them. Widths, and pixels, that the point is off.
const double kLeastSeenOfPointed = 0.2;
const double kPoint = 0.6;
const double kPointOff = 0.15;
const double kPointOffPixels = 0.5;
const double kInside = 1.5;    // pixels around a head that are of it
const double kWholeBarb = 1.1; // lengths of a barb around which its ink is of it
// How far the ends of barbs are round in scans, of which noise hides the form of so short strokes.
const double kUnsureEnds = 0.5;
const double kCell = 32.0; // pixels of the grid that atoms are looked up in

// The row of a jump, by the widest step within the rise: the first row of the head; 0 for none.
std::size_t jumpIn(const std::vector<Across> &rows, double pen)
{
    const double thin = kThinPart * pen + kThinPixels;
    const double wide = std::max(kJumpWidths * pen, pen + kJumpPixels);
    std::size_t last = 0; // row that is thin
    bool any = false;
    for (std::size_t k = 0; k < rows.size(); ++k) {
        const double width = rows[k].width();
        if (width <= thin) {
            last = k;
            any = true;
        } else if (any && width >= wide) {
            // The base is where the width is greatest within the rise.
            std::size_t top = k;
            while (top + 1 < rows.size() && rows[top + 1].width() > rows[top].width()
                   && rows[top + 1].at - rows[last].at < kRise + kRisePart * rows[top].width())
                ++top;
            if (rows[top].at - rows[last].at <= kRise + kRisePart * rows[top].width())
                return top;
            any = false;
        }
    }
    return 0;
}

// A straight line through widths over lengths: value at 0 and slope, root of mean squared rest.
struct Decline
{
    double start = 0.0;
    double slope = 0.0;
    double rms = 0.0;
};

Decline declineOf(const std::vector<Across> &rows, std::size_t first, std::size_t last)
{
    const double n = double(last - first);
    double s = 0, w = 0, ss = 0, sw = 0, ww = 0;
    for (std::size_t k = first; k < last; ++k) {
        s += rows[k].at / n;
        w += rows[k].width() / n;
    }
    for (std::size_t k = first; k < last; ++k) {
        const double ds = rows[k].at - s;
        const double dw = rows[k].width() - w;
        ss += ds * ds;
        sw += ds * dw;
        ww += dw * dw;
    }
    Decline decline;
    decline.slope = sw / ss;
    decline.start = w - decline.slope * s;
    decline.rms = std::sqrt(std::max(0.0, ww - sw * sw / ss) / n);
    return decline;
}

bool isEven(const std::vector<Across> &rows, std::size_t first, std::size_t last)
{
    std::size_t odd = 0;
    for (std::size_t k = first; k < last; ++k) {
        const double apart = std::fabs(rows[k].left - rows[k].right);
        odd += apart > kLopsided * rows[k].width() + kLopsidedPixels ? 1u : 0u;
    }
    return odd * 5 <= last - first;
}

// Whether both sides of a base stick out beyond the pen.
bool sticksOut(const std::vector<Across> &rows, std::size_t first, double pen)
{
    const std::size_t last = std::min(first + kBaseRows, rows.size());
    double left = 0.0;
    double right = 0.0;
    for (std::size_t k = first; k < last; ++k) {
        left += rows[k].left - 0.5 * pen;
        right += rows[k].right - 0.5 * pen;
    }
    return std::min(left, right) > kLeastOtherSide * std::max(left, right);
}

// Whether the ink declines below the pen's width as it did before.
bool isPointed(const std::vector<Across> &rows, std::size_t first, const Decline &decline,
               double pen)
{
    for (std::size_t k = first; k < rows.size(); ++k) {
        const double wanted = decline.start + decline.slope * rows[k].at;
        if (std::fabs(rows[k].width() - wanted) > kPointOff * pen + kPointOffPixels)
            return false;
        if (rows[k].width() < kPoint * pen)
            return true;
    }
    return false;
}

// Ink from a place across a unit direction up to half coverage.
double reachOf(const Coverage &coverage, Point place, Point across, double most)
{
    double before = coverage.at(place);
    for (double t = kStep; t < most; t += kStep) {
        const double level = coverage.at(place + t * across);
        if (level < kInk)
            return before > level ? t - kStep * (kInk - level) / (before - level) : t;
        before = level;
    }
    return most;
}

double side(Point a, Point b, Point p)
{
    const Point u = b - a;
    return fit::cross(u, p - a) / std::max(1e-9, std::hypot(u.x, u.y));
}

bool isInside(const Arrow &arrow, Point p)
{
    const double turn = side(arrow.corner[0], arrow.corner[1], arrow.corner[2]) < 0 ? -1.0 : 1.0;
    for (int k = 0; k < 3; ++k) {
        if (turn * side(arrow.corner[k], arrow.corner[(k + 1) % 3], p) < -kInside)
            return false;
    }
    return true;
}

// Each side's median over five rows: the edges of noisy scans are frayed, jumps stay.
std::vector<Across> smoothed(const std::vector<Across> &rows)
{
    std::vector<Across> result = rows;
    for (std::size_t k = 2; k + 2 < rows.size(); ++k) {
        double left[5], right[5];
        for (std::size_t i = 0; i < 5; ++i) {
            left[i] = rows[k + i - 2].left;
            right[i] = rows[k + i - 2].right;
        }
        std::nth_element(left, left + 2, left + 5);
        std::nth_element(right, right + 2, right + 5);
        result[k].left = left[2];
        result[k].right = right[2];
    }
    return result;
}

class ArrowFinder
{
public:
    ArrowFinder(const Coverage &c, const Measure &m, LineEnds e, Web *w)
        : coverage(c), measure(m), ends(e), web(*w)
    { }

    std::vector<Arrow> find()
    {
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            const Atom &atom = web.atoms[k];
            if (atom.alive && atom.shape <= Shape::Arc && !atom.samples.empty())
                grid[keyOf(atom.samples.front().centre)].push_back(int(k));
        }
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            for (int end = 0; end < 2; ++end) {
                const Atom &atom = web.atoms[k];
                if (atom.alive && atom.shape <= Shape::Arc && atom.role != Role::Text
                    && atom.dashing.type == DashType::None && atom.samples.size() > 1)
                    lookAt(int(k), end);
            }
        }
        for (Atom &barb : barbs)
            web.atoms.push_back(std::move(barb));
        return std::move(arrows);
    }

private:
    static int64_t cellAt(double v) { return int64_t(std::floor(v / kCell)); }
    static int64_t keyOf(int64_t x, int64_t y) { return x * (int64_t(1) << 32) + y; }
    static int64_t keyOf(Point p) { return keyOf(cellAt(p.x), cellAt(p.y)); }

    std::vector<Across> rowsAt(const Atom &atom, const Track &track) const
    {
        const double length = double(atom.samples.size());
        const double inwards
            = std::min(kInwards * atom.width + kInwardPixels, kInwardPart * length);
        const double outwards = kOutwards * atom.width;
        const double most = kSidewards * atom.width + 4.0;
        std::vector<Across> rows;
        for (double s = -inwards; s < outwards; s += kStep) {
            const Point p = track.placeAt(s);
            if (coverage.at(p) < kInk) {
                if (s > 0.0)
                    break;
                continue;
            }
            const Point u = track.headingAt(s);
            Across row;
            row.at = s;
            row.left = reachOf(coverage, p, { -u.y, u.x }, most);
            row.right = reachOf(coverage, p, { u.y, -u.x }, most);
            rows.push_back(row);
        }
        return rows;
    }

    void lookAt(int number, int end)
    {
        Atom &atom = web.atoms[std::size_t(number)];
        const std::size_t n = atom.samples.size();
        const Point last = atom.samples[end == 0 ? 0 : n - 1].centre;
        const Track track(atom.carrier, last, last + outwardsOf(atom, end));
        const std::vector<Across> rows = smoothed(rowsAt(atom, track));
        Taper taper;
        if (!taperOf(rows, atom.width, &taper))
            return;
        Arrow arrow;
        const Point base = track.placeAt(taper.base);
        const Point u = track.headingAt(taper.base);
        const Point across = { -0.5 * taper.width * u.y, 0.5 * taper.width * u.x };
        arrow.corner[0] = track.placeAt(taper.tip);
        arrow.corner[1] = base + across;
        arrow.corner[2] = base - across;
        if (isKnown(arrow))
            return;
        const double roundPart = ends.noisy ? kUnsureEnds : ends.round ? 1.0 : 0.0;
        const HeadPen pen = { atom.width, roundPart, ends.noisy };
        const Barbs open = barbsOf(coverage, track, taper, pen, track.lengthAt(atom.place[end]));
        if (open.kind == HeadKind::None)
            return;
        if (open.kind == HeadKind::Open) {
            takeOpen(open, arrow, number, end);
            return;
        }
        atom.place[end] = arrow.corner[0];
        atom.role = Role::Dimension;
        dropInside(arrow, number);
        arrows.push_back(arrow);
    }

    // An open head: the line ends where its barbs meet, and what was found of them goes.
    void takeOpen(const Barbs &open, const Arrow &closed, int number, int end)
    {
        Atom &atom = web.atoms[std::size_t(number)];
        atom.place[end] = open.tip;
        atom.role = Role::Dimension;
        Arrow whole = closed;
        for (int side = 0; side < 2; ++side) {
            whole.corner[1 + side]
                = whole.corner[0] + kWholeBarb * (open.end[side] - whole.corner[0]);
            barbs.push_back(barbAtom(open, side, atom.width, measure));
        }
        dropInside(whole, number);
    }

    bool isKnown(const Arrow &arrow) const
    {
        for (const Arrow &other : arrows) {
            const Point d = other.corner[0] - arrow.corner[0];
            const Point e = other.corner[1] - arrow.corner[1];
            if (std::hypot(d.x, d.y) < 3 && std::hypot(e.x, e.y) < 3)
                return true;
        }
        return false;
    }

    void dropInside(const Arrow &arrow, int keep)
    {
        Point low = arrow.corner[0];
        Point high = arrow.corner[0];
        for (const Point &p : arrow.corner) {
            low = { std::min(low.x, p.x), std::min(low.y, p.y) };
            high = { std::max(high.x, p.x), std::max(high.y, p.y) };
        }
        for (int64_t y = cellAt(low.y - kInside); y <= cellAt(high.y + kInside); ++y) {
            for (int64_t x = cellAt(low.x - kInside); x <= cellAt(high.x + kInside); ++x) {
                const auto cell = grid.find(keyOf(x, y));
                if (cell == grid.end())
                    continue;
                for (int number : cell->second) {
                    if (number != keep && isWithin(arrow, web.atoms[std::size_t(number)])) {
                        web.atoms[std::size_t(number)].alive = false;
                        web.atoms[std::size_t(number)].heir = keep;
                    }
                }
            }
        }
    }

    static bool isWithin(const Arrow &arrow, const Atom &atom)
    {
        for (const Section &section : atom.samples) {
            if (!isInside(arrow, section.centre))
                return false;
        }
        return atom.alive;
    }

    const Coverage &coverage;
    const Measure &measure;
    const LineEnds ends;
    Web &web;
    std::unordered_map<int64_t, std::vector<int>> grid;
    std::vector<Arrow> arrows;
    std::vector<Atom> barbs;
};

void clearInside(const Arrow &arrow, Plane *plane)
{
    double low[2] = { 1e300, 1e300 };
    double high[2] = { -1e300, -1e300 };
    for (const Point &p : arrow.corner) {
        low[0] = std::min(low[0], p.x);
        low[1] = std::min(low[1], p.y);
        high[0] = std::max(high[0], p.x);
        high[1] = std::max(high[1], p.y);
    }
    const int left = std::clamp(int(low[0] - 2), 0, plane->width);
    const int right = std::clamp(int(high[0] + 3), 0, plane->width);
    const int top = std::clamp(int(low[1] - 2), 0, plane->height);
    const int bottom = std::clamp(int(high[1] + 3), 0, plane->height);
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) {
            const uint32_t cell = plane->cellOf(x, y);
            if (isInside(arrow, plane->middleOf(cell)))
                plane->cells[cell] = 0;
        }
    }
}

} // namespace

bool taperOf(const std::vector<Across> &rows, double pen, Taper *taper)
{
    const std::size_t top = jumpIn(rows, pen);
    if (top == 0)
        return false;
    // Down to where the pen itself is as wide, or another line's ink is met.
    const double hidden = kPenPart * pen + kPenPixels;
    std::size_t first = top;
    while (first + 1 < rows.size() && rows[first].at - rows[top].at < 1.0)
        ++first;
    std::size_t last = first;
    double lowest = rows[first].width();
    while (last < rows.size() && rows[last].width() > hidden
           && rows[last].width() < lowest + kJumpPixels) {
        lowest = std::min(lowest, rows[last].width());
        ++last;
    }
    if (double(last - first) < kLeastRows || !isEven(rows, first, last)
        || !sticksOut(rows, first, pen))
        return false;
    const Decline decline = declineOf(rows, first, last);
    if (-decline.slope < kLeastSlope || -decline.slope > kMostSlope)
        return false;
    taper->tip = -decline.start / decline.slope;
    // Half way of the rise.
    double base = rows[top].at;
    const double half = 0.5 * (pen + decline.start + decline.slope * base);
    for (std::size_t k = top; k > 0 && rows[k].width() > half; --k)
        base = rows[k].at;
    taper->base = base;
    taper->ink = rows.back().at;
    taper->width = decline.start + decline.slope * base;
    const double length = taper->tip - taper->base;
    const double seen = rows[last - 1].at - base;
    const double least = isPointed(rows, last, decline, pen) ? kLeastSeenOfPointed : kLeastSeen;
    return taper->width > std::max(kJumpWidths * pen, pen + kJumpPixels)
        && length > std::max(kLeastLength, 0.9 * taper->width)
        && decline.rms < kOffPart * taper->width + kOffPixels && seen > least * length;
}

std::vector<Arrow> takeArrows(const Coverage &coverage, const Measure &measure, LineEnds ends,
                              Web *web, Plane *solids)
{
    std::vector<Arrow> arrows = ArrowFinder(coverage, measure, ends, web).find();
    if (!solids->cells.empty()) {
        for (const Arrow &arrow : arrows)
            clearInside(arrow, solids);
    }
    return arrows;
}

} // namespace ztrace::strokes
