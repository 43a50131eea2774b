// (c) the ztrace developers. Licence: see LICENSE.
#include "underlap.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

// What a colour between those of an edge's two sides counts, as it seems to move the edge: a part
// of its difference. 0 and 0.5 change the mean colour error of 67 logos by less than 0.5 %.
const double kShift = 0.3;

double unlikeness(const Tint &a, const Tint &b)
{
    double sum = 0;
    for (int k = 0; k < 3; ++k)
        sum += double(a.axes[k] - b.axes[k]) * double(a.axes[k] - b.axes[k]);
    return std::sqrt(sum);
}

// How much a colour shows between two others: how unlike it is to any mixture of theirs, and some
// of how unlike to the first, whose place it takes. None is clear.
double showing(const Tint &shown, const Tint &a, const Tint &b)
{
    double along = 0;
    for (int k = 0; k < 3; ++k)
        along += double(shown.axes[k] - a.axes[k]) * double(b.axes[k] - a.axes[k]);
    const double length = unlikeness(a, b);
    const double t = length > 0 ? std::clamp(along / (length * length), 0.0, 1.0) : 0.0;
    Tint nearest = a;
    for (int k = 0; k < 3; ++k)
        nearest.axes[k] += float(t) * (b.axes[k] - a.axes[k]);
    return (1 - kShift) * unlikeness(shown, nearest) + kShift * unlikeness(shown, a);
}

class Reacher
{
public:
    Reacher(const BoundaryMap &m, const std::vector<PaintedArea> &a, const Tint &ground,
            const std::vector<double> &n)
        : map(m), areas(a), numbers(n), memberOf(a.size(), -1), seenBy(a.size(), -1),
          boundaryOf(2 * m.chains.size(), -1), isCovered(a.size(), false)
    {
        for (const PaintedArea &area : areas) {
            tints.push_back(area.isOpaque ? area.tint : Tint());
            if (area.parent < 0)
                below.push_back(ground);
            else
                below.push_back(areas[at(area.parent)].isOpaque ? areas[at(area.parent)].tint
                                                                : Tint());
        }
    }

    std::vector<Reach> run()
    {
        std::vector<Reach> result(areas.size());
        std::vector<int> order;
        for (int area = 0; area < int(areas.size()); ++area) {
            if (areas[at(area)].place >= 0 && areas[at(area)].isOpaque)
                order.push_back(area);
        }
        std::sort(order.begin(), order.end(),
                  [this](int a, int b) { return areas[at(a)].place < areas[at(b)].place; });
        for (int area : order) {
            result[at(area)].onGround = isBare(area);
            if (!isBare(area))
                reach(area, &result[at(area)]);
        }
        return result;
    }

private:
    static std::size_t at(int i) { return std::size_t(i); }

    void reach(int area, Reach *result)
    {
        first = area;
        members.clear();
        add(area);
        forEachAcross(area, [&](int other) {
            if (!isMember(other) && mayTake(other) && showsLessTaken(other))
                add(other);
        });
        if (members.size() == 1)
            return;
        takeCheaper();
        findRings(result);
        result->taken.assign(members.begin() + 1, members.end());
        for (int taken : result->taken)
            below[at(taken)] = tints[at(area)];
    }

    // Whether less shows in the soft pixels along a neighbour's outer ring when it is taken in.
    // Where both sides of an edge cover half a pixel each, a quarter of what is below shows.
    // Between the two that would be what is below them now, on the other sides it will be the area
    // that takes in, unless what is beyond is painted later and may close that itself. Gaps over
    // nothing would be clear, and are always closed; what is beside nothing has had something reach
    // under it.
    bool showsLessTaken(int other) const
    {
        const Tint &own = tints[at(first)];
        const Tint &neighbour = tints[at(other)];
        const Tint &under = below[at(other)];
        if (under.isClear || below[at(first)].isClear || isBesideClear(other))
            return true;
        const double gap
            = (showing(below[at(first)], own, neighbour) + showing(under, own, neighbour)) / 2;
        double more = 0; // in cracks times unlikeness
        forEachOuter(other, [&](uint32_t reference) {
            const int across = beyond(reference);
            const double cracks = map.chains[chainOf(reference)].cracks;
            if (across == first)
                more -= cracks * gap;
            else if (across != kOutsideArea && !isMember(across) && !isLater(across))
                more += cracks
                    * (showing(own, tints[at(across)], neighbour)
                       - showing(under, tints[at(across)], neighbour));
        });
        return more <= 0;
    }

    bool isBesideClear(int area) const
    {
        bool isBeside = false;
        forEachAcross(area, [&](int other) { isBeside |= !areas[at(other)].isOpaque; });
        return isBeside;
    }

    bool isLater(int other) const
    {
        return areas[at(other)].isOpaque && areas[at(other)].place > areas[at(first)].place;
    }

    bool mayTake(int other) const { return isAbove(other) && !isBare(other); }

    // Ground that nothing has been painted over so far.
    bool isBare(int area) const { return areas[at(area)].isGround && !isCovered[at(area)]; }

    bool isAbove(int other) const
    {
        const PaintedArea &own = areas[at(first)];
        return areas[at(other)].isOpaque && areas[at(other)].place > own.place
            && areas[at(other)].parent == own.parent;
    }

    bool isMember(int area) const { return memberOf[at(area)] == first; }

    void add(int area)
    {
        memberOf[at(area)] = first;
        members.push_back(area);
    }

    // Calls use(area beyond) for every chain of the outer ring that has one.
    template<typename Use>
    void forEachAcross(int area, Use use) const
    {
        forEachOuter(area, [&](uint32_t reference) {
            const int other = beyond(reference);
            if (other != kOutsideArea)
                use(other);
        });
    }

    template<typename Use>
    void forEachOuter(int area, Use use) const
    {
        const uint32_t ring = map.firstRing[at(area)];
        for (uint32_t k = map.firstReference[ring]; k < map.firstReference[ring + 1]; ++k)
            use(map.references[k]);
    }

    int beyond(uint32_t reference) const
    {
        const Chain &chain = map.chains[chainOf(reference)];
        return isReversed(reference) ? chain.right : chain.left;
    }

    // Others that border on what is taken in with more numbers than on the rest.
    void takeCheaper()
    {
        std::vector<int> candidates;
        for (std::size_t k = 0; k < members.size(); ++k)
            addCandidates(members[k], &candidates);
        int taken = 0;
        for (std::size_t k = 0; k < candidates.size() && taken < kMostTakenIn; ++k) {
            const int other = candidates[k];
            if (isMember(other) || gainOf(other) <= 0 || !showsLessTaken(other))
                continue;
            add(other);
            ++taken;
            addCandidates(other, &candidates);
        }
    }

    void addCandidates(int area, std::vector<int> *candidates) const
    {
        forEachAcross(area, [&](int other) {
            if (!isMember(other) && mayTake(other))
                candidates->push_back(other);
        });
    }

    double gainOf(int area) const
    {
        double gain = 0;
        forEachOuter(area, [&](uint32_t reference) {
            const int other = beyond(reference);
            const double n = numbers[chainOf(reference)];
            gain += other != kOutsideArea && isMember(other) ? n : -n;
        });
        return gain;
    }

    // The outer one, and those of holes with something that has to be seen in them.
    void findRings(Reach *result)
    {
        for (int member : members) {
            forEachOuter(member, [&](uint32_t reference) {
                const int other = beyond(reference);
                if (other == kOutsideArea || !isMember(other))
                    boundaryOf[reference] = first;
            });
        }
        for (int member : members) {
            forEachOuter(member, [&](uint32_t reference) {
                if (boundaryOf[reference] == first)
                    follow(reference, result);
            });
        }
    }

    void follow(uint32_t start, Reach *result)
    {
        std::vector<uint32_t> ring;
        int64_t enclosed = 0;
        uint32_t next = start;
        do {
            boundaryOf[next] = -1;
            ring.push_back(next);
            Heading arrival = kRight;
            forEachMove(map, next, [&](int x, int, Heading heading, int length) {
                enclosed += int64_t(x) * stepY(heading) * length;
                arrival = heading;
            });
            next = after(next, arrival, start);
        } while (next != start);
        if (enclosed > 0)
            result->rings.insert(result->rings.begin(), std::move(ring));
        else if (!mayFill(ring))
            result->rings.push_back(std::move(ring));
    }

    // The sharpest turn to the right among the chains around what is taken in.
    uint32_t after(uint32_t arriving, Heading heading, uint32_t start) const
    {
        const Chain &chain = map.chains[chainOf(arriving)];
        const int number = isReversed(arriving) ? chain.startNode : chain.endNode;
        if (number == kNoNode)
            return start;
        for (int turn : { 1, 0, 3 }) {
            const uint32_t leaving = map.nodes[at(number)].leaving[turned(heading, turn)];
            if (leaving != kNoReference && (leaving == start || boundaryOf[leaving] == first))
                return leaving;
        }
        return start; // not reached: as many chains leave a node as arrive there
    }

    double numbersOf(const std::vector<uint32_t> &ring) const
    {
        double sum = 0;
        for (uint32_t reference : ring)
            sum += numbers[chainOf(reference)];
        return sum;
    }

    // Whether all that lies in a hole may be covered, and ground in it is cheaper to paint again
    // than to leave bare; that is noted then.
    bool mayFill(const std::vector<uint32_t> &hole)
    {
        std::vector<int> open;
        std::vector<int> ground;
        double again = 0;
        const auto visit = [&](int area) {
            if (area == kOutsideArea || !isAbove(area) || !areas[at(area)].isWholly)
                return false;
            if (isMember(area) || seenBy[at(area)] == first)
                return true;
            seenBy[at(area)] = first;
            open.push_back(area);
            if (isBare(area)) {
                ground.push_back(area);
                forEachOuter(area,
                             [&](uint32_t reference) { again += numbers[chainOf(reference)]; });
            }
            return true;
        };
        for (uint32_t reference : hole) {
            if (!visit(beyond(reference)))
                return false;
        }
        while (!open.empty()) {
            const int area = open.back();
            open.pop_back();
            bool isFine = true;
            forEachOuter(area, [&](uint32_t reference) {
                const int other = beyond(reference);
                isFine = isFine && ((other != kOutsideArea && isMember(other)) || visit(other));
            });
            if (!isFine)
                return false;
        }
        if (again > numbersOf(hole))
            return false;
        for (int area : ground)
            isCovered[at(area)] = true;
        return true;
    }

    const BoundaryMap &map;
    const std::vector<PaintedArea> &areas;
    const std::vector<double> &numbers;
    int first = 0;               // the area that reaches
    std::vector<int> members;    // it and what it takes in
    std::vector<int> memberOf;   // by area: of whose members it was the last time
    std::vector<int> seenBy;     // likewise, of areas in holes
    std::vector<int> boundaryOf; // by reference: around whose members
    std::vector<bool> isCovered; // by area: ground that something is painted over
    std::vector<Tint> tints;     // by area
    std::vector<Tint> below;     // by area: what is painted there when its turn comes
};

} // namespace

std::vector<Reach> reachesOf(const BoundaryMap &map, const std::vector<PaintedArea> &areas,
                             const Tint &ground, const std::vector<double> &numbers)
{
    return Reacher(map, areas, ground, numbers).run();
}

} // namespace ztrace
