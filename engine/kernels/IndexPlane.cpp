// (c) the ztrace developers. Licence: see LICENSE.
#include "IndexPlane.h"

namespace ztrace {

namespace {

template<typename Cell>
void fillBorder(Cell *cells, int width, int height)
{
    const Cell border = IndexPlane::borderOf<Cell>();
    const size_t stride = static_cast<size_t>(width) + 2;
    const size_t rows = static_cast<size_t>(height) + 2;
    for (size_t x = 0; x < stride; ++x) {
        cells[x] = border;
        cells[(rows - 1) * stride + x] = border;
    }
    for (size_t y = 0; y < rows; ++y) {
        cells[y * stride] = border;
        cells[y * stride + stride - 1] = border;
    }
}

} // namespace

void IndexPlane::resize(int width, int height, int entries)
{
    planeWidth = width;
    planeHeight = height;
    bytes = entries <= 255 ? 1 : entries <= 65535 ? 2 : 4;
    const size_t count = (static_cast<size_t>(width) + 2) * (static_cast<size_t>(height) + 2);
    storage = zeroedBlock(count * static_cast<size_t>(bytes));
    visit([&](auto *cells) { fillBorder(cells, width, height); });
}

} // namespace ztrace
