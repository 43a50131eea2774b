// (c) the ztrace developers. Licence: see LICENSE.
#include "source.h"

#include "failure.h"

#include "drawing/Drawing.h"
#include "drawing/signals.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

const double kMostStretch = 5.0; // of pixels; beyond it a resolution is an error

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

// Image libraries print their complaints; while this lives they go nowhere.
class Silence
{
public:
    Silence() : saved(dup(STDERR_FILENO))
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

void checkReadable(QImageReader *reader, const std::string &name)
{
    reader->setDecideFormatFromContent(true);
    if (!reader->canRead())
        fail(name, "not an image of a known format");
}

double dpiOf(int dotsPerMetre)
{
    const double kMetresPerInch = 0.0254;
    const double kRoundingOfFormats = 0.02; // whole dots a metre, of whole dots an inch
    const double dpi = dotsPerMetre * kMetresPerInch;
    if (!(dpi > 0.0))
        return kScreenDpi;
    const double whole = std::round(dpi);
    return std::fabs(dpi - whole) < kRoundingOfFormats ? whole : dpi;
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

bool Resolution::isSquare() const
{
    const double kRounding = 1.02;
    return std::max(across / down, down / across) < kRounding;
}

Resolution resolutionOf(const QImage &image)
{
    Resolution resolution;
    resolution.across = dpiOf(image.dotsPerMeterX());
    resolution.down = dpiOf(image.dotsPerMeterY());
    // One that is not told, or cannot be true, is the other one.
    const double larger = std::max(resolution.across, resolution.down);
    const double smaller = std::min(resolution.across, resolution.down);
    if (resolution.across == kScreenDpi)
        resolution.across = resolution.down;
    else if (resolution.down == kScreenDpi)
        resolution.down = resolution.across;
    else if (larger > kMostStretch * smaller)
        resolution.across = resolution.down = larger;
    return resolution;
}

bool tellsResolution(const QImage &image)
{
    return resolutionOf(image).across != kScreenDpi || resolutionOf(image).down != kScreenDpi;
}

QImage withSquarePixels(const QImage &image)
{
    const Resolution resolution = resolutionOf(image);
    const double finer = std::max(resolution.across, resolution.down);
    const auto length = [finer](int pixels, double dpi) {
        return std::max(1, static_cast<int>(std::lround(pixels * finer / dpi)));
    };
    const QSize size(length(image.width(), resolution.across),
                     length(image.height(), resolution.down));
    if (1LL * size.width() * size.height() > kMostPixels)
        return QImage();
    const bool isGrey = image.format() == QImage::Format_Mono
        || image.format() == QImage::Format_MonoLSB || image.allGray();
    const QImage source = image.hasAlphaChannel() || !isGrey
        ? image
        : image.convertToFormat(QImage::Format_Grayscale8);
    const Uninterrupted inherited; // the toolkit scales in threads
    QImage square = source.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const int dotsPerMetre = std::max(image.dotsPerMeterX(), image.dotsPerMeterY());
    square.setDotsPerMeterX(dotsPerMetre);
    square.setDotsPerMeterY(dotsPerMetre);
    return square;
}

} // namespace ztrace
