// (c) the ztrace developers. Licence: see LICENSE.
//
// A path piece by piece, as the writers need it.
#ifndef ZTRACE_DRAWING_PIECES_H
#define ZTRACE_DRAWING_PIECES_H

#include <vector>

#include "Path.h"

namespace ztrace {

// The pieces of a path as they are drawn, in place of what is in the list. A curve that is neither
// a quadratic nor a cubic Bezier, nor an arc of a circle or an ellipse, is turned into lines, and
// so is one with a control point that is no place (negative tolerances make such points), or an arc
// of a circle or an ellipse that is none or so large that it is straight: its end points are still
// right. Pieces that start or end in no place are left out.
void piecesOf(const Path &path, std::vector<PathPiece> *pieces);

// Appends what piecesOf makes of a piece whose ends are places.
void appendAsDrawn(const PathPiece &piece, std::vector<PathPiece> *pieces);

// Calls use(piece) for the pieces of piecesOf, without a list of them. Nearly all are lines and
// quadratics between places.
template<typename Use>
void forEachDrawn(const Path &path, Use use)
{
    std::vector<PathPiece> others;
    for (const PathPiece piece : path.pieces()) {
        if (!isPlace(piece.start) || !isPlace(piece.end))
            continue;
        if (piece.kind == PathPiece::Line
            || (piece.kind == PathPiece::Quadratic && isPlace(piece.control1))) {
            use(piece);
            continue;
        }
        others.clear();
        appendAsDrawn(piece, &others);
        for (const PathPiece &other : others)
            use(other);
    }
}

// Whether every piece is drawn as it is, or as lines that are near it.
bool isDrawn(const Path &path);

// Appends a piece as it is, or the same way back; the path ends where that begins.
void appendForwards(const PathPiece &piece, Path *path);
void appendReversed(const PathPiece &piece, Path *path);

// Whether the last point is the first one, bit for bit.
bool isClosed(const std::vector<PathPiece> &pieces);

// How many lines flatten makes of a piece: 1 to 1000.
int linesOf(const PathPiece &piece, double tolerance);

// Appends points along a piece, without its start and with its exact end, so that the chain is
// nowhere farther from the piece than the tolerance.
void flatten(const PathPiece &piece, double tolerance, std::vector<Point> *points);

// The point of a quadratic or cubic piece at t in 0..1.
Point pointOn(const PathPiece &piece, double t);

// Appends the cubics of an arc, of a circle or an ellipse, that are nowhere farther from it than
// the tolerance: a good millionth of the radius for parts of 45 degrees. Source: tangents at both
// ends of length 4/3 tan(angle / 4); the error is 2/27 sin^6(a) / cos^2(a) of the radius where a is
// a quarter of the angle of one part.
void appendCubics(const PathPiece &arc, double tolerance, std::vector<PathPiece> *cubics);

// Arcs as their cubics, where formats know no arcs.
void replaceArcs(double tolerance, std::vector<PathPiece> *pieces);

// The circle of an arc piece.
struct Circle
{
    Point center;
    double radius;
    double startAngle;
    double sweep; // counter-clockwise positive
};

Circle circleOf(const PathPiece &arc);

// The ellipse of an arc piece, elliptic or not. Its points are center + major cos(t) u + minor
// sin(t) v, u in the direction of `angle` and v a quarter turn to the left of it.
struct Ellipse
{
    Point center;
    double major;
    double minor; // positive, at most `major`
    double angle;
    double start; // t of the piece's start
    double sweep; // of t; counter-clockwise positive
};

Ellipse ellipseOf(const PathPiece &arc);
Point pointOn(const Ellipse &ellipse, double t);

} // namespace ztrace

#endif
