// (c) the ztrace developers. Licence: see LICENSE.
#include "regions.h"

#include "colour.h"
#include "forest.h"

#include <algorithm>
#include <numeric>

namespace ztrace {

namespace {

const uint32_t kNone = uint32_t(-1);

// Of the price: pixels join a region row by row whose mean is as near as this (squared).
const float kJoinShare = 1.0f;

// Then neighbours are merged for this part of the price, and then for all of it, one time over the
// regions each: the cheapest first, since what is merged looks different to what is left.
const float kFirstPart = 1.0f / 6.0f;

// Noise makes a region of nearly every pixel. With more than a third of the pixels joining starts
// again with four times the distance.
const std::size_t kPixelsOfRegion = 3;
const float kCoarser = 4.0f;
const float kFarthest = 4e6f; // more than any two colours are apart
const float kNearest = 1.0f;  // squared; an eighth of what can be seen is one colour at any price

void add(const Region &other, Region *to)
{
    const float pixels = to->pixels + other.pixels;
    const float share = other.pixels / pixels;
    to->mean.lightness += share * (other.mean.lightness - to->mean.lightness);
    to->mean.greenRed += share * (other.mean.greenRed - to->mean.greenRed);
    to->mean.blueYellow += share * (other.mean.blueYellow - to->mean.blueYellow);
    to->pixels = pixels;
}

// Regions that become one: a forest, in which the lowest number of each is the root.
class Merging
{
public:
    Merging() = default;
    explicit Merging(std::vector<Region> r) : regions(std::move(r)), up(regions.size())
    {
        std::iota(up.begin(), up.end(), 0u);
    }

    void reserve(std::size_t count)
    {
        regions.reserve(count);
        up.reserve(count);
    }

    uint32_t rootOf(uint32_t region) { return ztrace::rootOf(&up, region); }

    uint32_t addRegion(const Region &region)
    {
        regions.push_back(region);
        up.push_back(uint32_t(up.size()));
        return up.back();
    }

    // Of two roots; returns the one that is left.
    uint32_t merge(uint32_t a, uint32_t b)
    {
        const uint32_t low = std::min(a, b);
        const uint32_t high = std::max(a, b);
        add(regions[high], &regions[low]);
        up[high] = low;
        return low;
    }

    // Numbers the roots in their order. Returns the number of every region; `roots` gets the roots
    // themselves. Nothing is left here.
    std::vector<uint32_t> number(std::vector<Region> *roots)
    {
        // Nothing points to a higher number, so that all that is read has been numbered before,
        // and all that is written has been read.
        uint32_t count = 0;
        for (std::size_t k = 0; k < up.size(); ++k) {
            if (up[k] == k) {
                regions[count] = regions[k];
                up[k] = count++;
            } else {
                up[k] = up[up[k]];
            }
        }
        regions.resize(count);
        *roots = std::move(regions);
        return std::move(up);
    }

    std::vector<Region> regions; // of roots as they are now

private:
    std::vector<uint32_t> up;
};

void renumber(const std::vector<uint32_t> &numbers, std::vector<uint32_t> *all)
{
    for (uint32_t &number : *all)
        number = numbers[number];
}

// Joins the pixels of an image, row by row, to the nearer one of the regions on the left and above.
class Growing
{
public:
    Growing(const QImage &i, const SeenColours &s, float f, std::vector<uint32_t> *o)
        : image(i), seen(s), farthest(f), ofPixel(o), above(std::size_t(i.width()), kNone)
    { }

    // False when there are too many regions for the number of pixels.
    bool run(std::vector<Region> *regions)
    {
        const std::size_t pixels = std::size_t(image.width()) * std::size_t(image.height());
        const std::size_t most = pixels / kPixelsOfRegion + std::size_t(image.width()) + 1024;
        ofPixel->resize(pixels);
        merging.reserve(std::min(pixels, most + above.size())); // no memory before it is used
        uint32_t *target = ofPixel->data();
        for (int y = 0; y < image.height(); ++y, target += image.width()) {
            addRow(row(image, y), target);
            if (merging.regions.size() > most && farthest < kFarthest)
                return false;
        }
        renumber(merging.number(regions), ofPixel);
        return true;
    }

private:
    void addRow(const QRgb *words, uint32_t *target)
    {
        uint32_t left = kNone;
        const int width = int(above.size());
        Region pixel { seen.of(words[0]), 1.0f, qAlpha(words[0]) };
        for (int x = 0; x < width; ++x) {
            if (x > 0 && words[x] != words[x - 1])
                pixel = { seen.of(words[x]), 1.0f, qAlpha(words[x]) };
            uint32_t &up = above[std::size_t(x)];
            up = up == kNone ? kNone : merging.rootOf(up);
            left = addPixel(pixel, left, up);
            up = left;
            target[x] = left;
        }
    }

    uint32_t addPixel(const Region &pixel, uint32_t left, uint32_t up)
    {
        const float toLeft = distance(pixel, left);
        const float toUp = up == left ? farthest : distance(pixel, up);
        if (!(std::min(toLeft, toUp) < farthest))
            return merging.addRegion(pixel);
        const uint32_t nearer = toUp < toLeft ? up : left;
        const uint32_t other = nearer == left ? up : left;
        add(pixel, &merging.regions[nearer]);
        const bool bridge = other != kNone && other != nearer
            && lossOf(merging.regions[nearer], merging.regions[other]) < farthest;
        return bridge ? merging.merge(nearer, other) : nearer;
    }

    float distance(const Region &pixel, uint32_t region) const
    {
        if (region == kNone || merging.regions[region].alpha != pixel.alpha)
            return farthest;
        return squaredDistance(pixel.mean, merging.regions[region].mean);
    }

    const QImage &image;
    const SeenColours &seen;
    const float farthest; // squared
    std::vector<uint32_t> *ofPixel;
    std::vector<uint32_t> above; // the regions of the row above, as far as this one has come
    Merging merging;
};

// Calls use(a, b) for every pixel edge between two regions.
template<typename Use>
void forEachEdge(const RegionGraph &graph, Use use)
{
    const uint32_t *own = graph.ofPixel.data();
    for (int y = 0; y < graph.height; ++y, own += graph.width) {
        for (int x = 1; x < graph.width; ++x) {
            if (own[x] != own[x - 1])
                use(own[x - 1], own[x]);
        }
        for (int x = 0; y > 0 && x < graph.width; ++x) {
            if (own[x] != own[x - graph.width])
                use(own[x - graph.width], own[x]);
        }
    }
}

// The regions beside each region: those of k are list[first[k]] to list[first[k + 1] - 1].
template<typename Side>
struct Sides
{
    std::vector<uint32_t> first;
    std::vector<Side> list;
};

// As they stand in the picture, a neighbour is there as often as there are edges.
typedef Sides<uint32_t> EdgeSides;

RegionSide sideOf(uint32_t region)
{
    return { region, 1 };
}

RegionSide sideOf(const RegionSide &side)
{
    return side;
}

EdgeSides findSides(const RegionGraph &graph)
{
    EdgeSides sides;
    std::vector<uint32_t> &first = sides.first;
    first.assign(graph.regions.size() + 1, 0);
    forEachEdge(graph, [&first](uint32_t a, uint32_t b) {
        ++first[a];
        ++first[b];
    });
    std::partial_sum(first.begin(), first.end(), first.begin());
    sides.list.resize(first.back());
    forEachEdge(graph, [&sides](uint32_t a, uint32_t b) {
        sides.list[--sides.first[a]] = b;
        sides.list[--sides.first[b]] = a;
    });
    return sides;
}

// The regions by their new numbers: those of `numbers` n are members[first[n]] to
// members[first[n + 1] - 1].
struct Members
{
    Members(const std::vector<uint32_t> &numbers, std::size_t count)
        : first(count + 1, 0), members(numbers.size())
    {
        for (uint32_t number : numbers)
            ++first[number];
        std::partial_sum(first.begin(), first.end(), first.begin());
        for (std::size_t k = numbers.size(); k-- > 0;)
            members[--first[numbers[k]]] = uint32_t(k);
    }

    std::vector<uint32_t> first;
    std::vector<uint32_t> members;
};

// The sides of regions by their new numbers: those of one number are one, and each neighbour stands
// once.
template<typename Side>
Sides<RegionSide> contracted(const Sides<Side> &old, const std::vector<uint32_t> &numbers,
                             std::size_t count)
{
    const Members members(numbers, count);
    Sides<RegionSide> sides;
    sides.list.reserve(old.list.size() / 2);
    sides.first.assign(count + 1, 0);
    std::vector<uint32_t> behind(count, 0); // of a neighbour's place, where it is beside the region
    for (uint32_t k = 0; k < count; ++k) {
        const uint32_t begin = uint32_t(sides.list.size());
        sides.first[k] = begin;
        for (uint32_t m = members.first[k]; m < members.first[k + 1]; ++m) {
            const uint32_t member = members.members[m];
            for (uint32_t s = old.first[member]; s < old.first[member + 1]; ++s) {
                const RegionSide side = sideOf(old.list[s]);
                const uint32_t other = numbers[side.region];
                if (other == k)
                    continue;
                if (behind[other] <= begin) {
                    sides.list.push_back({ other, 0 });
                    behind[other] = uint32_t(sides.list.size());
                }
                sides.list[behind[other] - 1].edges += side.edges;
            }
        }
    }
    sides.first[count] = uint32_t(sides.list.size());
    return sides;
}

// Every region goes to the neighbour with which it loses least an edge, if that is below the price.
// Returns the new numbers of the regions.
template<typename Side>
std::vector<uint32_t> mergeAt(float price, const Sides<Side> &sides, std::vector<Region> *regions)
{
    Merging merging(std::move(*regions));
    for (uint32_t k = 0; k + 1 < sides.first.size(); ++k) {
        const uint32_t own = merging.rootOf(k);
        uint32_t best = kNone;
        float least = price;
        for (uint32_t s = sides.first[k]; s < sides.first[k + 1]; ++s) {
            const RegionSide side = sideOf(sides.list[s]);
            const uint32_t other = merging.rootOf(side.region);
            if (other == own)
                continue;
            const float saved = float(side.edges) + kEdgesOfRegion;
            const float loss = lossOf(merging.regions[own], merging.regions[other]) / saved;
            if (loss < least) {
                least = loss;
                best = other;
            }
        }
        if (best != kNone)
            merging.merge(own, best);
    }
    return merging.number(regions);
}

} // namespace

RegionGraph findRegions(const QImage &image, const SeenColours &seen, double price)
{
    RegionGraph graph;
    graph.width = image.width();
    graph.height = image.height();
    float farthest = std::max(kNearest, float(price) * kJoinShare);
    while (!Growing(image, seen, farthest, &graph.ofPixel).run(&graph.regions))
        farthest *= kCoarser;
    std::vector<uint32_t> numbers;
    Sides<RegionSide> sides;
    {
        const EdgeSides edges = findSides(graph);
        numbers = mergeAt(kFirstPart * float(price), edges, &graph.regions);
        sides = contracted(edges, numbers, graph.regions.size());
    }
    renumber(numbers, &graph.ofPixel);
    numbers = mergeAt(float(price), sides, &graph.regions);
    sides = contracted(sides, numbers, graph.regions.size());
    renumber(numbers, &graph.ofPixel);
    graph.firstSide = std::move(sides.first);
    graph.sides = std::move(sides.list);
    return graph;
}

} // namespace ztrace
