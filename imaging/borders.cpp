// (c) the ztrace developers. Licence: see LICENSE.
#include "borders.h"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ztrace {

namespace {

// Plain loops over rows that do not overlap: the compiler works on several pixels at a time.

void compare(const uint16_t *a, const uint16_t *b, int count, uint8_t *differs)
{
    for (int x = 0; x < count; ++x)
        differs[x] = a[x] != b[x];
}

void combine(const uint8_t *above, const uint8_t *below, const uint8_t *across, int width,
             uint8_t *border)
{
    for (int x = 0; x < width; ++x) {
        border[x] = static_cast<uint8_t>(above[x] | above[x + 1] | above[x + 2] | below[x]
                                         | below[x + 1] | below[x + 2] | across[x] | across[x + 1]);
    }
}

} // namespace

BorderRows::BorderRows(const LabelPlane &source) : plane(source)
{
    // A column more on both sides, which differs from nothing.
    const std::size_t padded = static_cast<std::size_t>(plane.width) + 2;
    above.assign(padded, 0);
    below.assign(padded, 0);
    across.assign(padded, 0);
    border.assign(padded, 0);
}

const uint8_t *BorderRows::next()
{
    const std::size_t stride = static_cast<std::size_t>(plane.width);
    const uint16_t *labels = plane.labels.data() + static_cast<std::size_t>(y) * stride;
    above.swap(below);
    if (++y < plane.height)
        compare(labels, labels + stride, plane.width, below.data() + 1);
    else
        std::fill(below.begin(), below.end(), uint8_t(0));
    compare(labels, labels + 1, plane.width - 1, across.data() + 1);
    combine(above.data(), below.data(), across.data(), plane.width, border.data());
    return border.data();
}

int nextSetBeyond(const uint8_t *bytes, int x, int width)
{
#ifdef __SSE2__
    for (; x + 16 <= width; x += 16) {
        const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + x));
        const unsigned clear
            = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(next, _mm_setzero_si128())));
        if (clear != 0xFFFFu)
            return x + __builtin_ctz(~clear);
    }
#else
    const int kAtOnce = 8;
    uint64_t word = 0;
    for (; x + kAtOnce <= width; x += kAtOnce) {
        std::memcpy(&word, bytes + x, sizeof word);
        if (word != 0)
            break;
    }
#endif
    while (x < width && bytes[x] == 0)
        ++x;
    return x;
}

} // namespace ztrace
