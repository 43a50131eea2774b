// (c) the ztrace developers. Licence: see LICENSE.
//
// Pens as writers need them.
#ifndef ZTRACE_DRAWING_PENS_H
#define ZTRACE_DRAWING_PENS_H

#include "Drawing.h"

namespace ztrace {

// "continuous", "hidden", "center", "phantom" or "dot".
const char *nameOf(LineType type);

// Returns false, and leaves the type as it is, for any other name.
bool lineTypeOfName(const QString &name, LineType *type);

// Lengths that are drawn and left out in turn, in any unit: what drawings of CAD programs have for
// the type. A drawn length of 0 is a dot; empty for a continuous line.
const std::vector<double> &standardPattern(LineType type);

// Whether lines can be drawn with it: a width above 0, dashes of which none is negative and one is
// above 0, all of them numbers.
bool isUsable(const Pen &pen);

// The pen of a stroke. One that is not there, or not usable, is a pen of one pixel.
Pen penOf(const Drawing &drawing, const Outline &stroke);

// Pixels that are drawn and left out in turn, an even number of them: the pen's own dashes, twice
// where their number is odd; of a line type without dashes the standard pattern, its first length
// 12 widths (of chains 24, of dots 3 from one to the next). Empty for a line drawn throughout.
std::vector<double> dashesOf(const Pen &pen);

// The same for painters that put an end of the pen's shape on every dash: round ends lengthen a
// dash by the width, which is taken off it, down to a dot, and given to the gap. A dot of flat ends
// is a square.
std::vector<double> paintedDashesOf(const Pen &pen);

// Widths that a mitre is long at most; sharper corners are cut off. SVG has the same by default.
const int kMiterLimit = 4;

double sumOf(const std::vector<double> &lengths);

} // namespace ztrace

#endif
