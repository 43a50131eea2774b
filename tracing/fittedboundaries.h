// (c) the ztrace developers. Licence: see LICENSE.
//
// A boundary map with what its chains are drawn with.
#ifndef ZTRACE_TRACING_FITTEDBOUNDARIES_H
#define ZTRACE_TRACING_FITTEDBOUNDARIES_H

#include "drawing/Path.h"
#include "fit/fit.h"
#include "boundarymap.h"

#include <vector>

namespace ztrace {

// An element a chain.
struct FittedBoundaries
{
    BoundaryMap map;
    std::vector<fit::Path> paths;

    // Of chains one after the other, in the directions of the references. Where the nodes between
    // them are not wanted, pieces that go on in one are one.
    Path pathAlong(const uint32_t *references, std::size_t count, bool withNodes = true) const;
};

} // namespace ztrace

#endif
