// (c) the ztrace developers. Licence: see LICENSE.
#include "wholeshape.h"

#include "pieces.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kRelative = 1e-9;
const std::size_t kMostPieces = 8; // of a rounded rectangle
const double kQuarterTurn = 2.0 * std::atan(1.0);
const double kQuarterBulge = std::tan(0.25 * kQuarterTurn);

double sizeOf(const Point &p)
{
    return std::max(std::fabs(p.x), std::fabs(p.y));
}

bool isNear(const Point &a, const Point &b, double distance)
{
    return std::hypot(a.x - b.x, a.y - b.y) <= distance; // false for what is no number
}

Point mean(const Point &a, const Point &b)
{
    return Point(0.5 * (a.x + b.x), 0.5 * (a.y + b.y));
}

bool isHalfTurn(const PathPiece &piece)
{
    return std::fabs(std::fabs(piece.bulge) - 1.0) <= kRelative;
}

WholeShape ofHalves(const PathPiece &first, const PathPiece &second)
{
    WholeShape shape;
    if (first.kind != second.kind || !isHalfTurn(first) || !isHalfTurn(second)
        || (first.bulge < 0.0) != (second.bulge < 0.0) || first.ratio != second.ratio
        || first.angle != second.angle || first.start == first.end)
        return shape;
    const Ellipse ellipse = ellipseOf(first);
    shape.kind = first.kind == PathPiece::Arc ? WholeShape::Circle : WholeShape::Ellipse;
    shape.center = mean(first.start, first.end);
    shape.half[0] = ellipse.major;
    shape.half[1] = ellipse.minor;
    shape.angle = first.kind == PathPiece::Arc ? 0.0 : first.angle;
    return shape;
}

// The corners of four lines, or of quarters with lines between some of them, and the radius; fewer
// than four where the pieces are something else.
std::vector<Point> cornersOf(const std::vector<PathPiece> &pieces, double tolerance, double *radius)
{
    std::vector<Point> corners;
    std::size_t arcs = 0;
    for (const PathPiece &piece : pieces)
        arcs += piece.kind == PathPiece::Arc ? 1 : 0;
    if ((arcs == 0 && pieces.size() != 4) || (arcs != 0 && arcs != 4))
        return corners;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const PathPiece &piece = pieces[i];
        const PathPiece &next = pieces[(i + 1) % pieces.size()];
        if (piece.kind == PathPiece::Line) {
            if (arcs == 0)
                corners.push_back(piece.start);
            else if (next.kind == PathPiece::Line)
                return std::vector<Point>();
            continue;
        }
        if (piece.kind != PathPiece::Arc
            || std::fabs(std::fabs(piece.bulge) - kQuarterBulge) > kRelative
            || (piece.bulge < 0.0) != (pieces.back().bulge + pieces.front().bulge < 0.0))
            return std::vector<Point>();
        const Circle circle = circleOf(piece);
        if (corners.empty())
            *radius = circle.radius;
        if (std::fabs(circle.radius - *radius) > tolerance)
            return std::vector<Point>();
        corners.push_back(Point(piece.start.x + piece.end.x - circle.center.x,
                                piece.start.y + piece.end.y - circle.center.y));
    }
    return corners;
}

// Whether the quarters are where they touch the sides between the corners.
bool touchSides(const std::vector<PathPiece> &pieces, const std::vector<Point> &corners,
                double radius, double tolerance)
{
    std::size_t corner = 0;
    for (const PathPiece &piece : pieces) {
        if (piece.kind != PathPiece::Arc)
            continue;
        const Point &here = corners[corner];
        const Point &before = corners[(corner + 3) % 4];
        const double length = std::hypot(here.x - before.x, here.y - before.y);
        const double along = length > 0.0 ? radius / length : 0.0;
        if (radius > 0.5 * length + tolerance
            || !isNear(
                piece.start,
                Point(here.x + along * (before.x - here.x), here.y + along * (before.y - here.y)),
                tolerance))
            return false;
        ++corner;
    }
    return true;
}

WholeShape ofCorners(const std::vector<Point> &corners, double radius, double tolerance)
{
    WholeShape shape;
    const Point center = mean(corners[0], corners[2]);
    const double diagonal = std::hypot(corners[0].x - center.x, corners[0].y - center.y);
    if (!isNear(center, mean(corners[1], corners[3]), tolerance)
        || !(std::fabs(std::hypot(corners[1].x - center.x, corners[1].y - center.y) - diagonal)
             <= tolerance))
        return shape;
    const Point side(corners[1].x - corners[0].x, corners[1].y - corners[0].y);
    const Point other(corners[2].x - corners[1].x, corners[2].y - corners[1].y);
    shape.half[0] = 0.5 * std::hypot(side.x, side.y);
    shape.half[1] = 0.5 * std::hypot(other.x, other.y);
    if (!(shape.half[0] > tolerance && shape.half[1] > tolerance))
        return shape;
    shape.kind = WholeShape::Rectangle;
    shape.center = center;
    shape.radius = radius;
    shape.angle = std::atan2(side.y, side.x);
    if (std::fabs(side.y) <= tolerance || std::fabs(side.x) <= tolerance) {
        if (std::fabs(side.x) <= tolerance)
            std::swap(shape.half[0], shape.half[1]);
        shape.angle = 0.0;
    }
    return shape;
}

// At most so many as a whole shape has; none for more.
std::vector<PathPiece> fewPiecesOf(const Path &path)
{
    std::vector<PathPiece> pieces;
    if (path.pieces().size() > kMostPieces)
        return pieces;
    for (const PathPiece piece : path.pieces()) {
        if (piece.kind != PathPiece::Line || piece.start != piece.end)
            pieces.push_back(piece);
    }
    return pieces;
}

Path roundedPath(const WholeShape &shape)
{
    const double c = std::cos(shape.angle);
    const double s = std::sin(shape.angle);
    const double r = std::min({ shape.radius, shape.half[0], shape.half[1] });
    const auto at = [&](double x, double y) {
        return Point(shape.center.x + c * x - s * y, shape.center.y + s * x + c * y);
    };
    static const int signs[4][2] = { { -1, 1 }, { 1, 1 }, { 1, -1 }, { -1, -1 } };
    Path path;
    for (int k = 0; k < 4; ++k) {
        const double x = signs[k][0] * shape.half[0];
        const double y = signs[k][1] * shape.half[1];
        // Upright sides end in corners 0 and 2, flat ones in 1 and 3.
        const Point upright = at(x, y - signs[k][1] * r);
        const Point flat = at(x - signs[k][0] * r, y);
        const Point before = k % 2 == 0 ? upright : flat;
        if (k == 0)
            path.moveTo(before);
        else if (before != path.end())
            path.lineTo(before);
        if (r > 0.0)
            path.arcTo(k % 2 == 0 ? flat : upright, -kQuarterBulge);
    }
    if (path.end() != path.start())
        path.lineTo(path.start());
    return path;
}

} // namespace

WholeShape wholeShapeOf(const Path &path)
{
    const std::vector<PathPiece> pieces = fewPiecesOf(path);
    if (pieces.size() < 2 || !(path.start() == path.end()))
        return WholeShape();
    if (pieces.size() == 2) {
        const PathPiece::Kind kind = pieces[0].kind;
        return kind == PathPiece::Arc || kind == PathPiece::EllipticArc
            ? ofHalves(pieces[0], pieces[1])
            : WholeShape();
    }
    double size = 0.0;
    for (const PathPiece &piece : pieces)
        size = std::max(size, sizeOf(piece.start));
    double radius = 0.0;
    const double tolerance = kRelative * size;
    const std::vector<Point> corners = cornersOf(pieces, tolerance, &radius);
    if (corners.size() != 4 || !touchSides(pieces, corners, radius, tolerance))
        return WholeShape();
    return ofCorners(corners, radius, tolerance);
}

Path pathOf(const WholeShape &shape)
{
    if (shape.kind == WholeShape::Rectangle)
        return roundedPath(shape);
    const double x = shape.half[0] * std::cos(shape.angle);
    const double y = shape.half[0] * std::sin(shape.angle);
    const double ratio = shape.half[1] / shape.half[0];
    const Point far(shape.center.x - x, shape.center.y - y);
    Path path;
    path.moveTo(Point(shape.center.x + x, shape.center.y + y));
    path.ellipticArcTo(far, -1.0, ratio, shape.angle);
    path.ellipticArcTo(path.start(), -1.0, ratio, shape.angle);
    return path;
}

} // namespace ztrace
