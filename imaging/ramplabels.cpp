// (c) the ztrace developers. Licence: see LICENSE.
//
// The labels of ramps in what was made of the picture without them.
#include "ramps.h"

#include "colour.h"
#include "spread.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace ztrace {

namespace {

const int kToRamp = 4;  // pixels from one that was taken for a stand-in to a ramp
const int kToLabel = 2; // pixels from a mixture to what it may belong to
// Of the distance to its own label: a pixel's colour is nearer to a better one. A soft pixel of a
// thin stroke is as far from what is beside it.
const double kBetter = 0.4;

// Labels of stand-ins that are no colours of the picture, and hang together with no ramp: they go
// to the nearest ramp.
void settleStrays(const Ramps &ramps, const std::vector<std::size_t> &usual, std::size_t first,
                  int width, std::vector<uint16_t> *labels)
{
    std::vector<uint8_t> isStrange(first + ramps.areas.size(), 0); // labels
    bool isAny = false;
    for (std::size_t k = 0; k < ramps.areas.size(); ++k) {
        if (hueDistance(ramps.areas[k].standIn, ramps.areas[k].mean) <= kClearly)
            continue;
        isStrange[usual[k]] = 1;
        isAny = true;
    }
    if (!isAny)
        return;
    const int height = int(labels->size() / std::size_t(width));
    const auto at = [width, labels](int x, int y) {
        return (*labels)[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    };
    std::vector<std::pair<std::size_t, uint16_t>> settled;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (isStrange[at(x, y)] == 0)
                continue;
            int nearest = std::numeric_limits<int>::max();
            uint16_t label = 0;
            for (int j = std::max(0, y - kToRamp); j <= std::min(height - 1, y + kToRamp); ++j) {
                for (int i = std::max(0, x - kToRamp); i <= std::min(width - 1, x + kToRamp); ++i) {
                    const int distance = (i - x) * (i - x) + (j - y) * (j - y);
                    if (at(i, j) >= first && distance < nearest) {
                        nearest = distance;
                        label = at(i, j);
                    }
                }
            }
            if (label != 0)
                settled.emplace_back(std::size_t(y) * std::size_t(width) + std::size_t(x), label);
        }
    }
    for (const auto &[place, label] : settled)
        (*labels)[place] = label;
}

// The label that most pixels of each ramp have.
std::vector<std::size_t> usualLabels(const Ramps &ramps, const LabelPlane &plane, std::size_t first)
{
    std::vector<std::vector<std::size_t>> counts(ramps.areas.size());
    for (std::vector<std::size_t> &own : counts)
        own.resize(first, 0);
    const std::size_t pixels = ramps.ofPixel.size();
    for (std::size_t begin = 0; begin < pixels;) {
        const uint16_t number = ramps.ofPixel[begin];
        const uint16_t label = plane.labels[begin];
        std::size_t end = begin + 1;
        while (end < pixels && ramps.ofPixel[end] == number && plane.labels[end] == label)
            ++end;
        if (number != 0)
            counts[number - 1u][label] += end - begin;
        begin = end;
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

} // namespace

std::size_t labelRamps(const Ramps &ramps, LabelPlane *plane)
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
    settleStrays(ramps, usual, first, plane->width, &labels);
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

} // namespace ztrace
