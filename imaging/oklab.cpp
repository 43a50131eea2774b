// (c) the ztrace developers. Licence: see LICENSE.
#include "oklab.h"

#include <array>
#include <cmath>
#include <cstdlib>

namespace ztrace {

namespace {

const double kScale = 765.0;

// Light of a channel's value, 0 to 1 (IEC 61966-2-1).
std::array<double, 256> lightOfBytes()
{
    std::array<double, 256> light = {};
    for (std::size_t i = 0; i < light.size(); ++i) {
        const double value = double(i) / 255.0;
        light[i] = value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    }
    return light;
}

// CIE 1976, 0 to 1, of the light of a colour.
double lightnessOf(double light)
{
    const double kDark = 216.0 / 24389.0;
    return light > kDark ? 1.16 * std::cbrt(light) - 0.16 : light * 24389.0 / 2700.0;
}

} // namespace

Oklab oklabOf(QRgb word)
{
    static const std::array<double, 256> kLight = lightOfBytes();
    const double r = kLight[std::size_t(qRed(word))];
    const double g = kLight[std::size_t(qGreen(word))];
    const double b = kLight[std::size_t(qBlue(word))];
    const double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
    const double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
    const double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
    const double lightness = lightnessOf(0.2126 * r + 0.7152 * g + 0.0722 * b);
    const double greenRed = 1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s;
    const double blueYellow = 0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s;
    return { float(kScale * lightness), float(kScale * greenRed), float(kScale * blueYellow),
             qAlpha(word) };
}

float seenDistance(const Oklab &a, const Oklab &b)
{
    const float transparency = 4.0f * float(std::abs(a.alpha - b.alpha));
    if (a.alpha == 0 || b.alpha == 0)
        return transparency;
    const float l = a.lightness - b.lightness;
    const float g = a.greenRed - b.greenRed;
    const float y = a.blueYellow - b.blueYellow;
    return transparency + std::sqrt(l * l + g * g + y * y);
}

} // namespace ztrace
