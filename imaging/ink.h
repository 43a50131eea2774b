// (c) the ztrace developers. Licence: see LICENSE.
//
// Ink and paper by a threshold, on the grid of the pixels or on a finer one.
#ifndef ZTRACE_IMAGING_INK_H
#define ZTRACE_IMAGING_INK_H

#include "GreyPicture.h"
#include "tones.h"
#include "tracing/runs.h"

namespace ztrace {

// Labels. What is at most as light as the threshold is ink, by the engine's own rule.
const uint16_t kInkLabel = 0;
const uint16_t kPaperLabel = 1;

Runs inkRuns(const GreyPicture &page, int threshold);

// Whether many pixels beside a border of ink have a lightness between those of ink and paper, so
// that it runs between the pixels. `counts` are the page's.
bool hasSoftInk(const GreyPicture &page, const Histogram &counts, int threshold);

// The same on a grid `factor` times as fine: a part of a pixel on a border is ink or paper by the
// lightness interpolated there (a cubic through the pixels; E. Catmull and R. Rom, 1974), of all
// others by the pixel's. Throws std::length_error for more than kMostPlanePixels.
Runs fineInkRuns(const GreyPicture &page, int threshold, int factor);

} // namespace ztrace

#endif
