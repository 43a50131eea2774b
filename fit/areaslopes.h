// (c) the ztrace developers. Licence: see LICENSE.
//
// How what a piece covers of pixels changes with its ends and its bend: docs/fit/areas.md,
// "Slopes".
#ifndef ZTRACE_FIT_AREASLOPES_H
#define ZTRACE_FIT_AREASLOPES_H

#include "fit/areas.h"

#include <array>
#include <cmath>

namespace ztrace::fit {

const std::size_t kMostMoves = 5; // of a piece: both ends in x and y, and the height of an arc

// What becomes of the chords of a piece when it changes: for each of some ways the movement of
// every point between them, a unit of the way.
struct MovedChords
{
    int count = 0; // chords
    std::size_t ways = 0;
    std::array<Point, kMostChords + 1> points;
    std::array<std::array<Point, kMostChords + 1>, kMostMoves> moves;
};

// The points between `count` chords of an open piece.
inline void chordPoints(const Piece &piece, int count, Point *points)
{
    points[0] = piece.start;
    points[count] = piece.end;
    if (piece.kind != Kind::Arc || count == 1) {
        for (int k = 1; k < count; ++k)
            points[k] = pointAt(piece, static_cast<double>(k) / count);
        return;
    }
    const ArcShape shape = arcShape(piece);
    const double c = std::cos(shape.sweep / count);
    const double s = std::sin(shape.sweep / count);
    Point spoke = piece.start - shape.centre;
    for (int k = 1; k < count; ++k) {
        spoke = { c * spoke.x - s * spoke.y, s * spoke.x + c * spoke.y };
        points[k] = shape.centre + spoke;
    }
}

// Calls use(pixel, from, to) for the pixels of the window that a chord crosses: the parts of it,
// 0 to 1 along the chord, in the order of the walk.
template<typename Use>
void forEachCrossed(Point a, Point b, const Coverage &window, const Use &use)
{
    const double x = a.x - window.left;
    const double y = a.y - window.top;
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    int column = static_cast<int>(std::floor(x));
    int line = static_cast<int>(std::floor(y));
    const int right = dx > 0;
    const int down = dy > 0;
    const double never = 2;
    double from = 0;
    while (from < 1) {
        const double atX = dx != 0 ? (column + right - x) / dx : never;
        const double atY = dy != 0 ? (line + down - y) / dy : never;
        const double to = std::min(1.0, std::max(from, std::min(atX, atY)));
        const bool inside
            = column >= 0 && line >= 0 && column < window.width && line < window.height;
        if (inside && to > from)
            use(static_cast<std::size_t>(line * window.width + column), from, to);
        from = to;
        if (atX <= atY)
            column += right ? 1 : -1;
        else
            line += down ? 1 : -1;
    }
}

// Calls use(pixel, way, slope) for the pixels that the chords cross: by how much the part that is
// covered on the right of the walk grows with each way. A pixel may come several times.
template<typename Use>
void forEachSlope(const MovedChords &chords, const Coverage &window, const Use &use)
{
    for (int k = 0; k < chords.count; ++k) {
        const auto i = static_cast<std::size_t>(k);
        const Point a = chords.points[i];
        const Point b = chords.points[i + 1];
        const Point along = b - a;
        forEachCrossed(a, b, window, [&](std::size_t pixel, double from, double to) {
            if (!window.counts[pixel])
                return;
            const double ofEnd = 0.5 * (to * to - from * from);
            const double ofStart = to - from - ofEnd;
            for (std::size_t way = 0; way < chords.ways; ++way) {
                const Point move
                    = ofStart * chords.moves[way][i] + ofEnd * chords.moves[way][i + 1];
                use(pixel, way, cross(move, along));
            }
        });
    }
}

} // namespace ztrace::fit

#endif
