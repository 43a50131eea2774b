// (c) the ztrace developers. Licence: see LICENSE.
//
// Same answer as blurPlain: every sample is the same sum in the same order, over the same taps,
// divided once. Only where samples lie in memory differs: rows are blurred horizontally into a ring
// of 2 * radius + 1 rows, and a finished row replaces the original one, which by then no later row
// needs. tst_blur_kernels compares the two over all radii and odd shapes.
#include "blur.h"

#include "blur_rows.h"
#include "convert.h"
#include "cpu.h"
#include "gaussian.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace ztrace {

namespace {

const int kLargestChange = 4 * 255;

const BlurKernels &kernels()
{
#ifdef ZTRACE_HAVE_AVX2
    if (useAvx2())
        return kBlurAvx2;
#endif
    return kBlurBaseline;
}

class Blur
{
public:
    Blur(signed char *imagePixels, int imageWidth, int imageHeight, int blurRadius, int limit)
        : pixels(imagePixels), width(imageWidth), height(imageHeight), radius(blurRadius),
          largestChange(limit), weights(gaussianKernel(blurRadius)), run(kernels()),
          rowBytes(4 * static_cast<size_t>(imageWidth)),
          ring(rowBytes * static_cast<size_t>(2 * blurRadius + 1)), finished(rowBytes)
    { }

    void blurAll()
    {
        for (int y = 0; y < std::min(radius, height); ++y)
            blurHorizontally(y);
        for (int y = 0; y < height; ++y) {
            if (y + radius < height)
                blurHorizontally(y + radius);
            blurVertically(y);
        }
    }

private:
    signed char *original(int y) { return pixels + rowBytes * static_cast<size_t>(y); }
    signed char *horizontal(int y)
    {
        return ring.data() + rowBytes * static_cast<size_t>(y % (2 * radius + 1));
    }

    // The taps around a position that take part: 1 to length - 1, never 0.
    struct TapRange
    {
        int first;
        int last;
    };
    TapRange rangeAround(int position, int length) const
    {
        const TapRange range
            = { std::max(position - radius, 1), std::min(position + radius, length - 1) };
        return range;
    }

    TapRow weightsFor(const TapRange &range, int position) const
    {
        TapRow row = TapRow();
        double sum = 0.0;
        for (int tap = range.first; tap <= range.last; ++tap) {
            const double weight = weights[tap - position + radius];
            row.weight[row.taps++] = weight;
            sum += weight;
        }
        row.weightSum = sum;
        return row;
    }

    void blurHorizontally(int y)
    {
        signed char *out = horizontal(y);
        // Columns radius + 1 to width - 1 - radius have all their taps.
        const int firstWhole = radius + 1;
        const int endWhole = std::max(width - radius, firstWhole);
        for (int x = 0; x < std::min(firstWhole, width); ++x)
            blurColumn(y, x, out);
        for (int x = endWhole; x < width; ++x)
            blurColumn(y, x, out);
        if (endWhole == firstWhole)
            return;
        const signed char *in = original(y);
        TapRow row = weightsFor(rangeAround(firstWhole, width), firstWhole);
        for (int k = 0; k < row.taps; ++k)
            row.tap[k] = in + 4 * static_cast<size_t>(firstWhole - radius + k);
        run.weighRow(row, out + 4 * static_cast<size_t>(firstWhole),
                     4 * static_cast<size_t>(endWhole - firstWhole));
    }

    // One pixel near the left or right edge.
    void blurColumn(int y, int x, signed char *out)
    {
        const TapRange range = rangeAround(x, width);
        if (range.first > range.last) {
            std::memset(out + 4 * static_cast<size_t>(x), 0, 4); // no tap: 0 / 0
            return;
        }
        const signed char *in = original(y);
        TapRow row = weightsFor(range, x);
        for (int k = 0; k < row.taps; ++k)
            row.tap[k] = in + 4 * static_cast<size_t>(range.first + k);
        run.weighRow(row, out + 4 * static_cast<size_t>(x), 4);
    }

    void blurVertically(int y)
    {
        const TapRange range = rangeAround(y, height);
        if (range.first > range.last) {
            std::memset(finished.data(), 0, rowBytes);
        } else {
            TapRow row = weightsFor(range, y);
            for (int k = 0; k < row.taps; ++k)
                row.tap[k] = horizontal(range.first + k);
            run.weighRow(row, finished.data(), rowBytes);
        }
        if (largestChange >= kLargestChange)
            std::memcpy(original(y), finished.data(), rowBytes);
        else
            run.keepSmallChanges(finished.data(), original(y), static_cast<size_t>(width),
                                 largestChange);
    }

    signed char *pixels;
    int width;
    int height;
    int radius;
    int largestChange;
    const double *weights;
    const BlurKernels &run;
    size_t rowBytes;
    std::vector<signed char> ring;
    std::vector<signed char> finished;
};

} // namespace

void blurFast(signed char *pixels, int width, int height, int radius, int limit)
{
    Blur(pixels, width, height, radius, limit).blurAll();
}

void blurPixels(signed char *pixels, int width, int height, int radius, int limit)
{
#ifdef ZTRACE_PLAIN_KERNELS
    blurPlain(pixels, width, height, radius, limit);
#else
    blurFast(pixels, width, height, radius, limit);
#endif
}

} // namespace ztrace
