// (c) the ztrace developers. Licence: see LICENSE.
#include "hostpath.h"

#include "pieces.h"

#include "ZPolyline.h"
#include "ZSpline.h"

namespace ztrace {

namespace {

Point pointOf(const ZVector &vector)
{
    return Point(vector.x, vector.y);
}

ZVector vectorOf(const Point &point)
{
    return ZVector(point.x, point.y);
}

void appendPiece(const ZPolyline &polyline, int index, Path *path)
{
    const int last = polyline.countPiecePoints(index) - 1;
    const Point end = pointOf(polyline.getPiecePointAt(index, last));
    if (polyline.getPieceKind(index) != ZPolyline::SplinePiece) {
        path->arcTo(end, polyline.getBulgeAt(index));
        return;
    }
    std::vector<Point> inner;
    for (int i = 1; i < last; ++i)
        inner.push_back(pointOf(polyline.getPiecePointAt(index, i)));
    path->splineTo(polyline.getPieceDegree(index), inner, end);
}

ZSpline splineOf(const PathPiece &piece)
{
    ZSpline spline;
    spline.appendControlPoint(vectorOf(piece.start));
    if (piece.kind == PathPiece::Quadratic || piece.kind == PathPiece::Cubic)
        spline.appendControlPoint(vectorOf(piece.control1));
    if (piece.kind == PathPiece::Cubic)
        spline.appendControlPoint(vectorOf(piece.control2));
    for (std::size_t i = 0; i < piece.innerCount; ++i)
        spline.appendControlPoint(vectorOf(piece.inner[i]));
    spline.appendControlPoint(vectorOf(piece.end));
    spline.setDegree(piece.kind == PathPiece::Quadratic   ? 2
                         : piece.kind == PathPiece::Cubic ? 3
                                                          : piece.degree);
    return spline;
}

} // namespace

Path pathOf(const ZPolyline &polyline)
{
    Path path;
    if (polyline.isEmpty())
        return path;
    path.moveTo(pointOf(polyline.getStartPoint()));
    for (int i = 0; i < polyline.countPieces(); ++i)
        appendPiece(polyline, i, &path);
    return path;
}

ZPolyline polylineOf(const Path &path)
{
    ZPolyline polyline;
    if (path.isEmpty())
        return polyline;
    polyline.appendVertex(vectorOf(path.start()));
    for (const PathPiece piece : path.pieces()) {
        if (piece.kind == PathPiece::EllipticArc) {
            std::vector<PathPiece> cubics;
            appendCubics(piece, kEllipseTolerance, &cubics);
            for (const PathPiece &cubic : cubics)
                polyline.appendShape(splineOf(cubic));
        } else if (piece.kind == PathPiece::Line || piece.kind == PathPiece::Arc) {
            // A bulge belongs to the vertex before the piece.
            ZPolyline step;
            step.appendVertex(vectorOf(piece.start), piece.bulge);
            step.appendVertex(vectorOf(piece.end));
            polyline.appendShape(step);
        } else {
            polyline.appendShape(splineOf(piece));
        }
    }
    return polyline;
}

std::vector<Point> pointsAlongSpline(const PathPiece &piece, std::size_t steps)
{
    const ZSpline spline = splineOf(piece);
    std::vector<Point> points;
    for (std::size_t i = 1; i < steps; ++i)
        points.push_back(pointOf(spline.getPointAt(double(i) / double(steps))));
    points.push_back(piece.end);
    return points;
}

} // namespace ztrace
