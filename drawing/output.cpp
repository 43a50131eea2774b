// (c) the ztrace developers. Licence: see LICENSE.
#include "output.h"

#include "namegroup.h"
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

OutputFiles::OutputFiles(CleanFolders known)
    : folders(known ? std::move(known) : std::make_shared<QSet<QByteArray>>())
{ }

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
    if (folders->contains(folder))
        return false;
    folders->insert(folder);
    const Uninterrupted guard;
    return recoverFolder(folder);
}

QByteArray OutputFiles::contentsOf(const QString &fileName) const
{
    for (const auto *list : { &files, &streams }) {
        for (const std::unique_ptr<Contents> &own : *list) {
            if (own->name != fileName)
                continue;
            QByteArray contents = own->bytes;
            if (own->file.isOpen() && !readAll(own->file.get(), &contents))
                return QByteArray();
            return contents;
        }
    }
    return QByteArray();
}

int OutputFiles::syncAll(QString *fileName) const
{
    for (const std::unique_ptr<Contents> &file : files) {
        *fileName = file->name;
        const int number = file->file.isOpen() ? syncContents(file->file.get()) : 0;
        if (number != 0)
            return number;
    }
    return 0;
}

int OutputFiles::sendStreams(QString *fileName)
{
    for (const std::unique_ptr<Contents> &stream : streams) {
        *fileName = stream->name;
        if (const int number = send(stream->name, stream->target, stream->bytes))
            return number;
    }
    streams.clear();
    return 0;
}

bool OutputFiles::commit(QString *fileName, QString *error)
{
    std::vector<Commit> alone(1, { this });
    commitAll(&alone);
    *fileName = alone.front().fileName;
    *error = alone.front().error;
    return alone.front().isGood;
}

void OutputFiles::commitAll(std::vector<Commit> *sets)
{
    // What all of them have written goes to the disk together; each is only then asked for.
    for (const Commit &commit : *sets) {
        for (const std::unique_ptr<Contents> &file : commit.files->files) {
            if (sets->size() > 1 && file->file.isOpen())
                beginToSync(file->file.get());
        }
    }
    std::vector<NamedSet> named;
    std::vector<Commit *> owners;
    for (Commit &commit : *sets) {
        OutputFiles &own = *commit.files;
        int number = own.syncAll(&commit.fileName);
        if (number == 0)
            number = own.sendStreams(&commit.fileName);
        commit.isGood = number == 0 || fail(&commit.error, number);
        NamedSet set;
        for (const std::unique_ptr<Contents> &file : own.files)
            set.files.push_back({ &file->target, file->file.get(), &file->bytes });
        if (commit.isGood && !set.files.empty()) {
            named.push_back(std::move(set));
            owners.push_back(&commit);
        }
    }
    nameSets(&named);
    for (std::size_t i = 0; i < named.size(); ++i)
        owners[i]->isGood = isNamed(named[i], owners[i]);
    for (const Commit &commit : *sets)
        commit.files->files.clear();
}

bool OutputFiles::isNamed(const NamedSet &set, Commit *commit)
{
    if (set.error == 0 && set.remainder.isEmpty())
        return true;
    commit->fileName = commit->files->files[set.error == 0 ? 0 : set.position]->name;
    commit->error = set.error == 0 ? QString::fromLatin1("it is written") : reasonText(set.error);
    if (set.error != 0 && set.isGiven) {
        commit->error += QString::fromLatin1("; it is written, but would not be there yet if the "
                                             "machine failed now");
    }
    if (!set.remainder.isEmpty()) {
        commit->error += QString::fromLatin1("; %1 could not be removed, the next run tries again")
                             .arg(QFile::decodeName(set.remainder));
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
