// (c) the ztrace developers. Licence: see LICENSE.
//
// Which strokes are letters. docs/strokes/lettering.md.
#ifndef ZTRACE_STROKES_LETTERING_H
#define ZTRACE_STROKES_LETTERING_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Gives the role Text to atoms of small connected parts of one size that lie beside each other: two
// or more of them with forms that no dash and no hole has, and what of their size lies among them.
// Rows may run in any direction. Takes time in proportion to the atoms.
void takeLettering(Web *web);

} // namespace ztrace::strokes

#endif
