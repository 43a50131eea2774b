// (c) the ztrace developers. Licence: see LICENSE.
//
// The quantised image and, after a trace, its fitted outlines.
#ifndef ZTRACE_INDEXEDIMAGE_H
#define ZTRACE_INDEXEDIMAGE_H

#include <QVector>

// A plain record with value semantics.
//
// width, height   pixel columns and rows
// indices         height + 2 rows of width + 2 cells: the palette index of every pixel, the pixel
//                 (x, y) at [y + 1][x + 1], inside a border of one cell that holds -1
// palette         entries of 4 signed bytes R, G, B, A; the position is the index
// tracedLayers    per palette entry, per outline, per segment: 7 doubles (docs/algorithm/fitseq.md)
struct IndexedImage
{
    IndexedImage() : width(0), height(0) { }

    int width;
    int height;
    QVector<QVector<int>> indices;
    QVector<QVector<char>> palette;
    QVector<QVector<QVector<QVector<double>>>> tracedLayers;
};

#endif
