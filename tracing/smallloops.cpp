// (c) the ztrace developers. Licence: see LICENSE.
#include "smallloops.h"

#include "chainfit.h"
#include "workers.h"

#include <algorithm>
#include <utility>

namespace ztrace {

namespace {

const std::size_t kTellBlur = 24;   // loops of many that tell whether pixels show areas
const std::size_t kLoopsAtOnce = 4; // that a thread takes; some tenths of a millisecond

class SmallLoops
{
public:
    SmallLoops(const BoundaryMap &m, const std::vector<Pose> &o, const SoftEdges &e,
               const std::vector<fit::Path> &p, const std::vector<char> &small)
        : map(m), poses(o), edges(e), paths(p), loopOf(m.areas.list.size(), kNoReference)
    {
        for (uint32_t area = 0; area < loopOf.size(); ++area) {
            const uint32_t ring = map.firstRing[area];
            const uint32_t first = map.firstReference[ring];
            if (map.firstReference[ring + 1] == first + 1)
                loopOf[area] = chainOf(map.references[first]);
        }
        for (uint32_t chain = 0; chain < small.size(); ++chain) {
            if (small[chain])
                chains.push_back(chain);
        }
    }

    // Whether edges are sharp, by most of the loops, of many by some; which ones, their shapes do.
    // Blur is the picture's: of its smallest letters many are off by as much at first as blurred
    // ones are.
    bool isSharp() const
    {
        std::vector<std::pair<uint64_t, uint32_t>> order;
        for (uint32_t chain : chains)
            order.push_back({ hashOfWalk(map, poses[chain], chain), chain });
        std::sort(order.begin(), order.end());
        const std::size_t count = std::min(kTellBlur, order.size());
        std::size_t sharp = 0;
        for (std::size_t k = 0; k < count; ++k) {
            const uint32_t chain = order[k * order.size() / count].second;
            sharp += fit::showsAreas(paths[chain], coverageAround(chain));
        }
        return 2 * sharp > count;
    }

    bool areMany() const { return chains.size() > kTellBlur; }

    std::vector<fit::Path> fitted(bool sharp, unsigned threads) const
    {
        std::vector<fit::Path> better = paths;
        const std::size_t parts = (chains.size() + kLoopsAtOnce - 1) / kLoopsAtOnce;
        forEachOnThreads(parts, threads, [&](std::size_t part) {
            const std::size_t from = part * kLoopsAtOnce;
            for (std::size_t k = from; k < std::min(chains.size(), from + kLoopsAtOnce); ++k)
                better[chains[k]] = fitInPose(chains[k], sharp);
        });
        return better;
    }

private:
    fit::Path fitInPose(uint32_t chain, bool sharp) const
    {
        const Pose &pose = poses[chain];
        return outOfPose(
            pose,
            fitToAreas(intoPose(pose, paths[chain]), intoPose(pose, coverageAround(chain)), sharp));
    }

    fit::Coverage coverageAround(uint32_t chain) const
    {
        return edges.coverageAround(chain, [&](uint32_t area, const fit::Coverage &window) {
            return coverOfArea(area, map.chains[chain], window);
        });
    }

    // What an area covers of the pixels near a chain: what is in its own loop, or what is outside
    // of that of one of the chain's areas.
    std::vector<double> coverOfArea(uint32_t area, const Chain &chain,
                                    const fit::Coverage &window) const
    {
        if (loopOf[area] != kNoReference && !isOnRim(map.chains[loopOf[area]]))
            return fit::coverOf(paths[loopOf[area]], window);
        for (int32_t side : { chain.left, chain.right }) {
            const uint32_t loop = loopOf[std::size_t(side)];
            if (loop == kNoReference || map.chains[loop].startNode != kNoNode)
                continue;
            if (map.chains[loop].left != int32_t(area) && map.chains[loop].right != int32_t(area))
                continue;
            std::vector<double> cover = fit::coverOf(paths[loop], window);
            for (double &part : cover)
                part = 1 - part;
            return cover;
        }
        return {};
    }

    const BoundaryMap &map;
    const std::vector<Pose> &poses;
    const SoftEdges &edges;
    const std::vector<fit::Path> &paths;
    std::vector<uint32_t> loopOf; // per area: the chain that is all of its outline, if one is
    std::vector<uint32_t> chains; // the small ones
};

} // namespace

std::vector<fit::Path> fitSmallLoops(const BoundaryMap &map, const std::vector<Pose> &poses,
                                     const SoftEdges &edges, std::vector<fit::Path> paths,
                                     const std::vector<char> &small, unsigned threads)
{
    const SmallLoops loops(map, poses, edges, paths, small);
    const bool sharp = loops.isSharp();
    return sharp || !loops.areMany() ? loops.fitted(sharp, threads) : std::move(paths);
}

} // namespace ztrace
