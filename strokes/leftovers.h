// (c) the ztrace developers. Licence: see LICENSE.
//
// Ink that no stroke, head or dot explains. docs/strokes/leftovers.md.
#ifndef ZTRACE_STROKES_LEFTOVERS_H
#define ZTRACE_STROKES_LEFTOVERS_H

#include "strokes/strokes.h"

namespace ztrace::strokes {

// What ink is held against a drawing.
//
// distance   not 0 in the cells of ink, without the drawing's solids
// coverage   of the picture that was drawn
// isNoisy    small parts are specks: they are counted, not drawn
// tellsDepth pale parts that are long are folds, likewise
// tellsHairlines letters may have lines lighter than the threshold, and widths are known
struct InkToExplain
{
    const Plane &distance;
    const Coverage &coverage;
    bool isNoisy = false;
    bool tellsDepth = false;
    bool tellsHairlines = false;
};

// Letters whose strokes do not explain their ink lose them, and their ink goes to
// drawing->letters. Takes time in proportion to the ink of letters.
void outlineUnclearLetters(const InkToExplain &ink, StrokeDrawing *drawing);

// Other ink beyond kBeyond pixels of what is drawn goes to drawing->letters or, where it is larger
// than letters are or lies in cells of `solid` (a plane of no size: none), to drawing->solids; or
// it is counted in drawing->leftOut. What is drawn reaches kUnder pixels under the strokes beside
// it.
void takeLeftovers(const InkToExplain &ink, const Plane &solid, StrokeDrawing *drawing);
const int kUnder = 2;
const double kBeyond = 2.0;

} // namespace ztrace::strokes

#endif
