// (c) the ztrace developers. Licence: see LICENSE.
#include "smallmarks.h"

#include "imaging/oklab.h"
#include "imaging/ramps.h"

#include <algorithm>
#include <array>

namespace ztrace {

namespace {

const double kOffMixture = 12.0;  // steps of a channel that a mixture may be off, as in spreading
const double kEdgesOfMark = 16.0; // what an area costs beside its border, as in regions

typedef std::array<double, 3> Channels;

Channels channelsOf(QRgb word)
{
    return { { double(qRed(word)), double(qGreen(word)), double(qBlue(word)) } };
}

QRgb wordOfChannels(const Channels &channels)
{
    const auto byte = [&](std::size_t c) { return int(channels[c] + 0.5); };
    return qRgb(byte(0), byte(1), byte(2));
}

// The mixture of two colours that is nearest to a third.
Channels nearestMixture(const Channels &own, const Channels &a, const Channels &b)
{
    double along = 0.0;
    double whole = 0.0;
    for (std::size_t c = 0; c < 3; ++c) {
        along += (own[c] - a[c]) * (b[c] - a[c]);
        whole += (b[c] - a[c]) * (b[c] - a[c]);
    }
    const double part = whole > 0.0 ? std::max(0.0, std::min(1.0, along / whole)) : 0.0;
    Channels mixture = a;
    for (std::size_t c = 0; c < 3; ++c)
        mixture[c] += part * (b[c] - a[c]);
    return mixture;
}

// Of an area that is wholly of that alpha; false for any other.
bool meanOf(const SmallArea &area, const QImage &image, int alpha, Channels *mean)
{
    const uint32_t width = uint32_t(image.width());
    *mean = { { 0.0, 0.0, 0.0 } };
    for (const uint32_t pixel : area.pixels) {
        const QRgb word = reinterpret_cast<const QRgb *>(
            image.constScanLine(int(pixel / width)))[pixel % width];
        if (qAlpha(word) != alpha)
            return false;
        const Channels own = channelsOf(word);
        for (std::size_t c = 0; c < 3; ++c)
            (*mean)[c] += own[c] / double(area.pixels.size());
    }
    return !area.pixels.empty();
}

} // namespace

bool standsOut(const SmallArea &area, const QImage &image, const std::vector<QRgb> &colours)
{
    Channels mean;
    if (area.around.empty())
        return false;
    const auto is = [&colours](int alpha) {
        return [&colours, alpha](uint16_t label) { return qAlpha(colours[label]) == alpha; };
    };
    std::vector<uint16_t> around = area.around;
    if (meanOf(area, image, 0, &mean))
        return std::all_of(around.begin(), around.end(), is(255));
    if (!meanOf(area, image, 255, &mean))
        return false;
    // What is opaque is no mixture with what is clear.
    around.erase(std::remove_if(around.begin(), around.end(), is(0)), around.end());
    const Oklab own = oklabOf(wordOfChannels(mean));
    const double price = kUsualPriceOfEdge * (double(area.border) + kEdgesOfMark);
    for (std::size_t i = 0; i < around.size(); ++i) {
        for (std::size_t j = i; j < around.size(); ++j) {
            const Channels mixture = nearestMixture(mean, channelsOf(colours[around[i]]),
                                                    channelsOf(colours[around[j]]));
            const double distance = double(seenDistance(own, oklabOf(wordOfChannels(mixture))));
            if (double(area.pixels.size()) * distance * distance < price)
                return false;
        }
    }
    return true;
}

bool isMixtureOf(QRgb colour, QRgb one, QRgb other)
{
    if (qAlpha(colour & one & other) != 255)
        return false;
    const Channels own = channelsOf(colour);
    const Channels mixture = nearestMixture(own, channelsOf(one), channelsOf(other));
    double off = 0.0;
    for (std::size_t c = 0; c < 3; ++c)
        off += (own[c] - mixture[c]) * (own[c] - mixture[c]);
    return off <= kOffMixture * kOffMixture;
}

} // namespace ztrace
