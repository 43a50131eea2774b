// (c) the ztrace developers. Licence: see LICENSE.
#include "assign.h"

#include "IndexPlane.h"
#include "convert.h"
#include "nearest.h"
#include "stop.h"

#include <cstring>

namespace ztrace {

namespace {

void addPixel(const signed char *pixel, ColourSum *sum)
{
    for (int c = 0; c < kChannels; ++c)
        sum->channel[c] += pixel[c] + 128;
    ++sum->count;
}

template<typename Cell>
void assignInto(const PixelView &image, const std::vector<signed char> &palette,
                std::vector<ColourSum> *sums, Cell *cells)
{
    const int entries = static_cast<int>(palette.size() / kChannels);
    const size_t stride = static_cast<size_t>(image.width) + 2;
    size_t i = 0;
    for (int y = 0; y < image.height; ++y) {
        stopWhereAsked();
        Cell *row = cells ? cells + (static_cast<size_t>(y) + 1) * stride + 1 : nullptr;
        for (int x = 0; x < image.width; ++x, ++i) {
            signed char pixel[kChannels];
            storedPixel(image, i, pixel);
            const int best = nearestPlain(pixel, palette.data(), entries);
            if (sums)
                addPixel(pixel, &(*sums)[static_cast<size_t>(best)]);
            if (row)
                row[x] = static_cast<Cell>(best);
        }
    }
}

} // namespace

void storedPixel(const PixelView &image, size_t i, signed char stored[4])
{
    const signed char *bytes = image.pixels + kChannels * i;
    if (image.layout == PixelLayout::StoredBytes) {
        std::memcpy(stored, bytes, kChannels);
        return;
    }
    uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    const int shifts[kChannels] = { 16, 8, 0, 24 };
    for (int c = 0; c < kChannels; ++c)
        stored[c] = lowByte(static_cast<int>((word >> shifts[c]) & 0xFFu) - 128);
}

void assignPlain(const PixelView &image, const std::vector<signed char> &palette,
                 std::vector<ColourSum> *sums, IndexPlane *plane)
{
    if (sums)
        sums->assign(palette.size() / kChannels, ColourSum());
    if (!plane) {
        assignInto<uint8_t>(image, palette, sums, nullptr);
        return;
    }
    plane->visit([&](auto *cells) { assignInto(image, palette, sums, cells); });
}

} // namespace ztrace
