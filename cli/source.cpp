// (c) the ztrace developers. Licence: see LICENSE.
#include "source.h"

#include "failure.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace ztrace
{

namespace
{

    [[noreturn]] void fail(const std::string &name, const std::string &reason)
    {
        throw Failure(kInputUnreadable, name + ": " + reason);
    }

    QByteArray readStandardInput()
    {
        QFile stream;
        if (!stream.open(stdin, QIODevice::ReadOnly))
            fail("standard input", "cannot be read");
        return stream.readAll();
    }

    void refuseTooLarge(const std::string &name, const QSize &size)
    {
        if (size.isValid() && 1LL * size.width() * size.height() > kMostPixels) {
            fail(name,
                 "an image of " + std::to_string(size.width()) + " x "
                     + std::to_string(size.height()) + " pixels is too large to be traced");
        }
    }

    // Image libraries print their complaints; while this lives they go nowhere.
    class Silence
    {
    public:
        Silence()
            : saved(dup(STDERR_FILENO))
        {
            const int nowhere = open("/dev/null", O_WRONLY);
            if (nowhere < 0)
                return;
            dup2(nowhere, STDERR_FILENO);
            close(nowhere);
        }
        ~Silence()
        {
            if (saved < 0)
                return;
            dup2(saved, STDERR_FILENO);
            close(saved);
        }
        Silence(const Silence &) = delete;
        Silence &operator=(const Silence &) = delete;

    private:
        int saved;
    };

    QImage readFrom(QIODevice *device, const std::string &name, bool upright)
    {
        const Silence silence;
        QImageReader reader(device);
        reader.setDecideFormatFromContent(true);
        reader.setAutoTransform(upright);
        if (!reader.canRead())
            fail(name, "not an image of a known format");
        refuseTooLarge(name, reader.size());
        QImage image;
        if (!reader.read(&image) || image.isNull()) {
            fail(name,
                 "the image is damaged or incomplete (" + reader.errorString().toStdString() + ")");
        }
        refuseTooLarge(name, image.size());
        return image;
    }

} // namespace

QImage readImage(const std::string &fileName, bool upright)
{
    if (fileName == "-") {
        QByteArray data = readStandardInput();
        if (data.isEmpty())
            fail("standard input", "is empty");
        QBuffer buffer(&data);
        buffer.open(QIODevice::ReadOnly);
        return readFrom(&buffer, "standard input", upright);
    }
    QFile file(QFile::decodeName(fileName.c_str()));
    if (QFileInfo(file).isDir())
        fail(fileName, "is a folder");
    if (!file.open(QIODevice::ReadOnly))
        fail(fileName, file.errorString().toLocal8Bit().toStdString());
    if (!file.isSequential() && file.size() == 0)
        fail(fileName, "the file is empty");
    if (file.isSequential()) {
        // A pipe cannot be looked at and then read from the start.
        QByteArray data = file.readAll();
        QBuffer buffer(&data);
        buffer.open(QIODevice::ReadOnly);
        return readFrom(&buffer, fileName, upright);
    }
    return readFrom(&file, fileName, upright);
}

} // namespace ztrace
