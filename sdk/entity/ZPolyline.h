// (c) the ztrace developers. Licence: see LICENSE.
//
// The host's polyline: straight pieces, arcs and appended splines in one chain.
#ifndef ZPOLYLINE_H
#define ZPOLYLINE_H

#include <QMetaType>
#include <QVector>

#include "ZExplodable.h"
#include "ZShape.h"

class ZSpline;

// An open chain of pieces, each starting where the one before it ends. Copies share their data
// until one of them changes. A piece is
//   - a line, made by appendVertex with bulge 0 on the vertex before it,
//   - an arc, made by a bulge other than 0 (the tangent of a quarter of the arc's angle, positive
//     to the left), or
//   - a spline, made by appendShape.
// Indices of pieces run from 0 to countPieces() - 1; passing another one is an error of the
// caller and is not checked.
class ZELVORA_EXPORT ZPolyline : public ZShape, public ZExplodable
{
public:
    enum PieceKind { LinePiece, ArcPiece, SplinePiece };

    // An empty, open polyline.
    ZPolyline();
    ~ZPolyline() override;

    // Appends a vertex; from the second on this makes a piece from the end point to `vertex`, with
    // the bulge and the widths that the vertex before it was given.
    void appendVertex(const ZVector &vertex, double bulge = 0.0, double startWidth = 0.0,
                      double endWidth = 0.0);

    // Appends a shape at the end, or with `prepend` puts it in front. Splines and polylines are
    // taken, other shapes are refused (false). The shape's own first point is not joined by a
    // line: the piece continues from where the polyline ends.
    bool appendShape(const ZShape &shape, bool prepend = false);

    bool isEmpty() const { return points.isEmpty(); }
    int countPieces() const { return pieces.size(); }
    PieceKind getPieceKind(int index) const;

    // Start point, inner control points (splines only) and end point of a piece.
    QVector<ZVector> getPiecePoints(int index) const;

    // Number of points of a piece, and one of them, without making a list.
    int countPiecePoints(int index) const;
    const ZVector &getPiecePointAt(int index, int point) const;

    // Degree of a spline piece; 1 for lines, 2 for arcs.
    int getPieceDegree(int index) const;

    // Bulge and widths of a piece; 0 for splines.
    double getBulgeAt(int index) const { return styleAt(index).bulge; }
    double getStartWidthAt(int index) const { return styleAt(index).startWidth; }
    double getEndWidthAt(int index) const { return styleAt(index).endWidth; }

    ZVector getStartPoint() const override;
    ZVector getEndPoint() const override;
    ZBox getBoundingBox() const override;
    double getLength() const override;

    // Lines as polylines of one piece, arcs likewise, splines as ZSpline.
    QList<QSharedPointer<ZShape>> getExploded() const override;

    // Exact comparison, piece by piece.
    bool operator==(const ZPolyline &other) const;
    bool operator!=(const ZPolyline &other) const { return !(*this == other); }

private:
    // One piece; its points are points[firstPoint .. firstPoint + pointSteps].
    struct Piece
    {
        int firstPoint;
        int pointSteps;
        int degree; // 0: a vertex piece, otherwise a spline of that degree
    };

    // What a vertex is given beside its place.
    struct Style
    {
        double bulge;
        double startWidth;
        double endWidth;

        bool isPlain() const { return bulge == 0.0 && startWidth == 0.0 && endWidth == 0.0; }
    };

    static Style plainStyle();
    Style styleAt(int index) const;
    void reserveFew();
    void appendPiece(int pointSteps, int degree, const Style &style);
    ZSpline splineAt(int index) const;
    void appendSpline(const ZSpline &spline);
    void appendPolyline(const ZPolyline &other);

    // Neighbouring pieces share the point between them, so the chain is stored once.
    QVector<ZVector> points;
    QVector<Piece> pieces;

    // One a piece, but empty while all are plain, which is the rule.
    QVector<Style> styles;

    // What the last vertex was given, for the piece that will start on it.
    Style pending;
};

// The name under which scripts and bindings pass polylines by value.
Q_DECLARE_METATYPE(ZPolyline)

#endif
