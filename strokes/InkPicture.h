// (c) the ztrace developers. Licence: see LICENSE.
//
// The picture that centre lines are found in: lightnesses, and what of them is ink.
#ifndef ZTRACE_STROKES_INKPICTURE_H
#define ZTRACE_STROKES_INKPICTURE_H

#include "fit/Chain.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace::strokes {

using fit::Point;

// Lightness 0 to 255 of width * height pixels, rows from the top without gaps. What is at most as
// light as the threshold is ink. Pixel (x, y) covers x to x + 1 and y to y + 1; y points down.
// Nothing is owned.
struct InkPicture
{
    int width = 0;
    int height = 0;
    const uint8_t *grey = nullptr;
    int threshold = 127;

    bool isInk(int x, int y) const { return grey[at(x, y)] <= threshold; }
    std::size_t at(int x, int y) const
    {
        return std::size_t(y) * std::size_t(width) + std::size_t(x);
    }
};

// A byte a pixel with a rim of one cell, 0, around the picture.
struct Plane
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> cells;

    Plane() = default;
    Plane(int w, int h)
        : width(w), height(h), cells(std::size_t(w + 2) * std::size_t(h + 2), uint8_t(0))
    { }
    int stride() const { return width + 2; }
    uint32_t cellOf(int x, int y) const
    {
        return uint32_t(std::size_t(y + 1) * std::size_t(stride()) + std::size_t(x + 1));
    }
    int xOf(uint32_t cell) const { return int(cell % uint32_t(stride())) - 1; }
    int yOf(uint32_t cell) const { return int(cell / uint32_t(stride())) - 1; }
    Point middleOf(uint32_t cell) const { return { xOf(cell) + 0.5, yOf(cell) + 0.5 }; }
};

// How much of a place is ink, 0 to 1, by its lightness between the tones of ink and paper.
class Coverage
{
public:
    // `inkTone` may not be lighter than the threshold; both tones are lightnesses.
    Coverage(const InkPicture &picture, double inkTone, double paperTone);

    // Between the middles of pixels by the four around; outside of the picture is paper.
    double at(Point p) const;
    double ofPixel(int x, int y) const
    {
        if (x < 0 || y < 0 || x >= ink.width || y >= ink.height)
            return 0.0;
        return double(part[ink.grey[ink.at(x, y)]]);
    }

private:
    const InkPicture &ink;
    float part[256];
};

// The tones of the middle of the ink and of the paper around it: medians over the given cells, and
// over all that is lighter than the threshold.
struct InkTones
{
    double ink = 0.0;
    double paper = 255.0;
};
InkTones tonesAlong(const InkPicture &picture, const Plane &plane,
                    const std::vector<uint32_t> &cells);

} // namespace ztrace::strokes

#endif
