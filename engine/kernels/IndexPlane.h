// (c) the ztrace developers. Licence: see LICENSE.
//
// The palette index of every pixel as one flat array, in cells as narrow as the palette allows.
#ifndef ZTRACE_KERNELS_INDEXPLANE_H
#define ZTRACE_KERNELS_INDEXPLANE_H

#include <cstddef>
#include <cstdint>

#include "memory.h"

namespace ztrace {

// (height + 2) rows of (width + 2) cells: pixel (x, y) at cell (y + 1) * stride + x + 1, inside a
// border of one cell that holds borderOf<Cell>(), which is no index. Cells are 1, 2 or 4 bytes,
// by the number of palette entries; new cells hold 0.
class IndexPlane
{
public:
    IndexPlane() : planeWidth(0), planeHeight(0), bytes(1) { }

    // Throws std::bad_alloc when memory cannot hold the plane.
    void resize(int width, int height, int entries);

    int width() const { return planeWidth; }
    int height() const { return planeHeight; }
    int stride() const { return planeWidth + 2; }
    int cellBytes() const { return bytes; }

    template<typename Cell>
    static Cell borderOf()
    {
        return static_cast<Cell>(-1);
    }

    // All cells; Cell must have cellBytes() bytes.
    template<typename Cell>
    Cell *cells()
    {
        return static_cast<Cell *>(storage.get());
    }
    template<typename Cell>
    const Cell *cells() const
    {
        return static_cast<const Cell *>(storage.get());
    }

    // Calls f with a pointer to the cells in their own type.
    template<typename Function>
    void visit(Function &&f) const
    {
        if (bytes == 1)
            f(cells<uint8_t>());
        else if (bytes == 2)
            f(cells<uint16_t>());
        else
            f(cells<int32_t>());
    }
    template<typename Function>
    void visit(Function &&f)
    {
        if (bytes == 1)
            f(cells<uint8_t>());
        else if (bytes == 2)
            f(cells<uint16_t>());
        else
            f(cells<int32_t>());
    }

private:
    int planeWidth;
    int planeHeight;
    int bytes;
    Block storage;
};

} // namespace ztrace

#endif
