// (c) the ztrace developers. Licence: see LICENSE.
#include "localink.h"

#include <algorithm>
#include <map>
#include <utility>

namespace ztrace {

namespace {

// Pixels to each side of a corner that tell which label is ink there: letters are 7 to 14 high.
const int kReach = 5;
// Ink has at most so much of what its ground has there. In patterns both are as common.
const double kMostOfGround = 0.8;
const std::size_t kMostCopies = 1000;
// What turns out to be too large costs time; so many looks a pixel are spent on it.
const std::size_t kMostLooks = 4;

class LocalInk
{
public:
    LocalInk(std::size_t first, LabelPlane *p)
        : plane(*p), end(first), originals(p->colours.size()), counts(originals, 0),
          budget(kMostLooks * p->pixels())
    {
        for (uint16_t label : plane.labels)
            ++counts[label];
    }

    void part()
    {
        for (int y = 1; y < plane.height; ++y) {
            for (int x = 1; x < plane.width; ++x) {
                const uint16_t a = at(x - 1, y - 1);
                const uint16_t b = at(x, y - 1);
                if (a != b && a == at(x, y) && b == at(x - 1, y))
                    settle(x, y, a, b);
            }
        }
    }

private:
    std::size_t placeOf(int x, int y) const
    {
        return std::size_t(y) * std::size_t(plane.width) + std::size_t(x);
    }
    uint16_t at(int x, int y) const { return plane.labels[placeOf(x, y)]; }

    // The upper left corner of a pixel x, y of label `a`, to the left of which is `b`.
    void settle(int x, int y, uint16_t a, uint16_t b)
    {
        if (counts[a] < counts[b])
            partAt(x, y, x - 1, b, a);
        else
            partAt(x, y, x, a, b);
    }

    // The corner where `common` would be parted, which the pixel left, y is of.
    void partAt(int cornerX, int y, int left, uint16_t common, uint16_t rare)
    {
        if (common >= end || qAlpha(plane.colours[common]) == 0
            || plane.colours.size() >= originals + kMostCopies || budget == 0
            || wasTooMuch(placeOf(left, y), counts[rare]) || !isInkNear(cornerX, y, common, rare))
            return;
        const std::vector<std::size_t> ink = inkFrom(left, y, counts[rare]);
        if (ink.empty())
            return;
        const uint16_t copy = copyFor(common, rare, ink.size());
        for (std::size_t place : ink)
            plane.labels[place] = copy;
        counts[common] -= ink.size();
        counts[copy] += ink.size();
    }

    bool isInkNear(int x, int y, uint16_t ink, uint16_t ground) const
    {
        int pixels[2] = { 0, 0 };
        const int left = std::max(0, x - kReach);
        const int count = std::min(plane.width, x + kReach) - left;
        for (int v = std::max(0, y - kReach); v < std::min(plane.height, y + kReach); ++v) {
            const uint16_t *labels = plane.labels.data() + placeOf(left, v);
            for (int k = 0; k < count; ++k) {
                pixels[0] += labels[k] == ink;
                pixels[1] += labels[k] == ground;
            }
        }
        return pixels[0] <= kMostOfGround * pixels[1];
    }

    // What hangs together with a pixel; nothing where that is as much as `most`. What was too much
    // before is not looked at again.
    std::vector<std::size_t> inkFrom(int x, int y, std::size_t most)
    {
        const uint16_t label = at(x, y);
        bool isTooMuch = wasTooMuch(placeOf(x, y), most);
        std::vector<std::size_t> found = { placeOf(x, y) };
        plane.labels[found.front()] = kTaken;
        for (std::size_t k = 0; k < found.size() && !isTooMuch; ++k) {
            const int middleX = int(found[k] % std::size_t(plane.width));
            const int middleY = int(found[k] / std::size_t(plane.width));
            for (int v = std::max(0, middleY - 1); v <= std::min(plane.height - 1, middleY + 1);
                 ++v) {
                for (int u = std::max(0, middleX - 1); u <= std::min(plane.width - 1, middleX + 1);
                     ++u) {
                    if (at(u, v) != label)
                        continue;
                    plane.labels[placeOf(u, v)] = kTaken;
                    found.push_back(placeOf(u, v));
                    isTooMuch = isTooMuch || wasTooMuch(found.back(), most);
                }
            }
            isTooMuch = isTooMuch || found.size() >= most;
        }
        for (std::size_t place : found)
            plane.labels[place] = label;
        if (!isTooMuch)
            return found;
        noteTooMuch(found, most);
        budget -= std::min(budget, found.size());
        return {};
    }

    void noteTooMuch(const std::vector<std::size_t> &found, std::size_t most)
    {
        const auto known = std::find(sizes.begin(), sizes.end(), most);
        const std::size_t number = std::size_t(known - sizes.begin());
        if (number > 0xFF)
            return;
        if (known == sizes.end())
            sizes.push_back(most);
        tooMuch.resize(plane.pixels(), 0);
        for (std::size_t place : found) {
            if (sizes[tooMuch[place]] < most)
                tooMuch[place] = uint8_t(number);
        }
    }

    bool wasTooMuch(std::size_t place, std::size_t most) const
    {
        return !tooMuch.empty() && sizes[tooMuch[place]] >= most;
    }

    // A copy of a label that stays rarer than another one with so many pixels more.
    uint16_t copyFor(uint16_t label, uint16_t rare, std::size_t pixels)
    {
        const auto place = copies.emplace(std::make_pair(label, rare), kTaken).first;
        if (place->second == kTaken || counts[place->second] + pixels >= counts[rare]) {
            place->second = uint16_t(plane.colours.size());
            plane.colours.push_back(plane.colours[label]);
            counts.push_back(0);
        }
        return place->second;
    }

    static constexpr uint16_t kTaken = 0xFFFF;

    LabelPlane &plane;
    std::size_t end;
    std::size_t originals; // labels that were there before
    std::vector<std::size_t> counts;
    std::size_t budget; // pixels that may still be looked at in vain
    // A pixel: which of the sizes what it hangs together with has at least. Empty where nothing was
    // too much.
    std::vector<uint8_t> tooMuch;
    std::vector<std::size_t> sizes = { 0 }; // 256 at most
    std::map<std::pair<uint16_t, uint16_t>, uint16_t> copies;
};

} // namespace

void partLocalInk(std::size_t first, LabelPlane *plane)
{
    LocalInk(first, plane).part();
}

} // namespace ztrace
