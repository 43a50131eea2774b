// (c) the ztrace developers. Licence: see LICENSE.
//
// How different two colours look: docs/imaging/oklab.md.
#ifndef ZTRACE_IMAGING_OKLAB_H
#define ZTRACE_IMAGING_OKLAB_H

#include <QRgb>

namespace ztrace {

// Lightness, green to red and blue to yellow of a colour, times 765: grey levels that are one apart
// in all three channels are about 3 apart, as they are in sums of the channels' differences. The
// hues are those of B. Ottosson, "A perceptual color space for image processing", 2020; lightness
// is that of CIE 1976, since his stretches what is nearly black.
struct Oklab
{
    float lightness;
    float greenRed;
    float blueYellow;
    int alpha; // 0 to 255
};

// Whatever the alpha, of the colour alone.
Oklab oklabOf(QRgb word);

// As the eye sees it, 0 to about 800, and transparency as in colourDistance (colour.h): four times
// the difference of alpha, and nothing but that where one is fully transparent.
float seenDistance(const Oklab &a, const Oklab &b);

} // namespace ztrace

#endif
