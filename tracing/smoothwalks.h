// (c) the ztrace developers. Licence: see LICENSE.
//
// Which chains are parts of one boundary that goes on smoothly where a third area begins or ends
// beside it: docs/tracing/shapes.md, "Boundaries that go on".
#ifndef ZTRACE_TRACING_SMOOTHWALKS_H
#define ZTRACE_TRACING_SMOOTHWALKS_H

#include "boundarymap.h"
#include "nodeplaces.h"
#include "softedges.h"
#include "walks.h"

#include <vector>

namespace ztrace {

// Several chains one after the other, or a closed one, each in the direction of its reference; the
// frame in which they are fitted.
struct Walk
{
    std::vector<uint32_t> references;
    bool closed = false;
    Pose pose;
};

// Where a reference begins and ends; kNoNode for loops.
int32_t startOf(const BoundaryMap &map, uint32_t reference);
int32_t endOf(const BoundaryMap &map, uint32_t reference);
// The lattice point of a node.
fit::Point latticeOf(const BoundaryMap &map, int32_t node);
double distance(fit::Point a, fit::Point b);

// All must outlive it; `points` are those of each chain, from its start to its end. Time is linear
// in the meetings of chains.
class SmoothWalks
{
public:
    SmoothWalks(const BoundaryMap &map, const std::vector<ChainPoints> &points,
                const std::vector<Pose> &poses);

    // Of two chains and more, or of one that goes on in itself; no chain is in two.
    std::vector<Walk> found();
    // Puts a walk in the direction and the frame of its longest chain, which a closed one begins
    // with, so that it is the same in a turned picture.
    void settle(Walk *walk) const;
    // Of a node that a walk goes through: whether mixtures of two colours look like the third
    // there (nodeplaces.h).
    bool hasTooth(int32_t node) const { return hasTeeth[std::size_t(node)]; }

private:
    void findPairs();
    bool isMeetingOfThree(const Node &node) const;
    bool thirdIsLong(int32_t node, uint32_t a, uint32_t b) const;
    void pair(int32_t node, uint32_t a, uint32_t b);
    Walk walkAlong(uint32_t from) const;

    const BoundaryMap &map;
    const std::vector<ChainPoints> &points;
    const std::vector<Pose> &poses;
    // Of a reference that leaves a node the one in which it goes on, leaving it the other way.
    std::vector<uint32_t> goesOn;
    std::vector<char> hasTeeth;
};

} // namespace ztrace

#endif
