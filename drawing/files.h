// (c) the ztrace developers. Licence: see LICENSE.
//
// Files by their descriptors, with every error looked at. Functions that return an error return a
// number of <cerrno>, 0 for none.
#ifndef ZTRACE_DRAWING_FILES_H
#define ZTRACE_DRAWING_FILES_H

#include <QByteArray>
#include <QIODevice>
#include <QString>

#include <sys/stat.h>
#include <sys/types.h>

namespace ztrace {

// Closes its file at the end, where nothing depends on whether that succeeds.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : fd(descriptor) { }
    Descriptor(Descriptor &&other) noexcept : fd(other.fd) { other.fd = -1; }
    Descriptor &operator=(Descriptor &&other) noexcept;
    ~Descriptor();

    int get() const { return fd; }
    bool isOpen() const { return fd >= 0; }

private:
    int fd = -1;
};

// What an output's name stands for.
struct Target
{
    enum Kind { StandardOutput, Stream, File };

    Kind kind = File;
    QByteArray path; // absolute; of a file its own, whatever links lead to it
    bool exists = false;
    struct stat info = {}; // when it exists

    QByteArray folder() const { return path.left(path.lastIndexOf('/') + 1); } // ends with '/'
};

// A device, a pipe or a socket, which take contents as they come. One question to the system, so
// that a file is not taken for one because the second of two fails.
bool isStreamMode(mode_t mode);

// Returns false and says why when nothing can be written there.
bool lookUp(const QString &fileName, Target *target, QString *error);

// A sentence about an error.
QString reasonText(int error);

// Writes everything, to descriptors that do not wait as well.
int writeAll(int fd, const char *data, qint64 size);

// Has the contents be written, without waiting for it: files whose writing has begun together reach
// the disk in one go when each is waited for after that. Says nothing of errors.
void beginToSync(int fd);

// All that is in a file, from its beginning, wherever it was written last. False on errors.
bool readAll(int fd, QByteArray *contents);

// Returns when the contents are on the disk, as far as the file system knows of such a thing.
int syncContents(int fd);

// Returns when the names in a folder are on the disk, as far as the file system knows of such a
// thing. A folder that may be written to and not read cannot be asked, which is no error.
int syncFolder(const QByteArray &folder);

// Opens a file without a name for a target's contents. Leaves it closed, and returns no error,
// where the file system has no such files.
int openUnnamed(const Target &target, Descriptor *file);

// What a new file is created with, before the process's mask: one that replaces another is nobody
// else's until it has the other one's rights.
mode_t modeOfNewFile(const Target &target);

// Owner, group, mode, access control list and extended attributes of a file that is to be replaced,
// as far as that is permitted. A group that cannot be kept gets no more than all others, and then
// no list is kept either, as its entries mean other people.
void keepRights(int fd, const Target &target);

// Takes contents into a file, or without one into memory.
class Spool : public QIODevice
{
public:
    Spool(int descriptor, QByteArray *contents) : fd(descriptor), memory(contents)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

    int failure() const { return error; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 size) override;

private:
    int fd;
    QByteArray *memory;
    int error = 0;
};

} // namespace ztrace

#endif
