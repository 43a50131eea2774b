// (c) the ztrace developers. Licence: see LICENSE.
#include "smallregions.h"

#include "components.h"

#include <algorithm>
#include <numeric>

namespace ztrace {

namespace {

const uint32_t kLarge = uint32_t(-1); // no place among the small areas

// Pixel edges that an area has in common with another.
struct Side
{
    uint32_t area;
    uint32_t edges;
};

// One time over.
class Merging
{
public:
    Merging(Runs *r, std::size_t least, int s)
        : runs(*r), leastBorder(least), similar(s),
          components(findComponents(runs, Connectivity::Corners))
    { }

    // Returns whether labels changed.
    bool run(const LabelDistance &distance, std::vector<uint32_t> *edgesOfLabel)
    {
        findSmall();
        if (small.empty() || components.list.size() == 1)
            return false;
        findSides();
        labelOf.resize(components.list.size());
        for (std::size_t k = 0; k < labelOf.size(); ++k)
            labelOf[k] = components.list[k].label;
        bool changed = false;
        for (uint32_t area : smallestFirst())
            changed |= merge(area, distance, edgesOfLabel);
        for (std::size_t k = 0; changed && k < runs.count(); ++k)
            runs.label[k] = labelOf[components.ofRun[k]];
        return changed;
    }

private:
    void findSmall()
    {
        placeOf.assign(components.list.size(), kLarge);
        for (std::size_t k = 0; k < placeOf.size(); ++k) {
            const Component &area = components.list[k];
            const bool isSliver = 2 * uint64_t(area.area) <= area.border;
            if (area.border >= leastBorder && !(similar > 0 && isSliver))
                continue;
            placeOf[k] = uint32_t(small.size());
            small.push_back(uint32_t(k));
        }
    }

    // Calls use(a, b, edges) for every stretch between two different areas.
    template<typename Use>
    void forEachContact(Use use) const
    {
        const std::vector<uint32_t> &ofRun = components.ofRun;
        const auto contact = [&](uint32_t above, uint32_t below, int begin, int end) {
            if (ofRun[above] != ofRun[below])
                use(ofRun[above], ofRun[below], uint32_t(end - begin));
        };
        const auto corner = [](uint32_t, uint32_t, int) {};
        for (int y = 0; y < runs.height; ++y) {
            for (uint32_t k = runs.rowBegin(y) + 1; k < runs.rowEnd(y); ++k) {
                if (ofRun[k - 1] != ofRun[k])
                    use(ofRun[k - 1], ofRun[k], 1u);
            }
            if (y > 0)
                walkLine(runs, y, contact, corner);
        }
    }

    // The sides of the small areas, one list after the other.
    void findSides()
    {
        firstSide.assign(small.size() + 1, 0);
        const auto count = [this](uint32_t area) {
            if (placeOf[area] != kLarge)
                ++firstSide[placeOf[area]];
        };
        forEachContact([&](uint32_t a, uint32_t b, uint32_t) {
            count(a);
            count(b);
        });
        std::partial_sum(firstSide.begin(), firstSide.end(), firstSide.begin());
        sides.resize(firstSide.back());
        const auto add = [this](uint32_t area, uint32_t other, uint32_t edges) {
            if (placeOf[area] != kLarge)
                sides[--firstSide[placeOf[area]]] = { other, edges };
        };
        forEachContact([&](uint32_t a, uint32_t b, uint32_t edges) {
            add(a, b, edges);
            add(b, a, edges);
        });
    }

    std::vector<uint32_t> smallestFirst() const
    {
        std::vector<uint32_t> order = small;
        std::stable_sort(order.begin(), order.end(), [this](uint32_t a, uint32_t b) {
            return components.list[a].area < components.list[b].area;
        });
        return order;
    }

    bool merge(uint32_t area, const LabelDistance &distance, std::vector<uint32_t> *edgesOfLabel)
    {
        const uint16_t own = labelOf[area];
        labelsAround.clear();
        for (uint32_t k = firstSide[placeOf[area]]; k < firstSide[placeOf[area] + 1]; ++k) {
            const uint16_t label = labelOf[sides[k].area];
            if (label == own)
                continue;
            if ((*edgesOfLabel)[label] == 0)
                labelsAround.push_back(label);
            (*edgesOfLabel)[label] += sides[k].edges;
        }
        int best = -1;
        int bestDistance = 0;
        for (uint16_t label : labelsAround) {
            const int d = distance(own, label);
            const bool isBetter = best < 0 || d < bestDistance
                || (d == bestDistance && isLonger(label, uint16_t(best), *edgesOfLabel));
            if (isBetter) {
                best = label;
                bestDistance = d;
            }
        }
        for (uint16_t label : labelsAround)
            (*edgesOfLabel)[label] = 0;
        const bool keep = components.list[area].border >= leastBorder && bestDistance > similar;
        if (best < 0 || keep)
            return false;
        labelOf[area] = uint16_t(best);
        return true;
    }

    static bool isLonger(uint16_t label, uint16_t best, const std::vector<uint32_t> &edgesOfLabel)
    {
        return edgesOfLabel[label] != edgesOfLabel[best] ? edgesOfLabel[label] > edgesOfLabel[best]
                                                         : label < best;
    }

    Runs &runs;
    const std::size_t leastBorder;
    const int similar;
    const Components components;
    std::vector<uint32_t> small;
    std::vector<uint32_t> placeOf; // of every area among the small ones, or kLarge
    std::vector<uint32_t> firstSide;
    std::vector<Side> sides;
    std::vector<uint16_t> labelOf; // of every area, as far as it got
    std::vector<uint16_t> labelsAround;
};

} // namespace

bool mergeSmallRegions(Runs *runs, std::size_t leastBorder, int similar,
                       const LabelDistance &distance)
{
    const int kMostPasses = 4; // what is left after that is a handful of areas
    std::vector<uint32_t> edgesOfLabel(std::size_t(1) << 16, 0);
    bool changed = false;
    for (int pass = 0; pass < kMostPasses; ++pass) {
        if (!Merging(runs, leastBorder, similar).run(distance, &edgesOfLabel))
            break;
        changed = true;
    }
    return changed;
}

} // namespace ztrace
