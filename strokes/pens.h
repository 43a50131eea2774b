// (c) the ztrace developers. Licence: see LICENSE.
//
// The few pens that a drawing was drawn with.
#ifndef ZTRACE_STROKES_PENS_H
#define ZTRACE_STROKES_PENS_H

#include <vector>

namespace ztrace::strokes {

// What was drawn with one width: so many pixels wide, and so long.
struct DrawnWidth
{
    double width = 0.0;
    double length = 0.0;
};

struct Pens
{
    std::vector<double> widths; // ascending
    std::vector<int> penOf;     // of every width that was given
};

// Widths in order are split where the gap to the next is too wide for one pen; a pen's width is the
// median of its lengths. Pens that drew next to nothing go to the nearest one. No width: no pen.
Pens pensOf(const std::vector<DrawnWidth> &drawn);

} // namespace ztrace::strokes

#endif
