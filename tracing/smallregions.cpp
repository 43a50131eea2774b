// (c) the ztrace developers. Licence: see LICENSE.
#include "smallregions.h"

#include "components.h"

#include "imaging/forest.h"

#include <algorithm>
#include <numeric>

namespace ztrace {

namespace {

const uint32_t kNone = uint32_t(-1);
const uint32_t kShareOfSide = 8;     // one in so many edges of a fringe's border, at least
const uint32_t kCountedAreas = 1024; // pixels; what is larger is sorted by comparing
// Pixels of a sliver on a soft edge: the flat top of a disc of 100 pixels has 20 of one coverage,
// but a line that is drawn between two areas is as long as these are.
const uint32_t kLongestRim = 8;
const uint32_t kPartOfRim = 4; // of its border, in each of the two

struct RunOfSmall
{
    uint32_t area;
    uint32_t run;
    int y;
};

// Pixel edges that an area has in common with another; 0 where they share a corner.
struct Side
{
    uint32_t area;
    uint32_t edges;
};

// The areas of a plane, found once. From pass to pass they are put together in groups of one label
// that hang together, which are the areas of the plane as it is then. A group goes by the number of
// its first area, so that groups are in the order of their first pixels.
class Merging
{
public:
    Merging(const Runs &r, std::size_t least, int s) : runs(r), leastBorder(least), similar(s)
    {
        Components components = findComponents(runs, Connectivity::Corners);
        ofRun = std::move(components.ofRun);
        const std::size_t count = components.list.size();
        firstAreas.reserve(count);
        labelOf.reserve(count);
        for (const Component &area : components.list) {
            firstAreas.push_back({ area.area, area.border });
            labelOf.push_back(area.label);
        }
        groups = firstAreas;
        groupOf.resize(count);
        std::iota(groupOf.begin(), groupOf.end(), 0u);
        nextInGroup = groupOf;
        listOf.assign(count, kNone);
        isChanged.assign(count, false);
        groupCount = count;
        const auto highest = std::max_element(labelOf.begin(), labelOf.end());
        edgesOfLabel.assign(highest == labelOf.end() ? 0 : std::size_t(*highest) + 1, 0);
    }

    // Asks before small areas go that were so from the beginning.
    void ask(const std::function<bool(const SmallArea &)> &question)
    {
        isAsked = question;
        for (int y = 0; y < runs.height; ++y) {
            for (uint32_t k = runs.rowBegin(y); k < runs.rowEnd(y); ++k) {
                const Extent &extent = firstAreas[ofRun[k]];
                if (extent.border < leastBorder || isSliver(extent))
                    smallRuns.push_back({ ofRun[k], k, y });
            }
        }
        std::stable_sort(smallRuns.begin(), smallRuns.end(),
                         [](const RunOfSmall &a, const RunOfSmall &b) { return a.area < b.area; });
    }

    // What is a pixel wide and lies between two colours whose mixture it is goes as well.
    void setMixture(const LabelMixture &mixture) { isMixed = mixture; }

    // One time over. Returns whether labels changed.
    bool run(const LabelDistance &distance)
    {
        regroup();
        const std::vector<uint32_t> small = smallestFirst();
        if (small.empty() || groupCount == 1)
            return false;
        listSides(small);
        for (uint32_t group : small)
            merge(group, distance);
        return !changedLast.empty();
    }

    std::vector<uint16_t> labelsOfRuns() const
    {
        std::vector<uint16_t> labels(ofRun.size());
        for (std::size_t k = 0; k < labels.size(); ++k)
            labels[k] = labelOf[ofRun[k]];
        return labels;
    }

private:
    struct Extent
    {
        uint32_t area;   // in pixels
        uint32_t border; // pixel edges towards others
    };

    struct List
    {
        uint32_t begin;
        uint32_t end;
    };

    template<typename Use>
    void forEachMember(uint32_t group, Use use) const
    {
        uint32_t member = group;
        do {
            use(member);
            member = nextInGroup[member];
        } while (member != group);
    }

    template<typename Use>
    void forEachSide(uint32_t area, Use use) const
    {
        const List &list = lists[listOf[area]];
        for (uint32_t k = list.begin; k < list.end; ++k)
            use(sides[k]);
    }

    uint32_t find(uint32_t area) { return rootOf(&groupOf, area); }

    // Two areas with one label that touch have not been of one label before the last pass, so that
    // one of them changed in it, and has its sides listed.
    void regroup()
    {
        if (changedLast.empty())
            return;
        for (const uint32_t area : changedLast) {
            forEachSide(area, [&](const Side &side) { joinIfAlike(area, side.area); });
            if (isChanged[area])
                continue;
            isChanged[area] = true;
            changed.push_back(area);
        }
        changedLast.clear();
        groupCount = 0;
        for (std::size_t k = 0; k < groupOf.size(); ++k) {
            const uint32_t group = groupOf[k] = groupOf[groupOf[k]]; // which comes before it
            groups[k] = firstAreas[k];
            groupCount += group == k;
            if (group == k)
                continue;
            groups[group].area += firstAreas[k].area;
            groups[group].border += firstAreas[k].border;
        }
        takeOffInnerSides();
    }

    void joinIfAlike(uint32_t area, uint32_t other)
    {
        const uint32_t a = find(area);
        const uint32_t b = find(other);
        if (a == b || labelOf[a] != labelOf[b])
            return;
        groupOf[std::max(a, b)] = std::min(a, b);
        std::swap(nextInGroup[a], nextInGroup[b]); // makes one ring of two
    }

    // A side within a group is listed at one of its areas or at both.
    void takeOffInnerSides()
    {
        for (const uint32_t area : changed) {
            const uint32_t group = groupOf[area];
            forEachSide(area, [&](const Side &side) {
                if (groupOf[side.area] == group)
                    groups[group].border -= isChanged[side.area] ? side.edges : 2 * side.edges;
            });
        }
    }

    bool isSliver(const Extent &extent) const
    {
        return similar > 0 && 2 * uint64_t(extent.area) <= extent.border;
    }

    std::vector<uint32_t> smallestFirst() const
    {
        std::vector<uint32_t> small;
        std::vector<uint32_t> ofArea(kCountedAreas, 0); // how many there are, and where they go
        for (uint32_t k = 0; k < groupOf.size(); ++k) {
            if (groupOf[k] != k)
                continue;
            if (groups[k].border < leastBorder || isSliver(groups[k]))
                small.push_back(k);
        }
        const auto areaOf = [this](uint32_t group) { return groups[group].area; };
        const auto slotOf
            = [&](uint32_t group) { return std::min(areaOf(group), kCountedAreas - 1); };
        // Nearly all have few pixels, and are put in order by counting.
        for (uint32_t group : small)
            ++ofArea[slotOf(group)];
        std::exclusive_scan(ofArea.begin(), ofArea.end(), ofArea.begin(), 0u);
        const std::size_t counted = ofArea.back();
        std::vector<uint32_t> sorted(small.size());
        for (uint32_t group : small)
            sorted[ofArea[slotOf(group)]++] = group;
        std::stable_sort(sorted.begin() + std::ptrdiff_t(counted), sorted.end(),
                         [&](uint32_t a, uint32_t b) { return areaOf(a) < areaOf(b); });
        return sorted;
    }

    // Calls use(a, b, edges) for every stretch between two different areas, and for corners.
    template<typename Use>
    void forEachContact(Use use) const
    {
        const auto touch = [&](uint32_t a, uint32_t b, int edges) {
            if (ofRun[a] != ofRun[b])
                use(ofRun[a], ofRun[b], uint32_t(edges));
        };
        const auto contact = [&](uint32_t above, uint32_t below, int begin, int end) {
            touch(above, below, end - begin);
        };
        const auto corner = [&](uint32_t above, uint32_t below, int) {
            touch(above, below + 1, 0);
            touch(above + 1, below, 0);
        };
        for (int y = 0; y < runs.height; ++y) {
            for (uint32_t k = runs.rowBegin(y) + 1; k < runs.rowEnd(y); ++k)
                touch(k - 1, k, 1);
            if (y > 0)
                walkLine(runs, y, contact, corner);
        }
    }

    // The sides of the areas of these groups, where they are not known yet: one list after the
    // other, counted in one walk and filled in another.
    void listSides(const std::vector<uint32_t> &wanted)
    {
        const std::size_t known = lists.size();
        for (const uint32_t group : wanted) {
            forEachMember(group, [this](uint32_t area) {
                if (listOf[area] != kNone)
                    return;
                listOf[area] = uint32_t(lists.size());
                lists.push_back({ 0, 0 });
            });
        }
        if (lists.size() == known)
            return;
        const auto isNew
            = [&](uint32_t area) { return listOf[area] != kNone && listOf[area] >= known; };
        const auto count = [&](uint32_t area) {
            if (isNew(area))
                ++lists[listOf[area]].end;
        };
        forEachContact([&](uint32_t a, uint32_t b, uint32_t) {
            count(a);
            count(b);
        });
        uint32_t end = uint32_t(sides.size());
        for (std::size_t k = known; k < lists.size(); ++k) {
            end += lists[k].end;
            lists[k] = { end, end };
        }
        sides.resize(end);
        const auto add = [&](uint32_t area, uint32_t other, uint32_t edges) {
            if (isNew(area))
                sides[--lists[listOf[area]].begin] = { other, edges };
        };
        forEachContact([&](uint32_t a, uint32_t b, uint32_t edges) {
            add(a, b, edges);
            add(b, a, edges);
        });
    }

    void merge(uint32_t group, const LabelDistance &distance)
    {
        const uint16_t own = labelOf[group];
        labelsAround.clear();
        forEachMember(group, [&](uint32_t area) {
            forEachSide(area, [&](const Side &side) {
                const uint16_t label = labelOf[side.area];
                if (label == own || side.edges == 0)
                    return;
                if (edgesOfLabel[label] == 0)
                    labelsAround.push_back(label);
                edgesOfLabel[label] += side.edges;
            });
        });
        int best = -1;
        int bestDistance = 0;
        const bool isSmall = groups[group].border < leastBorder;
        const uint32_t least = isSmall ? 1 : groups[group].border / kShareOfSide;
        for (uint16_t label : labelsAround) {
            if (edgesOfLabel[label] < least)
                continue; // what it ends at
            const int d = distance(own, label);
            const bool isBetter = best < 0 || d < bestDistance
                || (d == bestDistance && isLonger(label, uint16_t(best)));
            if (isBetter) {
                best = label;
                bestDistance = d;
            }
        }
        const bool isRim = isRimOf(group);
        for (uint16_t label : labelsAround)
            edgesOfLabel[label] = 0;
        const bool keep = !isSmall && bestDistance > similar && !isRim;
        const bool isSurelyRim = isRim && !isSmall; // and nothing that stands out
        if (best < 0 || keep || (!isSurelyRim && !mayGo(group)))
            return;
        forEachMember(group, [this, best](uint32_t area) {
            labelOf[area] = uint16_t(best);
            changedLast.push_back(area);
        });
    }

    // Whether a sliver lies along the edge of two others whose mixture it is.
    bool isRimOf(uint32_t group) const
    {
        const Extent &extent = groups[group];
        if (!isMixed || extent.area > kLongestRim || 2 * extent.area > extent.border
            || labelsAround.size() != 2)
            return false;
        const uint16_t a = labelsAround[0];
        const uint16_t b = labelsAround[1];
        return kPartOfRim * std::min(edgesOfLabel[a], edgesOfLabel[b]) >= extent.border
            && isMixed(labelOf[group], a, b);
    }

    bool mayGo(uint32_t group)
    {
        if (!isAsked)
            return true;
        asked.pixels.clear();
        forEachMember(group, [this](uint32_t area) { addPixels(area); });
        if (asked.pixels.size() < groups[group].area)
            return true; // it has become small since
        asked.border = groups[group].border;
        asked.around = labelsAround;
        return !isAsked(asked);
    }

    void addPixels(uint32_t area)
    {
        const auto isBefore
            = [](const RunOfSmall &run, uint32_t value) { return run.area < value; };
        auto of = std::lower_bound(smallRuns.begin(), smallRuns.end(), area, isBefore);
        for (; of != smallRuns.end() && of->area == area; ++of) {
            for (int x = runs.start[of->run]; x < runs.end(of->run); ++x)
                asked.pixels.push_back(uint32_t(of->y) * uint32_t(runs.width) + uint32_t(x));
        }
    }

    bool isLonger(uint16_t label, uint16_t best) const
    {
        return edgesOfLabel[label] != edgesOfLabel[best] ? edgesOfLabel[label] > edgesOfLabel[best]
                                                         : label < best;
    }

    const Runs &runs;
    const std::size_t leastBorder;
    const int similar;
    std::vector<uint32_t> ofRun;
    std::vector<Extent> firstAreas;    // as they were found
    std::vector<Extent> groups;        // of every group's first area
    std::vector<uint32_t> groupOf;     // of every area; during a pass the first of its group
    std::vector<uint32_t> nextInGroup; // of every area; the last one is followed by the first
    std::vector<uint16_t> labelOf;     // of every area: that of its group
    std::size_t groupCount = 0;
    std::vector<uint32_t> listOf; // of every area: its place among the lists, or kNone
    std::vector<List> lists;
    std::vector<Side> sides;
    std::vector<uint32_t> changedLast; // areas whose label changed in the last pass
    std::vector<uint32_t> changed;     // and in any pass before it
    std::vector<bool> isChanged;
    std::vector<uint32_t> edgesOfLabel; // all 0 between two merges
    std::vector<uint16_t> labelsAround;
    std::function<bool(const SmallArea &)> isAsked;
    LabelMixture isMixed;
    std::vector<RunOfSmall> smallRuns; // in the order of their areas
    SmallArea asked;
};

bool merge(Merging *merging, Runs *runs, const LabelDistance &distance)
{
    const int kMostPasses = 4; // what is left after that is a handful of areas
    bool changed = false;
    for (int pass = 0; pass < kMostPasses && merging->run(distance); ++pass)
        changed = true;
    if (changed)
        runs->label = merging->labelsOfRuns();
    return changed;
}

// A noisy picture has several times as many runs before it is merged as afterwards.
void tidy(bool changed, Runs *runs)
{
    if (changed)
        *runs = longestRuns(std::move(*runs));
}

} // namespace

bool mergeSmallRegions(Runs *runs, std::size_t leastBorder, int similar,
                       const LabelDistance &distance)
{
    bool changed = false;
    {
        Merging merging(*runs, leastBorder, similar);
        changed = merge(&merging, runs, distance);
    }
    tidy(changed, runs);
    return changed;
}

bool mergeSmallRegions(Runs *runs, std::size_t leastBorder, int similar,
                       const LabelDistance &distance,
                       const std::function<bool(const SmallArea &)> &standsOut,
                       const LabelMixture &isMixture)
{
    bool changed = false;
    {
        Merging merging(*runs, leastBorder, similar);
        merging.ask(standsOut);
        merging.setMixture(isMixture);
        changed = merge(&merging, runs, distance);
    }
    tidy(changed, runs);
    return changed;
}

} // namespace ztrace
