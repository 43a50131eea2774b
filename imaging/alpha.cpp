// (c) the ztrace developers. Licence: see LICENSE.
#include "alpha.h"

#include "colour.h"
#include "fourcolours.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace ztrace {

namespace {

const QRgb kOpaqueBits = 0xFF000000u;

// Of the colours of a palette, one in so many may be translucent: a palette of 8 has room for a
// shadow and a gloss, and six colours are left for the picture.
const int kOpaqueForOneTranslucent = 4;

// Alpha, of 255. Pixels this near to an end go to that end: what scaling leaves inside of areas (7
// of 389 pictures of clip art have areas of such alphas).
const int kNearly = 12;

// Share of the pixels that can be seen at all. A picture of which less would be kept has vanished.
const double kVanishing = 0.05;

QRgb *writableRow(QImage *image, int y)
{
    return reinterpret_cast<QRgb *>(image->scanLine(y));
}

bool isOpaque(const QRgb *words, int width)
{
    QRgb common = kOpaqueBits;
    for (int x = 0; x < width; ++x)
        common &= words[x];
    return common == kOpaqueBits;
}

// Numbers of pixels by alpha.
struct AlphaCounts
{
    std::array<long long, 256> pixels = {};
    std::array<long long, 256> inBlocks = {}; // equal to the three to the right and below; 1 to 254
};

AlphaCounts countAlphas(const QImage &image)
{
    AlphaCounts counts;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const bool isLast = y + 1 == image.height();
        const QRgb *below = isLast ? words : row(image, y + 1);
        for (int x = 0; x < image.width(); ++x) {
            const int alpha = qAlpha(words[x]);
            ++counts.pixels[static_cast<std::size_t>(alpha)];
            if (alpha == 0 || alpha == 255 || isLast || x + 1 == image.width())
                continue;
            if (alpha == qAlpha(words[x + 1]) && alpha == qAlpha(below[x])
                && alpha == qAlpha(below[x + 1]))
                ++counts.inBlocks[static_cast<std::size_t>(alpha)];
        }
    }
    return counts;
}

int distanceTo(const std::vector<int> &levels, int alpha)
{
    int least = 255;
    for (int level : levels)
        least = std::min(least, std::abs(level - alpha));
    return least;
}

// A picture that is faint all over would vanish: its commonest alpha stays then, for all that is at
// least half as opaque.
void keepFaint(const std::array<long long, 256> &counts, std::array<int, 256> *settled)
{
    double visible = 0.0;
    double kept = 0.0;
    for (std::size_t alpha = 1; alpha < 256; ++alpha) {
        visible += double(counts[alpha]);
        kept += (*settled)[alpha] > 0 ? double(counts[alpha]) : 0.0;
    }
    if (kept >= kVanishing * visible)
        return;
    const int faint
        = static_cast<int>(std::max_element(counts.begin() + 1, counts.end()) - counts.begin());
    for (int alpha = 1; alpha < 256; ++alpha) {
        int &level = (*settled)[static_cast<std::size_t>(alpha)];
        if (level == 0 && 2 * alpha >= faint)
            level = faint;
    }
}

// The ends, and at most `most` alphas of areas: common ones and such as are far from the others.
std::vector<int> keptLevels(const std::array<long long, 256> &inBlocks, int most)
{
    std::vector<int> levels = { 0, 255 };
    for (; most > 0; --most) {
        int best = 0;
        long long bestScore = 0;
        for (int alpha = 1; alpha < 255; ++alpha) {
            const long long count = inBlocks[static_cast<std::size_t>(alpha)];
            const long long score
                = count < kLeastTranslucent ? 0 : count * distanceTo(levels, alpha);
            if (score > bestScore) {
                best = alpha;
                bestScore = score;
            }
        }
        if (best == 0)
            break;
        levels.push_back(best);
    }
    return levels;
}

// What becomes of every alpha. Those of areas go to the nearest level that stays; all others are
// soft edges.
std::array<int, 256> settledLevels(const AlphaCounts &counts, int most)
{
    const std::vector<int> levels = keptLevels(counts.inBlocks, most);
    std::array<int, 256> settled;
    for (int alpha = 0; alpha < 256; ++alpha) {
        int &level = settled[static_cast<std::size_t>(alpha)];
        level = alpha < 128 ? 0 : 255;
        if (counts.inBlocks[static_cast<std::size_t>(alpha)] < kLeastTranslucent)
            continue;
        level = *std::min_element(levels.begin(), levels.end(), [alpha](int a, int b) {
            return std::abs(a - alpha) < std::abs(b - alpha);
        });
    }
    keepFaint(counts.pixels, &settled);
    return settled;
}

// Alphas near an end go to it.
void roundAlphas(QRgb *words, int width)
{
    int x = 0;
#ifdef __SSE2__
    const __m128i mostlyOpaque = _mm_set1_epi32(255 - kNearly - 1);
    const __m128i mostlyClear = _mm_set1_epi32(kNearly + 1);
    const __m128i opaqueBits = _mm_set1_epi32(static_cast<int>(kOpaqueBits));
    for (; x + 4 <= width; x += 4) {
        const __m128i four = fourWords(words + x);
        const __m128i alphas = _mm_srli_epi32(four, 24);
        const __m128i isOpaque = _mm_cmpgt_epi32(alphas, mostlyOpaque);
        const __m128i isClear = _mm_cmplt_epi32(alphas, mostlyClear);
        const __m128i opaque = _mm_or_si128(four, _mm_and_si128(isOpaque, opaqueBits));
        storeFour(words + x, _mm_andnot_si128(isClear, opaque));
    }
#endif
    for (; x < width; ++x) {
        const QRgb alpha = words[x] >> 24;
        const QRgb opaque = alpha >= 255 - kNearly ? words[x] | kOpaqueBits : words[x];
        words[x] = alpha <= kNearly ? 0u : opaque;
    }
}

} // namespace

bool isOpaque(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        if (!isOpaque(row(image, y), image.width()))
            return false;
    }
    return true;
}

void roundAlpha(QImage *image)
{
    if (isOpaque(*image))
        return;
    for (int y = 0; y < image->height(); ++y)
        roundAlphas(writableRow(image, y), image->width());
}

void makeAlphaBinary(QImage *image)
{
    if (isOpaque(*image))
        return;
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = writableRow(image, y);
        for (int x = 0; x < image->width(); ++x)
            words[x] = words[x] >> 24 < 128 ? 0u : words[x] | kOpaqueBits;
    }
}

void settleAlpha(QImage *image, int most)
{
    if (isOpaque(*image))
        return;
    const std::array<int, 256> settled
        = settledLevels(countAlphas(*image), most / kOpaqueForOneTranslucent);
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = writableRow(image, y);
        for (int x = 0; x < image->width(); ++x) {
            const int alpha = settled[static_cast<std::size_t>(qAlpha(words[x]))];
            words[x] = alpha == 0 ? 0u : (words[x] & 0x00FFFFFFu) | static_cast<QRgb>(alpha) << 24;
        }
    }
}

} // namespace ztrace
