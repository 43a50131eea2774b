// (c) the ztrace developers. Licence: see LICENSE.
//
// Numbers, or small structures of numbers, in a file without a name that is mapped into memory:
// what a run has to know of every picture is the system's to keep, and does not count as its
// memory.
#ifndef ZTRACE_CLI_BATCH_SPOOLARRAY_H
#define ZTRACE_CLI_BATCH_SPOOLARRAY_H

#include <cstddef>
#include <type_traits>

#include "drawing/files.h"

namespace ztrace {

// A file without a name in the folder for temporary files (TMPDIR, or /tmp). Throws a Failure.
Descriptor openTemporary();

// Throws the Failure of a folder for temporary files that has no room.
[[noreturn]] void failForRoom(int error);

// Bytes; beyond a million they are in a file. Throws a Failure when there is no room.
class SpoolBytes
{
public:
    SpoolBytes() = default;
    ~SpoolBytes();
    SpoolBytes(const SpoolBytes &) = delete;
    SpoolBytes &operator=(const SpoolBytes &) = delete;

    // At least so many; they stay where they are until there are more.
    void *reserve(std::size_t bytes);

private:
    Descriptor file;
    void *memory = nullptr;
    std::size_t size = 0;
};

template<class T>
class SpoolArray
{
    static_assert(std::is_trivially_copyable<T>::value, "it is stored as bytes");

public:
    void add(const T &value)
    {
        if (count == room) {
            room = room > 0 ? 2 * room : 1024;
            values = static_cast<T *>(bytes.reserve(room * sizeof(T)));
        }
        values[count++] = value;
    }
    void cutTo(std::size_t fewer) { count = fewer; }

    std::size_t size() const { return count; }
    T *begin() { return values; }
    T *end() { return values + count; }
    const T *begin() const { return values; }
    const T *end() const { return values + count; }

private:
    SpoolBytes bytes;
    T *values = nullptr;
    std::size_t count = 0;
    std::size_t room = 0;
};

} // namespace ztrace

#endif
