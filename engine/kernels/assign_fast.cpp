// (c) the ztrace developers. Licence: see LICENSE.
#include "assign.h"

#include "IndexPlane.h"
#include "assign_tiles.h"
#include "cpu.h"
#include "nearest.h"

namespace ztrace {

namespace {

// The palette as planes of 16-bit channels, padded to whole blocks, and the pass's scratch.
class TileScratch
{
public:
    explicit TileScratch(const std::vector<signed char> &palette)
        : entries(palette.size() / kChannels),
          padded((entries + kEntryBlock - 1) / kEntryBlock * kEntryBlock)
    {
        for (int c = 0; c < kChannels; ++c) {
            channel[c].assign(padded, kPaddingChannel);
            for (size_t k = 0; k < entries; ++k)
                channel[c][k]
                    = static_cast<int16_t>(palette[kChannels * k + static_cast<size_t>(c)] + 128);
        }
        lower.resize(padded);
        upper.resize(padded);
        candidates.resize(padded + 1);
    }

    void attachTo(TileJob *job)
    {
        for (int c = 0; c < kChannels; ++c)
            job->entry[c] = channel[c].data();
        job->entries = static_cast<int>(entries);
        job->padded = static_cast<int>(padded);
        job->lower = lower.data();
        job->upper = upper.data();
        job->candidates = candidates.data();
    }

private:
    size_t entries;
    size_t padded;
    std::vector<int16_t> channel[kChannels];
    std::vector<int16_t> lower;
    std::vector<int16_t> upper;
    std::vector<int> candidates;
};

void tellLayout(PixelLayout layout, TileJob *job)
{
    const bool words = layout == PixelLayout::ColourWords;
    const int shifts[2][kChannels] = { { 0, 8, 16, 24 }, { 16, 8, 0, 24 } };
    for (int c = 0; c < kChannels; ++c)
        job->shift[c] = shifts[words ? 1 : 0][c];
    job->flip = words ? 0u : 0x80u;
}

} // namespace

void assignFast(const PixelView &image, const std::vector<signed char> &palette,
                std::vector<ColourSum> *sums, IndexPlane *plane)
{
    TileScratch scratch(palette);
    TileJob job = TileJob();
    job.pixels = reinterpret_cast<const unsigned char *>(image.pixels);
    job.width = image.width;
    job.height = image.height;
    tellLayout(image.layout, &job);
    scratch.attachTo(&job);
    if (sums) {
        sums->assign(palette.size() / kChannels, ColourSum());
        job.sums = sums->data();
    }
    job.cellBytes = 1;
    if (plane) {
        job.cellBytes = plane->cellBytes();
        job.stride = static_cast<size_t>(plane->stride());
        plane->visit([&](auto *cells) { job.cells = cells + job.stride + 1; });
    }
#ifdef ZTRACE_HAVE_AVX2
    if (useAvx2()) {
        assignTilesAvx2(job);
        return;
    }
#endif
    assignTilesBaseline(job);
}

void assignPixels(const PixelView &image, const std::vector<signed char> &palette,
                  std::vector<ColourSum> *sums, IndexPlane *plane)
{
#ifdef ZTRACE_PLAIN_KERNELS
    assignPlain(image, palette, sums, plane);
#else
    assignFast(image, palette, sums, plane);
#endif
}

} // namespace ztrace
