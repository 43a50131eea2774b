// (c) the ztrace developers. Licence: see LICENSE.
//
// Spans of free fits become one path: common vertices, common tangents.
#ifndef ZTRACE_FIT_JOINTS_H
#define ZTRACE_FIT_JOINTS_H

#include "fit/Piece.h"
#include "fit/candidates.h"

namespace ztrace::fit {

// Least squares over the vertices and the sagittas of the arcs, all spans together, by Gauss and
// Newton's method on true distances. Every vertex is anchored with 1 px where the free fits meet:
// at their intersection where they turn by more than 12 degrees, else half way between their feet.
// Smooth joints have one tangent to 1e-6 radians; one whose common tangent costs more misfit than a
// corner is worth becomes a corner.
//
// Points outside of all spans count nowhere. A vertex that leaves its anchor by 3 px stays there in
// the next solve; an arc that misses its points in the end becomes its chord. `first` and `count`
// of the pieces are numbers in `points`; coordinates are relative to their origin.
std::vector<Piece> joinSpans(const Table &table, std::vector<Span> spans);

// Nats of the points first to last - 1 along a piece.
double misfitAlong(const Table &table, const Piece &piece, int first, int last);

} // namespace ztrace::fit

#endif
