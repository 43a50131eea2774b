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

// Makes a ring go clockwise, as seen with y upwards, or the other way round.
void turn(Ring *ring, bool isClockwise);

struct Polygon
{
    Ring outer;
    std::vector<Ring> holes;
};

// An area as polygons whose rings are simple: a polygon for each part of what hangs together by
// corners only. Rings of a polygon touch each other in single points at most, and none takes a
// part of it off. `outer` and the holes, which unitedRings has made, each turn either way round and
// do not cross; they come back as they are where no two of their points are the same, and where the
// area has no width.
std::vector<Polygon> simplePolygons(Ring outer, std::vector<Ring> holes);

} // namespace ztrace

#endif
