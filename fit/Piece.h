// (c) the ztrace developers. Licence: see LICENSE.
//
// What a chain is drawn with.
#ifndef ZTRACE_FIT_PIECE_H
#define ZTRACE_FIT_PIECE_H

#include "fit/prices.h"

namespace ztrace::fit {

// The last three are whole closed shapes and the only piece of their path.
enum class Kind { Line, Arc, EllipticArc, Quadratic, Cubic, Circle, Ellipse, RoundedRectangle };

inline bool isWhole(Kind kind)
{
    return kind >= Kind::Circle;
}

// Coordinates in pixels, angles in radians from x towards y.
struct Piece
{
    Kind kind;
    int first;     // number in the chain of the first point that it explains
    int count;     // of points from there on, past the chain's end from its begin again
    bool smooth;   // begins with the tangent with which the piece before it ends
    double misfit; // nats
    Point start;   // of an open piece; whole shapes begin and end on their own positive first axis
    Point end;
    // Arc: tangent of a quarter of the sweep, positive where it turns from x towards y.
    double bulge;
    // Quadratic: `control` only. Cubic: both. Elliptic arc: where the end tangents meet.
    Point control;
    Point control2;
    // Elliptic arc: the weight of `control` in the rational quadratic, 0 < weight < 1.
    double weight;
    // Whole shapes.
    Point centre;
    double
        half[2];   // half axes, or half width and height with the rounding; a circle's radius twice
    double angle;  // of the first axis
    double radius; // of rounded corners; 0 for a rectangle
};

// The end in the same place and the tangents of one piece.
Piece linePiece(Point start, Point end);
Piece arcPiece(Point start, Point end, double bulge);
Piece quadraticPiece(Point start, Point control, Point end);
Piece cubicPiece(Point start, Point control, Point control2, Point end);
Piece conicPiece(Point start, Point control, double weight, Point end);

// t from 0 to 1; equal steps are equal lengths on lines, arcs and circles only.
Point pointAt(const Piece &piece, double t);
// Unit tangents; (1, 0) for a piece without extent.
Point startTangent(const Piece &piece);
Point endTangent(const Piece &piece);

// Of an arc: centre, radius, sweep in radians (signed as the bulge).
struct ArcShape
{
    Point centre;
    double radius;
    double startAngle;
    double sweep;
};
ArcShape arcShape(const Piece &arc);

// A conic piece as the arc of an ellipse: centre, half axes, angle of the first axis.
struct EllipseShape
{
    Point centre;
    double half[2];
    double angle;
};
EllipseShape ellipseShape(const Piece &conic);

// Radians that the piece turns in all, never negative; 2 pi for whole shapes.
double turningOf(const Piece &piece);
// A box around the piece; tight for all but curves, whose control points it holds.
struct Box
{
    Point low;
    Point high;
};
Box boxOf(const Piece &piece);
// Distance from p to the nearest point of the piece, to 1e-6 px for smooth pieces.
double distanceTo(const Piece &piece, Point p);
// Of curves and ellipses it is no more than that from pointAt(piece, k / kPlacesOnCurve), any k.
const int kPlacesOnCurve = 16;
// The same drawing from end to start; `smooth` is for the caller to set.
Piece reversed(const Piece &piece);

// The part of an open piece between two of its places, 0 <= from < to <= 1, exactly as long as it
// is no elliptic arc, which stays whole. What it explains is for the caller to say.
Piece cutOut(const Piece &piece, double from, double to);

// To another place.
void move(Piece *piece, Point by);

double priceOf(const Piece &piece, const Prices &prices);
// Prices of pieces and corners of a path; the corner between last and first only where it is
// closed.
double numbersOf(const std::vector<Piece> &pieces, bool closed, const Prices &prices);

} // namespace ztrace::fit

#endif
