// (c) the ztrace developers. Licence: see LICENSE.
//
// What colour.h tells of two words, for four pairs side by side. Every mask is all ones where it
// holds and 0 elsewhere.
#ifndef ZTRACE_IMAGING_FOURCOLOURS_H
#define ZTRACE_IMAGING_FOURCOLOURS_H

#include <QRgb>

#ifdef __SSE2__
#include <emmintrin.h>

namespace ztrace {

inline __m128i fourWords(const void *words)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(words));
}

inline void storeFour(void *to, __m128i words)
{
    _mm_storeu_si128(static_cast<__m128i *>(to), words);
}

// Where the words are fully transparent.
inline __m128i areClear(__m128i words)
{
    return _mm_cmpeq_epi32(_mm_srli_epi32(words, 24), _mm_setzero_si128());
}

// colourDistance of four pairs: at most 1785, so that the sums of two channels stay in 16 bits.
inline __m128i colourDistances(__m128i a, __m128i b)
{
    const __m128i differences = _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
    const __m128i lowBytes = _mm_set1_epi16(0x00FF);
    const __m128i blueAndRed
        = _mm_madd_epi16(_mm_and_si128(differences, lowBytes), _mm_set1_epi16(1));
    const __m128i greenAndAlpha
        = _mm_madd_epi16(_mm_srli_epi16(differences, 8), _mm_set1_epi32(4 << 16 | 1));
    const __m128i transparency = _mm_slli_epi32(_mm_srli_epi32(differences, 24), 2);
    const __m128i isHueless = _mm_or_si128(areClear(a), areClear(b));
    const __m128i all = _mm_add_epi32(blueAndRed, greenAndAlpha);
    return _mm_or_si128(_mm_and_si128(isHueless, transparency), _mm_andnot_si128(isHueless, all));
}

// The largest of red, green and blue less the smallest.
inline __m128i chromas(__m128i words)
{
    const __m128i green = _mm_srli_epi32(words, 8);
    const __m128i red = _mm_srli_epi32(words, 16);
    const __m128i most = _mm_max_epu8(_mm_max_epu8(words, green), red);
    const __m128i least = _mm_min_epu8(_mm_min_epu8(words, green), red);
    return _mm_and_si128(_mm_sub_epi8(most, least), _mm_set1_epi32(0xFF));
}

// How many of the masks hold, by lane: subtracted, a mask counts.
inline int sumOf(__m128i counts)
{
    int lanes[4];
    storeFour(lanes, counts);
    return lanes[0] + lanes[1] + lanes[2] + lanes[3];
}

} // namespace ztrace

#endif // __SSE2__
#endif
