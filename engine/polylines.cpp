// (c) the ztrace developers. Licence: see LICENSE.
//
// Fitted outlines to host polylines in drawing coordinates.
#include "ZTraceBitmap.h"

#include "ZSpline.h"

#include "announce.h"
#include "kernels/fit.h"
#include "qtcompat.h"

#include <QPair>

namespace {

using ztrace::Segment;

ZVector imagePoint(const QVector<double> &segment, int xField)
{
    return ZVector(segment.value(xField), segment.value(xField + 1), 0.0, true);
}

// Ascending by the row-major position of the first point; the later outline takes the place of an
// earlier one that starts on the same point. That loss is deliberate, held by tst_polylines.
QMap<double, QPair<int, int>> orderByStart(const QVector<QVector<QVector<QVector<double>>>> &layers,
                                           int width)
{
    QMap<double, QPair<int, int>> order;
    for (int k = 0; k < layers.size(); ++k) {
        const QVector<QVector<QVector<double>>> &paths = layers.at(k);
        for (int p = 0; p < paths.size(); ++p) {
            if (paths.at(p).isEmpty())
                continue;
            const QVector<double> &first = paths.at(p).at(0);
            order.insert(double(width) * first.value(Segment::kY1) + first.value(Segment::kX1),
                         qMakePair(k, p));
        }
    }
    return order;
}

} // namespace

ZVector ZTraceBitmap::transform(const ZVector &point) const
{
    ZVector result(point);
    result.y = double(imageHeight) - point.y;
    return result;
}

ZPolyline ZTraceBitmap::polylineFrom(const TracedPath &segments)
{
    ZPolyline polyline;
    polyline.appendVertex(transform(imagePoint(segments.at(0), Segment::kX1)), 0.0, 0.0, 0.0);
    for (int i = 0; i < segments.size(); ++i) {
        const QVector<double> &segment = segments.at(i);
        if (segment.value(Segment::kType) == ztrace::kLineType) {
            polyline.appendVertex(transform(imagePoint(segment, Segment::kX2)), 0.0, 0.0, 0.0);
            continue;
        }
        ZSpline spline;
        spline.setDegree(2);
        spline.appendControlPoint(polyline.getEndPoint());
        spline.appendControlPoint(transform(imagePoint(segment, Segment::kX2)));
        spline.appendControlPoint(transform(imagePoint(segment, Segment::kX3)));
        polyline.appendShape(spline, false);
    }
    return polyline;
}

QList<ZPolyline> ZTraceBitmap::getPolylines()
{
    const bool announce = ztrace::debugOutputIsOn();
    const QMap<double, QPair<int, int>> order
        = orderByStart(indexedImage.tracedLayers, indexedImage.width);
    QList<ZPolyline> result;
    result.reserve(order.size());
    for (QMap<double, QPair<int, int>>::const_iterator it = order.constBegin();
         it != order.constEnd(); ++it) {
        const int k = it.value().first;
        const int p = it.value().second;
        if (announce)
            ztrace::announcePolyline(k, p);
        result.append(polylineFrom(indexedImage.tracedLayers.at(k).at(p)));
    }
    return result;
}
