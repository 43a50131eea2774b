// (c) the ztrace developers. Licence: see LICENSE.
//
// An image of few colours: a label a pixel, and the colour of every label.
#ifndef ZTRACE_IMAGING_LABELPLANE_H
#define ZTRACE_IMAGING_LABELPLANE_H

#include <QRgb>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// labels has width * height entries, rows from the top, each below colours.size(). Colours carry
// alpha and are plain (not premultiplied).
struct LabelPlane
{
    int width = 0;
    int height = 0;
    std::vector<uint16_t> labels;
    std::vector<QRgb> colours;

    std::size_t pixels() const { return labels.size(); }
};

// Where the run of equal labels ends that begins at x, in a row of `width` pixels.
inline int endOfRun(const uint16_t *labels, int x, int width)
{
    const uint16_t own = labels[x];
#ifdef __SSE2__
    const __m128i eight = _mm_set1_epi16(static_cast<short>(own));
    for (; x + 8 <= width; x += 8) {
        const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i *>(labels + x));
        const unsigned equal = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(eight, next)));
        if (equal != 0xFFFFu)
            return x + int(unsigned(__builtin_ctz(~equal)) / sizeof(uint16_t));
    }
#endif
    while (x < width && labels[x] == own)
        ++x;
    return x;
}

} // namespace ztrace

#endif
