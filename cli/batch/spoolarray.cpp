// (c) the ztrace developers. Licence: see LICENSE.
#include "spoolarray.h"

#include "cli/failure.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace ztrace {

namespace {

const std::size_t kInMemory = 1 << 20; // bytes

void *mapped(int fd, std::size_t bytes)
{
    const int kind = fd < 0 ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED;
    void *memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, kind, fd, 0);
    if (memory == MAP_FAILED)
        failForRoom(errno);
    return memory;
}

} // namespace

void failForRoom(int error)
{
    throw Failure(
        kFailed,
        std::string("what is to be known of all pictures does not fit into the folder for "
                    "temporary files (see TMPDIR): ")
            + std::strerror(error));
}

Descriptor openTemporary()
{
    const char *const said = std::getenv("TMPDIR");
    std::string name = std::string(said && *said ? said : P_tmpdir) + "/ztrace-"
        + std::string(6, 'X'); // which mkostemp replaces
    Descriptor file(::mkostemp(&name[0], O_CLOEXEC));
    if (!file.isOpen())
        failForRoom(errno);
    ::unlink(name.c_str());
    return file;
}

SpoolBytes::~SpoolBytes()
{
    if (memory)
        ::munmap(memory, size);
}

void *SpoolBytes::reserve(std::size_t bytes)
{
    if (bytes <= size)
        return memory;
    if (bytes > kInMemory && !file.isOpen())
        file = openTemporary();
    // A page that is not there when it is written to would end the process.
    const int error
        = file.isOpen() ? ::posix_fallocate(file.get(), 0, static_cast<off_t>(bytes)) : 0;
    if (error != 0)
        failForRoom(error);
    void *larger = mapped(file.isOpen() ? file.get() : -1, bytes);
    const bool wasInMemory = size <= kInMemory;
    if (memory && wasInMemory)
        std::memcpy(larger, memory, size);
    if (memory)
        ::munmap(memory, size);
    memory = larger;
    size = bytes;
    return memory;
}

} // namespace ztrace
