// (c) the ztrace developers. Licence: see LICENSE.
#include "boundarymap.h"

#include "cracks.h"

#include <utility>

namespace ztrace {

namespace {

// Follows the links from stretch to stretch.
class ChainBuilder
{
public:
    ChainBuilder(BoundaryMap *m, const Cracks &c)
        : map(*m), cracks(c), isFollowed(c.flats.size(), false)
    { }

    void run()
    {
        for (std::size_t n = 0; n < map.nodes.size(); ++n) {
            for (unsigned heading = 0; heading < 4; ++heading) {
                if (cracks.nodes[n].leaving[heading] != kNoReference
                    && map.nodes[n].leaving[heading] == kNoReference)
                    followFrom(n, Heading(heading));
            }
        }
        for (int y = 0; y <= map.runs.height; ++y) {
            const uint32_t end = cracks.firstFlat[std::size_t(y) + 1];
            for (uint32_t flat = cracks.firstFlat[std::size_t(y)]; flat < end; ++flat) {
                if (!isFollowed[flat])
                    followLoop(flat, y);
            }
        }
    }

private:
    void followFrom(std::size_t number, Heading heading)
    {
        Node &node = map.nodes[number];
        begin(node.x, node.y, node.area[heading], node.area[turned(heading, 1)]);
        const uint32_t chain = uint32_t(map.chains.size() - 1);
        node.leaving[heading] = referenceTo(chain, false);
        const uint32_t last = follow(cracks.nodes[number].leaving[heading]);
        const uint32_t end = cracks.link[last] - kAtNode;
        map.chains[chain].startNode = int32_t(number);
        map.chains[chain].endNode = int32_t(end);
        map.nodes[end].leaving[turned(map.moves.back().heading(), 2)] = referenceTo(chain, true);
    }

    void followLoop(uint32_t flat, int y)
    {
        const FlatStretch &first = cracks.flats[flat];
        begin(first.x, y, first.above, first.below);
        follow(2 * (cracks.uprights + flat));
    }

    void begin(int x, int y, int left, int right)
    {
        map.chains.push_back(
            { kNoNode, kNoNode, left, right, x, y, uint32_t(map.moves.size()), 0, 0 });
    }

    // Goes on from the end of a stretch until a node or the first stretch; returns the last end.
    uint32_t follow(uint32_t first)
    {
        Chain &chain = map.chains.back();
        uint32_t end = first;
        for (;;) {
            const uint32_t stretch = end >> 1;
            const bool backwards = (end & 1u) != 0;
            if (stretch < cracks.uprights) {
                move(backwards ? kUp : kDown, 1, &chain);
            } else {
                const uint32_t flat = stretch - cracks.uprights;
                isFollowed[flat] = true;
                move(backwards ? kLeft : kRight, uint32_t(cracks.flats[flat].length), &chain);
            }
            const uint32_t last = end ^ 1u;
            end = cracks.link[last];
            if (end >= kAtNode || end == first)
                return last;
        }
    }

    void move(Heading heading, uint32_t length, Chain *chain)
    {
        chain->cracks += length;
        if (chain->moves > 0 && map.moves.back().heading() == heading) {
            map.moves.back().code += 4 * length;
            return;
        }
        map.moves.push_back({ 4 * length + uint32_t(heading) });
        ++chain->moves;
    }

    BoundaryMap &map;
    const Cracks &cracks;
    std::vector<bool> isFollowed; // of the flat stretches; every loop has some
};

// Rings in the order in which they are found; then area by area.
class RingBuilder
{
public:
    explicit RingBuilder(BoundaryMap *m) : map(*m), isUsed(2 * m->chains.size(), false) { }

    void run()
    {
        for (uint32_t chain = 0; chain < map.chains.size(); ++chain) {
            follow(referenceTo(chain, false));
            follow(referenceTo(chain, true));
        }
        found.push_back({ kOutsideArea, false, uint32_t(references.size()) });
        sort();
    }

private:
    struct Ring
    {
        int area;
        bool isHole;
        uint32_t firstReference;
    };

    void follow(uint32_t first)
    {
        const Chain &chain = map.chains[chainOf(first)];
        const int area = isReversed(first) ? chain.left : chain.right;
        if (area == kOutsideArea || isUsed[first])
            return;
        const uint32_t begin = uint32_t(references.size());
        int64_t enclosed = 0;
        uint32_t next = first;
        do {
            isUsed[next] = true;
            references.push_back(next);
            Heading arrival = kRight;
            forEachMove(map, next, [&](int x, int, Heading heading, int length) {
                enclosed += int64_t(x) * stepY(heading) * length;
                arrival = heading;
            });
            next = after(next, arrival);
        } while (next != first);
        found.push_back({ area, enclosed < 0, begin });
    }

    // The sharpest turn to the right keeps the same area there.
    uint32_t after(uint32_t arriving, Heading heading) const
    {
        const Chain &chain = map.chains[chainOf(arriving)];
        const int number = isReversed(arriving) ? chain.startNode : chain.endNode;
        if (number == kNoNode)
            return arriving;
        const Node &node = map.nodes[std::size_t(number)];
        for (int turn : { 1, 0, 3 }) {
            const uint32_t leaving = node.leaving[turned(heading, turn)];
            if (leaving != kNoReference)
                return leaving;
        }
        return arriving ^ 1u; // no node has one chain only
    }

    // Stable, by area; an area's outer ring comes first.
    void sort()
    {
        const std::size_t rings = found.size() - 1;
        map.firstRing.assign(map.areas.list.size() + 1, 0);
        for (std::size_t r = 0; r < rings; ++r)
            ++map.firstRing[std::size_t(found[r].area) + 1];
        for (std::size_t k = 1; k < map.firstRing.size(); ++k)
            map.firstRing[k] += map.firstRing[k - 1];
        std::vector<uint32_t> holePlace(map.firstRing.begin(), map.firstRing.end());
        std::vector<uint32_t> ringAt(rings);
        for (std::size_t r = 0; r < rings; ++r) {
            const std::size_t area = std::size_t(found[r].area);
            ringAt[found[r].isHole ? ++holePlace[area] : map.firstRing[area]] = uint32_t(r);
        }
        map.references.reserve(references.size());
        map.firstReference.reserve(rings + 1);
        for (uint32_t r : ringAt) {
            map.firstReference.push_back(uint32_t(map.references.size()));
            map.references.insert(map.references.end(),
                                  references.begin() + found[r].firstReference,
                                  references.begin() + found[r + 1].firstReference);
        }
        map.firstReference.push_back(uint32_t(map.references.size()));
    }

    BoundaryMap &map;
    std::vector<bool> isUsed; // of all references
    std::vector<uint32_t> references;
    std::vector<Ring> found;
};

} // namespace

int BoundaryMap::startX(uint32_t reference) const
{
    const Chain &chain = chains[chainOf(reference)];
    const bool fromEnd = isReversed(reference) && chain.endNode != kNoNode;
    return fromEnd ? nodes[std::size_t(chain.endNode)].x : chain.x;
}

int BoundaryMap::startY(uint32_t reference) const
{
    const Chain &chain = chains[chainOf(reference)];
    const bool fromEnd = isReversed(reference) && chain.endNode != kNoNode;
    return fromEnd ? nodes[std::size_t(chain.endNode)].y : chain.y;
}

BoundaryMap makeBoundaryMap(const Runs &runs)
{
    BoundaryMap map;
    map.runs = longestRuns(runs);
    map.areas = findComponents(map.runs, Connectivity::Split);
    const Cracks cracks = findCracks(map.runs, map.areas);
    map.nodes = cracks.nodes;
    for (Node &node : map.nodes) {
        for (uint32_t &leaving : node.leaving)
            leaving = kNoReference;
    }
    if (!map.nodes.empty())
        ChainBuilder(&map, cracks).run();
    RingBuilder(&map).run();
    return map;
}

int64_t enclosedArea(const BoundaryMap &map, uint32_t ring)
{
    int64_t enclosed = 0;
    for (uint32_t k = map.firstReference[ring]; k < map.firstReference[ring + 1]; ++k) {
        forEachMove(map, map.references[k], [&](int x, int, Heading heading, int length) {
            enclosed += int64_t(x) * stepY(heading) * length;
        });
    }
    return enclosed;
}

} // namespace ztrace
