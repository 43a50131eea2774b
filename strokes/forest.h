// (c) the ztrace developers. Licence: see LICENSE.
//
// Disjoint sets of numbers as a forest in one array. As imaging/forest.h, which is of another
// library: centre lines stand on fit/ alone, and count in int.
#ifndef ZTRACE_STROKES_FOREST_H
#define ZTRACE_STROKES_FOREST_H

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ztrace::strokes {

// The root of `k`, which is the lowest number of its set: every number points to another one of its
// set, the root to itself. Halves the way that it goes.
inline int rootOf(std::vector<int> *forest, int k)
{
    std::vector<int> &up = *forest;
    while (up[std::size_t(k)] != k)
        k = up[std::size_t(k)] = up[std::size_t(up[std::size_t(k)])];
    return k;
}

inline void unite(std::vector<int> *forest, int a, int b)
{
    a = rootOf(forest, a);
    b = rootOf(forest, b);
    (*forest)[std::size_t(std::max(a, b))] = std::min(a, b);
}

} // namespace ztrace::strokes

#endif
