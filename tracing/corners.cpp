// (c) the ztrace developers. Licence: see LICENSE.
#include "corners.h"

#include "components.h"
#include "containment.h"

#include "imaging/forest.h"
#include "imaging/index.h"

#include <algorithm>
#include <map>
#include <numeric>

namespace ztrace {

namespace {

// Two areas of one label that meet at a corner.
struct Meeting
{
    int first;
    int second;
    bool mayJoin;
};

class Separation
{
public:
    Separation(Runs *r, int labelCount)
        : runs(*r), components(findComponents(runs, Connectivity::Edges)),
          pixelsOfLabel(std::size_t(labelCount), 0), nextLabel(labelCount)
    {
        for (const Component &component : components.list)
            pixelsOfLabel[component.label] += component.area;
    }

    bool run(int mostLabels)
    {
        lookAtCorners();
        if (meetings.empty())
            return false;
        joinAreas();
        if (meetings.empty())
            return false;
        giveLabels(mostLabels);
        return true;
    }

    std::vector<uint16_t> copies;

    // Of areas that have one label and meet at corners. Nothing is left here.
    std::optional<AreaGraph> takeGraph()
    {
        if (leader.empty())
            return std::nullopt;
        for (const Meeting &meeting : meetings) {
            if (components.list[at(meeting.first)].label
                == components.list[at(meeting.second)].label)
                unite(meeting);
        }
        for (std::size_t k = 0; k < leader.size(); ++k)
            leader[k] = find(int(k));
        components.ofRun = std::vector<uint32_t>();
        meetings = std::vector<Meeting>();
        return joinedGraph({ std::move(components.list), std::move(neighbours) }, leader);
    }

private:
    int find(int area) { return rootOf(&leader, area); }

    void unite(const Meeting &meeting)
    {
        const int first = find(meeting.first);
        const int second = find(meeting.second);
        leader[at(std::max(first, second))] = std::min(first, second);
    }

    void lookAtCorners()
    {
        const auto contact = [](uint32_t, uint32_t, int, int) {};
        const auto corner = [this](uint32_t above, uint32_t below, int) { lookAt(above, below); };
        for (int y = 1; y < runs.height; ++y)
            walkLine(runs, y, contact, corner);
    }

    // The node right of the runs `above` and `below`.
    void lookAt(uint32_t above, uint32_t below)
    {
        const std::vector<uint16_t> &label = runs.label;
        const bool falling = label[above] == label[below + 1];
        const bool rising = label[above + 1] == label[below];
        if ((!falling && !rising) || label[above] == label[below])
            return;
        // Where two labels cross, one at most may go on over the corner: the rarer.
        const bool crossing = falling && rising;
        const bool fallingIsRarer = pixelsOfLabel[label[below + 1]] <= pixelsOfLabel[label[below]];
        if (falling)
            note(above, below + 1, !crossing || fallingIsRarer);
        if (rising)
            note(above + 1, below, !crossing || !fallingIsRarer);
    }

    void note(uint32_t above, uint32_t below, bool mayJoin)
    {
        const uint32_t first = components.ofRun[above];
        const uint32_t second = components.ofRun[below];
        if (first != second)
            meetings.push_back({ int(first), int(second), mayJoin });
    }

    // Leaves the meetings of areas that have to be apart.
    void joinAreas()
    {
        neighbours = findNeighbours(runs, components);
        const std::vector<int> parent = findParents(components, neighbours);
        leader.resize(components.list.size());
        std::iota(leader.begin(), leader.end(), 0);
        const auto join = [&](const Meeting &meeting) {
            if (!meeting.mayJoin || parent[at(meeting.first)] != parent[at(meeting.second)])
                return false;
            unite(meeting);
            return true;
        };
        meetings.erase(std::remove_if(meetings.begin(), meetings.end(), join), meetings.end());
    }

    // Both orders of the pairs of joined areas that must differ, sorted.
    std::vector<std::pair<int, int>> pairsApart()
    {
        std::vector<std::pair<int, int>> pairs;
        for (const Meeting &meeting : meetings) {
            const int first = find(meeting.first);
            const int second = find(meeting.second);
            if (first == second)
                continue; // joined elsewhere: nothing to be done
            pairs.push_back({ first, second });
            pairs.push_back({ second, first });
        }
        std::sort(pairs.begin(), pairs.end());
        pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
        return pairs;
    }

    // Variants of a label, chosen one after the other so that areas that must stay apart differ.
    // Variant 0 is the label itself.
    std::vector<int> chooseVariants()
    {
        const std::vector<std::pair<int, int>> pairs = pairsApart();
        std::vector<int> variantOf(components.list.size(), 0);
        std::vector<int> taken;
        for (auto begin = pairs.begin(); begin != pairs.end();) {
            const int area = begin->first;
            taken.clear();
            auto pair = begin;
            for (; pair != pairs.end() && pair->first == area; ++pair) {
                if (pair->second < area)
                    taken.push_back(variantOf[at(pair->second)]);
            }
            std::sort(taken.begin(), taken.end());
            int variant = 0;
            for (int other : taken)
                variant += other == variant;
            variantOf[at(area)] = variant;
            begin = pair;
        }
        return variantOf;
    }

    void giveLabels(int mostLabels)
    {
        const std::vector<int> variantOf = chooseVariants();
        std::map<std::pair<uint16_t, int>, uint16_t> labelOf; // an entry a new label
        std::vector<uint16_t> labels(components.list.size());
        for (std::size_t k = 0; k < labels.size(); ++k) {
            labels[k] = components.list[k].label;
            const int variant = variantOf[at(find(int(k)))];
            if (variant == 0)
                continue;
            const auto known = labelOf.find({ labels[k], variant });
            if (known != labelOf.end()) {
                labels[k] = known->second;
            } else if (nextLabel < mostLabels) {
                copies.push_back(labels[k]);
                labelOf[{ labels[k], variant }] = uint16_t(nextLabel);
                labels[k] = uint16_t(nextLabel++);
            }
        }
        for (std::size_t k = 0; k < runs.count(); ++k)
            runs.label[k] = labels[components.ofRun[k]];
        for (std::size_t k = 0; k < labels.size(); ++k)
            components.list[k].label = labels[k];
    }

    Runs &runs;
    Components components; // where pixels share an edge
    std::vector<Neighbours> neighbours;
    std::vector<uint32_t> pixelsOfLabel;
    int nextLabel;
    std::vector<Meeting> meetings; // in the order of their places
    std::vector<int> leader;       // of the areas that are joined over corners
};

} // namespace

CornerSeparation separateCorners(Runs *runs, int labelCount, int mostLabels)
{
    Separation separation(runs, labelCount);
    const bool found = separation.run(mostLabels);
    return { found, std::move(separation.copies), separation.takeGraph() };
}

} // namespace ztrace
