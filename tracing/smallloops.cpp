// (c) the ztrace developers. Licence: see LICENSE.
#include "smallloops.h"

#include "chainfit.h"
#include "workers.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ztrace {

namespace {

const std::size_t kTellBlur = 24;   // loops of many that tell whether pixels show areas
const std::size_t kLoopsAtOnce = 4; // that a thread takes; some tenths of a millisecond
// Surroundings of equal loops that are remembered, some kilobytes each: a letter on a ground has
// few.
const std::size_t kMostKnown = 16;

class SmallLoops
{
public:
    SmallLoops(const BoundaryMap &m, const std::vector<Pose> &o, const SoftEdges &e,
               const EqualChains &q, const std::vector<fit::Path> &p,
               const std::vector<char> &small)
        : map(m), poses(o), edges(e), equal(q), paths(p), loopOf(m.areas.list.size(), kNoReference)
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
            sharp += tellsAreas(paths[chain], coverageAround(chain));
        }
        return 2 * sharp > count;
    }

    bool areMany() const { return chains.size() > kTellBlur; }

    std::vector<fit::Path> fitted(bool sharp, unsigned threads) const
    {
        std::vector<fit::Path> better = paths;
        std::vector<uint32_t> firsts;
        std::copy_if(chains.begin(), chains.end(), std::back_inserter(firsts),
                     [this](uint32_t chain) { return equal.isFirst[chain]; });
        const std::size_t parts = (firsts.size() + kLoopsAtOnce - 1) / kLoopsAtOnce;
        forEachOnThreads(parts, threads, [&](std::size_t part) {
            const std::size_t from = part * kLoopsAtOnce;
            for (std::size_t k = from; k < std::min(firsts.size(), from + kLoopsAtOnce); ++k)
                fitEqual(firsts[k], sharp, &better);
        });
        return better;
    }

private:
    // What a loop of known points becomes where it covers these pixels; in its frame.
    struct Fitted
    {
        fit::Coverage coverage;
        fit::Path path;
    };

    // Equal loops have equal paths; where they have equal pixels as well, so do the results.
    void fitEqual(uint32_t first, bool sharp, std::vector<fit::Path> *better) const
    {
        std::vector<Fitted> known;
        for (uint32_t chain = first; chain != kNoReference; chain = equal.next[chain]) {
            const Pose &pose = poses[chain];
            fit::Coverage coverage = intoPose(pose, coverageAround(chain));
            const auto same = std::find_if(known.begin(), known.end(), [&](const Fitted &f) {
                return areEqual(f.coverage, coverage);
            });
            if (same != known.end()) {
                (*better)[chain] = outOfPose(pose, same->path);
                continue;
            }
            fit::Path path = fitToAreas(intoPose(pose, paths[chain]), coverage, sharp);
            (*better)[chain] = outOfPose(pose, path);
            if (known.size() < kMostKnown && equal.next[chain] != kNoReference)
                known.push_back({ std::move(coverage), std::move(path) });
        }
    }

    static bool areEqual(const fit::Coverage &a, const fit::Coverage &b)
    {
        return a.left == b.left && a.top == b.top && a.width == b.width && a.height == b.height
            && a.sigma == b.sigma && a.right == b.right && a.counts == b.counts;
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
    const EqualChains &equal;
    const std::vector<fit::Path> &paths;
    std::vector<uint32_t> loopOf; // per area: the chain that is all of its outline, if one is
    std::vector<uint32_t> chains; // the small ones
};

} // namespace

std::vector<fit::Path> fitSmallLoops(const BoundaryMap &map, const std::vector<Pose> &poses,
                                     const SoftEdges &edges, const EqualChains &equal,
                                     std::vector<fit::Path> paths, const std::vector<char> &small,
                                     unsigned threads)
{
    const SmallLoops loops(map, poses, edges, equal, paths, small);
    const bool sharp = loops.isSharp();
    return sharp || !loops.areMany() ? loops.fitted(sharp, threads) : std::move(paths);
}

} // namespace ztrace
