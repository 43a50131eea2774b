// (c) the ztrace developers. Licence: see LICENSE.
//
// Preloaded into a program: a clock that jumps, a slow disk that is full for a while, and sudden
// ends.
//
//   DISASTER_CLOCK  set: the time of day is up to a day off, anew with every question
//   DISASTER_FULL   while there is a file of this name, nothing can be written to files
//   DISASTER_SYNC   set to N: from the N-th time, result lines do not get to the disk
//   DISASTER_TORN   set to N: of the N-th result lines half are written, and then none any more
//   DISASTER_CASE   set: a file whose name is a hidden one in upper case letters is there
//   DISASTER_SLOW   set: to write to a file takes 5 ms, on fast machines too
//   DISASTER_END    who opens a TIFF while there is this file, or this one with 2 behind its name,
//                   takes that away and is ended as by the kernel
//   DISASTER_OPEN   set: sockets cannot be closed
//   DISASTER_DEAF   set to N: the run's N-th look at what a worker says fails
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

namespace {

const long kDay = 86400;
const useconds_t kSlow = 5000; // microseconds

// Not the program's generator, whose numbers are part of its results.
long offset()
{
    static unsigned long state = 88172645463325252UL;
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return static_cast<long>(state % static_cast<unsigned long>(2 * kDay)) - kDay;
}

bool isFile(int fd)
{
    struct stat info;
    return ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

bool isFull(int fd)
{
    static const char *const name = std::getenv("DISASTER_FULL");
    return name && ::access(name, F_OK) == 0 && isFile(fd);
}

bool isOfResults(int fd)
{
    char name[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t size = ::readlink(link.c_str(), name, sizeof name);
    return size > 0
        && std::string(name, static_cast<std::size_t>(size)).find("/ztrace-results")
        != std::string::npos;
}

// Counts what happens to result lines: how often beyond the number in the variable; 0: not yet.
int beyond(const char *variable, int fd, int *count)
{
    const char *const which = std::getenv(variable);
    return which && isOfResults(fd) ? std::max(0, ++*count - std::atoi(which) + 1) : 0;
}

void endAt(const std::string &opened)
{
    const char *const name = std::getenv("DISASTER_END");
    if (!name || opened.size() < 4 || opened.substr(opened.size() - 4) != ".tif")
        return;
    if (::unlink(name) == 0 || ::unlink((std::string(name) + '2').c_str()) == 0)
        ::kill(::getpid(), SIGKILL);
}

} // namespace

extern "C" int open(const char *name, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    endAt(name);
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, name, flags, mode));
}

// Of a folder that does not tell upper and lower case letters apart.
extern "C" int access(const char *name, int mode)
{
    const std::string path(name);
    const std::size_t slash = path.rfind("/.Z");
    if (std::getenv("DISASTER_CASE") && slash != std::string::npos)
        return 0;
    return static_cast<int>(::syscall(SYS_faccessat, AT_FDCWD, name, mode));
}

extern "C" int close(int fd)
{
    struct stat info;
    if (std::getenv("DISASTER_OPEN") && ::fstat(fd, &info) == 0 && S_ISSOCK(info.st_mode)) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_close, fd));
}

extern "C" ssize_t recv(int fd, void *data, size_t size, int flags)
{
    static const char *const which = std::getenv("DISASTER_DEAF");
    static int looks = 0;
    const bool isWorker = fd == 3;
    if (which && !isWorker && ++looks == std::atoi(which)) {
        errno = ENOMEM;
        return -1;
    }
    return ::syscall(SYS_recvfrom, fd, data, size, flags, nullptr, nullptr);
}

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

extern "C" int fdatasync(int fd)
{
    static int syncs = 0;
    if (beyond("DISASTER_SYNC", fd, &syncs) > 0) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fdatasync, fd));
}

extern "C" ssize_t write(int fd, const void *data, size_t size)
{
    if (isFull(fd)) {
        errno = ENOSPC;
        return -1;
    }
    static int writes = 0;
    const int torn = beyond("DISASTER_TORN", fd, &writes);
    if (torn > 0) {
        errno = EIO;
        return torn == 1 ? ::syscall(SYS_write, fd, data, size / 2) : -1;
    }
    if (std::getenv("DISASTER_SLOW") && isFile(fd))
        ::usleep(kSlow);
    return ::syscall(SYS_write, fd, data, size);
}
