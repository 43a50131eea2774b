// (c) the ztrace developers. Licence: see LICENSE.
//
// Numbers of points, spans and pieces, which are signed, as places in containers.
#ifndef ZTRACE_FIT_INDEX_H
#define ZTRACE_FIT_INDEX_H

#include <cstddef>

namespace ztrace::fit {

// Not below 0.
inline std::size_t index(int i)
{
    return static_cast<std::size_t>(i);
}

} // namespace ztrace::fit

#endif
