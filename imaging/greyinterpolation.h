// (c) the ztrace developers. Licence: see LICENSE.
//
// The lightness between the pixels of a page.
#ifndef ZTRACE_IMAGING_GREYINTERPOLATION_H
#define ZTRACE_IMAGING_GREYINTERPOLATION_H

#include <array>
#include <vector>

#include "GreyPicture.h"

namespace ztrace {

// A cubic through the pixels along both axes, which keeps the height of narrow peaks. Source:
// E. Catmull and R. Rom, 1974. Beyond the rim of the page its last pixel goes on.
class GreyInterpolation
{
public:
    // For parts of pixels, `factor` along each side. The page must be of one byte a pixel and
    // outlive this.
    GreyInterpolation(const GreyPicture &page, int factor);

    // The five rows around one, from two above to two below; the nearest where there is none.
    typedef std::array<const uint8_t *, 5> Lines;
    Lines linesAt(int y) const;

    // Lightness, 0 to 255, in the middle of part (i, j) of the pixel x of the middle row.
    int lightness(const Lines &lines, int x, int i, int j) const;

private:
    struct Taps
    {
        int first; // pixel of the first of four weights, from the part's own
        std::array<double, 4> weights;
    };
    static Taps tapsOf(int part, int factor);

    const GreyPicture &page;
    int factor;
    int width;                                   // of the page
    std::vector<Taps> taps;                      // of every part along an axis
    std::vector<std::array<double, 16>> weights; // of part (i, j) at j * factor + i, rows first
    std::vector<double> sums;                    // of these
};

} // namespace ztrace

#endif
