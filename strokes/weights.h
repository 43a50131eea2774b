// (c) the ztrace developers. Licence: see LICENSE.
//
// How wide the pens of a noisy scan were. docs/strokes/scans.md, "Widths".
#ifndef ZTRACE_STROKES_WEIGHTS_H
#define ZTRACE_STROKES_WEIGHTS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Ink across a line, summed up in lightnesses times pixels, and how dark its middle is: blur
// changes the second one alone.
struct LineInk
{
    double sum = 0.0;
    double middle = 0.0;
    double weight = 1.0; // cross-sections it was measured in
};

// How dark ink is that no blur has thinned, from lines of one page: their middles are
// erf(width / (2 sqrt 2 blur)) of it, their widths sum / ink. Lightnesses; 0 for no lines.
double inkDepthOf(const std::vector<LineInk> &lines);

// Measures the widths of all living atoms anew in the greys, against paper of that lightness, and
// leaves out those as faint and thin as folds of the paper are, where most others are not.
// Leaves them as they are where no atom has cross-sections enough.
void measureWidths(const InkPicture &picture, double paper, bool keepFolds, Web *web);

// The width of a pen whose line is that wide after the blur and the threshold of a usual scanner;
// pixels. Black and white says nothing about either, so that what is not usual is off by as much as
// its threshold lies off.
double widthBeforeThreshold(double width);

// The same of all living atoms.
void widenThinned(Web *web);

} // namespace ztrace::strokes

#endif
