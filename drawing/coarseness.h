// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_DRAWING_COARSENESS_H
#define ZTRACE_DRAWING_COARSENESS_H

#include "Drawing.h"

namespace ztrace {

// How far lines may be from the curves that they stand for where nothing else is asked, in pixels:
// what boundaries keep between them, so that none cross.
const double kUsualFlatness = 0.02;

// What tolerances of lines for curves are multiplied by: 1, unless with kUsualFlatness they would
// be more than 300,000, and more than 32 for each piece of the drawing and 2 for each time that one
// is cut out of another outline. A drawing of a few kilobytes with curves a million pixels wide
// would become gigabytes else; traced ones have 10 lines a curve.
double coarsenessOf(const Drawing &drawing);

} // namespace ztrace

#endif
