// (c) the ztrace developers. Licence: see LICENSE.
//
// Families of parallel lines at even distances. docs/strokes/lettering.md, "Hatches".
#ifndef ZTRACE_STROKES_HATCHES_H
#define ZTRACE_STROKES_HATCHES_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Gives the role Hatch to lines of one slope and pen of which at least kLeastHatch follow each
// other at one distance, each beside the one before. Upright and level ones are left alone: they
// are tables and windows as often. After settleEnds(). Takes time in proportion to the lines, but
// for sorting them.
//
// Returns what has hatches of each slope: the direction of its lines, a unit, and all lines of that
// slope, hatches or not, by their atoms.
struct HatchFamily
{
    Point direction = { 1, 0 };
    std::vector<int> atoms;
};
std::vector<HatchFamily> takeHatches(Web *web);
const std::size_t kLeastHatch = 5;

} // namespace ztrace::strokes

#endif
