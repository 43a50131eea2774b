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
        const Lights &red = shares[0][std::size_t(qRed(word))];
        const Lights &green = shares[1][std::size_t(qGreen(word))];
        const Lights &blue = shares[2][std::size_t(qBlue(word))];
        Lights lights; // one vector
        for (std::size_t k = 0; k < lights.size(); ++k)
            lights[k] = red[k] + green[k] + blue[k];
        const float l = roots[std::size_t(lights[0])];
        const float m = roots[std::size_t(lights[1])];
        const float s = roots[std::size_t(lights[2])];
        return { lightnesses[std::size_t(lights[3])],
                 2.0f * (1.9779984951f * l - 2.4285922050f * m + 0.4505937099f * s),
                 2.0f * (0.0259040371f * l + 0.7827717662f * m - 0.8086757660f * s) };
    }

private:
    typedef std::array<int, 4> Lights;

    std::array<std::array<Lights, 256>, 3> shares; // of a channel's value in each of four lights
    std::vector<float> roots;                      // of a light
    std::vector<float> lightnesses;
};

} // namespace ztrace

#endif
