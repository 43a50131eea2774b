// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZSPLINE_H
#define ZSPLINE_H

#include <QList>

#include "ZShape.h"

class ZSpline : public ZShape
{
public:
    ZSpline() : degree(3) { }
    void setDegree(int d) { degree = d; }
    void appendControlPoint(const ZVector &point) { points.append(point); }

    int degree;
    QList<ZVector> points;
};

#endif
