// (c) the ztrace developers. Licence: see LICENSE.
//
// What type of line a row of dashes is. docs/strokes/linetypes.md.
#ifndef ZTRACE_STROKES_LINETYPES_H
#define ZTRACE_STROKES_LINETYPES_H

#include <vector>

namespace ztrace::strokes {

enum class DashType { None, Hidden, Center, Phantom, Dot };

// What a line is drawn with instead of going through: pixels of ink that are drawn and left out in
// turn, from the first end of the line on. No type: drawn throughout, no pattern.
struct Dashing
{
    DashType type = DashType::None;
    std::vector<double> pattern;
    bool roundEnds = false; // of every dash
};

// Where there is ink along a line: from and to in pixels, ascending, without overlap.
struct Run
{
    double from = 0.0;
    double to = 0.0;
    double length() const { return to - from; }
};

// The type of a row of dashes, and a pattern that begins with the first of them and ends with the
// last one (or, around a closed line of `whole` pixels, meets itself). Lengths and gaps have to
// repeat, but for a few dashes that a crossing has joined or a break has cut. None where fewer
// than kLeastDashes are there or they have no order. `width` is that of the line, `whole` 0 for an
// open one; a closed one begins with a dash.
Dashing dashingOf(const std::vector<Run> &dashes, double width, double whole);
const std::size_t kLeastDashes = 4;

// Stretches a pattern such that a whole number of periods, and in open rows the first dash, take
// that length; leaves it as it is where that changes too much.
void stretchPattern(double length, bool closed, std::vector<double> *pattern);

} // namespace ztrace::strokes

#endif
