// (c) the ztrace developers. Licence: see LICENSE.
#include "pixelart.h"

#include "colour.h"
#include "visiblecolour.h"

#include <algorithm>

namespace ztrace {

namespace {

const std::size_t kMostColours = 16;
const double kOfMixture = 12.0; // steps of a channel, as the crow flies

bool isMixture(QRgb colour, const std::vector<QRgb> &others)
{
    const VisibleColour own = visible(colour);
    for (std::size_t i = 0; i < others.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            if (colour != others[i] && colour != others[k]
                && squareToMixture(own, visible(others[i]), visible(others[k]))
                    <= kOfMixture * kOfMixture)
                return true;
        }
    }
    return false;
}

} // namespace

LabelPlane labelPixelArt(const QImage &image, int most)
{
    const std::size_t room = std::min(kMostColours, std::size_t(std::max(0, most)));
    if (image.width() > kMostPixelsOfPixelArt / std::max(1, image.height()))
        return LabelPlane();
    LabelPlane plane { image.width(), image.height(), {}, {} };
    std::vector<QRgb> &colours = plane.colours;
    for (int y = 0; y < plane.height; ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < plane.width; ++x) {
            const int alpha = qAlpha(words[x]);
            const QRgb word = alpha == 0 ? 0u : words[x];
            const auto known = std::find(colours.begin(), colours.end(), word);
            plane.labels.push_back(uint16_t(known - colours.begin()));
            if (known == colours.end()) {
                if ((alpha != 0 && alpha != 255) || colours.size() == room)
                    return LabelPlane();
                colours.push_back(word);
            }
        }
    }
    const auto isOfOthers = [&colours](QRgb colour) { return isMixture(colour, colours); };
    return std::any_of(colours.begin(), colours.end(), isOfOthers) ? LabelPlane() : plane;
}

} // namespace ztrace
