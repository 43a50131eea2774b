// (c) the ztrace developers. Licence: see LICENSE.
//
// A polyline piece by piece, as the writers need it.
#ifndef ZTRACE_DRAWING_PIECES_H
#define ZTRACE_DRAWING_PIECES_H

#include <vector>

#include "ZPolyline.h"

namespace ztrace {

// One piece between two points. A curve that is neither a quadratic nor a cubic Bezier, nor an
// arc, has been turned into lines, and so has one with a control point that is no finite number
// (negative tolerances make such points): its end points are still right.
struct PathPiece
{
    enum Kind { Line, Quadratic, Cubic, Arc };

    Kind kind = Line;
    ZVector start;
    ZVector control1; // Quadratic, Cubic
    ZVector control2; // Cubic
    ZVector end;
    double bulge = 0.0; // Arc: tangent of a quarter of its angle, positive to the left
};

// The pieces in order, in place of what is in the list. Pieces that end on no finite number are
// left out; a polyline of a single point has none.
void piecesOf(const ZPolyline &polyline, std::vector<PathPiece> *pieces);

// Whether the last point is the first one, bit for bit.
bool isClosed(const std::vector<PathPiece> &pieces);

// Appends points along a piece, without its start and with its exact end, so that the chain is
// nowhere farther from the piece than the tolerance.
void flatten(const PathPiece &piece, double tolerance, std::vector<ZVector> *points);

// The point of a quadratic or cubic piece at t in 0..1.
ZVector pointOn(const PathPiece &piece, double t);

// The circle of an arc piece.
struct Circle
{
    ZVector center;
    double radius;
    double startAngle;
    double sweep; // counter-clockwise positive
};

Circle circleOf(const PathPiece &arc);

} // namespace ztrace

#endif
