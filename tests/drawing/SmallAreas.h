// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_TESTS_SMALLAREAS_H
#define ZTRACE_TESTS_SMALLAREAS_H

#include "drawing/Drawing.h"

#include <QString>

namespace ztrace {

// Clockwise where y goes up, as areas come.
inline Path rectangle(double left, double low, double right, double high)
{
    Path path;
    path.moveTo(Point(left, low));
    path.lineTo(Point(left, high));
    path.lineTo(Point(right, high));
    path.lineTo(Point(right, low));
    path.lineTo(Point(left, low));
    return path;
}

// On a layer of its colour.
inline Outline area(const Path &shape, QRgb colour)
{
    Outline outline;
    outline.shape = shape;
    outline.colour = colour;
    outline.layer = QString::fromLatin1("L%1").arg(colour & 0xFFFFFF);
    return outline;
}

} // namespace ztrace

#endif
