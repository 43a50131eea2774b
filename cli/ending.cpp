// (c) the ztrace developers. Licence: see LICENSE.
#include "ending.h"

#include "ByteWalk.h"
#include "imagedata.h"
#include "pnmfile.h"
#include "svgfile.h"
#include "tiffpages.h"

#include <algorithm>

namespace ztrace {

namespace {

bool inBytes(qint64 needed, const QByteArray &bytes)
{
    return needed <= bytes.size();
}

qint64 inWholeBytes(qint64 bits)
{
    return (bits + 7) / 8;
}

// Blocks of a length, a name of four letters, the content and a checksum: PNG, MNG.
bool chunksEnd(const QByteArray &bytes, const char *last)
{
    ByteWalk walk(bytes, false);
    walk.skip(8);
    while (!walk.isBeyond()) {
        const qint64 length = walk.number(4);
        const QByteArray name = bytes.mid(static_cast<int>(walk.at()), 4);
        walk.skip(4 + length + 4);
        if (name == last)
            return !walk.isBeyond();
    }
    return false;
}

// Between segments, and in the data of a scan, where neither stuffed zeros nor restarts end it, an
// end mark.
bool jpegEnds(const QByteArray &bytes)
{
    const auto byte = [&bytes](int at) { return static_cast<unsigned char>(bytes.at(at)); };
    const int kEnd = 0xD9;
    int at = 2;
    while (at + 4 <= bytes.size()) {
        const bool isMarker = byte(at) == 0xFF && byte(at + 1) != 0x00 && byte(at + 1) != 0xFF
            && (byte(at + 1) < 0xD0 || byte(at + 1) > 0xD7);
        if (!isMarker) {
            ++at;
            continue;
        }
        if (byte(at + 1) == kEnd)
            return true;
        at += 2 + 256 * byte(at + 2) + byte(at + 3);
    }
    return bytes.endsWith("\xFF\xD9");
}

void skipGifColours(ByteWalk *walk, qint64 flags)
{
    if (flags & 0x80)
        walk->skip(3 << ((flags & 7) + 1));
}

bool gifEnds(const QByteArray &bytes)
{
    ByteWalk walk(bytes);
    walk.moveTo(10);
    const qint64 screenFlags = walk.number(1);
    walk.skip(2);
    skipGifColours(&walk, screenFlags);
    while (!walk.isBeyond()) {
        const qint64 block = walk.number(1);
        if (walk.isBeyond() || (block != 0x21 && block != 0x2C && block != 0x3B))
            return false;
        if (block == 0x3B)
            return true;
        qint64 pixels = 0;
        if (block == 0x2C) {
            walk.skip(4);
            pixels = walk.number(2);
            pixels *= walk.number(2);
            skipGifColours(&walk, walk.number(1));
        }
        const qint64 kind = walk.number(1); // of an extension, or the size of codes
        QByteArray data;
        while (const qint64 size = walk.number(1)) {
            if (block == 0x2C)
                data += bytes.mid(static_cast<int>(walk.at()), static_cast<int>(size));
            walk.skip(size);
        }
        if (block == 0x2C && !areCodesEnough(data, static_cast<int>(kind), pixels))
            return false;
    }
    return false;
}

// Pairs of a count and a value. After a count of 0: 0 end of row, 1 end, 2 a step, else that many
// pixels as they are. The last row need not be ended.
bool bmpRunsEnd(const QByteArray &bytes, qint64 from, qint64 bitsAPixel, qint64 height)
{
    ByteWalk walk(bytes);
    walk.moveTo(from);
    qint64 rows = 0;
    while (!walk.isBeyond()) {
        if (walk.number(1) != 0) {
            walk.skip(1);
            continue;
        }
        const qint64 code = walk.number(1);
        if (code == 1)
            return !walk.isBeyond() && rows + 1 >= height;
        rows += code == 0 ? 1 : 0;
        if (code == 2) {
            walk.skip(1);
            rows += walk.number(1);
        } else
            walk.skip((inWholeBytes(code * bitsAPixel) + 1) / 2 * 2);
    }
    return false;
}

bool bmpEnds(const QByteArray &bytes)
{
    ByteWalk walk(bytes);
    walk.moveTo(10);
    const qint64 data = walk.number(4);
    const bool isOld = walk.number(4) == 12;
    const int size = isOld ? 2 : 4;
    const qint64 width = static_cast<qint32>(walk.number(size));
    const qint64 height = qAbs<qint64>(static_cast<qint32>(walk.number(size)));
    walk.skip(2);
    const qint64 bits = walk.number(2);
    const qint64 compression = isOld ? 0 : walk.number(4);
    if (walk.isBeyond())
        return false;
    if (compression == 1 || compression == 2)
        return bmpRunsEnd(bytes, data, bits, height);
    const qint64 row = (width * bits + 31) / 32 * 4;
    return row <= 0 || (bytes.size() - data) / row >= height; // the reader refuses empty rows
}

// Icons are a list of images with their sizes and places.
bool icoEnds(const QByteArray &bytes)
{
    ByteWalk walk(bytes);
    walk.moveTo(4);
    for (qint64 images = walk.number(2); images > 0 && !walk.isBeyond(); --images) {
        walk.skip(8);
        const qint64 size = walk.number(4);
        if (!inBytes(size + walk.number(4), bytes))
            return false;
    }
    return !walk.isBeyond();
}

// A length that stands in the file, and what it does not count.
bool lengthEnds(const QByteArray &bytes, bool littleEndian, qint64 uncounted)
{
    ByteWalk walk(bytes, littleEndian);
    walk.moveTo(4);
    const qint64 length = walk.number(4);
    return !walk.isBeyond() && inBytes(length + uncounted, bytes);
}

// Its reader takes those without runs alone.
bool tgaEnds(const QByteArray &bytes)
{
    ByteWalk walk(bytes);
    const qint64 comment = walk.number(1);
    walk.skip(1);
    walk.skip(3);
    const qint64 colours = walk.number(2);
    const qint64 colourBits = walk.number(1);
    walk.skip(4);
    const qint64 width = walk.number(2);
    const qint64 height = walk.number(2);
    const qint64 bytesAPixel = inWholeBytes(walk.number(1));
    walk.skip(1 + comment + colours * inWholeBytes(colourBits));
    walk.skip(width * height * bytesAPixel);
    return !walk.isBeyond();
}

// A number in bytes of seven bits, the top bit says that there is more.
qint64 wbmpNumber(ByteWalk *walk)
{
    const qint64 kFar = 1LL << 40;
    qint64 value = 0;
    for (;;) {
        const qint64 byte = walk->number(1);
        value = qMin(kFar, value * 128 + (byte & 127));
        if (!(byte & 128))
            return value;
    }
}

bool wbmpEnds(const QByteArray &bytes)
{
    ByteWalk walk(bytes);
    walk.moveTo(2);
    const qint64 width = wbmpNumber(&walk);
    const qint64 height = wbmpNumber(&walk);
    return !walk.isBeyond()
        && inBytes(walk.at() + qMin(inWholeBytes(width), 1LL << 20) * qMin(height, 1LL << 40),
                   bytes);
}

// C text whose array has to be closed, by a brace that is in no string.
bool arrayIsClosed(const QByteArray &bytes)
{
    bool inString = false;
    bool isOpen = false;
    for (const char letter : bytes) {
        if (letter == '"')
            inString = !inString;
        else if (letter == '{' && !inString)
            isOpen = true;
        else if (letter == '}' && !inString && isOpen)
            return true;
    }
    return false;
}

bool tiffEnds(const QByteArray &bytes)
{
    const std::vector<Ending> pages = tiffPages(bytes);
    return !pages.empty()
        && std::all_of(pages.begin(), pages.end(), [](Ending end) { return end == Ending::Whole; });
}

typedef bool (*EndCheck)(const QByteArray &bytes);

const struct
{
    const char *format;
    EndCheck ends;
} kChecks[] = {
    { "bmp", bmpEnds },
    { "cur", icoEnds },
    { "dib", bmpEnds },
    { "gif", gifEnds },
    { "icns", [](const QByteArray &bytes) { return lengthEnds(bytes, false, 0); } },
    { "ico", icoEnds },
    { "jpeg", jpegEnds },
    { "jpg", jpegEnds },
    { "mng", [](const QByteArray &bytes) { return chunksEnd(bytes, "MEND"); } },
    { "pbm", pnmEnds },
    { "pgm", pnmEnds },
    { "png", [](const QByteArray &bytes) { return chunksEnd(bytes, "IEND"); } },
    { "ppm", pnmEnds },
    { "svg", svgEnds },
    { "svgz", svgEnds },
    { "tga", tgaEnds },
    { "tif", tiffEnds },
    { "tiff", tiffEnds },
    { "wbmp", wbmpEnds },
    { "webp", [](const QByteArray &bytes) { return lengthEnds(bytes, true, 8); } },
    { "xbm",
      [](const QByteArray &bytes) { return arrayIsClosed(bytes) && areValuesEnough(bytes); } },
    { "xpm", arrayIsClosed },
};

} // namespace

qint64 framesOfPng(const QByteArray &bytes)
{
    if (!bytes.startsWith("\x89PNG"))
        return 1;
    ByteWalk walk(bytes, false);
    walk.skip(8);
    while (!walk.isBeyond()) {
        const qint64 length = walk.number(4);
        const QByteArray name = bytes.mid(static_cast<int>(walk.at()), 4);
        walk.skip(4);
        if (name == "acTL")
            return qMax(1LL, walk.number(4));
        if (name == "IDAT")
            break; // what stands behind it is no animation's
        walk.skip(length + 4);
    }
    return 1;
}

static bool isJpeg(const QByteArray &format)
{
    return format == "jpeg" || format == "jpg";
}

Ending endingOf(const QByteArray &bytes, const QByteArray &format)
{
    for (const auto &check : kChecks) {
        if (format == check.format && !check.ends(bytes))
            return Ending::CutShort;
        if (format == check.format)
            return isJpeg(format) && !areScansComplete(bytes) ? Ending::Coarse : Ending::Whole;
    }
    return Ending::Untold;
}

} // namespace ztrace
