// (c) the ztrace developers. Licence: see LICENSE.
#include "rightsums.h"

#include <algorithm>

#include <zlib.h>

namespace ztrace {

namespace {

quint32 crcOf(const QByteArray &bytes)
{
    return quint32(::crc32(0, reinterpret_cast<const Bytef *>(bytes.constData()),
                           static_cast<uInt>(bytes.size())));
}

// What follows a header of zlib or gzip, unpacked; null where it has no end.
QByteArray unpacked(const QByteArray &packed)
{
    z_stream stream = {};
    QByteArray whole(1 << 20, '\0');
    const int kNoHeader = -15;
    if (inflateInit2(&stream, kNoHeader) != Z_OK)
        qFatal("zlib");
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(packed.constData()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef *>(whole.data());
    stream.avail_out = static_cast<uInt>(whole.size());
    const int state = inflate(&stream, Z_FINISH);
    whole.truncate(static_cast<int>(stream.total_out));
    inflateEnd(&stream);
    return state == Z_STREAM_END ? whole : QByteArray();
}

// Qt's has a length of four bytes and the header of zlib before, and a sum behind.
const int kBeforePacked = 6;
const int kSum = 4;
const int kGzipHead = 10;

// With the sum of what it unpacks to, where it does.
void mendGzip(QByteArray *bytes)
{
    const QByteArray whole = unpacked(bytes->mid(kGzipHead, bytes->size() - kGzipHead - 2 * kSum));
    if (!whole.isNull())
        bytes->replace(bytes->size() - 2 * kSum, kSum, little(int(crcOf(whole)), kSum));
}

// The same of the one chunk of pixels.
void mendAdler(QByteArray *content)
{
    const int kBefore = 6; // the chunk's name, and zlib's header
    const QByteArray whole = unpacked(content->mid(kBefore, content->size() - kBefore - kSum));
    if (!whole.isNull()) {
        const uLong adler = ::adler32(1, reinterpret_cast<const Bytef *>(whole.constData()),
                                      static_cast<uInt>(whole.size()));
        content->replace(content->size() - kSum, kSum, big(int(adler)));
    }
}

} // namespace

QByteArray little(int value, int bytes)
{
    QByteArray text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(i < 4 ? value >> (8 * i) : 0);
    return text;
}

QByteArray big(int value)
{
    QByteArray text = little(value, 4);
    std::reverse(text.begin(), text.end());
    return text;
}

QByteArray sum(const QByteArray &content)
{
    return big(static_cast<int>(crcOf(content)));
}

QByteArray gzipped(const QByteArray &bytes)
{
    const QByteArray packed = qCompress(bytes);
    return QByteArray::fromHex("1f8b0800000000000003")
        + packed.mid(kBeforePacked, packed.size() - kBeforePacked - kSum)
        + little(int(crcOf(bytes)), kSum) + little(bytes.size(), kSum);
}

QByteArray withRightSums(QByteArray bytes)
{
    if (bytes.startsWith("\x1f\x8b"))
        mendGzip(&bytes);
    if (!bytes.startsWith("\x89PNG") && !bytes.startsWith("\x8aMNG"))
        return bytes;
    for (qint64 at = 8; at + 12 <= bytes.size();) {
        qint64 length = 0;
        for (int i = 0; i < 4; ++i)
            length = 256 * length + static_cast<unsigned char>(bytes.at(static_cast<int>(at) + i));
        if (at + length + 12 > bytes.size())
            break;
        const int content = static_cast<int>(at) + 4;
        const int size = static_cast<int>(length) + 4;
        QByteArray chunk = bytes.mid(content, size);
        if (chunk.startsWith("IDAT"))
            mendAdler(&chunk);
        bytes.replace(content, size + kSum, chunk + sum(chunk));
        at += length + 12;
    }
    return bytes;
}

} // namespace ztrace
