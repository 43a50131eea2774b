// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours between the pixels of an image.
#ifndef ZTRACE_IMAGING_INTERPOLATION_H
#define ZTRACE_IMAGING_INTERPOLATION_H

#include <QImage>
#include <QRgb>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// The colours of the parts of a pixel: a cubic through the colours of the four pixels around the
// middle of a part, along both axes, which keeps the height of narrow peaks. Beyond the rim of the
// image its last pixel goes on. What is transparent has no share in the hue. Source of the cubic:
// E. Catmull and R. Rom, 1974. The page is docs/imaging/upsample.md.
//
// The image must be ARGB32 and outlive the object.
class SubpixelColours
{
public:
    // factor  parts along either side of a pixel, at least 1
    SubpixelColours(const QImage &image, int factor);

    // factor * factor colours of the pixel's parts, in rows from the top; valid until the next
    // call.
    const QRgb *at(int x, int y);

private:
    static const int kTaps = 4;
    static const int kWindow = 5; // pixels along either axis that the parts of a pixel see
    static const int kHalf = kWindow / 2;

    // For one part along one axis: the place of the first of its four pixels in the window, and
    // their weights, which add up to 1.
    struct Part
    {
        std::size_t first;
        std::array<double, kTaps> weights;
        // The first two weights and the last two, once for every channel, in parts of kWhole.
        std::array<std::array<int16_t, 8>, kTaps / 2> pairs;
    };
    typedef std::array<std::array<QRgb, kWindow>, kWindow> Window;

    // The sums down one column of a window, for every part of a pixel along that axis. Kept from
    // pixel to pixel: neighbours have four of five columns in common.
    static const std::size_t kMostKept = 2; // parts of a pixel
    static const std::size_t kColumns = 8;  // a power of two, not below kWindow
    static const int kWhole = 128;          // the weights of so few parts are multiples of its part
    static const int kMiddle = 128;         // of a byte
    struct Column
    {
        uint64_t place = ~uint64_t(0); // its middle: row and column
        bool isOpaque = false;
        bool isWeighted = false; // whether `weighted` is there
        // Where opaque, of the first part and of the last one: sums of a word's bytes less
        // kMiddle, times kWhole.
        std::array<int16_t, 8> plain;
        std::array<std::array<double, 4>, kMostKept> weighted; // the same with alpha, and alpha
    };

    struct Separable;
    struct Halves;

    Window windowAt(int x, int y) const;
    QRgb inOrder(const Window &window, const Part &across, const Part &down) const;

    const QRgb *first;
    const std::ptrdiff_t stride; // words
    const int width;
    const int height;
    const std::size_t factor;
    const bool exact; // every sum is free of rounding, so that its order does not matter
    std::vector<Part> parts;
    std::vector<QRgb> colours;
    std::array<Column, kColumns> columns;         // by the lower bits of their places in the row
    std::array<const QRgb *, kWindow> lines = {}; // of the row `lineOfLast`
    int lineOfLast = -1;
    uint64_t placeOfLast = ~uint64_t(1); // as of a column; no pixel follows it
};

} // namespace ztrace

#endif
