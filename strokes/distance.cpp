// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/distance.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// The unit's multiples of the roots of all squares up to the farthest.
std::vector<uint8_t> roots()
{
    std::vector<uint8_t> table(std::size_t(kFarthestInk * kFarthestInk) + 1);
    for (std::size_t square = 0; square < table.size(); ++square)
        table[square] = uint8_t(std::lround(std::sqrt(double(square)) / kDistanceUnit));
    return table;
}

// Whole pixels to the nearest paper in the same column.
void columnDistances(Plane *plane)
{
    const std::size_t stride = std::size_t(plane->stride());
    for (int y = 0; y < plane->height; ++y) {
        uint8_t *row = plane->cells.data() + plane->cellOf(0, y);
        const uint8_t *above = row - stride;
        for (int x = 0; x < plane->width; ++x) {
            const int deeper = std::min(kFarthestInk, above[x] + 1);
            row[x] = uint8_t(row[x] != 0 ? deeper : 0);
        }
    }
    for (int y = plane->height - 1; y >= 0; --y) {
        uint8_t *row = plane->cells.data() + plane->cellOf(0, y);
        const uint8_t *below = row + stride;
        for (int x = 0; x < plane->width; ++x)
            row[x] = uint8_t(std::min(int(row[x]), below[x] + 1));
    }
}

int leastSquare(const uint8_t *columns, int x, int width)
{
    int best = columns[x] * columns[x];
    for (int d = 1; d * d < best; ++d) {
        const int left = x >= d ? columns[x - d] : 0;
        const int right = x + d < width ? columns[x + d] : 0;
        const int nearer = std::min(left, right);
        best = std::min(best, d * d + nearer * nearer);
    }
    return best;
}

} // namespace

Plane inkOf(const InkPicture &picture)
{
    Plane plane(picture.width, picture.height);
    for (int y = 0; y < picture.height; ++y) {
        const uint8_t *grey = picture.grey + picture.at(0, y);
        uint8_t *row = plane.cells.data() + plane.cellOf(0, y);
        for (int x = 0; x < picture.width; ++x)
            row[x] = uint8_t(grey[x] <= picture.threshold);
    }
    return plane;
}

Plane inkDistance(Plane plane)
{
    columnDistances(&plane);
    const std::vector<uint8_t> root = roots();
    std::vector<uint8_t> columns(std::size_t(plane.width), uint8_t(0));
    for (int y = 0; y < plane.height; ++y) {
        uint8_t *row = plane.cells.data() + plane.cellOf(0, y);
        std::copy(row, row + plane.width, columns.begin());
        for (int x = 0; x < plane.width; ++x) {
            if (columns[std::size_t(x)] != 0)
                row[x] = root[std::size_t(leastSquare(columns.data(), x, plane.width))];
        }
    }
    return plane;
}

} // namespace ztrace::strokes
