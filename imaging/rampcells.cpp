// (c) the ztrace developers. Licence: see LICENSE.
#include "rampcells.h"

#include <algorithm>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ztrace {

namespace {

const int kMixed = -1; // a square with several numbers

#ifdef __SSE2__
// As below, of a whole square.
int numberOfWhole(const uint16_t *numbers, int rows, std::size_t width)
{
    static_assert(RampCells::kReach == 8, "a row is one register");
    const __m128i first = _mm_set1_epi16(static_cast<short>(*numbers));
    __m128i equal = _mm_set1_epi8(-1);
    for (int y = 0; y < rows; ++y) {
        const auto *row = reinterpret_cast<const __m128i *>(numbers + std::size_t(y) * width);
        equal = _mm_and_si128(equal, _mm_cmpeq_epi16(first, _mm_loadu_si128(row)));
    }
    return _mm_movemask_epi8(equal) == 0xFFFF ? *numbers : kMixed;
}
#endif

// The number of a square all of which has one.
int numberOf(const uint16_t *numbers, int columns, int rows, std::size_t width)
{
#ifdef __SSE2__
    if (columns == RampCells::kReach)
        return numberOfWhole(numbers, rows, width);
#endif
    const uint16_t first = *numbers;
    for (int y = 0; y < rows; ++y, numbers += width) {
        unsigned others = 0;
        for (int x = 0; x < columns; ++x)
            others |= unsigned(numbers[x] ^ first);
        if (others != 0)
            return kMixed;
    }
    return first;
}

} // namespace

RampCells::RampCells(const std::vector<uint16_t> &numbers, int width, int height)
{
    if (numbers.empty())
        return;
    const int across = (width + kReach - 1) / kReach;
    const int down = (height + kReach - 1) / kReach;
    std::vector<int> squares; // their numbers
    squares.reserve(std::size_t(across) * std::size_t(down));
    for (int y = 0; y < height; y += kReach) {
        const uint16_t *row = numbers.data() + std::size_t(y) * std::size_t(width);
        const int most = std::min(kReach, height - y);
        for (int x = 0; x < width; x += kReach)
            squares.push_back(
                numberOf(row + x, std::min(kReach, width - x), most, std::size_t(width)));
    }
    const auto isQuiet = [&](int column, int line) {
        const int own = squares[std::size_t(line * across + column)];
        for (int j = std::max(0, line - 1); j <= std::min(down - 1, line + 1); ++j) {
            for (int i = std::max(0, column - 1); i <= std::min(across - 1, column + 1); ++i) {
                const int other = squares[std::size_t(j * across + i)];
                if (other != own || other == kMixed)
                    return false;
            }
        }
        return true;
    };
    rows.resize(std::size_t(down));
    for (int line = 0; line < down; ++line) {
        std::vector<Stretch> &stretches = rows[std::size_t(line)];
        for (int column = 0; column < across; ++column) {
            if (isQuiet(column, line))
                continue;
            const int first = column * kReach;
            const int end = std::min(width, first + kReach);
            if (!stretches.empty() && stretches.back().end == first)
                stretches.back().end = end;
            else
                stretches.push_back({ first, end });
        }
    }
}

} // namespace ztrace
