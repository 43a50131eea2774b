// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/crossings.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

using fit::Point;

const int kCell = 8;            // pixels; most pieces are shorter
const double kFlatness = 0.005; // pixels that chords may be off from their arc
const int kLeastChords = 4;     // of curves
const int kMostChords = 256;
// Boundaries whose joints come nearer than this leave nothing of what is between them; pixels.
const double kTouching = 0.02;
// Pixels along a path within which its own pieces may come that near, as at a sharp corner.
const double kSameCorner = 0.1;

struct Segment
{
    Point a;
    Point b;
    uint32_t path;
    float along;      // where it begins on its path
    bool startsPiece; // or the piece goes on across a and b
    bool endsPiece;
    bool startsPath;
    bool endsPath;
};

// Chords of a curve are off by an eighth of its second derivative, over the square of their number.
int chordsOf(const fit::Piece &piece)
{
    const auto bend = [](Point a, Point b, Point c) {
        const Point d = a - 2.0 * b + c;
        return std::sqrt(dot(d, d));
    };
    double second = 0;
    switch (piece.kind) {
    case fit::Kind::Line:
        return 1;
    case fit::Kind::Quadratic:
    case fit::Kind::EllipticArc: // its weight makes it bend more at its ends
        second = 4 * bend(piece.start, piece.control, piece.end);
        break;
    case fit::Kind::Cubic:
        second = 6
            * std::max(bend(piece.start, piece.control, piece.control2),
                       bend(piece.control, piece.control2, piece.end));
        break;
    case fit::Kind::Arc: {
        const fit::ArcShape shape = arcShape(piece);
        second = piece.bulge != 0 ? shape.radius * shape.sweep * shape.sweep : 0;
        break;
    }
    default: {
        // The radius times the square of the sweep; at most all the way round.
        const fit::Box box = fit::boxOf(piece);
        second = 20 * std::max(box.high.x - box.low.x, box.high.y - box.low.y);
    }
    }
    return std::min(kMostChords, kLeastChords + int(std::sqrt(second / (8 * kFlatness))));
}

// The places of a piece at equal steps.
class Places
{
public:
    explicit Places(const fit::Piece &p) : piece(p), isArc(p.kind == fit::Kind::Arc && p.bulge != 0)
    {
        if (isArc)
            shape = arcShape(piece);
    }

    Point at(double t) const
    {
        if (!isArc)
            return pointAt(piece, t);
        const double angle = shape.startAngle + t * shape.sweep;
        return shape.centre + shape.radius * Point { std::cos(angle), std::sin(angle) };
    }

private:
    const fit::Piece &piece;
    const bool isArc;
    fit::ArcShape shape = {};
};

// The chords of the pieces that are wanted, isWanted(piece). Returns the length of the path, or
// what there is of it.
template<typename IsWanted>
float flatten(const fit::Path &path, uint32_t number, const IsWanted &isWanted,
              std::vector<Segment> *segments)
{
    double along = 0;
    for (const fit::Piece &piece : path.pieces) {
        if (!isWanted(piece))
            continue;
        const int count = chordsOf(piece);
        const bool isFirst = &piece == &path.pieces.front();
        const bool isLast = &piece == &path.pieces.back();
        const bool whole = fit::isWhole(piece.kind);
        const Places places(piece);
        Point a = whole ? places.at(0) : piece.start;
        for (int k = 1; k <= count; ++k) {
            const bool ends = k == count && !whole;
            const Point b = ends ? piece.end : places.at(double(k) / count);
            const bool starts = k == 1 && !whole;
            segments->push_back(
                { a, b, number, float(along), starts, ends, isFirst && starts, isLast && ends });
            along += std::sqrt(dot(b - a, b - a));
            a = b;
        }
    }
    return float(along);
}

bool isLine(const Segment &segment)
{
    return segment.startsPiece && segment.endsPiece;
}

bool areApart(const Segment &a, const Segment &b)
{
    return std::max(a.a.x, a.b.x) + kTouching < std::min(b.a.x, b.b.x)
        || std::max(b.a.x, b.b.x) + kTouching < std::min(a.a.x, a.b.x)
        || std::max(a.a.y, a.b.y) + kTouching < std::min(b.a.y, b.b.y)
        || std::max(b.a.y, b.b.y) + kTouching < std::min(a.a.y, a.b.y);
}

bool isLeft(const Segment &line, Point p)
{
    return cross(line.b - line.a, p - line.a) < 0;
}

// A point on the other line is on its right, so that of two chords that meet there one crosses.
bool crosses(const Segment &a, const Segment &b)
{
    return isLeft(a, b.a) != isLeft(a, b.b) && isLeft(b, a.a) != isLeft(b, a.b);
}

bool isSame(Point a, Point b)
{
    return a.x == b.x && a.y == b.y;
}

bool isNear(const Segment &line, Point p)
{
    const Point along = line.b - line.a;
    const double squared = dot(along, along);
    const double t = squared > 0 ? dot(p - line.a, along) / squared : 0.0;
    const Point off = p - line.a - std::min(std::max(t, 0.0), 1.0) * along;
    return dot(off, off) < kTouching * kTouching;
}

// Two lines from one point, one upon the other.
bool foldsBack(Point from, Point a, Point b)
{
    const auto line
        = [](Point p, Point q) { return Segment { p, q, 0, 0, true, true, true, true }; };
    return dot(a - from, b - from) > 0 && (isNear(line(from, a), b) || isNear(line(from, b), a));
}

bool endsAt(const Segment &a, const Segment &b)
{
    return (b.startsPiece && isNear(a, b.a)) || (b.endsPiece && isNear(a, b.b));
}

// Both come from one point: a node, where paths may end together, or a joint between them.
bool meetAt(bool isNode, bool oneCorner, Point from, const Segment &a, const Segment &b)
{
    if (!isNode && !oneCorner)
        return true;
    const Point one = isSame(a.a, from) ? a.b : a.a;
    const Point other = isSame(b.a, from) ? b.b : b.a;
    return isLine(a) && isLine(b) && foldsBack(from, one, other);
}

// Segments of one corner do not meet unless they fold back.
bool meet(const Segment &a, const Segment &b, bool oneCorner)
{
    if (isSame(a.a, b.a))
        return meetAt(a.startsPath && b.startsPath, oneCorner, a.a, a, b);
    if (isSame(a.a, b.b))
        return meetAt(a.startsPath && b.endsPath, oneCorner, a.a, a, b);
    if (isSame(a.b, b.a))
        return meetAt(a.endsPath && b.startsPath, oneCorner, a.b, a, b);
    if (isSame(a.b, b.b))
        return meetAt(a.endsPath && b.endsPath, oneCorner, a.b, a, b);
    return crosses(a, b) || (!oneCorner && (endsAt(a, b) || endsAt(b, a)));
}

// Whether one path comes to both of them without having gone away between.
bool areOneCorner(const Segment &a, const Segment &b, float length)
{
    const auto between = [](const Segment &one, const Segment &other) {
        return double(other.along - one.along) - std::sqrt(dot(one.b - one.a, one.b - one.a));
    };
    const double gap = a.along < b.along ? between(a, b) : between(b, a);
    const double around = a.along < b.along ? between(b, a) : between(a, b);
    return std::min(gap, double(length) + around) < kSameCorner;
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

    // Where the segments lie: of what is elsewhere nothing can meet them.
    void mark(const std::vector<Segment> &segments)
    {
        isMarked.assign(begins.size() - 1, 0);
        forEachCell(segments, [this](std::size_t cell, uint32_t) { isMarked[cell] = 1; });
    }

    bool mayTouchMarked(const fit::Piece &piece) const
    {
        const fit::Box box = fit::boxOf(piece);
        const int right = cellOf(box.high.x + kTouching, columns);
        const int bottom = cellOf(box.high.y + kTouching, rows);
        for (int row = cellOf(box.low.y - kTouching, rows); row <= bottom; ++row) {
            const char *cells = isMarked.data() + std::ptrdiff_t(row) * columns;
            for (int column = cellOf(box.low.x - kTouching, columns); column <= right; ++column) {
                if (cells[column])
                    return true;
            }
        }
        return false;
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
            const int first = cellOf(a.x - kTouching, columns);
            const int last = cellOf(b.x + kTouching, columns);
            const double slope = b.x > a.x ? (b.y - a.y) / (b.x - a.x) : 0;
            for (int column = first; column <= last; ++column) {
                // What lies outside of the plane belongs to its rim.
                double low = column == first ? a.y : a.y + slope * (double(column * kCell) - a.x);
                double high
                    = column == last ? b.y : a.y + slope * (double((column + 1) * kCell) - a.x);
                if (high < low)
                    std::swap(low, high);
                for (int row = cellOf(low - kTouching, rows); row <= cellOf(high + kTouching, rows);
                     ++row)
                    work(std::size_t(row) * std::size_t(columns) + std::size_t(column), k);
            }
        }
    }

    const int columns;
    const int rows;
    std::vector<uint32_t> begins; // per cell, where its numbers begin
    std::vector<uint32_t> numbers;
    std::vector<char> isMarked; // per cell
};

} // namespace

std::vector<std::pair<uint32_t, uint32_t>> crossingsOf(const std::vector<fit::Path> &paths,
                                                       int width, int height,
                                                       const std::vector<char> &looked)
{
    std::vector<Segment> segments;
    std::vector<float> lengths(paths.size());
    Grid grid(width, height);
    for (uint32_t k = 0; k < paths.size(); ++k) {
        if (looked.empty() || looked[k])
            lengths[k] = flatten(
                paths[k], k, [](const fit::Piece &) { return true; }, &segments);
    }
    if (!looked.empty()) {
        grid.mark(segments);
        for (uint32_t k = 0; k < paths.size(); ++k) {
            if (!looked[k])
                flatten(
                    paths[k], k,
                    [&grid](const fit::Piece &piece) { return grid.mayTouchMarked(piece); },
                    &segments);
        }
    }
    grid.fill(segments);
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    grid.forEachPair([&](uint32_t one, uint32_t other) {
        const Segment &a = segments[one];
        const Segment &b = segments[other];
        const bool isLookedAt = looked.empty() || looked[a.path] || looked[b.path];
        if (!isLookedAt || areApart(a, b))
            return;
        const bool oneCorner = a.path == b.path && areOneCorner(a, b, lengths[a.path]);
        if (meet(a, b, oneCorner))
            pairs.emplace_back(std::min(a.path, b.path), std::max(a.path, b.path));
    });
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    return pairs;
}

} // namespace ztrace
