// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/spurs.h"

#include "strokes/distance.h"

#include <algorithm>

namespace ztrace::strokes {

namespace {

// Pixels that an uneven edge makes a branch stick out by: blur and noise of scans move edges by up
// to one, thinning ends a branch up to half a pixel late.
const double kSpurHeight = 1.5;
// The same in parts of the junction's radius: the corner of a square end lies 1.41 R from the last
// disc and its branch sticks out by .41 R.
const double kSpurPart = 0.6;
const int kMostRounds = 6;

struct Spur
{
    int branch;
    double out; // pixels that it sticks out by
};

class Pruner
{
public:
    Pruner(const Plane &dist, Graph *g) : distance(dist), graph(*g) { }

    bool round()
    {
        bool changed = false;
        for (std::size_t n = 0; n < graph.nodes.size(); ++n) {
            if (graph.nodes[n].ends.size() >= 3)
                changed = pruneAt(int(n)) || changed;
        }
        joinThrough(distance, &graph);
        return changed;
    }

private:
    bool endsFreely(const BranchEnd &end) const
    {
        const Branch &branch = graph.branches[std::size_t(end.branch)];
        const int other = branch.node[1 - end.end];
        return branch.node[0] != branch.node[1] && graph.nodes[std::size_t(other)].ends.size() == 1;
    }

    bool pruneAt(int number)
    {
        Node &node = graph.nodes[std::size_t(number)];
        const double limit = std::max(kSpurHeight, kSpurPart * node.radius + 0.5);
        std::vector<Spur> spurs;
        for (const BranchEnd &end : node.ends) {
            if (!endsFreely(end))
                continue;
            const Branch &branch = graph.branches[std::size_t(end.branch)];
            const Node &tip = graph.nodes[std::size_t(branch.node[1 - end.end])];
            const double length = lengthOf(graph, distance, branch);
            const double out = length + tip.radius - node.radius;
            if (out < limit)
                spurs.push_back({ end.branch, out });
        }
        std::sort(spurs.begin(), spurs.end(), [](const Spur &a, const Spur &b) {
            return a.out < b.out || (a.out == b.out && a.branch < b.branch);
        });
        if (spurs.size() == node.ends.size())
            spurs.resize(spurs.size() - 2);
        for (const Spur &spur : spurs)
            removeBranch(&graph, spur.branch);
        return !spurs.empty();
    }

    const Plane &distance;
    Graph &graph;
};

} // namespace

void dropSpurs(const Plane &distance, Graph *graph)
{
    Pruner pruner(distance, graph);
    joinThrough(distance, graph);
    for (int round = 0; round < kMostRounds && pruner.round(); ++round) { }
}

} // namespace ztrace::strokes
