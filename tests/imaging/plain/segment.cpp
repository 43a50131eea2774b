// (c) the ztrace developers. Licence: see LICENSE.
#include "plain.h"

#include "imaging/colour.h"

#include <QHash>

#include <algorithm>

namespace ztrace {
namespace plain {

namespace {

const uint16_t kUnlabelled = 0xFFFF;

uint16_t nearest(QRgb word, const std::vector<QRgb> &colours)
{
    std::size_t best = 0;
    for (std::size_t k = 1; k < colours.size(); ++k) {
        if (colourDistance(word, colours[k]) < colourDistance(word, colours[best]))
            best = k;
    }
    return static_cast<uint16_t>(best);
}

// Spreads labels into unlabelled pixels, one ring of pixels at a time. Labels of thin lines go no
// farther than to pixels that no other colour is more similar to.
class Spread
{
public:
    Spread(const QImage &source, LabelPlane *target)
        : image(source), plane(target), ofLine(target->pixels(), false)
    { }

    void label(std::size_t pixel, uint16_t label)
    {
        plane->labels[pixel] = label;
        ofLine[pixel] = true;
    }

    void run()
    {
        std::vector<std::size_t> waiting;
        for (std::size_t i = 0; i < plane->pixels(); ++i) {
            if (plane->labels[i] == kUnlabelled)
                waiting.push_back(i);
        }
        std::vector<std::pair<std::size_t, Choice>> ring;
        while (!waiting.empty()) {
            ring.clear();
            std::vector<std::size_t> left;
            for (std::size_t i : waiting) {
                const Choice choice = bestAround(i);
                if (choice.label == kUnlabelled)
                    left.push_back(i);
                else
                    ring.push_back({ i, choice });
            }
            if (ring.empty())
                break; // not a single label to start from
            for (const auto &entry : ring) {
                plane->labels[entry.first] = entry.second.label;
                ofLine[entry.first] = entry.second.ofLine;
            }
            waiting.swap(left);
        }
    }

private:
    struct Choice
    {
        uint16_t label = kUnlabelled;
        bool ofLine = false;
    };

    // Labels within two pixels count, so that both sides of a soft edge are in the choice.
    Choice bestAround(std::size_t i) const
    {
        const int x = static_cast<int>(i % static_cast<std::size_t>(plane->width));
        const int y = static_cast<int>(i / static_cast<std::size_t>(plane->width));
        const QRgb word = row(image, y)[x];
        uint16_t similar = kUnlabelled;
        Choice best;
        int bestDistance = 0;
        for (int v = std::max(0, y - kReach); v <= std::min(plane->height - 1, y + kReach); ++v) {
            for (int u = std::max(0, x - kReach); u <= std::min(plane->width - 1, x + kReach);
                 ++u) {
                const std::size_t other
                    = static_cast<std::size_t>(v) * static_cast<std::size_t>(plane->width)
                    + static_cast<std::size_t>(u);
                const uint16_t label = plane->labels[other];
                if (label == kUnlabelled
                    || (label == best.label && (ofLine[other] || !best.ofLine)))
                    continue;
                if (ofLine[other] && similar == kUnlabelled)
                    similar = nearest(word, plane->colours);
                if (ofLine[other] && label != similar)
                    continue;
                const int distance = colourDistance(word, plane->colours[label]);
                if (best.label == kUnlabelled || distance < bestDistance
                    || (distance == bestDistance && label <= best.label)) {
                    best.label = label;
                    best.ofLine = ofLine[other];
                    bestDistance = distance;
                }
            }
        }
        return best;
    }

    static const int kReach = 2;
    const QImage &image;
    LabelPlane *plane;
    std::vector<bool> ofLine;
};

// Colours of the labels around a pixel, each once.
std::vector<QRgb> coloursAround(const LabelPlane &plane, int x, int y)
{
    const int kNear = 3;
    std::vector<QRgb> colours;
    for (int v = std::max(0, y - kNear); v <= std::min(plane.height - 1, y + kNear); ++v) {
        for (int u = std::max(0, x - kNear); u <= std::min(plane.width - 1, x + kNear); ++u) {
            const uint16_t label
                = plane.labels[static_cast<std::size_t>(v) * static_cast<std::size_t>(plane.width)
                               + static_cast<std::size_t>(u)];
            if (label != kUnlabelled
                && std::find(colours.begin(), colours.end(), plane.colours[label]) == colours.end())
                colours.push_back(plane.colours[label]);
        }
    }
    return colours;
}

// Thin lines have no flat pixels that labels could spread from. Ridges that are no mixtures of what
// is around them get labels of their own.
std::vector<std::pair<std::size_t, uint16_t>> labelsOfRidges(const QImage &image,
                                                             const LabelPlane &plane)
{
    std::vector<std::pair<std::size_t, uint16_t>> found;
    std::size_t i = 0;
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x, ++i) {
            if (plane.labels[i] != kUnlabelled)
                continue;
            const Ridge ridge = ridgeAt(image, x, y);
            if (!ridge.found || isMixture(ridge.colour, coloursAround(plane, x, y)))
                continue;
            const int label = nearestTo(ridge, plane.colours);
            if (label >= 0)
                found.push_back({ i, static_cast<uint16_t>(label) });
        }
    }
    return found;
}

LabelPlane emptyPlane(const QSize &size)
{
    LabelPlane plane;
    plane.width = size.width();
    plane.height = size.height();
    plane.labels.assign(static_cast<std::size_t>(plane.width)
                            * static_cast<std::size_t>(plane.height),
                        kUnlabelled);
    return plane;
}

} // namespace

LabelPlane reduceFlat(const QImage &image, const std::vector<QRgb> &colours)
{
    LabelPlane plane = emptyPlane(image.size());
    plane.colours = colours;
    QHash<QRgb, uint16_t> labelOf;
    for (std::size_t k = colours.size(); k-- > 0;)
        labelOf.insert(colours[k], static_cast<uint16_t>(k));
    std::size_t i = 0;
    for (int y = 0; y < plane.height; ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < plane.width; ++x, ++i) {
            uint16_t label = labelOf.value(words[x], kUnlabelled);
            if (label == kUnlabelled && !isEdge(image, x, y)) {
                label = nearest(words[x], colours);
                labelOf.insert(words[x], label);
            } else if (label != kUnlabelled && colours[label] != words[x] && isEdge(image, x, y)) {
                label = kUnlabelled; // known only from elsewhere, where it was no edge
            }
            plane.labels[i] = label;
        }
    }
    const std::vector<std::pair<std::size_t, uint16_t>> ridges = labelsOfRidges(image, plane);
    Spread spread(image, &plane);
    for (const auto &ridge : ridges)
        spread.label(ridge.first, ridge.second);
    spread.run();
    for (i = 0; i < plane.pixels(); ++i) {
        if (plane.labels[i] == kUnlabelled) {
            const int y = static_cast<int>(i / static_cast<std::size_t>(plane.width));
            const int x = static_cast<int>(i % static_cast<std::size_t>(plane.width));
            plane.labels[i] = nearest(row(image, y)[x], colours);
        }
    }
    return plane;
}

bool isEdge(const QImage &image, int x, int y)
{
    const int kClearly = 24; // colourDistance; shading from pixel to pixel stays below
    const QRgb *words = row(image, y);
    const QRgb own = words[x];
    const auto differs
        = [own](QRgb other) { return own != other && colourDistance(own, other) > kClearly; };
    return (x > 0 && differs(words[x - 1])) || (x + 1 < image.width() && differs(words[x + 1]))
        || (y > 0 && differs(row(image, y - 1)[x]))
        || (y + 1 < image.height() && differs(row(image, y + 1)[x]));
}

} // namespace plain
} // namespace ztrace
