// (c) the ztrace developers. Licence: see LICENSE.
//
// Polylines compared point by point through the host's own walk over their pieces.
#include "Comparison.h"

namespace ztrace {

namespace {

// A polyline as plain numbers: the start point, then per piece its kind, what it carries,
// points.
struct Flat
{
    std::vector<double> start;
    std::vector<std::vector<double>> pieces;
};

void appendPoint(std::vector<double> &numbers, const ZVector &point)
{
    numbers.push_back(point.x);
    numbers.push_back(point.y);
    numbers.push_back(point.z);
    numbers.push_back(point.valid ? 1.0 : 0.0);
}

ZVector hostPoint(const reference::Point &point)
{
    return ZVector(point.x, point.y, 0.0, true);
}

Flat flat(const ZPolyline &polyline)
{
    Flat result;
    appendPoint(result.start, polyline.getStartPoint());
    for (int i = 0; i < polyline.countPieces(); ++i) {
        std::vector<double> piece;
        piece.push_back(polyline.getPieceKind(i));
        piece.push_back(polyline.getPieceDegree(i));
        if (polyline.getPieceKind(i) != ZPolyline::SplinePiece) {
            piece.push_back(polyline.getBulgeAt(i));
            piece.push_back(polyline.getStartWidthAt(i));
            piece.push_back(polyline.getEndWidthAt(i));
        }
        const QVector<ZVector> points = polyline.getPiecePoints(i);
        for (const ZVector &point : points)
            appendPoint(piece, point);
        result.pieces.push_back(piece);
    }
    return result;
}

Flat flat(const reference::Polyline &polyline)
{
    Flat result;
    appendPoint(result.start, hostPoint(polyline.first));
    reference::Point end = polyline.first;
    for (const reference::Piece &from : polyline.pieces) {
        std::vector<double> piece;
        if (from.kind == reference::Piece::Line) {
            piece = { ZPolyline::LinePiece, 1.0, 0.0, 0.0, 0.0 };
            appendPoint(piece, hostPoint(end));
        } else {
            piece = { ZPolyline::SplinePiece, 2.0 };
        }
        for (const reference::Point &point : from.points)
            appendPoint(piece, hostPoint(point));
        end = from.points.back();
        result.pieces.push_back(piece);
    }
    return result;
}

QString flatDifference(const Flat &actual, const Flat &expected)
{
    const QString start = difference(actual.start, expected.start);
    if (!start.isEmpty())
        return " start" + start;
    const QString pieces = difference(actual.pieces, expected.pieces);
    return pieces.isEmpty() ? pieces : " piece" + pieces;
}

} // namespace

QString difference(const ZVector &actual, const ZVector &expected)
{
    std::vector<double> a;
    std::vector<double> b;
    appendPoint(a, actual);
    appendPoint(b, expected);
    return difference(a, b);
}

QString difference(const ZVector &actual, const reference::Point &expected)
{
    return difference(actual, hostPoint(expected));
}

QString difference(const ZPolyline &actual, const ZPolyline &expected)
{
    return flatDifference(flat(actual), flat(expected));
}

QString difference(const ZPolyline &actual, const reference::Polyline &expected)
{
    return flatDifference(flat(actual), flat(expected));
}

} // namespace ztrace
