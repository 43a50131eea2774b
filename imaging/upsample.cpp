// (c) the ztrace developers. Licence: see LICENSE.
#include "upsample.h"

#include "borders.h"
#include "colour.h"
#include "interpolation.h"
#include "segment.h"

#include <algorithm>
#include <array>

namespace ztrace {

namespace {

// Three times gives more numbers and no better colours.
const int kUseful = 2;

const int kMixture = 24;       // colourDistance; what is nearer to its label's colour is pure
const double kSoftShare = 0.2; // of the pixels on borders; a soft edge has one in two or three
const double kLarge = 2.5e6;   // pixels of an image that is fine enough as it is
const int kDiluted = 96;       // colourDistance; a label whose colour is farther is not to be seen

// The labels of a pixel and of those around it, each once, the pixel's own first. The colour of
// each is the label's, but where the pixels show nothing near that, as a line thinner than a pixel
// does: there it is the nearest that they show.
class Choice
{
public:
    // Row y of the labels, and rows y - 1 to y + 1 of the words, as far as there are any.
    Choice(const LabelPlane &plane, const uint16_t *labels,
           const std::array<const QRgb *, 3> &words, int x)
    {
        add(labels[x], words[1][x], plane);
        const int left = std::max(0, x - 1);
        const int right = std::min(plane.width - 1, x + 1);
        for (int v = 0; v < 3; ++v) {
            if (!words[static_cast<std::size_t>(v)])
                continue;
            const uint16_t *line = labels + std::ptrdiff_t(v - 1) * plane.width;
            for (int u = left; u <= right; ++u)
                add(line[u], words[static_cast<std::size_t>(v)][u], plane);
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (entries[i].distance <= kDiluted)
                entries[i].colour = plane.colours[entries[i].label];
        }
    }

    // The label of the most similar colour, the first of several.
    uint16_t nearest(QRgb word) const
    {
        std::size_t best = 0;
        int least = colourDistance(word, entries[0].colour);
        for (std::size_t i = 1; i < count; ++i) {
            if (least == 0)
                break;
            const int distance = colourDistance(word, entries[i].colour);
            if (distance < least) {
                best = i;
                least = distance;
            }
        }
        return entries[best].label;
    }

private:
    struct Entry
    {
        uint16_t label;
        int distance; // of the nearest word so far; any below kDiluted will do
        QRgb colour;
    };

    void add(uint16_t label, QRgb word, const LabelPlane &plane)
    {
        std::size_t place = 0;
        while (place < count && label != entries[place].label)
            ++place;
        if (place < count && entries[place].distance <= kDiluted)
            return;
        const QRgb colour = plane.colours[label];
        const int distance = word == colour ? 0 : colourDistance(word, colour);
        if (place == count)
            ++count;
        else if (distance >= entries[place].distance)
            return;
        entries[place] = { label, distance, word };
    }

    std::array<Entry, 9> entries = {}; // compilers do not see that only the first `count` are read
    std::size_t count = 0;
};

// Every label `factor` times.
void widen(const uint16_t *labels, int width, std::size_t factor, uint16_t *target)
{
    if (factor == 2) {
        for (int x = 0; x < width; ++x) {
            target[2 * x] = labels[x];
            target[2 * x + 1] = labels[x];
        }
        return;
    }
    for (int x = 0; x < width; ++x, target += factor)
        std::fill_n(target, factor, labels[x]);
}

// Pixels amid their own label keep it in all parts; `choose` gives the labels of the others' parts.
template<typename Choose>
LabelPlane refine(const QImage &image, const LabelPlane &plane, int factor, const Choose &choose)
{
    LabelPlane fine;
    fine.width = plane.width * factor;
    fine.height = plane.height * factor;
    fine.colours = plane.colours;
    const std::size_t parts = static_cast<std::size_t>(factor);
    const std::size_t stride = static_cast<std::size_t>(fine.width);
    fine.labels.reserve(stride * static_cast<std::size_t>(fine.height));
    std::vector<uint16_t> rows(stride * parts); // of one row of pixels
    SubpixelColours colours(image, factor);
    BorderRows borders(plane);
    for (int y = 0; y < plane.height; ++y) {
        const uint16_t *labels
            = plane.labels.data() + static_cast<std::size_t>(y) * (stride / parts);
        widen(labels, plane.width, parts, rows.data());
        for (std::size_t j = 1; j < parts; ++j)
            std::copy_n(rows.begin(), stride, rows.data() + j * stride);
        const uint8_t *border = borders.next();
        const std::array<const QRgb *, 3> words
            = { { y > 0 ? row(image, y - 1) : nullptr, row(image, y),
                  y + 1 < plane.height ? row(image, y + 1) : nullptr } };
        for (int x = nextSet(border, 0, plane.width); x < plane.width;
             x = nextSet(border, x + 1, plane.width)) {
            const auto labelOf = choose(labels, words, x);
            const QRgb *part = colours.at(x, y);
            uint16_t *corner = rows.data() + static_cast<std::size_t>(x) * parts;
            for (std::size_t j = 0; j < parts; ++j, corner += stride) {
                for (std::size_t i = 0; i < parts; ++i)
                    corner[i] = labelOf(*part++);
            }
        }
        fine.labels.insert(fine.labels.end(), rows.begin(), rows.end());
    }
    return fine;
}

} // namespace

bool hasSoftEdges(const QImage &image, const LabelPlane &plane)
{
    std::size_t onBorder = 0;
    std::size_t soft = 0;
    BorderRows borders(plane);
    const uint16_t *labels = plane.labels.data();
    for (int y = 0; y < plane.height; ++y, labels += plane.width) {
        const QRgb *words = row(image, y);
        const uint8_t *border = borders.next();
        for (int x = nextSet(border, 0, plane.width); x < plane.width;
             x = nextSet(border, x + 1, plane.width)) {
            ++onBorder;
            soft += colourDistance(words[x], plane.colours[labels[x]]) > kMixture;
        }
    }
    return soft > 0 && double(soft) >= kSoftShare * double(onBorder);
}

int usefulUpsampling(const QImage &image, const LabelPlane &plane)
{
    return double(plane.pixels()) <= kLarge && hasSoftEdges(image, plane) ? kUseful : 1;
}

LabelPlane upsampled(const QImage &image, const LabelPlane &plane, int factor)
{
    return refine(image, plane, factor,
                  [&](const uint16_t *labels, const std::array<const QRgb *, 3> &words, int x) {
                      const Choice choice(plane, labels, words, x);
                      return [choice](QRgb word) { return choice.nearest(word); };
                  });
}

} // namespace ztrace
