// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/equalchains.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ztrace {

namespace {

// Fowler, Noll and Vo's hash, eight bytes at a time, whose high bits go down.
uint64_t hashOf(const std::vector<double> &values, uint64_t hash)
{
    for (double value : values) {
        uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        hash = (hash ^ bits) * 1099511628211u;
        hash ^= hash >> 29;
    }
    return hash;
}

uint64_t hashOf(const ChainPoints &points)
{
    return hashOf(points.y, hashOf(points.x, 14695981039346656037u));
}

bool areEqual(const ChainPoints &a, const ChainPoints &b)
{
    return a.edge == b.edge && a.x == b.x && a.y == b.y && a.sigma == b.sigma && a.crack == b.crack;
}

} // namespace

EqualChains equalChains(const std::vector<ChainPoints> &points, const std::vector<char> &closed)
{
    const std::size_t count = points.size();
    EqualChains chains
        = { std::vector<uint32_t>(count, kNoReference), std::vector<char>(count, 1) };
    std::vector<std::pair<uint64_t, uint32_t>> order;
    for (uint32_t k = 0; k < count; ++k) {
        if (!points[k].x.empty())
            order.push_back({ hashOf(points[k]), k });
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
        if (closed[first] != closed[own] || !areEqual(points[first], points[own]))
            continue;
        chains.isFirst[own] = 0;
        chains.next[own] = chains.next[first];
        chains.next[first] = own;
    }
    return chains;
}

} // namespace ztrace
