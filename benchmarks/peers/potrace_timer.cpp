// (c) the ztrace developers. Licence: see LICENSE.
//
// Times potrace's tracing alone: a library that is loaded before potrace's own (LD_PRELOAD) and
// stands in front of its one tracing function, so that start-up, reading the bitmap and writing the
// drawing are left out. Every call prints its processor seconds on stderr, behind "tracing ".
#include <dlfcn.h>

#include <cstdio>
#include <ctime>

namespace {

double processorSeconds()
{
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

} // namespace

extern "C" void *potrace_trace(const void *parameters, const void *bitmap)
{
    typedef void *(*Trace)(const void *, const void *);
    const Trace trace = reinterpret_cast<Trace>(dlsym(RTLD_NEXT, "potrace_trace"));
    if (!trace)
        return nullptr;
    const double start = processorSeconds();
    void *result = trace(parameters, bitmap);
    std::fprintf(stderr, "tracing %.6f\n", processorSeconds() - start);
    return result;
}
