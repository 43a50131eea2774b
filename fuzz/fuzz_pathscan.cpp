// (c) the ztrace developers. Licence: see LICENSE.
//
// Path scanning. Grids of any numbers and ragged rows must end without a crash; the grids of an
// index plane must give what the pass over all entries at once gives.
#include "Input.h"
#include "silence.h"

#include "engine/ZTraceBitmap.h"
#include "engine/kernels/IndexPlane.h"
#include "engine/kernels/outline.h"

namespace {

void scanAnyGrid(ZTraceBitmap &tracer, fuzz::Input &input)
{
    const int width = input.between(0, 12);
    const bool ragged = input.byte() & 1;
    const int largest = input.byte() & 1 ? 15 : 255;
    ZTraceBitmap::EdgeGrid grid;
    for (int rows = input.between(0, 12); rows > 0; --rows) {
        QVector<int> row(ragged ? input.between(0, 12) : width);
        for (int &code : row)
            code = input.between(0, largest) - (largest > 15 ? 120 : 0);
        grid.append(row);
    }
    const ZTraceBitmap::EdgeGrid before = grid;
    const auto paths = tracer.pathscan(grid, static_cast<float>(input.number()));
    fuzz::require(grid == before);
    tracer.internodes(paths);
}

void comparePasses(ZTraceBitmap &tracer, fuzz::Input &input)
{
    const int width = input.between(1, 70);
    const int height = input.between(1, 20);
    const int entries = input.between(1, 4);
    ztrace::IndexPlane plane;
    plane.resize(width, height, entries);
    QVector<QVector<int>> indices(height + 2, QVector<int>(width + 2, -1));
    for (int y = 1; y <= height; ++y)
        for (int x = 1; x <= width; ++x) {
            indices[y][x] = input.byte() % entries;
            plane.cells<uint8_t>()[y * plane.stride() + x] = static_cast<uint8_t>(indices[y][x]);
        }
    tracer.indexedImage.indices = indices;
    tracer.indexedImage.palette = ZTraceBitmap::Palette(entries, QVector<char>(4, 0));
    const float shortest = static_cast<float>(input.number());
    const auto expected = tracer.batchinternodes(tracer.batchpathscan(tracer.layering(), shortest));

    QVector<QVector<ZTraceBitmap::Internodes>> actual(entries);
    ztrace::scanOutlines(plane, shortest, [&](int k, const ztrace::PathView<uint8_t> &path) {
        ZTraceBitmap::Internodes points;
        for (int i = 0; i < path.size; ++i)
            points.append({ path.x[i], path.y[i], double(path.code[i]) });
        actual[k].append(points);
    });
    fuzz::require(actual == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::silence();
    static ZTraceBitmap tracer;
    fuzz::Input input(data, size);
    if (input.byte() & 1)
        scanAnyGrid(tracer, input);
    else
        comparePasses(tracer, input);
    return 0;
}
