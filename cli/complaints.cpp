// (c) the ztrace developers. Licence: see LICENSE.
#include "complaints.h"

#include "imagedata.h"
#include "messages.h"
#include "pnmfile.h"
#include "tiffdata.h"

#include <QImage>
#include <QList>

#include <algorithm>
#include <initializer_list>

namespace ztrace {

namespace {

// Zeros in a row that the coded picture of a WebP has: 14, and for blank parts one for every 10,000
// pixels (4623 in one of 48 million, the most of 120 of several qualities).
const qint64 kZerosOfWebp = 64;
const qint64 kPixelsAZero = 1024;

// In boxes there are notes of cameras beside, with 2060 zeros of padding.
const qint64 kZerosOfBoxes = 2500;

// "Fax4Decode: Warning, Line length mismatch at line 3 ...": the name of what speaks, and how grave
// it is. Warnings of the reading of directories ("TIFFReadDirectory: Warning, Unknown field") are
// about tags, not pixels.
bool isOfTiff(const QByteArray &line)
{
    return line.contains(": ") && !(line.startsWith("TIFF") && line.contains(": Warning, "));
}

bool startsWithOneOf(const QByteArray &line, std::initializer_list<const char *> beginnings)
{
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](const char *beginning) { return line.startsWith(beginning); });
}

// "Corrupt JPEG data: 7 extraneous bytes before marker 0xd9": the mark is that of the end.
bool isOfJpegsEnd(const QByteArray &line)
{
    return line.contains("extraneous bytes before marker 0xd9");
}

// Bytes that no code took are where codes went wrong, but for padding at the end.
bool isOfJpeg(const QByteArray &line, const QByteArray &bytes)
{
    if (isOfJpegsEnd(line)) {
        const qint64 count = line.mid(line.indexOf(':') + 1).trimmed().split(' ')[0].toLongLong();
        return !isPadded(bytes, count);
    }
    return startsWithOneOf(
               line, { "Corrupt JPEG data", "Premature end of JPEG", "Inconsistent progression" })
        && !line.contains("bad ICC");
}

// What is said of a header alone, and keeps the reader from saying more.
bool isOfJpegsHeader(const QByteArray &line)
{
    return line.contains("bad ICC")
        || startsWithOneOf(line,
                           { "Warning: unknown JFIF", "Unknown Adobe color transform",
                             "Invalid SOS parameters" });
}

// Of the toolkit's own readers: what they leave out without a failure.
bool isOfText(const QByteArray &line)
{
    return line.contains("path truncated") || line.contains("XPM pixels missing");
}

// What the reader of JPEG says of one.
QByteArray linesOfReading(const QByteArray &bytes)
{
    const Overheard overheard;
    QImage::fromData(bytes, "jpeg");
    return overheard.lines();
}

} // namespace

QByteArray complaintIn(const QByteArray &lines, const QByteArray &format, const QByteArray &bytes)
{
    const bool isTiff = format == "tiff" || format == "tif";
    const bool isJpeg = format == "jpeg" || format == "jpg";
    bool isMoreHidden = false;
    for (const QByteArray &line : lines.split('\n')) {
        if ((isTiff && isOfTiff(line)) || (isJpeg && isOfJpeg(line, bytes)) || isOfText(line))
            return line.trimmed();
        isMoreHidden = isMoreHidden || (isJpeg && isOfJpegsHeader(line));
    }
    if (!isMoreHidden)
        return QByteArray();
    const QByteArray plain = withoutNotes(bytes);
    for (const QByteArray &line : linesOfReading(plain).split('\n')) {
        if (isOfJpeg(line, plain))
            return line.trimmed();
    }
    return QByteArray();
}

QByteArray complaintOf(const QByteArray &bytes, const QByteArray &format, int page)
{
    if (format == "tiff" || format == "tif")
        return complaintOfStrips(bytes, page);
    if ((format == "jpeg" || format == "jpg") && !areRestartsComplete(bytes))
        return "restart marks are missing, or not in order";
    if ((format == "pbm" || format == "pgm" || format == "ppm") && hasOddSamples(bytes))
        return "a sample is none of those that its format allows";
    return QByteArray();
}

QByteArray complaintOfHoles(const QByteArray &bytes, qint64 pixels)
{
    const qint64 zeros = longestHole(bytes);
    const qint64 few = bytes.startsWith("RIFF") ? kZerosOfWebp : kZerosOfBoxes;
    if (zeros <= few + pixels / kPixelsAZero)
        return QByteArray();
    return QByteArray::number(zeros) + " bytes of the picture are zeros";
}

} // namespace ztrace
