// (c) the ztrace developers. Licence: see LICENSE.
//
// What pieces of a closed path cover of pixels, exactly: docs/fit/areas.md.
#ifndef ZTRACE_FIT_AREAS_H
#define ZTRACE_FIT_AREAS_H

#include "fit/areafit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ztrace::fit {

const double kFlatness = 0.004; // pixels that chords may be off
const int kMostChords = 40;

// The same as std::floor, of numbers within the range of int: a call of that for every chord takes
// as long as drawing it.
inline int floorOf(double value)
{
    const int towardsZero = static_cast<int>(value);
    return value < towardsZero ? towardsZero - 1 : towardsZero;
}

inline int chordsOf(const Piece &piece)
{
    if (piece.kind == Kind::Line)
        return 1;
    double second = 0; // derivative
    if (piece.kind == Kind::Arc) {
        const Point chord = piece.end - piece.start;
        const double b = std::fabs(piece.bulge);
        const double sweep = 4 * std::atan(b);
        second = std::sqrt(dot(chord, chord)) * (1 + b * b) / (4 * b + 1e-9) * sweep * sweep;
    } else {
        const Point one = piece.start - 2.0 * piece.control + piece.control2;
        const Point other = piece.control - 2.0 * piece.control2 + piece.end;
        const Point quadratic = piece.start - 2.0 * piece.control + piece.end;
        second = piece.kind == Kind::Cubic
            ? 6 * std::sqrt(std::max(dot(one, one), dot(other, other)))
            : 4 * std::sqrt(dot(quadratic, quadratic));
    }
    return std::min(kMostChords, 1 + static_cast<int>(std::sqrt(second / (8 * kFlatness))));
}

// Exact areas that a path of open pieces covers, pixel by pixel: signed, positive on the right of
// the walk. What lies beyond the window is cut off.
class Areas
{
public:
    explicit Areas(const Coverage &c)
        : window(c), sums(static_cast<std::size_t>((c.width + 2) * c.height), 0.0)
    { }

    void add(const Piece &piece, double sign)
    {
        if (isBeyond(piece))
            return;
        const int count = chordsOf(piece);
        if (piece.kind == Kind::Arc && count > 1) {
            addArc(piece, count, sign);
            return;
        }
        Point a = piece.start;
        for (int k = 1; k <= count; ++k) {
            const Point b = k == count ? piece.end : pointAt(piece, static_cast<double>(k) / count);
            addLine(a, b, sign);
            a = b;
        }
    }

    // Of the pixels of the rows that were touched.
    template<typename Use>
    void forEach(const Use &use) const
    {
        for (int y = std::max(0, low); y <= std::min(window.height - 1, high); ++y) {
            double sum = 0;
            const double *row = sums.data() + rowAt(y);
            for (int x = left; x < window.width; ++x) {
                sum += row[x];
                use(static_cast<std::size_t>(y * window.width + x), sum);
            }
        }
    }

    void clear()
    {
        for (int y = std::max(0, low); y <= std::min(window.height - 1, high); ++y)
            std::fill_n(sums.data() + rowAt(y), window.width + 2, 0.0);
        low = left = 1 << 30;
        high = -1;
    }

private:
    std::ptrdiff_t rowAt(int y) const { return std::ptrdiff_t(y) * (window.width + 2); }

    // Whether a piece plainly lies above, below or on the right of the window, where it covers
    // nothing of it.
    bool isBeyond(const Piece &piece) const
    {
        Point least = piece.start;
        Point most = piece.start;
        const auto include = [&](Point p) {
            least = { std::min(least.x, p.x), std::min(least.y, p.y) };
            most = { std::max(most.x, p.x), std::max(most.y, p.y) };
        };
        include(piece.end);
        double room = 1e-6;
        if (piece.kind == Kind::Arc) {
            // No place is farther from the chord than that: up to half a turn it is half as much.
            const Point chord = piece.end - piece.start;
            room += std::sqrt(dot(chord, chord)) * std::fabs(piece.bulge);
        } else if (piece.kind != Kind::Line) {
            include(piece.control);
            if (piece.kind == Kind::Cubic)
                include(piece.control2);
        }
        return least.x - room >= window.left + window.width || most.y + room <= window.top
            || least.y - room >= window.top + window.height;
    }

    // Chord by chord round the centre.
    void addArc(const Piece &arc, int count, double sign)
    {
        const ArcShape shape = arcShape(arc);
        const double c = std::cos(shape.sweep / count);
        const double s = std::sin(shape.sweep / count);
        Point spoke = arc.start - shape.centre;
        Point a = arc.start;
        for (int k = 1; k < count; ++k) {
            spoke = { c * spoke.x - s * spoke.y, s * spoke.x + c * spoke.y };
            const Point b = shape.centre + spoke;
            addLine(a, b, sign);
            a = b;
        }
        addLine(a, arc.end, sign);
    }

    // Row by row.
    void addLine(Point a, Point b, double sign)
    {
        a = { a.x - window.left, a.y - window.top };
        b = { b.x - window.left, b.y - window.top };
        if (a.y == b.y)
            return;
        const double direction = a.y > b.y ? sign : -sign;
        if (a.y > b.y)
            std::swap(a, b);
        const double slope = (b.x - a.x) / (b.y - a.y);
        // What is above the window ends before its first row does.
        const int first = std::max(0, static_cast<int>(a.y));
        const int last = std::min(window.height - 1, static_cast<int>(b.y));
        low = std::min(low, first);
        high = std::max(high, last);
        for (int y = first; y <= last; ++y) {
            const double top = std::max(a.y, static_cast<double>(y));
            const double bottom = std::min(b.y, y + 1.0);
            if (bottom > top)
                addInRow(y, a.x + slope * (top - a.y), a.x + slope * (bottom - a.y),
                         direction * (bottom - top));
        }
    }

    // A line from x0 to x1 in one row, of the given height: all to the right of it.
    void addInRow(int y, double x0, double x1, double height)
    {
        const double most = window.width + 0.5;
        x0 = std::min(most, std::max(0.0, x0));
        x1 = std::min(most, std::max(0.0, x1));
        if (x1 < x0)
            std::swap(x0, x1);
        double *row = sums.data() + rowAt(y);
        const int first = static_cast<int>(x0);
        const int last = static_cast<int>(x1);
        left = std::min(left, first);
        if (first == last) {
            const double inside = first + 1 - 0.5 * (x0 + x1);
            row[first] += height * inside;
            row[first + 1] += height * (1 - inside);
            return;
        }
        const double part = height / (x1 - x0);
        for (int x = first; x <= last; ++x) {
            const double from = std::max(x0, static_cast<double>(x));
            const double to = std::min(x1, x + 1.0);
            const double own = part * (to - from);
            const double inside = x + 1 - 0.5 * (from + to);
            row[x] += own * inside;
            row[x + 1] += own * (1 - inside);
        }
    }

    const Coverage &window;
    std::vector<double> sums;
    // Rows that were touched, and the first column.
    int low = 1 << 30;
    int high = -1;
    int left = 1 << 30;
};

} // namespace ztrace::fit

#endif
