// (c) the ztrace developers. Licence: see LICENSE.
//
// The labels of ramps in what was made of the picture without them.
#include "ramps.h"

#include "colour.h"
#include "spread.h"

#include <algorithm>
#include <limits>

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
    std::vector<bool> isStrange(first, false);
    for (std::size_t k = 0; k < ramps.areas.size(); ++k) {
        if (hueDistance(ramps.areas[k].standIn, ramps.areas[k].mean) > kClearly)
            isStrange[usual[k]] = true;
    }
    const int height = int(labels->size() / std::size_t(width));
    const auto at
        = [width](int x, int y) { return std::size_t(y) * std::size_t(width) + std::size_t(x); };
    const auto isStray = [&](std::size_t place) {
        return (*labels)[place] < first && isStrange[(*labels)[place]];
    };
    const std::vector<uint16_t> before = *labels;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (!isStray(at(x, y)))
                continue;
            int nearest = std::numeric_limits<int>::max();
            for (int j = std::max(0, y - kToRamp); j <= std::min(height - 1, y + kToRamp); ++j) {
                for (int i = std::max(0, x - kToRamp); i <= std::min(width - 1, x + kToRamp); ++i) {
                    const int distance = (i - x) * (i - x) + (j - y) * (j - y);
                    if (before[at(i, j)] >= first && distance < nearest) {
                        nearest = distance;
                        (*labels)[at(x, y)] = before[at(i, j)];
                    }
                }
            }
        }
    }
}

} // namespace

std::size_t labelRamps(const Ramps &ramps, LabelPlane *plane)
{
    const std::size_t first = plane->colours.size();
    if (first + ramps.areas.size() > kMostColoursOfPlane || ramps.areas.empty())
        return first;
    // The label that most pixels of a ramp have.
    std::vector<std::vector<uint32_t>> counts(ramps.areas.size());
    for (std::size_t k = 0; k < ramps.ofPixel.size(); ++k) {
        if (ramps.ofPixel[k] == 0)
            continue;
        std::vector<uint32_t> &own = counts[ramps.ofPixel[k] - 1u];
        own.resize(first, 0);
        ++own[plane->labels[k]];
    }
    std::vector<std::size_t> usual;
    for (const std::vector<uint32_t> &own : counts)
        usual.push_back(std::size_t(std::max_element(own.begin(), own.end()) - own.begin()));
    for (const RampArea &area : ramps.areas)
        plane->colours.push_back(area.standIn);
    // What looks like the stand-in and hangs together with the ramp is of the ramp.
    std::vector<uint32_t> reached;
    std::vector<uint16_t> labels = plane->labels;
    for (std::size_t k = 0; k < ramps.ofPixel.size(); ++k) {
        if (ramps.ofPixel[k] == 0)
            continue;
        labels[k] = uint16_t(first + ramps.ofPixel[k] - 1u);
        reached.push_back(uint32_t(k));
    }
    const std::size_t width = std::size_t(plane->width);
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
    settleStrays(ramps, usual, first, plane->width, &labels);
    plane->labels = std::move(labels);
    return first;
}

void settleMixtures(const QImage &before, const QImage &after, const Ramps &ramps,
                    std::size_t first, LabelPlane *plane)
{
    const std::vector<uint16_t> labels = plane->labels;
    const int width = plane->width;
    const auto labelAt = [&](int x, int y) {
        return labels[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    };
    const auto distanceAt = [&](QRgb word, uint16_t label, int x, int y) {
        return hueDistance(
            word,
            label < first ? plane->colours[label]
                          : wordOf(ramps.areas[label - first].ramp.colourAt(x + 0.5, y + 0.5)));
    };
    for (int y = 0; y < plane->height; ++y) {
        const QRgb *was = row(before, y);
        const QRgb *is = row(after, y);
        for (int x = 0; x < width; ++x) {
            const uint16_t own = labelAt(x, y);
            if (was[x] == is[x] || own >= first)
                continue;
            double least = kBetter * distanceAt(was[x], own, x, y);
            if (least <= kBetter * kClearly)
                continue;
            for (int j = std::max(0, y - kToLabel); j <= std::min(plane->height - 1, y + kToLabel);
                 ++j) {
                for (int i = std::max(0, x - kToLabel); i <= std::min(width - 1, x + kToLabel);
                     ++i) {
                    const double distance = distanceAt(was[x], labelAt(i, j), x, y);
                    if (distance < least) {
                        least = distance;
                        plane->labels[std::size_t(y) * std::size_t(width) + std::size_t(x)]
                            = labelAt(i, j);
                    }
                }
            }
        }
    }
}

} // namespace ztrace
