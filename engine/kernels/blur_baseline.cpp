// (c) the ztrace developers. Licence: see LICENSE.
#define ZTRACE_BLUR_KERNELS kBlurBaseline
#include "blur_rows.inc"
