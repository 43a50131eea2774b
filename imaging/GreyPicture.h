// (c) the ztrace developers. Licence: see LICENSE.
//
// A picture of lightness alone, one bit or one byte a pixel.
#ifndef ZTRACE_IMAGING_GREYPICTURE_H
#define ZTRACE_IMAGING_GREYPICTURE_H

#include <QImage>

#include <array>
#include <cstdint>
#include <vector>

namespace ztrace {

// Lightness is 0 to 255, as QColor::lightness tells it: a grey's own value. A picture that is grey
// and opaque in one bit or one byte a pixel is not copied.
class GreyPicture
{
public:
    GreyPicture() = default;

    // `paper` is put under what is not opaque. Throws a TraceError where memory does not hold it.
    explicit GreyPicture(QImage picture, QRgb paper = 0xFFFFFFFFu);

    // Whether a picture is one of greys alone by its format and its table of colours, and opaque.
    static bool isGrey(const QImage &picture);

    int width() const { return image.width(); }
    int height() const { return image.height(); }
    bool isNull() const { return image.isNull(); }

    // One bit a pixel, the leftmost in the highest bit of a byte; toneOf tells what a bit means.
    bool isBilevel() const { return image.format() == QImage::Format_Mono; }
    const uint8_t *bits(int y) const { return image.constScanLine(y); }
    uint8_t toneOf(int bit) const { return tones[static_cast<std::size_t>(bit)]; }

    // The lightnesses of a row. The buffer has room for a row and is used where the picture is of
    // one bit a pixel.
    const uint8_t *row(int y, uint8_t *buffer) const;

    // Format_Mono, or Format_Grayscale8.
    const QImage &asImage() const { return image; }

private:
    QImage image;
    std::array<uint8_t, 2> tones = { { 0, 255 } }; // of zeros and ones
};

} // namespace ztrace

#endif
