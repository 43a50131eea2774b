// (c) the ztrace developers. Licence: see LICENSE.
#include "containment.h"

#include "imaging/index.h"

#include <algorithm>

namespace ztrace {

namespace {

const unsigned kSlotBits = 12; // the table of pairs stays in the fastest cache
const std::size_t kSlots = std::size_t(1) << kSlotBits;

// Collects pairs of numbers below `count`. Most repeat a pair that was seen just before, so that a
// small table of the latest ones keeps the list short; what is left is sorted out in the end.
class PairCollector
{
public:
    explicit PairCollector(std::size_t n) : count(n), latest(kSlots, Neighbours(-1, -1)) { }

    void add(uint32_t a, uint32_t b)
    {
        if (a == b)
            return;
        const Neighbours pair(int(std::min(a, b)), int(std::max(a, b)));
        Neighbours &slot = latest[slotOf(pair)];
        if (slot == pair)
            return;
        slot = pair;
        pairs.push_back(pair);
        if (pairs.size() >= limit) {
            compact();
            limit = std::max(limit, 2 * pairs.size());
        }
    }

    std::vector<Neighbours> take()
    {
        compact();
        return std::move(pairs);
    }

private:
    static std::size_t slotOf(const Neighbours &pair)
    {
        const uint32_t mixed
            = uint32_t(pair.first) * 0x9E3779B1u + uint32_t(pair.second) * 0x85EBCA77u;
        return mixed >> (32 - kSlotBits);
    }

    // Sorts by counting, the second number first: as many steps as there are pairs and numbers.
    void compact()
    {
        if (pairs.size() < count / 8) {
            std::sort(pairs.begin(), pairs.end());
        } else {
            std::vector<Neighbours> sorted(pairs.size());
            scatter(pairs, &Neighbours::second, &sorted);
            scatter(sorted, &Neighbours::first, &pairs);
        }
        pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    }

    void scatter(const std::vector<Neighbours> &from, int Neighbours::*key,
                 std::vector<Neighbours> *to) const
    {
        std::vector<uint32_t> place(count + 1, 0);
        for (const Neighbours &pair : from)
            ++place[std::size_t(pair.*key) + 1];
        for (std::size_t k = 0; k < count; ++k)
            place[k + 1] += place[k];
        for (const Neighbours &pair : from)
            (*to)[place[std::size_t(pair.*key)]++] = pair;
    }

    std::size_t count;
    std::size_t limit = std::size_t(1) << 22;
    std::vector<Neighbours> latest;
    std::vector<Neighbours> pairs;
};

// The neighbours of every node, one list after the other.
struct Graph
{
    std::vector<uint32_t> first;
    std::vector<uint32_t> target;
};

Graph graphOf(std::size_t nodes, const std::vector<Neighbours> &pairs)
{
    Graph graph;
    graph.first.assign(nodes + 1, 0);
    for (const Neighbours &pair : pairs) {
        ++graph.first[std::size_t(pair.first)];
        ++graph.first[std::size_t(pair.second)];
    }
    uint32_t sum = 0;
    for (uint32_t &first : graph.first)
        first = sum += first;
    // Filled from the back, after which `first` holds the beginnings.
    graph.target.resize(2 * pairs.size());
    for (std::size_t k = pairs.size(); k-- > 0;) {
        graph.target[--graph.first[std::size_t(pairs[k].first)]] = uint32_t(pairs[k].second);
        graph.target[--graph.first[std::size_t(pairs[k].second)]] = uint32_t(pairs[k].first);
    }
    return graph;
}

const uint32_t kRootTime = 1;

// Depth-first search from the rim of the plane, which is a node of its own: the root, beside every
// component with pixel edges on it. A component's parent is the top of the two-connected part of
// the graph in which the component is not the top. Source: Tarjan's low points.
class ParentSearch
{
public:
    ParentSearch(const Components &c, const std::vector<Neighbours> &pairs)
        : list(c.list), graph(graphOf(list.size(), pairs)), next(graph.first),
          discovered(list.size(), 0), low(list.size(), 0), parent(list.size(), kInNothing)
    { }

    std::vector<int> run()
    {
        for (std::size_t k = 0; k < list.size(); ++k) {
            if (list[k].rim > 0 && discovered[k] == 0)
                searchFrom(int(k));
        }
        return std::move(parent);
    }

private:
    void searchFrom(int start)
    {
        discover(start);
        while (!path.empty()) {
            const int node = path.back();
            if (next[at(node)] < graph.first[at(node) + 1]) {
                const int other = int(graph.target[next[at(node)]++]);
                if (discovered[at(other)] == 0)
                    discover(other);
                else
                    low[at(node)] = std::min(low[at(node)], discovered[at(other)]);
                continue;
            }
            path.pop_back();
            leave(node, path.empty() ? kInNothing : path.back());
        }
    }

    void discover(int node)
    {
        discovered[at(node)] = ++clock;
        low[at(node)] = list[at(node)].rim > 0 ? kRootTime : clock;
        path.push_back(node);
        open.push_back(node);
    }

    // Nothing below `node` reaches above `from`: the open nodes down to it have `from` as parent.
    void leave(int node, int from)
    {
        if (from != kInNothing) {
            low[at(from)] = std::min(low[at(from)], low[at(node)]);
            if (low[at(node)] < discovered[at(from)])
                return;
        }
        int member;
        do {
            member = open.back();
            open.pop_back();
            parent[at(member)] = from;
        } while (member != node);
    }

    const std::vector<Component> &list;
    const Graph graph;
    std::vector<uint32_t> next; // of each node's neighbours
    std::vector<uint32_t> discovered;
    std::vector<uint32_t> low;
    std::vector<int> parent;
    std::vector<int> path;
    std::vector<int> open; // discovered, parent not known yet
    uint32_t clock = kRootTime;
};

} // namespace

std::vector<Neighbours> findNeighbours(const Runs &runs, const Components &components)
{
    const std::vector<uint32_t> &ofRun = components.ofRun;
    PairCollector pairs(components.list.size());
    const auto contact
        = [&](uint32_t above, uint32_t below, int, int) { pairs.add(ofRun[above], ofRun[below]); };
    const auto corner = [](uint32_t, uint32_t, int) {};
    for (int y = 0; y < runs.height; ++y) {
        for (uint32_t k = runs.rowBegin(y) + 1; k < runs.rowEnd(y); ++k)
            pairs.add(ofRun[k - 1], ofRun[k]);
        if (y > 0)
            walkLine(runs, y, contact, corner);
    }
    return pairs.take();
}

std::vector<int> findParents(const Components &components,
                             const std::vector<Neighbours> &neighbours)
{
    return ParentSearch(components, neighbours).run();
}

} // namespace ztrace
