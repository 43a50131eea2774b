// (c) the ztrace developers. Licence: see LICENSE.
#include "complaints.h"

#include "imagedata.h"
#include "pnmfile.h"

#include <QList>

namespace ztrace {

namespace {

// "Fax4Decode: Warning, Line length mismatch at line 3 ...": the name of what speaks, and how grave
// it is. Warnings of the reading of directories ("TIFFReadDirectory: Warning, Unknown field") are
// about tags, not pixels.
bool isOfTiff(const QByteArray &line)
{
    return line.contains(": ") && !(line.startsWith("TIFF") && line.contains(": Warning, "));
}

// Cameras write bytes before the end mark. Before a restart mark they are data that went wrong.
bool isOfJpeg(const QByteArray &line)
{
    if (line.contains("extraneous bytes before marker"))
        return line.contains("before marker 0xd") && line.right(1) < "8";
    return line.startsWith("Corrupt JPEG data") || line.startsWith("Premature end of JPEG")
        || line.startsWith("Inconsistent progression");
}

// Of the toolkit's own readers: what they leave out without a failure.
bool isOfText(const QByteArray &line)
{
    return line.contains("path truncated") || line.contains("XPM pixels missing");
}

} // namespace

QByteArray complaintIn(const QByteArray &lines, const QByteArray &format)
{
    const bool isTiff = format == "tiff" || format == "tif";
    const bool isJpeg = format == "jpeg" || format == "jpg";
    for (const QByteArray &line : lines.split('\n')) {
        if ((isTiff && isOfTiff(line)) || (isJpeg && isOfJpeg(line)) || isOfText(line))
            return line.trimmed();
    }
    return QByteArray();
}

QByteArray complaintOf(const QByteArray &bytes, const QByteArray &format)
{
    if ((format == "jpeg" || format == "jpg") && !areRestartsComplete(bytes))
        return "restart marks are missing, or not in order";
    if ((format == "pbm" || format == "pgm" || format == "ppm") && hasOddSamples(bytes))
        return "a sample is none of those that its format allows";
    return QByteArray();
}

} // namespace ztrace
