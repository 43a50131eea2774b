// (c) the ztrace developers. Licence: see LICENSE.
//
// Whole shapes: one circle, ellipse, rectangle or rounded rectangle for a closed chain.
#ifndef ZTRACE_FIT_SHAPES_H
#define ZTRACE_FIT_SHAPES_H

#include "fit/Piece.h"
#include "fit/candidates.h"

namespace ztrace::fit {

// A shape with its whole cost in nats, and whether the points lie about it as their errors say.
struct WholeShape
{
    Piece piece;
    double cost;
    bool asExpected;
    double chi2; // sum of (distance / sigma) squared over the points that count
    int leftOut; // the other ones
};

// The shapes that are worth a comparison, cheapest first; none for open chains, for fewer than
// kShapePoints points, for outlines whose area and inertia belong to none of the kinds, and of
// kinds that have no price. Least squares of true distances by Gauss and Newton's method; points
// within two pixels of a rectangle's corner count at most as left out.
std::vector<WholeShape> wholeShapes(const Table &table);
const int kShapePoints = 8;

// Area (positive where the walk turns from x to y), centroid and central second moments over area.
struct AreaMoments
{
    double area;
    Point centre;
    double xx, xy, yy;
};
AreaMoments areaMoments(const Points &points);

// Whether a fit's misfit is what the errors make: then nothing else needs to be looked at.
bool isAsExpected(Edge edge, double chi2, int n);

} // namespace ztrace::fit

#endif
