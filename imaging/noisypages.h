// (c) the ztrace developers. Licence: see LICENSE.
//
// Pages of ink whose paper is noisy, stained or unevenly lit: docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_NOISYPAGES_H
#define ZTRACE_IMAGING_NOISYPAGES_H

#include "GreyPicture.h"

namespace ztrace {

// How the lightnesses of a page lie around those of its paper, which is the median of each tile and
// changes gradually between them; over means of 3 x 3 pixels, which take most of the noise.
struct PaperAndInk
{
    double rough = 1.0;   // share of the borders between tiles where the paper changes much
    double lighter = 1.0; // squares of what is lighter than the paper, over those of what is darker
    double inkSquares = 0; // share of the ink in all of these squares
    double ink = 0.0;      // share of the pixels that are darker than noise makes paper
    double inkRun = 0.0;   // pixels, mean length of the ink's runs in rows
};

// Of a page of one byte a pixel. One of less than 64 pixels a side has no paper that could be told
// from what is on it, and where the paper is rough nothing else is found: the members say no page.
// Looks at every k-th row of pages of more than 1024 rows, so that at most 1024 are read.
PaperAndInk paperAndInkOf(const GreyPicture &page);

// Whether something is darker than the paper and little lighter, whatever it is: photographs have
// lights as well as shades.
bool isDarkOnPaper(const PaperAndInk &page);

// Whether that is a page: ink in short strokes on paper that nothing is lighter than.
bool isPage(const PaperAndInk &page, int width);

} // namespace ztrace

#endif
