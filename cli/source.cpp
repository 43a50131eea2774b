// (c) the ztrace developers. Licence: see LICENSE.
#include "source.h"

#include "complaints.h"
#include "distrust.h"
#include "failure.h"
#include "heap.h"
#include "imageplugins.h"
#include "messages.h"
#include "svgfile.h"
#include "tiffdata.h"
#include "tiffpages.h"
#include "values.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

[[noreturn]] void fail(const std::string &name, const std::string &reason)
{
    throw Failure(kInputUnreadable, shortened(name, kLongestName) + ": " + reason);
}

[[noreturn]] void failByLimit(const std::string &name, const std::string &reason)
{
    throw LimitFailure(kInputUnreadable, shortened(name, kLongestName) + ": " + reason);
}

const double kMillion = 1e6;

// Bytes a pixel that tracing takes, the decoded image and all that is made from it included.
const double kBytesOfGrey = 14.0;
const double kBytesOfColour = 24.0;

// Bytes a pixel of an image within an SVG: decoded, of sixteen bits a channel, and made ready to be
// drawn.
const double kBytesOfEmbedded = 12.0;

// Selectors of an SVG's style sheets times its elements, and stops of one gradient: five seconds
// and half a second of the toolkit's reader (0.55 us a match; the stops' time grows with their
// square).
const double kMostMatches = 1e7;
const double kMostStops = 20000.0;

// A container of the toolkit holds no more.
const qint64 kMostBytes = (1LL << 31) - 4096;

bool isGreyFormat(QImage::Format format)
{
    return format == QImage::Format_Mono || format == QImage::Format_MonoLSB
        || format == QImage::Format_Grayscale8;
}

bool isTiff(const QByteArray &format)
{
    return format == "tiff" || format == "tif";
}

qint64 pixelsOf(const QImage &image)
{
    return qint64(image.width()) * image.height();
}

void remarkOnDamage(const QByteArray &complaint, Remarks *remarks)
{
    if (complaint.isEmpty())
        return;
    remarks->texts.push_back("the image may be wrong, as the file is damaged: \""
                             + complaint.toStdString() + '"');
}

std::string millions(double value)
{
    return shortText(std::ceil(value));
}

// The formats whose first bytes are those of no other, as the toolkit calls them. Its own search
// for the format loads the readers of all formats, which takes longer than tracing an icon.
QByteArray formatByBeginning(const QByteArray &data)
{
    const struct
    {
        QByteArray beginning;
        const char *format;
    } kBeginnings[] = {
        { QByteArray("\x89PNG\r\n\x1A\n", 8), "png" },
        { QByteArray("\xFF\xD8\xFF", 3), "jpeg" },
        { QByteArray("GIF87a", 6), "gif" },
        { QByteArray("GIF89a", 6), "gif" },
        { QByteArray("II*\0", 4), "tiff" },
        { QByteArray("MM\0*", 4), "tiff" },
    };
    for (const auto &known : kBeginnings) {
        if (data.startsWith(known.beginning))
            return known.format;
    }
    return QByteArray();
}

// Settles what reads a device, by the contents alone. Returns whether anything does.
bool findReader(QImageReader *reader, const QByteArray &data)
{
    const QByteArray format = formatByBeginning(data);
    if (format != "png")
        useImagePlugins();
    if (!format.isEmpty()) {
        reader->setAutoDetectImageFormat(false);
        reader->setFormat(format);
        if (reader->canRead())
            return true;
        reader->setFormat(QByteArray());
        reader->setAutoDetectImageFormat(true);
    }
    useImagePlugins();
    reader->setDecideFormatFromContent(true);
    return reader->canRead();
}

void checkReadable(QImageReader *reader, const QByteArray &data, const std::string &name)
{
    if (findReader(reader, data))
        return;
    const QByteArray format = formatByBeginning(data);
    if (format.isEmpty())
        fail(name, "not an image of a known format");
    // The beginning is all that a reader asks for, so that it is the reader that is missing.
    const std::string missing = shortened(name, kLongestName) + ": the reader of "
        + format.toStdString() + " images cannot be loaded";
    if (areAddressesLimited())
        throw MemoryFailure(missing);
    throw Failure(kInputUnreadable, missing);
}

// An image of a known format, to be read from its start.
struct OpenedImage
{
    OpenedImage(const QByteArray &data, const std::string &name) : bytes(data), buffer(&bytes)
    {
        buffer.open(QIODevice::ReadOnly);
        reader.setDevice(&buffer);
        checkReadable(&reader, data, name);
    }

    QByteArray bytes;
    QBuffer buffer;
    QImageReader reader;
};

// Digits of black and white in letters may stand together; the toolkit's reader takes them for one
// number. All but those of the two sizes are set apart.
QByteArray withDigitsApart(const QByteArray &bytes)
{
    QByteArray apart;
    apart.reserve(2 * bytes.size());
    int numbers = 0; // sizes that have begun
    bool isComment = false;
    bool inNumber = false;
    for (int i = 0; i < bytes.size(); ++i) {
        const char letter = bytes.at(i);
        isComment = letter == '#' || (isComment && letter != '\n');
        const bool isDigit = !isComment && i > 1 && letter >= '0' && letter <= '9';
        numbers += isDigit && !inNumber && numbers < 3 ? 1 : 0;
        inNumber = isDigit;
        apart += letter;
        if (isDigit && numbers > 2)
            apart += ' ';
    }
    return apart;
}

// Until the end, which endless input does not have.
QByteArray readAll(int descriptor, const std::string &name, const SourceLimits &limits)
{
    const qint64 most = static_cast<qint64>(
        std::min(limits.megabytes * kMillion, static_cast<double>(kMostBytes)));
    QByteArray data;
    struct stat info;
    if (fstat(descriptor, &info) == 0 && S_ISDIR(info.st_mode))
        fail(name, "is a folder (ztrace batch traces the images in one)");
    if (fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode) && info.st_size <= most)
        data.reserve(static_cast<int>(info.st_size) + 1);
    std::vector<char> part(1 << 16);
    for (;;) {
        const ssize_t size = ::read(descriptor, part.data(), part.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            fail(name, std::string("cannot be read: ") + std::strerror(errno));
        if (size == 0)
            return data;
        if (data.size() + size > most) {
            const std::string much = "has more than "
                + millions(static_cast<double>(most) / kMillion) + " million bytes";
            if (most < kMostBytes)
                failByLimit(name, much + " (see --max-memory)");
            fail(name, much + ", more than can be read");
        }
        data.append(part.data(), static_cast<int>(size));
    }
}

} // namespace

QByteArray contentsOf(const std::string &fileName, const SourceLimits &limits)
{
    if (fileName == "-")
        return readAll(STDIN_FILENO, "standard input", limits);
    const int file = open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        fail(fileName, std::strerror(errno));
    const auto closeFile = [](const int *descriptor) { close(*descriptor); };
    const std::unique_ptr<const int, decltype(closeFile)> closer(&file, closeFile);
    return readAll(file, fileName, limits);
}

ImageSource::ImageSource(const std::string &fileName, const SourceLimits &sourceLimits)
    : ImageSource(fileName, contentsOf(fileName, sourceLimits), sourceLimits)
{ }

ImageSource::ImageSource(const std::string &fileName, QByteArray contents,
                         const SourceLimits &sourceLimits)
    : name(fileName == "-" ? "standard input" : fileName), limits(sourceLimits),
      data(std::move(contents))
{
    useContents();
}

void ImageSource::useContents()
{
    if (data.isEmpty())
        fail(name, "is empty");
    if (data.startsWith("\xEF\xBB\xBF{"))
        data.remove(0, 3); // editors put a byte order mark before a drawing
    if (isDrawing())
        return;
    {
        const Silence silence;
        if (data.startsWith("P1") && data.size() < kMostBytes / 2)
            data = withDigitsApart(data);
        QBuffer buffer(&data);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer);
        findReader(&reader, data);
        format = reader.format();
    }
    if (isDistrusted(format))
        fail(name,
             "the format " + format.toStdString() + " is not read, as its reader is not safe");
    if (format.isEmpty() || format == "pdf")
        foreign = foreignKind(data);
    if (foreign != Foreign::None) {
        end = Ending::Whole; // their programs refuse what is not
        return;
    }
    end = endingOf(data, format);
    if (format.startsWith("svg"))
        useSvg();
}

void ImageSource::useSvg()
{
    const double most = std::min(limits.megabytes * kMillion, static_cast<double>(kMostBytes));
    const QByteArray text = withoutNamedFiles(data, static_cast<qint64>(most), &leftOut);
    if (text.isNull())
        failByLimit(name, "the image is damaged or incomplete (its text has no end)");
    data = text;
    format = "svg";
    refuseDemanding(demandOf(data));
}

void ImageSource::refuseDemanding(const SvgDemand &demand) const
{
    const double megapixels = demand.pixels / kMillion;
    const double megabytes = megapixels * kBytesOfEmbedded;
    if (megapixels > limits.pixels) {
        failByLimit(name,
                    "the images within it have more than " + shortText(limits.pixels)
                        + " million pixels (see --max-pixels)");
    }
    if (megabytes > limits.megabytes) {
        failByLimit(name,
                    "the images within it take " + millions(megabytes)
                        + " million bytes of memory, more than " + shortText(limits.megabytes)
                        + " (see --max-memory)");
    }
    if (demand.rules * demand.elements > kMostMatches) {
        fail(name,
             "its style sheet asks for too much work: "
                 + std::to_string(static_cast<qint64>(demand.rules)) + " rules for "
                 + std::to_string(static_cast<qint64>(demand.elements)) + " elements (at most "
                 + millions(kMostMatches / kMillion) + " million of both multiplied)");
    }
    if (demand.stops > kMostStops * kMostStops)
        fail(name, "its gradients have too many stops (at most " + shortText(kMostStops) + ")");
}

void ImageSource::refuseTooLarge(const QSize &size, bool isGrey) const
{
    const double pixels = double(size.width()) * double(size.height());
    const std::string image = "an image of " + std::to_string(size.width()) + " x "
        + std::to_string(size.height()) + " pixels ";
    if (!size.isValid())
        return;
    if (pixels > limits.pixels * kMillion) {
        failByLimit(name,
                    image + "has more than " + shortText(limits.pixels)
                        + " million pixels (see --max-pixels)");
    }
    if (pixels > double(kMostPixels))
        fail(name, image + "is too large to be traced");
    const double megabytes = pixels * (isGrey ? kBytesOfGrey : kBytesOfColour) / kMillion;
    if (megabytes > limits.megabytes) {
        failByLimit(name,
                    image + "takes " + millions(megabytes) + " million bytes of memory, more than "
                        + shortText(limits.megabytes) + " (see --max-memory)");
    }
}

void ImageSource::requireFile(const std::string &fileName)
{
    struct stat ignored;
    if (fileName != "-" && stat(fileName.c_str(), &ignored) != 0)
        fail(fileName, std::strerror(errno));
}

int ImageSource::pages() const
{
    if (foreign != Foreign::None)
        return foreignPages(foreign, name, data, foreignLimits());
    const Silence silence;
    OpenedImage opened(data, name);
    QImageReader &reader = opened.reader;
    return std::max(1, reader.imageCount());
}

int ImageSource::pagesClaimed() const
{
    return static_cast<int>(tiffPages(data).size());
}

// Some readers lose their place when they are asked for the size, so this is one for the question
// alone. False when there is no such page.
bool ImageSource::askForSize(int page, QSize *size, bool *isGrey) const
{
    OpenedImage opened(data, name);
    QImageReader &reader = opened.reader;
    const int count = reader.imageCount();
    if (page > 1 && page > count && count > 0)
        return false;
    if (page > 1)
        reader.jumpToImage(page - 1); // frames of an animation are as large as the first one
    *size = reader.size();
    *isGrey = isGreyFormat(reader.imageFormat());
    return true;
}

ForeignLimits ImageSource::foreignLimits() const
{
    const double most = std::min(limits.pixels, limits.megabytes / kBytesOfColour) * kMillion;
    return { std::min(most, static_cast<double>(kMostPixels)), limits.megabytes * kMillion };
}

// What readers call damaged: they do not tell when memory is what they lacked.
void ImageSource::refuseWithoutMemory(const QSize &size) const
{
    if (!size.isEmpty() && QImage(size, QImage::Format_ARGB32).isNull())
        throw MemoryFailure(name + ": the image does not fit into memory");
}

// What another program has made is asked for its size like any file.
QImage ImageSource::readForeign(int page, Remarks *remarks) const
{
    Remarks ignored;
    QByteArray png
        = foreignPicture(foreign, name, data, page, foreignLimits(), remarks ? remarks : &ignored);
    const Silence silence;
    QBuffer buffer(&png);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "png");
    refuseTooLarge(reader.size(), isGreyFormat(reader.imageFormat()));
    QImage image;
    const QSize size = reader.size();
    if (!reader.read(&image) || image.isNull()) {
        refuseWithoutMemory(size);
        failByLimit(name, "the image is damaged or incomplete"); // or its program was cut short
    }
    if (remarks && remarks->texts.empty())
        remarkOnDamage(complaintOfHoles(data, pixelsOf(image)), remarks);
    return image;
}

QImage ImageSource::read(int page, bool upright, Remarks *remarks) const
{
    if (foreign != Foreign::None)
        return readForeign(page, remarks);
    const Silence silence;
    OpenedImage opened(data, name);
    QImageReader &reader = opened.reader;
    reader.setAutoTransform(upright);
    QSize size;
    bool isGrey = false;
    bool isThere = askForSize(page, &size, &isGrey);
    refuseTooLarge(size, isGrey);
    QImage image;
    if (isThere && page > 1 && !reader.jumpToImage(page - 1)) {
        // Readers of animations go from frame to frame only.
        for (int frame = 1; frame < page && isThere; ++frame)
            isThere = reader.read(&image);
    }
    const int claimed = isThere ? 0 : pagesClaimed();
    if (page <= claimed) {
        fail(name,
             "page " + std::to_string(page) + " cannot be read, as only "
                 + std::to_string(std::max(1, reader.imageCount())) + " of "
                 + std::to_string(claimed) + " pages can be");
    }
    if (!isThere) {
        fail(name,
             "there is no page " + std::to_string(page) + " (the file has "
                 + std::to_string(std::max(1, reader.imageCount())) + ")");
    }
    const QByteArray unknown = isTiff(format) ? unknownSamples(data, page) : QByteArray();
    if (!unknown.isEmpty())
        fail(name, unknown.toStdString() + " are not read: convert it to 8 or 16 bits");
    const Overheard overheard;
    if (!reader.read(&image) || image.isNull()) {
        refuseWithoutMemory(size);
        if (format == "svg" && size.isEmpty())
            fail(name, "the image is damaged, or its size is not above 0");
        fail(name,
             "the image is damaged or incomplete (" + reader.errorString().toStdString() + ")");
    }
    refuseTooLarge(image.size(), isGreyFormat(image.format()));
    if (remarks && isTiff(format) && haveSamplesSigns(data, page))
        remarks->texts.push_back(
            "the image may be wrong, as its samples have signs, which are not heeded");
    QByteArray complaint = complaintIn(overheard.lines(), format, data);
    if (complaint.isEmpty() && remarks)
        complaint = complaintOf(data, format, page);
    if (complaint.isEmpty() && remarks)
        complaint = complaintOfHoles(data, pixelsOf(image));
    const Ending ended = ending(page); // what else it is, is told besides
    if (remarks && (ended == Ending::Whole || ended == Ending::Untold))
        remarkOnDamage(complaint, remarks);
    return image;
}

Ending ImageSource::ending(int page) const
{
    const std::vector<Ending> pages = tiffPages(data);
    if (page < 1 || static_cast<std::size_t>(page) > pages.size())
        return end;
    return pages[static_cast<std::size_t>(page - 1)];
}

bool ImageSource::isDrawing() const
{
    return data.left(1000).trimmed().startsWith('{');
}

} // namespace ztrace
