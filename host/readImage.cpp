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

// Of a file without an end, such as a pipe, nothing can be told.
ztrace::Ending endingOfFile(const QString &fileName, const QByteArray &format)
{
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
        return ztrace::Ending::Untold;
    return ztrace::endingOf(file.readAll(), format);
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
    QByteArray complaint;
    QImage image;
    {
        const ztrace::Overheard overheard;
        image = QImage(fileName);
        complaint = ztrace::complaintIn(overheard.lines(), format);
    }
    if (image.isNull())
        return image;
    const ztrace::Ending ending = endingOfFile(fileName, format);
    if (ending != ztrace::Ending::Whole && ending != ztrace::Ending::Untold)
        tellOf(fileName, "the image is incomplete");
    else if (!complaint.isEmpty())
        tellOf(fileName,
               "the image may be wrong, as the file is damaged: \"" + complaint.toStdString()
                   + '"');
    return image;
}
