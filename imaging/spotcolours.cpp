// (c) the ztrace developers. Licence: see LICENSE.
#include "spotcolours.h"

#include "colour.h"
#include "longlines.h"
#include "ridges.h"
#include "wordcolours.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace ztrace {

namespace {

const double kSame = 60.0;          // a length; what is nearer is a shade of a spot colour
const double kWorthOfPixels = 0.25; // exponent; the strongest shade of a line is a rare one
const double kLeastPixels = 8.0;    // of a spot colour
const double kLeastPixelsInNoise = 32.0;
const double kLeastShare = 1.0 / 20000.0; // the same, of the visible pixels
const double kExplained = 24.0;           // cost of drawing a line in another colour: a length
const double kExplainedOfFaint = 0.6;     // of a faint line's distance to what is beside it
const double kExplainedInNoise = 64.0;    // the same in a picture with noise about its edges
const int kCore = 2;                      // pixels
const double kDeeper = 1.2;               // times as far from what is beside
const double kSameWay = 0.9;              // cosine
const int kMostSpotColours = 32;
const std::size_t kMostShades = 2048; // the commonest ones

// Pixels of lines of similar colours on similar ground.
struct Shade
{
    VisibleColour sum = { { 0.0, 0.0, 0.0, 0.0 } };
    Ridge ridge; // of the mean colour
    VisibleColour colour = { { 0.0, 0.0, 0.0, 0.0 } };
    double pixels = 0.0;
    double depth = 0.0;   // a length, from what is beside it
    double cost = 1e9;    // of drawing it in the best of the known colours
    double similar = 0.0; // pixels of strange shades nearer than kSame, its own too
};

// The upper four bits of every channel of both words.
uint64_t shadeOf(QRgb word, QRgb beside)
{
    return uint64_t(word & 0x00F0F0F0u) << 32 | (beside & 0xF0F0F0F0u);
}

// Whether nothing within kCore pixels goes clearly farther from what is beside the ridge in the
// same direction: soft ends and sides of a stroke do not tell its colour.
template<typename Kind>
bool isCoreOf(const QImage &image, int x, int y, QRgb beside)
{
    const auto ground = Kind::of(beside);
    const auto away = difference(Kind::of(row(image, y)[x]), ground);
    const double depth = square(away);
    QRgb last = beside;
    const int right = std::min(image.width() - 1, x + kCore);
    const int bottom = std::min(image.height() - 1, y + kCore);
    for (int v = std::max(0, y - kCore); v <= bottom; ++v) {
        const QRgb *words = row(image, v);
        for (int u = std::max(0, x - kCore); u <= right; ++u) {
            if (words[u] == last)
                continue;
            last = words[u];
            if (!Kind::holds(last))
                return isCoreOf<VisibleKind>(image, x, y, beside);
            const auto other = difference(Kind::of(last), ground);
            if (product(other, away) > kDeeper * depth && isAligned(other, away, kSameWay))
                return false;
        }
    }
    return true;
}

bool isCore(const QImage &image, int x, int y, QRgb beside)
{
    return OpaqueKind::holds(row(image, y)[x] & beside)
        ? isCoreOf<OpaqueKind>(image, x, y, beside)
        : isCoreOf<VisibleKind>(image, x, y, beside);
}

std::vector<Shade> shadesOfLines(const QImage &image, const EdgeMap &edges)
{
    const int kUnknown = -2;
    const int kNone = -1;
    std::unordered_map<uint64_t, std::size_t> places;
    std::vector<Shade> shades;
    std::vector<int> shadesOfLike(edges.ridges().size(), kUnknown); // or kNone: no core
    const uint32_t width = static_cast<uint32_t>(image.width());
    for (const EdgeMap::RidgePixel &ridge : edges.ridges()) {
        int &ofLike = shadesOfLike[ridge.like];
        const int y = static_cast<int>(ridge.pixel / width);
        const int x = static_cast<int>(ridge.pixel % width);
        if (ofLike == kNone || !edges.isLine(x, y))
            continue;
        const QRgb word = row(image, y)[x] | 0xFF000000u;
        if (ofLike == kUnknown && !isCore(image, x, y, ridge.beside)) {
            ofLike = kNone;
            continue;
        }
        if (ofLike == kUnknown) {
            const auto place = places.insert({ shadeOf(word, ridge.beside), shades.size() });
            if (place.second) {
                shades.emplace_back();
                shades.back().ridge = { true, word, ridge.beside };
            }
            ofLike = int(place.first->second);
        }
        Shade &shade = shades[std::size_t(ofLike)];
        const VisibleColour colour = visible(word);
        for (std::size_t channel = 0; channel < 4; ++channel)
            shade.sum[channel] += colour[channel];
        shade.pixels += 1.0;
    }
    if (shades.size() > kMostShades) {
        std::stable_sort(shades.begin(), shades.end(),
                         [](const Shade &a, const Shade &b) { return a.pixels > b.pixels; });
        shades.resize(kMostShades);
    }
    for (Shade &shade : shades) {
        for (std::size_t channel = 0; channel < 4; ++channel)
            shade.colour[channel] = shade.sum[channel] / shade.pixels;
        const auto channel = [&](std::size_t i) { return static_cast<int>(shade.colour[i] + 0.5); };
        shade.ridge.colour = qRgb(channel(0), channel(1), channel(2));
        shade.depth = length(difference(shade.colour, visible(shade.ridge.beside)));
    }
    return shades;
}

// Shades that no known colour explains. Their number only falls as colours become known.
class StrangeShades
{
public:
    StrangeShades(std::vector<Shade> found, double explainedCost)
        : shades(std::move(found)), explained(explainedCost)
    { }

    void learn(QRgb colour)
    {
        const RidgeColours known({ colour });
        for (Shade &shade : shades)
            shade.cost = std::min(shade.cost, known.costOf(shade.ridge, 0));
        const auto firstKnown = std::stable_partition(
            shades.begin(), shades.end(), [this](const Shade &shade) { return isStrange(shade); });
        for (auto gone = firstKnown; isCounted && gone != shades.end(); ++gone) {
            for (auto other = shades.begin(); other != firstKnown; ++other)
                other->similar -= isSimilar(*gone, *other) ? gone->pixels : 0.0;
        }
        shades.erase(firstKnown, shades.end());
    }

    // The strongest shade of a line is its colour; the others are mixtures with that.
    const Shade *strongest(double leastPixels)
    {
        if (!isCounted)
            countSimilar();
        const Shade *best = nullptr;
        double bestStrength = 0.0;
        for (const Shade &shade : shades) {
            if (shade.similar < leastPixels)
                continue;
            const double strength = std::pow(shade.similar, kWorthOfPixels) * costOf(shade);
            if (strength > bestStrength) {
                best = &shade;
                bestStrength = strength;
            }
        }
        return best;
    }

    // What it costs not to have it; of what nothing is known about: its distance to the ground.
    static double costOf(const Shade &shade) { return std::min(shade.cost, shade.depth); }

private:
    bool isStrange(const Shade &shade) const
    {
        const bool isNoisy = explained > kExplained;
        return shade.cost
            > (isNoisy ? explained : std::min(explained, kExplainedOfFaint * shade.depth));
    }

    static bool isSimilar(const Shade &a, const Shade &b)
    {
        return square(difference(a.colour, b.colour)) < kSame * kSame;
    }

    // Numbers of pixels, whose sums are exact: later on what goes is taken off.
    void countSimilar()
    {
        isCounted = true;
        for (Shade &shade : shades)
            shade.similar = shade.pixels;
        for (std::size_t i = 0; i < shades.size(); ++i) {
            for (std::size_t j = i + 1; j < shades.size(); ++j) {
                if (!isSimilar(shades[i], shades[j]))
                    continue;
                shades[i].similar += shades[j].pixels;
                shades[j].similar += shades[i].pixels;
            }
        }
    }

    std::vector<Shade> shades;
    const double explained;
    bool isCounted = false;
};

// Those whose own colour is missed although others explain it.
void addLongLines(const QImage &image, const EdgeMap &edges, const std::vector<QRgb> &palette,
                  int most, std::vector<SpotColour> *spots)
{
    std::vector<QRgb> known = palette;
    for (const SpotColour &spot : *spots)
        known.push_back(spot.colour);
    for (const LongLine &line : longLinesIn(image, edges)) {
        if (int(spots->size()) >= std::min(most, kMostSpotColours))
            return;
        if (!isDilutedAllAlong(line, known))
            continue;
        known.push_back(line.ridge.colour);
        spots->push_back({ line.ridge.colour, std::sqrt(double(line.pixels)) * kExplained });
    }
}

// Those that words reach exactly, however well others explain them.
void addWordColours(const QImage &image, const EdgeMap &edges, const std::vector<QRgb> &palette,
                    int most, std::vector<SpotColour> *spots)
{
    std::vector<QRgb> known = palette;
    for (const WordColour &word : wordColoursIn(image, edges)) {
        if (int(spots->size()) >= std::min(most, kMostSpotColours))
            return;
        if (!isMissing(word, known))
            continue;
        known.push_back(word.ridge.colour);
        spots->push_back({ word.ridge.colour, std::sqrt(double(word.pixels)) * kExplained });
    }
}

} // namespace

std::vector<SpotColour> spotColoursIn(const QImage &image, const EdgeMap &edges,
                                      const std::vector<QRgb> &palette, bool clean, int most)
{
    std::vector<SpotColour> spots;
    StrangeShades strange(shadesOfLines(image, edges), clean ? kExplained : kExplainedInNoise);
    for (QRgb colour : palette) {
        if (qAlpha(colour) == 255)
            strange.learn(colour);
    }
    if (edges.isClean())
        addWordColours(image, edges, palette, most, &spots);
    for (const SpotColour &word : spots)
        strange.learn(word.colour);
    const double least = std::max(clean ? kLeastPixels : kLeastPixelsInNoise,
                                  kLeastShare * double(edges.visiblePixels()));
    while (static_cast<int>(spots.size()) < std::min(most, kMostSpotColours)) {
        const Shade *best = strange.strongest(least);
        if (!best)
            break;
        const QRgb colour = best->ridge.colour;
        spots.push_back({ colour, std::sqrt(best->similar) * StrangeShades::costOf(*best) });
        strange.learn(colour);
    }
    if (clean)
        addLongLines(image, edges, palette, most, &spots);
    return spots;
}

} // namespace ztrace
