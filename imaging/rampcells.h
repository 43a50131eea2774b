// (c) the ztrace developers. Licence: see LICENSE.
//
// Where the numbers of ramps change from pixel to pixel: docs/imaging/ramps.md, "Cells".
#ifndef ZTRACE_IMAGING_RAMPCELLS_H
#define ZTRACE_IMAGING_RAMPCELLS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// Finds, by squares of kReach pixels, all pixels that have another number within kReach of them.
// Everything about borders of ramps needs to look at these stretches of rows alone.
class RampCells
{
public:
    static constexpr int kReach = 8; // pixels to the sides, up and down, and so diagonally

    RampCells() = default;
    // Numbers of pixels, rows from the top.
    RampCells(const std::vector<uint16_t> &numbers, int width, int height);

    // Calls `use(first, end)` with columns, from the left; beyond the stretches all pixels within
    // kReach have the same number.
    template<typename Use>
    void forEachStretch(int y, Use use) const
    {
        if (rows.empty())
            return;
        for (const Stretch &stretch : rows[std::size_t(y / kReach)])
            use(stretch.first, stretch.end);
    }

private:
    struct Stretch
    {
        int first;
        int end;
    };

    std::vector<std::vector<Stretch>> rows; // of squares
};

} // namespace ztrace

#endif
