// (c) the ztrace developers. Licence: see LICENSE.
#include "report.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const std::size_t kSides = 4;

// Pixels: the engine's outlines go through the middles of the border's pixel edges at the corners.
const double kToBorder = 0.5;

// A straight piece at one of the four sides.
bool isAlongBorder(const PathPiece &piece, double width, double height)
{
    const auto bothAre = [](double a, double b, double side) {
        return std::fabs(a - side) <= kToBorder && std::fabs(b - side) <= kToBorder;
    };
    return piece.kind == PathPiece::Line
        && (bothAre(piece.start.x, piece.end.x, 0.0) || bothAre(piece.start.x, piece.end.x, width)
            || bothAre(piece.start.y, piece.end.y, 0.0)
            || bothAre(piece.start.y, piece.end.y, height));
}

bool isPage(const Outline &outline, const Drawing &drawing)
{
    for (const PathPiece piece : outline.shape.pieces()) {
        if (!isAlongBorder(piece, drawing.width, drawing.height))
            return false;
    }
    return outline.shape.pieces().size() >= kSides && outline.holes.empty() && outline.gradient < 0;
}

} // namespace

bool isBlank(const Drawing &drawing)
{
    const std::vector<Outline> &outlines = drawing.outlines;
    return !outlines.empty()
        && std::all_of(outlines.begin(), outlines.end(), [&](const Outline &outline) {
               return outline.colour == outlines.front().colour && isPage(outline, drawing);
           });
}

Counts countPieces(const Drawing &drawing)
{
    Counts counts;
    for (const Outline &outline : drawing.outlines) {
        ++counts.outlines;
        const int lines = int(outline.shape.pieces().lines());
        counts.lines += lines;
        counts.curves += int(outline.shape.pieces().size()) - lines;
    }
    return counts;
}

} // namespace ztrace
