// (c) the ztrace developers. Licence: see LICENSE.
//
// Disjoint sets of numbers as a forest in one array.
#ifndef ZTRACE_IMAGING_FOREST_H
#define ZTRACE_IMAGING_FOREST_H

#include <cstdint>
#include <vector>

namespace ztrace {

// The root of `k`: every number points to another one of its set, the root to itself. Halves the
// way that it goes, so that the next one is shorter; what points to lower numbers still does.
inline uint32_t rootOf(std::vector<uint32_t> *forest, uint32_t k)
{
    std::vector<uint32_t> &up = *forest;
    while (up[k] != k)
        k = up[k] = up[up[k]];
    return k;
}

} // namespace ztrace

#endif
