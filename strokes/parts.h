// (c) the ztrace developers. Licence: see LICENSE.
//
// What hangs together in a plane.
#ifndef ZTRACE_STROKES_PARTS_H
#define ZTRACE_STROKES_PARTS_H

#include "strokes/InkPicture.h"

#include <algorithm>

namespace ztrace::strokes {

// Cells, and the rows and columns that they are within.
struct Part
{
    std::vector<uint32_t> cells;
    int low[2] = { 0, 0 };
    int high[2] = { 0, 0 };

    void take(uint32_t cell, const Plane &plane)
    {
        const int at[2] = { plane.xOf(cell), plane.yOf(cell) };
        for (int k = 0; k < 2; ++k) {
            low[k] = cells.empty() ? at[k] : std::min(low[k], at[k]);
            high[k] = cells.empty() ? at[k] : std::max(high[k], at[k]);
        }
        cells.push_back(cell);
    }
    int pixels() const { return int(cells.size()); }
    int extent() const { return 1 + std::max(high[0] - low[0], high[1] - low[1]); }
    int breadth() const { return 1 + std::min(high[0] - low[0], high[1] - low[1]); }
    int x() const { return (low[0] + high[0]) / 2; }
    int y() const { return (low[1] + high[1]) / 2; }
};

// What touches a cell, by sides and corners, of the cells that `take` takes. It is asked for cells
// of the picture and of its rim, and has to take each only once.
template<typename Take>
Part partAround(uint32_t first, const Plane &plane, Take take)
{
    Part part;
    if (take(first))
        part.take(first, plane);
    const uint32_t stride = uint32_t(plane.stride());
    for (std::size_t next = 0; next < part.cells.size(); ++next) {
        const uint32_t middle = part.cells[next];
        for (uint32_t row : { middle - stride, middle, middle + stride }) {
            for (uint32_t cell : { row - 1, row, row + 1 }) {
                if (take(cell))
                    part.take(cell, plane);
            }
        }
    }
    return part;
}

} // namespace ztrace::strokes

#endif
