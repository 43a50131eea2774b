// (c) the ztrace developers. Licence: see LICENSE.
#include "output.h"

#include "TextSink.h"
#include "signals.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

#include <unistd.h>

namespace ztrace {

namespace {

const char kStandardOutput[] = "-";

bool fail(QString *error, const QString &text)
{
    *error = text;
    return false;
}

QString reasonOf(const QFileDevice &file)
{
    const QString text = file.errorString();
    return text.isEmpty() || text == QLatin1String("Unknown error")
        ? QString::fromLatin1("it could not be written")
        : text;
}

bool isStream(const QString &fileName)
{
    const QFileInfo info(fileName);
    return fileName == QLatin1String(kStandardOutput) || (info.exists() && !info.isFile());
}

bool send(const QString &fileName, const QByteArray &contents, QString *error)
{
    QFile stream(fileName);
    const bool open = fileName == QLatin1String(kStandardOutput)
        ? stream.open(stdout, QIODevice::WriteOnly)
        : stream.open(QIODevice::WriteOnly);
    if (!open || !writeFully(&stream, contents) || !stream.flush())
        return fail(error, reasonOf(stream));
    return true;
}

// What a name stood for before it is given to a new file: another link to the old file, or nothing.
class OldFile
{
public:
    explicit OldFile(const QString &fileName)
        : name(QFile::encodeName(QFileInfo(fileName).canonicalFilePath()))
    {
        existed = !name.isEmpty();
        if (!existed) {
            const QFileInfo file(
                fileName); // maybe a link to nothing, which the new file will be at
            name = QFile::encodeName(file.isSymLink() ? file.symLinkTarget() : fileName);
            return;
        }
        link = name + ".old-" + QByteArray::number(static_cast<qint64>(getpid()));
        isKept = ::link(name.constData(), link.constData()) == 0;
    }

    void restore() const
    {
        if (isKept)
            ::rename(link.constData(), name.constData());
        else if (!existed)
            ::unlink(name.constData());
    }

    void forget() const
    {
        if (isKept)
            ::unlink(link.constData());
    }

private:
    QByteArray name;
    QByteArray link;
    bool existed = false;
    bool isKept = false; // not every file system has links
};

} // namespace

bool OutputFiles::add(const QString &fileName, const DeviceWriter &write, QString *error)
{
    if (fileName != QLatin1String(kStandardOutput) && QFileInfo(fileName).isDir())
        return fail(error, QString::fromLatin1("it is a folder"));
    if (isStream(fileName))
        return addStream(fileName, write, error);
    std::unique_ptr<QSaveFile> file(new QSaveFile(fileName));
    if (!file->open(QIODevice::WriteOnly))
        return fail(error, reasonOf(*file));
    // The last bytes wait in a buffer, and commit() does not tell when they cannot be written. Only
    // a second attempt says why a part of them was.
    if (!write(file.get()) || (!file->flush() && !file->flush()))
        return fail(error, reasonOf(*file));
    files.push_back(std::move(file));
    return true;
}

// Streams cannot be taken back, so they get nothing before all writers have succeeded.
bool OutputFiles::addStream(const QString &fileName, const DeviceWriter &write, QString *error)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!write(&buffer))
        return fail(error, QString::fromLatin1("the drawing could not be put together"));
    streams.push_back({ fileName, buffer.data() });
    return true;
}

bool OutputFiles::commit(QString *fileName, QString *error)
{
    for (const Stream &stream : streams) {
        *fileName = stream.name;
        if (!send(stream.name, stream.contents, error))
            return false;
    }
    streams.clear();
    const Uninterrupted guard;
    const bool renamed = rename(fileName, error);
    files.clear();
    return renamed;
}

bool OutputFiles::rename(QString *fileName, QString *error)
{
    std::vector<OldFile> old;
    for (const std::unique_ptr<QSaveFile> &file : files) {
        *fileName = file->fileName();
        old.emplace_back(file->fileName());
        if (file->commit())
            continue;
        *error = reasonOf(*file);
        old.back().forget();
        old.pop_back();
        for (const OldFile &before : old)
            before.restore();
        return false;
    }
    for (const OldFile &before : old)
        before.forget();
    return true;
}

bool writeWhole(const QString &fileName, const DeviceWriter &write, QString *error)
{
    OutputFiles output;
    QString name;
    return output.add(fileName, write, error) && output.commit(&name, error);
}

} // namespace ztrace
