// (c) the ztrace developers. Licence: see LICENSE.
//
// A path piece by piece, as the writers need it.
#ifndef ZTRACE_DRAWING_PIECES_H
#define ZTRACE_DRAWING_PIECES_H

#include <vector>

#include "Path.h"

namespace ztrace {

// The pieces of a path as they are drawn, in place of what is in the list. A curve that is neither
// a quadratic nor a cubic Bezier, nor an arc, is turned into lines, and so is one with a control
// point that is no finite number (negative tolerances make such points): its end points are still
// right. Pieces that start or end on no finite number are left out.
void piecesOf(const Path &path, std::vector<PathPiece> *pieces);

// Whether the last point is the first one, bit for bit.
bool isClosed(const std::vector<PathPiece> &pieces);

// Appends points along a piece, without its start and with its exact end, so that the chain is
// nowhere farther from the piece than the tolerance.
void flatten(const PathPiece &piece, double tolerance, std::vector<Point> *points);

// The point of a quadratic or cubic piece at t in 0..1.
Point pointOn(const PathPiece &piece, double t);

// The circle of an arc piece.
struct Circle
{
    Point center;
    double radius;
    double startAngle;
    double sweep; // counter-clockwise positive
};

Circle circleOf(const PathPiece &arc);

} // namespace ztrace

#endif
