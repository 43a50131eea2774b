// (c) the ztrace developers. Licence: see LICENSE.
//
// A row of dashes that has been found becomes one atom of the web.
#ifndef ZTRACE_STROKES_DASHHEIR_H
#define ZTRACE_STROKES_DASHHEIR_H

#include "strokes/dashrow.h"
#include "strokes/joining.h"

namespace ztrace::strokes {

// The new atom has the cross-sections of all dashes, a dot's middle as one, and takes over the
// outermost ends; at the inner ones it goes through. The dashes are used then, their atoms dead.
// `ends` are where the ink of the row begins and ends.
void becomeOne(const Chain &chain, const Dashing &dashing, double width, const Point ends[2],
               const Measure &measure, std::vector<Dash> *dashes, Web *web);

// What an atom ends at, its heir goes through; the atom is dead then.
void goThrough(int number, int heir, Web *web);

// Rows on a circle of dashes are part of it: where other lines run along some of its dashes, a few
// between them are found as a row of their own before the circle is.
void takeRowsOnCircles(Web *web);

// Ends of dashed atoms that meet nothing are put where the ink of their last dash ends, less half
// the width where its dashes are round. After settleEnds().
void settleDashes(Web *web);

} // namespace ztrace::strokes

#endif
