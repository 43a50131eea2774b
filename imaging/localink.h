// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin ink that is rare where it is, though not in the whole picture: docs/imaging/segment.md.
#ifndef ZTRACE_IMAGING_LOCALINK_H
#define ZTRACE_IMAGING_LOCALINK_H

#include "LabelPlane.h"

namespace ztrace {

// Gives ink labels of its own, of the same colour, where it would be parted at corners. Where two
// labels cross at a corner the one with fewer pixels in the whole plane goes on
// (tracing/components.h): white letters on a small blue button lose against it, as the page is
// white. What has fewer pixels near such a corner, hangs together by edges and corners and is
// smaller than all of the other label becomes a copy that is the rarer one when it is made. Only
// labels below `first` that can be seen are copied; copies are appended, 1000 at most.
void partLocalInk(std::size_t first, LabelPlane *plane);

} // namespace ztrace

#endif
