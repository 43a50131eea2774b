// (c) the ztrace developers. Licence: see LICENSE.
#include "readImage.h"

#include "cli/complaints.h"
#include "cli/distrust.h"
#include "cli/ending.h"
#include "cli/messages.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>

#include <cstdio>
#include <string>

namespace {

// Nothing of a file without an end, such as a pipe, of which nothing can be told.
QByteArray contentsOf(const QString &fileName)
{
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

void tellOf(const QString &fileName, const std::string &text)
{
    const std::string line = fileName.toLocal8Bit().toStdString() + ": " + text;
    std::fprintf(stderr, "zelvora-headless: %s\n", ztrace::printable(line).c_str());
}

} // namespace

QImage zelvora::readImage(const QString &fileName)
{
    const QByteArray format = QImageReader::imageFormat(fileName);
    if (ztrace::isDistrusted(format))
        return QImage();
    QByteArray said;
    QImage image;
    {
        const ztrace::Overheard overheard;
        image = QImage(fileName);
        said = overheard.lines();
    }
    if (image.isNull())
        return image;
    const QByteArray bytes = contentsOf(fileName);
    if (bytes.isEmpty())
        return image;
    const ztrace::Ending ending = ztrace::endingOf(bytes, format);
    QByteArray complaint = ztrace::complaintIn(said, format, bytes);
    if (complaint.isEmpty())
        complaint = ztrace::complaintOf(bytes, format);
    if (complaint.isEmpty())
        complaint = ztrace::complaintOfHoles(bytes, qint64(image.width()) * image.height());
    if (ending != ztrace::Ending::Whole && ending != ztrace::Ending::Untold)
        tellOf(fileName, "the image is incomplete");
    else if (!complaint.isEmpty())
        tellOf(fileName,
               "the image may be wrong, as the file is damaged: \"" + complaint.toStdString()
                   + '"');
    return image;
}
