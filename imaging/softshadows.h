// (c) the ztrace developers. Licence: see LICENSE.
//
// Soft shadows and glows on nothing, in what is drawn in flat colours: docs/imaging/alpha.md.
#ifndef ZTRACE_IMAGING_SOFTSHADOWS_H
#define ZTRACE_IMAGING_SOFTSHADOWS_H

#include <QImage>

#include <cstdint>
#include <vector>

#include "LabelPlane.h"

namespace ztrace {

// Which pixels of an ARGB32 image whose alpha is rounded (alpha.h) are of a soft shadow or a glow:
// alpha that changes gradually over places at least 3 pixels wide. Rows from the top; empty where
// none is. Soft edges of a pixel or two, and glass of one colour, are none.
std::vector<uint8_t> softShadowsIn(const QImage &image);

// Labels of pixels that can be seen through, are not marked and were left clear: they become the
// label of the marked pixel beside them whose alpha is nearest, where that is nearer than clear.
// Between a shadow and what casts it there would be a gap.
void closeGaps(const QImage &image, const std::vector<uint8_t> &marks, LabelPlane *plane);

} // namespace ztrace

#endif
