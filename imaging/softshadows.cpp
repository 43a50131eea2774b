// (c) the ztrace developers. Licence: see LICENSE.
#include "softshadows.h"

#include "alpha.h"
#include "colour.h"
#include "forest.h"
#include "fourcolours.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdlib>
#include <numeric>

namespace ztrace {

namespace {

// A pixel is of the soft edge of something solid when alpha, of 255, rises by at least so much on
// one side of it and falls by as much on the other. A shadow of 8 pixels and more is no edge.
const int kStepOfEdge = 36;

// Squares of so many pixels a side in one word are glass, which is flat.
const int kSideOfGlass = 6;

// What hangs together in fewer pixels is a speck, as elsewhere of what is seen through, ...
const int kLeastPixels = kLeastTranslucent;
// ... and in fewer alphas is a thin line of glass.
const std::size_t kLeastAlphas = 8;
// ... and so much of which is in squares of 2 x 2 in one word is glass beside something slanted.
const double kMostFlat = 0.5;

// Of a shadow so much at least is in the middle of it; of soft edges that lie close together,
// islets on a sea of glass, a few pixels are.
const double kLeastInside = 0.2;

// A shadow has so many pixels in the middle of it in some tile of so many pixels a side. That of a
// window has hundreds, islets on a sea of glass are below 32, and looking closer takes 30 ms a
// megapixel.
const int kTile = 16;
const int kLeastInTile = 32;

// Somewhere it falls evenly: so many alphas are in 3 x 3 pixels. Glass beside an edge has fewer.
const std::size_t kLeastInCore = 3;
const int kMostSame = 4; // of those 9 have the middle's; in a shadow that falls by one a pixel 3

const int kReach = 2; // pixels over which a soft edge is told to be of a shadow

typedef std::vector<uint8_t> Plane; // a byte a pixel, rows from the top

bool isTranslucent(QRgb word)
{
    return word >= 0x01000000u && word < 0xFF000000u;
}

// The pixels of an image, which Qt would tell by a call each.
struct Words
{
    explicit Words(const QImage &image)
        : width(image.width()), height(image.height()), first(row(image, 0)),
          perLine(std::size_t(image.bytesPerLine()) / sizeof(QRgb))
    { }

    const QRgb *line(int y) const { return first + std::size_t(y) * perLine; }
    int alphaAt(int x, int y) const { return qAlpha(line(y)[x]); }
    bool isTranslucent(int x, int y) const { return ztrace::isTranslucent(line(y)[x]); }
    bool isInside(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
    std::size_t placeOf(int x, int y) const
    {
        return std::size_t(y) * std::size_t(width) + std::size_t(x);
    }

    // Whether it equals the pixels to the right, below, and between the two.
    bool isFlat(int x, int y) const
    {
        if (!isInside(x + 1, y + 1))
            return false;
        const QRgb *here = line(y) + x;
        const QRgb *below = line(y + 1) + x;
        return here[0] == here[1] && here[0] == below[0] && here[0] == below[1];
    }

    // Beyond the rim of the image there is no edge.
    bool isEdgeAlong(int x, int y, int dx, int dy) const
    {
        if (!isInside(x - dx, y - dy) || !isInside(x + dx, y + dy))
            return false;
        const int before = alphaAt(x, y) - alphaAt(x - dx, y - dy);
        const int after = alphaAt(x + dx, y + dy) - alphaAt(x, y);
        return std::min(before, after) >= kStepOfEdge || std::max(before, after) <= -kStepOfEdge;
    }
    bool isEdge(int x, int y) const
    {
        return isEdgeAlong(x, y, 1, 0) || isEdgeAlong(x, y, 0, 1) || isEdgeAlong(x, y, 1, 1)
            || isEdgeAlong(x, y, 1, -1);
    }

    int width;
    int height;

private:
    const QRgb *first;
    std::size_t perLine;
};

// Pixels that can be seen through and are of no edge.
Plane candidatesIn(const Words &words)
{
    Plane marks(std::size_t(words.width) * std::size_t(words.height), 0);
    for (int y = 0; y < words.height; ++y) {
        for (int x = 0; x < words.width; ++x)
            marks[words.placeOf(x, y)] = words.isTranslucent(x, y) && !words.isEdge(x, y);
    }
    return marks;
}

// The side of the largest square in one word whose last pixel this is, up to kSideOfGlass.
uint8_t sideAt(const Words &words, const Plane &sides, int x, int y)
{
    if (!words.isTranslucent(x, y))
        return 0;
    if (x == 0 || y == 0)
        return 1;
    const QRgb *line = words.line(y);
    const QRgb *above = words.line(y - 1);
    if (line[x] != line[x - 1] || line[x] != above[x] || line[x] != above[x - 1])
        return 1;
    const int least = std::min({ sides[words.placeOf(x - 1, y)], sides[words.placeOf(x, y - 1)],
                                 sides[words.placeOf(x - 1, y - 1)] });
    return uint8_t(std::min(kSideOfGlass, least + 1));
}

// Pixels of all squares of glass.
Plane glassIn(const Words &words)
{
    const int width = words.width;
    const int height = words.height;
    Plane sides(std::size_t(width) * std::size_t(height), 0);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            sides[words.placeOf(x, y)] = sideAt(words, sides, x, y);
    }
    // How far the square reaches to the left and up from here, which is carried on.
    for (int y = height; y-- > 0;) {
        for (int x = width; x-- > 0;) {
            uint8_t &side = sides[words.placeOf(x, y)];
            int reach = side == kSideOfGlass ? kSideOfGlass : 0;
            for (const std::array<int, 2> &step :
                 { std::array<int, 2> { 1, 0 }, { 0, 1 }, { 1, 1 } }) {
                if (words.isInside(x + step[0], y + step[1]))
                    reach = std::max(reach, sides[words.placeOf(x + step[0], y + step[1])] - 1);
            }
            side = uint8_t(std::max(reach, 0));
        }
    }
    return sides;
}

// Calls use(place, x, y) for the pixels at most `reach` away.
template<typename Use>
void forEachNear(const Words &words, int x, int y, int reach, Use use)
{
    for (int v = y - reach; v <= y + reach; ++v) {
        for (int u = x - reach; u <= x + reach; ++u) {
            if (words.isInside(u, v))
                use(words.placeOf(u, v), u, v);
        }
    }
}

// How many pixels beside one, itself among them, are marked, and how many are in the image.
std::array<int, 2> marksBeside(const Words &words, const Plane &marks, int x, int y)
{
    std::array<int, 2> counts = { 0, 0 };
    forEachNear(words, x, y, 1, [&](std::size_t place, int, int) {
        counts[0] += marks[place];
        ++counts[1];
    });
    return counts;
}

// Whether alpha falls over a pixel and those beside it, and is not that of the pixel in most.
bool isFalling(const Words &words, int x, int y)
{
    std::bitset<256> alphas;
    int same = 0;
    forEachNear(words, x, y, 1, [&](std::size_t, int u, int v) {
        alphas.set(std::size_t(words.alphaAt(u, v)));
        same += words.alphaAt(u, v) == words.alphaAt(x, y);
    });
    return alphas.count() >= kLeastInCore && same <= kMostSame;
}

// The pixel, and those to the right of it, below, and between the two.
std::array<std::size_t, 4> squareAt(const Words &words, int x, int y)
{
    return { words.placeOf(x, y), words.placeOf(x + 1, y), words.placeOf(x, y + 1),
             words.placeOf(x + 1, y + 1) };
}

bool isSquare(const Words &words, const Plane &marks, int x, int y)
{
    if (!words.isInside(x + 1, y + 1))
        return false;
    const std::array<std::size_t, 4> places = squareAt(words, x, y);
    return std::all_of(places.begin(), places.end(),
                       [&marks](std::size_t place) { return marks[place] != 0; });
}

// Marks of places 2 pixels wide at least, which hang together with one that is 3 wide, and a pixel
// more: rims of flat things, where they are nearly clear or nearly opaque, go.
void keepWide(const Words &words, Plane *marks)
{
    Plane wide(marks->size(), 0);
    Plane cores(marks->size(), 0);
    std::vector<std::array<int, 2>> front;
    for (int y = 0; y < words.height; ++y) {
        for (int x = 0; x < words.width; ++x) {
            if ((*marks)[words.placeOf(x, y)] == 0)
                continue;
            if (isSquare(words, *marks, x, y)) {
                for (const std::size_t place : squareAt(words, x, y))
                    wide[place] = 1;
            }
            const std::array<int, 2> beside = marksBeside(words, *marks, x, y);
            if (beside[0] != beside[1] || !isFalling(words, x, y))
                continue;
            cores[words.placeOf(x, y)] = 1;
            front.push_back({ x, y });
        }
    }
    while (!front.empty()) {
        const std::array<int, 2> from = front.back();
        front.pop_back();
        forEachNear(words, from[0], from[1], 1, [&](std::size_t place, int u, int v) {
            if (cores[place] != 0 || (*marks)[place] == 0)
                return;
            cores[place] = 1; // what is not wide is the pixel more, from which it goes no farther
            if (wide[place] != 0)
                front.push_back({ u, v });
        });
    }
    *marks = std::move(cores);
}

// The marked pixels that hang together, by the number of their first one.
std::vector<uint32_t> groupsOf(const Words &words, const Plane &marks)
{
    std::vector<uint32_t> groups(marks.size());
    std::iota(groups.begin(), groups.end(), 0u);
    const auto join = [&](std::size_t a, std::size_t b) {
        if (marks[a] == 0 || marks[b] == 0)
            return;
        const uint32_t one = rootOf(&groups, uint32_t(a));
        const uint32_t other = rootOf(&groups, uint32_t(b));
        groups[std::max(one, other)] = std::min(one, other);
    };
    for (int y = 0; y < words.height; ++y) {
        for (int x = 0; x < words.width; ++x) {
            if (x > 0)
                join(words.placeOf(x, y), words.placeOf(x - 1, y));
            if (y > 0)
                join(words.placeOf(x, y), words.placeOf(x, y - 1));
        }
    }
    for (std::size_t k = 0; k < groups.size(); ++k)
        groups[k] = rootOf(&groups, uint32_t(k));
    return groups;
}

// Groups that are large enough, change, and are not all rim: the others are no shadow.
void keepShadows(const Words &words, Plane *marks)
{
    const std::vector<uint32_t> groups = groupsOf(words, *marks);
    std::vector<uint32_t> order;
    for (std::size_t k = 0; k < groups.size(); ++k) {
        if ((*marks)[k] != 0)
            order.push_back(uint32_t(k));
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](uint32_t a, uint32_t b) { return groups[a] < groups[b]; });
    const uint32_t width = uint32_t(words.width);
    const Plane all = *marks;
    for (std::size_t first = 0, end = 0; first < order.size(); first = end) {
        std::bitset<256> alphas;
        std::size_t flat = 0;
        std::size_t inside = 0;
        for (end = first; end < order.size() && groups[order[end]] == groups[order[first]]; ++end) {
            const int x = int(order[end] % width);
            const int y = int(order[end] / width);
            alphas.set(std::size_t(words.alphaAt(x, y)));
            flat += words.isFlat(x, y);
            const std::array<int, 2> beside = marksBeside(words, all, x, y);
            inside += beside[0] == beside[1] && isFalling(words, x, y);
        }
        if (end - first >= std::size_t(kLeastPixels) && alphas.count() >= kLeastAlphas
            && double(flat) <= kMostFlat * double(end - first)
            && double(inside) >= kLeastInside * double(end - first))
            continue;
        for (std::size_t k = first; k < end; ++k)
            (*marks)[order[k]] = 0;
    }
}

// Marks the steep ends of shadows as well, where nothing solid is near.
void takeEnds(const Words &words, const Plane &glass, Plane *marks)
{
    const Plane before = *marks;
    for (int y = 0; y < words.height; ++y) {
        for (int x = 0; x < words.width; ++x) {
            if (before[words.placeOf(x, y)] != 0 || glass[words.placeOf(x, y)] != 0
                || !words.isTranslucent(x, y))
                continue;
            bool isBeside = false;
            bool isSolid = false;
            forEachNear(words, x, y, kReach, [&](std::size_t place, int u, int v) {
                isBeside = isBeside || before[place] != 0;
                isSolid = isSolid || words.alphaAt(u, v) == 255;
            });
            (*marks)[words.placeOf(x, y)] = isBeside && !isSolid;
        }
    }
}

// Whether of a pixel and those beside it, which all can be seen through, none is on an edge, and it
// falls. Most that are not so are on the soft edge of something solid themselves.
bool isInShadow(const Words &words, int x, int y)
{
    if (words.isEdge(x, y))
        return false;
    bool isEdge = false;
    forEachNear(words, x, y, 1,
                [&](std::size_t, int u, int v) { isEdge = isEdge || words.isEdge(u, v); });
    return !isEdge && isFalling(words, x, y);
}

// A row of words, and the ones above and below it; at the rim of the image they are the row itself.
struct ThreeRows
{
    const QRgb *above;
    const QRgb *line;
    const QRgb *below;
    int width;

    // What falls differs from one of the four beside it.
    bool isChange(int x) const
    {
        const QRgb word = line[x];
        return isTranslucent(word)
            && (word != line[std::max(0, x - 1)] || word != line[std::min(width - 1, x + 1)]
                || word != above[x] || word != below[x]);
    }

    // The first pixel from `x` on that can be seen through and is not like all beside it; `width`
    // where there is none.
    int nextChange(int x) const
    {
#ifdef __SSE2__
        if (x == 0 && width > 0 && isChange(0))
            return 0;
        for (x = std::max(1, x); x + 4 < width; x += 4) {
            const __m128i four = fourWords(line + x);
            const __m128i alphas = _mm_srli_epi32(four, 24);
            const __m128i areNot = _mm_or_si128(_mm_cmpeq_epi32(alphas, _mm_setzero_si128()),
                                                _mm_cmpeq_epi32(alphas, _mm_set1_epi32(255)));
            if (_mm_movemask_epi8(areNot) == 0xFFFF)
                continue;
            const __m128i alikeAcross
                = _mm_and_si128(_mm_cmpeq_epi32(four, fourWords(line + x - 1)),
                                _mm_cmpeq_epi32(four, fourWords(line + x + 1)));
            const __m128i alikeDown = _mm_and_si128(_mm_cmpeq_epi32(four, fourWords(above + x)),
                                                    _mm_cmpeq_epi32(four, fourWords(below + x)));
            const __m128i areOut = _mm_or_si128(areNot, _mm_and_si128(alikeAcross, alikeDown));
            const unsigned found = unsigned(_mm_movemask_ps(_mm_castsi128_ps(areOut))) ^ 0xFu;
            if (found != 0)
                return x + __builtin_ctz(found);
        }
#endif
        while (x < width && !isChange(x))
            ++x;
        return x;
    }

    bool areTranslucentBeside(int x) const
    {
        const int before = std::max(0, x - 1);
        const int after = std::min(width - 1, x + 1);
        const std::array<QRgb, 8> beside
            = { line[before], line[after],   above[before], above[x],
                above[after], below[before], below[x],      below[after] };
        return std::all_of(beside.begin(), beside.end(), isTranslucent);
    }
};

// Whether a tile has as many pixels in a shadow as one worth drawing. Most pictures on nothing have
// none, which is seen by one look a pixel.
bool hasTileOfShadow(const Words &words)
{
    std::vector<int> counts(std::size_t(words.width / kTile + 1));
    for (int y = 0; y < words.height; ++y) {
        if (y % kTile == 0)
            std::fill(counts.begin(), counts.end(), 0);
        const ThreeRows rows = { words.line(std::max(0, y - 1)), words.line(y),
                                 words.line(std::min(words.height - 1, y + 1)), words.width };
        for (int x = rows.nextChange(0); x < words.width; x = rows.nextChange(x + 1)) {
            if (!rows.areTranslucentBeside(x))
                continue;
            if (isInShadow(words, x, y) && ++counts[std::size_t(x / kTile)] == kLeastInTile)
                return true;
        }
    }
    return false;
}

} // namespace

std::vector<uint8_t> softShadowsIn(const QImage &image)
{
    if (isOpaque(image))
        return {};
    const Words words(image);
    if (!hasTileOfShadow(words))
        return {};
    Plane marks = candidatesIn(words);
    if (std::count(marks.begin(), marks.end(), 1) < kLeastPixels)
        return {};
    const Plane glass = glassIn(words);
    for (std::size_t k = 0; k < marks.size(); ++k)
        marks[k] = marks[k] != 0 && glass[k] == 0;
    keepWide(words, &marks);
    keepShadows(words, &marks);
    if (std::find(marks.begin(), marks.end(), 1) == marks.end())
        return {};
    takeEnds(words, glass, &marks);
    return marks;
}

void closeGaps(const QImage &image, const std::vector<uint8_t> &marks, LabelPlane *plane)
{
    const Words words(image);
    const auto isClear
        = [plane](std::size_t place) { return qAlpha(plane->colours[plane->labels[place]]) == 0; };
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const std::size_t place = words.placeOf(x, y);
            if (marks[place] != 0 || !words.isTranslucent(x, y) || !isClear(place))
                continue;
            const int alpha = words.alphaAt(x, y);
            int least = alpha; // clear is as far
            forEachNear(words, x, y, 1, [&](std::size_t other, int u, int v) {
                const int distance = std::abs(words.alphaAt(u, v) - alpha);
                if (marks[other] == 0 || isClear(other) || distance >= least)
                    return;
                least = distance;
                plane->labels[place] = plane->labels[other];
            });
        }
    }
}

} // namespace ztrace
