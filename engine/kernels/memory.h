// (c) the ztrace developers. Licence: see LICENSE.
//
// Large blocks of memory.
#ifndef ZTRACE_KERNELS_MEMORY_H
#define ZTRACE_KERNELS_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ztrace {

// Asks the system to back the whole pages inside a block by huge ones, before it is first written
// to: a large image is otherwise touched page fault by page fault (a third of the time that a scan
// takes). A hint: it changes no contents and may do nothing.
void preferHugePages(void *block, size_t bytes);

struct FreeBlock
{
    void operator()(void *block) const;
};

typedef std::unique_ptr<void, FreeBlock> Block;

// Memory of zeros. Throws std::bad_alloc when it cannot be had.
Block zeroedBlock(size_t bytes);

} // namespace ztrace

#endif
