// (c) the ztrace developers. Licence: see LICENSE.
#include "arcsofrings.h"

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace ztrace {

namespace {

typedef std::vector<uint32_t> Numbers;

// Points by number, the same number where they are the same.
std::vector<Numbers> numbered(const std::vector<Ring> &chains, Ring *points)
{
    for (const Ring &chain : chains)
        points->insert(points->end(), chain.begin(), chain.end());
    const auto isBefore
        = [](const Point &a, const Point &b) { return std::tie(a.x, a.y) < std::tie(b.x, b.y); };
    std::sort(points->begin(), points->end(), isBefore);
    points->erase(std::unique(points->begin(), points->end()), points->end());
    std::vector<Numbers> result;
    for (const Ring &chain : chains) {
        Numbers numbers;
        for (const Point &point : chain) {
            const auto found = std::lower_bound(points->begin(), points->end(), point, isBefore);
            const uint32_t number = uint32_t(found - points->begin());
            if (numbers.empty() || numbers.back() != number)
                numbers.push_back(number);
        }
        if (numbers.size() == 1)
            numbers.push_back(numbers.front());
        result.push_back(std::move(numbers));
    }
    return result;
}

class ArcBuilder
{
public:
    ArcBuilder(const std::vector<Numbers> &c, const Ring &p)
        : chains(c), points(p), beside(p.size(), { kNone, kNone }), isJunction(p.size(), false)
    { }

    SharedArcs run()
    {
        for (const Numbers &chain : chains)
            findJunctions(chain);
        for (const Numbers &chain : chains)
            cut(chain);
        return std::move(result);
    }

private:
    static constexpr uint32_t kNone = uint32_t(-1);

    static bool isRing(const Numbers &chain) { return chain.front() == chain.back(); }

    // Where a point has other neighbours the second time, an arc ends.
    void visit(uint32_t before, uint32_t at, uint32_t after)
    {
        const auto both = std::minmax(before, after);
        std::pair<uint32_t, uint32_t> &known = beside[at];
        if (known.first == kNone)
            known = both;
        else if (known != std::pair<uint32_t, uint32_t>(both))
            isJunction[at] = true;
    }

    void findJunctions(const Numbers &chain)
    {
        for (std::size_t k = 1; k + 1 < chain.size(); ++k)
            visit(chain[k - 1], chain[k], chain[k + 1]);
        if (isRing(chain))
            visit(chain[chain.size() - 2], chain.front(), chain[1]);
        else
            isJunction[chain.front()] = isJunction[chain.back()] = true;
    }

    void cut(const Numbers &chain)
    {
        result.references.emplace_back();
        Numbers turned = chain;
        if (isRing(chain)) {
            turned.pop_back();
            const auto begin = std::find_if(turned.begin(), turned.end(),
                                            [this](uint32_t point) { return isJunction[point]; });
            // A ring that meets nothing begins at the same point wherever it is used.
            std::rotate(turned.begin(),
                        begin != turned.end() ? begin
                                              : std::min_element(turned.begin(), turned.end()),
                        turned.end());
            turned.push_back(turned.front());
        }
        std::size_t first = 0;
        for (std::size_t k = 1; k < turned.size(); ++k) {
            if (k + 1 < turned.size() && !isJunction[turned[k]])
                continue;
            use(Numbers(turned.begin() + std::ptrdiff_t(first),
                        turned.begin() + std::ptrdiff_t(k) + 1));
            first = k;
        }
    }

    static uint64_t side(uint32_t from, uint32_t to) { return uint64_t(from) << 32 | to; }

    // An arc is known by its first side, from either end.
    void use(const Numbers &arc)
    {
        const auto known = arcOfSide.find(side(arc[0], arc[1]));
        if (known != arcOfSide.end()) {
            result.references.back().push_back(known->second);
            return;
        }
        const int number = int(result.arcs.size());
        arcOfSide.emplace(side(arc[0], arc[1]), number);
        arcOfSide.emplace(side(arc.back(), arc[arc.size() - 2]), ~number);
        Ring path;
        for (uint32_t point : arc)
            path.push_back(points[point]);
        result.arcs.push_back(std::move(path));
        result.references.back().push_back(number);
    }

    const std::vector<Numbers> &chains;
    const Ring &points;
    std::vector<std::pair<uint32_t, uint32_t>> beside; // of each point, the lower one first
    std::vector<bool> isJunction;
    std::unordered_map<uint64_t, int> arcOfSide;
    SharedArcs result;
};

} // namespace

SharedArcs sharedArcs(const std::vector<Ring> &chains)
{
    Ring points;
    const std::vector<Numbers> numbers = numbered(chains, &points);
    return ArcBuilder(numbers, points).run();
}

} // namespace ztrace
