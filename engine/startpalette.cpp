// (c) the ztrace developers. Licence: see LICENSE.
//
// Start palettes: generated from the number of colours alone, or sampled from the image.
#include "quantize.h"

#include "kernels/convert.h"
#include "kernels/nearest.h"
#include "randombyte.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const int kFewestCubeColours = 8;

// Generated entries are stored as value - 128, sampled ones as the loader stores them. The two
// forms disagree on purpose: docs/algorithm/palette.md, held by tst_palette.
void appendColour(int red, int green, int blue, FlatPalette *palette)
{
    const int kOpaque = 255;
    for (int value : { red, green, blue, kOpaque })
        palette->push_back(lowByte(value - 128));
}

void appendGreyRamp(int count, FlatPalette *palette)
{
    if (count == 1) {
        // The step would be infinite; the ramp of one grey is black.
        appendColour(0, 0, 0, palette);
        return;
    }
    const double step = 255.0 / (count - 1);
    for (int i = 0; i < count; ++i) {
        const int grey = truncateToInt(std::round(i * step));
        appendColour(grey, grey, grey, palette);
    }
}

// The cube root is taken with an exponent just below a third, so that from 64 upward a perfect
// cube falls one level short. Deliberate; held by tst_palette.
int cubeLevels(int count)
{
    return truncateToInt(std::floor(std::pow(double(count), 0.3333333333333333)));
}

void appendColourCube(int count, FlatPalette *palette)
{
    const int levels = cubeLevels(count);
    const int step
        = truncateToInt(double(std::floor(255.0f / static_cast<float>(levels - 1)))) & 0xFF;
    for (int red = 0; red < levels; ++red) {
        for (int green = 0; green < levels; ++green) {
            for (int blue = 0; blue < levels; ++blue)
                appendColour(red * step, green * step, blue * step, palette);
        }
    }
    for (int made = levels * levels * levels; made < count; ++made) {
        signed char entry[kChannels];
        drawEntry(entry);
        palette->insert(palette->end(), entry, entry + kChannels);
    }
}

} // namespace

FlatPalette generatedPalette(int numberofcolors)
{
    FlatPalette palette;
    if (numberofcolors <= 0 || numberofcolors > kMostEntries)
        return palette;
    palette.reserve(kChannels * static_cast<std::size_t>(numberofcolors));
    if (numberofcolors < kFewestCubeColours)
        appendGreyRamp(numberofcolors, &palette);
    else
        appendColourCube(numberofcolors, &palette);
    return palette;
}

FlatPalette sampledPalette(const PixelView &image, std::size_t bytes, int numberofcolors)
{
    FlatPalette palette;
    if (numberofcolors <= 0 || numberofcolors > kMostEntries)
        return palette;
    palette.assign(kChannels * static_cast<std::size_t>(numberofcolors), 0);
    const long long pixels = 1LL * image.width * image.height;
    signed char *entry = palette.data();
    for (int k = 0; k < numberofcolors; ++k, entry += kChannels) {
        const double draw = drawUnit();
        if (pixels <= 0)
            continue;
        // The largest draw points one pixel past the end: it takes the last pixel.
        const int drawn = truncateToInt(std::floor(double(bytes) * draw * 0.25));
        storedPixel(image, static_cast<std::size_t>(std::min<long long>(drawn, pixels - 1)), entry);
    }
    return palette;
}

} // namespace ztrace
