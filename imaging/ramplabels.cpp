// (c) the ztrace developers. Licence: see LICENSE.
//
// The labels of ramps in what was made of the picture without them.
#include "ramps.h"

#include "colour.h"
#include "oklab.h"
#include "spread.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace ztrace {

namespace {

const int kToRamp = 4;     // pixels from one that was taken for a stand-in to a ramp
const int kToLabel = 2;    // pixels from a mixture to what it may belong to
const int kLikeLabel = 48; // colourDistance; twice what shades of one spot colour differ by
// Of the distance to its own label: a pixel's colour is nearer to a better one. A soft pixel of a
// thin stroke is as far from what is beside it.
const double kBetter = 0.4;
// The same of what has a colour that nothing near it has or comes that much nearer to. At 0.4 the
// rim of a grey ball stays green in part, since its ramp is 45 off there and the only green of the
// picture 120.
const double kBetterThanStrange = 0.6;

// Labels of stand-ins that are no colours of the picture, and hang together with no ramp: what they
// are drawn in would be seen. They go to the nearest ramp, or to the picture's colour that is
// nearest to their own where that is nearer than the ramp's.
class Strays
{
public:
    Strays(const QImage &i, const Ramps &r, std::size_t f, LabelPlane *p)
        : image(i), ramps(r), first(f), plane(*p), width(std::size_t(p->width)),
          isStrange(p->colours.size(), 0)
    { }

    void settle(const std::vector<std::size_t> &usual)
    {
        bool isAny = false;
        for (std::size_t k = 0; k < ramps.areas.size(); ++k) {
            if (hueDistance(ramps.areas[k].standIn, ramps.areas[k].mean) <= kClearly)
                continue;
            isStrange[usual[k]] = 1;
            isAny = true;
        }
        if (!isAny)
            return;
        for (int y = 0; y < plane.height; ++y) {
            const uint16_t *labels = plane.labels.data() + std::size_t(y) * width;
            for (int x = 0, end = 0; x < plane.width; x = end) {
                end = endOfRun(labels, x, plane.width);
                if (isStrange[labels[x]] == 0)
                    continue;
                for (; x < end; ++x)
                    places.push_back(std::size_t(labels - plane.labels.data()) + std::size_t(x));
            }
        }
        findRamps();
        for (std::size_t label = 0; label < first; ++label)
            seenColours.push_back(oklabOf(plane.colours[label]));
        std::vector<uint16_t> settled;
        for (std::size_t k = 0; k < places.size(); ++k)
            settled.push_back(labelOf(places[k], nearest[k]));
        for (std::size_t k = 0; k < places.size(); ++k)
            plane.labels[places[k]] = settled[k];
    }

private:
    // Those near to a ramp, and then those beside them.
    void findRamps()
    {
        std::vector<std::size_t> reached;
        for (std::size_t place : places) {
            nearest.push_back(rampNear(place));
            if (nearest.back() != 0)
                reached.push_back(nearest.size() - 1);
        }
        for (std::size_t k = 0; k < reached.size(); ++k) {
            const std::size_t from = places[reached[k]];
            const auto look = [&](std::size_t place) {
                const auto stray = std::lower_bound(places.begin(), places.end(), place);
                if (stray == places.end() || *stray != place)
                    return;
                const std::size_t other = std::size_t(stray - places.begin());
                if (nearest[other] != 0)
                    return;
                nearest[other] = nearest[reached[k]];
                reached.push_back(other);
            };
            if (from % width > 0)
                look(from - 1);
            if (from % width + 1 < width)
                look(from + 1);
            if (from >= width)
                look(from - width);
            look(from + width);
        }
    }

    // The label of the nearest ramp within kToRamp, or 0.
    uint16_t rampNear(std::size_t place) const
    {
        const int x = int(place % width);
        const int y = int(place / width);
        int least = std::numeric_limits<int>::max();
        uint16_t label = 0;
        for (int j = std::max(0, y - kToRamp); j <= std::min(plane.height - 1, y + kToRamp); ++j) {
            for (int i = std::max(0, x - kToRamp); i <= std::min(plane.width - 1, x + kToRamp);
                 ++i) {
                const uint16_t other = plane.labels[std::size_t(j) * width + std::size_t(i)];
                const int distance = (i - x) * (i - x) + (j - y) * (j - y);
                if (other >= first && distance < least) {
                    least = distance;
                    label = other;
                }
            }
        }
        return label;
    }

    // A mixture has a colour of its own only by chance: it is the ramp's.
    uint16_t labelOf(std::size_t place, uint16_t ramp) const
    {
        if (ramp != 0 && isMixture(place))
            return ramp;
        const int x = int(place % width);
        const int y = int(place / width);
        const QRgb word = row(image, y)[x];
        const Oklab own = oklabOf(word);
        uint16_t best = plane.labels[place];
        float least = std::numeric_limits<float>::max();
        if (ramp != 0) {
            best = ramp;
            least = seenDistance(
                own, oklabOf(wordOf(ramps.areas[ramp - first].ramp.colourAt(x + 0.5, y + 0.5))));
        }
        for (std::size_t label = 0; label < first; ++label) {
            if (isStrange[label] != 0 || seenColours[label].alpha != qAlpha(word))
                continue;
            const float distance = seenDistance(own, seenColours[label]);
            if (distance < least) {
                least = distance;
                best = uint16_t(label);
            }
        }
        return best;
    }

    bool isMixture(std::size_t place) const
    {
        const auto mixture = std::lower_bound(
            ramps.mixtures.begin(), ramps.mixtures.end(), place,
            [](const RampMixture &other, std::size_t sought) { return other.place < sought; });
        return mixture != ramps.mixtures.end() && mixture->place == place;
    }

    const QImage &image;
    const Ramps &ramps;
    const std::size_t first;
    LabelPlane &plane;
    const std::size_t width;
    std::vector<uint8_t> isStrange;  // labels
    std::vector<Oklab> seenColours;  // of labels before the ramps'
    std::vector<std::size_t> places; // of the strays, from the top
    std::vector<uint16_t> nearest;   // their ramps' labels, 0: none
};

// The label that most pixels of each ramp have.
std::vector<std::size_t> usualLabels(const Ramps &ramps, const LabelPlane &plane, std::size_t first)
{
    std::vector<std::vector<std::size_t>> counts(ramps.areas.size());
    for (std::vector<std::size_t> &own : counts)
        own.resize(first, 0);
    for (int y = 0; y < plane.height; ++y) {
        const std::size_t above = std::size_t(y) * std::size_t(plane.width);
        const uint16_t *numbers = ramps.ofPixel.data() + above;
        const uint16_t *labels = plane.labels.data() + above;
        for (int x = 0, end = 0; x < plane.width; x = end) {
            end = endOfRun(numbers, x, plane.width);
            if (numbers[x] == 0)
                continue;
            end = endOfRun(labels, x, end);
            counts[numbers[x] - 1u][labels[x]] += std::size_t(end - x);
        }
    }
    std::vector<std::size_t> usual;
    for (const std::vector<std::size_t> &own : counts)
        usual.push_back(std::size_t(std::max_element(own.begin(), own.end()) - own.begin()));
    return usual;
}

// What looks like the stand-in and hangs together with the ramp is of the ramp.
void spread(const Ramps &ramps, const std::vector<std::size_t> &usual, std::size_t first,
            LabelPlane *plane)
{
    std::vector<uint16_t> &labels = plane->labels;
    const std::size_t width = std::size_t(plane->width);
    std::vector<uint32_t> reached;
    for (int y = 0; y < plane->height; ++y) {
        ramps.cells.forEachStretch(y, [&](int begin, int end) {
            const std::size_t above = std::size_t(y) * width;
            for (std::size_t k = above + std::size_t(begin); k < above + std::size_t(end); ++k) {
                if (ramps.ofPixel[k] != 0)
                    reached.push_back(uint32_t(k));
            }
        });
    }
    while (!reached.empty()) {
        const std::size_t k = reached.back();
        reached.pop_back();
        const uint16_t own = labels[k];
        const auto look = [&](std::size_t other) {
            if (labels[other] < first && labels[other] == usual[own - first]) {
                labels[other] = own;
                reached.push_back(uint32_t(other));
            }
        };
        if (k % width > 0)
            look(k - 1);
        if (k % width + 1 < width)
            look(k + 1);
        if (k >= width)
            look(k - width);
        if (k + width < labels.size())
            look(k + width);
    }
}

// Pixels beside ramps that have been given a colour which nothing there has: of what is no part of
// a ramp but goes on from it, no colour of the palette need be like any.
class Strangers
{
public:
    Strangers(const QImage &i, const Ramps &r, std::size_t f, LabelPlane *p)
        : image(i), ramps(r), first(f), plane(*p), width(std::size_t(p->width))
    { }

    void settle()
    {
        std::vector<std::pair<std::size_t, uint16_t>> settled;
        for (int y = 0; y < plane.height; ++y) {
            const QRgb *const words = row(image, y);
            const std::size_t before = std::size_t(y) * width;
            ramps.cells.forEachStretch(y, [&](int begin, int end) {
                for (int x = begin; x < end; ++x) {
                    const uint16_t label = plane.labels[before + std::size_t(x)];
                    if (label >= first || hueDistance(words[x], plane.colours[label]) <= kLikeLabel
                        || (words[x] & plane.colours[label]) < 0xFF000000u
                        || isThere(x, y, plane.colours[label]))
                        continue;
                    const uint16_t better = betterFor(words[x], label, x, y);
                    if (better != label)
                        settled.emplace_back(before + std::size_t(x), better);
                }
            });
        }
        for (const auto &[place, label] : settled)
            plane.labels[place] = label;
    }

private:
    // Whether a pixel near another one has a colour, or comes much nearer to it: thin strokes come
    // to their colour nowhere. The rows are looked at from the middle.
    bool isThere(int x, int y, QRgb colour) const
    {
        const int own = hueDistance(row(image, y)[x], colour);
        const int most = std::max(kLikeLabel, int(kBetterThanStrange * own));
        const int left = std::max(0, x - kToRamp);
        const int right = std::min(plane.width - 1, x + kToRamp);
        for (int k = 0; k <= 2 * kToRamp; ++k) {
            const int j = y + (k % 2 == 0 ? k / 2 : -(k + 1) / 2);
            if (j < 0 || j >= plane.height)
                continue;
            const QRgb *const words = row(image, j);
            for (int i = left; i <= right; ++i) {
                if (hueDistance(words[i], colour) <= most)
                    return true;
            }
        }
        return false;
    }

    // Of the labels near a pixel the one that is much nearer to its colour than its own.
    uint16_t betterFor(QRgb word, uint16_t label, int x, int y) const
    {
        double least = kBetterThanStrange * hueDistance(word, plane.colours[label]);
        uint16_t best = label;
        for (int j = std::max(0, y - kToRamp); j <= std::min(plane.height - 1, y + kToRamp); ++j) {
            for (int i = std::max(0, x - kToRamp); i <= std::min(plane.width - 1, x + kToRamp);
                 ++i) {
                const uint16_t other = plane.labels[std::size_t(j) * width + std::size_t(i)];
                const QRgb colour = other < first
                    ? plane.colours[other]
                    : wordOf(ramps.areas[other - first].ramp.colourAt(x + 0.5, y + 0.5));
                if (hueDistance(word, colour) < least && qAlpha(colour) == 255) {
                    least = hueDistance(word, colour);
                    best = other;
                }
            }
        }
        return best;
    }

    const QImage &image;
    const Ramps &ramps;
    const std::size_t first;
    LabelPlane &plane;
    const std::size_t width;
};

} // namespace

std::size_t labelRamps(const QImage &image, const Ramps &ramps, LabelPlane *plane)
{
    const std::size_t first = plane->colours.size();
    if (first + ramps.areas.size() > kMostColoursOfPlane || ramps.areas.empty())
        return first;
    const std::vector<std::size_t> usual = usualLabels(ramps, *plane, first);
    for (const RampArea &area : ramps.areas)
        plane->colours.push_back(area.standIn);
    std::vector<uint16_t> &labels = plane->labels;
    for (std::size_t k = 0; k < ramps.ofPixel.size(); ++k)
        labels[k] = ramps.ofPixel[k] != 0 ? uint16_t(first + ramps.ofPixel[k] - 1u) : labels[k];
    spread(ramps, usual, first, plane);
    Strays(image, ramps, first, plane).settle(usual);
    return first;
}

void settleMixtures(const Ramps &ramps, std::size_t first, LabelPlane *plane)
{
    const int width = plane->width;
    const auto labelAt = [&](int x, int y) {
        return plane->labels[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    };
    const auto distanceAt = [&](QRgb word, uint16_t label, int x, int y) {
        return hueDistance(
            word,
            label < first ? plane->colours[label]
                          : wordOf(ramps.areas[label - first].ramp.colourAt(x + 0.5, y + 0.5)));
    };
    std::vector<std::pair<uint32_t, uint16_t>> settled;
    for (const RampMixture &mixture : ramps.mixtures) {
        const int x = int(mixture.place % uint32_t(width));
        const int y = int(mixture.place / uint32_t(width));
        const uint16_t own = labelAt(x, y);
        if (own >= first)
            continue;
        double least = kBetter * distanceAt(mixture.before, own, x, y);
        if (least <= kBetter * kClearly)
            continue;
        uint16_t best = own;
        for (int j = std::max(0, y - kToLabel); j <= std::min(plane->height - 1, y + kToLabel);
             ++j) {
            for (int i = std::max(0, x - kToLabel); i <= std::min(width - 1, x + kToLabel); ++i) {
                const double distance = distanceAt(mixture.before, labelAt(i, j), x, y);
                if (distance < least) {
                    least = distance;
                    best = labelAt(i, j);
                }
            }
        }
        if (best != own)
            settled.emplace_back(mixture.place, best);
    }
    for (const auto &[place, label] : settled)
        plane->labels[place] = label;
}

void settleStrangers(const QImage &image, const Ramps &ramps, std::size_t first, LabelPlane *plane)
{
    Strangers(image, ramps, first, plane).settle();
}

void recolourMixtures(const QImage &image, const Ramps &ramps, std::size_t first, LabelPlane *plane)
{
    struct Label
    {
        bool isThere = false; // a pixel of it has its colour
        double pixels = 0.0;  // mixtures
        double sums[3] = { 0.0, 0.0, 0.0 };
    };
    if (ramps.mixtures.empty())
        return;
    std::vector<Label> found(first);
    auto mixture = ramps.mixtures.begin();
    for (int y = 0; y < plane->height; ++y) {
        const QRgb *const words = row(image, y);
        const std::size_t before = std::size_t(y) * std::size_t(plane->width);
        const uint16_t *const labels = plane->labels.data() + before;
        for (int x = 0; x < plane->width; ++x) {
            const uint16_t label = labels[x];
            if (label >= first || found[label].isThere) {
                x = endOfRun(labels, x, plane->width) - 1;
                continue;
            }
            const std::size_t place = before + std::size_t(x);
            while (mixture != ramps.mixtures.end() && mixture->place < place)
                ++mixture;
            const bool isMixture = mixture != ramps.mixtures.end() && mixture->place == place;
            const QRgb word = isMixture ? mixture->before : words[x];
            Label &own = found[label];
            own.isThere = colourDistance(word, plane->colours[label]) <= kLikeLabel;
            if (!isMixture)
                continue;
            own.pixels += 1.0;
            own.sums[0] += qRed(word);
            own.sums[1] += qGreen(word);
            own.sums[2] += qBlue(word);
        }
    }
    for (std::size_t k = 0; k < first; ++k) {
        const Label &own = found[k];
        if (own.isThere || own.pixels < 1.0)
            continue;
        const auto mean = [&own](int c) { return int(own.sums[c] / own.pixels + 0.5); };
        plane->colours[k] = qRgb(mean(0), mean(1), mean(2));
    }
}

} // namespace ztrace
