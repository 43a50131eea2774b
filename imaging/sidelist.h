// (c) the ztrace developers. Licence: see LICENSE.
//
// The neighbours of every region, each as the difference of the two numbers: 16 bits, since regions
// are numbered in the order of their first pixels and most have their neighbours near.
#ifndef ZTRACE_IMAGING_SIDELIST_H
#define ZTRACE_IMAGING_SIDELIST_H

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "prefetch.h"

namespace ztrace {

class SideList
{
public:
    // forEachEdge(use) calls use(a, b) for pairs of two different regions below `count`, the same
    // ones whenever it is called. Each of the two gets the other one, as often as there is a pair.
    template<typename ForEachEdge>
    SideList(std::size_t count, ForEachEdge forEachEdge) : first(count + 1, 0)
    {
        forEachEdge([this](uint32_t a, uint32_t b) {
            const uint32_t room = isNear(a, b) ? 1 : kCellsOfFar;
            first[a] += room;
            first[b] += room;
        });
        std::partial_sum(first.begin(), first.end(), first.begin());
        cells.resize(first.back());
        forEachEdge([this](uint32_t a, uint32_t b) {
            put(a, b);
            put(b, a);
        });
    }

    // Calls use(neighbour), in no particular order.
    template<typename Use>
    void forEach(uint32_t region, Use use) const
    {
        const uint16_t *end = cells.data() + first[region + 1];
        for (const uint16_t *cell = cells.data() + first[region]; cell < end; ++cell) {
            if (*cell != kFar) {
                use(region + uint32_t(int32_t(int16_t(*cell))));
            } else {
                use(uint32_t(cell[1]) | uint32_t(cell[2]) << 16);
                cell += 2;
            }
        }
    }

    // The region's neighbours will be asked for soon.
    void expect(uint32_t region) const { prefetch(cells.data() + first[region]); }

    // At least as many as there are neighbours of all regions.
    std::size_t size() const { return cells.size(); }

private:
    static const uint16_t kFar = 0x8000; // the number itself follows, its lower half first
    static const uint32_t kCellsOfFar = 3;

    static bool isNear(uint32_t a, uint32_t b) { return b - a + 0x7FFFu <= 0xFFFEu; }

    void put(uint32_t region, uint32_t neighbour)
    {
        if (isNear(region, neighbour)) {
            cells[--first[region]] = uint16_t(neighbour - region);
            return;
        }
        uint16_t *cell = &cells[first[region] -= kCellsOfFar];
        cell[0] = kFar;
        cell[1] = uint16_t(neighbour);
        cell[2] = uint16_t(neighbour >> 16);
    }

    std::vector<uint32_t> first; // in cells; those of region k end where those of k + 1 begin
    std::vector<uint16_t> cells;
};

} // namespace ztrace

#endif
