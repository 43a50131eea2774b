// (c) the ztrace developers. Licence: see LICENSE.
//
// Small image files: by the toolkit's writers, and by hand where it has none.
#ifndef ZTRACE_TESTS_CLI_SMALLFILES_H
#define ZTRACE_TESTS_CLI_SMALLFILES_H

#include "rightsums.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>

namespace ztrace {

inline QImage picture(QImage::Format format, int width = 23, int height = 9)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x * 11 + 1, y * 28, (x * y * 7) % 256));
    }
    return image.convertToFormat(format);
}

inline QByteArray written(const char *writer, const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter imageWriter(&buffer, writer);
    if (!imageWriter.write(image))
        qFatal("%s: %s", writer, qPrintable(imageWriter.errorString()));
    return bytes;
}

// With the writer told to do it in another way.
inline QByteArray written(const char *writer, const QImage &image, int compression, int quality,
                          bool progressive)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter imageWriter(&buffer, writer);
    imageWriter.setCompression(compression);
    imageWriter.setQuality(quality);
    imageWriter.setProgressiveScanWrite(progressive);
    if (!imageWriter.write(image))
        qFatal("%s: %s", writer, qPrintable(imageWriter.errorString()));
    return bytes;
}

inline QByteArray entry(int tag, int type, int count, int value)
{
    return little(tag, 2) + little(type, 2) + little(count, 4) + little(value, 4);
}

// Eight lines of eight pixels as a fax of Group 4.
inline QByteArray fax(const QByteArray &codes)
{
    return "II*" + little(0, 1) + little(8, 4) + little(8, 2) + entry(256, 3, 1, 8)
        + entry(257, 3, 1, 8) + entry(258, 3, 1, 1) + entry(259, 3, 1, 4) + entry(262, 3, 1, 0)
        + entry(273, 4, 1, 110) + entry(278, 3, 1, 8) + entry(279, 4, 1, codes.size())
        + little(0, 4) + codes;
}

// One of 4 x 2 pixels, whose directory's values lie behind everything else: the colours, then the
// resolution.
inline QByteArray tiffOfColours()
{
    const int kDirectory = 16;
    const int kEntries = 11;
    const int kColours = kDirectory + 2 + 12 * kEntries + 4;
    const int kResolution = kColours + 3 * 256 * 2;
    QByteArray bytes = "II*" + little(0, 1) + little(kDirectory, 4)
        + QByteArray::fromHex("0010ff8040200705") + little(kEntries, 2);
    bytes += entry(256, 3, 1, 4) + entry(257, 3, 1, 2) + entry(258, 3, 1, 8) + entry(259, 3, 1, 1)
        + entry(262, 3, 1, 3) + entry(273, 4, 1, 8) + entry(278, 3, 1, 2) + entry(279, 4, 1, 8)
        + entry(282, 5, 1, kResolution) + entry(283, 5, 1, kResolution)
        + entry(320, 3, 768, kColours) + little(0, 4);
    for (int channel = 0; channel < 3; ++channel) {
        for (int i = 0; i < 256; ++i)
            bytes += little((channel == 1 ? 255 - i : i) * 257, 2);
    }
    return bytes + little(300, 4) + little(1, 4);
}

// Two frames of 4 x 4 pixels. Codes of three bits, a clear code before every second pixel, so that
// the table never grows.
inline QByteArray gif(int frames)
{
    QByteArray bytes = "GIF89a" + little(4, 2) + little(4, 2) + little(0x80, 3);
    bytes += QByteArray::fromHex("000000ffffff");
    for (int frame = 0; frame < frames; ++frame) {
        int bits = 0;
        int count = 0;
        QByteArray codes;
        const auto put = [&](int code) {
            bits |= code << count;
            for (count += 3; count >= 8; count -= 8, bits >>= 8)
                codes += static_cast<char>(bits & 255);
        };
        for (int i = 0; i < 16; ++i) {
            if (i % 2 == 0)
                put(4);
            put((i + frame) % 3 == 0 ? 1 : 0);
        }
        put(5);
        codes += static_cast<char>(bits & 255);
        bytes += QByteArray::fromHex("21f9040005000000"); // shown for five hundredths of a second
        bytes += ',' + little(0, 4) + little(4, 2) + little(4, 2) + little(0, 1) + little(2, 1)
            + little(codes.size(), 1) + codes + little(0, 1);
    }
    return bytes + ';';
}

inline QByteArray tga()
{
    QByteArray bytes = little(0, 2) + little(2, 1) + little(0, 9) + little(5, 2) + little(4, 2)
        + little(24, 1) + little(0x20, 1);
    for (int i = 0; i < 20; ++i)
        bytes += little(i * 0x0A0305 + 0x101010, 3);
    return bytes;
}

// One of runs: 8 x 4 pixels, 8 bits each.
inline QByteArray bmpInRuns()
{
    QByteArray runs;
    for (int y = 0; y < 4; ++y)
        runs
            += little(5, 1) + little(y + 1, 1) + QByteArray::fromHex("000307080900") + little(0, 2);
    runs += little(0x100, 2);
    QByteArray colours;
    for (int i = 0; i < 256; ++i)
        colours += little(i * 0x010203, 4);
    QByteArray head = little(40, 4) + little(8, 4) + little(4, 4) + little(1, 2) + little(8, 2)
        + little(1, 4) + little(runs.size(), 4) + little(0, 8) + little(256, 4) + little(0, 4);
    const int data = 14 + head.size() + colours.size();
    return "BM" + little(data + runs.size(), 4) + little(0, 4) + little(data, 4) + head + colours
        + runs;
}

inline QByteArray mng()
{
    const QByteArray png = written("png", picture(QImage::Format_RGB32));
    const QByteArray head
        = "MHDR" + big(23) + big(9) + big(100) + big(0) + big(0) + big(0) + big(1);
    return QByteArray::fromHex("8a4d4e470d0a1a0a") + big(28) + head + sum(head) + png.mid(8)
        + big(0) + "MEND" + sum("MEND");
}

inline QByteArray svg(const QByteArray &inside)
{
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' "
           "width='20' height='20'>"
        + inside + "</svg>\n";
}

} // namespace ztrace

#endif
