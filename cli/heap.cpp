// (c) the ztrace developers. Licence: see LICENSE.
//
// A picture's stages take and give back buffers of its size. Touching a fresh page of 4 KB costs as
// much as computing some hundreds of pixels: an eighth to a third of a whole run was spent on that.
#include "heap.h"

#include <cstdlib> // defines __GLIBC__ where it is that

#if defined(__linux__) && defined(__GLIBC__)

#include <cstddef>
#include <cstdint>
#include <limits>

#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace ztrace {

namespace {

// Addresses for the heap, which hold the buffers for a picture of 12 megapixels. What goes beyond
// comes in ordinary pages.
const int kReserved = 512 << 20;
const int kLater = 16 << 20; // bytes at a time that the heap grows by after that
// Larger blocks come from the system and go back to it; the library takes no larger limit.
const int kLargest = 32 << 20;
const std::size_t kProbe = 256 << 10; // more than the heap has before it grows

bool isLimited()
{
    rlimit limit;
    return getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
}

} // namespace

void keepHeap()
{
    if (isLimited())
        return;
    mallopt(M_MMAP_THRESHOLD, kLargest);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_TOP_PAD, kReserved);
    void *const probe = std::malloc(kProbe);
    mallopt(M_TOP_PAD, kLater);
    if (!probe)
        return;
#ifdef MADV_HUGEPAGE
    const std::uintptr_t page = 4096;
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(probe) / page * page;
    const std::uintptr_t end = reinterpret_cast<std::uintptr_t>(sbrk(0));
    // A system without such pages refuses, and nothing is lost. Where the block lies elsewhere than
    // in the heap there is nothing to ask for.
    if (begin < end && end - begin > kProbe && end - begin <= 2 * std::uintptr_t(kReserved))
        (void)madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE);
#endif
    std::free(probe);
}

} // namespace ztrace

#else

void ztrace::keepHeap() { }

#endif
