// (c) the ztrace developers. Licence: see LICENSE.
#include "memory.h"

#include <cstdlib>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace ztrace {

namespace {

const size_t kHugePage = size_t(2) << 20;
const size_t kWorthwhile = 2 * kHugePage;

} // namespace

void preferHugePages(void *block, size_t bytes)
{
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (bytes < kWorthwhile)
        return;
    const size_t page = 4096;
    const uintptr_t start = (reinterpret_cast<uintptr_t>(block) + page - 1) / page * page;
    const uintptr_t end = (reinterpret_cast<uintptr_t>(block) + bytes) / page * page;
    // A system without huge pages refuses, and nothing is lost.
    (void)madvise(reinterpret_cast<void *>(start), end - start, MADV_HUGEPAGE);
#else
    (void)block;
    (void)bytes;
#endif
}

void FreeBlock::operator()(void *block) const
{
    std::free(block);
}

Block zeroedBlock(size_t bytes)
{
    // A block of this size comes fresh from the system, so nothing of it is touched yet.
    Block block(std::calloc(bytes, 1));
    if (!block)
        throw std::bad_alloc();
    preferHugePages(block.get(), bytes);
    return block;
}

} // namespace ztrace
