// (c) the ztrace developers. Licence: see LICENSE.
//
// The second stage: runs of lines and arcs that one curve draws for less.
#ifndef ZTRACE_FIT_CURVES_H
#define ZTRACE_FIT_CURVES_H

#include "fit/Piece.h"
#include "fit/candidates.h"

namespace ztrace::fit {

std::vector<Piece> withCurves(const Table &table, const std::vector<Piece> &pieces);

} // namespace ztrace::fit

#endif
