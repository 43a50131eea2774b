// (c) the ztrace developers. Licence: see LICENSE.
//
// The eight directions of a step between internodes, y downwards.
#ifndef ZTRACE_KERNELS_DIRECTION_H
#define ZTRACE_KERNELS_DIRECTION_H

namespace ztrace {

enum Direction {
    kEast = 0,
    kSouthEast = 1,
    kSouth = 2,
    kSouthWest = 3,
    kWest = 4,
    kNorthWest = 5,
    kNorth = 6,
    kNorthEast = 7,
    kNoMovement = 8
};

// Direction of the step from (x, y) to (nextX, nextY).
inline Direction directionOf(double x, double y, double nextX, double nextY)
{
    if (x < nextX)
        return y < nextY ? kSouthEast : y > nextY ? kNorthEast : kEast;
    if (x > nextX)
        return y < nextY ? kSouthWest : y > nextY ? kNorthWest : kWest;
    return y < nextY ? kSouth : y > nextY ? kNorth : kNoMovement;
}

} // namespace ztrace

#endif
