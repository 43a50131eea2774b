// (c) the ztrace developers. Licence: see LICENSE.
#include "palette.h"

#include "colour.h"
#include "leptonica.h"

#include <QHash>

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {

namespace {

const int kSampleWidth = 1024;            // pixels a row of the sample that is quantised
const long long kMostSampled = 1LL << 20; // more pixels do not change the palette visibly
const int kMostLibraryColours = 256;
const int kOpaqueForOneTranslucent = 4; // of the colours of a palette, one in so many

QRgb *writableRow(QImage *image, int y)
{
    return reinterpret_cast<QRgb *>(image->scanLine(y));
}

// Every n-th opaque pixel of the image that `wanted` takes.
template<typename Wanted>
std::vector<QRgb> sampleOf(const QImage &image, const Wanted &wanted)
{
    const long long pixels = 1LL * image.width() * image.height();
    const int step = std::max(1, static_cast<int>(std::sqrt(double(pixels) / kMostSampled)));
    std::vector<QRgb> sample;
    for (int y = 0; y < image.height(); y += step) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); x += step) {
            if (qAlpha(words[x]) == 255 && wanted(words[x], x, y))
                sample.push_back(words[x]);
        }
    }
    return sample;
}

QRgb meanColour(const std::vector<QRgb> &sample)
{
    long long sums[3] = { 0, 0, 0 };
    for (QRgb word : sample) {
        sums[0] += qRed(word);
        sums[1] += qGreen(word);
        sums[2] += qBlue(word);
    }
    const long long count = static_cast<long long>(sample.size());
    return qRgb(static_cast<int>(sums[0] / count), static_cast<int>(sums[1] / count),
                static_cast<int>(sums[2] / count));
}

// Appends at most `most` colours for the sample, by the library's median cut.
void appendMedianCut(const std::vector<QRgb> &sample, int most, std::vector<QRgb> *colours)
{
    if (sample.empty() || most <= 0)
        return;
    silenceLibrary();
    if (most == 1) {
        colours->push_back(meanColour(sample)); // the library makes two or more
        return;
    }
    const int width = std::min<int>(kSampleWidth, static_cast<int>(sample.size()));
    const int height = (static_cast<int>(sample.size()) + width - 1) / width;
    const PixPtr pix(pixCreate(width, height, 32));
    if (!pix)
        return;
    l_uint32 *data = pixGetData(pix.get());
    const int stride = pixGetWpl(pix.get());
    for (int i = 0; i < width * height; ++i) {
        const QRgb word = sample[static_cast<std::size_t>(i) % sample.size()];
        composeRGBPixel(qRed(word), qGreen(word), qBlue(word),
                        data + (i / width) * stride + i % width);
    }
    const int kNoDither = 0;
    const int kBitsOfOutput = 8;
    const int kSignificantBits = 5;
    const int kNoSubsampling = 1;
    const int kKeepColours = 0; // do not look whether the image is grey
    const PixPtr quantised(pixMedianCutQuantGeneral(
        pix.get(), kNoDither, kBitsOfOutput, std::min(most, kMostLibraryColours), kSignificantBits,
        kNoSubsampling, kKeepColours));
    PIXCMAP *map = quantised ? pixGetColormap(quantised.get()) : nullptr;
    // The library may make a colour more than it was asked for; the rarest go.
    std::vector<std::pair<float, int>> order;
    NUMA *counts = map ? pixGetCmapHistogram(quantised.get(), 1) : nullptr;
    for (int i = 0; counts && i < pixcmapGetCount(map); ++i) {
        float count = 0.0f;
        numaGetFValue(counts, i, &count);
        order.push_back({ -count, i });
    }
    numaDestroy(&counts);
    std::sort(order.begin(), order.end());
    order.resize(std::min(order.size(), static_cast<std::size_t>(most)));
    for (const auto &entry : order) {
        int red = 0;
        int green = 0;
        int blue = 0;
        pixcmapGetColor(map, entry.second, &red, &green, &blue);
        colours->push_back(qRgb(red, green, blue));
    }
}

// One colour for each transparency: the mean of its pixels.
void appendTranslucent(const QImage &image, std::vector<QRgb> *colours)
{
    std::array<std::array<long long, 4>, 256> sums = {};
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x) {
            std::array<long long, 4> &sum = sums[static_cast<std::size_t>(qAlpha(words[x]))];
            sum[0] += qRed(words[x]);
            sum[1] += qGreen(words[x]);
            sum[2] += qBlue(words[x]);
            ++sum[3];
        }
    }
    for (int alpha = 0; alpha < 255; ++alpha) {
        const std::array<long long, 4> &sum = sums[static_cast<std::size_t>(alpha)];
        if (sum[3] > 0) {
            colours->push_back(qRgba(static_cast<int>(sum[0] / sum[3]),
                                     static_cast<int>(sum[1] / sum[3]),
                                     static_cast<int>(sum[2] / sum[3]), alpha));
        }
    }
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
void keepFaint(const QImage &image, std::array<int, 256> *settled)
{
    const double kVanishing = 0.05; // of what there is to see
    std::array<long long, 256> counts = {};
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x)
            ++counts[static_cast<std::size_t>(qAlpha(words[x]))];
    }
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

// What becomes of every alpha. Levels that fill 2 x 2 blocks of at least kLeastTranslucent pixels
// are areas: at most `most` of them stay, common ones and such as are far from the others, and the
// rest go to the nearest that stays. All other levels are soft edges.
std::array<int, 256> settledLevels(const QImage &image, int most)
{
    std::array<long long, 256> counts = {};
    for (int y = 0; y + 1 < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const QRgb *below = row(image, y + 1);
        for (int x = 0; x + 1 < image.width(); ++x) {
            const int alpha = qAlpha(words[x]);
            if (alpha == qAlpha(words[x + 1]) && alpha == qAlpha(below[x])
                && alpha == qAlpha(below[x + 1]))
                ++counts[static_cast<std::size_t>(alpha)];
        }
    }
    std::vector<int> levels = { 0, 255 };
    for (; most > 0; --most) {
        int best = 0;
        long long bestScore = 0;
        for (int alpha = 1; alpha < 255; ++alpha) {
            const long long count = counts[static_cast<std::size_t>(alpha)];
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
    std::array<int, 256> settled;
    for (int alpha = 0; alpha < 256; ++alpha) {
        int &level = settled[static_cast<std::size_t>(alpha)];
        level = alpha < 128 ? 0 : 255;
        if (counts[static_cast<std::size_t>(alpha)] < kLeastTranslucent)
            continue;
        level = *std::min_element(levels.begin(), levels.end(), [alpha](int a, int b) {
            return std::abs(a - alpha) < std::abs(b - alpha);
        });
    }
    keepFaint(image, &settled);
    return settled;
}

} // namespace

std::vector<QRgb> medianPalette(const QImage &image, int most)
{
    std::vector<QRgb> translucent;
    appendTranslucent(image, &translucent);
    const auto counts = [](QRgb colour) { return qAlpha(colour) != 0; };
    most -= static_cast<int>(std::count_if(translucent.begin(), translucent.end(), counts));
    std::vector<QRgb> colours;
    appendMedianCut(sampleOf(image, [](QRgb, int, int) { return true; }), most, &colours);
    colours.insert(colours.end(), translucent.begin(), translucent.end());
    return colours;
}

void roundAlpha(QImage *image)
{
    const int kNearly = 12; // of 255
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = writableRow(image, y);
        for (int x = 0; x < image->width(); ++x) {
            const int alpha = qAlpha(words[x]);
            if (alpha <= kNearly)
                words[x] = 0u;
            else if (alpha >= 255 - kNearly)
                words[x] |= 0xFF000000u;
        }
    }
}

void makeAlphaBinary(QImage *image)
{
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = writableRow(image, y);
        for (int x = 0; x < image->width(); ++x)
            words[x] = qAlpha(words[x]) < 128 ? 0u : (words[x] | 0xFF000000u);
    }
}

void settleAlpha(QImage *image, int most)
{
    const std::array<int, 256> settled = settledLevels(*image, most / kOpaqueForOneTranslucent);
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = writableRow(image, y);
        for (int x = 0; x < image->width(); ++x) {
            const int alpha = settled[static_cast<std::size_t>(qAlpha(words[x]))];
            words[x] = alpha == 0 ? 0u : (words[x] & 0x00FFFFFFu) | static_cast<QRgb>(alpha) << 24;
        }
    }
}

} // namespace ztrace
