// (c) the ztrace developers. Licence: see LICENSE.
//
// The second stage: runs of lines and arcs that one curve draws for less.
#ifndef ZTRACE_FIT_CURVES_H
#define ZTRACE_FIT_CURVES_H

#include "fit/Piece.h"
#include "fit/candidates.h"

namespace ztrace::fit {

// The prices that the first stage works with. Where arcs are not offered they stand for the curve
// that will take their place, at its price.
Prices workingPrices(const Prices &prices);

// A program over the vertices of a joined path: between any two of at most kMostReplaced pieces
// apart, without a corner of over 35 degrees between them, the pieces as they are, or one
// quadratic, conic or cubic with the same ends. Common tangents stay; where two curves meet at a
// vertex with a turn below 20 degrees they get one. Arcs that the price list does not offer become
// curves in any case.
//
// table.prices is the format's own list.
std::vector<Piece> withCurves(const Table &table, const std::vector<Piece> &pieces, bool closed);
const int kMostReplaced = 6;

} // namespace ztrace::fit

#endif
