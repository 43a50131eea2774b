// (c) the ztrace developers. Licence: see LICENSE.
//
// A spline curve given by control points.
#ifndef ZSPLINE_H
#define ZSPLINE_H

#include <QVarLengthArray>

#include "ZShape.h"

// A clamped, uniform B-spline of a degree of 1 or more: it starts on the first control point and
// ends on the last. With exactly degree + 1 control points it is one Bezier curve, which is all
// that the tracer makes (degree 2, three points). With fewer points than that the curve is not
// defined yet and is taken as the polygon through its control points.
class ZELVORA_EXPORT ZSpline : public ZShape
{
public:
    ZSpline();
    ~ZSpline() override;

    // Degree of the pieces; a new spline has 3. Values below 1 are taken as 1.
    void setDegree(int degree);
    int getDegree() const { return degree; }

    void appendControlPoint(const ZVector &point);
    int countControlPoints() const { return controlPoints.size(); }
    const ZVector &getControlPointAt(int index) const { return controlPoints.at(index); }
    // The point at parameter t in 0..1, over the whole spline; values outside are clamped.
    // Source: de Boor's algorithm. Not valid for a spline without control points.
    ZVector getPointAt(double t) const;

    ZVector getStartPoint() const override;
    ZVector getEndPoint() const override;
    ZBox getBoundingBox() const override;

    // From chord lengths of ever finer pieces by Richardson's extrapolation, to 12 digits.
    double getLength() const override;

private:
    int degree;
    QVarLengthArray<ZVector, 4> controlPoints; // a Bezier curve needs no memory of its own
};

#endif
