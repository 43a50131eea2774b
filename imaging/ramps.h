// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas of a picture that one ramp of colour explains, and the picture with these areas flat, so
// that all that follows sees a flat area there: docs/imaging/ramps.md.
#ifndef ZTRACE_IMAGING_RAMPS_H
#define ZTRACE_IMAGING_RAMPS_H

#include <QImage>

#include <cstdint>
#include <optional>
#include <vector>

#include "LabelPlane.h"
#include "ramp.h"
#include "rampcells.h"

namespace ztrace {

// What a pixel edge has to save (shaded.h) where nothing else is said: that of the usual detail.
const double kUsualPriceOfEdge = 400.0;

// A ramp and its area. Stops reach as far as the area does.
struct RampArea
{
    Ramp ramp;
    QRgb mean;    // of its pixels
    QRgb standIn; // in the flattened picture; no other colour beside the area is like it
};

// A soft pixel that became another mixture when its ramp was made flat: counted from the top, and
// its colour before.
struct RampMixture
{
    uint32_t place;
    QRgb before;
};

struct Ramps
{
    std::vector<RampArea> areas;
    std::vector<uint16_t> ofPixel;     // 0: none, k + 1: areas[k]; rows from the top
    RampCells cells;                   // of ofPixel; settled pixels are within their stretches
    std::vector<RampMixture> mixtures; // rows from the top
};

// Of SeenColour, root of the mean square: a step of lightness that the eye just sees. A ramp of one
// colour to another that is 3.5 such steps off has as much.
const double kSeenContrast = 7.6;

// Half as much again, where flat colours are drawn: of paler ramps the borders are uncertain, and
// two or three bands do as well.
const double kContrastBesideFlat = 12.0;

// What a ramp has to be worth.
struct RampPrice
{
    RampPrice(double price, double contrast = kSeenContrast) // NOLINT: it is a price
        : edge(price), leastContrast(contrast)
    { }

    double edge; // what a pixel edge has to save (shaded.h)
    double leastContrast;
};

// Of an ARGB32 image, in its opaque parts. A ramp costs as many edges as its numbers are worth, and
// has to be seen. A picture without ramps has no areas, and then `ofPixel` is empty.
Ramps findRamps(const QImage &image, const RampPrice &price);

// What becomes of the soft pixels of what lies over a ramp.
enum class SoftPixels {
    Mixed,  // what they would be on the stand-in
    Settled // the ramp's or of what lies over it, whichever has more of them
};

// Areas of ramps get their stand-ins, which are chosen here. Settled pixels change areas.
void flatten(SoftPixels soft, Ramps *ramps, QImage *image);

// Whether much of what is in no ramp is shaded as well, such as by soft shadows.
bool isShadedElsewhere(const QImage &image, const Ramps &ramps);

// Whether a picture of flat areas is shaded besides, and hardly any of it is in ramps or in
// photographs that are parts of it: its shades would be bands of the few colours of flat pictures.
// Any format; ramps that pay at the price.
bool isShadedDrawing(const QImage &image, const RampPrice &price);

// Whether hardly anything but ramps that pay at the price, and flat areas, is in a picture of any
// format: an icon as drawing programs make them. Noisy photographs are told in little time,
// smooth ones take a second for some megapixels.
bool isDrawnInRamps(const QImage &image, const RampPrice &price);

// A copy with its ramps flat; nothing where there are none, and where the rest is shaded.
std::optional<QImage> withoutRamps(const QImage &image, double price);

// A new label for every area, from plane->colours.size() on, with its stand-in's colour: its
// pixels, and the soft ones beside them that were taken for the stand-in. Others that were take the
// colour that they have in `image`, which is flat. Areas beyond the most labels that there can be
// keep their stand-ins' labels. Returns the first label.
std::size_t labelRamps(const QImage &image, const Ramps &ramps, LabelPlane *plane);

// Mixtures that took a colour which the picture with its ramps does not have there: they go to what
// explains them better, of the labels near them. `first` is the first label of a ramp.
void settleMixtures(const Ramps &ramps, std::size_t first, LabelPlane *plane);

// Pixels beside ramps that have a colour which nothing near them has in the image, which is flat:
// they go to the label near them that has nearly their own, where there is one.
void settleStrangers(const QImage &image, const Ramps &ramps, std::size_t first, LabelPlane *plane);

// Labels before `first` whose colour none of their pixels had in the picture with its ramps get the
// mean of those of their mixtures: with the stand-in these have become colours of their own. The
// image is flat, the mixtures are in the order in which they were made.
void recolourMixtures(const QImage &image, const Ramps &ramps, std::size_t first,
                      LabelPlane *plane);

} // namespace ztrace

#endif
