// (c) the ztrace developers. Licence: see LICENSE.
//
// Which instruction set the fast kernels run with. Every choice gives the same results.
#ifndef ZTRACE_KERNELS_CPU_H
#define ZTRACE_KERNELS_CPU_H

namespace ztrace {

// True when this build has kernels for AVX2 and the machine runs them. False in a build with
// ZTRACE_PLAIN_KERNELS. Builds with tests or benchmarks also ask the environment variable
// ZTRACE_NO_AVX2, at the first call; the product reads no environment.
bool useAvx2();

} // namespace ztrace

#endif
