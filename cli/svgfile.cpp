// (c) the ztrace developers. Licence: see LICENSE.
#include "svgfile.h"

#include "distrust.h"
#include "imageplugins.h"

#include <QBuffer>
#include <QImageReader>
#include <QSize>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <zlib.h>

namespace ztrace {

namespace {

const qint64 kMostText = 256LL << 20; // bytes that a compressed text may have

bool isCompressed(const QByteArray &bytes)
{
    return bytes.startsWith("\x1F\x8B");
}

// Null when the data are damaged, end early, or have more than `most` bytes.
QByteArray uncompressed(const QByteArray &bytes, qint64 most)
{
    const int kAutomatic = 47; // the largest window, with the header of gzip or zlib
    z_stream stream = {};
    if (inflateInit2(&stream, kAutomatic) != Z_OK)
        return QByteArray();
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.constData()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    QByteArray text;
    QByteArray part(1 << 16, '\0');
    int state = Z_OK;
    while (state == Z_OK && text.size() <= most) {
        stream.next_out = reinterpret_cast<Bytef *>(part.data());
        stream.avail_out = static_cast<uInt>(part.size());
        state = inflate(&stream, Z_NO_FLUSH);
        text.append(part.constData(), part.size() - static_cast<int>(stream.avail_out));
    }
    inflateEnd(&stream);
    return state == Z_STREAM_END ? text : QByteArray();
}

QByteArray textOf(const QByteArray &bytes, qint64 most)
{
    return isCompressed(bytes) ? uncompressed(bytes, qMin(most, kMostText)) : bytes;
}

// Whether the reference is an image in pixels, written out. One of SVG could name files again.
bool isWrittenOut(const QString &reference, QSize *size = nullptr)
{
    const int data = reference.lastIndexOf(QLatin1String("base64,"));
    if (!reference.startsWith(QLatin1String("data:")) || data < 0)
        return false;
    QByteArray bytes = QByteArray::fromBase64(reference.mid(data + 7).toLatin1());
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    useImagePlugins();
    QImageReader reader(&buffer);
    if (size)
        *size = reader.size();
    return reader.canRead() && !reader.format().startsWith("svg") && !isDistrusted(reader.format());
}

// The toolkit loads style sheets, and takes what is no image of its own for the name of a file. It
// knows elements by their names whatever their namespace.
bool namesFile(const QXmlStreamReader &reader)
{
    if (reader.isProcessingInstruction())
        return reader.processingInstructionTarget() == QLatin1String("xml-stylesheet");
    if (!reader.isStartElement() || reader.name() != QLatin1String("image"))
        return false;
    for (const QXmlStreamAttribute &attribute : reader.attributes()) {
        if (attribute.name() == QLatin1String("href")
            && !isWrittenOut(attribute.value().trimmed().toString()))
            return true;
    }
    return false;
}

// -1 for text that is not well formed.
int countNamedFiles(const QByteArray &text)
{
    QXmlStreamReader reader(text);
    int count = 0;
    while (!reader.atEnd()) {
        reader.readNext();
        count += namesFile(reader) ? 1 : 0;
    }
    return reader.hasError() ? -1 : count;
}

} // namespace

bool svgEnds(const QByteArray &bytes)
{
    return countNamedFiles(textOf(bytes, kMostText)) >= 0;
}

QByteArray withoutNamedFiles(const QByteArray &bytes, qint64 most, int *leftOut)
{
    const QByteArray text = textOf(bytes, most);
    *leftOut = countNamedFiles(text);
    if (*leftOut <= 0)
        return *leftOut < 0 ? QByteArray() : text;
    QByteArray result;
    QXmlStreamWriter writer(&result);
    QXmlStreamReader reader(text);
    while (!reader.atEnd()) {
        reader.readNext();
        if (namesFile(reader)) {
            if (reader.isStartElement())
                reader.skipCurrentElement();
        } else if (reader.tokenType() != QXmlStreamReader::Invalid && !reader.isDTD()) {
            writer.writeCurrentToken(reader);
        }
    }
    return result;
}

namespace {

double pixelsWithin(const QXmlStreamReader &reader)
{
    double pixels = 0.0;
    for (const QXmlStreamAttribute &attribute : reader.attributes()) {
        QSize size;
        if (attribute.name() == QLatin1String("href")
            && isWrittenOut(attribute.value().trimmed().toString(), &size) && size.isValid())
            pixels += double(size.width()) * double(size.height());
    }
    return pixels;
}

// Each has a block, or a comma before the next that shares it; those within blocks do no harm.
double selectorsOf(const QStringRef &sheet)
{
    return sheet.count(QLatin1Char('{')) + sheet.count(QLatin1Char(','));
}

} // namespace

SvgDemand demandOf(const QByteArray &text)
{
    SvgDemand demand;
    double stops = 0.0; // of the gradient that is open
    bool isSheet = false;
    QXmlStreamReader reader(text);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isCharacters() && isSheet)
            demand.rules += selectorsOf(reader.text());
        if (!reader.isStartElement())
            continue;
        ++demand.elements;
        isSheet = reader.name() == QLatin1String("style");
        if (reader.name() == QLatin1String("image"))
            demand.pixels += pixelsWithin(reader);
        if (reader.name().endsWith(QLatin1String("Gradient")))
            stops = 0.0;
        if (reader.name() == QLatin1String("stop"))
            demand.stops += 2.0 * stops++ + 1.0; // squares are sums of odd numbers
    }
    return demand;
}

} // namespace ztrace
