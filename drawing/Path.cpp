// (c) the ztrace developers. Licence: see LICENSE.
#include "Path.h"

#include "pieces.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

bool areEqual(const PathPiece &a, const PathPiece &b)
{
    if (a.kind != b.kind || a.start != b.start || a.end != b.end)
        return false;
    switch (a.kind) {
    case PathPiece::Line:
        return true;
    case PathPiece::Arc:
        return a.bulge == b.bulge;
    case PathPiece::Quadratic:
        return a.control1 == b.control1;
    case PathPiece::Cubic:
        return a.control1 == b.control1 && a.control2 == b.control2;
    case PathPiece::Spline:
        break;
    }
    return a.degree == b.degree && a.innerCount == b.innerCount;
}

// The points where the arc turns: its crossings of the axes through its center.
void growByArc(const PathPiece &piece, Bounds *bounds)
{
    const double kQuarterTurn = 2.0 * std::atan(1.0);
    const Circle circle = circleOf(piece);
    const double low = std::min(circle.startAngle, circle.startAngle + circle.sweep);
    const double high = std::max(circle.startAngle, circle.startAngle + circle.sweep);
    for (double quarter = std::ceil(low / kQuarterTurn); quarter * kQuarterTurn <= high;
         quarter += 1.0) {
        const double angle = quarter * kQuarterTurn;
        bounds->grow(Point(circle.center.x + circle.radius * std::cos(angle),
                           circle.center.y + circle.radius * std::sin(angle)));
    }
}

// A quadratic turns where its derivative is zero: t = (P0 - P1) / (P0 - 2 P1 + P2).
void growByQuadratic(const PathPiece &piece, Bounds *bounds)
{
    const auto turn = [](double a, double b, double c) { return (a - b) / (a - 2.0 * b + c); };
    for (double t : { turn(piece.start.x, piece.control1.x, piece.end.x),
                      turn(piece.start.y, piece.control1.y, piece.end.y) }) {
        if (t > 0.0 && t < 1.0)
            bounds->grow(pointOn(piece, t));
    }
}

} // namespace

PathPiece &Path::append(PathPiece::Kind kind, const Point &point)
{
    PathPiece piece;
    piece.kind = kind;
    piece.start = end();
    piece.end = point;
    parts.push_back(piece);
    return parts.back();
}

void Path::moveTo(const Point &point)
{
    started = true;
    first = point;
}

void Path::lineTo(const Point &point)
{
    append(PathPiece::Line, point);
}

void Path::arcTo(const Point &point, double bulge)
{
    append(bulge == 0.0 ? PathPiece::Line : PathPiece::Arc, point).bulge = bulge;
}

void Path::quadraticTo(const Point &control, const Point &point)
{
    append(PathPiece::Quadratic, point).control1 = control;
}

void Path::cubicTo(const Point &control1, const Point &control2, const Point &point)
{
    PathPiece &piece = append(PathPiece::Cubic, point);
    piece.control1 = control1;
    piece.control2 = control2;
}

void Path::splineTo(int degree, const std::vector<Point> &innerControls, const Point &point)
{
    if (degree == 2 && innerControls.size() == 1) {
        quadraticTo(innerControls[0], point);
        return;
    }
    if (degree == 3 && innerControls.size() == 2) {
        cubicTo(innerControls[0], innerControls[1], point);
        return;
    }
    PathPiece &piece = append(PathPiece::Spline, point);
    piece.degree = degree;
    piece.firstInner = innerPoints.size();
    piece.innerCount = innerControls.size();
    innerPoints.insert(innerPoints.end(), innerControls.begin(), innerControls.end());
}

bool operator==(const Path &a, const Path &b)
{
    return a.isEmpty() == b.isEmpty() && a.start() == b.start()
        && a.pieces().size() == b.pieces().size() && a.inner() == b.inner()
        && std::equal(a.pieces().begin(), a.pieces().end(), b.pieces().begin(), areEqual);
}

void Bounds::grow(const Point &point)
{
    if (!valid) {
        valid = !std::isnan(point.x) && !std::isnan(point.y);
        low = high = point;
        return;
    }
    // Comparisons written so that what is not a number never replaces a limit.
    low.x = point.x < low.x ? point.x : low.x;
    low.y = point.y < low.y ? point.y : low.y;
    high.x = point.x > high.x ? point.x : high.x;
    high.y = point.y > high.y ? point.y : high.y;
}

void Bounds::grow(const Bounds &other)
{
    if (!other.valid)
        return;
    grow(other.low);
    grow(other.high);
}

Bounds boundsOf(const Path &path)
{
    Bounds bounds;
    if (!path.isEmpty())
        bounds.grow(path.start());
    for (const PathPiece &piece : path.pieces()) {
        bounds.grow(piece.end);
        if (piece.kind == PathPiece::Arc)
            growByArc(piece, &bounds);
        else if (piece.kind == PathPiece::Quadratic)
            growByQuadratic(piece, &bounds);
        if (piece.kind == PathPiece::Cubic) {
            bounds.grow(piece.control1);
            bounds.grow(piece.control2);
        }
        for (std::size_t i = 0; i < piece.innerCount; ++i)
            bounds.grow(path.inner()[piece.firstInner + i]);
    }
    return bounds;
}

} // namespace ztrace
