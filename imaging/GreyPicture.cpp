// (c) the ztrace developers. Licence: see LICENSE.
#include "GreyPicture.h"

#include "failure.h"
#include "lightness.h"
#include "paper.h"

#include <QColor>

#include <cstring>

namespace ztrace {

namespace {

bool isGreyWord(QRgb word)
{
    return qAlpha(word) == 255 && qRed(word) == qGreen(word) && qGreen(word) == qBlue(word);
}

bool hasTable(const QImage &picture)
{
    return picture.format() == QImage::Format_Mono || picture.format() == QImage::Format_MonoLSB
        || picture.format() == QImage::Format_Indexed8;
}

// Lightness of every entry of a table of colours.
std::array<uint8_t, 256> tonesOfTable(const QImage &picture, QRgb paper)
{
    LightnessTable lightness;
    std::array<uint8_t, 256> tones = {};
    for (int i = 0; i < picture.colorCount() && i < 256; ++i)
        tones[static_cast<std::size_t>(i)] = lightness(onPaper(picture.color(i), paper));
    return tones;
}

QImage greyFromTable(QImage picture, const std::array<uint8_t, 256> &tones)
{
    // In place: a byte is a byte.
    const int width = picture.width();
    for (int y = 0; y < picture.height(); ++y) {
        uchar *row = picture.scanLine(y);
        for (int x = 0; x < width; ++x)
            row[x] = tones[row[x]];
    }
    picture.reinterpretAsFormat(QImage::Format_Grayscale8);
    return picture;
}

QImage greyFromWords(const QImage &picture, QRgb paper)
{
    QImage grey(picture.size(), QImage::Format_Grayscale8);
    if (grey.isNull())
        throwNoRoom();
    LightnessTable lightness;
    const bool opaque = picture.format() == QImage::Format_RGB32;
    const int width = picture.width();
    for (int y = 0; y < picture.height(); ++y) {
        const QRgb *words = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        uchar *row = grey.scanLine(y);
        for (int x = 0; x < width; ++x)
            row[x] = lightness(opaque ? words[x] : onPaper(words[x], paper));
    }
    return grey;
}

} // namespace

uint8_t LightnessTable::ask(int largest, int smallest)
{
    const int lightness = QColor(largest, smallest, smallest).lightness();
    byExtremes[static_cast<std::size_t>(256 * largest + smallest)]
        = static_cast<int16_t>(lightness);
    return static_cast<uint8_t>(lightness);
}

bool GreyPicture::isGrey(const QImage &picture)
{
    if (picture.format() == QImage::Format_Grayscale8)
        return true;
    if (!hasTable(picture))
        return false;
    const QVector<QRgb> table = picture.colorTable();
    return !table.isEmpty() && std::all_of(table.begin(), table.end(), isGreyWord);
}

GreyPicture::GreyPicture(QImage picture, QRgb paper) : image(std::move(picture))
{
    if (image.format() == QImage::Format_Grayscale8)
        return;
    if (hasTable(image)) {
        const std::array<uint8_t, 256> all = tonesOfTable(image, paper);
        tones = { { all[0], all[1] } };
        if (image.format() == QImage::Format_Indexed8)
            image = greyFromTable(std::move(image), all);
        else
            image = image.convertToFormat(QImage::Format_Mono);
    } else {
        if (image.format() != QImage::Format_RGB32 && image.format() != QImage::Format_ARGB32)
            image = image.convertToFormat(QImage::Format_ARGB32);
        if (!image.isNull())
            image = greyFromWords(image, paper);
    }
    if (image.isNull())
        throwNoRoom();
}

const uint8_t *GreyPicture::row(int y, uint8_t *buffer) const
{
    const uint8_t *bytes = image.constScanLine(y);
    if (!isBilevel())
        return bytes;
    const int width = image.width();
    for (int x = 0; x < width; ++x)
        buffer[x] = tones[(bytes[x >> 3] >> (7 - (x & 7))) & 1];
    return buffer;
}

} // namespace ztrace
