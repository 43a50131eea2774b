// (c) the ztrace developers. Licence: see LICENSE.
#include "Picture.h"

#include "scan.h"

#include <utility>

namespace ztrace {

const GreyPicture &Picture::grey()
{
    if (lightness.isNull())
        lightness = GreyPicture(image);
    return lightness;
}

const Tones &Picture::tones()
{
    if (!known)
        known = tonesOf(grey());
    return *known;
}

const GreyPicture &Picture::evenlyLit()
{
    if (!even)
        even = ztrace::evenlyLit(grey());
    return *even;
}

QImage Picture::takeImage()
{
    lightness = GreyPicture();
    even.reset();
    return std::exchange(image, QImage());
}

GreyPicture Picture::takeGrey()
{
    grey();
    image = QImage();
    even.reset();
    return std::exchange(lightness, GreyPicture());
}

GreyPicture Picture::takeEvenlyLit()
{
    evenlyLit();
    image = QImage();
    lightness = GreyPicture();
    return std::exchange(*even, GreyPicture());
}

} // namespace ztrace
