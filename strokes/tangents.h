// (c) the ztrace developers. Licence: see LICENSE.
//
// Arcs that go on as lines: rounded corners, slots.
#ifndef ZTRACE_STROKES_TANGENTS_H
#define ZTRACE_STROKES_TANGENTS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Fits arcs anew that a line goes on from at one end or both: least squares of the distances of
// their cross-sections, and of what the circle misses the lines by where these are known well
// enough to be its tangents. A short arc tells its radius by a sagitta of a few pixels; steps of
// one bit are a good part of that, and a long line is known better. Which cross-sections are the
// arc's follows from the feet of its centre on the lines. Arcs that are no tangents keep their
// circle.
void settleTangents(const Measure &measure, Web *web);

} // namespace ztrace::strokes

#endif
