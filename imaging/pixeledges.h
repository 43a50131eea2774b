// (c) the ztrace developers. Licence: see LICENSE.
//
// Where the pixels of two rows differ, 64 pixels at a time.
#ifndef ZTRACE_IMAGING_PIXELEDGES_H
#define ZTRACE_IMAGING_PIXELEDGES_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "fourcolours.h"

namespace ztrace {

// A bit for each of `count` places at which two rows differ, the first one in the lowest bit of the
// first word; `bits` has count / 64 + 1 words. It is hard to foretell of a photograph's pixels one
// by one.
inline void markDifferences(const uint32_t *a, const uint32_t *b, std::size_t count, uint64_t *bits)
{
    std::size_t x = 0;
#ifdef __SSE2__
    const auto equalEight = [](const uint32_t *one, const uint32_t *other) {
        return _mm_packs_epi32(_mm_cmpeq_epi32(fourWords(one), fourWords(other)),
                               _mm_cmpeq_epi32(fourWords(one + 4), fourWords(other + 4)));
    };
    for (; x + 64 <= count; x += 64) {
        uint64_t equal = 0;
        for (unsigned k = 0; k < 64; k += 16) {
            const uint32_t *one = a + x + k;
            const uint32_t *other = b + x + k;
            const __m128i sixteen
                = _mm_packs_epi16(equalEight(one, other), equalEight(one + 8, other + 8));
            equal |= uint64_t(unsigned(_mm_movemask_epi8(sixteen))) << k;
        }
        bits[x / 64] = ~equal;
    }
#endif
    for (std::size_t word = x / 64; word <= count / 64; ++word)
        bits[word] = 0;
    for (; x < count; ++x)
        bits[x / 64] |= uint64_t(a[x] != b[x] ? 1 : 0) << (x % 64);
}

template<typename Use>
void forEachBit(uint64_t bits, std::size_t first, Use use)
{
    for (; bits != 0; bits &= bits - 1)
        use(first + unsigned(__builtin_ctzll(bits)));
}

enum class PixelEdges {
    All,
    Longest // one for as many edges as lie in a line between the same two
};

// Finds the pixel edges between different names, row by row from the top.
class EdgeFinder
{
public:
    EdgeFinder(std::size_t w, PixelEdges e)
        : width(w), edges(e), words(w / 64 + 1), across(words + 1, 0), acrossAbove(words + 1, 0),
          along(words + 1, 0)
    { }

    // Calls use(a, b) for the edges within a row, and for those towards the row above it, which is
    // null for the first one. `a` is on the left of b or above it.
    template<typename Use>
    void addRow(const uint32_t *above, const uint32_t *own, Use use)
    {
        across.swap(acrossAbove);
        markDifferences(own, own + 1, width - 1, across.data());
        if (above)
            markDifferences(above, own, width, along.data());
        const bool all = edges == PixelEdges::All || !above;
        for (std::size_t k = 0; k < words; ++k) {
            const uint64_t begun = along[k] | along[k] >> 1 | along[k + 1] << 63;
            forEachBit(all ? across[k] : across[k] & begun, 64 * k,
                       [&](std::size_t x) { use(own[x], own[x + 1]); });
        }
        for (std::size_t k = 0; above && k < words; ++k) {
            const uint64_t either = across[k] | acrossAbove[k];
            const uint64_t before = k > 0 ? (across[k - 1] | acrossAbove[k - 1]) >> 63 : 1u;
            forEachBit(all ? along[k] : along[k] & (either << 1 | before), 64 * k,
                       [&](std::size_t x) { use(above[x], own[x]); });
        }
    }

private:
    const std::size_t width;
    const PixelEdges edges;
    const std::size_t words;
    std::vector<uint64_t> across; // between a pixel and the next one
    std::vector<uint64_t> acrossAbove;
    std::vector<uint64_t> along; // between a pixel and the one above
};

} // namespace ztrace

#endif
