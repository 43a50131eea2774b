// (c) the ztrace developers. Licence: see LICENSE.
//
// The weights of the blur, one kernel a radius.
#ifndef ZTRACE_KERNELS_GAUSSIAN_H
#define ZTRACE_KERNELS_GAUSSIAN_H

namespace ztrace {

enum { kLargestBlurRadius = 5 };

// The 2 * radius + 1 weights from offset -radius to +radius, for a radius of 1 to
// kLargestBlurRadius. They sum to 1 within 0.000002.
const double *gaussianKernel(int radius);

} // namespace ztrace

#endif
