// (c) the ztrace developers. Licence: see LICENSE.
#include "smoothwalks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace ztrace {

namespace {

// Each by whether the node has a tooth.
const double kLeavesOut[] = { kNodeLeavesOut, kToothLeavesOut };
// Pixels to either side of a node that tell whether a boundary goes on; fewer where those bend.
const double kLooksAt[2][3] = { { 8, 6, 4.5 }, { 12, 8, 5.5 } };
// Pixels from the lattice point to the curve, and from there to points that are left out: what
// stands out farther, such as a dash of a pixel or two, is the end of something.
const double kFarthestCurve[] = { 1.3, kToothReach };
const double kFarthestBlurred[] = { 1.0, kToothReach };
const int kLeastPoints = 3;         // on either side
const double kThrough = 0.06;       // pixels rms that they may be off one parabola,
const double kThroughBySigma = 1.2; // or standard deviations, where that is more
const double kCornerOfNode = 0.2;   // radians; a turn of more that explains the points better
// Between the means of the points before and after a node: no curve that sharp goes on.
const double kCosineOfCorner = 0.5;
const double kSharpest = 0.3; // pixels^-1: circles of 3.3 pixels

// Whether boundaries are one smooth curve before and after a node.
class Beside
{
public:
    Beside(const BoundaryMap &m, const std::vector<ChainPoints> &p) : map(m), points(p) { }

    // How far points along a ring before and after a node are off one smooth curve, in pixels rms;
    // nothing where they are on none. The ring goes on by the references from `at` on.
    std::optional<double> offSmooth(const uint32_t *ring, std::size_t count, std::size_t at,
                                    int teeth) const
    {
        for (double reach : kLooksAt[teeth]) {
            bool isCorner = false;
            const std::optional<double> off = offSmooth(ring, count, at, teeth, reach, &isCorner);
            if (off || isCorner)
                return off;
        }
        return std::nullopt;
    }

private:
    std::optional<double> offSmooth(const uint32_t *ring, std::size_t count, std::size_t at,
                                    int teeth, double reach, bool *isCorner) const
    {
        const Node &node = map.nodes[std::size_t(endOf(map, ring[at]))];
        const fit::Point origin = { double(node.x), double(node.y) };
        std::vector<fit::Point> before, after, blurred;
        double sigma = 0;
        for (std::size_t k = 0; k < count; ++k) {
            if (!take(ring[(at + count - k) % count] ^ 1u, origin, teeth, reach, &before, &blurred,
                      &sigma))
                break;
        }
        for (std::size_t k = 1; k <= count; ++k) {
            if (!take(ring[(at + k) % count], origin, teeth, reach, &after, &blurred, &sigma))
                break;
        }
        if (int(before.size()) < kLeastPoints || int(after.size()) < kLeastPoints)
            return std::nullopt;
        const fit::Point in = -1.0 * middleOf(before);
        const fit::Point out = middleOf(after);
        *isCorner = dot(in, out) < kCosineOfCorner * std::sqrt(dot(in, in) * dot(out, out));
        if (*isCorner)
            return std::nullopt;
        return offParabola(before, after, blurred, sigma / double(before.size() + after.size()),
                           teeth);
    }

    // Adds points of a chain in the direction of the reference that are near enough; false where
    // none farther on are.
    bool take(uint32_t reference, fit::Point origin, int teeth, double reach,
              std::vector<fit::Point> *found, std::vector<fit::Point> *blurred, double *sigma) const
    {
        const Chain &chain = map.chains[chainOf(reference)];
        if (isOnRim(chain))
            return false;
        const ChainPoints &p = points[chainOf(reference)];
        const std::size_t size = p.x.size();
        for (std::size_t k = 0; k < size; ++k) {
            const std::size_t i = isReversed(reference) ? size - 1 - k : k;
            const fit::Point q = { p.x[i], p.y[i] };
            if (distance(q, origin) > reach)
                return false;
            if (distance(q, latticeOf(map, chain.startNode)) < kLeavesOut[teeth]
                || distance(q, latticeOf(map, chain.endNode)) < kLeavesOut[teeth]) {
                blurred->push_back(q - origin);
                continue;
            }
            if (!p.isSoft())
                return false;
            found->push_back(q - origin);
            *sigma += p.sigma[i];
        }
        return true;
    }

    static std::optional<double> offParabola(const std::vector<fit::Point> &before,
                                             const std::vector<fit::Point> &after,
                                             const std::vector<fit::Point> &blurred, double sigma,
                                             int teeth)
    {
        fit::Point along = middleOf(after) - middleOf(before);
        const double length = std::hypot(along.x, along.y);
        if (length < 2 * kNodeLeavesOut)
            return std::nullopt;
        along = (1 / length) * along;
        std::vector<fit::Point> all;
        for (fit::Point p : before) {
            all.push_back({ dot(along, p), cross(along, p) });
            if (all.back().x > 0)
                return std::nullopt;
        }
        for (fit::Point p : after) {
            all.push_back({ dot(along, p), cross(along, p) });
            if (all.back().x < 0)
                return std::nullopt;
        }
        const std::array<double, 4> bent = fitted(all, [](double u) { return u * u; });
        const std::array<double, 4> turned = fitted(all, [](double u) { return std::fabs(u); });
        if (bent[3] > std::max(kThrough, kThroughBySigma * sigma)
            || std::fabs(bent[0]) > kFarthestCurve[teeth] || (teeth == 1 && bent[0] < 0)
            || std::fabs(bent[2]) > 0.5 * kSharpest
            || (std::fabs(turned[2]) > 0.5 * kCornerOfNode && turned[3] < bent[3]))
            return std::nullopt;
        // A short chain that stands out from the curve is the end of something.
        for (fit::Point p : blurred) {
            const double u = dot(along, p);
            if (std::fabs(cross(along, p) - (bent[0] + bent[1] * u + bent[2] * u * u))
                > kFarthestBlurred[teeth])
                return std::nullopt;
        }
        return bent[3];
    }

    static fit::Point middleOf(const std::vector<fit::Point> &list)
    {
        fit::Point sum = { 0, 0 };
        for (fit::Point p : list)
            sum = sum + p;
        return (1.0 / double(list.size())) * sum;
    }

    // a, b, c and the rms of v - (a + b u + c f(u)).
    template<typename Form>
    static std::array<double, 4> fitted(const std::vector<fit::Point> &list, const Form &f)
    {
        double m[3][4] = {};
        for (fit::Point p : list) {
            const double row[4] = { 1, p.x, f(p.x), p.y };
            for (int i = 0; i < 3; ++i) {
                for (int j = 0; j < 4; ++j)
                    m[i][j] += row[i] * row[j];
            }
        }
        for (int i = 0; i < 3; ++i) {
            m[i][i] += 1e-9;
            for (int r = 0; r < 3; ++r) {
                const double factor = r == i ? 0 : m[r][i] / m[i][i];
                for (int j = 0; j < 4; ++j)
                    m[r][j] -= factor * m[i][j];
            }
        }
        const double a = m[0][3] / m[0][0], b = m[1][3] / m[1][1], c = m[2][3] / m[2][2];
        double sum = 0;
        for (fit::Point p : list) {
            const double off = p.y - (a + b * p.x + c * f(p.x));
            sum += off * off;
        }
        return { a, b, c, std::sqrt(sum / double(list.size())) };
    }

    const BoundaryMap &map;
    const std::vector<ChainPoints> &points;
};

} // namespace

double distance(fit::Point a, fit::Point b)
{
    return std::sqrt(dot(a - b, a - b)); // a third of hypot's time; nothing here overflows
}

int32_t startOf(const BoundaryMap &map, uint32_t reference)
{
    const Chain &chain = map.chains[chainOf(reference)];
    return isReversed(reference) ? chain.endNode : chain.startNode;
}

int32_t endOf(const BoundaryMap &map, uint32_t reference)
{
    return startOf(map, reference ^ 1u);
}

fit::Point latticeOf(const BoundaryMap &map, int32_t node)
{
    return { double(map.nodes[std::size_t(node)].x), double(map.nodes[std::size_t(node)].y) };
}

SmoothWalks::SmoothWalks(const BoundaryMap &m, const std::vector<ChainPoints> &p,
                         const std::vector<Pose> &po)
    : map(m), points(p), poses(po), goesOn(2 * m.chains.size(), kNoReference),
      hasTeeth(m.nodes.size(), 1)
{ }

std::vector<Walk> SmoothWalks::found()
{
    findPairs();
    std::vector<Walk> walks;
    std::vector<char> taken(map.chains.size(), 0);
    for (uint32_t chain = 0; chain < map.chains.size(); ++chain) {
        const uint32_t forward = referenceTo(chain, false);
        if (taken[chain]
            || (goesOn[forward] == kNoReference && goesOn[forward ^ 1u] == kNoReference))
            continue;
        walks.push_back(walkAlong(forward));
        for (uint32_t reference : walks.back().references)
            taken[chainOf(reference)] = 1;
        settle(&walks.back());
    }
    return walks;
}

void SmoothWalks::settle(Walk *walk) const
{
    std::vector<uint32_t> &list = walk->references;
    const auto isLess = [this](uint32_t a, uint32_t b) {
        const uint32_t ca = map.chains[chainOf(a)].cracks;
        const uint32_t cb = map.chains[chainOf(b)].cracks;
        return ca != cb ? ca < cb
                        : hashOfWalk(map, poses[chainOf(a)], chainOf(a))
                < hashOfWalk(map, poses[chainOf(b)], chainOf(b));
    };
    auto leader = std::max_element(list.begin(), list.end(), isLess) - list.begin();
    walk->pose = poses[chainOf(list[std::size_t(leader)])];
    if (isReversed(list[std::size_t(leader)])) {
        std::reverse(list.begin(), list.end());
        for (uint32_t &reference : list)
            reference ^= 1u;
        leader = std::ptrdiff_t(list.size()) - 1 - leader;
    }
    if (walk->closed)
        std::rotate(list.begin(), list.begin() + leader, list.end());
}

// `goesOn` of a reference that leaves a node is the one that leaves it the other way. Of the
// three pairs at a node the smoothest one.
void SmoothWalks::findPairs()
{
    const Beside beside(map, points);
    std::vector<double> least(map.nodes.size(), HUGE_VAL);
    for (int teeth : { 0, 1 }) {
        for (std::size_t ring = 0; ring + 1 < map.firstReference.size(); ++ring) {
            const uint32_t *references = map.references.data() + map.firstReference[ring];
            const std::size_t count = map.firstReference[ring + 1] - map.firstReference[ring];
            for (std::size_t k = 0; k < count; ++k) {
                const int32_t node = endOf(map, references[k]);
                if (node == kNoNode || !isMeetingOfThree(map.nodes[std::size_t(node)])
                    || hasTeeth[std::size_t(node)] < teeth
                    || (teeth == 1
                        && !thirdIsLong(node, references[k] ^ 1u, references[(k + 1) % count])))
                    continue;
                const std::optional<double> off = beside.offSmooth(references, count, k, teeth);
                if (off && *off < least[std::size_t(node)]) {
                    least[std::size_t(node)] = *off;
                    hasTeeth[std::size_t(node)] = char(teeth);
                    pair(node, references[k] ^ 1u, references[(k + 1) % count]);
                }
            }
        }
    }
}

// Whether the chain that ends there shows where it comes from: a dash of a few pixels would be
// lost.
bool SmoothWalks::thirdIsLong(int32_t node, uint32_t a, uint32_t b) const
{
    for (uint32_t reference : map.nodes[std::size_t(node)].leaving) {
        if (reference == kNoReference || reference == a || reference == b)
            continue;
        const Chain &chain = map.chains[chainOf(reference)];
        const ChainPoints &p = points[chainOf(reference)];
        int far = 0;
        for (std::size_t k = 0; k < p.x.size() && far < kLeastPoints; ++k) {
            const fit::Point q = { p.x[k], p.y[k] };
            far += distance(q, latticeOf(map, chain.startNode)) > kToothLeavesOut
                && distance(q, latticeOf(map, chain.endNode)) > kToothLeavesOut;
        }
        if (far < kLeastPoints)
            return false;
    }
    return true;
}

void SmoothWalks::pair(int32_t node, uint32_t a, uint32_t b)
{
    for (uint32_t reference : map.nodes[std::size_t(node)].leaving) {
        if (reference != kNoReference)
            goesOn[reference] = kNoReference;
    }
    goesOn[a] = b;
    goesOn[b] = a;
}

bool SmoothWalks::isMeetingOfThree(const Node &node) const
{
    int count = 0;
    for (uint32_t reference : node.leaving) {
        if (reference == kNoReference)
            continue;
        if (isOnRim(map.chains[chainOf(reference)]))
            return false;
        ++count;
    }
    return count == 3;
}

Walk SmoothWalks::walkAlong(uint32_t from) const
{
    Walk walk;
    uint32_t first = from;
    while (goesOn[first] != kNoReference) {
        first = goesOn[first] ^ 1u;
        if (first == from) {
            walk.closed = true;
            break;
        }
    }
    uint32_t reference = first;
    do {
        walk.references.push_back(reference);
        reference = goesOn[reference ^ 1u];
    } while (reference != kNoReference && reference != first);
    return walk;
}

} // namespace ztrace
