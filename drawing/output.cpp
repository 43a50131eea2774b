// (c) the ztrace developers. Licence: see LICENSE.
#include "output.h"

#include "TextSink.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>

namespace ztrace {

namespace {

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

// Streams cannot be taken back, so they get nothing before the writer has succeeded.
bool writeStream(QFile *stream, const std::function<bool(QIODevice *)> &write, QString *error)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!write(&buffer))
        return fail(error, QString::fromLatin1("the drawing could not be put together"));
    if (!writeFully(stream, buffer.data()) || !stream->flush())
        return fail(error, reasonOf(*stream));
    return true;
}

} // namespace

bool writeWhole(const QString &fileName, const std::function<bool(QIODevice *)> &write,
                QString *error)
{
    if (fileName == QLatin1String("-")) {
        QFile stream;
        if (!stream.open(stdout, QIODevice::WriteOnly))
            return fail(error, reasonOf(stream));
        return writeStream(&stream, write, error);
    }
    const QFileInfo info(fileName);
    if (info.isDir())
        return fail(error, QString::fromLatin1("it is a folder"));
    if (info.exists() && !info.isFile()) {
        QFile stream(fileName);
        if (!stream.open(QIODevice::WriteOnly))
            return fail(error, reasonOf(stream));
        return writeStream(&stream, write, error);
    }
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        return fail(error, reasonOf(file));
    // The last bytes wait in a buffer, and commit() does not tell when they cannot be written.
    if (!write(&file) || !file.flush()) {
        const QString reason = reasonOf(file);
        file.cancelWriting();
        return fail(error, reason);
    }
    if (!file.commit())
        return fail(error, reasonOf(file));
    return true;
}

} // namespace ztrace
