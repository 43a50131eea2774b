// (c) the ztrace developers. Licence: see LICENSE.
#define ZTRACE_BLUR_KERNELS kBlurAvx2
#include "blur_rows.inc"
