// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/endpairs.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>

namespace ztrace::strokes {

// The first of a heap is the largest.
bool EndPairs::Pair::operator<(const Pair &other) const
{
    return std::tie(other.loss, other.slot[0], other.slot[1]) < std::tie(loss, slot[0], slot[1]);
}

EndPairs::EndPairs(std::vector<AtomEnd> ends, PlaceOf place, Loss lossOf)
    : slots(std::move(ends)), versions(slots.size(), 0), placeOf(std::move(place)),
      loss(std::move(lossOf))
{
    for (const AtomEnd &end : slots)
        places.push_back(placeOf(end));
    std::vector<std::size_t> order(slots.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::sort(order.begin(), order.end(),
              [this](std::size_t a, std::size_t b) { return places[a].x < places[b].x; });
    const bool isHub = slots.size() > kHubEnds;
    for (std::size_t i = 0; i < order.size(); ++i) {
        for (std::size_t k = i + 1; k < order.size(); ++k) {
            if (isHub && places[order[k]].x - places[order[i]].x > kHubReach)
                break;
            add(std::min(order[i], order[k]), std::max(order[i], order[k]));
        }
    }
    std::make_heap(pairs.begin(), pairs.end());
}

bool EndPairs::isNear(std::size_t i, std::size_t k) const
{
    const Point apart = places[i] - places[k];
    return slots.size() <= kHubEnds || std::hypot(apart.x, apart.y) <= kHubReach;
}

bool EndPairs::add(std::size_t i, std::size_t k)
{
    if (slots[i].atom < 0 || slots[k].atom < 0 || !isNear(i, k))
        return false;
    const std::optional<double> lost = loss(slots[i], slots[k]);
    if (!lost)
        return false;
    pairs.push_back({ *lost, { i, k }, { versions[i], versions[k] } });
    return true;
}

void EndPairs::addAllOf(std::size_t i)
{
    for (std::size_t k = 0; k < slots.size(); ++k) {
        if (k != i && add(std::min(i, k), std::max(i, k)))
            std::push_heap(pairs.begin(), pairs.end());
    }
}

std::optional<std::pair<AtomEnd, AtomEnd>> EndPairs::take()
{
    while (!pairs.empty()) {
        std::pop_heap(pairs.begin(), pairs.end());
        const Pair best = pairs.back();
        pairs.pop_back();
        if (versions[best.slot[0]] == best.version[0] && versions[best.slot[1]] == best.version[1])
            return std::make_pair(slots[best.slot[0]], slots[best.slot[1]]);
    }
    return std::nullopt;
}

void EndPairs::follow(AtomEnd kept, AtomEnd gone, const std::function<bool(AtomEnd)> &isHere)
{
    std::vector<std::size_t> changed;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const AtomEnd was = slots[i];
        if (was.atom != kept.atom && was.atom != gone.atom)
            continue;
        ++versions[i];
        slots[i] = { -1, 0 };
        const bool isJoined = was.end == (was.atom == kept.atom ? kept.end : gone.end);
        const AtomEnd now = { kept.atom, was.atom == kept.atom ? 0 : 1 };
        if (isJoined || !isHere(now))
            continue;
        slots[i] = now;
        places[i] = placeOf(now);
        changed.push_back(i);
    }
    for (std::size_t i : changed)
        addAllOf(i);
}

} // namespace ztrace::strokes
