// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/inkhues.h"

#include "imaging/colour.h"
#include "imaging/failure.h"
#include "tracing/components.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <vector>

namespace ztrace {

namespace {

const uint16_t kInk = 0;
const int kRowsOfPaper = 256; // that the paper's colour is found in
const int kTile = 16;         // pixels a side of what inks are found by
const int kAround = 3;        // pixels to each side that tell the ink of one, over JPEG's noise
// Of the light that ink takes away, how much less it takes of one channel than of another: 0 of
// black, .2 of sepia, .5 of a blue pen, .7 of a red stamp.
const double kHue = 0.35;
const double kHueOfPixel = 0.25; // of what is like an ink that has been found
const double kSameInk = 0.96;    // cosine between what two inks take away
const double kLeastInTile = 24;  // pixels that tell a hue
const double kLeastPixels = 128; // of an ink: two letters
const double kLeastShare = 0.05; // of the commonest of these inks; crossings of two have less
const double kWhole = 0.85;      // of what hangs together, from which on all of it is of one ink
const std::size_t kMostInks = 6;

typedef std::array<double, 3> Light;

Light lightOf(QRgb word)
{
    return { { double(qRed(word)), double(qGreen(word)), double(qBlue(word)) } };
}

double hueOf(const Light &taken)
{
    const auto ends = std::minmax_element(taken.begin(), taken.end());
    return *ends.second > 0.0 ? (*ends.second - *ends.first) / *ends.second : 0.0;
}

double cosineOf(const Light &a, const Light &b)
{
    const double lengths = std::sqrt(std::inner_product(a.begin(), a.end(), a.begin(), 0.0)
                                     * std::inner_product(b.begin(), b.end(), b.begin(), 0.0));
    return lengths > 0.0 ? std::inner_product(a.begin(), a.end(), b.begin(), 0.0) / lengths : 0.0;
}

// Some ink, or all of one ink.
struct Part
{
    Light taken = {};    // of the paper's light, the sum over its pixels, each 0 to 1
    Light colour = {};   // sum by weight
    double weight = 0.0; // pixels by the fourth power of what they take: rims count little
    double pixels = 0.0;

    void add(QRgb word, const Light &paper)
    {
        const Light light = lightOf(word);
        double all = 0.0;
        for (std::size_t c = 0; c < 3; ++c) {
            const double share = std::max(0.0, 1.0 - light[c] / paper[c]);
            taken[c] += share;
            all += share;
        }
        const double strength = all * all * all * all;
        for (std::size_t c = 0; c < 3; ++c)
            colour[c] += strength * light[c];
        weight += strength;
        pixels += 1.0;
    }

    void add(const Part &other)
    {
        for (std::size_t c = 0; c < 3; ++c) {
            taken[c] += other.taken[c];
            colour[c] += other.colour[c];
        }
        weight += other.weight;
        pixels += other.pixels;
    }

    QRgb word() const
    {
        const auto byte = [this](std::size_t c) { return int(colour[c] / weight + 0.5); };
        return qRgb(byte(0), byte(1), byte(2));
    }
};

class InkHues
{
public:
    InkHues(const QImage &i, int u, Areas *a)
        : image(i), upsampling(u), areas(*a), width(std::size_t(a->runs.width)),
          paper(paperColour())
    { }

    bool keep()
    {
        findInks();
        if (inks.empty())
            return false;
        tellPixels();
        settleComponents();
        const uint16_t first = uint16_t(areas.colours.size());
        for (const Part &ink : inks)
            areas.colours.push_back(ink.word());
        RunScanner scanner(areas.runs.width, areas.runs.height);
        std::vector<uint16_t> labels(width);
        for (int y = 0; y < areas.runs.height; ++y) {
            const uint8_t *const own = ofPixel.data() + std::size_t(y) * width;
            for (std::size_t x = 0; x < width; ++x)
                labels[x] = own[x] == kPaper ? 1
                    : own[x] == kBlack       ? kInk
                                             : uint16_t(first + own[x]);
            scanner.addRow(labels.data());
        }
        areas.runs = scanner.take();
        return true;
    }

private:
    static constexpr uint8_t kPaper = 0xFF;
    static constexpr uint8_t kBlack = 0xFE;

    QRgb wordAt(int x, int y) const { return row(image, y / upsampling)[x / upsampling]; }

    Light paperColour() const
    {
        Light sum = {};
        double pixels = 0.0;
        const Runs &runs = areas.runs;
        for (int y = 0; y < runs.height; y += 1 + runs.height / kRowsOfPaper) {
            for (uint32_t k = runs.rowBegin(y); k < runs.rowEnd(y); ++k) {
                if (runs.label[k] == kInk)
                    continue;
                for (int x = runs.start[k]; x < runs.end(k); ++x) {
                    const Light light = lightOf(wordAt(x, y));
                    for (std::size_t c = 0; c < 3; ++c)
                        sum[c] += light[c];
                }
                pixels += runs.end(k) - runs.start[k];
            }
        }
        for (double &light : sum)
            light = std::max(1.0, pixels > 0.0 ? light / pixels : 255.0);
        return sum;
    }

    // By squares of the picture that have a hue, those with most ink first.
    void findInks()
    {
        const int side = kTile * upsampling;
        const std::size_t columns = (width + std::size_t(side) - 1) / std::size_t(side);
        std::vector<Part> tiles(columns * std::size_t(1 + areas.runs.height / side));
        forEachRun(areas.runs, [&](uint32_t run, int y, int begin, int end) {
            if (areas.runs.label[run] != kInk)
                return;
            for (int x = begin; x < end; ++x)
                tiles[std::size_t(y / side) * columns + std::size_t(x / side)].add(wordAt(x, y),
                                                                                   paper);
        });
        const double perPixel = double(upsampling) * upsampling;
        const auto isPlain = [perPixel](const Part &tile) {
            return tile.pixels < kLeastInTile * perPixel || hueOf(tile.taken) < kHue;
        };
        tiles.erase(std::remove_if(tiles.begin(), tiles.end(), isPlain), tiles.end());
        const auto hasMore = [](const Part &a, const Part &b) { return a.pixels > b.pixels; };
        std::stable_sort(tiles.begin(), tiles.end(), hasMore);
        for (const Part &tile : tiles) {
            const std::size_t ink = inkOf(tile.taken, kHue);
            if (ink < inks.size())
                inks[ink].add(tile);
            else if (inks.size() < kMostInks)
                inks.push_back(tile);
        }
        std::stable_sort(inks.begin(), inks.end(), hasMore);
        while (!inks.empty()
               && (inks.back().pixels < kLeastPixels * perPixel
                   || inks.back().pixels < kLeastShare * inks.front().pixels))
            inks.pop_back();
    }

    // The ink that takes away the light most alike; inks.size() where none does.
    std::size_t inkOf(const Light &taken, double leastHue) const
    {
        std::size_t best = inks.size();
        double most = kSameInk;
        if (hueOf(taken) < leastHue)
            return best;
        for (std::size_t k = 0; k < inks.size(); ++k) {
            const double cosine = cosineOf(taken, inks[k].taken);
            if (cosine >= most) {
                most = cosine;
                best = k;
            }
        }
        return best;
    }

    void tellPixels()
    {
        std::vector<uint8_t> isInk(areas.runs.pixels(), 0);
        ofPixel.assign(areas.runs.pixels(), kPaper);
        forEachRun(areas.runs, [&](uint32_t run, int y, int begin, int end) {
            if (areas.runs.label[run] == kInk)
                std::fill(isInk.begin() + std::ptrdiff_t(std::size_t(y) * width) + begin,
                          isInk.begin() + std::ptrdiff_t(std::size_t(y) * width) + end, 1);
        });
        forEachRun(areas.runs, [&](uint32_t run, int y, int begin, int end) {
            if (areas.runs.label[run] != kInk)
                return;
            for (int x = begin; x < end; ++x) {
                const std::size_t ink = inkOf(takenAround(isInk, x, y), kHueOfPixel);
                ofPixel[std::size_t(y) * width + std::size_t(x)]
                    = ink < inks.size() ? uint8_t(ink) : kBlack;
            }
        });
    }

    Light takenAround(const std::vector<uint8_t> &isInk, int x, int y) const
    {
        const int reach = kAround * upsampling;
        Part around;
        for (int j = std::max(0, y - reach); j <= std::min(areas.runs.height - 1, y + reach);
             j += upsampling) {
            for (int i = std::max(0, x - reach); i <= std::min(areas.runs.width - 1, x + reach);
                 i += upsampling) {
                if (isInk[std::size_t(j) * width + std::size_t(i)] != 0)
                    around.add(wordAt(i, j), paper);
            }
        }
        return around.taken;
    }

    // A letter is of one ink.
    void settleComponents()
    {
        const Components components = findComponents(areas.runs, Connectivity::Corners);
        std::vector<std::array<uint32_t, kMostInks + 1>> counts(components.list.size());
        const auto classOf = [this](std::size_t place) {
            return ofPixel[place] == kBlack ? kMostInks : std::size_t(ofPixel[place]);
        };
        const auto forEachInk = [&](auto use) {
            forEachRun(areas.runs, [&](uint32_t run, int y, int begin, int end) {
                if (areas.runs.label[run] != kInk)
                    return;
                for (int x = begin; x < end; ++x)
                    use(components.ofRun[run], std::size_t(y) * width + std::size_t(x));
            });
        };
        forEachInk(
            [&](uint32_t component, std::size_t place) { ++counts[component][classOf(place)]; });
        forEachInk([&](uint32_t component, std::size_t place) {
            const auto most = std::max_element(counts[component].begin(), counts[component].end());
            if (double(*most) < kWhole * double(components.list[component].area))
                return;
            const std::size_t ink = std::size_t(most - counts[component].begin());
            ofPixel[place] = ink == kMostInks ? kBlack : uint8_t(ink);
        });
    }

    const QImage &image;
    const int upsampling;
    Areas &areas;
    const std::size_t width;
    const Light paper;
    std::vector<Part> inks;
    std::vector<uint8_t> ofPixel; // the inks of the plane's pixels, kBlack or kPaper
};

} // namespace

bool keepHues(const QImage &picture, int upsampling, Areas *areas)
{
    const QImage image
        = picture.format() == QImage::Format_RGB32 || picture.format() == QImage::Format_ARGB32
        ? picture
        : picture.convertToFormat(QImage::Format_RGB32);
    if (image.isNull())
        throwNoRoom();
    return InkHues(image, upsampling, areas).keep();
}

} // namespace ztrace
