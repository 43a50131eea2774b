// (c) the ztrace developers. Licence: see LICENSE.
//
// Index grids and edge-node grids written as text, for tests of the outline stages.
#ifndef GRIDS_H
#define GRIDS_H

#include <QStringList>
#include <QVector>

#include "engine/ZTraceBitmap.h"

namespace ztrace {

// An index grid inside its border: each character '0', '1', ... is the index of a pixel.
inline QVector<QVector<int>> indexGrid(const QStringList &rows)
{
    const int width = rows.isEmpty() ? 0 : int(rows.first().size());
    QVector<QVector<int>> grid(int(rows.size()) + 2, QVector<int>(width + 2, -1));
    for (int y = 0; y < rows.size(); ++y)
        for (int x = 0; x < width; ++x)
            grid[y + 1][x + 1] = rows.at(y).at(x).toLatin1() - '0';
    return grid;
}

// A tracer that holds this index grid and a palette of so many entries.
struct GridTracer : ZTraceBitmap
{
    explicit GridTracer(const QStringList &rows, int entries = 2)
    {
        indexedImage.indices = indexGrid(rows);
        indexedImage.height = int(rows.size());
        indexedImage.width = rows.isEmpty() ? 0 : int(rows.first().size());
        indexedImage.palette = QVector<QVector<char>>(entries, QVector<char>(4, 0));
        imageWidth = indexedImage.width;
        imageHeight = indexedImage.height;
    }
    // The paths of one entry.
    QVector<QVector<QVector<int>>> paths(int entry, float pathomit = 0)
    {
        return pathscan(layering().at(entry), pathomit);
    }
};

// The codes of one entry by their definition, node by node.
inline QVector<QVector<int>> layerByDefinition(const QVector<QVector<int>> &indices, int entry)
{
    const int rows = int(indices.size());
    const int cols = rows == 0 ? 0 : int(indices.first().size());
    QVector<QVector<int>> layer(rows, QVector<int>(cols, 0));
    for (int r = 1; r < rows; ++r) {
        for (int c = 1; c < cols; ++c) {
            layer[r][c] = (indices.at(r - 1).at(c - 1) == entry ? 1 : 0)
                + (indices.at(r - 1).at(c) == entry ? 2 : 0)
                + (indices.at(r).at(c) == entry ? 4 : 0)
                + (indices.at(r).at(c - 1) == entry ? 8 : 0);
        }
    }
    return layer;
}

} // namespace ztrace

#endif
