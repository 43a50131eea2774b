// (c) the ztrace developers. Licence: see LICENSE.
#include "smallmarks.h"

#include "imaging/oklab.h"
#include "imaging/ramps.h"

#include <algorithm>
#include <array>

namespace ztrace {

namespace {

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

bool meanOf(const SmallArea &area, const QImage &image, Channels *mean)
{
    const uint32_t width = uint32_t(image.width());
    *mean = { { 0.0, 0.0, 0.0 } };
    for (const uint32_t pixel : area.pixels) {
        const QRgb word = reinterpret_cast<const QRgb *>(
            image.constScanLine(int(pixel / width)))[pixel % width];
        if (qAlpha(word) != 255)
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
    if (area.around.empty() || !meanOf(area, image, &mean))
        return false;
    const Oklab own = oklabOf(wordOfChannels(mean));
    const double price = kUsualPriceOfEdge * (double(area.border) + kEdgesOfMark);
    for (std::size_t i = 0; i < area.around.size(); ++i) {
        for (std::size_t j = i; j < area.around.size(); ++j) {
            const Channels mixture = nearestMixture(mean, channelsOf(colours[area.around[i]]),
                                                    channelsOf(colours[area.around[j]]));
            const double distance = double(seenDistance(own, oklabOf(wordOfChannels(mixture))));
            if (double(area.pixels.size()) * distance * distance < price)
                return false;
        }
    }
    return true;
}

} // namespace ztrace
