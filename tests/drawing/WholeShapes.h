// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_TESTS_WHOLESHAPES_H
#define ZTRACE_TESTS_WHOLESHAPES_H

#include "drawing/wholeshape.h"

namespace ztrace {

// A shape in the middle of a sheet of 40 x 30, off the lattice.
inline WholeShape shapeOf(WholeShape::Kind kind, double a, double b, double angle = 0.0,
                          double r = 0.0)
{
    WholeShape shape;
    shape.kind = kind;
    shape.center = Point(20.5, 15.25);
    shape.half[0] = a;
    shape.half[1] = b;
    shape.angle = angle;
    shape.radius = r;
    return shape;
}

} // namespace ztrace

#endif
