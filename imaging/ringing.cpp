// (c) the ztrace developers. Licence: see LICENSE.
#include "ringing.h"

#include "blockunrest.h"
#include "colour.h"
#include "flatinks.h"
#include "huepicture.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace ztrace {

namespace {

const int kBlock = 8;         // pixels a side; those of hues, at half the resolution, have twice
const float kLeastOff = 3.0f; // steps of lightness that a pixel of an ink may be off
const float kLeastHueOff = 4.0f;
const float kRinging = 0.1f;     // of the range in the block, more
const float kHueRinging = 0.15f; // the same of hues
const float kRestless = 8.0f;    // range of a block in which labels are asked about again
const float kQuiet = 2.0f; // range of one whose pixels stay as they are where they have no ink
const int kPasses = 2;
const int kAround = 2;          // pixels whose labels speak for the same one
const float kMisfit = 4.5f;     // of the squared distance, as part of what a pixel may be off, in
                                // natural logarithms of a share of the pixels around
const int kLeastOwn = 4;        // of the 9 pixels about one, to be of an area
const int kStrokeReach = 6;     // pixels in which an ink of strokes is looked for
const float kMixture = 8.0f;    // steps from the mixtures of two inks, beyond what it may be off
const float kOvershoot = 0.25f; // of the way between two inks, beyond one of them
const float kOfHue = 0.25f;     // how much hues count there

// What the pixels of a block may be off.
struct Slack
{
    float light = 0.0f;
    float hue = 0.0f;
};

// Ranges of lightness and hue in the blocks of a picture.
class Blocks
{
public:
    explicit Blocks(const HuePicture &picture)
        : columns((picture.width() + kBlock - 1) / kBlock),
          rows((picture.height() + kBlock - 1) / kBlock)
    {
        for (int v = 0; v < rows; ++v) {
            for (int u = 0; u < columns; ++u)
                ranges.push_back(rangeOf(picture, u * kBlock, v * kBlock));
        }
        const std::vector<Slack> own = ranges;
        for (int v = 0; v < rows; ++v) {
            for (int u = 0; u < columns; ++u) {
                for (int b = v / 2 * 2; b <= std::min(rows - 1, v / 2 * 2 + 1); ++b) {
                    for (int a = u / 2 * 2; a <= std::min(columns - 1, u / 2 * 2 + 1); ++a)
                        ranges[at(u, v)].hue = std::max(ranges[at(u, v)].hue, own[at(a, b)].hue);
                }
            }
        }
    }

    bool isBelow(float most, int x, int y) const
    {
        const Slack &range = ranges[at(x / kBlock, y / kBlock)];
        return range.light < most && range.hue < most;
    }

    Slack slackAt(int x, int y) const
    {
        const Slack &range = ranges[at(x / kBlock, y / kBlock)];
        return { kLeastOff + kRinging * range.light, kLeastHueOff + kHueRinging * range.hue };
    }

private:
    std::size_t at(int u, int v) const
    {
        return std::size_t(v) * std::size_t(columns) + std::size_t(u);
    }

    static Slack rangeOf(const HuePicture &picture, int left, int top)
    {
        Hue least = { 1e9f, 1e9f, 1e9f };
        Hue most = { -1e9f, -1e9f, -1e9f };
        for (int y = top; y < std::min(picture.height(), top + kBlock); ++y) {
            for (int x = left; x < std::min(picture.width(), left + kBlock); ++x) {
                const Hue hue = picture[picture.at(x, y)];
                least = { std::min(least.light, hue.light), std::min(least.blue, hue.blue),
                          std::min(least.red, hue.red) };
                most = { std::max(most.light, hue.light), std::max(most.blue, hue.blue),
                         std::max(most.red, hue.red) };
            }
        }
        return { most.light - least.light, std::max(most.blue - least.blue, most.red - least.red) };
    }

    int columns;
    int rows;
    std::vector<Slack> ranges;
};

// The squared distance of a pixel from an ink, 1: as much as it may be off.
float misfit(const Hue &own, const Hue &ink, const Slack &slack)
{
    const float light = (own.light - ink.light) / slack.light;
    const float blue = (own.blue - ink.blue) / slack.hue;
    const float red = (own.red - ink.red) / slack.hue;
    return light * light + blue * blue + red * red;
}

typedef std::vector<int16_t> Labels;

class FlatArt
{
public:
    FlatArt(const QImage &image, std::vector<FlatInk> areasInks)
        : inks(std::move(areasInks)), picture(image), unmarked(pixelsOf(image), kNoInk),
          blocks(picture), areas(int(inks.size()))
    {
        markShades(image, inks, &unmarked);
        picture.sharpen();
        const std::vector<FlatInk> strokes = inksOfStrokes(picture, nearestInks(), inks);
        inks.insert(inks.end(), strokes.begin(), strokes.end());
        nearest = nearestInks();
        labels = nearest;
        for (int k = 0; k < kPasses; ++k)
            labels = settled();
    }

    void paint(QImage *image) const
    {
        for (int y = 0; y < picture.height(); ++y) {
            QRgb *words = reinterpret_cast<QRgb *>(image->scanLine(y));
            for (int x = 0; x < picture.width(); ++x) {
                const int16_t label = labels[picture.at(x, y)];
                if (label >= 0)
                    words[x] = inks[std::size_t(label)].word;
                else if (label == kNoInk && !blocks.isBelow(kQuiet, x, y))
                    words[x] = wordOf(mixtureAt(x, y));
            }
        }
    }

private:
    static std::size_t pixelsOf(const QImage &image)
    {
        return std::size_t(image.width()) * std::size_t(image.height());
    }

    // The ink that every pixel is nearest to, if it may be so far off.
    Labels nearestInks() const
    {
        Labels found(unmarked);
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                const Slack slack = blocks.slackAt(x, y);
                const Hue own = picture[picture.at(x, y)];
                if (found[picture.at(x, y)] == kShade)
                    continue;
                float least = 1.0f;
                for (std::size_t k = 0; k < inks.size(); ++k) {
                    if (std::fabs(own.light - inks[k].hue.light) >= slack.light)
                        continue;
                    const float cost = misfit(own, inks[k].hue, slack);
                    if (cost < least) {
                        least = cost;
                        found[picture.at(x, y)] = int16_t(k);
                    }
                }
            }
        }
        return found;
    }

    // Of the inks around a pixel, the one that it is near to and that is common there.
    int16_t likeliestAt(int x, int y) const
    {
        InksNearby nearby;
        int all = 0;
        forEachPlaceAround(picture, x, y, kAround, [&](std::size_t place) {
            nearby.add(labels[place]);
            ++all;
        });
        const Slack slack = blocks.slackAt(x, y);
        const Hue own = picture[picture.at(x, y)];
        float least = 1e9f;
        int16_t best = kNoInk;
        for (const InksNearby::Ink &ink : nearby) {
            const float off = misfit(own, inks[std::size_t(ink.label)].hue, slack);
            const float cost = kMisfit * off - std::log(float(ink.count) / float(all));
            if (off < 1.0f && cost < least) {
                least = cost;
                best = ink.label;
            }
        }
        return best;
    }

    Labels settled() const
    {
        Labels next(labels);
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (labels[picture.at(x, y)] == kShade || blocks.isBelow(kRestless, x, y))
                    continue;
                const int16_t best = likeliestAt(x, y);
                int own = 0;
                if (best != kNoInk) {
                    forEachPlaceAround(picture, x, y, 1,
                                       [&](std::size_t place) { own += labels[place] == best; });
                }
                next[picture.at(x, y)] = own >= kLeastOwn ? best : kNoInk;
            }
        }
        return next;
    }

    // Inks of areas beside a pixel, and of strokes that are not far.
    InksNearby inksFor(int x, int y) const
    {
        InksNearby nearby;
        forEachPlaceAround(picture, x, y, kAround, [&](std::size_t place) {
            if (nearest[place] >= areas || nearest[place] == labels[place])
                nearby.add(nearest[place]);
        });
        forEachPlaceAround(picture, x, y, kStrokeReach, [&](std::size_t place) {
            if (nearest[place] >= areas)
                nearby.add(nearest[place]);
        });
        return nearby;
    }

    // The colour of a pixel without an ink of its own: the mixture of two beside it that is nearest
    // to it, or its own.
    Hue mixtureAt(int x, int y) const
    {
        const InksNearby nearby = inksFor(x, y);
        const Hue own = picture[picture.at(x, y)];
        const float slack = blocks.slackAt(x, y).light + kMixture;
        Mixture best = { own, slack * slack };
        for (const InksNearby::Ink &ink : nearby) {
            for (const InksNearby::Ink *other = &ink + 1; other < nearby.end(); ++other) {
                const Mixture mixture
                    = mixtureNear(own, inks[std::size_t(ink.label)].hue,
                                  inks[std::size_t(other->label)].hue, kOfHue, kOvershoot);
                if (mixture.squared < best.squared)
                    best = mixture;
            }
        }
        return best.hue;
    }

    std::vector<FlatInk> inks; // those of areas first
    HuePicture picture;
    Labels unmarked;     // none, but for shades
    const Blocks blocks; // of the picture as it came
    const int areas;
    Labels nearest;
    Labels labels;
};

} // namespace

bool removeRinging(QImage *image)
{
    if (!hasBlockUnrest(*image))
        return false;
    std::vector<FlatInk> inks = inksOfAreas(*image);
    if (inks.empty())
        return false;
    FlatArt(*image, std::move(inks)).paint(image);
    return true;
}

} // namespace ztrace
