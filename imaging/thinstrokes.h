// (c) the ztrace developers. Licence: see LICENSE.
//
// Labels of thin strokes, which have no flat pixels that labels could spread from: every stroke is
// judged as a whole. The page is docs/imaging/thinstrokes.md.
#ifndef ZTRACE_IMAGING_THINSTROKES_H
#define ZTRACE_IMAGING_THINSTROKES_H

#include <QImage>

#include <cstdint>
#include <vector>

#include "LabelPlane.h"
#include "edges.h"

namespace ztrace {

// Gives those of the `waiting` pixels of an ARGB32 image that are the core of a stroke a label of
// the plane's colours, and marks them as kOfLine. Returns the others, in their order.
std::vector<uint32_t> labelStrokes(const QImage &image, std::vector<uint32_t> waiting,
                                   EdgeMap *edges, LabelPlane *plane);

} // namespace ztrace

#endif
