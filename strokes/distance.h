// (c) the ztrace developers. Licence: see LICENSE.
//
// How far every pixel of ink is from paper.
#ifndef ZTRACE_STROKES_DISTANCE_H
#define ZTRACE_STROKES_DISTANCE_H

#include "strokes/InkPicture.h"

namespace ztrace::strokes {

// Distances are kept in quarters of a pixel, up to kFarthestInk.
const double kDistanceUnit = 0.25;
const int kFarthestInk = 63; // pixels; what is deeper in ink counts as that deep

// 1 where the picture is ink.
Plane inkOf(const InkPicture &picture);

// Euclidean distance from the middle of every cell of ink, which is not 0, to that of the nearest
// paper, rounded to the unit; 0 on paper. Around the picture is paper. Exact: distances along the
// columns, then along the rows the least of their combinations (A. Meijster, J. Roerdink, W.
// Hesselink, 2000), looked for as far as the best one found so far reaches.
Plane inkDistance(Plane ink);

// Half the width of the ink around the middle of a pixel with that distance: the edge runs half a
// pixel before the paper's middle.
inline double radiusOf(uint8_t distance)
{
    return kDistanceUnit * distance - 0.5;
}

} // namespace ztrace::strokes

#endif
