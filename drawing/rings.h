// (c) the ztrace developers. Licence: see LICENSE.
//
// Rings of points around areas that lie side by side.
#ifndef ZTRACE_DRAWING_RINGS_H
#define ZTRACE_DRAWING_RINGS_H

#include "drawing/Path.h"

#include <vector>

namespace ztrace {

typedef std::vector<Point> Ring; // the last point is joined to the first one

// The rings around what areas cover together. Each area lies on the right of its ring, and areas do
// not overlap; where two of them share a boundary, their rings have the same points there.
std::vector<Ring> unitedRings(const std::vector<Ring> &rings);

} // namespace ztrace

#endif
