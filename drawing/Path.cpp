// (c) the ztrace developers. Licence: see LICENSE.
#include "Path.h"

#include "pieces.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kQuarterTurn = 2.0 * std::atan(1.0);

// The points where the arc turns: its crossings of the axes through its center.
void growByArc(const PathPiece &piece, Bounds *bounds)
{
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

// Where x or y of an ellipse is largest or least: x = major cos(t) cos(angle) - minor sin(t)
// sin(angle), and y likewise.
void growByEllipticArc(const PathPiece &piece, Bounds *bounds)
{
    const Ellipse ellipse = ellipseOf(piece);
    const double low = std::min(ellipse.start, ellipse.start + ellipse.sweep);
    const double high = std::max(ellipse.start, ellipse.start + ellipse.sweep);
    const double c = std::cos(ellipse.angle);
    const double s = std::sin(ellipse.angle);
    const double half = 2.0 * kQuarterTurn;
    for (double turn : { std::atan2(-ellipse.minor * s, ellipse.major * c),
                         std::atan2(ellipse.minor * c, ellipse.major * s) }) {
        for (double k = std::ceil((low - turn) / half); turn + k * half <= high; k += 1.0)
            bounds->grow(pointOn(ellipse, turn + k * half));
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

PathPiece Path::Iterator::operator*() const
{
    PathPiece piece;
    piece.kind = step->kind;
    piece.degree = step->degree;
    piece.start = start[0];
    piece.end = start[step->points];
    switch (step->kind) {
    case PathPiece::Line:
        break;
    case PathPiece::Arc:
        piece.bulge = start[1].x;
        break;
    case PathPiece::EllipticArc:
        piece.bulge = start[1].x;
        piece.ratio = start[1].y;
        piece.angle = start[2].x;
        break;
    case PathPiece::Cubic:
        piece.control2 = start[2];
        piece.control1 = start[1];
        break;
    case PathPiece::Quadratic:
        piece.control1 = start[1];
        break;
    case PathPiece::Spline:
        piece.inner = start + 1;
        piece.innerCount = step->points - 1;
        break;
    }
    return piece;
}

void Path::reserve(std::size_t pieceCount, std::size_t pointCount)
{
    steps.reserve(pieceCount);
    points.reserve(pointCount);
}

void Path::lineTo(const Point &point)
{
    steps.push_back({ PathPiece::Line, 1, 1 });
    points.push_back(point);
}

void Path::arcTo(const Point &point, double bulge)
{
    if (bulge == 0.0) {
        lineTo(point);
        return;
    }
    steps.push_back({ PathPiece::Arc, 2, 2 });
    points.push_back(Point(bulge, 0.0));
    points.push_back(point);
}

void Path::ellipticArcTo(const Point &point, double bulge, double ratio, double angle)
{
    if (bulge == 0.0 || ratio == 1.0) {
        arcTo(point, bulge);
        return;
    }
    steps.push_back({ PathPiece::EllipticArc, 2, 3 });
    points.push_back(Point(bulge, ratio));
    points.push_back(Point(angle, 0.0));
    points.push_back(point);
}

void Path::quadraticTo(const Point &control, const Point &point)
{
    steps.push_back({ PathPiece::Quadratic, 2, 2 });
    points.push_back(control);
    points.push_back(point);
}

void Path::cubicTo(const Point &control1, const Point &control2, const Point &point)
{
    steps.push_back({ PathPiece::Cubic, 3, 3 });
    points.push_back(control1);
    points.push_back(control2);
    points.push_back(point);
}

void Path::splineTo(int degree, const std::vector<Point> &innerControls, const Point &point)
{
    PathPiece::Kind kind = PathPiece::Spline;
    if (degree == 2 && innerControls.size() == 1)
        kind = PathPiece::Quadratic;
    else if (degree == 3 && innerControls.size() == 2)
        kind = PathPiece::Cubic;
    steps.push_back(
        { kind, static_cast<uint8_t>(degree), static_cast<uint32_t>(innerControls.size() + 1) });
    points.insert(points.end(), innerControls.begin(), innerControls.end());
    points.push_back(point);
}

bool operator==(const Path &a, const Path &b)
{
    const auto same = [](const Path::Step &one, const Path::Step &other) {
        return one.kind == other.kind && one.degree == other.degree && one.points == other.points;
    };
    return a.points == b.points && a.steps.size() == b.steps.size()
        && std::equal(a.steps.begin(), a.steps.end(), b.steps.begin(), same);
}

void Bounds::grow(const Point &point)
{
    if (!isPlace(point))
        return;
    if (!valid) {
        valid = true;
        low = high = point;
        return;
    }
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
    for (const PathPiece piece : path.pieces()) {
        bounds.grow(piece.end);
        if (piece.kind == PathPiece::Arc)
            growByArc(piece, &bounds);
        else if (piece.kind == PathPiece::EllipticArc)
            growByEllipticArc(piece, &bounds);
        else if (piece.kind == PathPiece::Quadratic)
            growByQuadratic(piece, &bounds);
        if (piece.kind == PathPiece::Cubic) {
            bounds.grow(piece.control1);
            bounds.grow(piece.control2);
        }
        for (std::size_t i = 0; i < piece.innerCount; ++i)
            bounds.grow(piece.inner[i]);
    }
    return bounds;
}

} // namespace ztrace
