// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/crossings.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

using fit::Point;

const int kCell = 8;            // pixels; most pieces are shorter
const double kFlatness = 0.005; // pixels that chords may be off from their arc
const int kCurveChords = 16;    // of quadratics, cubics and elliptic arcs
const int kMostChords = 256;
// Pixels by which each end has to lie beyond the other segment: what chords are off by.
const double kBeyond = 0.01;

struct Segment
{
    Point a;
    Point b;
    uint32_t path;
};

int chordsOf(const fit::Piece &piece)
{
    if (piece.kind == fit::Kind::Line)
        return 1;
    if (piece.kind != fit::Kind::Arc && !fit::isWhole(piece.kind))
        return kCurveChords;
    const fit::Box box = fit::boxOf(piece);
    const double size = std::max(box.high.x - box.low.x, box.high.y - box.low.y);
    // A chord of sweep s is off by r s s / 8; at most all the way round.
    return std::min(kMostChords, 8 + int(std::ceil(std::sqrt(size / kFlatness))));
}

void flatten(const fit::Path &path, uint32_t number, std::vector<Segment> *segments)
{
    for (const fit::Piece &piece : path.pieces) {
        const int count = chordsOf(piece);
        const bool whole = fit::isWhole(piece.kind);
        Point a = whole ? fit::pointAt(piece, 0) : piece.start;
        for (int k = 1; k <= count; ++k) {
            const Point b
                = k == count && !whole ? piece.end : fit::pointAt(piece, double(k) / count);
            segments->push_back({ a, b, number });
            a = b;
        }
    }
}

// Which side of a line a point lies on: 0 within what chords are off by.
int sideOf(const Segment &line, Point p)
{
    const Point along = line.b - line.a;
    const double length = std::sqrt(dot(along, along));
    const double off = cross(along, p - line.a);
    return off > kBeyond * length ? 1 : off < -kBeyond * length ? -1 : 0;
}

bool crosses(const Segment &a, const Segment &b)
{
    return sideOf(a, b.a) * sideOf(a, b.b) < 0 && sideOf(b, a.a) * sideOf(b, a.b) < 0;
}

// Segments by the cells of a grid that they may pass through.
class Grid
{
public:
    Grid(int width, int height)
        : columns(std::max(1, (width + kCell - 1) / kCell)),
          rows(std::max(1, (height + kCell - 1) / kCell)), begins(std::size_t(columns * rows) + 1)
    { }

    void fill(const std::vector<Segment> &segments)
    {
        forEachCell(segments, [this](std::size_t cell, uint32_t) { ++begins[cell + 1]; });
        for (std::size_t cell = 1; cell < begins.size(); ++cell)
            begins[cell] += begins[cell - 1];
        numbers.resize(begins.back());
        std::vector<uint32_t> next(begins.begin(), begins.end() - 1);
        forEachCell(segments,
                    [&](std::size_t cell, uint32_t segment) { numbers[next[cell]++] = segment; });
    }

    // Calls for all pairs in one cell; some are met more than once.
    template<typename Work>
    void forEachPair(const Work &work) const
    {
        for (std::size_t cell = 0; cell + 1 < begins.size(); ++cell) {
            for (uint32_t k = begins[cell]; k < begins[cell + 1]; ++k) {
                for (uint32_t i = k + 1; i < begins[cell + 1]; ++i)
                    work(numbers[k], numbers[i]);
            }
        }
    }

private:
    static int cellOf(double at, int count)
    {
        const double cell = std::floor(at / kCell);
        return cell > 0 ? int(std::min(cell, double(count - 1))) : 0;
    }

    // Column by column, the rows between which the segment lies there.
    template<typename Work>
    void forEachCell(const std::vector<Segment> &segments, const Work &work) const
    {
        for (uint32_t k = 0; k < segments.size(); ++k) {
            Point a = segments[k].a;
            Point b = segments[k].b;
            if (b.x < a.x)
                std::swap(a, b);
            const int first = cellOf(a.x, columns);
            const int last = cellOf(b.x, columns);
            const double slope = b.x > a.x ? (b.y - a.y) / (b.x - a.x) : 0;
            for (int column = first; column <= last; ++column) {
                // What lies outside of the plane belongs to its rim.
                double low = column == first ? a.y : a.y + slope * (double(column * kCell) - a.x);
                double high
                    = column == last ? b.y : a.y + slope * (double((column + 1) * kCell) - a.x);
                if (high < low)
                    std::swap(low, high);
                for (int row = cellOf(low, rows); row <= cellOf(high, rows); ++row)
                    work(std::size_t(row) * std::size_t(columns) + std::size_t(column), k);
            }
        }
    }

    const int columns;
    const int rows;
    std::vector<uint32_t> begins; // per cell, where its numbers begin
    std::vector<uint32_t> numbers;
};

} // namespace

std::vector<std::pair<uint32_t, uint32_t>> crossingsOf(const std::vector<fit::Path> &paths,
                                                       int width, int height,
                                                       const std::vector<char> &looked)
{
    std::vector<Segment> segments;
    for (uint32_t k = 0; k < paths.size(); ++k)
        flatten(paths[k], k, &segments);
    Grid grid(width, height);
    grid.fill(segments);
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    grid.forEachPair([&](uint32_t one, uint32_t other) {
        const Segment &a = segments[one];
        const Segment &b = segments[other];
        if ((looked.empty() || looked[a.path] || looked[b.path]) && crosses(a, b))
            pairs.emplace_back(std::min(a.path, b.path), std::max(a.path, b.path));
    });
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    return pairs;
}

} // namespace ztrace
