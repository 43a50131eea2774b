// (c) the ztrace developers. Licence: see LICENSE.
//
// The selective Gaussian blur on flat pixels.
#ifndef ZTRACE_KERNELS_BLUR_H
#define ZTRACE_KERNELS_BLUR_H

namespace ztrace {

// Blurs width * height pixels of 4 signed bytes in place: a horizontal pass, a vertical pass, then
// every pixel whose channels changed by more than `limit` in sum gets its own bytes back.
//
// radius     1 to kLargestBlurRadius
// taps       column 0 and row 0 never take part, not even for their own pixels; a pixel without
//            any tap becomes 0 in all channels (docs/algorithm/blur.md)
// arithmetic per channel: the sum of byte * weight in the order of the taps from 0.0, divided once
//            by the sum of the weights in the same order, floored, low byte
// Throws std::bad_alloc when the row buffers cannot be had.
void blurPixels(signed char *pixels, int width, int height, int radius, int limit);

// The rule, sample by sample.
void blurPlain(signed char *pixels, int width, int height, int radius, int limit);

// The same answer in place, row by row in vector code (blur_rows.inc).
void blurFast(signed char *pixels, int width, int height, int radius, int limit);

} // namespace ztrace

#endif
