// (c) the ztrace developers. Licence: see LICENSE.
#include "spotcolours.h"

#include "borders.h"
#include "colour.h"
#include "visiblecolour.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kSame = 60.0;                // a length; what is nearer is a shade of a spot colour
const double kWorthOfPixels = 0.25;       // exponent; the strongest shade of a line is a rare one
const double kLeastPixels = 8.0;          // of a spot colour
const double kLeastShare = 1.0 / 20000.0; // the same, of the visible pixels
const int kMostSpotColours = 16;
const std::size_t kLargePalette = 64; // has a colour or a mixture for every line

// Pixels of lines of similar colours.
struct Shade
{
    VisibleColour colour = { { 0.0, 0.0, 0.0, 0.0 } };
    double pixels = 0.0;
    double square = 1000.0 * 1000.0; // of the distance to the palette's mixtures
    double distance = 1000.0;        // its root
    double similar = 0.0;            // pixels of strange shades nearer than kSame, its own too
};

// The upper four bits of every channel of hue.
std::size_t cubeOf(QRgb word)
{
    return (word >> 12 & 0xF00u) | (word >> 8 & 0xF0u) | (word >> 4 & 0xFu);
}

std::vector<Shade> shadesOfLines(const QImage &image, const EdgeMap &edges)
{
    std::vector<uint16_t> places(16 * 16 * 16, uint16_t(0));
    std::vector<Shade> shades;
    const int width = image.width();
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const uint8_t *marks = edges.row(y);
        for (int x = nextSet(marks, 0, width); x < width; x = nextSet(marks, x + 1, width)) {
            if (!edges.isLine(x, y))
                continue;
            uint16_t &place = places[cubeOf(words[x])];
            if (place == 0) {
                shades.emplace_back();
                place = static_cast<uint16_t>(shades.size());
            }
            Shade &shade = shades[place - 1u];
            const VisibleColour colour = visible(words[x] | 0xFF000000u);
            for (std::size_t channel = 0; channel < 4; ++channel)
                shade.colour[channel] += colour[channel];
            shade.pixels += 1.0;
        }
    }
    for (Shade &shade : shades) {
        for (double &channel : shade.colour)
            channel /= shade.pixels;
    }
    return shades;
}

// Shades that are no mixtures of the known colours. Their number only falls as colours become
// known, so that what is found for one is kept and brought up to date.
class StrangeShades
{
public:
    explicit StrangeShades(std::vector<Shade> found) : shades(std::move(found)) { }

    void learn(const VisibleColour &colour)
    {
        for (Shade &shade : shades) {
            if (known.empty())
                shade.square = square(difference(shade.colour, colour));
            for (const VisibleColour &other : known) {
                if (!isRootAbove(shade.square, kMixtureLength))
                    break;
                shade.square = std::min(shade.square, squareToMixture(shade.colour, other, colour));
            }
        }
        known.push_back(colour);
        forget();
    }

    // The strongest shade of a line is its colour; the others are mixtures with that.
    const Shade *strongest(double leastPixels) const
    {
        const Shade *best = nullptr;
        double bestStrength = 0.0;
        for (const Shade &shade : shades) {
            const double strength = std::pow(shade.similar, kWorthOfPixels) * shade.distance;
            if (shade.similar >= leastPixels && strength > bestStrength) {
                best = &shade;
                bestStrength = strength;
            }
        }
        return best;
    }

    // To be called once, when the palette is known.
    void countSimilar()
    {
        for (std::size_t i = 0; i < shades.size(); ++i) {
            shades[i].similar += shades[i].pixels;
            for (std::size_t j = i + 1; j < shades.size(); ++j) {
                if (isSimilar(shades[i], shades[j])) {
                    shades[i].similar += shades[j].pixels;
                    shades[j].similar += shades[i].pixels;
                }
            }
        }
    }

private:
    static bool isSimilar(const Shade &a, const Shade &b)
    {
        // The root of what is below kSame squared is not above kSame, and equals it within kMargin
        // alone.
        const double apart = square(difference(a.colour, b.colour));
        return apart < kSame * kSame * (1.0 + kMargin) && std::sqrt(apart) < kSame;
    }

    void forget()
    {
        const auto isMixture
            = [](const Shade &shade) { return !isRootAbove(shade.square, kMixtureLength); };
        const auto kept = std::stable_partition(shades.begin(), shades.end(),
                                                [&](const Shade &s) { return !isMixture(s); });
        for (auto gone = kept; gone != shades.end(); ++gone) {
            for (auto shade = shades.begin(); shade != kept; ++shade) {
                if (shade->similar > 0.0 && isSimilar(*shade, *gone))
                    shade->similar -= gone->pixels;
            }
        }
        shades.erase(kept, shades.end());
        for (Shade &shade : shades)
            shade.distance = std::sqrt(shade.square);
    }

    std::vector<Shade> shades;
    std::vector<VisibleColour> known;
};

} // namespace

std::vector<SpotColour> spotColoursIn(const QImage &image, const EdgeMap &edges,
                                      const std::vector<QRgb> &palette, int most)
{
    std::vector<SpotColour> spots;
    if (palette.size() > kLargePalette)
        return spots;
    StrangeShades strange(shadesOfLines(image, edges));
    for (QRgb colour : palette) {
        if (qAlpha(colour) == 255)
            strange.learn(visible(colour));
    }
    strange.countSimilar();
    const double least = std::max(kLeastPixels, kLeastShare * double(edges.visiblePixels()));
    while (static_cast<int>(spots.size()) < std::min(most, kMostSpotColours)) {
        const Shade *best = strange.strongest(least);
        if (!best)
            break;
        const VisibleColour colour = best->colour;
        const auto channel = [&](std::size_t i) { return static_cast<int>(colour[i] + 0.5); };
        spots.push_back({ qRgb(channel(0), channel(1), channel(2)),
                          std::sqrt(best->similar) * best->distance });
        strange.learn(colour);
    }
    return spots;
}

} // namespace ztrace
