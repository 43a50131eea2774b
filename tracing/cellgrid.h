// (c) the ztrace developers. Licence: see LICENSE.
//
// Things by the cells of a grid over the plane that they may pass through, so that only those near
// to each other are compared.
#ifndef ZTRACE_TRACING_CELLGRID_H
#define ZTRACE_TRACING_CELLGRID_H

#include "fit/Piece.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace ztrace {

// All that is within `margin` pixels of a line.
struct Strip
{
    fit::Point a;
    fit::Point b;
    double margin;
};

class CellGrid
{
public:
    // Of the plane in pixels; what lies outside counts to its rim.
    CellGrid(int width, int height)
        : columns(std::max(1, (width + kCell - 1) / kCell)),
          rows(std::max(1, (height + kCell - 1) / kCell)), begins(std::size_t(columns * rows) + 1)
    { }

    // Takes `count` things in place of those before; stripOf(k) tells where k may be, and is called
    // twice.
    template<typename StripOf>
    void fill(std::size_t count, const StripOf &stripOf)
    {
        std::fill(begins.begin(), begins.end(), 0u);
        for (uint32_t k = 0; k < count; ++k)
            forEachCell(stripOf(k), [this](std::size_t cell) { ++begins[cell + 1]; });
        for (std::size_t cell = 1; cell < begins.size(); ++cell)
            begins[cell] += begins[cell - 1];
        numbers.resize(begins.back());
        std::vector<uint32_t> next(begins.begin(), begins.end() - 1);
        for (uint32_t k = 0; k < count; ++k)
            forEachCell(stripOf(k), [&](std::size_t cell) { numbers[next[cell]++] = k; });
    }

    std::size_t cells() const { return begins.size() - 1; }

    // Calls for all things in a cell, in ascending order of their numbers.
    template<typename Work>
    void forEachIn(std::size_t cell, const Work &work) const
    {
        for (uint32_t k = begins[cell]; k < begins[cell + 1]; ++k)
            work(numbers[k]);
    }

    // Calls for all things that may be in a box, for some of them more than once.
    template<typename Work>
    void forEachNear(const fit::Box &box, const Work &work) const
    {
        for (int row = cellOf(box.low.y, rows); row <= cellOf(box.high.y, rows); ++row) {
            for (int k = cellOf(box.low.x, columns); k <= cellOf(box.high.x, columns); ++k)
                forEachIn(std::size_t(row) * std::size_t(columns) + std::size_t(k), work);
        }
    }

    // Whether anything may be in a cell of the box.
    bool hasSome(const fit::Box &box) const
    {
        const int right = cellOf(box.high.x, columns);
        const int bottom = cellOf(box.high.y, rows);
        for (int row = cellOf(box.low.y, rows); row <= bottom; ++row) {
            const std::size_t start = std::size_t(row) * std::size_t(columns);
            if (begins[start + std::size_t(cellOf(box.low.x, columns))]
                < begins[start + std::size_t(right) + 1])
                return true;
        }
        return false;
    }

private:
    static constexpr int kCell = 16; // pixels; most pieces are shorter

    static int cellOf(double at, int count)
    {
        const double cell = std::floor(at / kCell);
        return cell > 0 ? int(std::min(cell, double(count - 1))) : 0;
    }

    // Column by column, the rows between which the strip lies there.
    template<typename Work>
    void forEachCell(const Strip &strip, const Work &work) const
    {
        Strip s = strip;
        if (s.b.x < s.a.x)
            std::swap(s.a, s.b);
        const int first = cellOf(s.a.x - s.margin, columns);
        const int last = cellOf(s.b.x + s.margin, columns);
        const double slope = s.b.x > s.a.x ? (s.b.y - s.a.y) / (s.b.x - s.a.x) : 0;
        const auto yAt = [&](double x) {
            return s.a.y + slope * (std::min(s.b.x, std::max(s.a.x, x)) - s.a.x);
        };
        for (int column = first; column <= last; ++column) {
            // What lies outside of the plane belongs to its rim.
            double low = column == first ? s.a.y : yAt(double(column * kCell) - s.margin);
            double high = column == last ? s.b.y : yAt(double((column + 1) * kCell) + s.margin);
            if (high < low)
                std::swap(low, high);
            const int bottom = cellOf(high + s.margin, rows);
            for (int row = cellOf(low - s.margin, rows); row <= bottom; ++row)
                work(std::size_t(row) * std::size_t(columns) + std::size_t(column));
        }
    }

    const int columns;
    const int rows;
    std::vector<uint32_t> begins; // per cell, where its numbers begin
    std::vector<uint32_t> numbers;
};

} // namespace ztrace

#endif
