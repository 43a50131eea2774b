// (c) the ztrace developers. Licence: see LICENSE.
#include "plain.h"

#include "imaging/colour.h"

#include <QHash>

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {
namespace plain {

namespace {

const int kReach = 3;          // pixels to either side
const double kClearly = 40.0;  // length of a difference
const double kAligned = 0.5;   // cosine between the differences to both sides
const double kSameSlope = 0.9; // cosine between two steps of one slope
const double kWeightOfAlpha = 0.7;
const double kDoubt = 0.1;      // cost of supposing a line to be thinner than a pixel
const double kLeastPart = 0.3;  // of a line's own colour that must be left
const double kExplained = 0.15; // sine of the angle between a line's colour and the supposed one
const double kMixture = 45.0;   // length of a difference; what is nearer to a mixture is one
const double kSame = 60.0;      // the same for what is a shade of an spot
const double kWorthOfPixels = 0.25;       // exponent; the strongest shade of a line is a rare one
const double kLeastSpotColour = 8.0;      // pixels
const double kLeastShare = 1.0 / 20000.0; // of the visible pixels
const int kMostSpotColours = 16;
const std::size_t kLargePalette = 64; // has a colour or a mixture for every line
const int kLeastAlpha = 96;           // of a line on transparency
const QRgb kCubeMask = 0x00F0F0F0u;

// Red, green and blue on white paper, and alpha. Soft edges are straight lines in it.
typedef std::array<double, 4> Colour;

Colour visible(QRgb word)
{
    const double alpha = qAlpha(word) / 255.0;
    const auto onWhite = [alpha](int channel) { return 255.0 - (255 - channel) * alpha; };
    return { { onWhite(qRed(word)), onWhite(qGreen(word)), onWhite(qBlue(word)),
               kWeightOfAlpha * 255.0 * alpha } };
}

Colour difference(const Colour &a, const Colour &b)
{
    return { { a[0] - b[0], a[1] - b[1], a[2] - b[2], a[3] - b[3] } };
}

double product(const Colour &a, const Colour &b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

double length(const Colour &a)
{
    return std::sqrt(product(a, a));
}

bool isAligned(const Colour &a, const Colour &b, double cosine)
{
    return product(a, b) > cosine * length(a) * length(b);
}

// Pixels of lines of similar colours.
struct Shade
{
    Colour colour = { { 0.0, 0.0, 0.0, 0.0 } };
    double pixels = 0.0;
};

std::vector<Shade> shadesOfLines(const QImage &image, const RidgeMap &ridges, double *visiblePixels)
{
    QHash<QRgb, int> places;
    std::vector<Shade> shades;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x) {
            const QRgb word = words[x];
            *visiblePixels += qAlpha(word) != 0;
            if (!ridges.isLine(x, y))
                continue;
            int &place = places[word & kCubeMask];
            if (place == 0) {
                shades.emplace_back();
                place = static_cast<int>(shades.size());
            }
            Shade &shade = shades[static_cast<std::size_t>(place - 1)];
            const Colour colour = visible(word | 0xFF000000u);
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

double distanceToMixture(const Colour &colour, const Colour &a, const Colour &b)
{
    const Colour along = difference(b, a);
    const Colour from = difference(colour, a);
    const double square = product(along, along);
    const double t
        = square > 0.0 ? std::max(0.0, std::min(1.0, product(from, along) / square)) : 0.0;
    Colour away = from;
    for (std::size_t i = 0; i < 4; ++i)
        away[i] -= t * along[i];
    return length(away);
}

double distanceToMixtures(const Colour &colour, const std::vector<Colour> &palette)
{
    double least = palette.empty() ? 1000.0 : length(difference(colour, palette.front()));
    for (std::size_t i = 0; i < palette.size(); ++i) {
        for (std::size_t j = i + 1; j < palette.size(); ++j)
            least = std::min(least, distanceToMixture(colour, palette[i], palette[j]));
    }
    return least;
}

// What lies to one side of a pixel: steps to the first one that differs clearly, 0 when there is
// none, and the foot of the slope that begins there.
struct Side
{
    int steps = 0;
    QRgb word = 0;
    Colour away = { { 0.0, 0.0, 0.0, 0.0 } };
};

Side sideOf(const QImage &image, int x, int y, int dx, int dy)
{
    const int kSlope = 2; // pixels that a soft edge goes on for
    const Colour own = visible(row(image, y)[x]);
    Side side;
    for (int step = 1; step <= (side.steps > 0 ? side.steps + kSlope : kReach); ++step) {
        const int u = x + step * dx;
        const int v = y + step * dy;
        if (u < 0 || v < 0 || u >= image.width() || v >= image.height())
            break;
        const QRgb word = row(image, v)[u];
        const Colour away = difference(own, visible(word));
        if (side.steps == 0 && length(away) <= kClearly)
            continue;
        if (side.steps > 0
            && (length(away) <= length(side.away) || !isAligned(away, side.away, kSameSlope)))
            break;
        side.steps = side.steps > 0 ? side.steps : step;
        side.word = word;
        side.away = away;
    }
    return side;
}

Ridge ridgeAcross(const QImage &image, int x, int y, int dx, int dy)
{
    Ridge ridge;
    ridge.colour = row(image, y)[x];
    const Side one = sideOf(image, x, y, dx, dy);
    if (one.steps == 0)
        return ridge;
    const Side other = sideOf(image, x, y, -dx, -dy);
    ridge.found = other.steps > 0 && one.steps + other.steps <= kReach + 1
        && isAligned(one.away, other.away, kAligned);
    ridge.beside = length(one.away) < length(other.away) ? one.word : other.word;
    return ridge;
}

} // namespace

Ridge ridgeAt(const QImage &image, int x, int y)
{
    const Ridge ridge = ridgeAcross(image, x, y, 1, 0);
    return ridge.found ? ridge : ridgeAcross(image, x, y, 0, 1);
}

int nearestTo(const Ridge &ridge, const std::vector<QRgb> &colours)
{
    const Colour own = visible(ridge.colour);
    const Colour beside = visible(ridge.beside);
    int best = -1;
    double least = 1e9;
    for (std::size_t k = 0; k < colours.size(); ++k) {
        const Colour colour = visible(colours[k]);
        const double unexplained = distanceToMixture(own, beside, colour);
        const double distance = unexplained + kDoubt * length(difference(own, colour));
        const double depth = length(difference(own, beside));
        const bool isLikely = unexplained <= kExplained * depth
            && depth >= kLeastPart * length(difference(colour, beside));
        if (isLikely && distance < least) {
            least = distance;
            best = static_cast<int>(k);
        }
    }
    return best;
}

bool isMixture(QRgb colour, const std::vector<QRgb> &colours)
{
    std::vector<Colour> known;
    for (QRgb other : colours)
        known.push_back(visible(other));
    return distanceToMixtures(visible(colour), known) <= kMixture;
}

RidgeMap::RidgeMap(const QImage &image) : width(image.width()), height(image.height())
{
    ridges.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < width; ++x) {
            ridges.push_back(qAlpha(words[x]) >= kLeastAlpha && isEdge(image, x, y)
                             && ridgeAt(image, x, y).found);
        }
    }
}

int RidgeMap::crowdAt(int x, int y, int reach) const
{
    int count = 0;
    for (int v = std::max(0, y - reach); v <= std::min(height - 1, y + reach); ++v) {
        for (int u = std::max(0, x - reach); u <= std::min(width - 1, x + reach); ++u)
            count += at(u, v);
    }
    return count;
}

std::vector<SpotColour> spotColoursIn(const QImage &image, const RidgeMap &ridges,
                                      const std::vector<QRgb> &palette, int most)
{
    if (palette.size() > kLargePalette)
        return std::vector<SpotColour>();
    std::vector<Colour> known;
    for (QRgb colour : palette) {
        if (qAlpha(colour) == 255)
            known.push_back(visible(colour));
    }
    double visiblePixels = 0.0;
    const std::vector<Shade> shades = shadesOfLines(image, ridges, &visiblePixels);
    const double least = std::max(kLeastSpotColour, kLeastShare * visiblePixels);
    std::vector<SpotColour> spots;
    while (static_cast<int>(spots.size()) < std::min(most, kMostSpotColours)) {
        std::vector<std::pair<const Shade *, double>> strange;
        for (const Shade &shade : shades) {
            const double distance = distanceToMixtures(shade.colour, known);
            if (distance > kMixture)
                strange.push_back({ &shade, distance });
        }
        // The strongest shade of a line is its colour; the others are mixtures with that.
        const Shade *best = nullptr;
        double bestPixels = 0.0;
        double bestDistance = 0.0;
        for (const auto &candidate : strange) {
            double pixels = 0.0;
            for (const auto &other : strange) {
                if (length(difference(candidate.first->colour, other.first->colour)) < kSame)
                    pixels += other.first->pixels;
            }
            const double strength = std::pow(pixels, kWorthOfPixels) * candidate.second;
            if (pixels >= least && strength > std::pow(bestPixels, kWorthOfPixels) * bestDistance) {
                best = candidate.first;
                bestPixels = pixels;
                bestDistance = candidate.second;
            }
        }
        if (!best)
            break;
        known.push_back(best->colour);
        const auto channel
            = [best](std::size_t i) { return static_cast<int>(best->colour[i] + 0.5); };
        spots.push_back(
            { qRgb(channel(0), channel(1), channel(2)), std::sqrt(bestPixels) * bestDistance });
    }
    return spots;
}

} // namespace plain
} // namespace ztrace
