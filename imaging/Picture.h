// (c) the ztrace developers. Licence: see LICENSE.
//
// A picture, and what has been found out about it.
#ifndef ZTRACE_IMAGING_PICTURE_H
#define ZTRACE_IMAGING_PICTURE_H

#include <QImage>

#include <optional>

#include "GreyPicture.h"
#include "tones.h"

namespace ztrace {

// Its lightness and its tones are found when they are first asked for, and once.
class Picture
{
public:
    Picture() = default;
    Picture(QImage picture) : image(std::move(picture)) { } // NOLINT: it is one

    const QImage &asImage() const { return image; }
    int width() const { return image.width(); }
    int height() const { return image.height(); }

    // Whether its pixels are greys, opaque, and in one bit or one byte each.
    bool isGrey() const { return GreyPicture::isGrey(image); }

    // Its lightness, over white paper.
    const GreyPicture &grey();
    const Tones &tones();

    // Its lightness with the paper evened out (scan.h); null where it is too small for that.
    const GreyPicture &evenlyLit();

    // Give away the pixels; the picture is null then, and keeps its tones.
    QImage takeImage();
    GreyPicture takeGrey();
    GreyPicture takeEvenlyLit();

private:
    QImage image;
    GreyPicture lightness;
    std::optional<GreyPicture> even;
    std::optional<Tones> known;
};

} // namespace ztrace

#endif
