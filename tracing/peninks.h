// (c) the ztrace developers. Licence: see LICENSE.
//
// The inks of a picture that strokes are drawn in, through what is done to its page.
// docs/strokes/inks.md.
#ifndef ZTRACE_TRACING_PENINKS_H
#define ZTRACE_TRACING_PENINKS_H

#include "opaque.h"

#include "imaging/Picture.h"
#include "imaging/failure.h"
#include "strokes/inks.h"

#include "fit/Chain.h"

#include <QRgb>
#include <QString>

#include <algorithm>
#include <cmath>
#include <vector>

namespace ztrace {

// The inks of a picture, in their own colours where they have any.
class PenInks
{
public:
    // Steps that the channels of a colour with a hue differ by.
    static constexpr int kLeastHue = 48;

    // `usual` is the colour of ink that has none of its own. Greys, and a null picture, have none.
    PenInks(const Picture &picture, QRgb usual) : colours(1, usual)
    {
        if (picture.asImage().isNull() || picture.isGrey())
            return;
        const QImage image = opaque(picture.asImage());
        const strokes::ColourPicture pixels
            = { image.width(), image.height(),
                reinterpret_cast<const uint32_t *>(image.constBits()),
                std::size_t(image.bytesPerLine()) / sizeof(uint32_t) };
        if (!strokes::inksOf(pixels, &inks))
            return;
        width = image.width();
        height = image.height();
        colours.assign(inks.colours.begin(), inks.colours.end());
    }

    bool isColoured() const { return !inks.labels.empty(); }
    const std::vector<QRgb> &all() const { return colours; }
    QRgb colourOf(int ink) const { return colours[std::size_t(ink)]; }

    // The picture as if all inks were black. Once.
    QImage takeGrey()
    {
        QImage image(width, height, QImage::Format_Grayscale8);
        if (image.isNull())
            throwNoRoom();
        for (int y = 0; y < height; ++y) {
            const auto row = inks.grey.begin() + std::ptrdiff_t(y) * width;
            std::copy(row, row + width, image.scanLine(y));
        }
        inks.grey = std::vector<uint8_t>();
        return image;
    }

    // Degrees that the page has been turned by, clockwise around its middle.
    void turnBy(double degrees)
    {
        const double kRadians = 3.14159265358979323846 / 180.0;
        cosine = std::cos(kRadians * degrees);
        sine = std::sin(kRadians * degrees);
    }

    // At a place of the turned page, y down.
    uint8_t at(fit::Point p) const
    {
        const fit::Point middle = { 0.5 * width, 0.5 * height };
        const fit::Point arm = p - middle;
        const int x = int(std::floor(middle.x + cosine * arm.x + sine * arm.y));
        const int y = int(std::floor(middle.y - sine * arm.x + cosine * arm.y));
        if (x < 0 || y < 0 || x >= width || y >= height)
            return strokes::kNoInk;
        return inks.labels[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    }

    // What tells layers of one pen apart: nothing where there is one ink, or for ink without a hue.
    QString suffixOf(int ink) const
    {
        const QRgb c = colourOf(ink);
        const int most = std::max({ qRed(c), qGreen(c), qBlue(c) });
        const int least = std::min({ qRed(c), qGreen(c), qBlue(c) });
        if (colours.size() < 2 || most - least < kLeastHue)
            return QString();
        return QString::fromLatin1("_%1").arg(c & 0xFFFFFFu, 6, 16, QLatin1Char('0')).toUpper();
    }

private:
    strokes::Inks inks;
    std::vector<QRgb> colours;
    int width = 0;
    int height = 0;
    double cosine = 1.0;
    double sine = 0.0;
};

} // namespace ztrace

#endif
