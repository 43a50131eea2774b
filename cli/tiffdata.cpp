// (c) the ztrace developers. Licence: see LICENSE.
#include "tiffdata.h"

#include "CodeLengths.h"
#include "tiffpages.h"

#include <algorithm>
#include <array>
#include <iterator>

#include <zlib.h>

namespace ztrace {

namespace {

const int kWidth = 256;
const int kHeight = 257;
const int kBits = 258;
const int kCompression = 259;
const int kColours = 262;
const int kFillOrder = 266;
const int kOffsets = 273; // of strips or tiles
const int kSamples = 277;
const int kRowsAStrip = 278;
const int kSizes = 279;
const int kPlanes = 284;
const int kTileWidth = 322;
const int kTileHeight = 323;
const int kSampleFormat = 339;

const int kLzw = 5;
const int kDeflate = 8;
const int kLogLuv = 34676; // the decoder makes tones of its samples
const int kLogLuv24 = 34677;
const int kOldDeflate = 32946;
const int kPackBits = 32773;
const int kSubsampled = 6; // luminance and colour differences, fewer of these than of those

const int kWithoutSign = 1; // formats of samples
const int kWithSign = 2;
const int kFloatingPoint = 3;
const int kComplexWhole = 5;
const int kComplex = 6;

// Bytes that writers may leave after the codes of a strip, whatever they are.
const int kSlack = 4;

qint64 first(const TiffValues &values, int tag, qint64 otherwise)
{
    const auto found = values.find(tag);
    return found == values.end() || found->second.empty() ? otherwise : found->second[0];
}

// The codes of a strip or tile, and the bytes that they are to stand for. Some writers fill up the
// last strip of a picture.
struct Strip
{
    QByteArray codes;
    qint64 bytes = 0;
    qint64 filledBytes = 0;
};

class Layout
{
public:
    explicit Layout(const TiffValues &values)
        : height(first(values, kHeight, 0)), isTiled(values.count(kTileWidth) > 0)
    {
        const qint64 samples = first(values, kSamples, 1);
        const qint64 bits = first(values, kBits, 1);
        const bool isPlane = first(values, kPlanes, 1) == 2;
        const qint64 width = first(values, isTiled ? kTileWidth : kWidth, 0);
        rowBytes = (limited(width) * limited(bits) * (isPlane ? 1 : limited(samples)) + 7) / 8;
        rows = first(values, isTiled ? kTileHeight : kRowsAStrip, height);
        rows = std::max<qint64>(1, isTiled ? limited(rows) : std::min(rows, height));
        inPlane = std::max<qint64>(1, (limited(height) + rows - 1) / rows);
    }

    qint64 filledBytes() const { return rows * rowBytes; }

    qint64 bytesOf(qint64 strip) const
    {
        const bool isLast = !isTiled && strip % inPlane == inPlane - 1;
        return isLast ? (limited(height) - (inPlane - 1) * rows) * rowBytes : filledBytes();
    }

private:
    // Products of three are numbers.
    static qint64 limited(qint64 value)
    {
        return std::min<qint64>(std::max<qint64>(0, value), 1 << 20);
    }

    qint64 height;
    bool isTiled;
    qint64 rowBytes = 0;
    qint64 rows = 1; // of a strip or tile
    qint64 inPlane = 1;
};

// Nothing of weight is left of the codes from a place on.
bool isRestPadding(const QByteArray &codes, int at)
{
    const auto from = codes.begin() + std::min(at, codes.size());
    return codes.end() - from <= kSlack
        || std::all_of(from, codes.end(), [from](char byte) { return byte == *from; });
}

// Whether codes end with the bytes of their strip. Codes for too few are the decoder's to find.
class Tally
{
public:
    explicit Tally(const Strip &strip) : wanted(strip) { }

    // Codes for so many bytes more, and where the next ones begin. False when that is enough.
    bool add(qint64 bytes, int next)
    {
        total += bytes;
        isRight = (total == wanted.bytes || total == wanted.filledBytes)
            && isRestPadding(wanted.codes, next);
        return !isRight && total <= wanted.filledBytes;
    }

    bool fits() const { return isRight || total <= wanted.bytes || total == wanted.filledBytes; }

private:
    const Strip &wanted;
    qint64 total = 0;
    bool isRight = false;
};

// Codes from the highest bit on. Those of old writers, from the lowest, begin with other bytes.
bool fitsLzw(const Strip &strip)
{
    const int kValueBits = 8;
    const bool isOld
        = strip.codes.size() > 1 && strip.codes.at(0) == 0 && (strip.codes.at(1) & 1) != 0;
    if (isOld)
        return true;
    CodeLengths lengths(kValueBits, true);
    Tally tally(strip);
    quint64 waiting = 0;
    int bitsWaiting = 0;
    for (int at = 0; at < strip.codes.size();) {
        waiting = waiting << 8 | static_cast<unsigned char>(strip.codes.at(at++));
        bitsWaiting += 8;
        if (bitsWaiting < lengths.size())
            continue;
        bitsWaiting -= lengths.size();
        const int code = static_cast<int>(waiting >> bitsWaiting & ((1u << lengths.size()) - 1));
        const qint64 length = lengths.isEnd(code) ? -1 : lengths.take(code);
        if (length < 0 || !tally.add(length, at))
            break;
    }
    return tally.fits();
}

// Counts of bytes that follow, or, below zero, of copies of one byte; less one each.
bool fitsPackBits(const Strip &strip)
{
    const int kNothing = -128;
    Tally tally(strip);
    for (int at = 0; at < strip.codes.size();) {
        const int count = static_cast<signed char>(strip.codes.at(at++));
        if (count == kNothing)
            continue;
        at += count < 0 ? 1 : count + 1;
        if (!tally.add(qAbs(count) + 1, at))
            break;
    }
    return tally.fits();
}

// Inflated to nowhere. More than twice the bytes that are wanted are too many in any case.
bool hasRightSum(const Strip &strip)
{
    z_stream stream = {};
    if (inflateInit(&stream) != Z_OK)
        return true;
    std::array<Bytef, 1 << 15> nowhere;
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(strip.codes.constData()));
    stream.avail_in = static_cast<uInt>(strip.codes.size());
    const uLong most = static_cast<uLong>(2 * strip.filledBytes) + nowhere.size();
    int state = Z_OK;
    while (state == Z_OK && stream.total_out < most) {
        stream.next_out = nowhere.data();
        stream.avail_out = static_cast<uInt>(nowhere.size());
        state = inflate(&stream, Z_NO_FLUSH);
    }
    inflateEnd(&stream);
    return state == Z_STREAM_END || state == Z_MEM_ERROR;
}

struct Codes
{
    qint64 compression;
    bool (*isRight)(const Strip &strip);
    const char *complaint;
};

const Codes kCodes[] = {
    { kLzw, fitsLzw, "a strip has codes for more pixels than it has" },
    { kPackBits, fitsPackBits, "a strip has codes for more pixels than it has" },
    { kDeflate, hasRightSum, "the sum of a strip is not that of its pixels" },
    { kOldDeflate, hasRightSum, "the sum of a strip is not that of its pixels" },
};

void reverseBits(QByteArray *bytes)
{
    for (char &byte : *bytes) {
        unsigned value = static_cast<unsigned char>(byte);
        value = (value & 0x0F) << 4 | value >> 4;
        value = (value & 0x33) << 2 | (value & 0xCC) >> 2;
        value = (value & 0x55) << 1 | (value & 0xAA) >> 1;
        byte = static_cast<char>(value);
    }
}

// How many bytes they stand for cannot be told here.
bool isSubsampled(const TiffValues &values)
{
    return first(values, kColours, 0) == kSubsampled;
}

} // namespace

QByteArray complaintOfStrips(const QByteArray &bytes, int page)
{
    TiffValues values = tiffValues(bytes, page);
    const qint64 compression = first(values, kCompression, 1);
    const auto codes = std::find_if(std::begin(kCodes), std::end(kCodes), [&](const Codes &known) {
        return known.compression == compression;
    });
    if (codes == std::end(kCodes) || (isSubsampled(values) && codes->isRight != hasRightSum))
        return QByteArray();
    const Layout layout(values);
    const std::vector<qint64> &offsets = values[kOffsets];
    const std::vector<qint64> &sizes = values[kSizes];
    for (std::size_t i = 0; i < std::min(offsets.size(), sizes.size()); ++i) {
        const qint64 at = offsets[i];
        if (at <= 0 || sizes[i] <= 0 || at + sizes[i] > bytes.size())
            continue; // those that are empty are blank, those beyond the end are told otherwise
        Strip strip;
        strip.codes = QByteArray::fromRawData(bytes.constData() + at, static_cast<int>(sizes[i]));
        strip.bytes = layout.bytesOf(static_cast<qint64>(i));
        strip.filledBytes = layout.filledBytes();
        if (first(values, kFillOrder, 1) == 2)
            reverseBits(&strip.codes);
        if (!codes->isRight(strip))
            return codes->complaint;
    }
    return QByteArray();
}

QByteArray unknownSamples(const QByteArray &bytes, int page)
{
    const TiffValues values = tiffValues(bytes, page);
    const qint64 bits = first(values, kBits, 1);
    const qint64 kind = first(values, kSampleFormat, kWithoutSign);
    const QByteArray samples = "samples of " + QByteArray::number(bits) + " bits";
    if (kind == kFloatingPoint)
        return samples + " with a floating point";
    if (kind == kComplexWhole || kind == kComplex)
        return samples + " that are complex numbers";
    const bool isKnown = bits <= 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
    return isKnown ? QByteArray() : samples;
}

bool haveSamplesSigns(const QByteArray &bytes, int page)
{
    const TiffValues values = tiffValues(bytes, page);
    const qint64 compression = first(values, kCompression, 1);
    return first(values, kSampleFormat, kWithoutSign) == kWithSign && compression != kLogLuv
        && compression != kLogLuv24;
}

} // namespace ztrace
