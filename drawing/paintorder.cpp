// (c) the ztrace developers. Licence: see LICENSE.
#include "paintorder.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ztrace {

namespace {

const double kLeastCell = 4.0;    // pixels
const int kMostCells = 1024;      // a side
const double kMostVisits = 3.0e7; // of cells: a tenth of a second

// What was painted last in a cell. Layers of paint are counted from below; within one all has the
// same looks, cell by cell.
struct Cell
{
    int layer = 0;
    int looks = -1;
};

class Grid
{
public:
    explicit Grid(const std::vector<Bounds> &boxes)
    {
        Bounds all;
        for (const Bounds &box : boxes)
            all.grow(box);
        low = all.low;
        const double width = all.high.x - all.low.x;
        const double height = all.high.y - all.low.y;
        size = std::max(kLeastCell, std::max(width, height) / kMostCells);
        columns = place(all.high.x, low.x, kMostCells) + 1;
        const int rows = place(all.high.y, low.y, kMostCells) + 1;
        if (all.valid && std::isfinite(size))
            cells.resize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    }

    bool isUsable() const { return !cells.empty(); }

    double visitsOf(const Bounds &box) const
    {
        const auto count = [this](double from, double to) { return (to - from) / size + 2.0; };
        return count(box.low.x, box.high.x) * count(box.low.y, box.high.y);
    }

    // The layer that a box is painted in.
    int paint(const Bounds &box, int looks)
    {
        int layer = 0;
        forEachCell(box, [&](const Cell &cell) {
            layer = std::max(layer,
                             cell.looks < 0 || cell.looks == looks ? cell.layer : cell.layer + 1);
        });
        forEachCell(box, [&](Cell &cell) { cell = { layer, looks }; });
        return layer;
    }

private:
    int place(double at, double from, int most) const
    {
        const double cell = std::floor((at - from) / size);
        return cell > 0.0 ? static_cast<int>(std::min(cell, double(most))) : 0;
    }

    template<typename Visit>
    void forEachCell(const Bounds &box, const Visit &visit)
    {
        const int right = std::min(columns - 1, place(box.high.x, low.x, kMostCells));
        const int top = place(box.high.y, low.y, kMostCells);
        for (int y = place(box.low.y, low.y, kMostCells); y <= top; ++y) {
            for (int x = place(box.low.x, low.x, kMostCells); x <= right; ++x)
                visit(cells[static_cast<std::size_t>(y) * static_cast<std::size_t>(columns)
                            + static_cast<std::size_t>(x)]);
        }
    }

    Point low;
    double size = kLeastCell;
    int columns = 0;
    std::vector<Cell> cells;
};

} // namespace

std::vector<std::size_t> paintOrder(const std::vector<Bounds> &boxes, const std::vector<int> &looks)
{
    std::vector<std::size_t> order(boxes.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    Grid grid(boxes);
    double visits = 0.0;
    for (const Bounds &box : boxes)
        visits += grid.visitsOf(box);
    const bool allKnown
        = std::all_of(boxes.begin(), boxes.end(), [](const Bounds &box) { return box.valid; });
    if (!grid.isUsable() || !allKnown || !(visits <= kMostVisits))
        return order;
    std::vector<int> layers;
    for (std::size_t i = 0; i < boxes.size(); ++i)
        layers.push_back(grid.paint(boxes[i], looks[i]));
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return layers[a] != layers[b] ? layers[a] < layers[b] : looks[a] < looks[b];
    });
    return order;
}

} // namespace ztrace
