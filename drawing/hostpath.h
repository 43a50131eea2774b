// (c) the ztrace developers. Licence: see LICENSE.
//
// The border between drawings and the host application's polylines.
#ifndef ZTRACE_DRAWING_HOSTPATH_H
#define ZTRACE_DRAWING_HOSTPATH_H

#include "Path.h"

class ZPolyline;

namespace ztrace {

// The same chain. Widths and the third dimension are no part of drawings; a spline goes on from
// where the piece before it ends. Polylines know no elliptic arcs: they become splines of degree 3
// that are nowhere farther from them than this.
const double kEllipseTolerance = 0.001; // pixels

Path pathOf(const ZPolyline &polyline);
ZPolyline polylineOf(const Path &path);

// `steps` points along a Spline piece in even steps of its parameter, the last one its exact end:
// such splines come from the host, and run as the host says.
std::vector<Point> pointsAlongSpline(const PathPiece &piece, std::size_t steps);

} // namespace ztrace

#endif
