// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/spanlanes.h"

#include "kernels/cpu.h"

namespace ztrace::fit {

const SpanKernels &spanKernels()
{
#ifdef ZTRACE_HAVE_AVX2
    if (useAvx2())
        return kSpanAvx2;
#endif
    return kSpanBaseline;
}

} // namespace ztrace::fit
