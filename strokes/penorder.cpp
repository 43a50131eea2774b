// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/penorder.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace ztrace::strokes {

namespace {

// Where a stroke may be begun.
struct Start
{
    Point place;
    std::size_t stroke;
    bool atEnd;
};

double coordinate(const Start &start, bool ofY)
{
    return ofY ? start.place.y : start.place.x;
}

double distanceBetween(Point a, Point b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

// A balanced tree of places, halved by x and y in turn, from which places are taken: the middle of
// a range is its root, and a range that is used up is not looked at again.
class StartTree
{
public:
    explicit StartTree(std::vector<Start> s)
        : starts(std::move(s)), left(starts.size(), 0), taken(starts.size(), false)
    {
        build(0, starts.size(), false);
    }

    // The nearest one that is left, the first of a stroke among equals; there has to be one.
    const Start &nearest(Point from) const
    {
        std::size_t best = starts.size();
        double least = 1e300;
        look(0, starts.size(), false, from, &best, &least);
        return starts[best];
    }

    // Takes a start that is there.
    void take(const Start &start)
    {
        std::size_t first = 0;
        std::size_t last = starts.size();
        for (bool ofY = false; first < last; ofY = !ofY) {
            const std::size_t middle = first + (last - first) / 2;
            --left[middle];
            if (isBefore(start, starts[middle], ofY)) {
                last = middle;
            } else if (isBefore(starts[middle], start, ofY)) {
                first = middle + 1;
            } else {
                taken[middle] = true;
                return;
            }
        }
    }

private:
    // All differ, by their strokes and ends where their places do not.
    static bool isBefore(const Start &a, const Start &b, bool ofY)
    {
        return std::make_tuple(coordinate(a, ofY), a.stroke, a.atEnd)
            < std::make_tuple(coordinate(b, ofY), b.stroke, b.atEnd);
    }

    void build(std::size_t first, std::size_t last, bool ofY)
    {
        if (first == last)
            return;
        const std::size_t middle = first + (last - first) / 2;
        const auto begin = starts.begin();
        std::nth_element(begin + std::ptrdiff_t(first), begin + std::ptrdiff_t(middle),
                         begin + std::ptrdiff_t(last),
                         [ofY](const Start &a, const Start &b) { return isBefore(a, b, ofY); });
        left[middle] = last - first;
        build(first, middle, !ofY);
        build(middle + 1, last, !ofY);
    }

    // Recursion: as deep as the logarithm of the places.
    void look(std::size_t first, std::size_t last, bool ofY, Point from, std::size_t *best,
              double *least) const
    {
        if (first == last)
            return;
        const std::size_t middle = first + (last - first) / 2;
        if (left[middle] == 0)
            return;
        const Start &root = starts[middle];
        const double away = distanceBetween(root.place, from);
        if (!taken[middle] && isBetter(away, root, *least, *best)) {
            *least = away;
            *best = middle;
        }
        const double beside = (ofY ? from.y : from.x) - coordinate(root, ofY);
        if (beside <= 0)
            look(first, middle, !ofY, from, best, least);
        if (beside > 0 || -beside <= *least)
            look(middle + 1, last, !ofY, from, best, least);
        if (beside > 0 && beside <= *least)
            look(first, middle, !ofY, from, best, least);
    }

    bool isBetter(double away, const Start &start, double least, std::size_t best) const
    {
        return away < least
            || (away == least && best < starts.size()
                && std::make_pair(start.stroke, start.atEnd)
                    < std::make_pair(starts[best].stroke, starts[best].atEnd));
    }

    std::vector<Start> starts;
    std::vector<std::size_t> left; // of the range whose root it is
    std::vector<bool> taken;
};

bool mayBeTurned(const Stroke &stroke)
{
    return stroke.dashing.type == DashType::None
        && (stroke.piece.kind == fit::Kind::Line || stroke.piece.kind == fit::Kind::Arc);
}

// Of whole circles and ellipses where their path begins.
Point startOf(const Stroke &stroke)
{
    if (stroke.piece.kind == fit::Kind::Ellipse)
        return stroke.piece.centre
            + stroke.piece.half[0]
            * Point { std::cos(stroke.piece.angle), std::sin(stroke.piece.angle) };
    if (stroke.piece.kind == fit::Kind::Circle)
        return stroke.piece.centre + Point { stroke.piece.radius, 0 };
    return stroke.piece.start;
}

Point endOf(const Stroke &stroke)
{
    return fit::isWhole(stroke.piece.kind) ? startOf(stroke) : stroke.piece.end;
}

std::vector<Point> placesOf(const Stroke &stroke)
{
    if (mayBeTurned(stroke))
        return { stroke.piece.start, stroke.piece.end };
    return { startOf(stroke) };
}

void turnAround(Stroke *stroke)
{
    const fit::Piece &piece = stroke->piece;
    stroke->piece = piece.kind == fit::Kind::Arc
        ? fit::arcPiece(piece.end, piece.start, -piece.bulge)
        : fit::linePiece(piece.end, piece.start);
    std::swap(stroke->joint[0], stroke->joint[1]);
    std::reverse(stroke->samples.begin(), stroke->samples.end());
}

// Strokes first to last - 1 of one pen, from the corner on.
void orderRange(Point corner, std::size_t first, std::size_t last, std::vector<Stroke> *strokes)
{
    std::vector<Start> starts;
    for (std::size_t k = first; k < last; ++k) {
        const std::vector<Point> places = placesOf((*strokes)[k]);
        for (std::size_t i = 0; i < places.size(); ++i)
            starts.push_back({ places[i], k, i > 0 });
    }
    StartTree tree(std::move(starts));
    std::vector<Stroke> ordered;
    Point pen = corner;
    while (ordered.size() < last - first) {
        const Start next = tree.nearest(pen);
        Stroke &stroke = (*strokes)[next.stroke];
        const std::vector<Point> places = placesOf(stroke);
        for (std::size_t i = 0; i < places.size(); ++i)
            tree.take({ places[i], next.stroke, i > 0 });
        if (next.atEnd)
            turnAround(&stroke);
        pen = endOf(stroke);
        ordered.push_back(std::move(stroke));
    }
    std::move(ordered.begin(), ordered.end(), strokes->begin() + std::ptrdiff_t(first));
}

int rankOf(Role role)
{
    switch (role) {
    case Role::Dimension:
        return 1;
    case Role::Hatch:
        return 2;
    case Role::Text:
        return 3;
    default:
        return 0;
    }
}

// Lines of one pen and ink; dimensions, hatches and lettering of one ink.
std::tuple<int, int, int> layerOf(const Stroke &stroke)
{
    const int rank = rankOf(stroke.role);
    return { rank, stroke.ink, rank == 0 ? stroke.pen : 0 };
}

} // namespace

void putInPenOrder(Point corner, std::vector<Stroke> *strokes)
{
    std::stable_sort(strokes->begin(), strokes->end(),
                     [](const Stroke &a, const Stroke &b) { return layerOf(a) < layerOf(b); });
    for (std::size_t first = 0; first < strokes->size();) {
        std::size_t last = first + 1;
        while (last < strokes->size() && layerOf((*strokes)[last]) == layerOf((*strokes)[first]))
            ++last;
        orderRange(corner, first, last, strokes);
        first = last;
    }
}

double penUpTravel(Point corner, const std::vector<Stroke> &strokes)
{
    double travel = 0.0;
    Point pen = corner;
    for (const Stroke &stroke : strokes) {
        travel += distanceBetween(pen, startOf(stroke));
        pen = endOf(stroke);
    }
    return travel;
}

} // namespace ztrace::strokes
