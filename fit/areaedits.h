// (c) the ztrace developers. Licence: see LICENSE.
//
// Changes of a closed path that let it cover better what is measured: docs/fit/areas.md, "Rule".
#ifndef ZTRACE_FIT_AREAEDITS_H
#define ZTRACE_FIT_AREAEDITS_H

#include "fit/areafit.h"

namespace ztrace::fit {

// Tips cut off square and short lines left out, wherever that pays at lambda nats a number; the
// joints around a change are fitted. Returns whether anything was changed.
bool cleanEnds(const Coverage &coverage, double lambda, std::vector<Piece> *pieces);
// Two corners in place of small arcs, one in lines, arcs in two, lines bent: the best of these for
// each piece, likewise.
bool addDetail(const Coverage &coverage, double lambda, std::vector<Piece> *pieces);
// Joints of curves that turn by less than 35 degrees as smooth ones, lines that cut bends off as
// arcs, likewise.
bool smoothJoints(const Coverage &coverage, double lambda, std::vector<Piece> *pieces);

} // namespace ztrace::fit

#endif
