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

// Pixel edges for each of which a list of sides gets room beforehand; the photographs that were
// looked at have more, and where there are fewer the list grows.
const uint32_t kEdgesOfSide = 4;

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

// The regions beside each region as they stand in the picture: those of k are list[first[k]] to
// list[first[k + 1] - 1], and a neighbour is there as often as there are edges.
struct EdgeSides
{
    std::vector<uint32_t> first;
    std::vector<uint32_t> list;
};

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

// Every region goes to the neighbour with which it loses least an edge, if that is below the price.
// forEachSide(k, use) calls use(neighbour, edges) for the sides of a region. Returns the new
// numbers of the regions.
template<typename ForEachSide>
std::vector<uint32_t> mergeAt(float price, ForEachSide forEachSide, std::vector<Region> *regions)
{
    const uint32_t count = uint32_t(regions->size());
    Merging merging(std::move(*regions));
    for (uint32_t k = 0; k < count; ++k) {
        const uint32_t own = merging.rootOf(k);
        uint32_t best = kNone;
        float least = price;
        forEachSide(k, [&](uint32_t neighbour, uint32_t edges) {
            const uint32_t other = merging.rootOf(neighbour);
            if (other == own)
                return;
            const float saved = float(edges) + kEdgesOfRegion;
            const float loss = lossOf(merging.regions[own], merging.regions[other]) / saved;
            if (loss < least) {
                least = loss;
                best = other;
            }
        });
        if (best != kNone)
            merging.merge(own, best);
    }
    return merging.number(regions);
}

// Every pixel edge is a side of its own.
std::vector<uint32_t> mergeAcrossEdges(float price, const EdgeSides &sides,
                                       std::vector<Region> *regions)
{
    return mergeAt(
        price,
        [&sides](uint32_t region, auto use) {
            uint32_t last = kNone; // is no better the second time
            for (uint32_t s = sides.first[region]; s < sides.first[region + 1]; ++s) {
                if (sides.list[s] != last)
                    use(sides.list[s], 1);
                last = sides.list[s];
            }
        },
        regions);
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

    // Calls visit(member) for the regions of a number, in their order.
    template<typename Visit>
    void forEach(uint32_t number, Visit visit) const
    {
        for (uint32_t m = first[number]; m < first[number + 1]; ++m)
            visit(members[m]);
    }

private:
    std::vector<uint32_t> first;
    std::vector<uint32_t> members;
};

// Puts the new numbers of the regions into the sides and takes out those within one of them, in
// their place: lists by the new regions would need twice the room beside these.
void renumberSides(const std::vector<uint32_t> &numbers, EdgeSides *sides)
{
    uint32_t kept = 0;
    uint32_t begin = 0;
    for (std::size_t k = 0; k < numbers.size(); ++k) {
        const uint32_t end = sides->first[k + 1];
        for (uint32_t s = begin; s < end; ++s) {
            const uint32_t other = numbers[sides->list[s]];
            sides->list[kept] = other;
            kept += other != numbers[k] ? 1u : 0u;
        }
        begin = end;
        sides->first[k + 1] = kept;
    }
}

// Counts the edges that a region has in common with each of its neighbours.
class SideCounter
{
public:
    explicit SideCounter(std::size_t regions) : edges(regions, 0), met(regions) { }

    void add(uint32_t neighbour)
    {
        met[count] = neighbour;
        count += edges[neighbour]++ == 0 ? 1u : 0u;
    }

    // Calls use(neighbour, edges) in the order in which they came, and starts anew.
    template<typename Use>
    void take(Use use)
    {
        for (std::size_t k = 0; k < count; ++k) {
            use(met[k], edges[met[k]]);
            edges[met[k]] = 0;
        }
        count = 0;
    }

private:
    std::vector<uint32_t> edges;
    std::vector<uint32_t> met; // those that are not 0
    std::size_t count = 0;
};

// The same for regions that have been merged from those of the sides, which have their numbers.
std::vector<uint32_t> mergeAcrossSides(float price, const Members &members, const EdgeSides &sides,
                                       std::vector<Region> *regions)
{
    SideCounter counter(regions->size());
    return mergeAt(
        price,
        [&](uint32_t region, auto use) {
            members.forEach(region, [&](uint32_t member) {
                for (uint32_t s = sides.first[member]; s < sides.first[member + 1]; ++s)
                    counter.add(sides.list[s]);
            });
            counter.take(use);
        },
        regions);
}

// The sides of regions that have been merged once more, to `numbers`.
void listSides(const Members &members, const EdgeSides &sides, const std::vector<uint32_t> &numbers,
               RegionGraph *graph)
{
    const std::size_t count = graph->regions.size();
    const Members merged(numbers, count);
    SideCounter counter(count);
    graph->firstSide.reserve(count + 1);
    graph->sides.reserve(sides.first.back() / kEdgesOfSide);
    for (uint32_t k = 0; k < count; ++k) {
        graph->firstSide.push_back(uint32_t(graph->sides.size()));
        merged.forEach(k, [&](uint32_t part) {
            members.forEach(part, [&](uint32_t member) {
                for (uint32_t s = sides.first[member]; s < sides.first[member + 1]; ++s) {
                    const uint32_t other = numbers[sides.list[s]];
                    if (other != k)
                        counter.add(other);
                }
            });
        });
        counter.take([graph](uint32_t other, uint32_t edges) {
            graph->sides.push_back({ other, edges });
        });
    }
    graph->firstSide.push_back(uint32_t(graph->sides.size()));
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
    EdgeSides sides = findSides(graph);
    std::vector<uint32_t> numbers
        = mergeAcrossEdges(kFirstPart * float(price), sides, &graph.regions);
    graph.regions.shrink_to_fit();
    renumberSides(numbers, &sides);
    const Members members(numbers, graph.regions.size());
    const std::vector<uint32_t> merged
        = mergeAcrossSides(float(price), members, sides, &graph.regions);
    graph.regions.shrink_to_fit();
    listSides(members, sides, merged, &graph);
    renumber(merged, &numbers);
    renumber(numbers, &graph.ofPixel);
    return graph;
}

} // namespace ztrace
