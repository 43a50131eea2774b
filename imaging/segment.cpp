// (c) the ztrace developers. Licence: see LICENSE.
#include "segment.h"

#include "borders.h"
#include "colour.h"
#include "nearestcolour.h"
#include "spread.h"
#include "thinstrokes.h"

#include <QHash>

#include <algorithm>

namespace ztrace {

namespace {

// The label of a word, and whether it is of exactly that colour. Fully transparent words are as
// similar to each other as can be, but exactly one colour only where they are equal.
struct LabelOfWord
{
    uint16_t label;
    bool exact;
};

LabelOfWord labelOf(QRgb word, const std::vector<QRgb> &colours, NearestColour *nearest)
{
    const auto same
        = qAlpha(word) == 0 ? std::find(colours.begin(), colours.end(), word) : colours.end();
    if (same != colours.end())
        return { static_cast<uint16_t>(same - colours.begin()), true };
    const uint16_t label = nearest->of(word);
    return { label, colours[label] == word };
}

// Labels where they are known or clear; the other pixels are unlabelled, and returned from the top.
std::vector<uint32_t> labelAreas(const QImage &image, const EdgeMap &edges,
                                 const std::vector<uint16_t> &known, NearestColour *nearest,
                                 LabelPlane *plane)
{
    std::vector<uint32_t> waiting;
    std::vector<uint16_t> labels(static_cast<std::size_t>(plane->width));
    for (int y = 0; y < plane->height; ++y) {
        const QRgb *words = row(image, y);
        const uint8_t *marks = edges.row(y);
        const std::size_t before = plane->labels.size();
        int end = 0;
        for (int x = 0; x < plane->width; x = end) {
            end = endOfRun(words, x, plane->width);
            const LabelOfWord run = labelOf(words[x], plane->colours, nearest);
            std::fill(labels.begin() + x, labels.begin() + end, run.label);
            // What has a mark is an edge.
            for (x = nextSet(marks, x, end); x < end; x = nextSet(marks, x + 1, end)) {
                const bool isThin
                    = (marks[x] & (EdgeMap::kDrawn | EdgeMap::kRule)) == EdgeMap::kDrawn;
                const bool isKnown
                    = !known.empty() && known[before + std::size_t(x)] != kUnlabelled;
                if ((run.exact && !isThin) || isKnown)
                    continue;
                labels[static_cast<std::size_t>(x)] = kUnlabelled;
                waiting.push_back(static_cast<uint32_t>(before + static_cast<std::size_t>(x)));
            }
        }
        plane->labels.insert(plane->labels.end(), labels.begin(), labels.end());
    }
    for (std::size_t k = 0; k < known.size(); ++k) {
        if (known[k] != kUnlabelled)
            plane->labels[k] = known[k];
    }
    return waiting;
}

} // namespace

LabelPlane reduceFlat(const QImage &image, EdgeMap edges, const std::vector<QRgb> &colours,
                      const std::vector<uint16_t> &known)
{
    LabelPlane plane;
    plane.width = image.width();
    plane.height = image.height();
    plane.colours = colours;
    plane.labels.reserve(static_cast<std::size_t>(plane.width)
                         * static_cast<std::size_t>(plane.height));
    NearestColour nearest(colours);
    std::vector<uint32_t> waiting = labelAreas(image, edges, known, &nearest, &plane);
    waiting = labelStrokes(image, std::move(waiting), &edges, &plane);
    spreadLabels(image, std::move(waiting), &nearest, &edges, &plane);
    return plane;
}

} // namespace ztrace
