// (c) the ztrace developers. Licence: see LICENSE.
//
// The fast blur's inner loops: what the instruction-set builds of blur_rows.inc share. Raw pointers
// only, for the reason that assign_tiles.h gives.
#ifndef ZTRACE_KERNELS_BLUR_ROWS_H
#define ZTRACE_KERNELS_BLUR_ROWS_H

#include <cstddef>

namespace ztrace {

enum { kMostTaps = 11 };

// Weighted samples of one line of output: out[i] = floor(sum of tap[k][i] * weight[k] / weightSum).
// The sum is taken in the order of the taps, which is the order of the result's contract.
struct TapRow
{
    const signed char *tap[kMostTaps];
    double weight[kMostTaps];
    int taps;         // at least 1
    double weightSum; // of the weights, in their order, from 0.0
};

struct BlurKernels
{
    // count samples of the line.
    void (*weighRow)(const TapRow &row, signed char *out, size_t count);
    // Copies those pixels (4 bytes each) of `blurred` to `out` whose change is at most limit.
    void (*keepSmallChanges)(const signed char *blurred, signed char *out, size_t pixels,
                             int limit);
};

extern const BlurKernels kBlurBaseline;
#ifdef ZTRACE_HAVE_AVX2
extern const BlurKernels kBlurAvx2;
#endif

} // namespace ztrace

#endif
