// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/equalloops.h"

#include <algorithm>
#include <utility>

namespace ztrace {

namespace {

// Fowler, Noll and Vo's hash of the moves.
uint64_t hashOf(const BoundaryMap &map, const Chain &chain)
{
    uint64_t hash = 14695981039346656037u;
    for (uint32_t k = 0; k < chain.moves; ++k)
        hash = (hash ^ map.moves[chain.firstMove + k].code) * 1099511628211u;
    return hash;
}

// Loops begin at a corner that is the same one in equal loops.
bool areEqual(const BoundaryMap &map, const Chain &a, const Chain &b)
{
    if (a.moves != b.moves)
        return false;
    const Move *first = map.moves.data() + a.firstMove;
    return std::equal(first, first + a.moves, map.moves.data() + b.firstMove,
                      [](Move one, Move other) { return one.code == other.code; });
}

} // namespace

EqualLoops equalLoops(const BoundaryMap &map, const std::vector<char> &eligible)
{
    const std::size_t count = map.chains.size();
    EqualLoops loops = { std::vector<uint32_t>(count, kNoReference), std::vector<char>(count, 1) };
    std::vector<std::pair<uint64_t, uint32_t>> order;
    for (uint32_t k = 0; k < count; ++k) {
        if (eligible[k] && map.chains[k].startNode == kNoNode)
            order.push_back({ hashOf(map, map.chains[k]), k });
    }
    std::sort(order.begin(), order.end());
    for (std::size_t begin = 0, k = 0; k < order.size(); ++k) {
        // Of those that have a hash by chance, the ones that differ from the first stand alone.
        if (order[k].first != order[begin].first)
            begin = k;
        if (k == begin)
            continue;
        const uint32_t first = order[begin].second;
        const uint32_t own = order[k].second;
        if (!areEqual(map, map.chains[first], map.chains[own]))
            continue;
        loops.isFirst[own] = 0;
        loops.next[own] = loops.next[first];
        loops.next[first] = own;
    }
    return loops;
}

} // namespace ztrace
