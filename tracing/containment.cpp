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
    explicit PairCollector(std::size_t n)
        : count(n), latest(kSlots, Neighbours(-1, -1)), waiting(kMostWaiting)
    { }

    // Whether a pair is new can hardly be foretold: it is written first and counted then.
    void add(uint32_t a, uint32_t b)
    {
        const Neighbours pair(int(std::min(a, b)), int(std::max(a, b)));
        Neighbours &slot = latest[slotOf(pair)];
        const bool isNew = (slot.first != pair.first) | (slot.second != pair.second);
        slot = pair;
        waiting[found] = pair;
        found += (isNew & (a != b)) ? 1u : 0u;
        if (found == kMostWaiting)
            append();
    }

    std::vector<Neighbours> take()
    {
        append();
        compact();
        return std::move(pairs);
    }

private:
    static const std::size_t kMostWaiting = 256;

    static std::size_t slotOf(const Neighbours &pair)
    {
        const uint32_t mixed
            = uint32_t(pair.first) * 0x9E3779B1u + uint32_t(pair.second) * 0x85EBCA77u;
        return mixed >> (32 - kSlotBits);
    }

    void append()
    {
        pairs.insert(pairs.end(), waiting.begin(), waiting.begin() + std::ptrdiff_t(found));
        found = 0;
        if (pairs.size() >= limit) {
            compact();
            limit = std::max(limit, 2 * pairs.size());
        }
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
    std::vector<Neighbours> waiting; // `found` of them
    std::size_t found = 0;
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
    ParentSearch(const std::vector<Component> &c, const std::vector<Neighbours> &pairs)
        : graph(graphOf(c.size(), pairs)), parent(c.size(), kInNothing)
    {
        nodes.reserve(parent.size());
        for (std::size_t k = 0; k < parent.size(); ++k) {
            const uint32_t low = c[k].rim > 0 ? kRootTime : kNever;
            nodes.push_back({ graph.first[k], graph.first[k + 1], 0, low });
        }
    }

    std::vector<int> run()
    {
        for (std::size_t k = 0; k < nodes.size(); ++k) {
            if (nodes[k].low == kRootTime && nodes[k].discovered == 0)
                searchFrom(int(k));
        }
        return std::move(parent);
    }

private:
    static const uint32_t kNever = uint32_t(-1);

    // What is asked of a node lies together, since the search goes all over the plane.
    struct Node
    {
        uint32_t next; // of its neighbours
        uint32_t end;
        uint32_t discovered;
        uint32_t low; // before it is discovered: kRootTime beside the rim
    };

    void searchFrom(int start)
    {
        discover(start);
        while (!path.empty()) {
            const int place = path.back();
            Node &node = nodes[at(place)];
            if (node.next < node.end) {
                const int other = int(graph.target[node.next++]);
                if (nodes[at(other)].discovered == 0)
                    discover(other);
                else
                    node.low = std::min(node.low, nodes[at(other)].discovered);
                continue;
            }
            path.pop_back();
            leave(place, path.empty() ? kInNothing : path.back());
        }
    }

    void discover(int place)
    {
        Node &node = nodes[at(place)];
        node.discovered = ++clock;
        node.low = std::min(node.low, clock);
        path.push_back(place);
        open.push_back(place);
    }

    // Nothing below a node reaches above `from`: the open nodes down to it have `from` as parent.
    void leave(int place, int from)
    {
        if (from != kInNothing) {
            Node &above = nodes[at(from)];
            above.low = std::min(above.low, nodes[at(place)].low);
            if (nodes[at(place)].low < above.discovered)
                return;
        }
        int member;
        do {
            member = open.back();
            open.pop_back();
            parent[at(member)] = from;
        } while (member != place);
    }

    const Graph graph;
    std::vector<Node> nodes;
    std::vector<int> parent;
    std::vector<int> path;
    std::vector<int> open; // discovered, parent not known yet
    uint32_t clock = kRootTime;
};

// Numbers the areas that are left in their order; returns the number of every one before.
std::vector<uint32_t> joinAreas(const std::vector<int> &leader, std::vector<Component> *areas)
{
    std::vector<uint32_t> numbers(areas->size());
    uint32_t count = 0;
    for (std::size_t k = 0; k < numbers.size(); ++k) {
        const Component area = (*areas)[k];
        if (at(leader[k]) == k) {
            numbers[k] = count;
            (*areas)[count++] = area;
            continue;
        }
        numbers[k] = numbers[at(leader[k])];
        Component &whole = (*areas)[numbers[k]];
        whole.area += area.area;
        whole.border += area.border;
        whole.rim += area.rim;
        whole.left = std::min(whole.left, area.left);
        whole.right = std::max(whole.right, area.right);
        whole.bottom = std::max(whole.bottom, area.bottom);
    }
    areas->resize(count);
    return numbers;
}

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

AreaGraph takeGraph(Connection connection, const Runs &runs)
{
    if (connection.graph)
        return std::move(*connection.graph);
    Components components = findComponents(runs, connection.connectivity);
    std::vector<Neighbours> neighbours = findNeighbours(runs, components);
    return { std::move(components.list), std::move(neighbours) };
}

AreaGraph joinedGraph(AreaGraph graph, const std::vector<int> &leader)
{
    const std::size_t before = graph.areas.size();
    const std::vector<uint32_t> numbers = joinAreas(leader, &graph.areas);
    if (graph.areas.size() == before)
        return graph;
    PairCollector pairs(graph.areas.size());
    for (const Neighbours &pair : graph.neighbours)
        pairs.add(numbers[at(pair.first)], numbers[at(pair.second)]);
    graph.neighbours = pairs.take();
    return graph;
}

std::vector<int> findParents(const std::vector<Component> &components,
                             const std::vector<Neighbours> &neighbours)
{
    return ParentSearch(components, neighbours).run();
}

} // namespace ztrace
