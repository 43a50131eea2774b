// (c) the ztrace developers. Licence: see LICENSE.
//
// Internodes: the midpoints of a path's edges and the direction of each step.
#include "ZTraceBitmap.h"

#include "kernels/direction.h"

namespace {

// Twice the midpoint of two points, in 64 bits: a caller's coordinates may be any int. What is
// missing of a point reads as 0.
qint64 doubled(const QVector<QVector<int>> &path, int i, int j, int axis)
{
    return qint64(path.at(i).value(axis)) + path.at(j).value(axis);
}

QVector<double> internode(const QVector<QVector<int>> &path, int i)
{
    const int n = path.size();
    const int j = (i + 1) % n;
    const int k = (i + 2) % n;
    const double x = double(doubled(path, i, j, 0)) * 0.5;
    const double y = double(doubled(path, i, j, 1)) * 0.5;
    const double nextX = double(doubled(path, j, k, 0)) * 0.5;
    const double nextY = double(doubled(path, j, k, 1)) * 0.5;
    QVector<double> point(3);
    point[0] = x;
    point[1] = y;
    point[2] = double(ztrace::directionOf(x, y, nextX, nextY));
    return point;
}

} // namespace

QVector<ZTraceBitmap::Internodes> ZTraceBitmap::internodes(const QVector<Path> &paths)
{
    QVector<Internodes> result;
    result.reserve(paths.size());
    for (int p = 0; p < paths.size(); ++p) {
        const Path &path = paths.at(p);
        Internodes points;
        points.reserve(path.size());
        for (int i = 0; i < path.size(); ++i)
            points.append(internode(path, i));
        result.append(points);
    }
    return result;
}

QVector<QVector<ZTraceBitmap::Internodes>>
ZTraceBitmap::batchinternodes(const QVector<QVector<Path>> &layers)
{
    QVector<QVector<Internodes>> result;
    result.reserve(layers.size());
    for (int k = 0; k < layers.size(); ++k)
        result.append(internodes(layers.at(k)));
    return result;
}
