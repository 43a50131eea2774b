// (c) the ztrace developers. Licence: see LICENSE.
//
// The sharp tips of mitred corners are no lines of their own.
#ifndef ZTRACE_STROKES_MITRES_H
#define ZTRACE_STROKES_MITRES_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Drops every short stroke that goes on outwards along the bisector of a sharp corner of two lines
// and ends freely no farther away than their mitre reaches: half the width over the sine of half
// the angle. The atoms have their ends.
void dropMitres(Web *web);

} // namespace ztrace::strokes

#endif
