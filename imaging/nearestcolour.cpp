// (c) the ztrace developers. Licence: see LICENSE.
#include "nearestcolour.h"

#include "colour.h"
#include "fourcolours.h"

#include <algorithm>
#include <limits>

namespace ztrace {

namespace {

const std::size_t kShort = 4; // palettes that need no lists
const QRgb kCubeMask = 0x00F0F0F0u;
const int kCubeSide = 16;

std::size_t cubeOf(QRgb word)
{
    return (word >> 12 & 0xF00u) | (word >> 8 & 0xF0u) | (word >> 4 & 0xFu);
}

// The smallest and the largest distance of a colour to the words of a cube.
struct Bounds
{
    int least;
    int largest;
};

Bounds boundsOf(QRgb corner, QRgb colour)
{
    const int transparency = 4 * (255 - qAlpha(colour));
    Bounds bounds { transparency, transparency };
    if (qAlpha(colour) == 0)
        return bounds;
    for (int shift : { 0, 8, 16 }) {
        const int low = static_cast<int>(corner >> shift & 0xFFu);
        const int channel = static_cast<int>(colour >> shift & 0xFFu);
        const int below = low - channel;
        const int above = channel - (low + kCubeSide - 1);
        bounds.least += std::max(0, std::max(below, above));
        bounds.largest += std::max(std::abs(below), std::abs(above));
    }
    return bounds;
}

#ifdef __SSE2__
const std::size_t kAtOnce = 4;

struct FirstOfNearest
{
    std::size_t place;
    int distance;
};

// The first of the colours nearest to a word, of all whole fours of them; there is one at least.
// Every lane keeps the first of its own.
FirstOfNearest nearestOfFours(QRgb word, const std::vector<QRgb> &colours)
{
    const __m128i words = _mm_set1_epi32(static_cast<int>(word));
    const __m128i step = _mm_set1_epi32(static_cast<int>(kAtOnce));
    __m128i places = _mm_set_epi32(3, 2, 1, 0);
    __m128i best = places;
    __m128i least = colourDistances(words, fourWords(colours.data()));
    for (std::size_t k = kAtOnce; k + kAtOnce <= colours.size(); k += kAtOnce) {
        places = _mm_add_epi32(places, step);
        const __m128i distances = colourDistances(words, fourWords(colours.data() + k));
        const __m128i isNearer = _mm_cmplt_epi32(distances, least);
        least = _mm_min_epi16(least, distances); // at most 1785
        best = _mm_or_si128(_mm_and_si128(isNearer, places), _mm_andnot_si128(isNearer, best));
    }
    int lanes[kAtOnce];
    uint32_t placesOfLanes[kAtOnce];
    storeFour(lanes, least);
    storeFour(placesOfLanes, best);
    FirstOfNearest found = { placesOfLanes[0], lanes[0] };
    for (std::size_t lane = 1; lane < kAtOnce; ++lane) {
        if (lanes[lane] < found.distance
            || (lanes[lane] == found.distance && placesOfLanes[lane] < found.place))
            found = { placesOfLanes[lane], lanes[lane] };
    }
    return found;
}
#endif

} // namespace

NearestColour::NearestColour(std::vector<QRgb> palette)
    : colours(std::move(palette)), lists(kCubes, 0u), entries(1, uint16_t(0))
{
    nearestToLast = nearestOfAll(last);
    translucent.assign(kPlaces, { last, nearestToLast });
}

uint16_t NearestColour::nearestOfAll(QRgb word) const
{
    std::size_t best = 0;
    int least = std::numeric_limits<int>::max();
    std::size_t k = 0;
#ifdef __SSE2__
    if (colours.size() >= kAtOnce) {
        const FirstOfNearest found = nearestOfFours(word, colours);
        best = found.place;
        least = found.distance;
        k = colours.size() / kAtOnce * kAtOnce;
    }
#endif
    for (; k < colours.size(); ++k) {
        const int distance = colourDistance(word, colours[k]);
        if (distance < least) {
            best = k;
            least = distance;
        }
    }
    return static_cast<uint16_t>(best);
}

// A colour whose smallest distance is above the largest of another is nearest to no word of the
// cube. Equal ones stay, since the first of several is wanted.
std::size_t NearestColour::makeList(QRgb word)
{
    const QRgb corner = word & kCubeMask;
    int limit = std::numeric_limits<int>::max();
    for (QRgb colour : colours)
        limit = std::min(limit, boundsOf(corner, colour).largest);
    const std::size_t place = entries.size();
    entries.push_back(0);
    for (std::size_t k = 0; k < colours.size(); ++k) {
        if (boundsOf(corner, colours[k]).least <= limit)
            entries.push_back(static_cast<uint16_t>(k));
    }
    entries[place] = static_cast<uint16_t>(entries.size() - place - 1);
    return place;
}

uint16_t NearestColour::nearestToTranslucent(QRgb word)
{
    // 2^32 over the golden ratio mixes all bits into the upper ones.
    Place &place = translucent[(word * 0x9E3779B1u >> 16) % kPlaces];
    if (place.word != word)
        place = { word, nearestOfAll(word) };
    return place.nearest;
}

uint16_t NearestColour::of(QRgb word)
{
    if (word == last)
        return nearestToLast;
    last = word;
    if (colours.size() <= kShort)
        return nearestToLast = nearestOfAll(word);
    if (qAlpha(word) != 255)
        return nearestToLast = nearestToTranslucent(word);
    uint32_t &list = lists[cubeOf(word)];
    if (list == 0)
        list = static_cast<uint32_t>(makeList(word));
    const uint16_t *entry = entries.data() + list + 1;
    const uint16_t *end = entry + entry[-1];
    uint16_t best = *entry;
    int least = colourDistance(word, colours[best]);
    while (++entry < end) {
        const int distance = colourDistance(word, colours[*entry]);
        if (distance < least) {
            best = *entry;
            least = distance;
        }
    }
    return nearestToLast = best;
}

} // namespace ztrace
