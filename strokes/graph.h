// (c) the ztrace developers. Licence: see LICENSE.
//
// A skeleton as nodes and the branches between them.
#ifndef ZTRACE_STROKES_GRAPH_H
#define ZTRACE_STROKES_GRAPH_H

#include "strokes/InkPicture.h"

namespace ztrace::strokes {

// An end of a branch: 0 the first, 1 the last.
struct BranchEnd
{
    int branch;
    int end;
};

// Where lines end, meet or cross. A node without ends is dead.
struct Node
{
    Point place = { 0, 0 };
    double radius = 0.0; // of the largest disc of ink in it
    std::vector<BranchEnd> ends;
};

// Cells in the order of a walk, those of the nodes left out, each beside the next one. A branch
// that ends nowhere is closed: it has no nodes, -1.
struct Branch
{
    std::vector<uint32_t> cells;
    int node[2] = { -1, -1 };
    bool alive = true;

    bool closed() const { return node[0] < 0; }
};

struct Graph
{
    std::vector<Node> nodes;
    std::vector<Branch> branches;
};

// Of the cells with 1 in `skeleton`; `cells` are these. Cells that touch at a side are neighbours,
// those that touch at a corner where they have no neighbour in common. Cells of other than two
// neighbours are nodes, together with those beside them.
Graph graphOf(Plane skeleton, const Plane &distance, const std::vector<uint32_t> &cells);

// Pixels along a branch, from node to node.
double lengthOf(const Graph &graph, const Plane &plane, const Branch &branch);

// Branches that meet at a node of two ends become one, the node's place a part of it.
void joinThrough(const Plane &plane, Graph *graph);

// Takes a branch out of the graph.
void removeBranch(Graph *graph, int branch);

} // namespace ztrace::strokes

#endif
