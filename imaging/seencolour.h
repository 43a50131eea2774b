// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours of shaded pictures as the eye weighs them, by tables: docs/imaging/regions.md, "Colours".
#ifndef ZTRACE_IMAGING_SEENCOLOUR_H
#define ZTRACE_IMAGING_SEENCOLOUR_H

#include <QRgb>

#include <array>
#include <cstddef>
#include <vector>

namespace ztrace {

// As in oklab.h, but with the hues times two: there a step of lightness and one of hue that the eye
// takes for equal (CIE 1976) are about 7.6 and 3 apart.
struct SeenColour
{
    float lightness = 0.0f;
    float greenRed = 0.0f;
    float blueYellow = 0.0f;
};

inline float squaredDistance(const SeenColour &a, const SeenColour &b)
{
    const float l = a.lightness - b.lightness;
    const float g = a.greenRed - b.greenRed;
    const float y = a.blueYellow - b.blueYellow;
    return l * l + g * g + y * y;
}

// Makes seen colours of words, whatever their alpha, within 1 of what oklabOf says (2 for hues).
class SeenColours
{
public:
    SeenColours();

    SeenColour of(QRgb word) const
    {
        const std::size_t r = std::size_t(qRed(word));
        const std::size_t g = std::size_t(qGreen(word));
        const std::size_t b = std::size_t(qBlue(word));
        const auto light = [&](std::size_t k) {
            return std::size_t(shares[3 * k][r] + shares[3 * k + 1][g] + shares[3 * k + 2][b]);
        };
        const float l = roots[light(0)];
        const float m = roots[light(1)];
        const float s = roots[light(2)];
        return { lightnesses[light(3)],
                 2.0f * (1.9779984951f * l - 2.4285922050f * m + 0.4505937099f * s),
                 2.0f * (0.0259040371f * l + 0.7827717662f * m - 0.8086757660f * s) };
    }

private:
    std::array<std::array<int, 256>, 12> shares; // of a channel's value in each of four lights
    std::vector<float> roots;                    // of a light
    std::vector<float> lightnesses;
};

} // namespace ztrace

#endif
