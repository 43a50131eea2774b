// (c) the ztrace developers. Licence: see LICENSE.
//
// Where labels meet, a row at a time.
#ifndef ZTRACE_IMAGING_BORDERS_H
#define ZTRACE_IMAGING_BORDERS_H

#include <cstdint>
#include <vector>

#include "LabelPlane.h"

namespace ztrace {

// Walks down the rows of a plane. Keeps a reference to it, and four rows of bytes.
class BorderRows
{
public:
    explicit BorderRows(const LabelPlane &plane);

    // The next row from the top, a byte a pixel: 1 where one of the eight neighbours within the
    // plane has another label, else 0. Valid until the next call; to be called `height` times.
    const uint8_t *next();

private:
    const LabelPlane &plane;
    int y = 0;
    std::vector<uint8_t> above;  // whether a pixel's label differs from the one above it
    std::vector<uint8_t> below;  // the same for the one below it
    std::vector<uint8_t> across; // [x + 1]: the same for the one to the right of it
    std::vector<uint8_t> border;
};

// nextSet where the first byte is 0, as a rule.
int nextSetBeyond(const uint8_t *bytes, int x, int width);

// The first place from `x` on whose byte is not 0, or `width`. Often it is `x` itself.
inline int nextSet(const uint8_t *bytes, int x, int width)
{
    return x < width && bytes[x] != 0 ? x : nextSetBeyond(bytes, x, width);
}

} // namespace ztrace

#endif
