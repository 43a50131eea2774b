// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZPOLYLINE_H
#define ZPOLYLINE_H

#include <QList>
#include <QMetaType>

#include "ZExplodable.h"
#include "ZShape.h"
#include "ZSpline.h"

class ZPolyline : public ZShape, public ZExplodable
{
public:
    ZPolyline() { }
    void appendVertex(const ZVector &vertex, double bulge, double startWidth, double endWidth)
    {
        points.append(vertex);
        widths = bulge + startWidth + endWidth;
    }
    ZVector getEndPoint() const { return points.isEmpty() ? ZVector() : points.last(); }
    void appendShape(const ZShape &shape, bool prepend)
    {
        if (!prepend)
            points += static_cast<const ZSpline &>(shape).points;
    }

private:
    QList<ZVector> points;
    double widths = 0.0;
};

// Whether the host's headers declare its types is not known to a binding.
#ifdef MINIMAL_SDK_DECLARES
#include <QImage>
Q_DECLARE_METATYPE(ZPolyline)
Q_DECLARE_METATYPE(QImage *)
#endif

#endif
