// (c) the ztrace developers. Licence: see LICENSE.
//
// Printed dots that stand in for greys: docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_HALFTONE_H
#define ZTRACE_IMAGING_HALFTONE_H

#include "GreyPicture.h"

namespace ztrace {

// How much the squares of a picture repeat themselves a few pixels on, from -1 to 1: the median of
// at most 36 squares of 40 pixels a side that are not plain. A screen of dots or lines reaches 0.5
// and more. 0 with fewer than 10 such squares.
double repetitionOf(const GreyPicture &picture);

} // namespace ztrace

#endif
