// (c) the ztrace developers. Licence: see LICENSE.
#include "ZPolyline.h"

#include "ZSpline.h"

#include <algorithm>
#include <cmath>
#include <typeinfo>

namespace {

const double kQuarterTurn = 1.57079632679489661923;

// The circle of a bulge arc. Source: bulge = tan(angle / 4), chord = 2 r sin(angle / 2). The same
// formula as circleOf in drawing/pieces.cpp, which is no part of the host's libraries.
struct Arc
{
    ZVector center;
    double radius;
    double startAngle;
    double sweep; // signed, counter-clockwise positive
};

Arc arcFromBulge(const ZVector &start, const ZVector &end, double bulge)
{
    const double dx = end.x - start.x;
    const double dy = end.y - start.y;
    const double offset = (1.0 - bulge * bulge) / (4.0 * bulge);
    Arc arc;
    arc.center = ZVector(0.5 * (start.x + end.x) - dy * offset,
                         0.5 * (start.y + end.y) + dx * offset, start.z, true);
    arc.radius = arc.center.getDistanceTo(ZVector(start.x, start.y, start.z, true));
    arc.startAngle = std::atan2(start.y - arc.center.y, start.x - arc.center.x);
    arc.sweep = 4.0 * std::atan(bulge);
    return arc;
}

// Adds the points where the arc turns: its crossings of the axes through its center.
void growToIncludeArc(const Arc &arc, ZBox *box)
{
    const double low = std::min(arc.startAngle, arc.startAngle + arc.sweep);
    const double high = std::max(arc.startAngle, arc.startAngle + arc.sweep);
    for (double quarter = std::ceil(low / kQuarterTurn); quarter * kQuarterTurn <= high;
         quarter += 1.0) {
        const double angle = quarter * kQuarterTurn;
        box->growToInclude(ZVector(arc.center.x + arc.radius * std::cos(angle),
                                   arc.center.y + arc.radius * std::sin(angle), arc.center.z));
    }
}

} // namespace

ZPolyline::ZPolyline() : pending(plainStyle()) { }
ZPolyline::~ZPolyline() { }

ZPolyline::Style ZPolyline::plainStyle()
{
    const Style plain = { 0.0, 0.0, 0.0 };
    return plain;
}

ZPolyline::Style ZPolyline::styleAt(int index) const
{
    return styles.isEmpty() ? plainStyle() : styles.at(index);
}

// Appends a piece that starts on the last point; its further points are to follow.
void ZPolyline::appendPiece(int pointSteps, int degree, const Style &style)
{
    if (styles.isEmpty() && !style.isPlain())
        styles.fill(plainStyle(), pieces.size());
    const bool styled = !styles.isEmpty() || !style.isPlain();
    const Piece piece = { points.size() - 1, pointSteps, degree };
    pieces.append(piece);
    if (styled)
        styles.append(style);
}

// Most outlines have a handful of pieces, which then need no second block of memory.
void ZPolyline::reserveFew()
{
    const int kFew = 5;
    points.reserve(kFew + 1);
    pieces.reserve(kFew);
}

void ZPolyline::appendVertex(const ZVector &vertex, double bulge, double startWidth,
                             double endWidth)
{
    if (points.isEmpty())
        reserveFew();
    else
        appendPiece(1, 0, pending);
    points.append(vertex);
    const Style given = { bulge, startWidth, endWidth };
    pending = given;
}

void ZPolyline::appendSpline(const ZSpline &spline)
{
    if (points.isEmpty())
        points.append(spline.getControlPointAt(0));
    appendPiece(spline.countControlPoints() - 1, spline.getDegree(), plainStyle());
    for (int i = 1; i < spline.countControlPoints(); ++i)
        points.append(spline.getControlPointAt(i));
}

void ZPolyline::appendPolyline(const ZPolyline &other)
{
    if (points.isEmpty())
        points.append(other.points.first());
    for (int i = 0; i < other.pieces.size(); ++i) {
        const Piece &piece = other.pieces.at(i);
        appendPiece(piece.pointSteps, piece.degree, other.styleAt(i));
        for (int k = 1; k <= piece.pointSteps; ++k)
            points.append(other.points.at(piece.firstPoint + k));
    }
}

bool ZPolyline::appendShape(const ZShape &shape, bool prepend)
{
    // The exact type is the common case, and much cheaper to ask for.
    const ZSpline *spline = typeid(shape) == typeid(ZSpline)
        ? static_cast<const ZSpline *>(&shape)
        : dynamic_cast<const ZSpline *>(&shape);
    const ZPolyline *polyline = spline ? nullptr : dynamic_cast<const ZPolyline *>(&shape);
    if (!spline && !polyline)
        return false;
    if (spline ? spline->countControlPoints() < 2 : polyline->isEmpty())
        return false;

    if (!prepend) {
        if (spline)
            appendSpline(*spline);
        else
            appendPolyline(ZPolyline(*polyline));
        return true;
    }
    ZPolyline chain;
    chain.appendShape(shape, false);
    if (!isEmpty())
        chain.appendPolyline(*this);
    *this = chain;
    return true;
}

ZPolyline::PieceKind ZPolyline::getPieceKind(int index) const
{
    const Piece &piece = pieces.at(index);
    if (piece.degree > 0)
        return SplinePiece;
    return getBulgeAt(index) == 0.0 ? LinePiece : ArcPiece;
}

QVector<ZVector> ZPolyline::getPiecePoints(int index) const
{
    QVector<ZVector> list;
    for (int i = 0; i < countPiecePoints(index); ++i)
        list.append(getPiecePointAt(index, i));
    return list;
}

int ZPolyline::countPiecePoints(int index) const
{
    return pieces.at(index).pointSteps + 1;
}

const ZVector &ZPolyline::getPiecePointAt(int index, int point) const
{
    return points.at(pieces.at(index).firstPoint + point);
}

int ZPolyline::getPieceDegree(int index) const
{
    switch (getPieceKind(index)) {
    case LinePiece:
        return 1;
    case ArcPiece:
        return 2;
    default:
        return pieces.at(index).degree;
    }
}

ZSpline ZPolyline::splineAt(int index) const
{
    ZSpline spline;
    spline.setDegree(pieces.at(index).degree);
    for (int i = 0; i < countPiecePoints(index); ++i)
        spline.appendControlPoint(getPiecePointAt(index, i));
    return spline;
}

ZVector ZPolyline::getStartPoint() const
{
    return points.isEmpty() ? ZVector() : points.first();
}

ZVector ZPolyline::getEndPoint() const
{
    return points.isEmpty() ? ZVector() : points.last();
}

ZBox ZPolyline::getBoundingBox() const
{
    ZBox box;
    box.growToInclude(getStartPoint());
    for (int i = 0; i < pieces.size(); ++i) {
        const ZVector &start = getPiecePointAt(i, 0);
        const ZVector &end = getPiecePointAt(i, pieces.at(i).pointSteps);
        box.growToInclude(end);
        if (getPieceKind(i) == ArcPiece)
            growToIncludeArc(arcFromBulge(start, end, getBulgeAt(i)), &box);
        else if (getPieceKind(i) == SplinePiece)
            box.growToInclude(splineAt(i).getBoundingBox());
    }
    return box;
}

double ZPolyline::getLength() const
{
    double sum = 0.0;
    for (int i = 0; i < pieces.size(); ++i) {
        const ZVector &start = getPiecePointAt(i, 0);
        const ZVector &end = getPiecePointAt(i, pieces.at(i).pointSteps);
        switch (getPieceKind(i)) {
        case LinePiece:
            sum += start.getDistanceTo(end);
            break;
        case ArcPiece: {
            const Arc arc = arcFromBulge(start, end, getBulgeAt(i));
            sum += arc.radius * std::fabs(arc.sweep);
            break;
        }
        case SplinePiece:
            sum += splineAt(i).getLength();
            break;
        }
    }
    return sum;
}

QList<QSharedPointer<ZShape>> ZPolyline::getExploded() const
{
    QList<QSharedPointer<ZShape>> shapes;
    for (int i = 0; i < pieces.size(); ++i) {
        if (getPieceKind(i) == SplinePiece) {
            shapes.append(QSharedPointer<ZShape>(new ZSpline(splineAt(i))));
            continue;
        }
        const Style style = styleAt(i);
        ZPolyline *single = new ZPolyline;
        single->appendVertex(getPiecePointAt(i, 0), style.bulge, style.startWidth, style.endWidth);
        single->appendVertex(getPiecePointAt(i, 1));
        shapes.append(QSharedPointer<ZShape>(single));
    }
    return shapes;
}

bool ZPolyline::operator==(const ZPolyline &other) const
{
    if (points != other.points || pieces.size() != other.pieces.size())
        return false;
    for (int i = 0; i < pieces.size(); ++i) {
        const Piece &a = pieces.at(i);
        const Piece &b = other.pieces.at(i);
        const Style ours = styleAt(i);
        const Style theirs = other.styleAt(i);
        if (a.pointSteps != b.pointSteps || a.degree != b.degree || ours.bulge != theirs.bulge
            || ours.startWidth != theirs.startWidth || ours.endWidth != theirs.endWidth)
            return false;
    }
    return true;
}
