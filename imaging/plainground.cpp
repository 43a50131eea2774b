// (c) the ztrace developers. Licence: see LICENSE.
#include "plainground.h"

#include "colour.h"

#include <algorithm>
#include <cstdlib>

namespace ztrace {

namespace {

const int kRows = 512;             // looked at
const int kLeastSide = 64;         // pixels; icons stay what they are
const double kFlatBeside = 0.05;   // so few of the other pixels are flat,
const double kShadedBeside = 0.42; // and so many are shades far from the ground
const int kNear = 24;              // steps of a channel that shades and speckle differ by

bool isNear(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) <= kNear && std::abs(qGreen(a) - qGreen(b)) <= kNear
        && std::abs(qBlue(a) - qBlue(b)) <= kNear;
}

// Whether a pixel is near to the next ones, and not of their colour either.
bool isShade(const QRgb *words, const QRgb *above, const QRgb *below, int x)
{
    bool same = true;
    for (QRgb next : { words[x - 1], words[x + 1], above[x], below[x] }) {
        if (!isNear(words[x], next))
            return false;
        same = same && hueDistance(words[x], next) == 0;
    }
    return !same;
}

} // namespace

bool isShadedOnPlainGround(const QImage &image, const ColourFeatures &features)
{
    const double others = double(features.visible - features.ground);
    if (std::min(image.width(), image.height()) < kLeastSide || features.ground == 0
        || double(features.flat - features.ground) > kFlatBeside * others)
        return false;
    const int step = std::max(1, image.height() / kRows);
    double pixels = 0.0;
    double shaded = 0.0;
    for (int y = 1; y + 1 < image.height(); y += step) {
        const QRgb *words = row(image, y);
        for (int x = 1; x + 1 < image.width(); ++x) {
            pixels += 1.0;
            shaded += !isNear(words[x], features.groundColour)
                && isShade(words, row(image, y - 1), row(image, y + 1), x);
        }
    }
    return shaded / pixels >= kShadedBeside * others / double(features.visible);
}

} // namespace ztrace
