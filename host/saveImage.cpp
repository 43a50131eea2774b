// (c) the ztrace developers. Licence: see LICENSE.
#include "saveImage.h"

#include "drawing/TextSink.h"
#include "drawing/output.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>

bool zelvora::saveImage(const QImage &image, const QString &fileName)
{
    const QByteArray format = QFileInfo(fileName).suffix().toLower().toLatin1();
    if (image.isNull() || !QImageWriter::supportedImageFormats().contains(format))
        return false;
    // In memory first: a format that moves about in its file does not see what a full disk refuses.
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!QImageWriter(&buffer, format).write(image))
        return false;
    QString error;
    return ztrace::writeWhole(
        fileName, [&](QIODevice *device) { return ztrace::writeFully(device, buffer.data()); },
        &error);
}
