// (c) the ztrace developers. Licence: see LICENSE.
//
// Edge-node grids: which of the four pixels around a pixel corner belong to a palette entry.
#include "ZTraceBitmap.h"

namespace {

typedef QVector<QVector<int>> Grid;

// 1 where an index cell holds v; cells outside the grid hold nothing.
int holds(const Grid &indices, int row, int column, int v)
{
    const QVector<int> &cells = indices.at(row);
    return column < cells.size() && cells.at(column) == v ? 1 : 0;
}

// Writes the four nodes around the pixel cell [j][i] of entry v. Where a neighbour to the west or
// the north belongs to v too it has written, or will write, the same code, so that node is skipped.
void writeNodes(const Grid &indices, int j, int i, int v, Grid *layer)
{
    const int nw = holds(indices, j - 1, i - 1, v);
    const int n = holds(indices, j - 1, i, v);
    const int ne = holds(indices, j - 1, i + 1, v);
    const int w = holds(indices, j, i - 1, v);
    const int e = holds(indices, j, i + 1, v);
    const int sw = holds(indices, j + 1, i - 1, v);
    const int s = holds(indices, j + 1, i, v);
    const int se = holds(indices, j + 1, i + 1, v);
    (*layer)[j + 1][i + 1] = 1 + 2 * e + 4 * se + 8 * s;
    if (!w)
        (*layer)[j + 1][i] = 2 + 4 * s + 8 * sw;
    if (!n)
        (*layer)[j][i + 1] = 2 * ne + 4 * e + 8;
    if (!nw)
        (*layer)[j][i] = 2 * n + 4 + 8 * w;
}

} // namespace

QVector<ZTraceBitmap::EdgeGrid> ZTraceBitmap::layering()
{
    const Grid &indices = indexedImage.indices;
    const int rows = indices.size();
    const int columns = rows > 0 ? indices.at(0).size() : 0;
    const int entries = indexedImage.palette.size();
    QVector<EdgeGrid> layers;
    layers.reserve(entries);
    for (int k = 0; k < entries; ++k)
        layers.append(EdgeGrid(rows, QVector<int>(columns, 0)));
    for (int j = 1; j < rows - 1; ++j) {
        const int last = qMin(columns, indices.at(j).size()) - 1;
        for (int i = 1; i < last; ++i) {
            const int v = indices.at(j).at(i);
            if (v >= 0 && v < entries)
                writeNodes(indices, j, i, v, &layers[v]);
        }
    }
    return layers;
}
