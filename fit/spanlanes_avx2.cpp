// (c) the ztrace developers. Licence: see LICENSE.
#define ZTRACE_SPAN_VECTOR 4
#define ZTRACE_SPAN_KERNELS kSpanAvx2
#include "spanlanes.inc"
