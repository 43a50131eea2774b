// (c) the ztrace developers. Licence: see LICENSE.
//
// One pass over rows. The flags of a row are found in plain loops over neighbouring words, which
// compilers turn into vector code; what needs a table is left to the few pixels that need it: flat
// ones come in runs of one colour, and distinct colours are counted only until there are too many.
#include "colourfeatures.h"

#include "colour.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <vector>

namespace ztrace {

namespace {

// Of 255: the largest difference of two channels in a grey, so that the tint of scanned paper and
// what JPEG leaves of colour in greys is none.
const int kGreyChannels = 24;

// The rows of an image as words 0xAARRGGBB, one after the other and the next one with each.
class Rows
{
public:
    explicit Rows(const QImage &source) : image(source)
    {
        if (image.format() == QImage::Format_RGB32)
            buffers.fill(std::vector<QRgb>(static_cast<std::size_t>(width())));
    }

    int width() const { return image.width(); }
    int height() const { return image.height(); }

    // Valid until the next but one is asked for.
    const QRgb *at(int y)
    {
        const QRgb *words = row(image, y);
        if (image.format() == QImage::Format_ARGB32)
            return words;
        // The fourth byte means nothing in this format.
        std::vector<QRgb> &buffer = buffers[static_cast<std::size_t>(y % 2)];
        for (std::size_t x = 0; x < buffer.size(); ++x)
            buffer[x] = words[x] | 0xFF000000u;
        return buffer.data();
    }

private:
    const QImage &image;
    std::array<std::vector<QRgb>, 2> buffers;
};

// Numbers of pixels by colour, in open addressing. No colour is 0.
class ColourTable
{
public:
    ColourTable() : places(kFirstPlaces) { }

    void add(QRgb colour, int pixels)
    {
        Place *place = find(colour);
        place->pixels += pixels;
        if (place->colour == colour)
            return;
        place->colour = colour;
        if (2 * ++used > places.size())
            grow();
    }

    // Pixels of the commonest colours together.
    long long countCommonest(int colours) const
    {
        std::vector<int> counts;
        for (const Place &place : places) {
            if (place.pixels > 0)
                counts.push_back(place.pixels);
        }
        const auto end
            = counts.begin() + std::min<std::ptrdiff_t>(colours, std::ptrdiff_t(counts.size()));
        std::partial_sort(counts.begin(), end, counts.end(), std::greater<int>());
        return std::accumulate(counts.begin(), end, 0LL);
    }

private:
    struct Place
    {
        QRgb colour = 0;
        int pixels = 0;
    };

    static const std::size_t kFirstPlaces = 1024; // a power of two; always half of them are free

    Place *find(QRgb colour)
    {
        // The multiplier is 2^32 over the golden ratio; the product's upper bits are well mixed.
        const std::uint32_t product = colour * 0x9E3779B1u;
        std::size_t i = (product ^ (product >> 15)) & (places.size() - 1);
        while (places[i].colour != 0 && places[i].colour != colour)
            i = (i + 1) & (places.size() - 1);
        return &places[i];
    }

    void grow()
    {
        std::vector<Place> old(2 * places.size());
        old.swap(places);
        for (const Place &place : old) {
            if (place.colour != 0)
                *find(place.colour) = place;
        }
    }

    std::vector<Place> places;
    std::size_t used = 0;
};

// Counts distinct words up to kMostCounted.
class DistinctWords
{
public:
    void addRow(const QRgb *words, int width)
    {
        for (int x = 0; x < width && count < kMostCounted; ++x) {
            if (count > 0 && words[x] == last)
                continue;
            last = words[x];
            const auto end = known.begin() + count;
            if (std::find(known.begin(), end, last) == end)
                known[static_cast<std::size_t>(count++)] = last;
        }
    }

    int count = 0;

private:
    std::array<QRgb, kMostCounted> known = {};
    QRgb last = 0;
};

// The flags of a row's pixels, 0 or 1 each.
struct Flags
{
    explicit Flags(int width)
        : above(static_cast<std::size_t>(width)), below(above), right(above), flat(above)
    { }

    std::vector<std::uint32_t> above; // differs clearly from the pixel above
    std::vector<std::uint32_t> below;
    std::vector<std::uint32_t> right;
    std::vector<std::uint32_t> flat;
};

inline std::uint32_t isClear(QRgb word)
{
    return word >> 24 == 0 ? 1u : 0u;
}

inline std::uint32_t isColoured(QRgb word)
{
    const int most = std::max(qRed(word), std::max(qGreen(word), qBlue(word)));
    const int least = std::min(qRed(word), std::min(qGreen(word), qBlue(word)));
    return most - least > kGreyChannels ? 1u : 0u;
}

void compareRight(const QRgb *words, int width, std::uint32_t *right)
{
    for (int x = 0; x + 1 < width; ++x)
        right[x] = differsClearly(words[x], words[x + 1]) ? 1u : 0u;
    right[width - 1] = 0u;
}

void compareBelow(const QRgb *words, const QRgb *below, int width, std::uint32_t *differs)
{
    for (int x = 0; x < width; ++x)
        differs[x] = differsClearly(words[x], below[x]) ? 1u : 0u;
}

// At the right rim the pixel itself stands for its neighbour.
void findFlat(const QRgb *words, const QRgb *below, int width, std::uint32_t *flat)
{
    for (int x = 0; x + 1 < width; ++x) {
        const QRgb different
            = (words[x] ^ words[x + 1]) | (words[x] ^ below[x]) | (words[x] ^ below[x + 1]);
        flat[x] = different == 0 && words[x] >> 24 != 0 ? 1u : 0u;
    }
    const QRgb last = words[width - 1];
    flat[width - 1] = last == below[width - 1] && last >> 24 != 0 ? 1u : 0u;
}

// Adds up what the flags of a row say. A row has fewer than 2^31 pixels.
void addRow(const QRgb *words, const Flags &flags, int width, ColourFeatures *features)
{
    std::uint32_t clear = 0;
    std::uint32_t coloured = 0;
    std::uint32_t flat = 0;
    std::uint32_t edges = 0;
    const auto addPixel = [&](int x, std::uint32_t left) {
        const std::size_t i = static_cast<std::size_t>(x);
        const std::uint32_t visible = 1u - isClear(words[i]);
        const std::uint32_t edge = left | flags.right[i] | flags.above[i] | flags.below[i];
        clear += 1u - visible;
        coloured += visible & isColoured(words[i]);
        flat += flags.flat[i];
        edges += visible & edge & (1u - flags.flat[i]);
    };
    addPixel(0, 0u);
    for (int x = 1; x < width; ++x)
        addPixel(x, flags.right[static_cast<std::size_t>(x - 1)]);
    features->clear += clear;
    features->visible += static_cast<std::uint32_t>(width) - clear;
    features->coloured += coloured;
    features->flat += flat;
    features->edges += edges;
}

// Adds the flat pixels of a row, run by run.
void addFlat(const QRgb *words, const std::vector<std::uint32_t> &flat, ColourTable *table)
{
    for (std::size_t x = 0; x < flat.size();) {
        if (!flat[x]) {
            ++x;
            continue;
        }
        const std::size_t first = x;
        while (x < flat.size() && flat[x] && words[x] == words[first])
            ++x;
        table->add(words[first], static_cast<int>(x - first));
    }
}

} // namespace

ColourFeatures colourFeaturesOf(const QImage &image)
{
    ColourFeatures features;
    Rows rows(image);
    const int width = rows.width();
    const int height = rows.height();
    if (width == 0 || height == 0)
        return features;
    Flags flags(width);
    ColourTable flatColours;
    DistinctWords distinct;
    const QRgb *words = rows.at(0);
    for (int y = 0; y < height; ++y) {
        // At the lower rim the row itself stands for the one below.
        const QRgb *below = y + 1 < height ? rows.at(y + 1) : words;
        compareRight(words, width, flags.right.data());
        compareBelow(words, below, width, flags.below.data());
        findFlat(words, below, width, flags.flat.data());
        distinct.addRow(words, width);
        addRow(words, flags, width, &features);
        addFlat(words, flags.flat, &flatColours);
        flags.above.swap(flags.below);
        words = below;
    }
    features.colours = distinct.count;
    features.mainColours = flatColours.countCommonest(kMainColours);
    return features;
}

} // namespace ztrace
