// (c) the ztrace developers. Licence: see LICENSE.
//
// Path scanning: the closed outlines of one edge-node grid.
#include "ZTraceBitmap.h"

namespace {

enum MoveField { kCodeLeft, kNewDirection, kStepX, kStepY };

const int kNodeCodes = 16;

// True for a code that outlines pass through.
bool isEdgeNode(int code)
{
    return code > 0 && code < kNodeCodes - 1;
}

QVector<int> pathPoint(int x, int y, int code)
{
    QVector<int> point(3);
    point[0] = x;
    point[1] = y;
    point[2] = code;
    return point;
}

// Walks the outline that starts at grid node (row py, column px), rewriting the codes it passes.
// False when the grid is not well formed and the walk leaves it or finds no move.
bool walk(const QVector<QVector<QVector<char>>> &moves, int px, int py, int direction,
          QVector<QVector<int>> *grid, QVector<QVector<int>> *path)
{
    const int startX = px;
    const int startY = py;
    do {
        if (py < 0 || py >= grid->size() || px < 0 || px >= grid->at(py).size())
            return false;
        const int code = grid->at(py).at(px);
        path->append(pathPoint(px - 1, py - 1, code));
        if (!isEdgeNode(code))
            return false;
        const QVector<char> move = moves.value(code).value(direction);
        if (move.size() <= kStepY || move.at(kNewDirection) < 0)
            return false;
        (*grid)[py][px] = move.at(kCodeLeft);
        direction = move.at(kNewDirection);
        px += move.at(kStepX);
        py += move.at(kStepY);
        // Positions alone decide, whatever the direction or the code.
    } while (px != startX || py != startY);
    return true;
}

} // namespace

QVector<ZTraceBitmap::Path> ZTraceBitmap::pathscan(EdgeGrid grid, float pathomit)
{
    QVector<Path> paths;
    const int rows = grid.size();
    const int columns = rows > 0 ? grid.at(0).size() : 0;
    for (int py = 0; py < rows; ++py) {
        for (int px = 0; px < columns && px < grid.at(py).size(); ++px) {
            const int code = grid.at(py).at(px);
            if (!isEdgeNode(code))
                continue;
            Path path;
            const bool closed
                = walk(pathscanCombinedLookup, px, py, pathscanDirLookup.value(code), &grid, &path);
            const bool hole = pathscanHoleLookup.value(code);
            if (closed && !hole && !(pathomit > static_cast<float>(path.size())))
                paths.append(path);
        }
    }
    return paths;
}

QVector<QVector<ZTraceBitmap::Path>> ZTraceBitmap::batchpathscan(const QVector<EdgeGrid> &layers,
                                                                 float pathomit)
{
    QVector<QVector<Path>> result;
    result.reserve(layers.size());
    for (int k = 0; k < layers.size(); ++k)
        result.append(pathscan(layers.at(k), pathomit));
    return result;
}
