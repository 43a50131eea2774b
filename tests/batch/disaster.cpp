// (c) the ztrace developers. Licence: see LICENSE.
//
// Preloaded into a program: a clock that jumps, and a disk that is full for a while.
//
//   DISASTER_CLOCK  set: the time of day is up to a day off, anew with every question
//   DISASTER_FULL   while there is a file of this name, nothing can be written to files
#include <cerrno>
#include <cstdlib>

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

namespace {

const long kDay = 86400;

// Not the program's generator, whose numbers are part of its results.
long offset()
{
    static unsigned long state = 88172645463325252UL;
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return static_cast<long>(state % static_cast<unsigned long>(2 * kDay)) - kDay;
}

bool isFull(int fd)
{
    static const char *const name = std::getenv("DISASTER_FULL");
    struct stat info;
    return name && ::access(name, F_OK) == 0 && ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec *time)
{
    const long result = ::syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && clock == CLOCK_REALTIME && std::getenv("DISASTER_CLOCK"))
        time->tv_sec += offset();
    return static_cast<int>(result);
}

extern "C" int gettimeofday(timeval *time, void *)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return 0;
}

extern "C" time_t time(time_t *to)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (to)
        *to = now.tv_sec;
    return now.tv_sec;
}

extern "C" ssize_t write(int fd, const void *data, size_t size)
{
    if (isFull(fd)) {
        errno = ENOSPC;
        return -1;
    }
    return ::syscall(SYS_write, fd, data, size);
}
