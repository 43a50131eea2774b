// (c) the ztrace developers. Licence: see LICENSE.
//
// Coordinates and numbers, which are signed, as places in containers.
#ifndef ZTRACE_IMAGING_INDEX_H
#define ZTRACE_IMAGING_INDEX_H

#include <cstddef>

namespace ztrace {

// Not below 0.
inline std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

} // namespace ztrace

#endif
