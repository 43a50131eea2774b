// (c) the ztrace developers. Licence: see LICENSE.
#include "palette.h"

#include "alpha.h"
#include "colour.h"
#include "failure.h"
#include "leptonica.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {

namespace {

// Pixels. Of larger images every n-th column and row is sampled, so that between this number and
// four times as many are left. Palettes from a quarter of the pixels are as near to photographs as
// those from all (20.21 against 20.23, mean sum of the channels' differences,
// docs/imaging/medianpalette.md).
const long long kMostSampled = 1LL << 20;

const int kSampleWidth = 1024; // pixels a row of the sample, so that its rows follow without gaps
const int kMostLibraryColours = 256;

// What the library is asked for.
const int kNoDither = 0;
const int kBitsOfOutput = 8;
const int kSignificantBits
    = 5; // of a channel in its histogram; 6 are 2 % nearer in 8 times the cells
const int kNoSubsampling = 1;
const int kKeepColours = 0; // do not look whether the image is grey

// Every n-th opaque pixel of an image, as the library has its pixels: 0xRRGGBBxx.
struct Sample
{
    PixPtr pix; // rows of kSampleWidth pixels, the last filled up from the start; null when empty
    int count = 0;
};

// Takes every step-th of the words that are opaque, from the first on; returns their number.
int takeOpaque(const QRgb *words, int width, int step, l_uint32 *to)
{
    int taken = 0;
    for (int x = 0; x < width; x += step) {
        to[taken] = words[x] << 8;
        taken += qAlpha(words[x]) == 255 ? 1 : 0;
    }
    return taken;
}

Sample sampleOf(const QImage &image)
{
    const long long pixels = 1LL * image.width() * image.height();
    const int step = std::max(1, static_cast<int>(std::sqrt(double(pixels) / kMostSampled)));
    const int most = ((image.width() + step - 1) / step) * ((image.height() + step - 1) / step);
    Sample sample;
    // A row more than can be needed: words are written before it is known whether they are opaque.
    silenceLibrary();
    sample.pix.reset(pixCreate(kSampleWidth, most / kSampleWidth + 2, 32));
    if (!sample.pix)
        throwNoRoom();
    l_uint32 *data = pixGetData(sample.pix.get());
    for (int y = 0; y < image.height(); y += step)
        sample.count += takeOpaque(row(image, y), image.width(), step, data + sample.count);
    const int width = std::min(kSampleWidth, sample.count);
    const int height = sample.count == 0 ? 0 : (sample.count + width - 1) / width;
    for (int i = sample.count; i < width * height; ++i)
        data[i] = data[i - sample.count];
    pixSetWidth(sample.pix.get(), width);
    pixSetHeight(sample.pix.get(), height);
    return sample;
}

QRgb meanColour(const Sample &sample)
{
    long long sums[3] = { 0, 0, 0 };
    const l_uint32 *data = pixGetData(sample.pix.get());
    for (int i = 0; i < sample.count; ++i) {
        for (int c = 0; c < 3; ++c)
            sums[c] += (data[i] >> (24 - 8 * c)) & 0xFFu;
    }
    const auto mean = [&](int c) { return static_cast<int>(sums[c] / sample.count); };
    return qRgb(mean(0), mean(1), mean(2));
}

// How many pixels of an image of 8 bits a pixel have each value.
std::array<int, 256> countValues(PIX *pix)
{
    std::array<int, 256> counts = {};
    for (int y = 0; y < pixGetHeight(pix); ++y) {
        const l_uint32 *line = pixGetData(pix) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(pix);
        for (int x = 0; x < pixGetWidth(pix); ++x)
            ++counts[GET_DATA_BYTE(line, x)];
    }
    return counts;
}

// Appends at most `most` colours for the sample, by the library's median cut.
void appendMedianCut(const Sample &sample, int most, std::vector<QRgb> *colours)
{
    if (sample.count == 0 || most <= 0)
        return;
    silenceLibrary();
    if (most == 1) {
        colours->push_back(meanColour(sample)); // the library makes two or more
        return;
    }
    const PixPtr quantised(pixMedianCutQuantGeneral(
        sample.pix.get(), kNoDither, kBitsOfOutput, std::min(most, kMostLibraryColours),
        kSignificantBits, kNoSubsampling, kKeepColours));
    PIXCMAP *map = quantised ? pixGetColormap(quantised.get()) : nullptr;
    if (!map)
        return;
    // The library may make a colour more than it was asked for; the rarest go.
    const std::array<int, 256> counts = countValues(quantised.get());
    std::vector<std::pair<int, int>> order;
    for (int i = 0; i < pixcmapGetCount(map); ++i)
        order.push_back({ -counts[static_cast<std::size_t>(i)], i });
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
std::vector<QRgb> translucentColours(const QImage &image)
{
    std::vector<QRgb> colours;
    if (isOpaque(image))
        return colours;
    std::array<std::array<long long, 4>, 256> sums = {};
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(words[x]) == 255)
                continue;
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
            colours.push_back(qRgba(static_cast<int>(sum[0] / sum[3]),
                                    static_cast<int>(sum[1] / sum[3]),
                                    static_cast<int>(sum[2] / sum[3]), alpha));
        }
    }
    return colours;
}

} // namespace

std::vector<QRgb> medianPalette(const QImage &image, int most)
{
    const std::vector<QRgb> translucent = translucentColours(image);
    const auto counts = [](QRgb colour) { return qAlpha(colour) != 0; };
    most -= static_cast<int>(std::count_if(translucent.begin(), translucent.end(), counts));
    std::vector<QRgb> colours;
    if (most > 0)
        appendMedianCut(sampleOf(image), most, &colours);
    colours.insert(colours.end(), translucent.begin(), translucent.end());
    return colours;
}

} // namespace ztrace
