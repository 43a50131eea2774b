// (c) the ztrace developers. Licence: see LICENSE.
//
// How light a page is, as a whole and part by part, and the threshold that follows.
#ifndef ZTRACE_IMAGING_TONES_H
#define ZTRACE_IMAGING_TONES_H

#include <array>
#include <vector>

#include "GreyPicture.h"

namespace ztrace {

// Numbers of pixels by lightness.
typedef std::array<double, 256> Histogram;

struct Tones
{
    Histogram counts = {};

    // Lightness of the paper in square tiles of the page, row by row from the top; empty for a
    // page of two lightnesses.
    int columns = 0;
    int rows = 0;
    std::vector<double> papers;

    int lightnesses() const; // different ones
};

// One pass over the page.
Tones tonesOf(const GreyPicture &page);

// Lightness that separates ink from paper best: the threshold with the largest variance between
// the classes, in the middle of those that are equally good. Source: N. Otsu, 1979. A page of one
// lightness gives 127.
int otsuThreshold(const Histogram &counts);

// What is at most this light is ink: the middle between ink and paper where both are pure and only
// soft edges lie between them, Otsu's threshold else.
int inkThreshold(const Histogram &counts);

// Lightnesses of whole ink and whole paper, of which soft edges are mixtures.
struct InkTones
{
    int ink = 0;
    int paper = 255;
};

// Of a page split at a threshold: of either side the lightness that one pixel in 200 of it has or
// goes beyond. A side without pixels has 0 or 255.
InkTones inkTones(const Histogram &counts, int threshold);

// Whether a lightness of a page in greys is a flat tone's: three pixels in a row or a column have
// it. Of lines thinner than a pixel all pixels are mixtures, and none goes on; on a slope, what is
// darkest is soon over.
bool isSeenFlat(const GreyPicture &page, int lightness);

// Whether a page was drawn and never scanned: its ground is one lightness, and soft edges alone lie
// between that and the ink.
bool isDrawn(const Histogram &counts);

// Part of the variance of the lightness that remains within ink and paper when they are split at
// the threshold: 0 for two pure values, towards 1 for a picture without any split.
double unevenness(const Histogram &counts, int threshold);

// Whether the paper darkens gradually to where a threshold for the whole page would take it for
// ink. Grey areas with edges do not count.
bool isUnevenlyLit(const Tones &tones);

// Whether there is paper everywhere, and its light changes gradually from tile to tile, as on a
// page and hardly ever in a photograph.
bool isGraduallyLit(const Tones &tones);

} // namespace ztrace

#endif
