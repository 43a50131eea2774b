// (c) the ztrace developers. Licence: see LICENSE.
//
// One pass over rows, four pixels at a time where the machine can; uniform ones cost least. What
// needs a table is left to the few pixels that need it: flat ones come in runs of one colour, and
// distinct colours are counted only until there are too many.
#include "colourfeatures.h"

#include "colour.h"
#include "fourcolours.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

namespace ztrace {

namespace {

// Of 255: the largest difference of two channels in a grey, so that the tint of scanned paper and
// what JPEG leaves of colour in greys is none.
const int kGreyChannels = 24;

// The rows of an image as words 0xAARRGGBB, one after the other and the next one with each.
class Rows
{
public:
    explicit Rows(const QImage &source) : image(source)
    {
        if (image.format() == QImage::Format_RGB32)
            buffers.fill(std::vector<QRgb>(static_cast<std::size_t>(width())));
    }

    int width() const { return image.width(); }
    int height() const { return image.height(); }

    // Valid until the next but one is asked for.
    const QRgb *at(int y)
    {
        const QRgb *words = row(image, y);
        if (image.format() == QImage::Format_ARGB32)
            return words;
        // The fourth byte means nothing in this format.
        std::vector<QRgb> &buffer = buffers[static_cast<std::size_t>(y % 2)];
        for (std::size_t x = 0; x < buffer.size(); ++x)
            buffer[x] = words[x] | 0xFF000000u;
        return buffer.data();
    }

private:
    const QImage &image;
    std::array<std::vector<QRgb>, 2> buffers;
};

// Numbers of pixels by colour, in open addressing. No colour is 0.
class ColourTable
{
public:
    ColourTable() : places(kFirstPlaces) { }

    void add(QRgb colour, int pixels)
    {
        Place *place = find(colour);
        place->pixels += pixels;
        if (place->colour == colour)
            return;
        place->colour = colour;
        if (2 * ++used > places.size())
            grow();
    }

    // Pixels of the commonest colours together.
    long long countCommonest(int colours) const
    {
        std::vector<int> counts;
        for (const Place &place : places) {
            if (place.pixels > 0)
                counts.push_back(place.pixels);
        }
        const auto end
            = counts.begin() + std::min<std::ptrdiff_t>(colours, std::ptrdiff_t(counts.size()));
        std::partial_sort(counts.begin(), end, counts.end(), std::greater<int>());
        return std::accumulate(counts.begin(), end, 0LL);
    }

    // The commonest colour and its pixels; of equally common ones the least. None: 0 and 0.
    std::pair<QRgb, long long> commonest() const
    {
        std::pair<QRgb, long long> found(0, 0);
        for (const Place &place : places) {
            if (place.pixels > found.second
                || (place.pixels == found.second && place.colour < found.first))
                found = { place.colour, place.pixels };
        }
        return found;
    }

private:
    struct Place
    {
        QRgb colour = 0;
        int pixels = 0;
    };

    static const std::size_t kFirstPlaces = 1024; // a power of two; always half of them are free

    Place *find(QRgb colour)
    {
        // The multiplier is 2^32 over the golden ratio; the product's upper bits are well mixed.
        const std::uint32_t product = colour * 0x9E3779B1u;
        std::size_t i = (product ^ (product >> 15)) & (places.size() - 1);
        while (places[i].colour != 0 && places[i].colour != colour)
            i = (i + 1) & (places.size() - 1);
        return &places[i];
    }

    void grow()
    {
        std::vector<Place> old(2 * places.size());
        old.swap(places);
        for (const Place &place : old) {
            if (place.colour != 0)
                *find(place.colour) = place;
        }
    }

    std::vector<Place> places;
    std::size_t used = 0;
};

// Counts distinct words up to kMostCounted.
class DistinctWords
{
public:
    void addRow(const QRgb *words, int width)
    {
        for (int x = 0; x < width && count < kMostCounted; x = endOfRun(words, x, width)) {
            if (count > 0 && words[x] == last)
                continue;
            last = words[x];
            const auto end = known.begin() + count;
            if (std::find(known.begin(), end, last) == end)
                known[static_cast<std::size_t>(count++)] = last;
        }
    }

    int count = 0;

private:
    std::array<QRgb, kMostCounted> known = {};
    QRgb last = 0;
};

bool isColoured(QRgb word)
{
    const int most = std::max(qRed(word), std::max(qGreen(word), qBlue(word)));
    const int least = std::min(qRed(word), std::min(qGreen(word), qBlue(word)));
    return most - least > kGreyChannels;
}

// Counts the pixels of one row after the other.
class RowCounter
{
public:
    explicit RowCounter(int rowWidth)
        : width(rowWidth), above(static_cast<std::size_t>(rowWidth) + kAtOnce, 0u), below(above)
    { }

    // The next row and the one below it; the last row is its own row below.
    void addRow(const QRgb *words, const QRgb *wordsBelow)
    {
        distinctWords.addRow(words, width);
        left = 0;
        int x = 0;
#ifdef __SSE2__
        // With the pixel to the right of them.
        for (; x + kAtOnce < width; x += kAtOnce) {
            x = addUniform(words, wordsBelow, x);
            if (x + kAtOnce >= width)
                break;
            addFour(words, wordsBelow, x);
        }
#endif
        for (; x < width; ++x)
            addPixel(words, wordsBelow, x);
        countRun();
        above.swap(below);
    }

    ColourFeatures take()
    {
        features.colours = distinctWords.count;
        features.mainColours = flatColours.countCommonest(kMainColours);
        std::tie(features.groundColour, features.ground) = flatColours.commonest();
        return features;
    }

private:
    static const int kAtOnce = 4;

    // At the right rim the pixel itself stands for its neighbour.
    void addPixel(const QRgb *words, const QRgb *wordsBelow, int x)
    {
        const QRgb word = words[x];
        const int next = std::min(x + 1, width - 1);
        const std::size_t place = static_cast<std::size_t>(x);
        const bool differsRight = differsClearly(word, words[next]);
        const bool differsBelow = differsClearly(word, wordsBelow[x]);
        const bool isVisible = word >> 24 != 0;
        const bool isFlat
            = isVisible && word == words[next] && word == wordsBelow[x] && word == wordsBelow[next];
        const bool isOnEdge = differsRight || differsBelow || left != 0 || above[place] != 0;
        features.clear += !isVisible;
        features.visible += isVisible;
        features.coloured += isVisible && isColoured(word);
        features.flat += isFlat;
        features.edges += isVisible && isOnEdge && !isFlat;
        if (isFlat)
            addToRun(word, 1);
        below[place] = differsBelow ? kAll : 0u;
        left = differsRight ? kAll : 0u;
    }

#ifdef __SSE2__
    void addFour(const QRgb *words, const QRgb *wordsBelow, int x)
    {
        const __m128i four = fourWords(words + x);
        const __m128i right = fourWords(words + x + 1);
        const __m128i under = fourWords(wordsBelow + x);
        const __m128i equal
            = _mm_and_si128(_mm_cmpeq_epi32(four, right), _mm_cmpeq_epi32(four, under));
        const __m128i equalAll
            = _mm_and_si128(equal, _mm_cmpeq_epi32(four, fourWords(wordsBelow + x + 1)));
        const __m128i clearly = _mm_set1_epi32(kClearly);
        const __m128i differsRight = _mm_cmpgt_epi32(colourDistances(four, right), clearly);
        const __m128i differsBelow = _mm_cmpgt_epi32(colourDistances(four, under), clearly);
        const __m128i differsLeft = _mm_or_si128(_mm_slli_si128(differsRight, 4),
                                                 _mm_cvtsi32_si128(static_cast<int>(left)));
        const __m128i edge = _mm_or_si128(_mm_or_si128(differsRight, differsBelow),
                                          _mm_or_si128(differsLeft, fourWords(above.data() + x)));
        const __m128i clear = areClear(four);
        const __m128i coloured = _mm_cmpgt_epi32(chromas(four), _mm_set1_epi32(kGreyChannels));
        const __m128i flat = _mm_andnot_si128(clear, equalAll);
        const auto count = [](__m128i mask) {
            return countOfBits[static_cast<std::size_t>(_mm_movemask_ps(_mm_castsi128_ps(mask)))];
        };
        const int clearPixels = count(clear);
        features.clear += clearPixels;
        features.visible += kAtOnce - clearPixels;
        features.coloured += count(_mm_andnot_si128(clear, coloured));
        features.edges += count(_mm_andnot_si128(_mm_or_si128(clear, flat), edge));
        const int flatBits = _mm_movemask_ps(_mm_castsi128_ps(flat));
        for (int i = 0; flatBits >> i != 0; ++i) {
            if ((flatBits >> i & 1) == 0)
                continue;
            ++features.flat;
            addToRun(words[x + i], 1);
        }
        storeFour(below.data() + x, differsBelow);
        left = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(differsRight, 12)));
    }

    // Fours of one word that are equal to their neighbours to the right and below, from x on;
    // returns where they end.
    int addUniform(const QRgb *words, const QRgb *wordsBelow, int x)
    {
        const QRgb word = words[x];
        if (word != words[x + kAtOnce] || word != wordsBelow[x])
            return x;
        const __m128i all = _mm_set1_epi32(static_cast<int>(word));
        const auto isAll = [all](const QRgb *at) {
            return _mm_and_si128(_mm_cmpeq_epi32(all, fourWords(at)),
                                 _mm_cmpeq_epi32(all, fourWords(at + 1)));
        };
        int end = x;
        for (; end + kAtOnce < width; end += kAtOnce) {
            const __m128i equal = _mm_and_si128(isAll(words + end), isAll(wordsBelow + end));
            if (_mm_movemask_epi8(equal) != 0xFFFF)
                break;
            storeFour(below.data() + end, _mm_setzero_si128());
        }
        if (end > x)
            countUniform(word, end - x);
        return end;
    }

    void countUniform(QRgb word, int pixels)
    {
        left = 0;
        if (word >> 24 == 0) {
            features.clear += pixels;
            return;
        }
        features.visible += pixels;
        features.flat += pixels;
        features.coloured += isColoured(word) ? pixels : 0;
        addToRun(word, pixels);
    }
#endif

    void addToRun(QRgb word, int pixels)
    {
        if (word != runWord) {
            countRun();
            runWord = word;
        }
        runPixels += pixels;
    }

    void countRun()
    {
        if (runPixels > 0)
            flatColours.add(runWord, runPixels);
        runPixels = 0;
    }

    static const std::uint32_t kAll = 0xFFFFFFFFu;
    static constexpr std::array<std::int8_t, 16> countOfBits
        = { { 0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4 } };

    const int width;
    std::vector<std::uint32_t> above; // kAll where a pixel differs clearly from the one above
    std::vector<std::uint32_t> below;
    std::uint32_t left = 0;
    QRgb runWord = 0; // of the flat pixels that are not counted yet
    int runPixels = 0;
    ColourFeatures features;
    ColourTable flatColours;
    DistinctWords distinctWords;
};

} // namespace

ColourFeatures colourFeaturesOf(const QImage &image)
{
    Rows rows(image);
    const int width = rows.width();
    const int height = rows.height();
    if (width == 0 || height == 0)
        return ColourFeatures();
    RowCounter counter(width);
    const QRgb *words = rows.at(0);
    for (int y = 0; y < height; ++y) {
        // At the lower rim the row itself stands for the one below.
        const QRgb *below = y + 1 < height ? rows.at(y + 1) : words;
        counter.addRow(words, below);
        words = below;
    }
    return counter.take();
}

} // namespace ztrace
