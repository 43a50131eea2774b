// (c) the ztrace developers. Licence: see LICENSE.
//
// One curve through given ends.
#ifndef ZTRACE_FIT_CUBICS_H
#define ZTRACE_FIT_CUBICS_H

#include "fit/Piece.h"
#include "fit/candidates.h"

namespace ztrace::fit {

// What a curve has to keep: its ends, and where `fixed` its unit tangent there.
struct CurveEnds
{
    Point start;
    Point end;
    Point startTangent;
    Point endTangent;
    bool startFixed;
    bool endFixed;
};

// The cubic of least squares through the points first to last - 1, with its misfit. The tangents
// that are not fixed begin as given. Gauss and Newton's method on distances along the normal, the
// points' parameters improved by one step of Newton's a round. False where the handles leave
// (0, 1.5 chords), the walk is not followed from end to end or the misfit is more than `most` nats.
bool fitCubic(const Table &table, const CurveEnds &ends, int first, int last, double most,
              Piece *cubic);

// The quadratic and the conic of both tangents: their control point is where the tangents meet.
// False where they do not meet ahead, or the quadratic's misfit is more than `most` nats.
bool fitQuadratic(const Table &table, const CurveEnds &ends, int first, int last, double most,
                  Piece *piece);
bool fitConic(const Table &table, const CurveEnds &ends, int first, int last, Piece *piece);

} // namespace ztrace::fit

#endif
