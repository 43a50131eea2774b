// (c) the ztrace developers. Licence: see LICENSE.
#include "output.h"

#include "naming.h"
#include "signals.h"

#include <QFile>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace ztrace {

namespace {

bool fail(QString *error, int number)
{
    *error = reasonText(number);
    return false;
}

int sendTo(int fd, const QByteArray &contents)
{
    const QuietWrites guard;
    if (const int error = writeAll(fd, contents.constData(), contents.size()))
        return error;
    // A reader of a pipe is told of the end when the process ends; a network file system tells of
    // the last errors at once.
    const int second = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (second < 0)
        return errno;
    return ::close(second) == 0 || errno == EINTR ? 0 : errno;
}

int send(const QString &fileName, const Target &target, const QByteArray &contents)
{
    if (target.kind == Target::StandardOutput) {
        errno = 0;
        return std::fflush(stdout) == 0 ? sendTo(STDOUT_FILENO, contents) : errno;
    }
    const QByteArray name = QFile::encodeName(fileName);
    int fd = -1;
    do
        fd = ::open(name.constData(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return errno;
    const Descriptor stream(fd);
    return sendTo(fd, contents);
}

} // namespace

struct OutputFiles::Contents
{
    QString name;
    Target target;
    Descriptor file;  // without a name
    QByteArray bytes; // of streams, and of files that cannot be without a name
};

OutputFiles::OutputFiles() = default;
OutputFiles::~OutputFiles() = default;

bool OutputFiles::add(const QString &fileName, const DeviceWriter &write, QString *error)
{
    std::unique_ptr<Contents> contents(new Contents);
    contents->name = fileName;
    if (!lookUp(fileName, &contents->target, error))
        return false;
    const bool isFile = contents->target.kind == Target::File;
    if (isFile) {
        // What a killed run had put there may be gone then.
        if (recover(contents->target.folder())) {
            contents->target = Target();
            if (!lookUp(fileName, &contents->target, error))
                return false;
        }
        if (const int number = openUnnamed(contents->target, &contents->file))
            return fail(error, number);
    }
    // Streams cannot be taken back, so they get nothing before all writers have succeeded.
    Spool spool(contents->file.get(), &contents->bytes);
    const QuietWrites guard;
    if (!write(&spool) || spool.failure() != 0) {
        *error = spool.failure() != 0
            ? reasonText(spool.failure())
            : QString::fromLatin1("the drawing could not be put together");
        return false;
    }
    if (contents->file.isOpen() && contents->target.exists)
        keepRights(contents->file.get(), contents->target);
    (isFile ? files : streams).push_back(std::move(contents));
    return true;
}

bool OutputFiles::recover(const QByteArray &folder)
{
    if (folders.contains(folder))
        return false;
    folders.insert(folder);
    const Uninterrupted guard;
    return recoverFolder(folder);
}

bool OutputFiles::commit(QString *fileName, QString *error)
{
    for (const std::unique_ptr<Contents> &file : files) {
        *fileName = file->name;
        const int number = file->file.isOpen() ? syncContents(file->file.get()) : 0;
        if (number != 0)
            return fail(error, number);
    }
    for (const std::unique_ptr<Contents> &stream : streams) {
        *fileName = stream->name;
        if (const int number = send(stream->name, stream->target, stream->bytes))
            return fail(error, number);
    }
    streams.clear();
    const bool good = nameFiles(fileName, error);
    files.clear();
    return good;
}

bool OutputFiles::nameFiles(QString *fileName, QString *error)
{
    std::vector<NewFile> contents;
    for (const std::unique_ptr<Contents> &file : files)
        contents.push_back({ &file->target, file->file.get(), &file->bytes });
    if (contents.empty())
        return true;
    NamedTogether names(contents);
    std::size_t position = 0;
    int number = 0;
    {
        const Uninterrupted guard;
        number = names.run(&position);
    }
    if (number == 0 && !names.remainder())
        return true;
    *fileName = files[number == 0 ? 0 : position]->name;
    *error = number == 0 ? QString::fromLatin1("it is written") : reasonText(number);
    if (number != 0 && names.areGiven()) {
        *error += QString::fromLatin1("; it is written, but would not be there yet if the machine"
                                      " failed now");
    }
    if (names.remainder()) {
        *error += QString::fromLatin1("; %1 could not be removed, the next run tries again")
                      .arg(QFile::decodeName(*names.remainder()));
    }
    return false;
}

bool writeWhole(const QString &fileName, const DeviceWriter &write, QString *error)
{
    OutputFiles output;
    QString name;
    return output.add(fileName, write, error) && output.commit(&name, error);
}

} // namespace ztrace
