// (c) the ztrace developers. Licence: see LICENSE.
//
// Disjoint sets of numbers as a forest in one array.
#ifndef ZTRACE_IMAGING_FOREST_H
#define ZTRACE_IMAGING_FOREST_H

#include <cstddef>
#include <vector>

namespace ztrace {

// The root of `k`: every number points to another one of its set, the root to itself. Halves the
// way that it goes, so that the next one is shorter; what points to lower numbers still does.
// Numbers are not below 0, signed or not.
template<typename Number>
Number rootOf(std::vector<Number> *forest, Number k)
{
    const auto up
        = [forest](Number of) -> Number & { return (*forest)[static_cast<std::size_t>(of)]; };
    Number above = up(k);
    while (up(above) != above) {
        k = up(k) = up(above);
        above = up(k);
    }
    return above;
}

} // namespace ztrace

#endif
