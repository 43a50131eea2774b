// (c) the ztrace developers. Licence: see LICENSE.
#include "ReferenceRegions.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

namespace reference {

namespace {

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

// Disjoint sets of provisional region numbers; the smallest number leads its set.
class Sets
{
public:
    int add()
    {
        leader.push_back(static_cast<int>(leader.size()));
        return leader.back();
    }

    int find(int a)
    {
        while (leader[at(a)] != a) {
            leader[at(a)] = leader[at(leader[at(a)])];
            a = leader[at(a)];
        }
        return a;
    }

    int join(int a, int b)
    {
        a = find(a);
        b = find(b);
        const int low = std::min(a, b);
        leader[at(std::max(a, b))] = low;
        return low;
    }

    int size() const { return static_cast<int>(leader.size()); }

private:
    static std::size_t at(int i) { return static_cast<std::size_t>(i); }
    std::vector<int> leader;
};

void growBox(Region *region, int x, int y)
{
    region->left = std::min(region->left, x);
    region->right = std::max(region->right, x);
    region->bottom = y;
}

// Number of the pixel's four edges beyond which there is another region or the rim.
std::size_t openEdges(const Plane &plane, std::size_t i, int x, int y)
{
    const std::size_t stride = static_cast<std::size_t>(plane.width);
    const uint16_t own = plane.labels[i];
    return std::size_t(x == 0 || plane.labels[i - 1] != own)
        + std::size_t(x == plane.width - 1 || plane.labels[i + 1] != own)
        + std::size_t(y == 0 || plane.labels[i - stride] != own)
        + std::size_t(y == plane.height - 1 || plane.labels[i + stride] != own);
}

std::size_t rimEdges(const Plane &plane, int x, int y)
{
    return std::size_t(x == 0) + std::size_t(x == plane.width - 1) + std::size_t(y == 0)
        + std::size_t(y == plane.height - 1);
}

std::vector<std::size_t> countPixels(const Plane &plane)
{
    std::vector<std::size_t> pixels(std::size_t(1) << 16, 0);
    for (uint16_t label : plane.labels)
        ++pixels[label];
    return pixels;
}

// Whether the pixels on a diagonal go on across the corner, where a and b lie on the other one.
bool goesOn(const Plane &plane, std::size_t pixel, std::size_t a, std::size_t b,
            const std::vector<std::size_t> &pixelsOf)
{
    const uint16_t own = plane.labels[pixel];
    const uint16_t other = plane.labels[a];
    return other != plane.labels[b] || own == other
        || std::make_pair(pixelsOf[own], own) < std::make_pair(pixelsOf[other], other);
}

// Provisional numbers from the left and the three pixels above, joined where they meet.
std::vector<int> provisionalNumbers(const Plane &plane, Touching touching, Sets *sets)
{
    const std::size_t stride = static_cast<std::size_t>(plane.width);
    const std::vector<std::size_t> pixelsOf
        = touching == Touching::Split ? countPixels(plane) : std::vector<std::size_t>();
    std::vector<int> number(plane.pixels());
    std::size_t i = 0;
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x, ++i) {
            const uint16_t own = plane.labels[i];
            int found = -1;
            const auto meet = [&](std::size_t j) {
                if (plane.labels[j] != own || number[j] == found)
                    return;
                found = found < 0 ? number[j] : sets->join(found, number[j]);
            };
            if (x > 0)
                meet(i - 1);
            if (y > 0) {
                const std::size_t above = i - stride;
                const auto meetAcross = [&](std::size_t j, std::size_t beside) {
                    // The pixel above lies at the same corner.
                    if (touching == Touching::Corners
                        || (touching == Touching::Split && plane.labels[j] == own
                            && goesOn(plane, i, above, beside, pixelsOf)))
                        meet(j);
                };
                if (x > 0)
                    meetAcross(above - 1, i - 1);
                meet(above);
                if (x < plane.width - 1)
                    meetAcross(above + 1, i + 1);
            }
            number[i] = found < 0 ? sets->add() : found;
        }
    }
    return number;
}

// Depth-first search over regions. The rim of the image is a node of its own, the root.
class NestingSearch
{
public:
    NestingSearch(int nodeCount, const std::vector<std::pair<int, int>> &edges)
        : firstEdge(static_cast<std::size_t>(nodeCount) + 1, 0), parent(size(nodeCount), 0),
          discovered(size(nodeCount), 0), low(size(nodeCount), 0)
    {
        for (const auto &edge : edges) {
            ++firstEdge[at(edge.first) + 1];
            ++firstEdge[at(edge.second) + 1];
        }
        std::partial_sum(firstEdge.begin(), firstEdge.end(), firstEdge.begin());
        target.resize(2 * edges.size());
        std::vector<std::size_t> fill(firstEdge.begin(), firstEdge.end() - 1);
        for (const auto &edge : edges) {
            target[fill[at(edge.first)]++] = edge.second;
            target[fill[at(edge.second)]++] = edge.first;
        }
    }

    // The node that separates each node from the root: the top of the two-connected component
    // in which the node is not the top. Source: Tarjan's low points.
    std::vector<int> separators(int root)
    {
        int clock = 0;
        std::vector<Step> steps;
        std::vector<int> open; // discovered, component not known yet
        visit(root, root, &clock, &steps);
        while (!steps.empty()) {
            Step &step = steps.back();
            const int node = step.node;
            if (step.edge < firstEdge[at(node) + 1]) {
                const int next = target[step.edge++];
                if (discovered[at(next)] == 0) {
                    open.push_back(next);
                    visit(next, node, &clock, &steps);
                } else {
                    low[at(node)] = std::min(low[at(node)], discovered[at(next)]);
                }
                continue;
            }
            const int from = step.from;
            steps.pop_back();
            if (node == root)
                break;
            low[at(from)] = std::min(low[at(from)], low[at(node)]);
            if (low[at(node)] >= discovered[at(from)])
                closeComponent(node, from, &open);
        }
        return parent;
    }

private:
    struct Step
    {
        int node;
        int from;
        std::size_t edge;
    };

    static std::size_t at(int i) { return static_cast<std::size_t>(i); }
    static std::size_t size(int i) { return static_cast<std::size_t>(i); }

    void visit(int node, int from, int *clock, std::vector<Step> *steps)
    {
        discovered[at(node)] = low[at(node)] = ++*clock;
        steps->push_back({ node, from, firstEdge[at(node)] });
    }

    void closeComponent(int node, int top, std::vector<int> *open)
    {
        int member;
        do {
            member = open->back();
            open->pop_back();
            parent[at(member)] = top;
        } while (member != node);
    }

    std::vector<std::size_t> firstEdge;
    std::vector<int> target;
    std::vector<int> parent;
    std::vector<int> discovered;
    std::vector<int> low;
};

// Pairs of neighbouring regions, each once, the lower number first; `rim` stands for the
// outside.
std::vector<std::pair<int, int>> neighbours(const Plane &plane, const RegionMap &map, int rim)
{
    std::vector<std::pair<int, int>> pairs;
    const auto add = [&](int a, int b) {
        const std::pair<int, int> pair(std::min(a, b), std::max(a, b));
        if (a != b && (pairs.empty() || pairs.back() != pair))
            pairs.push_back(pair);
    };
    const auto compact = [&] {
        std::sort(pairs.begin(), pairs.end());
        pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    };
    const std::size_t stride = static_cast<std::size_t>(plane.width);
    std::size_t limit = 1u << 22;
    std::size_t i = 0;
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x, ++i) {
            const int own = map.regionOfPixel[i];
            if (x == 0 || x == plane.width - 1 || y == 0 || y == plane.height - 1)
                add(own, rim);
            if (x > 0)
                add(own, map.regionOfPixel[i - 1]);
            if (y > 0)
                add(own, map.regionOfPixel[i - stride]);
        }
        if (pairs.size() > limit) {
            compact();
            limit = std::max(limit, 2 * pairs.size());
        }
    }
    compact();
    return pairs;
}

} // namespace

RegionMap findRegions(const Plane &plane, Touching touching)
{
    Sets sets;
    RegionMap map;
    map.regionOfPixel = provisionalNumbers(plane, touching, &sets);
    // The lowest number of a set was given at the region's first pixel, so numbering the sets in
    // the order of their leaders is the order of first pixels.
    std::vector<int> final(static_cast<std::size_t>(sets.size()), -1);
    std::size_t i = 0;
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x, ++i) {
            int &number = final[static_cast<std::size_t>(sets.find(map.regionOfPixel[i]))];
            if (number < 0) {
                number = static_cast<int>(map.regions.size());
                map.regions.push_back({ plane.labels[i], i, 0, 0, 0, x, y, x, y });
            }
            map.regionOfPixel[i] = number;
            Region &region = map.regions[static_cast<std::size_t>(number)];
            ++region.area;
            region.border += openEdges(plane, i, x, y);
            region.rim += rimEdges(plane, x, y);
            growBox(&region, x, y);
        }
    }
    return map;
}

Nesting findNesting(const Plane &plane, const RegionMap &map)
{
    const int rim = static_cast<int>(map.regions.size());
    Nesting nesting;
    nesting.neighbours = neighbours(plane, map, rim);
    nesting.parent = NestingSearch(rim + 1, nesting.neighbours).separators(rim);
    nesting.parent.pop_back();
    std::replace(nesting.parent.begin(), nesting.parent.end(), rim, kOutside);
    const auto toRim = [rim](const std::pair<int, int> &pair) { return pair.second == rim; };
    nesting.neighbours.erase(
        std::remove_if(nesting.neighbours.begin(), nesting.neighbours.end(), toRim),
        nesting.neighbours.end());
    return nesting;
}

void mergeSmallRegions(Plane *plane, std::size_t leastBorder, int similar,
                       const std::function<int(uint16_t, uint16_t)> &colourDistance)
{
    const auto isSliver = [](const Region &region) { return 2 * region.area <= region.border; };
    const int kMostPasses = 4; // what is left after that is a handful of regions
    const std::size_t stride = static_cast<std::size_t>(plane->width);
    for (int pass = 0; pass < kMostPasses; ++pass) {
        const RegionMap map = findRegions(*plane);
        // Pixels of the small regions, region by region.
        std::vector<std::pair<int, std::size_t>> pixels;
        for (std::size_t i = 0; i < plane->pixels(); ++i) {
            const Region &region = map.regions[static_cast<std::size_t>(map.regionOfPixel[i])];
            if (region.border < leastBorder || (similar > 0 && isSliver(region)))
                pixels.push_back({ map.regionOfPixel[i], i });
        }
        if (pixels.empty() || map.regions.size() == 1)
            return;
        std::sort(pixels.begin(), pixels.end(), [&](const auto &a, const auto &b) {
            const std::size_t areaA = map.regions[static_cast<std::size_t>(a.first)].area;
            const std::size_t areaB = map.regions[static_cast<std::size_t>(b.first)].area;
            return areaA != areaB ? areaA < areaB : a < b;
        });
        for (std::size_t begin = 0; begin < pixels.size();) {
            const int number = pixels[begin].first;
            std::size_t end = begin;
            std::map<uint16_t, int> borders; // edges by the label beyond them
            const uint16_t own = plane->labels[pixels[begin].second];
            const auto look = [&](std::size_t j) {
                if (plane->labels[j] != own)
                    ++borders[plane->labels[j]];
            };
            for (; end < pixels.size() && pixels[end].first == number; ++end) {
                const std::size_t i = pixels[end].second;
                const int x = static_cast<int>(i % stride);
                if (x > 0)
                    look(i - 1);
                if (x < plane->width - 1)
                    look(i + 1);
                if (i >= stride)
                    look(i - stride);
                if (i + stride < plane->pixels())
                    look(i + stride);
            }
            int best = -1;
            int bestDistance = 0;
            // What a fringe ends at is not beside it.
            const std::size_t own8th = map.regions[static_cast<std::size_t>(number)].border / 8;
            const bool isFringe
                = map.regions[static_cast<std::size_t>(number)].border >= leastBorder;
            for (const auto &border : borders) {
                if (isFringe && std::size_t(border.second) < own8th)
                    continue;
                const int distance = colourDistance(own, border.first);
                if (best < 0 || distance < bestDistance
                    || (distance == bestDistance && border.second > borders.at(uint16_t(best)))) {
                    best = border.first;
                    bestDistance = distance;
                }
            }
            if (map.regions[static_cast<std::size_t>(number)].border >= leastBorder
                && bestDistance > similar)
                best = -1;
            for (std::size_t k = begin; best >= 0 && k < end; ++k)
                plane->labels[pixels[k].second] = static_cast<uint16_t>(best);
            begin = end;
        }
    }
}

std::vector<int> parentsByDefinition(const Plane &plane, const RegionMap &map)
{
    const int rim = int(map.regions.size());
    const std::vector<std::pair<int, int>> pairs = neighbours(plane, map, rim);
    // reached[r][q]: q can be left for the rim without r.
    std::vector<std::vector<bool>> reached(at(rim), std::vector<bool>(at(rim) + 1, false));
    for (int r = 0; r < rim; ++r) {
        reached[at(r)][at(rim)] = true;
        for (bool grown = true; grown;) {
            grown = false;
            for (const auto &pair : pairs) {
                if (pair.first == r || pair.second == r)
                    continue;
                const bool a = reached[at(r)][at(pair.first)];
                const bool b = reached[at(r)][at(pair.second)];
                grown = grown || a != b;
                reached[at(r)][at(pair.first)] = reached[at(r)][at(pair.second)] = a || b;
            }
        }
    }
    const auto depthOf = [&](int q) {
        int depth = 0;
        for (int r = 0; r < rim; ++r)
            depth += r != q && !reached[at(r)][at(q)];
        return depth;
    };
    std::vector<int> parent(at(rim), kOutside);
    for (int q = 0; q < rim; ++q) {
        for (int r = 0; r < rim; ++r) {
            if (r == q || reached[at(r)][at(q)])
                continue;
            if (parent[at(q)] == kOutside || depthOf(r) > depthOf(parent[at(q)]))
                parent[at(q)] = r;
        }
    }
    return parent;
}

namespace {

class Separation
{
public:
    Separation(Plane *p, int labelCount, std::vector<uint16_t> *c, std::size_t most)
        : plane(p), nextLabel(at(labelCount)), copies(*c), kMostLabels(most),
          map(findRegions(*p, Touching::Edges)), parent(findNesting(*p, map).parent),
          leader(map.regions.size())
    {
        std::iota(leader.begin(), leader.end(), 0);
        areas.assign(nextLabel, 0);
        for (const Region &region : map.regions)
            areas[at(region.label)] += region.area;
    }

    bool run()
    {
        lookAtCorners();
        if (apart.empty())
            return false;
        giveLabels();
        return true;
    }

private:
    int find(int region)
    {
        while (leader[at(region)] != region)
            region = leader[at(region)] = leader[at(leader[at(region)])];
        return region;
    }

    // Every node between four pixels whose diagonals hold equal labels of different regions.
    void lookAtCorners()
    {
        const std::size_t stride = at(plane->width);
        for (int y = 1; y < plane->height; ++y) {
            for (int x = 1; x < plane->width; ++x) {
                const std::size_t i = at(y) * stride + at(x);
                const bool falling = meets(i - stride - 1, i, i - 1);
                const bool rising = meets(i - stride, i - 1, i);
                if (!falling && !rising)
                    continue;
                // Where two colours cross, one at most may go on over the corner: the rarer.
                const bool crossing = plane->labels[i - stride] == plane->labels[i - 1]
                    && plane->labels[i - stride - 1] == plane->labels[i];
                const bool fallingIsRarer = areas[plane->labels[i]] <= areas[plane->labels[i - 1]];
                if (falling)
                    note(i - stride - 1, i, !crossing || fallingIsRarer);
                if (rising)
                    note(i - stride, i - 1, !crossing || !fallingIsRarer);
            }
        }
    }

    // Whether the pixels a and b, on a diagonal, are of one label but different regions, and the
    // pixel beside them is of another label.
    bool meets(std::size_t a, std::size_t b, std::size_t beside) const
    {
        return plane->labels[a] == plane->labels[b] && plane->labels[beside] != plane->labels[b]
            && map.regionOfPixel[a] != map.regionOfPixel[b];
    }

    void note(std::size_t a, std::size_t b, bool mayJoin)
    {
        const int first = map.regionOfPixel[a];
        const int second = map.regionOfPixel[b];
        if (mayJoin && parent[at(first)] == parent[at(second)]) {
            const int low = std::min(find(first), find(second));
            leader[at(std::max(find(first), find(second)))] = low;
        } else {
            apart.push_back({ first, second });
        }
    }

    // Variants of a colour, chosen one after the other so that areas that must stay apart differ.
    void giveLabels()
    {
        std::map<int, std::set<int>> others;
        for (const auto &pair : apart) {
            const int first = find(pair.first);
            const int second = find(pair.second);
            if (first == second)
                continue; // joined elsewhere: nothing to be done
            others[first].insert(second);
            others[second].insert(first);
        }
        std::map<int, int> variantOf;
        for (const auto &entry : others) {
            std::set<int> taken;
            for (int other : entry.second) {
                const auto known = variantOf.find(other);
                if (known != variantOf.end())
                    taken.insert(known->second);
            }
            int variant = 0;
            while (taken.count(variant))
                ++variant;
            variantOf[entry.first] = variant;
        }
        std::map<std::pair<int, int>, int> labelOf;
        std::vector<int> labels(map.regions.size());
        for (std::size_t r = 0; r < labels.size(); ++r) {
            labels[r] = map.regions[r].label;
            const auto variant = variantOf.find(find(static_cast<int>(r)));
            if (variant == variantOf.end() || variant->second == 0)
                continue;
            const std::pair<int, int> key(labels[r], variant->second);
            if (!labelOf.count(key)) {
                if (nextLabel == kMostLabels)
                    continue;
                labelOf[key] = static_cast<int>(nextLabel++);
                copies.push_back(static_cast<uint16_t>(labels[r]));
            }
            labels[r] = labelOf[key];
        }
        for (std::size_t i = 0; i < plane->pixels(); ++i)
            plane->labels[i] = static_cast<uint16_t>(labels[at(map.regionOfPixel[i])]);
    }

    Plane *plane;
    std::size_t nextLabel;
    std::vector<uint16_t> &copies;
    const std::size_t kMostLabels;
    RegionMap map;
    std::vector<int> parent;
    std::vector<int> leader; // of the regions that are joined over corners
    std::vector<std::size_t> areas;
    std::vector<std::pair<int, int>> apart;
};

} // namespace

bool separateCrossings(Plane *plane, int labelCount, std::vector<uint16_t> *copies,
                       std::size_t mostLabels)
{
    return Separation(plane, labelCount, copies, mostLabels).run();
}

} // namespace reference
