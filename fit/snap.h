// (c) the ztrace developers. Licence: see LICENSE.
//
// Order in shapes: what is upright, parallel, at right angles, concentric or equally large but for
// its errors becomes so exactly. docs/fit/snap.md.
#ifndef ZTRACE_FIT_SNAP_H
#define ZTRACE_FIT_SNAP_H

#include "fit/fit.h"

#include <vector>

namespace ztrace::fit {

// What is put in order: nothing, the sides of each shape among themselves and to the axes, or
// shapes among each other as well.
enum class Snap { None, Joints, All };

// A closed path and the points that it was fitted to; nothing is owned but the path. Points that
// are not finite, and sigmas below the floor of the edge, are what Chain.h says.
struct Ordered
{
    Path path;
    Chain points;
    bool changed = false;
};

// Whether shapes of that kind are looked at: a circle, an ellipse or a rectangle, or a polygon of 3
// to kMostSides lines.
bool mayBeOrdered(const Path &path);
const int kMostSides = 32;

// Puts shapes in order, where the points speak hardly less for that: chi square rises by no more
// than kMostRise for each shape and relation, scaled by what the points are off the shape as it was
// fitted, and by the hundredth of a pixel that no picture tells. Angles that many lines have by
// chance are left alone. Paths stay closed, of the same kinds and as many pieces. Deterministic;
// the order of the shapes matters for ties only.
void putInOrder(std::vector<Ordered> *shapes, Snap snap);
const double kMostRise = 9.0; // three standard deviations

} // namespace ztrace::fit

#endif
