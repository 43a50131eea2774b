// (c) the ztrace developers. Licence: see LICENSE.
#include "groundruns.h"

#include "fourcolours.h"

namespace ztrace {

namespace {

StopOfSearch stopOf(const QRgb *words, QRgb ground, int begin, int last, int width, int same)
{
    int x = begin;
#ifdef __SSE2__
    const __m128i grounds = _mm_set1_epi32(static_cast<int>(ground));
    const __m128i limit = _mm_set1_epi32(same + 1);
    const auto bitsOf
        = [](__m128i four) { return unsigned(_mm_movemask_ps(_mm_castsi128_ps(four))); };
    // Of four words which are opaque, and which of these are the ground.
    const auto look = [&](const QRgb *at, unsigned *opaque) {
        const __m128i four = fourWords(at);
        const __m128i isOpaque = _mm_cmpeq_epi32(_mm_srli_epi32(four, 24), _mm_set1_epi32(255));
        *opaque = bitsOf(isOpaque);
        return *opaque & bitsOf(_mm_cmplt_epi32(colourDistances(four, grounds), limit));
    };
    // Where one of four words may end the search: no channel of it is farther off than all may be
    // together, or it is not opaque.
    const __m128i farthest = _mm_set1_epi8(static_cast<char>(same));
    const auto mayEnd = [&](__m128i four) {
        const __m128i apart
            = _mm_or_si128(_mm_subs_epu8(four, grounds), _mm_subs_epu8(grounds, four));
        const __m128i isNear = _mm_cmpeq_epi32(_mm_subs_epu8(apart, farthest), _mm_setzero_si128());
        const __m128i isOpaque = _mm_cmpeq_epi32(_mm_srli_epi32(four, 24), _mm_set1_epi32(255));
        return _mm_movemask_epi8(_mm_andnot_si128(isNear, isOpaque)) != 0xFFFF;
    };
    for (; x + 3 <= last && x + 4 < width; x += 4) {
        if (!mayEnd(fourWords(words + x)))
            continue;
        unsigned opaque = 0;
        unsigned opaqueBehind = 0;
        const unsigned grounded = look(words + x, &opaque);
        const unsigned ends = grounded == 0 ? 0 : grounded & look(words + x + 1, &opaqueBehind);
        const unsigned stops = ends | (opaque ^ 0xFu);
        if (stops != 0)
            return { x + __builtin_ctz(stops), (ends & stops & (0u - stops)) != 0 };
    }
#endif
    for (; x <= last; ++x) {
        if (qAlpha(words[x]) != 255)
            return { x, false };
        if (isGround(words[x], ground, same) && isGround(words[x + 1], ground, same))
            return { x, true };
    }
    return { x, false };
}

} // namespace

int EndsOfRuns::of(int begin)
{
    const QRgb ground = words[begin - 1];
    const int last = std::min(width - 2, begin + most);
    Search &search = searches[(ground * kSpread) >> (32 - kBits)];
    if (search.ground != ground || begin < search.from || begin > search.stop.at)
        search = { ground, begin, { begin, false }, false };
    if (!search.isOver && search.stop.at <= last) {
        search.stop = stopOf(words, ground, search.stop.at, last, width, same);
        search.isOver = search.stop.at <= last;
    }
    return search.stop.isEnd && search.stop.at <= last ? search.stop.at : 0;
}

} // namespace ztrace
