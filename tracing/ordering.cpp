// (c) the ztrace developers. Licence: see LICENSE.
#include "ordering.h"

#include "crossings.h"
#include "workers.h"

#include <algorithm>

namespace ztrace {

namespace {

std::vector<uint32_t> loopsToOrder(const BoundaryMap &map, const std::vector<fit::Path> &paths)
{
    std::vector<uint32_t> loops;
    for (uint32_t k = 0; k < paths.size(); ++k) {
        const Chain &chain = map.chains[k];
        if (chain.startNode == kNoNode && !isOnRim(chain) && fit::mayBeOrdered(paths[k]))
            loops.push_back(k);
    }
    return loops;
}

} // namespace

void putInOrder(const BoundaryMap &map, const SoftEdges &edges, fit::Snap snap,
                unsigned mostThreads, std::vector<fit::Path> *paths)
{
    const std::vector<uint32_t> loops = loopsToOrder(map, *paths);
    std::vector<ChainPoints> points(loops.size());
    forEachOnThreads(loops.size(), mostThreads,
                     [&](std::size_t i) { points[i] = edges.pointsOf(loops[i]); });
    std::vector<fit::Ordered> shapes;
    for (std::size_t i = 0; i < loops.size(); ++i) {
        const ChainPoints &p = points[i];
        const fit::Chain chain = { p.x.data(), p.y.data(), p.sigma.data(), int(p.x.size()),
                                   true,       p.edge,     false,          false };
        shapes.push_back({ (*paths)[loops[i]], chain, false });
    }
    fit::putInOrder(&shapes, snap);
    std::vector<char> changed(paths->size(), 0);
    for (std::size_t i = 0; i < loops.size(); ++i) {
        if (!shapes[i].changed)
            continue;
        changed[loops[i]] = 1;
        std::swap((*paths)[loops[i]], shapes[i].path); // which keeps the one before
    }
    const auto putBack = [&](uint32_t k) {
        if (!changed[k])
            return false;
        const auto at = std::lower_bound(loops.begin(), loops.end(), k);
        (*paths)[k] = shapes[std::size_t(at - loops.begin())].path;
        changed[k] = 0;
        return true;
    };
    for (bool again = !loops.empty(); again;) {
        again = false;
        for (const auto &pair : crossingsOf(*paths, map.runs.width, map.runs.height, changed)) {
            again |= putBack(pair.first);
            again |= putBack(pair.second);
        }
    }
}

} // namespace ztrace
