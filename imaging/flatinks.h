// (c) the ztrace developers. Licence: see LICENSE.
//
// The few colours of flat art under the noise of compression: docs/imaging/ringing.md.
#ifndef ZTRACE_IMAGING_FLATINKS_H
#define ZTRACE_IMAGING_FLATINKS_H

#include <QImage>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "huepicture.h"

namespace ztrace {

struct FlatInk
{
    QRgb word;
    Hue hue;
};

// Labels of pixels that have no ink, or none yet.
const int16_t kNoInk = -1;
// And of those in shades, which have none and stay as they are.
const int16_t kShade = -2;

// Colours of areas, the commonest first, at most 64. What goes from one colour to another has none,
// and a picture that is mostly of that has none at all.
std::vector<FlatInk> inksOfAreas(const QImage &image);

// Sets the labels of pixels amid others that go from one colour to another to kShade.
void markShades(const QImage &image, const std::vector<FlatInk> &inks,
                std::vector<int16_t> *labels);

// Colours of strokes that are too thin for areas: of the cores of what has no ink beside what has
// one, at most 48. `labels` are places in `inks`, or kNoInk,
// or kShade.
std::vector<FlatInk> inksOfStrokes(const HuePicture &picture, const std::vector<int16_t> &labels,
                                   const std::vector<FlatInk> &inks);

// The inks that a label within `reach` pixels tells, as often as it is there, the first met first.
struct InksNearby
{
    struct Ink
    {
        int16_t label;
        int count;
    };
    static const int kMost = 12; // others are not listed

    Ink inks[kMost];
    int size = 0;

    void add(int16_t label);
    const Ink *begin() const { return inks; }
    const Ink *end() const { return inks + size; }
};
template<typename Use>
void forEachPlaceAround(const HuePicture &picture, int x, int y, int reach, const Use &use)
{
    for (int v = std::max(0, y - reach); v <= std::min(picture.height() - 1, y + reach); ++v) {
        for (int u = std::max(0, x - reach); u <= std::min(picture.width() - 1, x + reach); ++u)
            use(picture.at(u, v));
    }
}

} // namespace ztrace

#endif
