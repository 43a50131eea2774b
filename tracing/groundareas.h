// (c) the ztrace developers. Licence: see LICENSE.
//
// The even areas of a picture that strokes are drawn in. docs/strokes/grounds.md.
#ifndef ZTRACE_TRACING_GROUNDAREAS_H
#define ZTRACE_TRACING_GROUNDAREAS_H

#include "opaque.h"

#include "imaging/Picture.h"
#include "imaging/failure.h"
#include "strokes/grounds.h"

#include <algorithm>

namespace ztrace {

// Keeps the picture for as long as it has areas.
class GroundAreas
{
public:
    // Pictures in one bit and in greys have none: there tints are told, not drawn.
    explicit GroundAreas(const Picture &picture)
    {
        if (picture.asImage().isNull() || picture.isGrey())
            return;
        const QImage &whole = picture.asImage();
        if (whole.depth() < 8)
            return;
        image = opaque(fourthRowsOf(whole));
        if (!strokes::mayHaveGrounds(pixels())) {
            image = QImage();
            return;
        }
        image = opaque(whole);
        if (!strokes::groundsOf(pixels(), &grounds))
            image = QImage();
    }

    bool any() const { return !image.isNull(); }
    std::size_t areas() const { return grounds.areas; }
    // Of paper, the first, and of the areas.
    const std::vector<uint32_t> &colours() const { return grounds.colours; }

    // The picture with paper in place of the areas. Once.
    QImage takePicture()
    {
        QImage result(image.width(), image.height(), QImage::Format_RGB32);
        if (result.isNull())
            throwNoRoom();
        auto row = grounds.pixels.begin();
        for (int y = 0; y < result.height(); ++y, row += result.width())
            std::copy(row, row + result.width(), reinterpret_cast<QRgb *>(result.scanLine(y)));
        grounds.pixels = std::vector<uint32_t>();
        return result;
    }

    strokes::Plane cells(std::size_t ground) const
    {
        return strokes::cellsOf(grounds, pixels(), ground);
    }
    std::vector<uint8_t> grey(std::size_t ground) const
    {
        return strokes::greyOf(grounds, pixels(), ground);
    }

private:
    // Over the same memory.
    static QImage fourthRowsOf(const QImage &whole)
    {
        QImage rows(whole.constBits(), whole.width(), (whole.height() + 3) / 4,
                    4 * whole.bytesPerLine(), whole.format());
        rows.setColorTable(whole.colorTable());
        return rows;
    }

    strokes::ColourPicture pixels() const
    {
        return { image.width(), image.height(),
                 reinterpret_cast<const uint32_t *>(image.constBits()),
                 std::size_t(image.bytesPerLine()) / sizeof(uint32_t) };
    }

    QImage image;
    strokes::Grounds grounds;
};

} // namespace ztrace

#endif
