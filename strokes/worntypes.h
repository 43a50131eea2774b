// (c) the ztrace developers. Licence: see LICENSE.
//
// Types of dashed lines in bad scans, where dashes come to pieces and dots are lost.
#ifndef ZTRACE_STROKES_WORNTYPES_H
#define ZTRACE_STROKES_WORNTYPES_H

#include "strokes/linetypes.h"

namespace ztrace::strokes {

// As dashingOf() for an open row, from the long dashes alone: they have to be of one length and to
// stand a period apart. What lies between them tells whether it is a centre or a phantom line, of
// which a third of the dots has to be left; else it is a hidden one. None where fewer than four long
// dashes are there, or they have no order.
Dashing wornDashingOf(const std::vector<Run> &dashes, double width);

} // namespace ztrace::strokes

#endif
