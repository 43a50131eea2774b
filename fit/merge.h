// (c) the ztrace developers. Licence: see LICENSE.
//
// After the program: neighbouring spans of a staircase that are one line or arc, and the ends of
// strokes.
#ifndef ZTRACE_FIT_MERGE_H
#define ZTRACE_FIT_MERGE_H

#include "fit/candidates.h"

namespace ztrace::fit {

// Whether every point of a staircase lies where the boundary may have passed: within half a crack
// of the primitive, measured along the normal.
bool isConsistent(const Points &points, const Primitive &primitive, int first, int last);

// Replaces runs of two to five spans by the one line, else arc, that is consistent with all their
// points, as long as any is found. The errors of a staircase are no noise: along a line of 0.1
// degrees they keep their sign for hundreds of points, so sums of squares alone break it at every
// step. Soft edges are left as they are.
std::vector<Span> mergeSteps(const Table &table, std::vector<Span> spans);

// Puts a line without points between neighbours that do not meet near their ends: the ends of
// strokes, a few pixels wide, have too few points for spans of their own. It lies across the mean
// direction, through the outermost of the points around.
std::vector<Span> withCaps(const Table &table, const std::vector<Span> &spans);

} // namespace ztrace::fit

#endif
