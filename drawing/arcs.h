// (c) the ztrace developers. Licence: see LICENSE.
//
// Outlines as chains of lines and circular arcs, for readers that know no other curves.
#ifndef ZTRACE_DRAWING_ARCS_H
#define ZTRACE_DRAWING_ARCS_H

#include "pieces.h"

namespace ztrace {

// A vertex, and the bulge of the way to the next one: the tangent of a quarter of the arc's angle,
// positive to the left; 0 is a straight line.
struct BulgeVertex
{
    Point point;
    double bulge;
};

// The chain of the pieces. Curves and elliptic arcs become arcs that touch each other (pairs of
// them from the in-center of the triangle of the ends and of where their tangents meet, halved
// until they are within the tolerance), or lines where that does not work out. The last vertex is
// the end of the last piece; its bulge is 0.
std::vector<BulgeVertex> bulgeChain(const std::vector<PathPiece> &pieces, double tolerance);

// The same in lines alone.
std::vector<BulgeVertex> lineChain(const std::vector<PathPiece> &pieces, double tolerance);

} // namespace ztrace

#endif
