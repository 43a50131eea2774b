// (c) the ztrace developers. Licence: see LICENSE.
#include "ramps.h"

#include "colour.h"
#include "oklab.h"
#include "photoareas.h"
#include "rampgrowth.h"
#include "rampmask.h"
#include "seencolour.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <unordered_map>
#include <unordered_set>

namespace ztrace {

namespace {

// What a gradient costs, in pixel edges of the price: ten numbers, at 0.4 numbers an edge, and what
// a region costs.
const double kEdgesOfRamp = 25.0 + 16.0;

const double kEdgesOfStop = 10.0;  // the same of one more stop: four numbers
const double kSeenOfChannel = 9.0; // squared SeenColour of one step in every channel, squared

// Samples that the contrast of a ramp is taken from: it is compared with steps that the eye sees,
// and four times as many change it by less than a hundredth of one.
const std::size_t kMostOfContrast = 256;

// Flat areas side by side are no ramp: so many words have so much of it. The flat ends of a ramp
// have three quarters at most, and two words.
const std::ptrdiff_t kFewWords = 4;
const double kShareOfFewWords = 0.9;
const std::size_t kMostOfWords = 1024; // tiles that are looked at

const double kVisible = 2.0; // of a channel: what a further stop has to take off
// Pixels in a row that get lighter, or darker, by small steps: soft edges have two or three of
// them, noise hardly ever as many. How many there are of what is in no ramp, and of the picture.
const int kStepsOfShade = 5;
const int kStepOfShade = 24;
const double kShareOfShades = 0.05;
const double kShareOfPicture = 0.002;
// The same of a picture with flat areas that is drawn as a shaded one.
const double kShareOfDrawing = 0.02;
// Of its shades, what no ramp explains: of 470 pictures ten had so many shades; ramps had 0 to 1 %
// of those of seven, which are better as shades, and 8 to 39 % of three, which are not.
const double kShareBesideRamps = 0.95;

// Of a picture that is drawn in ramps and flat colours, what lies in these: of 13 made icons of
// ramps seven have 0.82 to 0.95 and are nearer to the picture so, two have 0.66 and are not; of 153
// icons in soft shades, all nearer as shades, 0.00 to 0.77; of 257 photographs, paintings and clip
// art three more than 0.8, and all of these are drawn.
const double kShareOfRamps = 0.8;
// Looking for ramps takes 0.1 microseconds a pixel and up to ten times as much in smooth
// photographs: of the pixels of every so many rows what differs from the mean of those beside it by
// little, which tells noise.
const double kShareOfEven = 0.6;
const int kEvenStep = 3; // twice that difference, of each channel; a ramp has 0 to 2
const int kLinesLookedAt = 128;

const std::size_t kMostRamps = 4000; // labels are two bytes

SeenColour seenOf(QRgb word)
{
    const Oklab colour = oklabOf(word);
    return { colour.lightness, 2.0f * colour.greenRed, 2.0f * colour.blueYellow };
}

// Mean squared distance of what is drawn to its mean.
double contrastOf(const Ramp &ramp, const std::vector<RampSample> &samples)
{
    const std::size_t stride = (samples.size() / kMostOfContrast) | 1u; // of all corners of tiles
    std::vector<SeenColour> colours;
    for (std::size_t k = 0; k < samples.size(); k += stride)
        colours.push_back(seenOf(wordOf(ramp.colourAt(samples[k].x, samples[k].y))));
    SeenColour mean;
    const float share = 1.0f / float(colours.size());
    for (const SeenColour &colour : colours) {
        mean.lightness += share * colour.lightness;
        mean.greenRed += share * colour.greenRed;
        mean.blueYellow += share * colour.blueYellow;
    }
    double sum = 0.0;
    for (const SeenColour &colour : colours)
        sum += double(squaredDistance(colour, mean));
    return sum / double(colours.size());
}

double countPixels(const RampTiles &tiles, const GrownRamp &grown)
{
    return double(grown.members.size()) * tiles.side * tiles.side;
}

// Pixel edges of the ramp's border where the picture goes on smoothly: without the ramp there would
// be none.
double softBorderOf(const RampTiles &tiles, const GrownRamp &grown)
{
    const std::size_t columns = std::size_t(tiles.columns);
    const std::unordered_set<std::size_t> own(grown.members.begin(), grown.members.end());
    double sides = 0.0;
    const auto look = [&](std::size_t other) {
        if (tiles.tiles[other].smooth && own.count(other) == 0)
            sides += 1.0;
    };
    for (std::size_t member : grown.members) {
        if (member % columns > 0)
            look(member - 1);
        if (member % columns + 1 < columns)
            look(member + 1);
        if (member >= columns)
            look(member - columns);
        if (member + columns < tiles.tiles.size())
            look(member + columns);
    }
    return sides * tiles.side;
}

// What the best bands in place of the ramp would cost a pixel, their error and their borders: bands
// as wide as 6 prices over the squared slope, to the power of a third, cost 1.5 prices over that.
double bandsCost(double contrast, double length, double price)
{
    const double squaredSlope = 12.0 * contrast / (length * length);
    return std::min(contrast, 1.5 * price * std::cbrt(squaredSlope / (6.0 * price)));
}

bool pays(const RampTiles &tiles, const GrownRamp &grown, const RampPrice &asked)
{
    const std::vector<RampSample> samples = samplesOf(tiles, grown.members);
    const double contrast = contrastOf(grown.ramp, samples);
    if (contrast < asked.leastContrast * asked.leastContrast)
        return false;
    const RampRange range = rangeOf(grown.ramp, samples);
    const double saved
        = bandsCost(contrast, range.most - range.least, asked.edge) * countPixels(tiles, grown);
    return saved > asked.edge * (kEdgesOfRamp + softBorderOf(tiles, grown));
}

// Whether a few words are nearly all there is in the tiles of a ramp, of at most kMostOfWords of
// them: flat areas whose faint borders are slopes in tiles.
bool isOfFewWords(const QImage &image, const RampTiles &tiles, const GrownRamp &grown)
{
    const std::size_t stride = grown.members.size() / kMostOfWords + 1;
    std::unordered_map<QRgb, int> counts;
    int pixels = 0;
    for (std::size_t k = 0; k < grown.members.size(); k += stride) {
        const int left = int(grown.members[k] % std::size_t(tiles.columns)) * tiles.side;
        const int top = int(grown.members[k] / std::size_t(tiles.columns)) * tiles.side;
        for (int y = top; y < top + tiles.side; ++y) {
            const QRgb *words = row(image, y) + left;
            int end = 0;
            for (int x = 0; x < tiles.side; x = end) {
                end = endOfRun(words, x, tiles.side);
                counts[words[x]] += end - x;
            }
            pixels += tiles.side;
        }
    }
    std::vector<int> commonest;
    for (const auto &word : counts)
        commonest.push_back(word.second);
    const auto few = commonest.begin() + std::min(kFewWords, std::ptrdiff_t(counts.size()));
    std::partial_sort(commonest.begin(), few, commonest.end(), std::greater<int>());
    return std::accumulate(commonest.begin(), few, 0) >= kShareOfFewWords * pixels;
}

std::vector<GrownRamp> rampsThatPay(const QImage &image, const RampTiles &tiles,
                                    const std::vector<bool> &free, const RampPrice &price)
{
    std::vector<GrownRamp> ramps;
    for (GrownRamp &grown : growRamps(tiles, free)) {
        leaveWidePads(tiles, &grown);
        if (!pays(tiles, grown, price) || isOfFewWords(image, tiles, grown))
            continue;
        chooseStops(pixelsOf(image, tiles, grown.members), kVisible,
                    price.edge * kEdgesOfStop / (kSeenOfChannel * countPixels(tiles, grown)),
                    &grown.ramp);
        ramps.push_back(std::move(grown));
    }
    std::stable_sort(ramps.begin(), ramps.end(), [](const GrownRamp &a, const GrownRamp &b) {
        return a.members.size() > b.members.size();
    });
    return ramps;
}

// What is shaded of the visible pixels that are in no ramp.
struct Shades
{
    std::size_t shaded = 0;
    std::size_t pixels = 0;
    double all = 0.0; // pixels of the picture, whatever they are

    bool areMuch(double leastOfPicture) const
    {
        return double(shaded) > kShareOfShades * double(pixels)
            && double(shaded) > leastOfPicture * all;
    }
};

// The ramps of the pixels; where there are none, nothing at all.
Shades shadesOf(const QImage &image, const std::vector<uint16_t> &rampOf)
{
    Shades found;
    const std::size_t width = std::size_t(image.width());
    found.all = double(width) * double(image.height());
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const uint16_t *numbers = rampOf.empty() ? nullptr : rampOf.data() + std::size_t(y) * width;
        int steps = 0; // in one direction, so far; below 0 where it gets darker
        int before = qGray(words[0]);
        for (std::size_t x = 1; x < width;) {
            const QRgb word = words[x];
            if (word == words[x - 1]) { // much of most drawings
                const std::size_t end = std::size_t(endOfRun(words, int(x), int(width)));
                if (qAlpha(word) != 0)
                    found.pixels += numbers
                        ? std::size_t(std::count(numbers + x, numbers + end, uint16_t(0)))
                        : end - x;
                steps = 0;
                x = end;
                continue;
            }
            const int change = qGray(word) - before;
            before += change;
            const bool isOther = (numbers && numbers[x] != 0) || qAlpha(word) == 0;
            ++x;
            if (isOther) {
                steps = 0;
                continue;
            }
            ++found.pixels;
            const bool goesOn = change != 0 && std::abs(change) <= kStepOfShade;
            steps = !goesOn ? 0 : change > 0 ? std::max(steps, 0) + 1 : std::min(steps, 0) - 1;
            found.shaded += std::abs(steps) >= kStepsOfShade ? 1 : 0;
        }
    }
    return found;
}

// Whether a pixel's channels are those of a ramp along its row.
bool isEven(const QRgb *words, int x)
{
    for (int shift : { 0, 8, 16, 24 }) {
        const auto channel = [&](int k) { return int(words[k] >> shift & 0xFFu); };
        if (std::abs(channel(x - 1) - 2 * channel(x) + channel(x + 1)) > kEvenStep)
            return false;
    }
    return true;
}

// Whether so much of what is visible is even that ramps may be most of it.
bool mayBeRamps(const QImage &image)
{
    const int step = std::max(1, image.height() / kLinesLookedAt);
    int64_t even = 0;
    int64_t visible = 0;
    for (int y = step / 2; y < image.height(); y += step) {
        const QRgb *words = row(image, y);
        for (int x = 1; x + 1 < image.width(); ++x) {
            if (qAlpha(words[x]) == 0)
                continue;
            ++visible;
            even += isEven(words, x) ? 1 : 0;
        }
    }
    return double(even) > kShareOfEven * double(visible);
}

// Pixels in ramps, and those like the next ones to the right and below, of all visible ones.
double shareOfRamps(const QImage &image, const Ramps &ramps)
{
    int64_t found = 0;
    int64_t visible = 0;
    for (int y = 0; y + 1 < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const QRgb *below = row(image, y + 1);
        const uint16_t *numbers
            = ramps.ofPixel.data() + std::size_t(y) * std::size_t(image.width());
        for (int x = 0; x + 1 < image.width(); ++x) {
            if (qAlpha(words[x]) == 0)
                continue;
            ++visible;
            found += numbers[x] != 0 || (words[x] == words[x + 1] && words[x] == below[x]) ? 1 : 0;
        }
    }
    return visible > 0 ? double(found) / double(visible) : 0.0;
}

} // namespace

Ramps findRamps(const QImage &image, const RampPrice &price)
{
    Ramps ramps;
    RampMask mask(image);
    RampTiles larger;
    for (TileSide side : { TileSide::Eight, TileSide::Four }) {
        RampTiles tiles = tilesOf(image, side, side == TileSide::Four ? &larger : nullptr);
        const std::vector<bool> free = mask.freeTiles(tiles);
        std::vector<GrownRamp> grown = rampsThatPay(image, tiles, free, price);
        if (mask.ramps() + grown.size() > kMostRamps)
            grown.resize(kMostRamps - mask.ramps());
        mask.add(tiles, free, grown);
        larger = std::move(tiles);
    }
    mask.finish(&ramps);
    return ramps;
}

bool isShadedElsewhere(const QImage &image, const Ramps &ramps)
{
    return shadesOf(image, ramps.ofPixel).areMuch(kShareOfPicture);
}

bool isDrawnInRamps(const QImage &image, const RampPrice &price)
{
    const QImage words = image.convertToFormat(QImage::Format_ARGB32);
    if (!mayBeRamps(words))
        return false;
    const Ramps ramps = findRamps(words, price);
    return !ramps.areas.empty() && shareOfRamps(words, ramps) > kShareOfRamps;
}

bool isShadedDrawing(const QImage &image, const RampPrice &price)
{
    const QImage words = image.convertToFormat(QImage::Format_ARGB32);
    const Shades all = shadesOf(words, std::vector<uint16_t>());
    if (!all.areMuch(kShareOfDrawing))
        return false;
    const Shades left = shadesOf(words, findRamps(words, price).ofPixel);
    if (double(left.shaded) < kShareBesideRamps * double(all.shaded))
        return false;
    const std::vector<uint8_t> photographs = photographsIn(words);
    return photographs.empty()
        || std::count(photographs.begin(), photographs.end(), 1) > std::ptrdiff_t(all.all / 2.0);
}

} // namespace ztrace
