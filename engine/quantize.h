// (c) the ztrace developers. Licence: see LICENSE.
//
// The door for colours: pixels go to palette indices without a tracer around them.
// ZTraceBitmap::colorquantization walks through the same functions, so equal pixels, palettes,
// options and random numbers give equal indices, bit for bit (tst_quantize).
//
// A flat palette has 4 signed bytes R, G, B, A an entry, one entry after the other. Random numbers
// are the C library's, drawn in the places and order of docs/algorithm/palette.md and
// colorquantization.md, never seeded here.
#ifndef ZTRACE_QUANTIZE_H
#define ZTRACE_QUANTIZE_H

#include <cstddef>
#include <vector>

#include "kernels/IndexPlane.h"
#include "kernels/assign.h"

namespace ztrace {

typedef std::vector<signed char> FlatPalette;

// The options of the same names, as ZTraceBitmap::setOption takes them, odd values included.
struct QuantizeOptions
{
    double numberofcolors = 16.0;
    double mincolorratio = 0.02;
    double colorquantcycles = 3.0;
    double colorsampling = 1.0;
    double blurradius = 1.0;
    double blurdelta = 2000.0;
};

// More entries than this are not made: the palette stays empty.
const int kMostEntries = 1 << 24;

struct Quantized
{
    FlatPalette palette;
    IndexPlane plane; // the size of the image; all 0 without a palette
};

// From the options' start palette, or from `start` when it is not empty, to the last cycle's
// indices. The image has at least one pixel and is not changed. Memory: the plane, and 4 bytes a
// pixel more where it is blurred. Throws std::bad_alloc, and Stopped (kernels/stop.h).
Quantized quantize(const PixelView &image, const FlatPalette &start,
                   const QuantizeOptions &options);

// Its parts, as ZTraceBitmap calls them one by one.

// Greys below 8 entries, else a colour cube and random entries. Nothing below 1 or beyond
// kMostEntries.
FlatPalette generatedPalette(int numberofcolors);

// The same number of entries copied from pixels drawn at random; all zero without pixels. `bytes`
// is the size of the image data, of which the draws take their share: 4 a pixel, and up to 3 more
// where they end within one.
FlatPalette sampledPalette(const PixelView &image, std::size_t bytes, int numberofcolors);

// The blur of radius and delta as the options give them, in place: R, G, B, A as signed bytes.
void blurAsAsked(signed char *pixels, int width, int height, float radius, float delta);

// Runs the cycles and leaves the indices of the last one in the plane, which has the image's size
// and cells for the palette's entries. Indices are 0 without entries or cycles. `pixels` is what
// shares are of: the product of the image's sizes, wrapped to 32 bits.
void runCycles(const PixelView &image, int pixels, double mincolorratio, long long cycles,
               FlatPalette *palette, IndexPlane *plane);

} // namespace ztrace

#endif
