// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours of an image, and how different two of them are.
#ifndef ZTRACE_IMAGING_COLOUR_H
#define ZTRACE_IMAGING_COLOUR_H

#include <QImage>
#include <QRgb>

#include <cstdint>
#include <cstdlib>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ztrace {

// The words of a line of an image of 32 bits a pixel.
inline const QRgb *row(const QImage &image, int y)
{
    return reinterpret_cast<const QRgb *>(image.constScanLine(y));
}

// Where the run of words ends that are equal to the one at `x`: at `width` at the latest.
inline int endOfRun(const QRgb *words, int x, int width)
{
    const QRgb word = words[x];
    ++x;
#ifdef __SSE2__
    const __m128i four = _mm_set1_epi32(int(word));
    for (; x + 4 <= width; x += 4) {
        const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i *>(words + x));
        const unsigned equal = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi32(four, next)));
        if (equal != 0xFFFFu)
            return x + int(unsigned(__builtin_ctz(~equal)) / sizeof(QRgb));
    }
#endif
    while (x < width && words[x] == word)
        ++x;
    return x;
}

// Sum of the differences of red, green and blue.
inline int hueDistance(QRgb a, QRgb b)
{
#ifdef __SSE2__
    const auto hue = [](QRgb word) { return _mm_cvtsi32_si128(int(word & 0x00FFFFFFu)); };
    return _mm_cvtsi128_si32(_mm_sad_epu8(hue(a), hue(b)));
#else
    return std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b))
        + std::abs(qBlue(a) - qBlue(b));
#endif
}

// Sum of the channels' differences, alpha counted four times: the engine's own measure, but for
// fully transparent colours, which have only their transparency. At most 1785.
inline int colourDistance(QRgb a, QRgb b)
{
#ifdef __SSE2__
    if ((a & b) >= 0xFF000000u) // opaque, as most are: the alphas add nothing
        return _mm_cvtsi128_si32(
            _mm_sad_epu8(_mm_cvtsi32_si128(int(a)), _mm_cvtsi32_si128(int(b))));
#endif
    const int transparency = 4 * std::abs(qAlpha(a) - qAlpha(b));
    return qAlpha(a) == 0 || qAlpha(b) == 0 ? transparency : transparency + hueDistance(a, b);
}

const int kClearly = 24; // colourDistance; shading from pixel to pixel stays below

// Whether two pixels side by side are on two sides of an edge.
inline bool differsClearly(QRgb a, QRgb b)
{
    return colourDistance(a, b) > kClearly;
}

// Whether the pixel of an ARGB32 image differs clearly from one of its four neighbours.
inline bool isEdge(const QImage &image, int x, int y)
{
    const QRgb *words = row(image, y);
    const QRgb own = words[x];
    return (x > 0 && differsClearly(own, words[x - 1]))
        || (x + 1 < image.width() && differsClearly(own, words[x + 1]))
        || (y > 0 && differsClearly(own, row(image, y - 1)[x]))
        || (y + 1 < image.height() && differsClearly(own, row(image, y + 1)[x]));
}

} // namespace ztrace

#endif
