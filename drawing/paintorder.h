// (c) the ztrace developers. Licence: see LICENSE.
//
// Which areas may be painted earlier than they stand, so that what looks alike comes together.
#ifndef ZTRACE_DRAWING_PAINTORDER_H
#define ZTRACE_DRAWING_PAINTORDER_H

#include "Path.h"

namespace ztrace {

// The order in which to paint boxes of different looks, by their numbers, so that the picture is
// the same as in the order given and looks change rarely: a box is never painted before one of
// other looks that it may touch, given earlier, and never after one given later. Cells of a grid
// tell who may touch whom. The order given where boxes are so large that looking would take long.
std::vector<std::size_t> paintOrder(const std::vector<Bounds> &boxes,
                                    const std::vector<int> &looks);

} // namespace ztrace

#endif
