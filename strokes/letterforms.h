// (c) the ztrace developers. Licence: see LICENSE.
//
// Letters of noisy scans whose strokes miss their ink. docs/strokes/lettering.md, "Forms".
#ifndef ZTRACE_STROKES_LETTERFORMS_H
#define ZTRACE_STROKES_LETTERFORMS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Compares every letter with what was seen of it - strokes on paper, cross-sections without a
// stroke - and draws those that miss it anew, by a deviation of short lines: what long lines may
// deviate by rounds the corner of a 5 off. `nodes` is how many joints the cores had before they
// were drawn, `least` the deviation that can be asked for, pixels. After settleEnds(). Takes time
// in proportion to the letters.
void drawLettersAnew(const std::vector<Core> &cores, std::size_t nodes, const Coverage &coverage,
                     double least, const Measure &measure, Web *web);

} // namespace ztrace::strokes

#endif
