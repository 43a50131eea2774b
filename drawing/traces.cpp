// (c) the ztrace developers. Licence: see LICENSE.
#include "traces.h"

#include "files.h"

#include <QByteArrayList>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

const char kPrefix[] = ".ztrace-";
const int kLengthOfPrefix = sizeof kPrefix - 1;
const int kDigitsOfRun = 16;
const char kFirstLine[] = "ztrace record 1";
const char kLastLine[] = "end";
const qint64 kLargestRecord = 1 << 24; // bytes; some 100,000 outputs

bool isThere(const QByteArray &path, struct stat *info)
{
    return ::lstat(path.constData(), info) == 0;
}

bool isGone(const QByteArray &path)
{
    return ::unlink(path.constData()) == 0 || errno == ENOENT;
}

QByteArray folderOf(const QByteArray &path)
{
    return path.left(path.lastIndexOf('/') + 1);
}

bool undoOne(const Naming &name)
{
    struct stat now;
    struct stat old;
    const bool taken = isThere(name.target, &now);
    if (!taken && errno != ENOENT)
        return false;
    // Something else that has come there since is not ours to replace.
    const bool isNew = taken && now.st_ino == name.inode;
    if (isThere(name.old, &old))
        return (taken && !isNew) || ::rename(name.old.constData(), name.target.constData()) == 0;
    return errno == ENOENT && (!isNew || name.existed || isGone(name.target));
}

// A killed run's file: this user's, and locked by nobody. The lock is this process's then.
bool takeOver(const QByteArray &path, Descriptor *file)
{
    Descriptor opened(::open(path.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat info;
    if (!opened.isOpen() || ::flock(opened.get(), LOCK_EX | LOCK_NB) != 0
        || ::fstat(opened.get(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != ::geteuid()
        || info.st_nlink == 0)
        return false;
    *file = std::move(opened);
    return true;
}

QByteArray contentsOf(int fd)
{
    struct stat info;
    if (::fstat(fd, &info) != 0 || info.st_size > kLargestRecord)
        return QByteArray();
    QByteArray text(static_cast<int>(info.st_size), '\0');
    int size = 0;
    while (size < text.size()) {
        const ssize_t got
            = ::read(fd, text.data() + size, static_cast<std::size_t>(text.size() - size));
        if (got == 0 || (got < 0 && errno != EINTR))
            break;
        size += got > 0 ? static_cast<int>(got) : 0;
    }
    return text.left(size);
}

// Empty when the record was not finished: the run has replaced nothing then.
std::vector<Naming> readRecord(const QByteArray &text, const QByteArray &folder,
                               const QByteArray &run)
{
    std::vector<Naming> names;
    const QByteArrayList lines = text.split('\n');
    if (lines.size() < 3 || lines.first() != kFirstLine || lines.at(lines.size() - 2) != kLastLine)
        return names;
    for (int i = 1; i < lines.size() - 2; ++i) {
        const QByteArrayList words = lines.at(i).split(' ');
        if (words.size() != 3)
            return std::vector<Naming>();
        const QByteArray path = QByteArray::fromPercentEncoding(words.at(2));
        names.push_back(namingOf(path.startsWith('/') ? path : folder + path, run, i - 1));
        names.back().existed = words.at(0) == "old";
        names.back().inode = words.at(1).toULongLong();
    }
    return names;
}

void recoverRun(const QByteArray &folder, const QByteArray &run)
{
    Descriptor lock;
    const QByteArray record = recordOf(folder, run);
    if (!takeOver(record, &lock))
        return;
    const std::vector<Naming> names = readRecord(contentsOf(lock.get()), folder, run);
    std::vector<QByteArray> records(1, record);
    for (const Naming &name : names) {
        const QByteArray other = recordOf(folderOf(name.target), run);
        if (std::find(records.begin(), records.end(), other) == records.end())
            records.push_back(other);
    }
    struct stat last;
    const bool isDone = names.empty() || !isThere(names.back().fresh, &last);
    if (isDone || undo(names))
        removeTraces(names, records);
}

// Hidden names in a folder: runs with a record, and new files.
void findTraces(const QByteArray &folder, QByteArrayList *runs, QByteArrayList *files)
{
    DIR *entries = ::opendir(folder.constData());
    if (!entries)
        return;
    while (const dirent *entry = ::readdir(entries)) {
        if (std::strncmp(entry->d_name, kPrefix, kLengthOfPrefix) != 0)
            continue;
        const QByteArray name(entry->d_name);
        const QByteArray run = name.mid(kLengthOfPrefix, kDigitsOfRun);
        if (name.endsWith(".undo"))
            runs->append(run);
        else if (name.endsWith(".new"))
            files->append(name);
    }
    ::closedir(entries);
}

} // namespace

QByteArray numberOfRun()
{
    quint64 number = 0;
    if (::getrandom(&number, sizeof number, 0) != sizeof number)
        number = static_cast<quint64>(::getpid()) << 32 ^ static_cast<quint64>(::time(nullptr));
    return QByteArray::number(number, 16).rightJustified(kDigitsOfRun, '0');
}

Naming namingOf(const QByteArray &target, const QByteArray &run, int index)
{
    Naming name;
    name.target = target;
    const QByteArray hidden = folderOf(target) + kPrefix + run + '-' + QByteArray::number(index);
    name.fresh = hidden + ".new";
    name.old = hidden + ".old";
    return name;
}

QByteArray recordOf(const QByteArray &folder, const QByteArray &run)
{
    return folder + kPrefix + run + ".undo";
}

// Files of the record's own folder have no path, so that the folder may be moved.
QByteArray textOfRecord(const std::vector<Naming> &names, const QByteArray &folder)
{
    QByteArray text = QByteArray(kFirstLine) + '\n';
    for (const Naming &name : names) {
        const QByteArray path
            = folderOf(name.target) == folder ? name.target.mid(folder.size()) : name.target;
        text += (name.existed ? "old " : "none ") + QByteArray::number(quint64(name.inode)) + ' '
            + path.toPercentEncoding("/") + '\n';
    }
    return text + kLastLine + '\n';
}

bool undo(const std::vector<Naming> &names)
{
    bool good = true;
    for (const Naming &name : names)
        good = undoOne(name) && good;
    return good;
}

const QByteArray *removeTraces(const std::vector<Naming> &names,
                               const std::vector<QByteArray> &records)
{
    const QByteArray *rest = nullptr;
    const auto remove = [&rest](const QByteArray &name) {
        if (!isGone(name) && !rest)
            rest = &name;
    };
    for (const Naming &name : names) {
        remove(name.old);
        remove(name.fresh);
    }
    if (rest)
        return rest;
    for (const QByteArray &name : records)
        remove(name);
    return rest;
}

bool recoverFolder(const QByteArray &folder)
{
    QByteArrayList runs;
    QByteArrayList files;
    findTraces(folder, &runs, &files);
    for (const QByteArray &run : runs)
        recoverRun(folder, run);
    for (const QByteArray &name : files) {
        struct stat record;
        Descriptor lock;
        if (!isThere(recordOf(folder, name.mid(kLengthOfPrefix, kDigitsOfRun)), &record)
            && takeOver(folder + name, &lock))
            ::unlink((folder + name).constData());
    }
    return !runs.isEmpty() || !files.isEmpty();
}

} // namespace ztrace
