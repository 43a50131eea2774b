// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/pieces.h"

#include <cmath>

namespace ztrace::strokes {

namespace {

const double kWholeChord = 1e-3; // pixels

} // namespace

fit::Piece pieceOf(const Atom &atom)
{
    if (atom.shape == Shape::Ellipse)
        return atom.ellipse;
    if (atom.shape == Shape::Line)
        return fit::linePiece(atom.place[0], atom.place[1]);
    // An arc that ends where it begins is whole; a bulge cannot tell that.
    const Point chord = atom.place[1] - atom.place[0];
    if (atom.shape == Shape::Circle || std::hypot(chord.x, chord.y) < kWholeChord) {
        fit::Piece circle = {};
        circle.kind = fit::Kind::Circle;
        circle.centre = atom.carrier.point;
        circle.radius = circle.half[0] = circle.half[1] = atom.carrier.radius;
        circle.start = circle.end = circle.centre + Point { circle.radius, 0 };
        return circle;
    }
    const Point from = atom.place[0] - atom.carrier.point;
    const Point to = atom.place[1] - atom.carrier.point;
    double sweep = std::atan2(fit::cross(from, to), fit::dot(from, to));
    const double kTurn = 2 * 3.14159265358979323846;
    // The walk along the samples tells which way around, and how many times half.
    const double walked = sweepOf(atom.samples, atom.carrier.point).turned;
    while (sweep < walked - 0.5 * kTurn)
        sweep += kTurn;
    while (sweep > walked + 0.5 * kTurn)
        sweep -= kTurn;
    return fit::arcPiece(atom.place[0], atom.place[1], std::tan(0.25 * sweep));
}

double lengthOf(const fit::Piece &piece)
{
    switch (piece.kind) {
    case fit::Kind::Line:
        return std::hypot(piece.end.x - piece.start.x, piece.end.y - piece.start.y);
    case fit::Kind::Arc: {
        const fit::ArcShape arc = fit::arcShape(piece);
        return std::fabs(arc.sweep) * arc.radius;
    }
    default:
        return 3.1416 * (piece.half[0] + piece.half[1]);
    }
}

} // namespace ztrace::strokes
