// (c) the ztrace developers. Licence: see LICENSE.
#define ZTRACE_SPAN_VECTOR 2
#define ZTRACE_SPAN_KERNELS kSpanBaseline
#include "spanlanes.inc"
