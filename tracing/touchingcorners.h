// (c) the ztrace developers. Licence: see LICENSE.
//
// Corners of areas that meet corner to corner, as the squares of a chessboard do.
#ifndef ZTRACE_TRACING_TOUCHINGCORNERS_H
#define ZTRACE_TRACING_TOUCHINGCORNERS_H

#include "boundarymap.h"

#include "fit/fit.h"

#include <vector>

namespace ztrace {

// Two joints in one place: the ways out of each, as unit vectors, the one back and the one onwards.
// Whether each side of the one corner goes straight on in a side of the other, to 8 degrees, and
// the corners are between 30 and 150 degrees wide: boundaries that touch there and do not cross.
bool goOnInEachOther(const fit::Point one[2], const fit::Point other[2]);

// The chains whose paths are one rectangle with a corner that lies on a corner of another boundary
// of the same area, to 0.75 pixels, where both of them go on in each other: these have to become
// paths with joints.
std::vector<uint32_t> rectanglesThatTouch(const BoundaryMap &map,
                                          const std::vector<fit::Path> &paths);

// Puts the joints between two lines that lie beside another such joint, as above, into one place,
// halfway between them. Paths are in the plane, one a chain.
void joinTouchingCorners(const BoundaryMap &map, std::vector<fit::Path> *paths);

} // namespace ztrace

#endif
