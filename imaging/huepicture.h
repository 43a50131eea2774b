// (c) the ztrace developers. Licence: see LICENSE.
//
// Pixels as lightness and two hues, as compression keeps them: docs/imaging/ringing.md.
#ifndef ZTRACE_IMAGING_HUEPICTURE_H
#define ZTRACE_IMAGING_HUEPICTURE_H

#include <QImage>
#include <QRgb>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// Steps of 255. `light` as ITU-R BT.601 weighs it, `blue` and `red` what these are more than it,
// scaled to +-127.5.
struct Hue
{
    float light;
    float blue;
    float red;
};

Hue hueOf(QRgb word);
QRgb wordOf(const Hue &hue); // opaque, each channel cut off at 0 and 255

// The mixture of a and b that is nearest to a colour, and the square of how far that is.
// Differences of hue count `ofHue` times. What is beyond a or b by at most `beyond` of the way
// between them is an overshoot, and only as far away as it is beside the way.
struct Mixture
{
    Hue hue;
    float squared;
};
Mixture mixtureNear(const Hue &own, const Hue &a, const Hue &b, float ofHue, float beyond);

// How far two colours are apart, hues counting half.
float apart(const Hue &a, const Hue &b);

class HuePicture
{
public:
    explicit HuePicture(const QImage &image); // ARGB32, opaque

    int width() const { return columns; }
    int height() const { return rows; }
    std::size_t at(int x, int y) const
    {
        return std::size_t(y) * std::size_t(columns) + std::size_t(x);
    }
    Hue operator[](std::size_t place) const
    {
        return { lights[place] / kScale, blues[place] / kScale, reds[place] / kScale };
    }

    // Hues were kept at half the resolution: where they follow lightness around a pixel they follow
    // it to the pixel again.
    void sharpen();

private:
    static constexpr float kScale = 64.0f;

    class Windows;
    float softened(const std::vector<int16_t> &plane, int x, int y) const;
    float shareToAdd(Windows *windows) const;
    template<typename Use>
    void forEachDetail(Windows *windows, const Use &use) const;

    int columns;
    int rows;
    std::vector<int16_t> lights;
    std::vector<int16_t> blues;
    std::vector<int16_t> reds;
};

} // namespace ztrace

#endif
