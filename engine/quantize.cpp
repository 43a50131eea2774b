// (c) the ztrace developers. Licence: see LICENSE.
#include "quantize.h"

#include "kernels/blur.h"
#include "kernels/convert.h"
#include "kernels/gaussian.h"
#include "kernels/nearest.h"
#include "kernels/stop.h"
#include "randombyte.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

// A larger limit keeps every pixel all the same: no change exceeds 4 * 255.
const int kLargestLimit = 1024;

// Moves an entry to the mean of its pixels. The test is on the alpha sum, not on the count.
void recentre(const ColourSum &sum, signed char *entry)
{
    if (sum.channel[kAlpha] <= 0 || sum.count <= 0)
        return;
    for (int c = 0; c < kChannels; ++c) {
        const int mean = static_cast<int>(sum.channel[c] / sum.count);
        entry[c] = lowByte(mean - 128);
    }
}

// The share of the pixels that an entry attracted, rounded to single precision before it is
// compared.
double share(const ColourSum &sum, int pixels)
{
    return roundedToSingle(static_cast<double>(sum.count) / static_cast<double>(pixels));
}

// Re-centres every entry, and gives the rare ones a random colour, entry by entry. True when an
// entry was drawn anew.
bool refine(const std::vector<ColourSum> &sums, int pixels, double smallestShare, bool renewRare,
            FlatPalette *palette)
{
    bool renewed = false;
    signed char *entry = palette->data();
    for (const ColourSum &sum : sums) {
        recentre(sum, entry);
        if (smallestShare > share(sum, pixels) && renewRare) {
            drawEntry(entry);
            renewed = true;
        }
        entry += kChannels;
    }
    return renewed;
}

std::vector<signed char> storedPixels(const PixelView &image, std::size_t count)
{
    std::vector<signed char> stored(kChannels * count);
    for (std::size_t i = 0; i < count; ++i)
        storedPixel(image, i, stored.data() + kChannels * i);
    return stored;
}

} // namespace

void blurAsAsked(signed char *pixels, int width, int height, float radius, float delta)
{
    const int wanted = floorToInt(double(radius));
    if (wanted < 1)
        return;
    const int limit = std::min(truncateToInt(std::fabs(double(delta))), kLargestLimit);
    blurPixels(pixels, width, height, std::min(wanted, int(kLargestBlurRadius)), limit);
}

void runCycles(const PixelView &image, int pixels, double mincolorratio, long long cycles,
               FlatPalette *palette, IndexPlane *plane)
{
    if (palette->empty())
        return; // there is no entry to assign to: every index stays 0
    std::vector<ColourSum> sums;
    FlatPalette assigned;
    for (long long cycle = 0; cycle < cycles; ++cycle) {
        stopWhereAsked();
        const bool last = cycle == cycles - 1;
        bool renewed = false;
        if (cycle > 0)
            renewed = refine(sums, pixels, mincolorratio, !last, palette);
        // A palette that a cycle leaves as it was gives the same sums again, and no draw follows
        // from them: all later cycles would repeat this one.
        const bool settled = cycle > 0 && !renewed && *palette == assigned;
        if (settled || last) {
            assignPixels(image, *palette, nullptr, plane);
            return;
        }
        assignPixels(image, *palette, &sums, nullptr);
        assigned = *palette;
    }
}

Quantized quantize(const PixelView &image, const FlatPalette &start, const QuantizeOptions &options)
{
    const std::size_t count
        = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
    const int entries = floorToInt(options.numberofcolors);
    Quantized result;
    if (!start.empty())
        result.palette = start;
    else if (options.colorsampling == 0.0)
        result.palette = generatedPalette(entries);
    else
        result.palette = sampledPalette(image, kChannels * count, entries);

    PixelView source = image;
    std::vector<signed char> blurred;
    if (options.blurradius > 0.0) {
        blurred = storedPixels(image, count);
        blurAsAsked(blurred.data(), image.width, image.height,
                    static_cast<float>(roundedToSingle(options.blurradius)),
                    static_cast<float>(roundedToSingle(options.blurdelta)));
        source = { blurred.data(), image.width, image.height };
    }
    result.plane.resize(image.width, image.height,
                        static_cast<int>(result.palette.size() / kChannels));
    runCycles(source, wrappingProduct(image.width, image.height), options.mincolorratio,
              floorToInt(options.colorquantcycles), &result.palette, &result.plane);
    return result;
}

} // namespace ztrace
