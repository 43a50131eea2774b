// (c) the ztrace developers. Licence: see LICENSE.
//
// Types of dashed lines in bad scans, where dashes come to pieces and dots are lost.
#ifndef ZTRACE_STROKES_WORNTYPES_H
#define ZTRACE_STROKES_WORNTYPES_H

#include "strokes/linetypes.h"

namespace ztrace::strokes {

// As dashingOf() for an open row, from the long dashes alone: they have to be of one length and to
// stand a period apart. What lies between them tells whether it is a centre or a phantom line, of
// which a third of the dots has to be left; else it is a hidden one. None where fewer than four
// long dashes are there, or they have no order.
Dashing wornDashingOf(const std::vector<Run> &dashes, double width);

// Puts the ends of an open row where its outer dashes end if they are as long as four in five of
// the long ones are at most, and stand where the others say; noise eats ends. An outer dash that
// differs much from that stays as it is, as do rows of fewer than four long dashes. `longDash` and
// `period` are those of the pattern.
void settleOuterDashes(double longDash, double period, std::vector<Run> *runs);

} // namespace ztrace::strokes

#endif
