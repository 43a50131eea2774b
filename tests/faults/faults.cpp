// (c) the ztrace developers. Licence: see LICENSE.
//
// Preloaded into a program, makes one of its calls to the system fail, or ends it there.
//
//   FAULT_KIND     read write fsync fdatasync close rename link unlink stat open alloc thread: such
//   a call
//                  fails; kill: a signal comes in front of any of them but alloc
//   FAULT_AT       which one, from 1
//   FAULT_SIGNAL   kill: its number; SIGKILL when there is none
//   FAULT_LASTING  set: all later ones as well
//   FAULT_FROM     counting starts with the first call about a path that ends with this; "stage":
//                  with the first file that is opened without a name
//   FAULT_UNTIL    counting ends with a path that ends with this
//   FAULT_LEAST    alloc: counts blocks of so many bytes and more
//   FAULT_PORTION  read, write: at most so many bytes at a time
//   FAULT_MARK     a file that is made when a call has failed
//   FAULT_WITHOUT  words of: unnamed (there are no files without a name), links (nor hard links)
//
// What is written to standard error always arrives.
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *old, std::size_t size);
}

namespace {

// Allocations come before anything else is ready, and must not make others: no dynamic
// initialisation here, no environment until main() has begun.
bool isReady;
bool isCounting;
long calls;
const char *kind;
const char *from;
const char *until;
const char *mark;
long at;
int signalNumber;
std::size_t least;
std::size_t portion;
bool isLasting;
bool isWithoutUnnamed;
bool isWithoutLinks;
bool isTold; // messages go somewhere
struct stat messages;

// Standard error as it was at the start, by any descriptor.
bool isOfMessages(int file)
{
    struct stat info;
    return file == STDERR_FILENO
        || (isTold && syscall(SYS_fstat, file, &info) == 0 && info.st_dev == messages.st_dev
            && info.st_ino == messages.st_ino);
}

const char *variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

__attribute__((constructor)) void readEnvironment()
{
    kind = variable("FAULT_KIND");
    from = variable("FAULT_FROM");
    until = variable("FAULT_UNTIL");
    mark = variable("FAULT_MARK");
    at = std::atol(variable("FAULT_AT"));
    signalNumber = std::atoi(variable("FAULT_SIGNAL"));
    least = static_cast<std::size_t>(std::atol(variable("FAULT_LEAST")));
    portion = static_cast<std::size_t>(std::atol(variable("FAULT_PORTION")));
    isLasting = *variable("FAULT_LASTING") != 0;
    isWithoutUnnamed = std::strstr(variable("FAULT_WITHOUT"), "unnamed") != nullptr;
    isWithoutLinks = std::strstr(variable("FAULT_WITHOUT"), "links") != nullptr;
    isCounting = *from == 0;
    isTold = syscall(SYS_fstat, STDERR_FILENO, &messages) == 0;
    isReady = true;
}

void leaveMark()
{
    const long file = syscall(SYS_openat, AT_FDCWD, mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (file >= 0)
        syscall(SYS_close, file);
}

bool isTurn(const char *call)
{
    const bool isKill = std::strcmp(kind, "kill") == 0;
    if (!isCounting || (std::strcmp(kind, call) != 0 && !(isKill && std::strcmp(call, "alloc"))))
        return false;
    ++calls;
    if (calls != at && !(isLasting && calls > at))
        return false;
    leaveMark();
    if (isKill)
        syscall(SYS_kill, getpid(), signalNumber ? signalNumber : SIGKILL);
    return !isKill;
}

// Whether this call is to fail; its error is set then.
bool fails(const char *call, int error)
{
    if (!isReady || !isTurn(call))
        return false;
    errno = error;
    return true;
}

bool endsWith(const char *path, const char *end)
{
    const std::size_t length = std::strlen(path);
    const std::size_t wanted = std::strlen(end);
    return wanted > 0 && length >= wanted && std::strcmp(path + length - wanted, end) == 0;
}

void look(const char *path)
{
    if (!isReady || !path)
        return;
    if (isCounting)
        isCounting = !endsWith(path, until);
    else
        isCounting = endsWith(path, from);
}

std::size_t part(std::size_t size)
{
    return isCounting && portion > 0 && size > portion ? portion : size;
}

template<class Function>
Function *next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

int openFile(int folder, const char *path, int flags, mode_t mode)
{
    const bool isUnnamed = (flags & O_TMPFILE) == O_TMPFILE;
    if (isReady && isUnnamed && std::strcmp(from, "stage") == 0)
        isCounting = true;
    look(path);
    if (fails("open", EMFILE))
        return -1;
    if (isUnnamed && isWithoutUnnamed) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

mode_t modeOf(int flags, va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

#define FAULT_OPEN(name)                                                                           \
    int name(const char *path, int flags, ...)                                                     \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return openFile(AT_FDCWD, path, flags, mode);                                              \
    }
FAULT_OPEN(open)
FAULT_OPEN(open64)

#define FAULT_OPENAT(name)                                                                         \
    int name(int folder, const char *path, int flags, ...)                                         \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return openFile(folder, path, flags, mode);                                                \
    }
FAULT_OPENAT(openat)
FAULT_OPENAT(openat64)

#define FAULT_STAT(name, type)                                                                     \
    int name(const char *path, type *info)                                                         \
    {                                                                                              \
        look(path);                                                                                \
        return fails("stat", EIO) ? -1 : next<int(const char *, type *)>(#name)(path, info);       \
    }
FAULT_STAT(stat, struct stat)
FAULT_STAT(stat64, struct stat64)
FAULT_STAT(lstat, struct stat)
FAULT_STAT(lstat64, struct stat64)

#define FAULT_FSTAT(name, type)                                                                    \
    int name(int file, type *info)                                                                 \
    {                                                                                              \
        return fails("stat", EIO) ? -1 : next<int(int, type *)>(#name)(file, info);                \
    }
FAULT_FSTAT(fstat, struct stat)
FAULT_FSTAT(fstat64, struct stat64)

int statx(int folder, const char *path, int flags, unsigned mask, struct statx *info)
{
    look(path);
    return fails("stat", EIO)
        ? -1
        : static_cast<int>(syscall(SYS_statx, folder, path, flags, mask, info));
}

ssize_t read(int file, void *data, std::size_t size)
{
    return fails("read", EIO) ? -1 : syscall(SYS_read, file, data, part(size));
}

ssize_t write(int file, const void *data, std::size_t size)
{
    return !isOfMessages(file) && fails("write", ENOSPC)
        ? -1
        : syscall(SYS_write, file, data, part(size));
}

int fsync(int file)
{
    return fails("fsync", EIO) ? -1 : static_cast<int>(syscall(SYS_fsync, file));
}

int fdatasync(int file)
{
    return fails("fdatasync", EIO) ? -1 : static_cast<int>(syscall(SYS_fdatasync, file));
}

// The descriptor is closed even so, as the system has it.
int close(int file)
{
    const bool failed = fails("close", EIO);
    const int result = static_cast<int>(syscall(SYS_close, file));
    if (failed)
        errno = EIO;
    return failed ? -1 : result;
}

int rename(const char *from_, const char *to)
{
    return fails("rename", EIO)
        ? -1
        : static_cast<int>(syscall(SYS_renameat, AT_FDCWD, from_, AT_FDCWD, to));
}

int linkat(int folder, const char *from_, int otherFolder, const char *to, int flags)
{
    if (fails("link", EIO))
        return -1;
    if (isWithoutLinks) {
        errno = EPERM;
        return -1;
    }
    return static_cast<int>(syscall(SYS_linkat, folder, from_, otherFolder, to, flags));
}

int link(const char *from_, const char *to)
{
    return linkat(AT_FDCWD, from_, AT_FDCWD, to, 0);
}

int unlink(const char *path)
{
    return fails("unlink", EIO) ? -1 : static_cast<int>(syscall(SYS_unlink, path));
}

int pthread_create(pthread_t *thread, const pthread_attr_t *how, void *(*run)(void *), void *with)
{
    static const auto real
        = reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
    return std::strcmp(kind, "thread") == 0 && fails("thread", EAGAIN)
        ? EAGAIN
        : real(thread, how, run, with);
}

void *malloc(std::size_t size)
{
    return size >= least && fails("alloc", ENOMEM) ? nullptr : __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size)
{
    return count * size >= least && fails("alloc", ENOMEM) ? nullptr : __libc_calloc(count, size);
}

void *realloc(void *old, std::size_t size)
{
    return size >= least && fails("alloc", ENOMEM) ? nullptr : __libc_realloc(old, size);
}

} // extern "C"
