// (c) the ztrace developers. Licence: see LICENSE.
//
// Places where areas of one colour touch at a corner only.
#ifndef ZTRACE_IMAGING_CORNERS_H
#define ZTRACE_IMAGING_CORNERS_H

#include "LabelPlane.h"

namespace ztrace {

// The engine takes pixels that touch at a corner for one area, and draws no holes. So the paper
// inside a ring of ink that closes only over a corner would be one area with the paper outside, and
// would be lost; and so would ink inside a hole that touches the ring around it at a corner.
//
// Gives such areas labels of their own: copies of their colour at the end of plane->colours. Two
// areas that touch at a corner keep one label when they lie side by side in the same area, and,
// where two colours cross, for the rarer colour only. Returns whether anything had to be changed.
bool separateCorners(LabelPlane *plane);

} // namespace ztrace

#endif
