// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/overpaper.h"

#include "strokes/pieces.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Pixels that a stroke is wide at least: of thinner ones edges are most.
const double kWide = 5.0;
// Pixels inside of its edges that a stroke is looked at, and the coverage that paper has there.
const double kInside = 1.0;
const double kPaper = 0.3;
// Part of a stroke's inside that paper may have, and less where ink is such a part of what lies
// beside it, up to half its width: it goes on over the edge there. Diagonals of squares that touch
// in their corners have .05 and .6; of 2,100 lines, arcs and circles of fifty drawings one was
// dropped in greys.
const double kMostPaper = 0.1;
const double kMostPaperInInk = 0.045;
const double kMuchInk = 0.5;

bool isCandidate(const Stroke &stroke)
{
    return stroke.width >= kWide && stroke.dashing.type == DashType::None
        && stroke.role != Role::Text;
}

// Calls `look` with places up to `far` pixels from the middle of a stroke, a pixel apart along it
// and at most a pixel across it, and how far they are from it.
template<typename Look>
void lookAlong(const Stroke &stroke, double far, Look look)
{
    const int along = std::max(2, int(std::ceil(lengthOf(stroke.piece))));
    const int across = std::max(1, int(std::ceil(far)));
    Point last = fit::pointAt(stroke.piece, 0.0);
    for (int k = 1; k <= along; ++k) {
        const Point next = fit::pointAt(stroke.piece, double(k) / along);
        const Point step = next - last;
        const double length = std::hypot(step.x, step.y);
        const Point middle = 0.5 * (next + last);
        last = next;
        if (!(length > 0.0))
            continue;
        const Point out = (1.0 / length) * Point { -step.y, step.x };
        for (int side = -across; side <= across; ++side)
            look(middle + far * side / across * out, far * std::abs(side) / across);
    }
}

bool isOverPaper(const Stroke &stroke, const Coverage &coverage)
{
    const double half = 0.5 * stroke.width;
    int inside = 0;
    int paper = 0;
    int beside = 0;
    int ink = 0;
    lookAlong(stroke, 2.0 * half, [&](Point place, double far) {
        const bool isPaper = coverage.at(place) < kPaper;
        inside += far <= half - kInside ? 1 : 0;
        paper += isPaper && far <= half - kInside ? 1 : 0;
        beside += far >= half + kInside ? 1 : 0;
        ink += !isPaper && far >= half + kInside ? 1 : 0;
    });
    return paper > (ink > kMuchInk * beside ? kMostPaperInInk : kMostPaper) * inside;
}

} // namespace

Plane dropStrokesOverPaper(const Plane &ink, const Coverage &coverage, StrokeDrawing *drawing)
{
    Plane cells;
    const auto isFalse = [&](const Stroke &stroke) {
        if (!isCandidate(stroke) || !isOverPaper(stroke, coverage))
            return false;
        if (cells.cells.empty())
            cells = Plane(ink.width, ink.height);
        lookAlong(stroke, 0.5 * stroke.width, [&](Point place, double) {
            const int x = int(std::floor(place.x));
            const int y = int(std::floor(place.y));
            if (x >= 0 && y >= 0 && x < ink.width && y < ink.height)
                cells.cells[cells.cellOf(x, y)] = 1;
        });
        return true;
    };
    std::vector<Stroke> &strokes = drawing->strokes;
    strokes.erase(std::remove_if(strokes.begin(), strokes.end(), isFalse), strokes.end());
    return cells;
}

} // namespace ztrace::strokes
