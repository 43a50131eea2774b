// (c) the ztrace developers. Licence: see LICENSE.
#include "corners.h"

#include "components.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

namespace ztrace {

namespace {

const std::size_t kMostSeparated = 60000; // below what a label can hold

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

class Separation
{
public:
    explicit Separation(LabelPlane *p)
        : plane(p), map(findRegions(*p, Touching::Edges)), parent(findNesting(*p, map).parent),
          leader(map.regions.size())
    {
        std::iota(leader.begin(), leader.end(), 0);
        areas.assign(plane->colours.size(), 0);
        for (const Region &region : map.regions)
            areas[at(region.label)] += region.area;
    }

    bool run()
    {
        lookAtCorners();
        if (apart.empty())
            return false;
        giveLabels();
        return true;
    }

private:
    int find(int region)
    {
        while (leader[at(region)] != region)
            region = leader[at(region)] = leader[at(leader[at(region)])];
        return region;
    }

    // Every node between four pixels whose diagonals hold equal labels of different regions.
    void lookAtCorners()
    {
        const std::size_t stride = at(plane->width);
        for (int y = 1; y < plane->height; ++y) {
            for (int x = 1; x < plane->width; ++x) {
                const std::size_t i = at(y) * stride + at(x);
                const bool falling = meets(i - stride - 1, i, i - 1);
                const bool rising = meets(i - stride, i - 1, i);
                if (!falling && !rising)
                    continue;
                // Where two colours cross, one at most may go on over the corner: the rarer.
                const bool crossing = plane->labels[i - stride] == plane->labels[i - 1]
                    && plane->labels[i - stride - 1] == plane->labels[i];
                const bool fallingIsRarer = areas[plane->labels[i]] <= areas[plane->labels[i - 1]];
                if (falling)
                    note(i - stride - 1, i, !crossing || fallingIsRarer);
                if (rising)
                    note(i - stride, i - 1, !crossing || !fallingIsRarer);
            }
        }
    }

    // Whether the pixels a and b, on a diagonal, are of one label but different regions, and the
    // pixel beside them is of another label.
    bool meets(std::size_t a, std::size_t b, std::size_t beside) const
    {
        return plane->labels[a] == plane->labels[b] && plane->labels[beside] != plane->labels[b]
            && map.regionOfPixel[a] != map.regionOfPixel[b];
    }

    void note(std::size_t a, std::size_t b, bool mayJoin)
    {
        const int first = map.regionOfPixel[a];
        const int second = map.regionOfPixel[b];
        if (mayJoin && parent[at(first)] == parent[at(second)]) {
            const int low = std::min(find(first), find(second));
            leader[at(std::max(find(first), find(second)))] = low;
        } else {
            apart.push_back({ first, second });
        }
    }

    // Variants of a colour, chosen one after the other so that areas that must stay apart differ.
    void giveLabels()
    {
        std::map<int, std::set<int>> others;
        for (const auto &pair : apart) {
            const int first = find(pair.first);
            const int second = find(pair.second);
            if (first == second)
                continue; // joined elsewhere: nothing to be done
            others[first].insert(second);
            others[second].insert(first);
        }
        std::map<int, int> variantOf;
        for (const auto &entry : others) {
            std::set<int> taken;
            for (int other : entry.second) {
                const auto known = variantOf.find(other);
                if (known != variantOf.end())
                    taken.insert(known->second);
            }
            int variant = 0;
            while (taken.count(variant))
                ++variant;
            variantOf[entry.first] = variant;
        }
        std::map<std::pair<int, int>, int> labelOf;
        std::vector<int> labels(map.regions.size());
        for (std::size_t r = 0; r < labels.size(); ++r) {
            labels[r] = map.regions[r].label;
            const auto variant = variantOf.find(find(static_cast<int>(r)));
            if (variant == variantOf.end() || variant->second == 0)
                continue;
            const std::pair<int, int> key(labels[r], variant->second);
            if (!labelOf.count(key)) {
                if (plane->colours.size() == kMostSeparated)
                    continue;
                labelOf[key] = static_cast<int>(plane->colours.size());
                plane->colours.push_back(plane->colours[at(labels[r])]);
            }
            labels[r] = labelOf[key];
        }
        for (std::size_t i = 0; i < plane->pixels(); ++i)
            plane->labels[i] = static_cast<uint16_t>(labels[at(map.regionOfPixel[i])]);
    }

    LabelPlane *plane;
    RegionMap map;
    std::vector<int> parent;
    std::vector<int> leader; // of the regions that are joined over corners
    std::vector<std::size_t> areas;
    std::vector<std::pair<int, int>> apart;
};

} // namespace

bool separateCorners(LabelPlane *plane)
{
    return Separation(plane).run();
}

} // namespace ztrace
