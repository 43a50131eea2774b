// (c) the ztrace developers. Licence: see LICENSE.
#include "cpu.h"

#include <cstdlib>

namespace ztrace {

namespace {

#ifdef ZTRACE_HAVE_AVX2
bool isForbidden()
{
#ifdef ZTRACE_AVX2_SWITCH
    return std::getenv("ZTRACE_NO_AVX2") != nullptr;
#else
    return false;
#endif
}
#endif

bool detectAvx2()
{
#ifdef ZTRACE_HAVE_AVX2
    return !isForbidden() && __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

} // namespace

bool useAvx2()
{
    static const bool use = detectAvx2();
    return use;
}

} // namespace ztrace
