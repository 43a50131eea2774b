// (c) the ztrace developers. Licence: see LICENSE.
//
// The boundary map in the words of a drawing.
#ifndef ZTRACE_TRACING_CHAINRECORD_H
#define ZTRACE_TRACING_CHAINRECORD_H

#include "drawing/Drawing.h"
#include "fittedboundaries.h"

namespace ztrace {

// Gives the drawing every boundary beside an outline of it, and its outlines their rings
// (drawing/chains.h). `areaOf` has the area of the map that each outline is the outer ring of,
// negative where it is that of none. Boundaries between areas that have no outlines are left out.
void recordChains(const FittedBoundaries &fitted, const std::vector<int> &areaOf, Drawing *drawing);

} // namespace ztrace

#endif
