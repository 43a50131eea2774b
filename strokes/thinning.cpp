// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/thinning.h"

#include <algorithm>
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
    { }
    unsigned code(const uint8_t *cell) const
    {
        unsigned bits = 0;
        for (unsigned k = 0; k < 8; ++k)
            bits |= unsigned(cell[offset[k]] != 0) << k;
        return bits;
    }
};

// What the neighbours of a cell say about taking it away.
enum class Fate : uint8_t { Stays, MayEnd, Goes };

Fate fateOf(unsigned code)
{
    const auto paper = [code](unsigned k) { return int((~code >> (k & 7u)) & 1u); };
    int crossings = 0;
    int neighbours = 0;
    for (unsigned k = 0; k < 8; ++k)
        neighbours += 1 - paper(k);
    for (unsigned k = 0; k < 8; k += 2)
        crossings += paper(k) - paper(k) * paper(k + 1) * paper(k + 2);
    if (crossings != 1 || neighbours < 2)
        return Fate::Stays;
    return neighbours == 2 ? Fate::MayEnd : Fate::Goes;
}

std::array<Fate, 256> fates()
{
    std::array<Fate, 256> table;
    for (unsigned code = 0; code < 256; ++code)
        table[code] = fateOf(code);
    return table;
}

// Two cells side by side at the end of a line as deep in the ink as its end is: taken for the rim,
// the line would be eaten up from there, cell by cell.
bool isEnd(const Plane &distance, const Around &around, unsigned code, uint32_t cell)
{
    uint8_t deepest = 0;
    for (unsigned k = 0; k < 8; ++k) {
        if ((code >> k) & 1u)
            deepest = std::max(
                deepest, distance.cells[std::size_t(std::ptrdiff_t(cell) + around.offset[k])]);
    }
    return distance.cells[cell] >= deepest;
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
    const std::array<Fate, 256> table = fates();
    std::vector<uint32_t> cells = inOrder(distance);
    *ink = Plane(distance.width, distance.height);
    for (uint32_t cell : cells)
        ink->cells[cell] = 1;
    for (int round = 0; round < kMostRounds; ++round) {
        std::size_t kept = 0;
        for (uint32_t cell : cells) {
            uint8_t *at = ink->cells.data() + cell;
            const unsigned code = around.code(at);
            const Fate fate = table[code];
            if (fate == Fate::Goes
                || (fate == Fate::MayEnd && !isEnd(distance, around, code, cell)))
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
