// (c) the ztrace developers. Licence: see LICENSE.
#include "spread.h"

#include "colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace ztrace {

namespace {

const int kReach = LabelWindow::kReach; // pixels that a label goes in one ring

// Cores of lines that are too wide for a ridge and nowhere flat: colourDistance to their label at
// most, and to the label around them at least, where their neighbours may be so much farther from
// it.
const int kLikeCore = 60;
const int kUnlikeGround = 120;
const int kFartherBeside = 24;

// Labels within reach of a pixel among which two are looked for that it is a mixture of; hardly any
// pixel has more. What it may be off from their mixtures, as the crow flies in steps of a channel,
// and by how much less than from all that have the most similar label in them.
const std::size_t kMostMixed = 6;
const float kOfMixture = 12.0f;
const float kClearlyMixed = 8.0f;
const int kSurelySimilar = 24; // colourDistance to a label which is no mixture then

struct Choice
{
    uint16_t label = kUnlabelled;
    bool ofLine = false;
};

// How far a colour is from the mixtures of two, and the part of the second one in the nearest.
struct Mixed
{
    float off;
    float second;
};

Mixed mixtureOf(QRgb word, QRgb one, QRgb two)
{
    const auto channels = [](QRgb c) {
        return std::array<float, 3> { { float(qRed(c)), float(qGreen(c)), float(qBlue(c)) } };
    };
    const auto p = channels(word), a = channels(one), b = channels(two);
    float along = 0.0f;
    float length = 0.0f;
    for (std::size_t k = 0; k < 3; ++k) {
        along += (p[k] - a[k]) * (b[k] - a[k]);
        length += (b[k] - a[k]) * (b[k] - a[k]);
    }
    const float part = length > 0.0f ? std::min(1.0f, std::max(0.0f, along / length)) : 0.0f;
    float off = 0.0f;
    for (std::size_t k = 0; k < 3; ++k) {
        const float d = p[k] - a[k] - part * (b[k] - a[k]);
        off += d * d;
    }
    return { std::sqrt(off), part };
}

struct Decided
{
    uint32_t pixel;
    Choice choice;
};

class Spread
{
public:
    Spread(const QImage &source, NearestColour *nearestColour, EdgeMap *edgeMap, LabelPlane *target)
        : image(source), nearest(nearestColour), edges(edgeMap), plane(target)
    {
        for (std::size_t k = 0; k < plane->colours.size(); ++k) {
            if (qAlpha(plane->colours[k]) == 0)
                clearLabels.push_back(uint16_t(k));
        }
    }

    // Pixels of one ring do not see each other.
    void run(std::vector<uint32_t> waiting)
    {
        bool farther = false;
        std::vector<Decided> ring;
        labelCores(&waiting);
        while (!waiting.empty()) {
            ring.clear();
            std::size_t left = 0;
            for (uint32_t pixel : waiting) {
                const Choice choice = choiceFor(pixel);
                if (choice.label == kUnlabelled)
                    waiting[left++] = pixel;
                else
                    ring.push_back({ pixel, choice });
            }
            waiting.resize(left);
            for (const Decided &decided : ring)
                label(decided);
            if (ring.empty())
                break; // no label comes any farther
            // Where many are left, only those that a new label may have reached are looked at.
            farther = farther || left > ring.size();
            if (farther)
                waiting = within(ring);
        }
        if (farther || !waiting.empty())
            labelUnreached();
    }

private:
    static const uint8_t kQueued = 128; // beside the bits of EdgeMap

    int rowOf(uint32_t pixel) const
    {
        return static_cast<int>(pixel / static_cast<uint32_t>(plane->width));
    }

    int columnOf(uint32_t pixel, int y) const
    {
        return static_cast<int>(pixel
                                - static_cast<uint32_t>(y) * static_cast<uint32_t>(plane->width));
    }

    uint16_t *labelsOf(int y) const
    {
        return plane->labels.data()
            + static_cast<std::size_t>(y) * static_cast<std::size_t>(plane->width);
    }

    void label(const Decided &decided)
    {
        const int y = rowOf(decided.pixel);
        plane->labels[decided.pixel] = decided.choice.label;
        if (decided.choice.ofLine)
            edges->row(y)[columnOf(decided.pixel, y)] |= EdgeMap::kFlank;
    }

    // The most similar label of all is the best choice wherever it is in reach, and what is no
    // mixture of others.
    Choice choiceFor(uint32_t pixel)
    {
        const int y = rowOf(pixel);
        const int x = columnOf(pixel, y);
        const QRgb word = row(image, y)[x];
        const uint16_t similar = nearest->of(word);
        const LabelWindow window(*plane, *edges, x, y);
        const uint64_t ofLines = window.marked(EdgeMap::kOfLine | EdgeMap::kFlank);
        uint64_t left = window.labelled() & window.admitted();
        for (std::size_t k = 0; qAlpha(word) == 255 && k < clearLabels.size(); ++k)
            left &= ~window.pixelsOf(clearLabels[k]);
        const auto choiceAt = [&](uint64_t set) -> Choice {
            const int bit = __builtin_ctzll(set);
            return { window.labelAt(bit), (ofLines >> bit & 1) != 0 };
        };
        if (colourDistance(word, plane->colours[similar]) <= kSurelySimilar) {
            const uint64_t ofSimilar = left & window.pixelsOf(similar);
            if (ofSimilar != 0)
                return choiceAt(ofSimilar);
        }
        Choice best;
        int least = std::numeric_limits<int>::max();
        found.clear();
        while (left != 0) { // the labels as they are met in rows, each once
            found.push_back(choiceAt(left));
            const Choice &own = found.back();
            left &= ~window.pixelsOf(own.label);
            const int distance = colourDistance(word, plane->colours[own.label]);
            if (distance < least || (distance == least && own.label < best.label)) {
                best = own;
                least = distance;
            }
        }
        return found.size() > 2 && found.size() <= kMostMixed ? mixtureOrBest(word, best) : best;
    }

    // Soft pixels between two colours may look like a third one that is near, as those of a green
    // curve that crosses a grey line: where two of what was found explain a pixel, and the most
    // similar one with none of the others, it goes to whichever has more of it.
    Choice mixtureOrBest(QRgb word, Choice best) const
    {
        const auto colourOf = [this](const Choice &c) { return plane->colours[c.label]; };
        float leastOfBest = std::numeric_limits<float>::max();
        float least = kOfMixture;
        Choice chosen = best;
        for (std::size_t i = 0; i < found.size(); ++i) {
            for (std::size_t k = i + 1; k < found.size(); ++k) {
                if (qAlpha(word & colourOf(found[i]) & colourOf(found[k])) != 255)
                    return best;
                const Mixed mixed = mixtureOf(word, colourOf(found[i]), colourOf(found[k]));
                if (found[i].label == best.label || found[k].label == best.label) {
                    leastOfBest = std::min(leastOfBest, mixed.off);
                } else if (mixed.off < least) {
                    least = mixed.off;
                    chosen = mixed.second > 0.5f ? found[k] : found[i];
                }
            }
        }
        return least + kClearlyMixed < leastOfBest ? chosen : best;
    }

    // A line of 3 or 4 pixels has no ridge, and where it is soft or slanted no pixel that is no
    // edge: without a label of its own it would go to the ground.
    void labelCores(std::vector<uint32_t> *waiting)
    {
        std::vector<Decided> cores;
        std::size_t left = 0;
        for (uint32_t pixel : *waiting) {
            const uint16_t label
                = plane->labels[pixel] == kUnlabelled ? coreLabel(pixel) : kUnlabelled;
            if (label == kUnlabelled)
                (*waiting)[left++] = pixel;
            else
                cores.push_back({ pixel, { label, false } });
        }
        waiting->resize(left);
        for (const Decided &core : cores)
            label(core);
    }

    // Of a pixel that looks like a label, amid one other label that it does not look like, and than
    // which no neighbour is clearly less like that one: no mixture on the way to something else.
    uint16_t coreLabel(uint32_t pixel)
    {
        const int y = rowOf(pixel);
        const int x = columnOf(pixel, y);
        const QRgb word = row(image, y)[x];
        const uint16_t similar = nearest->of(word);
        const int toOwn = colourDistance(word, plane->colours[similar]);
        if (toOwn > kLikeCore)
            return kUnlabelled;
        const uint16_t ground = onlyLabelAround(x, y);
        if (ground == kUnlabelled || ground == similar)
            return kUnlabelled;
        const QRgb groundColour = plane->colours[ground];
        const int away = colourDistance(word, groundColour);
        if (away < kUnlikeGround || away < 3 * toOwn)
            return kUnlabelled;
        for (int v = std::max(0, y - 1); v <= std::min(plane->height - 1, y + 1); ++v) {
            for (int u = std::max(0, x - 1); u <= std::min(plane->width - 1, x + 1); ++u) {
                if (colourDistance(row(image, v)[u], groundColour) > away + kFartherBeside)
                    return kUnlabelled;
            }
        }
        return similar;
    }

    // The one label within reach, or none where there are several or a thin line's.
    uint16_t onlyLabelAround(int x, int y) const
    {
        const LabelWindow window(*plane, *edges, x, y);
        const uint64_t labelled = window.labelled();
        if (labelled == 0 || window.marked(EdgeMap::kOfLine) != 0)
            return kUnlabelled;
        const uint16_t only = window.labelAt(__builtin_ctzll(labelled));
        return (labelled & ~window.pixelsOf(only)) == 0 ? only : kUnlabelled;
    }

    std::vector<uint32_t> within(const std::vector<Decided> &ring)
    {
        std::vector<uint32_t> reached;
        for (const Decided &decided : ring) {
            const int y = rowOf(decided.pixel);
            const int x = columnOf(decided.pixel, y);
            for (int v = std::max(0, y - kReach); v <= std::min(plane->height - 1, y + kReach); ++v)
                queue(v, std::max(0, x - kReach), std::min(plane->width - 1, x + kReach), &reached);
        }
        for (uint32_t pixel : reached) {
            const int y = rowOf(pixel);
            edges->row(y)[columnOf(pixel, y)] &= static_cast<uint8_t>(~kQueued);
        }
        return reached;
    }

    void queue(int y, int from, int to, std::vector<uint32_t> *reached)
    {
        const uint16_t *labels = labelsOf(y);
        uint8_t *marks = edges->row(y);
        for (int x = from; x <= to; ++x) {
            if (labels[x] != kUnlabelled || (marks[x] & kQueued) != 0)
                continue;
            marks[x] |= kQueued;
            reached->push_back(static_cast<uint32_t>(labels + x - plane->labels.data()));
        }
    }

    void labelUnreached()
    {
        for (int y = 0; y < plane->height; ++y) {
            uint16_t *labels = labelsOf(y);
            for (int x = 0; x < plane->width; ++x) {
                if (labels[x] == kUnlabelled)
                    labels[x] = nearest->of(row(image, y)[x]);
            }
        }
    }

    const QImage &image;
    NearestColour *nearest;
    EdgeMap *edges;
    LabelPlane *plane;
    std::vector<uint16_t> clearLabels; // for no opaque pixel
    std::vector<Choice> found;         // for one pixel
};

} // namespace

void spreadLabels(const QImage &image, std::vector<uint32_t> waiting, NearestColour *nearest,
                  EdgeMap *edges, LabelPlane *plane)
{
    Spread(image, nearest, edges, plane).run(std::move(waiting));
}

} // namespace ztrace
