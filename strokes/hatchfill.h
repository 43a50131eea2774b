// (c) the ztrace developers. Licence: see LICENSE.
//
// Hatches of thin lines that a scan has left in pieces. docs/strokes/lettering.md, "Hatches".
#ifndef ZTRACE_STROKES_HATCHFILL_H
#define ZTRACE_STROKES_HATCHFILL_H

#include "strokes/hatches.h"

namespace ztrace::strokes {

// Puts the hatches of a noisy page together: pieces on one carrier with faint ink between them are
// one line, ends go on to the outline ahead as far as faint ink leads or next to nothing is
// missing, and where neighbours leave a place for a line, one with ink enough is added. After
// takeHatches(). Takes time in proportion to the length of the hatches, and to their ends times
// the atoms, of which there are kMostPairs at most.
void fillHatches(const Coverage &coverage, const Measure &measure,
                 const std::vector<HatchFamily> &families, Web *web);

} // namespace ztrace::strokes

#endif
