// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/graph.h"

#include "strokes/distance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_map>

namespace ztrace::strokes {

namespace {

// What a cell of the skeleton is while the graph is made.
const uint8_t kNone = 0;
const uint8_t kLine = 1;
const uint8_t kNode = 2;
const uint8_t kWalked = 3;

class Builder
{
public:
    Builder(Plane skeleton, const Plane &dist, const std::vector<uint32_t> &all)
        : marks(std::move(skeleton)), distance(dist), cells(all), stride(dist.stride())
    { }

    Graph build()
    {
        findNodes();
        for (std::size_t n = 0; n < members.size(); ++n)
            leaveNode(int(n));
        for (uint32_t cell : cells) {
            if (marks.cells[cell] == kLine)
                walkLoop(cell);
        }
        return std::move(graph);
    }

private:
    struct Neighbours
    {
        std::array<uint32_t, 8> cell;
        int count = 0;
    };

    bool inSkeleton(uint32_t cell) const { return marks.cells[cell] != kNone; }

    // By sides, and by corners where no side leads there.
    Neighbours neighboursOf(uint32_t cell) const
    {
        const uint32_t s = uint32_t(stride);
        const std::array<uint32_t, 4> sides = { cell + 1, cell + s, cell - 1, cell - s };
        const std::array<uint32_t, 4> corners
            = { cell + s + 1, cell + s - 1, cell - s - 1, cell - s + 1 };
        Neighbours result;
        for (uint32_t side : sides) {
            if (inSkeleton(side))
                result.cell[std::size_t(result.count++)] = side;
        }
        for (std::size_t k = 0; k < 4; ++k) {
            if (inSkeleton(corners[k]) && !inSkeleton(sides[k]) && !inSkeleton(sides[(k + 1) % 4]))
                result.cell[std::size_t(result.count++)] = corners[k];
        }
        return result;
    }

    // Cells of other than two neighbours that touch are one node.
    void findNodes()
    {
        for (uint32_t cell : cells) {
            if (neighboursOf(cell).count != 2)
                marks.cells[cell] = kNode;
        }
        std::vector<uint32_t> stack;
        for (uint32_t cell : cells) {
            if (marks.cells[cell] != kNode || nodeOf.count(cell))
                continue;
            const int number = int(members.size());
            members.emplace_back();
            nodeOf[cell] = number;
            stack.push_back(cell);
            while (!stack.empty()) {
                const uint32_t next = stack.back();
                stack.pop_back();
                members.back().push_back(next);
                const Neighbours around = neighboursOf(next);
                for (int k = 0; k < around.count; ++k) {
                    const uint32_t other = around.cell[std::size_t(k)];
                    if (marks.cells[other] == kNode && nodeOf.emplace(other, number).second)
                        stack.push_back(other);
                }
            }
            graph.nodes.push_back(nodeAround(members.back()));
        }
    }

    // In the middle of the largest disc.
    Node nodeAround(const std::vector<uint32_t> &group) const
    {
        uint8_t largest = 0;
        for (uint32_t cell : group)
            largest = std::max(largest, distance.cells[cell]);
        Node node;
        node.radius = radiusOf(largest);
        int count = 0;
        for (uint32_t cell : group) {
            if (distance.cells[cell] != largest)
                continue;
            node.place = node.place + distance.middleOf(cell);
            ++count;
        }
        node.place = (1.0 / count) * node.place;
        return node;
    }

    // All branches that begin at a node and were not walked from their other end.
    void leaveNode(int number)
    {
        for (uint32_t cell : members[std::size_t(number)]) {
            const Neighbours around = neighboursOf(cell);
            for (int k = 0; k < around.count; ++k) {
                const uint32_t next = around.cell[std::size_t(k)];
                if (marks.cells[next] == kLine)
                    walk(number, cell, next);
            }
        }
    }

    void walk(int from, uint32_t before, uint32_t cell)
    {
        Branch branch;
        branch.node[0] = from;
        while (marks.cells[cell] == kLine) {
            marks.cells[cell] = kWalked;
            branch.cells.push_back(cell);
            const Neighbours around = neighboursOf(cell);
            const uint32_t next = around.cell[0] == before ? around.cell[1] : around.cell[0];
            before = cell;
            cell = next;
        }
        branch.node[1] = nodeOf.at(cell);
        const int number = int(graph.branches.size());
        graph.nodes[std::size_t(branch.node[0])].ends.push_back({ number, 0 });
        graph.nodes[std::size_t(branch.node[1])].ends.push_back({ number, 1 });
        graph.branches.push_back(std::move(branch));
    }

    void walkLoop(uint32_t start)
    {
        Branch branch;
        uint32_t before = start;
        uint32_t cell = start;
        while (marks.cells[cell] == kLine) {
            marks.cells[cell] = kWalked;
            branch.cells.push_back(cell);
            const Neighbours around = neighboursOf(cell);
            const uint32_t next = around.cell[0] == before ? around.cell[1] : around.cell[0];
            before = cell;
            cell = next;
        }
        graph.branches.push_back(std::move(branch));
    }

    Plane marks;
    const Plane &distance;
    const std::vector<uint32_t> &cells;
    int stride;
    std::unordered_map<uint32_t, int> nodeOf;
    std::vector<std::vector<uint32_t>> members;
    Graph graph;
};

void replaceEnd(Node *node, BranchEnd from, BranchEnd to)
{
    for (BranchEnd &end : node->ends) {
        if (end.branch == from.branch && end.end == from.end) {
            end = to;
            return;
        }
    }
}

// Two ends at a node: `first` goes on as `second`.
void joinAt(const Plane &plane, Graph *graph, std::size_t number)
{
    Node &node = graph->nodes[number];
    const BranchEnd a = node.ends[0];
    const BranchEnd b = node.ends[1];
    Branch &first = graph->branches[std::size_t(a.branch)];
    const uint32_t middle = plane.cellOf(int(node.place.x), int(node.place.y));
    node.ends.clear();
    if (a.branch == b.branch) {
        first.cells.push_back(middle);
        first.node[0] = first.node[1] = -1;
        return;
    }
    Branch &second = graph->branches[std::size_t(b.branch)];
    std::vector<uint32_t> cells = std::move(first.cells);
    if (a.end == 0)
        std::reverse(cells.begin(), cells.end());
    cells.push_back(middle);
    if (b.end == 0)
        cells.insert(cells.end(), second.cells.begin(), second.cells.end());
    else
        cells.insert(cells.end(), second.cells.rbegin(), second.cells.rend());
    const int from = first.node[1 - a.end];
    const int to = second.node[1 - b.end];
    replaceEnd(&graph->nodes[std::size_t(from)], { a.branch, 1 - a.end }, { a.branch, 0 });
    replaceEnd(&graph->nodes[std::size_t(to)], { b.branch, 1 - b.end }, { a.branch, 1 });
    first.cells = std::move(cells);
    first.node[0] = from;
    first.node[1] = to;
    second.alive = false;
    second.cells = std::vector<uint32_t>();
}

} // namespace

Graph graphOf(Plane skeleton, const Plane &distance, const std::vector<uint32_t> &cells)
{
    return Builder(std::move(skeleton), distance, cells).build();
}

double lengthOf(const Graph &graph, const Plane &plane, const Branch &branch)
{
    const auto step = [](Point a, Point b) { return std::hypot(a.x - b.x, a.y - b.y); };
    double length = 0.0;
    for (std::size_t i = 1; i < branch.cells.size(); ++i)
        length += step(plane.middleOf(branch.cells[i - 1]), plane.middleOf(branch.cells[i]));
    if (branch.closed() || branch.cells.empty())
        return length + (branch.closed() ? 1.0 : 0.0);
    for (int end = 0; end < 2; ++end) {
        const uint32_t cell = end == 0 ? branch.cells.front() : branch.cells.back();
        length += step(graph.nodes[std::size_t(branch.node[end])].place, plane.middleOf(cell));
    }
    return length;
}

void joinThrough(const Plane &plane, Graph *graph)
{
    for (std::size_t n = 0; n < graph->nodes.size(); ++n) {
        if (graph->nodes[n].ends.size() == 2)
            joinAt(plane, graph, n);
    }
}

void removeBranch(Graph *graph, int number)
{
    Branch &branch = graph->branches[std::size_t(number)];
    branch.alive = false;
    for (int node : branch.node) {
        if (node < 0)
            continue;
        std::vector<BranchEnd> &ends = graph->nodes[std::size_t(node)].ends;
        ends.erase(std::remove_if(ends.begin(), ends.end(),
                                  [number](const BranchEnd &end) { return end.branch == number; }),
                   ends.end());
    }
}

} // namespace ztrace::strokes
