// (c) the ztrace developers. Licence: see LICENSE.
//
// How the lightnesses of a picture lie in areas: what tells drawings in grey and photographs from
// ink on paper where counts alone do not. docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_FLATTONES_H
#define ZTRACE_IMAGING_FLATTONES_H

#include "tones.h"

namespace ztrace {

// Numbers of pixels by lightness, of at most 256 rows of the picture.
struct FlatTones
{
    Histogram all = {};
    Histogram flat = {}; // those as light as the pixels to the right, below and between the two
    Histogram calm = {}; // others that differ little from the pixels to the right and below
};

// `reach` is how much calm pixels may differ. Of a picture of one row or column: nothing.
FlatTones flatTonesOf(const GreyPicture &page, int reach);

// A lightness that areas are drawn in, and what compression and scanners make of one: at most 8 lie
// between two of them.
struct DrawnTone
{
    int first;
    int last;

    bool isPure() const { return first == last; }
};

// From the darkest: each has most of its pixels in flat areas, and these are a hundredth of all.
std::vector<DrawnTone> drawnTones(const FlatTones &tones);

// Part of the variance of all pixels that calm ones have within the two sides of a threshold.
double shading(const FlatTones &tones, int threshold);

} // namespace ztrace

#endif
