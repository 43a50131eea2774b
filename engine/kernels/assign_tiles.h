// (c) the ztrace developers. Licence: see LICENSE.
//
// The fast assignment pass: what the two instruction-set builds of assign_tiles.inc share.
//
// Raw pointers only: this header is compiled with different instruction sets, and a library
// template instantiated here could be linked into code that must run on any machine.
#ifndef ZTRACE_KERNELS_ASSIGN_TILES_H
#define ZTRACE_KERNELS_ASSIGN_TILES_H

#include <cstddef>
#include <cstdint>

namespace ztrace {

struct ColourSum;

enum {
    kTileSide = 8,
    kTilePixels = kTileSide * kTileSide,
    kEntryBlock = 16,      // palette arrays are padded to a multiple of this
    kPaddingChannel = 4000 // farther from any pixel than an entry can be
};

// One assignment pass. Channels are stored byte + 128, so 0 to 255.
//
// shift, flip  where a channel lies in a pixel's word, and what turns its bits to stored byte + 128
// entry       per channel one array of `padded` values; those from `entries` on are padding
// lower, upper   scratch of `padded` elements each; candidates   one element more
// sums        one record an entry, already zero, to add to; may be null
// cells       first pixel's index cell of cellBytes bytes, rows `stride` cells apart; may be null
struct TileJob
{
    const unsigned char *pixels;
    int width;
    int height;
    int shift[4];
    uint32_t flip;
    const int16_t *entry[4];
    int entries;
    int padded;
    int16_t *lower;
    int16_t *upper;
    int *candidates;
    ColourSum *sums;
    void *cells;
    int cellBytes;
    size_t stride;
};

void assignTilesBaseline(const TileJob &job);
#ifdef ZTRACE_HAVE_AVX2
void assignTilesAvx2(const TileJob &job);
#endif

} // namespace ztrace

#endif
