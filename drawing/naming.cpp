// (c) the ztrace developers. Licence: see LICENSE.
#include "naming.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace ztrace {

namespace {

// Errors that only say that there are no links here, or no other name of an open file.
bool hasNoLinks(int error)
{
    return error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == EINVAL
        || error == EXDEV || error == EMLINK || error == ENOENT;
}

int copyContents(int from, int to)
{
    char portion[1 << 16];
    for (off_t place = 0;;) {
        const ssize_t got = ::pread(from, portion, sizeof portion, place);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0 ? 0 : errno;
        if (const int error = writeAll(to, portion, got))
            return error;
        place += got;
    }
}

// A new file of this name, locked before anybody can take it for one of a killed run.
int createLocked(const QByteArray &name, mode_t mode, Descriptor *file)
{
    for (;;) {
        Descriptor made(
            ::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
        if (!made.isOpen())
            return errno;
        ::flock(made.get(), LOCK_EX);
        struct stat now;
        const int error = ::fstat(made.get(), &now) == 0 ? 0 : errno;
        if (error == 0 && now.st_nlink == 0)
            continue; // somebody has, in that moment
        *file = std::move(made);
        return error;
    }
}

} // namespace

NamedTogether::NamedTogether(const std::vector<NewFile> &newFiles) : files(newFiles)
{
    const QByteArray run = numberOfRun();
    for (std::size_t i = 0; i < files.size(); ++i) {
        names.push_back(namingOf(files[i].target->path, run, static_cast<int>(i)));
        const QByteArray name = recordOf(files[i].target->folder(), run);
        if (files.size() > 1 && std::find(records.begin(), records.end(), name) == records.end())
            records.push_back(name);
    }
    made.reserve(files.size());
    recordFiles.reserve(records.size());
}

NamedTogether::~NamedTogether()
{
    clear();
}

int NamedTogether::prepare(std::size_t *position)
{
    begun = true;
    for (*position = 0; *position < files.size(); ++*position) {
        if (const int error = linkNew(*position)) {
            clear();
            return error;
        }
    }
    *position = 0;
    const int error = record();
    if (error != 0)
        clear();
    return error;
}

int NamedTogether::give(std::size_t *position)
{
    for (*position = 0; *position < files.size(); ++*position) {
        if (const int error = giveOne(*position)) {
            clear();
            return error;
        }
    }
    begun = false;
    *position = 0;
    return 0;
}

void NamedTogether::finish()
{
    rest = removeTraces(names, records);
}

void NamedTogether::clear()
{
    if (!begun)
        return;
    begun = false;
    if (undo(names)) {
        rest = removeTraces(names, records);
        return;
    }
    const auto isKept
        = [](const Naming &name) { return ::access(name.old.constData(), F_OK) == 0; };
    const auto kept = std::find_if(names.begin(), names.end(), isKept);
    rest = kept == names.end() ? &names.front().old : &kept->old;
}

int NamedTogether::linkNew(std::size_t index)
{
    const NewFile &file = files[index];
    if (file.fd < 0)
        return makeNew(index);
    ::flock(file.fd, LOCK_EX | LOCK_NB); // where there are no locks, nobody recovers either
    char own[32];
    std::snprintf(own, sizeof own, "/proc/self/fd/%d", file.fd);
    if (::linkat(AT_FDCWD, own, AT_FDCWD, names[index].fresh.constData(), AT_SYMLINK_FOLLOW) != 0)
        return hasNoLinks(errno) ? makeNew(index) : errno;
    struct stat info;
    if (::fstat(file.fd, &info) != 0)
        return errno;
    names[index].inode = info.st_ino;
    return 0;
}

// The new file under its hidden name where it could not be had without one.
int NamedTogether::makeNew(std::size_t index)
{
    const NewFile &file = files[index];
    Descriptor fresh;
    int error = createLocked(names[index].fresh, modeOfNewFile(*file.target), &fresh);
    if (error != 0)
        return error;
    if (file.target->exists)
        keepRights(fresh.get(), *file.target);
    error = file.fd < 0 ? writeAll(fresh.get(), file.bytes->constData(), file.bytes->size())
                        : copyContents(file.fd, fresh.get());
    if (error == 0)
        error = syncContents(fresh.get());
    struct stat info;
    if (error == 0 && ::fstat(fresh.get(), &info) != 0)
        error = errno;
    names[index].inode = error == 0 ? info.st_ino : 0;
    made.push_back(std::move(fresh));
    return error;
}

int NamedTogether::record()
{
    for (Naming &name : names) {
        name.existed = ::access(name.target.constData(), F_OK) == 0;
        if (!name.existed && errno != ENOENT)
            return errno;
    }
    for (const QByteArray &name : records) {
        Descriptor file;
        int error = createLocked(name, S_IRUSR | S_IWUSR, &file);
        if (error != 0)
            return error;
        const QByteArray text = textOfRecord(names, name.left(name.lastIndexOf('/') + 1));
        error = writeAll(file.get(), text.constData(), text.size());
        if (error != 0)
            return error;
        recordFiles.push_back(std::move(file));
    }
    return 0;
}

int NamedTogether::syncRecords() const
{
    for (const Descriptor &file : recordFiles) {
        if (const int error = syncContents(file.get()))
            return error;
    }
    return 0;
}

std::vector<QByteArray> NamedTogether::folders() const
{
    std::vector<QByteArray> found;
    for (const NewFile &file : files) {
        const QByteArray folder = file.target->folder();
        if (std::find(found.begin(), found.end(), folder) == found.end())
            found.push_back(folder);
    }
    return found;
}

int NamedTogether::giveOne(std::size_t index)
{
    const Naming &name = names[index];
    const bool isLast = index + 1 == names.size(); // nothing comes after it that could fail
    if (!isLast && name.existed && ::link(name.target.constData(), name.old.constData()) != 0) {
        if (!hasNoLinks(errno))
            return errno;
        // Without links the name is nobody's for a moment.
        if (::rename(name.target.constData(), name.old.constData()) != 0)
            return errno;
    }
    return ::rename(name.fresh.constData(), name.target.constData()) == 0 ? 0 : errno;
}

} // namespace ztrace
