// (c) the ztrace developers. Licence: see LICENSE.
#include "edges.h"

#include "borders.h"
#include "colour.h"
#include "fourcolours.h"
#include "ridges.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace ztrace {

namespace {

const int kMostInLine = 6;         // ridges in 3 x 3 pixels
const int kLeastInTexture = 24;    // ridges in 5 x 5; lines side by side have fewer
const int kLeastAlpha = 96;        // of a line on transparency
const int kLeastRule = 16;         // pixels; stems of letters are shorter
const double kShadesOfClean = 0.5; // for each pair that differs clearly

const uint8_t kDrawnRidge = EdgeMap::kRidge | EdgeMap::kDrawn;

std::size_t countVisible(const QRgb *words, int count)
{
    unsigned visible = 0;
    for (int x = 0; x < count; ++x)
        visible += words[x] > 0x00FFFFFFu;
    return visible;
}

// Where the pixels of a row end that are followed by equal ones, to the right and, where there is a
// row below, in it; or shortly before that.
int skipEqual(const QRgb *words, const QRgb *below, int x, int end)
{
#ifdef __SSE2__
    for (; x + 3 < end; x += 4) {
        const __m128i four = fourWords(words + x);
        const __m128i equal = _mm_and_si128(_mm_cmpeq_epi32(four, fourWords(words + x + 1)),
                                            _mm_cmpeq_epi32(four, fourWords(below + x)));
        const unsigned bits = unsigned(_mm_movemask_epi8(equal));
        if (bits != 0xFFFFu)
            return x + int(unsigned(__builtin_ctz(~bits)) / sizeof(QRgb));
    }
#else
    while (x < end && words[x] == words[x + 1] && words[x] == below[x])
        ++x;
#endif
    return x;
}

// Finds ridges with the same surroundings. Each of these has one place, which it shares with
// others, so that some are not found again.
class Surroundings
{
public:
    Surroundings(const QImage &image, const std::vector<EdgeMap::RidgePixel> &ridges)
        : first(row(image, 0)), stride(image.bytesPerLine() / int(sizeof(QRgb))),
          width(image.width()), height(image.height()), found(ridges), places(kPlaces, kNone)
    { }

    // What the next ridge, which is at (x, y), is like: itself where it is near the rim.
    uint32_t of(int x, int y, QRgb beside)
    {
        const uint32_t own = uint32_t(found.size());
        if (x < kReach || y < kReach || x + kReach >= width || y + kReach >= height)
            return own;
        const QRgb *corner = first + (y - kReach) * stride + x - kReach;
        uint32_t &place = places[placeOf(corner, stride, beside)];
        if (place == kNone || found[place].beside != beside
            || !isLike(corner, cornerOf(found[place].pixel)))
            place = own;
        return place;
    }

private:
    static const int kReach = 2;
    static const int kSide = 2 * kReach + 1;
    static const int kBits = 13; // of the number of places
    static const std::size_t kPlaces = std::size_t(1) << kBits;
    static constexpr uint32_t kNone = 0xFFFFFFFFu;

    const QRgb *cornerOf(uint32_t pixel) const
    {
        const std::ptrdiff_t y = pixel / uint32_t(width);
        const std::ptrdiff_t x = pixel % uint32_t(width);
        return first + (y - kReach) * stride + x - kReach;
    }

#ifdef __SSE2__
    bool isLike(const QRgb *a, const QRgb *b) const
    {
        __m128i equal = _mm_set1_epi32(-1);
        QRgb others = 0;
        for (int v = 0; v < kSide; ++v, a += stride, b += stride) {
            equal = _mm_and_si128(equal, _mm_cmpeq_epi32(fourWords(a), fourWords(b)));
            others |= a[4] ^ b[4];
        }
        return others == 0 && _mm_movemask_epi8(equal) == 0xFFFF;
    }

    static std::size_t placeOf(const QRgb *corner, std::ptrdiff_t stride, QRgb beside)
    {
        __m128i fours = _mm_setzero_si128();
        QRgb others = beside;
        for (int v = 0; v < kSide; ++v, corner += stride) {
            fours
                = _mm_add_epi32(_mm_sub_epi32(_mm_slli_epi32(fours, 5), fours), fourWords(corner));
            others = others * 31 + corner[4];
        }
        uint64_t pairs[2];
        storeFour(pairs, fours);
        return mixed(pairs[0] + kSpread * (pairs[1] + others));
    }
#else
    bool isLike(const QRgb *a, const QRgb *b) const
    {
        for (int v = 0; v < kSide; ++v, a += stride, b += stride) {
            if (!std::equal(a, a + kSide, b))
                return false;
        }
        return true;
    }

    static std::size_t placeOf(const QRgb *corner, std::ptrdiff_t stride, QRgb beside)
    {
        uint64_t all = beside;
        for (int v = 0; v < kSide; ++v, corner += stride) {
            for (int u = 0; u < kSide; ++u)
                all = all * 31 + corner[u];
        }
        return mixed(all);
    }
#endif

    static const uint64_t kSpread = 0x9E3779B97F4A7C15u; // 2^64 over the golden ratio

    static std::size_t mixed(uint64_t all)
    {
        return std::size_t((all ^ all >> 32) * kSpread >> (64 - kBits));
    }

    const QRgb *const first;
    const std::ptrdiff_t stride; // words
    const int width;
    const int height;
    const std::vector<EdgeMap::RidgePixel> &found;
    std::vector<uint32_t> places; // among those that were found
};

// Pixels and their right neighbours that are not equal.
struct Pairs
{
    std::size_t clear = 0;
    std::size_t shaded = 0; // less far apart

    bool areClean() const { return double(shaded) <= kShadesOfClean * double(clear); }

    void operator+=(const Pairs &others)
    {
        clear += others.clear;
        shaded += others.shaded;
    }
};

// Marks both pixels of every pair in a row, or of it and the row below, that differ clearly. The
// last row is its own row below.
Pairs markPairs(const QRgb *words, const QRgb *below, int width, uint8_t *marks,
                uint8_t *marksBelow)
{
    Pairs pairs;
    for (int x = skipEqual(words, below, 0, width - 1); x < width;) {
        const QRgb word = words[x];
        if (word != below[x] && differsClearly(word, below[x])) {
            marks[x] |= EdgeMap::kEdge;
            marksBelow[x] |= EdgeMap::kEdge;
        }
        if (x + 1 < width && word != words[x + 1]) {
            const bool isClear = differsClearly(word, words[x + 1]);
            ++(isClear ? pairs.clear : pairs.shaded);
            if (isClear) {
                marks[x] |= EdgeMap::kEdge;
                marks[x + 1] |= EdgeMap::kEdge;
            }
        }
        ++x;
        if (x + 1 < width && words[x] == words[x + 1])
            x = skipEqual(words, below, x, width - 1);
    }
    return pairs;
}

// Of the pixels that have one to the left and one to the right. A plain loop, which compilers turn
// into vector code.
void findCalmAmid(const uint8_t *__restrict above, const uint8_t *__restrict here,
                  const uint8_t *__restrict below, int width, uint8_t *__restrict calm)
{
    for (int x = 1; x + 1 < width; ++x) {
        const uint8_t left = above[x - 1] | here[x - 1] | below[x - 1];
        const uint8_t middle = above[x] | here[x] | below[x];
        const uint8_t right = above[x + 1] | here[x + 1] | below[x + 1];
        calm[x] = uint8_t(((left | middle | right) & EdgeMap::kEdge) ^ EdgeMap::kEdge);
    }
}

} // namespace

EdgeMap::EdgeMap(const QImage &image)
    : width(image.width()), height(image.height()),
      marks(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), uint8_t(0))
{
    markEdges(image);
    markRidges(image);
    markLines();
    markRules(image);
}

void EdgeMap::markEdges(const QImage &image)
{
    Pairs pairs;
    for (int y = 0; y < height; ++y) {
        const int next = std::min(y + 1, height - 1);
        const QRgb *words = ztrace::row(image, y);
        visible += countVisible(words, width);
        pairs += markPairs(words, ztrace::row(image, next), width, row(y), row(next));
    }
    clean = pairs.areClean();
}

void EdgeMap::markRidges(const QImage &image)
{
    const RidgeFinder finder(image);
    Surroundings surroundings(image, found);
    for (int y = 0; y < height; ++y) {
        const QRgb *words = ztrace::row(image, y);
        uint8_t *bytes = row(y);
        for (int x = nextSet(bytes, 0, width); x < width; x = nextSet(bytes, x + 1, width)) {
            QRgb beside = 0;
            ++edgesFound;
            if (!finder.find(x, y, &beside) && !(clean && finder.findFaint(x, y, &beside)))
                continue;
            bytes[x] |= qAlpha(words[x]) >= kLeastAlpha ? kDrawnRidge : kRidge;
            found.push_back({ static_cast<uint32_t>(offset(y)) + static_cast<uint32_t>(x), beside,
                              surroundings.of(x, y, beside) });
        }
    }
}

void EdgeMap::markLines()
{
    for (const RidgePixel &ridge : found) {
        const int y = int(ridge.pixel / uint32_t(width));
        const int x = int(ridge.pixel % uint32_t(width));
        uint8_t &mark = row(y)[x];
        if ((mark & kDrawn) != 0 && crowdAt(x, y, 1) <= kMostInLine)
            mark |= kLine;
    }
}

// A straight run of one colour is that colour, however thin: soft edges change along a stroke.
// Where drawn ridges of one word go on, along a row or a column. Where a line crosses another one
// of its colour there is no ridge.
class EdgeMap::Rule
{
public:
    // The next ridge, at `place` along the line; `between` is whether the pixel before it has its
    // word. Returns how many pixels before it, and itself, are of a rule and were not known to be.
    int goOn(int place, QRgb own, bool between)
    {
        const bool isNext = place == last + 1 || (place == last + 2 && between);
        if (!isNext || own != word)
            first = place;
        const int before = last - first + 1;
        last = place;
        word = own;
        const int length = last - first + 1;
        return length < kLeastRule ? 0 : before < kLeastRule ? length : length - before;
    }

private:
    int first = -2;
    int last = -4;
    QRgb word = 0;
};

// A straight run of one colour is that colour, however thin: soft edges change along a stroke.
void EdgeMap::markRules(const QImage &image)
{
    std::vector<Rule> down(static_cast<std::size_t>(width));
    for (int y = 0; y < height; ++y) {
        const QRgb *words = ztrace::row(image, y);
        const QRgb *above = y > 0 ? ztrace::row(image, y - 1) : words;
        uint8_t *bytes = row(y);
        Rule across;
        for (int x = nextSet(bytes, 0, width); x < width; x = nextSet(bytes, x + 1, width)) {
            if ((bytes[x] & kDrawn) == 0)
                continue;
            const bool follows = x > 0 && words[x - 1] == words[x];
            for (int k = across.goOn(x, words[x], follows); k > 0; --k)
                bytes[x - k + 1] |= kRule;
            Rule &rule = down[static_cast<std::size_t>(x)];
            for (int k = rule.goOn(y, words[x], above[x] == words[x]); k > 0; --k)
                row(y - k + 1)[x] |= kRule;
        }
    }
}

void EdgeMap::findCalm(int y, std::vector<uint8_t> *calm) const
{
    const uint8_t *above = row(std::max(0, y - 1));
    const uint8_t *here = row(y);
    const uint8_t *below = row(std::min(height - 1, y + 1));
    calm->resize(static_cast<std::size_t>(width));
    findCalmAmid(above, here, below, width, calm->data());
    for (const int x : { 0, width - 1 }) {
        uint8_t marked = 0;
        for (int u = std::max(0, x - 1); u <= std::min(width - 1, x + 1); ++u)
            marked |= uint8_t(above[u] | here[u] | below[u]);
        (*calm)[std::size_t(x)] = uint8_t((marked & kEdge) ^ kEdge);
    }
}

bool EdgeMap::isTexture(int x, int y) const
{
    return (row(y)[x] & kDrawn) != 0 && crowdAt(x, y, 2) >= kLeastInTexture;
}

int EdgeMap::crowdAt(int x, int y, int reach) const
{
    const int kBytes = 8; // that are read at once, of which 2 * reach + 1 count
    if (x >= reach && x - reach + kBytes <= width && y >= reach && y + reach < height) {
        const uint64_t drawn = 0x0101010101010101u * kDrawn >> 8 * (kBytes - 2 * reach - 1);
        const uint8_t *bytes = row(y - reach) + x - reach;
        uint64_t sums = 0; // of the rows, byte by byte
        for (int v = 0; v <= 2 * reach; ++v, bytes += width) {
            uint64_t eight = 0;
            std::memcpy(&eight, bytes, sizeof eight);
            sums += (qFromLittleEndian(eight) & drawn) / kDrawn;
        }
        return int(sums * 0x0101010101010101u >> 56);
    }
    int count = 0;
    for (int v = std::max(0, y - reach); v <= std::min(height - 1, y + reach); ++v) {
        const uint8_t *bytes = row(v);
        for (int u = std::max(0, x - reach); u <= std::min(width - 1, x + reach); ++u)
            count += (bytes[u] & kDrawn) != 0;
    }
    return count;
}

bool isClean(const QImage &image)
{
    Pairs pairs;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x + 1 < image.width(); ++x) {
            x = skipEqual(words, words, x, image.width() - 1);
            if (x + 1 < image.width() && words[x] != words[x + 1])
                ++(differsClearly(words[x], words[x + 1]) ? pairs.clear : pairs.shaded);
        }
    }
    return pairs.areClean();
}

} // namespace ztrace
