// (c) the ztrace developers. Licence: see LICENSE.
#include "segment.h"

#include "colour.h"
#include "nearestcolour.h"
#include "ridges.h"
#include "spread.h"

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

// Labels where they are clear; the other pixels are unlabelled, and returned from the top.
std::vector<uint32_t> labelAreas(const QImage &image, const EdgeMap &edges, NearestColour *nearest,
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
            for (; !run.exact && x < end; ++x) {
                if ((marks[x] & EdgeMap::kEdge) == 0)
                    continue;
                labels[static_cast<std::size_t>(x)] = kUnlabelled;
                waiting.push_back(static_cast<uint32_t>(before + static_cast<std::size_t>(x)));
            }
        }
        plane->labels.insert(plane->labels.end(), labels.begin(), labels.end());
    }
    return waiting;
}

// Whether the pixel's colour is a mixture of those of the labels around it.
bool isMixtureAround(const LabelPlane &plane, int x, int y, RidgeColours::Around around)
{
    const int kNear = 3;
    for (int v = std::max(0, y - kNear); v <= std::min(plane.height - 1, y + kNear); ++v) {
        const uint16_t *labels = plane.labels.data()
            + static_cast<std::size_t>(v) * static_cast<std::size_t>(plane.width);
        uint16_t last = kUnlabelled;
        for (int u = std::max(0, x - kNear); u <= std::min(plane.width - 1, x + kNear); ++u) {
            if (labels[u] == last || labels[u] == kUnlabelled)
                continue;
            last = labels[u];
            around.add(last);
            if (around.isMixture())
                return true;
        }
    }
    return false;
}

// Thin lines have no flat pixels that labels could spread from. Ridges that are no mixtures of what
// is around them get labels of their own. Returns the pixels that stay unlabelled.
std::vector<uint32_t> labelRidges(const QImage &image, std::vector<uint32_t> waiting,
                                  EdgeMap *edges, LabelPlane *plane)
{
    const RidgeFinder finder(image);
    const RidgeColours colours(plane->colours);
    const uint32_t width = static_cast<uint32_t>(plane->width);
    std::vector<std::pair<uint32_t, uint16_t>> found; // given when all have been looked at
    std::size_t left = 0;
    for (uint32_t pixel : waiting) {
        const int y = static_cast<int>(pixel / width);
        const int x = static_cast<int>(pixel % width);
        int label = -1;
        if ((edges->row(y)[x] & EdgeMap::kRidge) != 0
            && !isMixtureAround(*plane, x, y, { colours, row(image, y)[x] }))
            label = colours.nearestTo(finder.at(x, y));
        if (label < 0) {
            waiting[left++] = pixel;
            continue;
        }
        edges->row(y)[x] |= EdgeMap::kOfLine;
        found.push_back({ pixel, static_cast<uint16_t>(label) });
    }
    for (const auto &ridge : found)
        plane->labels[ridge.first] = ridge.second;
    waiting.resize(left);
    return waiting;
}

} // namespace

LabelPlane reduceFlat(const QImage &image, EdgeMap edges, const std::vector<QRgb> &colours)
{
    LabelPlane plane;
    plane.width = image.width();
    plane.height = image.height();
    plane.colours = colours;
    plane.labels.reserve(static_cast<std::size_t>(plane.width)
                         * static_cast<std::size_t>(plane.height));
    NearestColour nearest(colours);
    std::vector<uint32_t> waiting = labelAreas(image, edges, &nearest, &plane);
    waiting = labelRidges(image, std::move(waiting), &edges, &plane);
    spreadLabels(image, std::move(waiting), &nearest, &edges, &plane);
    return plane;
}

} // namespace ztrace
