// (c) the ztrace developers. Licence: see LICENSE.
#include "underlap.h"

#include <algorithm>

namespace ztrace {

namespace {

class Reacher
{
public:
    Reacher(const BoundaryMap &m, const std::vector<PaintedArea> &a, const std::vector<double> &n)
        : map(m), areas(a), numbers(n), memberOf(a.size(), -1), seenBy(a.size(), -1),
          boundaryOf(2 * m.chains.size(), -1), isCovered(a.size(), false)
    { }

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
            if (!isMember(other) && mayTake(other))
                add(other);
        });
        if (members.size() == 1)
            return;
        takeCheaper();
        findRings(result);
        result->taken.assign(members.begin() + 1, members.end());
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
            if (isMember(other) || gainOf(other) <= 0)
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
};

} // namespace

std::vector<Reach> reachesOf(const BoundaryMap &map, const std::vector<PaintedArea> &areas,
                             const std::vector<double> &numbers)
{
    return Reacher(map, areas, numbers).run();
}

} // namespace ztrace
