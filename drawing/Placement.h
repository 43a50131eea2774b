// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_DRAWING_PLACEMENT_H
#define ZTRACE_DRAWING_PLACEMENT_H

#include "Path.h"

namespace ztrace {

// Where a picture lies in a map. With column and row counted from the picture's upper left corner,
// in pixels: x = origin.x + columnX * column + rowX * row, and y likewise.
struct Placement
{
    bool isKnown = false;
    Point origin; // in the units of the map, as all others
    double columnX = 1.0;
    double columnY = 0.0;
    double rowX = 0.0;
    double rowY = -1.0;
    int epsg = 0; // number of the coordinate reference system in that register; 0: unknown

    Point at(double column, double row) const
    {
        return Point(origin.x + columnX * column + rowX * row,
                     origin.y + columnY * column + rowY * row);
    }
};

} // namespace ztrace

#endif
