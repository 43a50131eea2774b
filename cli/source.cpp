// (c) the ztrace developers. Licence: see LICENSE.
#include "source.h"

#include "failure.h"
#include "messages.h"

#include "drawing/Drawing.h"
#include "drawing/signals.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <set>

#include <sys/stat.h>

namespace ztrace {

namespace {

[[noreturn]] void fail(const std::string &name, const std::string &reason)
{
    throw Failure(kInputUnreadable, name + ": " + reason);
}

void refuseTooLarge(const std::string &name, const QSize &size)
{
    if (size.isValid() && 1LL * size.width() * size.height() > kMostPixels) {
        fail(name,
             "an image of " + std::to_string(size.width()) + " x " + std::to_string(size.height())
                 + " pixels is too large to be traced");
    }
}

void checkReadable(QImageReader *reader, const std::string &name)
{
    reader->setDecideFormatFromContent(true);
    if (!reader->canRead())
        fail(name, "not an image of a known format");
}

} // namespace

ImageSource::ImageSource(const std::string &fileName) : name(fileName)
{
    QFile file(QFile::decodeName(fileName.c_str()));
    if (fileName == "-") {
        name = "standard input";
        if (!file.open(stdin, QIODevice::ReadOnly))
            fail(name, "cannot be read");
    } else if (QFileInfo(file).isDir()) {
        fail(name, "is a folder");
    } else if (!file.open(QIODevice::ReadOnly)) {
        fail(name, file.errorString().toLocal8Bit().toStdString());
    }
    data = file.readAll();
    if (file.error() != QFileDevice::NoError) // what came before it is not all
        fail(name, file.errorString().toLocal8Bit().toStdString());
    if (data.startsWith("\xEF\xBB\xBF{"))
        data.remove(0, 3); // editors put a byte order mark before a drawing
    if (data.isEmpty())
        fail(name, "is empty");
}

void ImageSource::requireFile(const std::string &fileName)
{
    struct stat ignored;
    if (fileName != "-" && stat(fileName.c_str(), &ignored) != 0)
        fail(fileName, std::strerror(errno));
}

int ImageSource::pages() const
{
    const Silence silence;
    QByteArray bytes = data;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    checkReadable(&reader, name);
    return std::max(1, reader.imageCount());
}

// A TIFF is a chain of directories: a count of entries, the entries of 12 bytes, the place of the
// next directory.
int ImageSource::pagesClaimed() const
{
    const bool little = data.startsWith(QByteArray("II*\0", 4));
    if (!little && !data.startsWith(QByteArray("MM\0*", 4)))
        return 0;
    const auto number = [&](qint64 at, int bytes) {
        qint64 value = 0;
        for (int i = 0; i < bytes; ++i) {
            const int byte = static_cast<unsigned char>(data.at(static_cast<int>(at + i)));
            value |= static_cast<qint64>(byte) << (8 * (little ? i : bytes - 1 - i));
        }
        return value;
    };
    const int kEntry = 12;
    std::set<qint64> places;
    qint64 place = data.size() >= 8 ? number(4, 4) : 0;
    while (place != 0 && places.insert(place).second) {
        // A directory that is not there is a page nevertheless.
        const qint64 end = place + 2 > data.size() ? place : place + 2 + kEntry * number(place, 2);
        if (place + 2 > data.size() || end + 4 > data.size())
            break;
        place = number(end, 4);
    }
    return static_cast<int>(places.size());
}

QImage ImageSource::read(int page, bool upright) const
{
    const Silence silence;
    QByteArray bytes = data;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    checkReadable(&reader, name);
    reader.setAutoTransform(upright);
    if (page > 1 && (page > reader.imageCount() || !reader.jumpToImage(page - 1))) {
        fail(name,
             "there is no page " + std::to_string(page) + " (the file has "
                 + std::to_string(std::max(1, reader.imageCount())) + ")");
    }
    refuseTooLarge(name, reader.size());
    QImage image;
    if (!reader.read(&image) || image.isNull()) {
        if (reader.size().isValid() && QImage(reader.size(), QImage::Format_ARGB32).isNull())
            throw Failure(kFailed, name + ": the image does not fit into memory");
        fail(name,
             "the image is damaged or incomplete (" + reader.errorString().toStdString() + ")");
    }
    refuseTooLarge(name, image.size());
    return image;
}

bool ImageSource::isCutShort() const
{
    if (!data.startsWith(QByteArray("\xFF\xD8\xFF", 3)))
        return false;
    const auto byte = [this](int at) { return static_cast<unsigned char>(data.at(at)); };
    const int kEnd = 0xD9;
    int at = 2;
    while (at + 4 <= data.size()) {
        // Between segments, and in the data of a scan, where neither stuffed zeros nor restarts end
        // it.
        const bool isMarker = byte(at) == 0xFF && byte(at + 1) != 0x00 && byte(at + 1) != 0xFF
            && (byte(at + 1) < 0xD0 || byte(at + 1) > 0xD7);
        if (!isMarker) {
            ++at;
            continue;
        }
        if (byte(at + 1) == kEnd)
            return false;
        at += 2 + 256 * byte(at + 2) + byte(at + 3);
    }
    return !data.endsWith("\xFF\xD9");
}

bool ImageSource::isDrawing() const
{
    return data.left(1000).trimmed().startsWith('{');
}

} // namespace ztrace
