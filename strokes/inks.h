// (c) the ztrace developers. Licence: see LICENSE.
//
// The inks of a drawing in a few flat colours, and which of them drew what. docs/strokes/inks.md.
#ifndef ZTRACE_STROKES_INKS_H
#define ZTRACE_STROKES_INKS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace::strokes {

// Opaque pixels 0xffRRGGBB of a picture, rows from the top, `stride` pixels apart. Nothing is
// owned.
struct ColourPicture
{
    int width = 0;
    int height = 0;
    const uint32_t *pixels = nullptr;
    std::size_t stride = 0;

    uint32_t at(int x, int y) const { return pixels[std::size_t(y) * stride + std::size_t(x)]; }
};

const uint8_t kNoInk = 255;

// colours  of the inks as 0xffRRGGBB, the one of most ink first
// labels   of every pixel the ink by its position in `colours`, or kNoInk
// grey     of every pixel 0 where its own ink covers it, 255 where it is paper, so that light inks
//          are worth as much as dark ones; both width * height, rows without gaps
struct Inks
{
    uint32_t paper = 0xffffffffu;
    std::vector<uint32_t> colours;
    std::vector<uint8_t> labels;
    std::vector<uint8_t> grey;
};

// Finds up to kMostInks inks. False, and nothing, where no ink has a hue, where there is no light
// paper in half of the picture, or where a few inks do not explain what is on it, as in
// photographs. Inks of one hue that differ in lightness alone are one.
bool inksOf(const ColourPicture &picture, Inks *inks);
const int kMostInks = 12;

} // namespace ztrace::strokes

#endif
