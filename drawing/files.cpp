// (c) the ztrace developers. Licence: see LICENSE.
#include "files.h"

#include <QFile>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <fcntl.h>
#include <poll.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace ztrace {

namespace {

const char kStandardOutput[] = "-";
const char kAccessList[] = "system.posix_acl_access";
const int kMostAttribute
    = 1 << 16; // bytes of an attribute, and of all names; the system's own limits

QByteArray folderOf(const QByteArray &path)
{
    const int slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : path.left(slash + 1);
}

// The path without symbolic links; empty, with errno, when there is no such file or folder.
QByteArray canonical(const QByteArray &path)
{
    char *resolved = ::realpath(path.constData(), nullptr);
    if (!resolved)
        return QByteArray();
    QByteArray result(resolved);
    std::free(resolved);
    return result;
}

// Where a file that is not there yet will be: at the end of its links, in a folder that is there.
int placeOfNewFile(QByteArray path, QByteArray *place)
{
    const int kMostLinks = 40; // as the system has it
    char link[PATH_MAX];
    for (int i = 0; i < kMostLinks; ++i) {
        const ssize_t length = ::readlink(path.constData(), link, sizeof link);
        if (length < 0) {
            if (errno != ENOENT && errno != EINVAL)
                return errno;
            const QByteArray folder = canonical(folderOf(path));
            if (folder.isEmpty())
                return errno;
            *place = (folder.endsWith('/') ? folder : folder + '/')
                + path.mid(path.lastIndexOf('/') + 1);
            return 0;
        }
        const QByteArray next(link, static_cast<int>(length));
        path = next.startsWith('/') ? next : folderOf(path) + '/' + next;
    }
    return ELOOP;
}

// A protected file is not replaced, and in a sticky folder no file of somebody else, which would
// only be seen when its new contents are there.
int whyNotReplaced(const Target &target)
{
    if (::faccessat(AT_FDCWD, target.path.constData(), W_OK, AT_EACCESS) != 0)
        return errno;
    struct stat folder;
    if (::stat(target.folder().constData(), &folder) != 0)
        return errno;
    const uid_t self = ::geteuid();
    const bool isOthers = self != 0 && target.info.st_uid != self && folder.st_uid != self;
    return isOthers && (folder.st_mode & S_ISVTX) ? EPERM : 0;
}

int lookUpFile(const QByteArray &name, Target *target)
{
    if (::stat(name.constData(), &target->info) == 0) {
        target->exists = true;
        target->path = canonical(name);
        return target->path.isEmpty() ? errno : 0;
    }
    return errno == ENOENT ? placeOfNewFile(name, &target->path) : errno;
}

// The value of an attribute; false where it cannot be had.
bool readAttribute(const char *path, const char *name, QByteArray *value)
{
    const ssize_t size = ::getxattr(path, name, nullptr, 0);
    if (size < 0 || size > kMostAttribute)
        return false;
    value->resize(static_cast<int>(size));
    return ::getxattr(path, name, value->data(), static_cast<std::size_t>(size)) == size;
}

// Attributes of users, and the list of who may do what; what the system keeps for itself
// (capabilities, labels) is not for a file with new contents.
bool isKept(const QByteArray &name)
{
    return name.startsWith("user.") || name == kAccessList;
}

void copyAttributes(const char *from, int to)
{
    QByteArray names(kMostAttribute, '\0');
    const ssize_t size = ::listxattr(from, names.data(), static_cast<std::size_t>(names.size()));
    names.resize(size > 0 ? static_cast<int>(size) : 0);
    for (const QByteArray &name : names.split('\0')) {
        QByteArray value;
        if (isKept(name) && readAttribute(from, name.constData(), &value)) {
            ::fsetxattr(to, name.constData(), value.constData(),
                        static_cast<std::size_t>(value.size()), 0);
        }
    }
}

} // namespace

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept
{
    std::swap(fd, other.fd);
    return *this;
}

Descriptor::~Descriptor()
{
    if (fd >= 0)
        ::close(fd);
}

bool isStreamMode(mode_t mode)
{
    return S_ISCHR(mode) || S_ISBLK(mode) || S_ISFIFO(mode) || S_ISSOCK(mode);
}

QString reasonText(int error)
{
    if (error == ELOOP)
        return QString::fromLatin1("its symbolic links lead in a circle");
    if (error == 0)
        return QString::fromLatin1("the system does not say why");
    return QString::fromLocal8Bit(std::strerror(error));
}

bool lookUp(const QString &fileName, Target *target, QString *error)
{
    if (fileName == QLatin1String(kStandardOutput)) {
        target->kind = Target::StandardOutput;
        return true;
    }
    int failure = lookUpFile(QFile::encodeName(fileName), target);
    if (failure == 0 && target->exists && S_ISDIR(target->info.st_mode)) {
        *error = QString::fromLatin1("it is a folder");
        return false;
    }
    if (failure == 0 && target->exists && isStreamMode(target->info.st_mode)) {
        target->kind = Target::Stream;
        return true;
    }
    if (failure == 0 && target->exists)
        failure = whyNotReplaced(*target);
    if (failure == 0)
        return true;
    *error = reasonText(failure);
    return false;
}

int writeAll(int fd, const char *data, qint64 size)
{
    while (size > 0) {
        const ssize_t taken = ::write(fd, data, static_cast<std::size_t>(size));
        if (taken > 0) {
            data += taken;
            size -= taken;
        } else if (taken == 0) {
            return ENOSPC;
        } else if (errno == EAGAIN) {
            pollfd room = { fd, POLLOUT, 0 };
            if (::poll(&room, 1, -1) < 0 && errno != EINTR)
                return errno;
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

void beginToSync(int fd)
{
    (void)::sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);
}

bool readAll(int fd, QByteArray *contents)
{
    struct stat info;
    if (::fstat(fd, &info) != 0 || info.st_size > std::numeric_limits<int>::max() - 64)
        return false;
    contents->resize(static_cast<int>(info.st_size));
    for (int at = 0; at < contents->size();) {
        const ssize_t got = ::pread(fd, contents->data() + at,
                                    static_cast<std::size_t>(contents->size() - at), at);
        if (got == 0 || (got < 0 && errno != EINTR))
            return false;
        at += got > 0 ? static_cast<int>(got) : 0;
    }
    return true;
}

int syncContents(int fd)
{
    while (::fsync(fd) != 0) {
        if (errno == EINVAL || errno == ENOTSUP)
            break;
        if (errno != EINTR)
            return errno;
    }
    // Network file systems tell of the last errors when a file is closed, which has to be before
    // it gets its name.
    const int second = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (second < 0)
        return errno;
    return ::close(second) == 0 || errno == EINTR ? 0 : errno;
}

int syncFolder(const QByteArray &folder)
{
    const Descriptor names(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!names.isOpen())
        return errno == EACCES ? 0 : errno;
    while (::fsync(names.get()) != 0) {
        if (errno == EINVAL || errno == ENOTSUP)
            return 0;
        if (errno != EINTR)
            return errno;
    }
    return 0;
}

mode_t modeOfNewFile(const Target &target)
{
    return target.exists ? S_IRUSR | S_IWUSR : 0666;
}

int openUnnamed(const Target &target, Descriptor *file)
{
    const int fd = ::open(target.folder().constData(), O_TMPFILE | O_RDWR | O_CLOEXEC,
                          modeOfNewFile(target));
    if (fd >= 0) {
        *file = Descriptor(fd);
        return 0;
    }
    // What file systems, and kernels, that know of no such files say.
    const bool isUnknown
        = errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL || errno == ENOSYS;
    return isUnknown ? 0 : errno;
}

static bool keepOwners(int fd, const struct stat &old)
{
    struct stat own;
    if (::fstat(fd, &own) != 0)
        return false;
    const bool sameOwner = own.st_uid == old.st_uid || ::fchown(fd, old.st_uid, gid_t(-1)) == 0;
    const bool sameGroup = own.st_gid == old.st_gid || ::fchown(fd, uid_t(-1), old.st_gid) == 0;
    // A list that the folder gives its new files would add to the rights.
    ::fremovexattr(fd, kAccessList);
    mode_t mode = old.st_mode & (sameOwner && sameGroup ? 07777 : 0777);
    if (!sameGroup)
        mode = (mode & ~mode_t(S_IRWXG)) | (mode & ((mode & S_IRWXO) << 3));
    if (mode != (own.st_mode & 07777))
        ::fchmod(fd, mode);
    return sameGroup;
}

void keepRights(int fd, const Target &target)
{
    if (keepOwners(fd, target.info))
        copyAttributes(target.path.constData(), fd);
}

qint64 Spool::writeData(const char *data, qint64 size)
{
    if (fd < 0) {
        if (size > std::numeric_limits<int>::max() - memory->size() - 64)
            error = EFBIG;
        else
            memory->append(data, static_cast<int>(size));
    } else if (error == 0) {
        error = writeAll(fd, data, size);
    }
    if (error != 0)
        setErrorString(reasonText(error));
    return error == 0 ? size : -1;
}

} // namespace ztrace
