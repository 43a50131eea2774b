// (c) the ztrace developers. Licence: see LICENSE.
//
// The boundary map of a label plane: every boundary between two areas once, as a chain that both
// areas refer to. docs/tracing/boundary-map.md, "Nodes and chains", "Rings".
//
// Places are lattice points, the corners of pixels: x from 0 to width to the right, y from 0 to
// height downwards. A crack is the edge between two pixels, or between a pixel and the outside.
// Left and right are as seen on the screen by somebody who walks along.
#ifndef ZTRACE_TRACING_BOUNDARYMAP_H
#define ZTRACE_TRACING_BOUNDARYMAP_H

#include "tracing/components.h"

#include <cstdint>
#include <vector>

namespace ztrace {

const int kOutsideArea = -1;
const int kNoNode = -1;
const uint32_t kNoReference = uint32_t(-1);

// In the order of right turns.
enum Heading { kRight, kDown, kLeft, kUp };

// Where three or four areas meet (the outside counts as one), and the corners of the plane, so that
// every chain on the rim is straight.
struct Node
{
    int32_t x;
    int32_t y;
    int32_t area[4];     // north-east, south-east, south-west, north-west of it
    uint32_t leaving[4]; // by heading: reference to the chain that leaves there, or kNoReference
};

// From a node to a node, maybe the same one, or a loop without nodes, which starts at its topmost,
// then leftmost corner and goes right.
struct Chain
{
    int32_t startNode; // kNoNode for a loop
    int32_t endNode;
    int32_t left; // areas; kOutsideArea beyond the rim
    int32_t right;
    int32_t x; // where it starts
    int32_t y;
    uint32_t firstMove;
    uint32_t moves; // at least 1; headings of successive ones differ by a quarter turn
    uint32_t cracks;
};

inline bool isOnRim(const Chain &chain)
{
    return chain.left < 0 || chain.right < 0;
}

// A straight stretch of a chain.
struct Move
{
    uint32_t code; // length in cracks times 4, plus heading

    Heading heading() const { return Heading(code & 3u); }
    int length() const { return int(code >> 2); }
};

// A chain in one of its two directions, as a number: 2 * chain, or 2 * chain + 1 for the way back.
inline uint32_t referenceTo(uint32_t chain, bool reversed)
{
    return 2 * chain + uint32_t(reversed);
}
inline uint32_t chainOf(uint32_t reference)
{
    return reference >> 1;
}
inline bool isReversed(uint32_t reference)
{
    return (reference & 1u) != 0;
}

// Rings of area k are firstRing[k] to firstRing[k + 1] - 1, the outer one first; ring r's chains,
// one after the other, are references[firstReference[r]] to references[firstReference[r + 1] - 1].
// The area lies on the right of each, so that outer rings go clockwise on the screen and holes the
// other way round. A ring meets a lattice point twice only where another label's area goes on
// across that corner, or its own does: there the two passes touch and do not cross.
struct BoundaryMap
{
    Runs runs;               // as long as possible
    Components areas;        // Connectivity::Split of these runs
    std::vector<Node> nodes; // from the top, then from the left
    std::vector<Chain> chains;
    std::vector<Move> moves;
    std::vector<uint32_t> firstRing;
    std::vector<uint32_t> firstReference;
    std::vector<uint32_t> references;

    int startX(uint32_t reference) const;
    int startY(uint32_t reference) const;
};

// Time is linear in the number of runs and of cracks across rows. Throws std::length_error where
// there are more than 2^30 straight stretches between two runs.
BoundaryMap makeBoundaryMap(const Runs &runs);

// What a ring encloses, in pixels; below 0 for a hole.
int64_t enclosedArea(const BoundaryMap &map, uint32_t ring);

inline int stepX(Heading heading)
{
    return int(heading == kRight) - int(heading == kLeft);
}
inline int stepY(Heading heading)
{
    return int(heading == kDown) - int(heading == kUp);
}
inline Heading turned(Heading heading, int rightTurns)
{
    return Heading((unsigned(heading) + unsigned(rightTurns)) & 3u);
}

// Calls use(x, y, heading, length) for each straight stretch in the direction of the reference; x
// and y are where it begins.
template<typename Use>
void forEachMove(const BoundaryMap &map, uint32_t reference, Use use)
{
    const Chain &chain = map.chains[chainOf(reference)];
    const Move *moves = map.moves.data() + chain.firstMove;
    int x = map.startX(reference);
    int y = map.startY(reference);
    for (uint32_t k = 0; k < chain.moves; ++k) {
        const Move move = isReversed(reference) ? moves[chain.moves - 1 - k] : moves[k];
        const Heading heading = turned(move.heading(), isReversed(reference) ? 2 : 0);
        use(x, y, heading, move.length());
        x += stepX(heading) * move.length();
        y += stepY(heading) * move.length();
    }
}

// Calls use(x, y) for each lattice point of the chain in the direction of the reference, the first
// and the last one included; a loop ends where it began.
template<typename Use>
void forEachPoint(const BoundaryMap &map, uint32_t reference, Use use)
{
    use(map.startX(reference), map.startY(reference));
    forEachMove(map, reference, [&use](int x, int y, Heading heading, int length) {
        for (int k = 1; k <= length; ++k)
            use(x + k * stepX(heading), y + k * stepY(heading));
    });
}

} // namespace ztrace

#endif
