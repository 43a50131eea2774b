// (c) the ztrace developers. Licence: see LICENSE.
//
// Circles, ellipses and rectangles: closed paths that have a name of their own.
#ifndef ZTRACE_DRAWING_WHOLESHAPE_H
#define ZTRACE_DRAWING_WHOLESHAPE_H

#include "Path.h"

namespace ztrace {

struct WholeShape
{
    enum Kind { None, Circle, Ellipse, Rectangle };

    Kind kind = None;
    Point center;
    // Half axes, or half width and height with the rounding; of a circle its radius twice, of an
    // ellipse the longer one first.
    double half[2] = { 0.0, 0.0 };
    double angle = 0.0;  // of the first axis, in radians; 0 exactly where the sides are upright
    double radius = 0.0; // of a rectangle's corners, all alike
};

// What the path is, whichever way around and wherever it starts: a circle or an ellipse of two
// halves; a rectangle of four lines, or of lines and four quarters of circles that touch them. None
// for everything else. What is exact but for the rounding of coordinates is taken: 1e-9 of the
// coordinates' size.
WholeShape wholeShapeOf(const Path &path);

// The path of a shape that is not None: clockwise where y is upwards.
Path pathOf(const WholeShape &shape);

} // namespace ztrace

#endif
