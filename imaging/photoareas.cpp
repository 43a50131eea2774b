// (c) the ztrace developers. Licence: see LICENSE.
#include "photoareas.h"

#include "colour.h"
#include "forest.h"
#include "fourcolours.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>

namespace ztrace {

namespace {

const int kTile = 8; // pixels a side

// A tile is of a photograph when it has so many colours, in cubes of 4 steps a channel, ...
const std::size_t kLeastCubes = 20;
const QRgb kCube = 0x00FCFCFCu;
// ... and at most so much of it is of its three commonest ones. Letters have a ground.
const double kMostCommon = 0.5;
const int kCommon = 3;

// Photographs are solid: they are about tiles of which so many of 5 x 5 are such. Compression
// leaves many colours beside edges, but in strips.
const int kCore = 2;
const int kLeastOfCore = 22;
const int kLeastOfNine = 4; // tiles of 3 x 3 beside a core, so that none is left out amid others
const std::size_t kLeastTiles = 100; // that hang together; fewer are an icon
const std::size_t kMostOfHole
    = 16; // tiles of others that hang together; calm places of photographs

// Compression makes photographs of drawings: none is looked for where, outside of them, pixels side
// by side that differ by up to kFaint are more than so many times those that differ by more than
// kEdge (sums of channels). What is drawn, text above all, has edges.
const int kFaint = 12;
const int kEdge = 24;
const double kCompressed = 1.2;
const int kAway = 2; // tiles from a photograph that are not asked

// Tiles of an image; those at the right and lower rim are cut off.
struct Tiles
{
    int columns;
    int rows;
    std::vector<uint8_t> isPhoto;

    uint8_t &at(int column, int line)
    {
        return isPhoto[std::size_t(line) * std::size_t(columns) + std::size_t(column)];
    }
    uint8_t at(int column, int line) const
    {
        return isPhoto[std::size_t(line) * std::size_t(columns) + std::size_t(column)];
    }
};

// Sizes of the groups of equal numbers among sorted ones; returns how many there are.
std::size_t groupSizes(const uint32_t *sorted, std::size_t count, int *sizes)
{
    std::size_t groups = 0;
    for (std::size_t k = 0; k < count; ++k) {
        if (k == 0 || sorted[k] != sorted[k - 1])
            sizes[groups++] = 0;
        ++sizes[groups - 1];
    }
    return groups;
}

// How many of the pixels of a row, from `left` on, equal the one to the left of them, which is in
// the tile as well; `all` loses the bits that a pixel lacks.
int repeatedIn(const QRgb *words, int left, int right, QRgb *all)
{
    *all &= words[left];
    int repeated = 0;
    for (int x = left + 1; x < right; ++x) {
        *all &= words[x];
        repeated += words[x] == words[x - 1] ? 1 : 0;
    }
    return repeated;
}

#ifdef __SSE2__
// The same for a whole tile's row: the pair of the fourth and the fifth pixel is in both halves.
int repeatedInWhole(const QRgb *words, __m128i *all)
{
    const __m128i first = fourWords(words);
    const __m128i last = fourWords(words + 4);
    *all = _mm_and_si128(*all, _mm_and_si128(first, last));
    const __m128i ofFirst = _mm_cmpeq_epi32(first, fourWords(words + 1));
    const __m128i ofLast = _mm_cmpeq_epi32(last, fourWords(words + 3));
    const int equal = _mm_movemask_ps(_mm_castsi128_ps(ofFirst))
        | (_mm_movemask_ps(_mm_castsi128_ps(ofLast)) & 0xE) << 3;
    return __builtin_popcount(unsigned(equal));
}
#endif

// Whether more than half of a tile's pixels equal the one to their left, as in what is drawn, or
// one is not opaque. Most tiles are done with after a few rows.
bool isDrawn(const QRgb *const *rows, int left, int right, int top, int bottom)
{
    const int pixels = (right - left) * (bottom - top);
    int repeated = 0;
    QRgb all = ~0u;
#ifdef __SSE2__
    if (right - left == kTile) {
        __m128i both = _mm_set1_epi32(-1);
        for (int y = top; y < bottom && 2 * repeated <= pixels; ++y)
            repeated += repeatedInWhole(rows[y - top] + left, &both);
        std::array<uint32_t, 4> words;
        storeFour(words.data(), both);
        return 2 * repeated > pixels || qAlpha(words[0] & words[1] & words[2] & words[3]) != 255;
    }
#endif
    for (int y = top; y < bottom && 2 * repeated <= pixels; ++y)
        repeated += repeatedIn(rows[y - top], left, right, &all);
    return 2 * repeated > pixels || qAlpha(all) != 255;
}

// The rows are those of the tile, from `top` on.
bool isPhotoAt(const QImage &image, const QRgb *const *rows, int left, int top)
{
    const int right = std::min(image.width(), left + kTile);
    const int bottom = std::min(image.height(), top + kTile);
    if (isDrawn(rows, left, right, top, bottom))
        return false;
    std::array<uint32_t, std::size_t(kTile) * kTile> cubes;
    std::size_t count = 0;
    for (int y = top; y < bottom; ++y) {
        const QRgb *words = rows[y - top];
        for (int x = left; x < right; ++x)
            cubes[count++] = words[x] & kCube;
    }
    std::sort(cubes.begin(), cubes.begin() + std::ptrdiff_t(count));
    std::array<int, std::size_t(kTile) * kTile> sizes;
    const std::size_t groups = groupSizes(cubes.data(), count, sizes.data());
    if (groups * cubes.size() < kLeastCubes * count)
        return false;
    const auto end = sizes.begin() + std::ptrdiff_t(groups);
    const auto common = sizes.begin() + std::min(std::ptrdiff_t(kCommon), std::ptrdiff_t(groups));
    std::partial_sort(sizes.begin(), common, end, std::greater<>());
    return double(std::accumulate(sizes.begin(), common, 0)) <= kMostCommon * double(count);
}

Tiles tilesOf(const QImage &image)
{
    Tiles tiles { (image.width() + kTile - 1) / kTile, (image.height() + kTile - 1) / kTile, {} };
    tiles.isPhoto.reserve(std::size_t(tiles.columns) * std::size_t(tiles.rows));
    for (int v = 0; v < tiles.rows; ++v) {
        std::array<const QRgb *, std::size_t(kTile)> rows = {};
        for (int y = v * kTile; y < std::min(image.height(), (v + 1) * kTile); ++y)
            rows[std::size_t(y - v * kTile)] = row(image, y);
        for (int u = 0; u < tiles.columns; ++u)
            tiles.isPhoto.push_back(isPhotoAt(image, rows.data(), u * kTile, v * kTile));
    }
    return tiles;
}

// Sums of so many numbers to either side of each one, itself among them, `step` apart; `count` of
// them, of which there are none beyond the ends. At most 255.
void sumAround(const uint8_t *from, int count, std::ptrdiff_t step, int reach, uint8_t *to)
{
    int sum = 0;
    for (int k = 0; k < std::min(reach, count); ++k)
        sum += from[k * step];
    for (int k = 0; k < count; ++k) {
        sum += k + reach < count ? from[(k + reach) * step] : 0;
        sum -= k > reach ? from[(k - reach - 1) * step] : 0;
        to[k * step] = uint8_t(sum);
    }
}

// Tiles of which at least so many around them are marked, at most `reach` columns and rows away.
Tiles amid(const Tiles &tiles, int reach, int least)
{
    const std::size_t columns = std::size_t(tiles.columns);
    std::vector<uint8_t> across(tiles.isPhoto.size());
    for (std::size_t first = 0; first < across.size(); first += columns)
        sumAround(&tiles.isPhoto[first], tiles.columns, 1, reach, &across[first]);
    Tiles result = tiles;
    for (std::size_t u = 0; u < columns; ++u)
        sumAround(&across[u], tiles.rows, tiles.columns, reach, &result.isPhoto[u]);
    for (uint8_t &tile : result.isPhoto)
        tile = tile >= least ? 1 : 0;
    return result;
}

bool isAny(const Tiles &tiles)
{
    return std::find(tiles.isPhoto.begin(), tiles.isPhoto.end(), 1) != tiles.isPhoto.end();
}

// Those that are filled, near a solid place. None where there is no such place.
Tiles settled(const Tiles &tiles)
{
    Tiles cores = amid(tiles, kCore, kLeastOfCore);
    if (!isAny(cores))
        return cores;
    const Tiles near = amid(cores, kCore + 1, 1);
    Tiles result = amid(tiles, 1, kLeastOfNine);
    for (std::size_t k = 0; k < result.isPhoto.size(); ++k)
        result.isPhoto[k] = result.isPhoto[k] & near.isPhoto[k];
    return result;
}

// How many tiles each one hangs together with, itself among them.
std::vector<std::size_t> sizesOf(const Tiles &tiles)
{
    std::vector<uint32_t> up(tiles.isPhoto.size());
    std::iota(up.begin(), up.end(), 0u);
    const auto join = [&](uint32_t a, uint32_t b) {
        if (tiles.isPhoto[a] != tiles.isPhoto[b])
            return;
        const uint32_t one = rootOf(&up, a);
        const uint32_t other = rootOf(&up, b);
        up[std::max(one, other)] = std::min(one, other);
    };
    const uint32_t columns = uint32_t(tiles.columns);
    for (uint32_t k = 0; k < up.size(); ++k) {
        if (k % columns != 0)
            join(k, k - 1);
        if (k >= columns)
            join(k, k - columns);
    }
    std::vector<std::size_t> ofRoot(up.size(), 0);
    for (uint32_t k = 0; k < up.size(); ++k)
        ++ofRoot[rootOf(&up, k)];
    std::vector<std::size_t> sizes;
    for (uint32_t k = 0; k < up.size(); ++k)
        sizes.push_back(ofRoot[rootOf(&up, k)]);
    return sizes;
}

// Small holes are filled, and what hangs together in less tiles than a photograph has is none.
void settleSizes(Tiles *tiles)
{
    const std::vector<std::size_t> holes = sizesOf(*tiles);
    for (std::size_t k = 0; k < holes.size(); ++k)
        tiles->isPhoto[k] = tiles->isPhoto[k] || holes[k] <= kMostOfHole;
    const std::vector<std::size_t> photographs = sizesOf(*tiles);
    for (std::size_t k = 0; k < photographs.size(); ++k)
        tiles->isPhoto[k] = tiles->isPhoto[k] && photographs[k] >= kLeastTiles;
}

// Whether what is not of photographs is more noise than drawing.
bool isCompressedOutside(const QImage &image, const Tiles &photographs)
{
    const Tiles near = amid(photographs, kAway, 1);
    long long faint = 0;
    long long edges = 0;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 1; x < image.width(); ++x) {
            if (words[x] == words[x - 1] || near.at(x / kTile, y / kTile))
                continue;
            const int distance = colourDistance(words[x], words[x - 1]);
            faint += distance <= kFaint;
            edges += distance > kEdge;
        }
    }
    return double(faint) > kCompressed * double(edges);
}

} // namespace

std::vector<uint8_t> photographsIn(const QImage &image)
{
    Tiles tiles = tilesOf(image);
    if (std::count(tiles.isPhoto.begin(), tiles.isPhoto.end(), 1) < kLeastOfCore)
        return {};
    tiles = settled(tiles);
    if (!isAny(tiles))
        return {};
    settleSizes(&tiles);
    if (!isAny(tiles) || isCompressedOutside(image, tiles))
        return {};
    std::vector<uint8_t> marks;
    marks.reserve(std::size_t(image.width()) * std::size_t(image.height()));
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x)
            marks.push_back(tiles.at(x / kTile, y / kTile) && qAlpha(words[x]) == 255);
    }
    return marks;
}

QImage onlyMarked(const QImage &image, const std::vector<uint8_t> &marks, uint8_t kept)
{
    QImage result = image;
    const uint8_t *mark = marks.data();
    for (int y = 0; y < result.height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x)
            words[x] = *mark++ == kept ? words[x] : 0u;
    }
    return result;
}

void putMarked(const LabelPlane &other, const std::vector<uint8_t> &marks, LabelPlane *plane)
{
    std::map<QRgb, uint16_t> known;
    for (std::size_t k = 0; k < plane->colours.size(); ++k)
        known.emplace(plane->colours[k], uint16_t(k));
    std::vector<uint16_t> labels;
    for (QRgb colour : other.colours) {
        const auto place = known.emplace(colour, uint16_t(plane->colours.size()));
        if (place.second)
            plane->colours.push_back(colour);
        labels.push_back(place.first->second);
    }
    for (std::size_t k = 0; k < marks.size(); ++k) {
        if (marks[k] != 0)
            plane->labels[k] = labels[other.labels[k]];
    }
}

} // namespace ztrace
