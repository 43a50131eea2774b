// (c) the ztrace developers. Licence: see LICENSE.
//
// Whether ink goes on between two ends of lines.
#ifndef ZTRACE_STROKES_INKGAP_H
#define ZTRACE_STROKES_INKGAP_H

#include "strokes/primitives.h"
#include "strokes/samples.h"

namespace ztrace::strokes {

// From one place to another along a line; along an arc from `start` by `angle`, radians. `length`
// is in pixels.
struct Stretch
{
    const fit::Primitive &carrier;
    Point from;
    Point to;
    double start;
    double angle;
    double length;
};

// The longest part of a stretch, in pixels, without ink in its middle or, where `sides` is not 0,
// as many pixels beside it.
double inkGap(const Stretch &stretch, double sides, const Coverage &coverage);

// Pixels beside the middle in which a line of a width has to go on as well: the panes of a window
// go on from the middle of a wall. 0 for thin lines, which have no sides.
double sidesOf(double width);

} // namespace ztrace::strokes

#endif
