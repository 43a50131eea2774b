// (c) the ztrace developers. Licence: see LICENSE.
#include "output.h"

#include "TextSink.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

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
    // The last bytes wait in a buffer, and commit() does not tell when they cannot be written.
    if (!write(file.get()) || !file->flush())
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
    for (const std::unique_ptr<QSaveFile> &file : files) {
        *fileName = file->fileName();
        if (!file->commit())
            return fail(error, reasonOf(*file));
    }
    streams.clear();
    files.clear();
    return true;
}

bool writeWhole(const QString &fileName, const DeviceWriter &write, QString *error)
{
    OutputFiles output;
    QString name;
    return output.add(fileName, write, error) && output.commit(&name, error);
}

} // namespace ztrace
