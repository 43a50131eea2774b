// (c) the ztrace developers. Licence: see LICENSE.
#include "unexplained.h"

#include "colour.h"
#include "visiblecolour.h"

#include <algorithm>
#include <array>

namespace ztrace {

namespace {

const int kFar = 45;                 // colourDistance to the colour of the label
const int kBeside = 1;               // pixels to either side of a solid one on a blurred edge
const double kOfMixture = 12.0;      // steps of a channel, as the crow flies
const int kRim = 2;                  // pixels about solid ones that may choose again
const std::size_t kLeastPixels = 16; // in all; fewer are not worth the labels

bool isFar(QRgb word, QRgb drawn)
{
    return word != drawn && qAlpha(word) == 255 && colourDistance(word, drawn) > kFar;
}

// A bit for each pixel of a row, the first one in the lowest bit of the first word.
typedef std::vector<uint64_t> Bits;

void findFar(const QRgb *words, const uint16_t *labels, const LabelPlane &plane, Bits *far)
{
    std::fill(far->begin(), far->end(), 0);
    for (int x = 0; x < plane.width;) {
        const int begin = x;
        x = std::min(endOfRun(words, begin, plane.width), endOfRun(labels, begin, plane.width));
        if (!isFar(words[begin], plane.colours[labels[begin]]))
            continue;
        for (int k = begin; k < x; ++k)
            (*far)[std::size_t(k) / 64] |= uint64_t(1) << k % 64;
    }
}

// Of a word of three rows, the bits with all eight around them.
uint64_t solidBits(const std::array<Bits, 3> &rows, std::size_t word)
{
    const auto all = [&rows](std::size_t k) { return rows[0][k] & rows[1][k] & rows[2][k]; };
    const uint64_t here = all(word);
    if (here == 0)
        return 0;
    const uint64_t before = word > 0 ? all(word - 1) >> 63 : 0;
    const uint64_t after = word + 1 < rows[0].size() ? all(word + 1) << 63 : 0;
    return here & (here << 1 | before) & (here >> 1 | after);
}

// Whether a pixel is a mixture of two colours that are drawn about it, as on a blurred edge.
bool isMixture(QRgb word, const LabelPlane &plane, const uint16_t *label)
{
    std::array<QRgb, std::size_t((2 * kBeside + 1) * (2 * kBeside + 1))> around;
    std::size_t count = 0;
    for (int v = -kBeside; v <= kBeside; ++v) {
        for (int u = -kBeside; u <= kBeside; ++u) {
            const QRgb colour = plane.colours[label[std::ptrdiff_t(v) * plane.width + u]];
            const auto end = around.begin() + std::ptrdiff_t(count);
            if (std::find(around.begin(), end, colour) == end)
                around[count++] = colour;
        }
    }
    const VisibleColour own = visible(word);
    for (std::size_t k = 0; k < count; ++k) {
        for (std::size_t i = 0; i < k; ++i) {
            if (squareToMixture(own, visible(around[i]), visible(around[k]))
                <= kOfMixture * kOfMixture)
                return true;
        }
    }
    return false;
}

struct Place
{
    int x;
    int y;
};

// Pixels that are not explained. None are on the picture's border.
std::vector<Place> solidPlaces(const LabelPlane &plane, const QImage &image)
{
    std::vector<Place> places;
    std::array<Bits, 3> rows;
    rows.fill(Bits(std::size_t(plane.width) / 64 + 1));
    const uint16_t *labels = plane.labels.data();
    for (int y = 0; y < plane.height; ++y, labels += plane.width) {
        std::rotate(rows.begin(), rows.begin() + 1, rows.end());
        findFar(row(image, y), labels, plane, &rows[2]);
        for (std::size_t word = 0; y > 1 && word < rows[0].size(); ++word) {
            for (uint64_t bits = solidBits(rows, word); bits != 0; bits &= bits - 1) {
                const int x = int(64 * word) + __builtin_ctzll(bits);
                if (!isMixture(row(image, y - 1)[x], plane, labels - plane.width + x))
                    places.push_back({ x, y - 1 });
            }
        }
    }
    return places;
}

} // namespace

std::vector<Explained> unexplainedBy(const LabelPlane &plane, const QImage &image)
{
    std::vector<Explained> result;
    const std::vector<Place> solid = solidPlaces(plane, image);
    if (solid.size() < kLeastPixels)
        return result;
    result.resize(plane.labels.size(), Explained::Well);
    const auto index = [&plane](int x, int y) {
        return std::size_t(y) * std::size_t(plane.width) + std::size_t(x);
    };
    for (const Place &place : solid) {
        for (int y = std::max(0, place.y - kRim); y <= std::min(plane.height - 1, place.y + kRim);
             ++y) {
            for (int x = std::max(0, place.x - kRim);
                 x <= std::min(plane.width - 1, place.x + kRim); ++x) {
                const std::size_t k = index(x, y);
                if (isFar(row(image, y)[x], plane.colours[plane.labels[k]]))
                    result[k] = Explained::Beside;
            }
        }
    }
    for (const Place &place : solid)
        result[index(place.x, place.y)] = Explained::Not;
    return result;
}

} // namespace ztrace
