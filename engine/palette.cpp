// (c) the ztrace developers. Licence: see LICENSE.
//
// Start palettes: generated from the number of colours alone, or sampled from the image.
#include "ZTraceBitmap.h"

#include "kernels/convert.h"
#include "randombyte.h"

#include <algorithm>
#include <cmath>

namespace {

const int kFewestCubeColours = 8;

// Generated entries are stored as value - 128, sampled ones as the loader stores them. The two
// forms disagree on purpose: docs/algorithm/palette.md, held by tst_palette.
char storedChannel(int value)
{
    return static_cast<char>(ztrace::lowByte(value - 128));
}

QVector<char> storedEntry(int red, int green, int blue)
{
    QVector<char> entry(4);
    entry[0] = storedChannel(red);
    entry[1] = storedChannel(green);
    entry[2] = storedChannel(blue);
    entry[3] = storedChannel(255);
    return entry;
}

QVector<QVector<char>> greyRamp(int count)
{
    QVector<QVector<char>> palette;
    palette.reserve(count);
    if (count == 1) {
        // The step would be infinite; the ramp of one grey is black.
        palette.append(storedEntry(0, 0, 0));
        return palette;
    }
    const double step = 255.0 / (count - 1);
    for (int i = 0; i < count; ++i) {
        const int grey = ztrace::truncateToInt(std::round(i * step));
        palette.append(storedEntry(grey, grey, grey));
    }
    return palette;
}

// The cube root is taken with an exponent just below a third, so that from 64 upward a perfect
// cube falls one level short. Deliberate; held by tst_palette.
int cubeLevels(int count)
{
    return ztrace::truncateToInt(std::floor(std::pow(double(count), 0.3333333333333333)));
}

QVector<QVector<char>> colourCube(int count)
{
    const int levels = cubeLevels(count);
    const int step
        = ztrace::truncateToInt(double(std::floor(255.0f / static_cast<float>(levels - 1)))) & 0xFF;
    QVector<QVector<char>> palette;
    palette.reserve(count);
    for (int red = 0; red < levels; ++red) {
        for (int green = 0; green < levels; ++green) {
            for (int blue = 0; blue < levels; ++blue)
                palette.append(storedEntry(red * step, green * step, blue * step));
        }
    }
    while (palette.size() < count)
        palette.append(ztrace::randomEntry());
    return palette;
}

} // namespace

ZTraceBitmap::Palette ZTraceBitmap::generatepalette(int numberofcolors)
{
    if (numberofcolors <= 0 || numberofcolors > kLargestPalette)
        return Palette();
    return numberofcolors < kFewestCubeColours ? greyRamp(numberofcolors)
                                               : colourCube(numberofcolors);
}

ZTraceBitmap::Palette ZTraceBitmap::samplepalette(int numberofcolors)
{
    Palette palette;
    if (numberofcolors <= 0 || numberofcolors > kLargestPalette)
        return palette;
    palette.reserve(numberofcolors);
    const double bytes = imageData.size();
    const int pixels = imageData.size() / 4;
    for (int k = 0; k < numberofcolors; ++k) {
        const double draw = ztrace::drawUnit();
        QVector<char> entry(4, 0);
        if (pixels > 0) {
            // The largest draw points one pixel past the end: it takes the last pixel.
            const int drawn = ztrace::truncateToInt(std::floor(bytes * draw * 0.25));
            const char *pixel = imageData.constData() + 4 * std::min(drawn, pixels - 1);
            for (int channel = 0; channel < 4; ++channel)
                entry[channel] = pixel[channel];
        }
        palette.append(entry);
    }
    return palette;
}
