// (c) the ztrace developers. Licence: see LICENSE.
//
// How much memory the process has allocated, for tests that look for growth.
#ifndef ZTRACE_TESTS_HEAP_H
#define ZTRACE_TESTS_HEAP_H

#include <cstddef>
#include <malloc.h>

#if defined(__SANITIZE_ADDRESS__)
// Not every compiler ships the header that declares it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace tests {

// Bytes in blocks that are allocated and not freed; memory kept for reuse does not count.
inline size_t allocatedBytes()
{
#if defined(__SANITIZE_ADDRESS__)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

} // namespace tests

#endif
