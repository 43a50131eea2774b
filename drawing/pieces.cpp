// (c) the ztrace developers. Licence: see LICENSE.
#include "pieces.h"

#include "ZSpline.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const int kMostSteps = 1000;
const int kStepsOfOtherSplines = 64;

bool isFinite(const ZVector &p)
{
    return std::isfinite(p.x) && std::isfinite(p.y);
}

ZVector weighted(double a, const ZVector &p, double b, const ZVector &q, double c, const ZVector &r)
{
    return ZVector(a * p.x + b * q.x + c * r.x, a * p.y + b * q.y + c * r.y);
}

PathPiece lineTo(const ZVector &start, const ZVector &end)
{
    PathPiece piece;
    piece.start = start;
    piece.end = end;
    return piece;
}

bool allFinite(const ZPolyline &polyline, int index, int count)
{
    for (int i = 1; i < count - 1; ++i) {
        if (!isFinite(polyline.getPiecePointAt(index, i)))
            return false;
    }
    return true;
}

// A spline of another degree or with more control points: lines along it.
void appendOtherSpline(const ZPolyline &polyline, int index, std::vector<PathPiece> *pieces)
{
    ZSpline spline;
    spline.setDegree(polyline.getPieceDegree(index));
    for (int i = 0; i < polyline.countPiecePoints(index); ++i)
        spline.appendControlPoint(polyline.getPiecePointAt(index, i));
    const int steps = kStepsOfOtherSplines * std::max(1, polyline.countPiecePoints(index) - 1);
    ZVector from = spline.getStartPoint();
    for (int i = 1; i <= steps; ++i) {
        const ZVector to
            = i == steps ? spline.getEndPoint() : spline.getPointAt(double(i) / double(steps));
        pieces->push_back(lineTo(from, to));
        from = to;
    }
}

void appendSpline(const ZPolyline &polyline, int index, std::vector<PathPiece> *pieces)
{
    const int count = polyline.countPiecePoints(index);
    const int degree = polyline.getPieceDegree(index);
    PathPiece piece
        = lineTo(polyline.getPiecePointAt(index, 0), polyline.getPiecePointAt(index, count - 1));
    if (degree == 2 && count == 3) {
        piece.kind = PathPiece::Quadratic;
        piece.control1 = polyline.getPiecePointAt(index, 1);
    } else if (degree == 3 && count == 4) {
        piece.kind = PathPiece::Cubic;
        piece.control1 = polyline.getPiecePointAt(index, 1);
        piece.control2 = polyline.getPiecePointAt(index, 2);
    } else if (count > 2) {
        appendOtherSpline(polyline, index, pieces);
        return;
    }
    pieces->push_back(piece);
}

// Steps so that chords of a curve whose second derivative is at most `second` stay within the
// tolerance. Source: the chord error of a parabola, second / (8 steps^2).
int stepsFor(double second, double tolerance)
{
    const double steps = std::ceil(std::sqrt(second / (8.0 * tolerance)));
    if (!(steps > 1.0))
        return 1;
    return steps < kMostSteps ? static_cast<int>(steps) : kMostSteps;
}

double secondDifference(const ZVector &a, const ZVector &b, const ZVector &c)
{
    return std::hypot(a.x - 2.0 * b.x + c.x, a.y - 2.0 * b.y + c.y);
}

} // namespace

void piecesOf(const ZPolyline &polyline, std::vector<PathPiece> *pieces)
{
    pieces->clear();
    const int size = polyline.countPieces();
    for (int i = 0; i < size; ++i) {
        const int count = polyline.countPiecePoints(i);
        const ZVector &start = polyline.getPiecePointAt(i, 0);
        const ZVector &end = polyline.getPiecePointAt(i, count - 1);
        if (!isFinite(start) || !isFinite(end))
            continue;
        const ZPolyline::PieceKind kind = polyline.getPieceKind(i);
        if (kind == ZPolyline::SplinePiece && allFinite(polyline, i, count)) {
            appendSpline(polyline, i, pieces);
            continue;
        }
        pieces->push_back(lineTo(start, end));
        if (kind == ZPolyline::ArcPiece && std::isfinite(polyline.getBulgeAt(i)) && start != end) {
            pieces->back().kind = PathPiece::Arc;
            pieces->back().bulge = polyline.getBulgeAt(i);
        }
    }
}

bool isClosed(const std::vector<PathPiece> &pieces)
{
    return !pieces.empty() && pieces.front().start.x == pieces.back().end.x
        && pieces.front().start.y == pieces.back().end.y;
}

ZVector pointOn(const PathPiece &piece, double t)
{
    const double s = 1.0 - t;
    if (piece.kind == PathPiece::Quadratic)
        return weighted(s * s, piece.start, 2.0 * s * t, piece.control1, t * t, piece.end);
    const ZVector inner = weighted(3.0 * s * s * t, piece.control1, 3.0 * s * t * t, piece.control2,
                                   0.0, piece.end);
    return weighted(s * s * s, piece.start, t * t * t, piece.end, 1.0, inner);
}

Circle circleOf(const PathPiece &arc)
{
    // Source: bulge = tan(angle / 4), chord = 2 r sin(angle / 2).
    const double dx = arc.end.x - arc.start.x;
    const double dy = arc.end.y - arc.start.y;
    const double offset = (1.0 - arc.bulge * arc.bulge) / (4.0 * arc.bulge);
    Circle circle;
    circle.center = ZVector(0.5 * (arc.start.x + arc.end.x) - dy * offset,
                            0.5 * (arc.start.y + arc.end.y) + dx * offset);
    circle.radius = std::hypot(arc.start.x - circle.center.x, arc.start.y - circle.center.y);
    circle.startAngle = std::atan2(arc.start.y - circle.center.y, arc.start.x - circle.center.x);
    circle.sweep = 4.0 * std::atan(arc.bulge);
    return circle;
}

void flatten(const PathPiece &piece, double tolerance, std::vector<ZVector> *points)
{
    int steps = 1;
    switch (piece.kind) {
    case PathPiece::Line:
        break;
    case PathPiece::Quadratic:
        steps = stepsFor(2.0 * secondDifference(piece.start, piece.control1, piece.end), tolerance);
        break;
    case PathPiece::Cubic:
        steps
            = stepsFor(6.0
                           * std::max(secondDifference(piece.start, piece.control1, piece.control2),
                                      secondDifference(piece.control1, piece.control2, piece.end)),
                       tolerance);
        break;
    case PathPiece::Arc: {
        const Circle circle = circleOf(piece);
        steps = stepsFor(circle.radius * circle.sweep * circle.sweep, tolerance);
        for (int i = 1; i < steps; ++i) {
            const double angle = circle.startAngle + circle.sweep * i / steps;
            points->push_back(ZVector(circle.center.x + circle.radius * std::cos(angle),
                                      circle.center.y + circle.radius * std::sin(angle)));
        }
        points->push_back(piece.end);
        return;
    }
    }
    for (int i = 1; i < steps; ++i)
        points->push_back(pointOn(piece, double(i) / double(steps)));
    points->push_back(piece.end);
}

} // namespace ztrace
