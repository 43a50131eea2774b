// (c) the ztrace developers. Licence: see LICENSE.
//
// A picture's stages take and give back buffers of its size. Touching a fresh page of 4 KB costs as
// much as computing some hundreds of pixels: an eighth to a third of a whole run was spent on that.
#include "heap.h"

#include <cstdlib> // defines __GLIBC__ where it is that
#include <cstring>

#if defined(__linux__) && defined(__GLIBC__)

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>

#include <link.h>
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

} // namespace

bool areAddressesLimited()
{
    rlimit limit;
    return getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
}

void keepHeap()
{
    if (areAddressesLimited())
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

namespace {

const ElfW(Dyn) * findEntry(const ElfW(Dyn) * entries, ElfW(Sxword) tag)
{
    while (entries->d_tag != DT_NULL && entries->d_tag != tag)
        ++entries;
    return entries->d_tag == tag ? entries : nullptr;
}

// Whether all code calls a library all the time: the languages' own. The toolkit's, of which 5
// megabytes are there after its start, are called here and there, and the pages for that come back.
bool isOfLanguage(const char *fileName)
{
    const char *const slash = std::strrchr(fileName, '/');
    const char *const name = slash ? slash + 1 : fileName;
    for (const char *own : { "libc.", "libm.", "libstdc++.", "libgcc_s.", "ld-linux" }) {
        if (std::strncmp(name, own, std::strlen(own)) == 0)
            return true;
    }
    return false;
}

// Whether the loader has written to a library's code, as to what was not made to be shared.
bool hasOwnCode(const dl_phdr_info *info)
{
    for (int k = 0; k < info->dlpi_phnum; ++k) {
        if (info->dlpi_phdr[k].p_type != PT_DYNAMIC)
            continue;
        const auto *entries
            = reinterpret_cast<const ElfW(Dyn) *>(info->dlpi_addr + info->dlpi_phdr[k].p_vaddr);
        const ElfW(Dyn) *const flags = findEntry(entries, DT_FLAGS);
        return findEntry(entries, DT_TEXTREL) || (flags && (flags->d_un.d_val & DF_TEXTREL) != 0);
    }
    return true;
}

int forgetObject(dl_phdr_info *info, std::size_t, void *)
{
    // The program has no name, and what the system maps no path.
    if (!info->dlpi_name || info->dlpi_name[0] != '/' || isOfLanguage(info->dlpi_name)
        || hasOwnCode(info))
        return 0;
    const std::uintptr_t page = std::uintptr_t(sysconf(_SC_PAGESIZE));
    for (int k = 0; k < info->dlpi_phnum; ++k) {
        const auto &part = info->dlpi_phdr[k];
        if (part.p_type != PT_LOAD || (part.p_flags & PF_W) != 0)
            continue;
        // Whole pages of this part alone: the one at its end may be shared with what is written to.
        const std::uintptr_t begin = (info->dlpi_addr + part.p_vaddr + page - 1) / page * page;
        const std::uintptr_t end = (info->dlpi_addr + part.p_vaddr + part.p_memsz) / page * page;
        if (begin < end)
            (void)madvise(reinterpret_cast<void *>(begin), end - begin, MADV_DONTNEED);
    }
    return 0;
}

} // namespace

void forgetCode()
{
    dl_iterate_phdr(forgetObject, nullptr);
}

} // namespace ztrace

#else

bool ztrace::areAddressesLimited()
{
    return false;
}
void ztrace::keepHeap() { }
void ztrace::forgetCode() { }

#endif
