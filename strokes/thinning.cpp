// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/thinning.h"

#include <array>

namespace ztrace::strokes {

namespace {

// Rounds over what was kept until nothing more goes; more than two were never seen.
const int kMostRounds = 8;

// Neighbours around a cell, bit k of a code: from the right, towards y.
struct Around
{
    std::array<std::ptrdiff_t, 8> offset;

    explicit Around(int stride)
        : offset({ 1, stride + 1, stride, stride - 1, -1, -stride - 1, -stride, -stride + 1 })
    {
    }
    unsigned code(const uint8_t *cell) const
    {
        unsigned bits = 0;
        for (unsigned k = 0; k < 8; ++k)
            bits |= unsigned(cell[offset[k]] != 0) << k;
        return bits;
    }
};

bool isRemovable(unsigned code)
{
    const auto paper = [code](unsigned k) { return int((~code >> (k & 7u)) & 1u); };
    int crossings = 0;
    int neighbours = 0;
    for (unsigned k = 0; k < 8; ++k)
        neighbours += 1 - paper(k);
    for (unsigned k = 0; k < 8; k += 2)
        crossings += paper(k) - paper(k) * paper(k + 1) * paper(k + 2);
    return crossings == 1 && neighbours >= 2;
}

std::array<bool, 256> removableCodes()
{
    std::array<bool, 256> table;
    for (unsigned code = 0; code < 256; ++code)
        table[code] = isRemovable(code);
    return table;
}

// All cells of ink by distance, those of one distance row by row.
std::vector<uint32_t> inOrder(const Plane &distance)
{
    std::array<uint32_t, 257> next = {};
    for (uint8_t cell : distance.cells)
        ++next[std::size_t(cell) + 1];
    next[1] = 0; // paper
    for (std::size_t k = 1; k < next.size(); ++k)
        next[k] += next[k - 1];
    std::vector<uint32_t> cells(next[256]);
    for (std::size_t cell = 0; cell < distance.cells.size(); ++cell) {
        const uint8_t value = distance.cells[cell];
        if (value != 0)
            cells[next[value]++] = uint32_t(cell);
    }
    return cells;
}

} // namespace

std::vector<uint32_t> thin(const Plane &distance, Plane *ink)
{
    const Around around(distance.stride());
    const std::array<bool, 256> removable = removableCodes();
    std::vector<uint32_t> cells = inOrder(distance);
    *ink = Plane(distance.width, distance.height);
    for (uint32_t cell : cells)
        ink->cells[cell] = 1;
    for (int round = 0; round < kMostRounds; ++round) {
        std::size_t kept = 0;
        for (uint32_t cell : cells) {
            uint8_t *at = ink->cells.data() + cell;
            if (removable[around.code(at)])
                *at = 0;
            else
                cells[kept++] = cell;
        }
        const bool settled = kept == cells.size();
        cells.resize(kept);
        if (settled)
            break;
    }
    return cells;
}

} // namespace ztrace::strokes
