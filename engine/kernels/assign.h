// (c) the ztrace developers. Licence: see LICENSE.
//
// One assignment pass of the clustering: every pixel to its nearest palette entry.
#ifndef ZTRACE_KERNELS_ASSIGN_H
#define ZTRACE_KERNELS_ASSIGN_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

class IndexPlane;

// What one palette entry attracted. Channels are summed as stored byte + 128, so that a channel
// enters with its top bit inverted; the alpha sum of a pixel that was loaded with alpha 0 is 128.
struct ColourSum
{
    int64_t channel[4];
    int64_t count;
};

// How the four bytes of a pixel are read.
enum class PixelLayout {
    StoredBytes, // R, G, B, A as signed bytes
    ColourWords  // 32-bit words 0xAARRGGBB; a channel v counts as the stored byte v - 128
};

// The pixels of an image, rows from the top without padding.
struct PixelView
{
    const signed char *pixels;
    int width;
    int height;
    PixelLayout layout = PixelLayout::StoredBytes;
};

// Pixel i of the image, counted by rows, as the stored bytes R, G, B, A.
void storedPixel(const PixelView &image, size_t i, signed char stored[4]);

// Assigns every pixel to its nearest entry of the palette (4 signed bytes an entry, at least one
// entry; see nearest.h for ties and far pixels).
//
// sums    one record an entry, replaced by the sums of this pass; may be null
// plane   receives the indices; may be null. It must have the size of the image and cells for
//         the palette's entries.
void assignPixels(const PixelView &image, const std::vector<signed char> &palette,
                  std::vector<ColourSum> *sums, IndexPlane *plane);

// The rule, pixel by pixel.
void assignPlain(const PixelView &image, const std::vector<signed char> &palette,
                 std::vector<ColourSum> *sums, IndexPlane *plane);

// The same answer by tiles that leave out entries too far to win (assign_tiles.inc).
void assignFast(const PixelView &image, const std::vector<signed char> &palette,
                std::vector<ColourSum> *sums, IndexPlane *plane);

} // namespace ztrace

#endif
