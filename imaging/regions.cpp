// (c) the ztrace developers. Licence: see LICENSE.
#include "regions.h"

#include "colour.h"
#include "forest.h"
#include "fourcolours.h"
#include "prefetch.h"

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

// Sides before regions are merged for each of which there is room for one after that; where there
// are more the list grows. The photographs that were looked at have one for three or four.
const uint32_t kSidesOfSide = 2;

// Regions that are asked for before they are read: beyond those of the next row, 80 kilobytes. A
// photograph's take a sixth less time.
const uint32_t kRegionsAhead = 4096;

void add(const Region &other, Region *to)
{
    const float pixels = to->pixels + other.pixels;
    const float share = other.pixels / pixels;
    to->mean.lightness += share * (other.mean.lightness - to->mean.lightness);
    to->mean.greenRed += share * (other.mean.greenRed - to->mean.greenRed);
    to->mean.blueYellow += share * (other.mean.blueYellow - to->mean.blueYellow);
    to->pixels = pixels;
}

// lossOfAlike for each of so many edges that it saves.
float lossOfEdge(const Region &a, const Region &b, float edges)
{
    const float pixels = a.pixels + b.pixels;
    return a.pixels * b.pixels * squaredDistance(a.mean, b.mean) / (pixels * edges);
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

    // A region that comes soon, if there is one.
    void expect(uint32_t region) const
    {
        if (region < regions.size())
            prefetch(&regions[region]);
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
        : image(i), seen(s), farthest(f), ofPixel(o)
    { }

    // False when there are too many regions for the number of pixels.
    bool run(std::vector<Region> *regions)
    {
        const std::size_t pixels = std::size_t(image.width()) * std::size_t(image.height());
        const std::size_t most = pixels / kPixelsOfRegion + std::size_t(image.width()) + 1024;
        ofPixel->resize(pixels);
        merging.reserve(
            std::min(pixels, most + std::size_t(image.width()))); // no memory before it is used
        uint32_t *target = ofPixel->data();
        for (int y = 0; y < image.height(); ++y, target += image.width()) {
            addRow(row(image, y), y > 0 ? target - image.width() : nullptr, target);
            if (merging.regions.size() > most && farthest < kFarthest)
                return false;
        }
        renumber(merging.number(regions), ofPixel);
        return true;
    }

private:
    // `above` is the row above `target`, or null.
    void addRow(const QRgb *words, const uint32_t *above, uint32_t *target)
    {
        uint32_t left = kNone;
        const int width = image.width();
        Region pixel { seen.of(words[0]), 1.0f, qAlpha(words[0]) };
        for (int x = 0; x < width; ++x) {
            if (x > 0 && words[x] != words[x - 1])
                pixel = { seen.of(words[x]), 1.0f, qAlpha(words[x]) };
            left = addPixel(pixel, left, above ? merging.rootOf(above[x]) : kNone);
            target[x] = left;
        }
    }

    // Where both are one region it is as near on either side, and left is taken.
    uint32_t addPixel(const Region &pixel, uint32_t left, uint32_t up)
    {
        const float toLeft = distance(pixel, left);
        const float toUp = distance(pixel, up);
        if (!(std::min(toLeft, toUp) < farthest))
            return merging.addRegion(pixel);
        const uint32_t nearer = toUp < toLeft ? up : left;
        const uint32_t other = nearer == left ? up : left;
        add(pixel, &merging.regions[nearer]);
        const bool bridge = other != kNone && other != nearer
            && merging.regions[nearer].alpha == merging.regions[other].alpha
            && lossOfEdge(merging.regions[nearer], merging.regions[other], 1.0f) < farthest;
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
    Merging merging;
};

// Calls use(x) for every x below `end` at which two rows differ. Sixteen are looked at together, as
// it is hard to foretell of a photograph's pixels one by one.
template<typename Use>
void forEachDifference(const uint32_t *a, const uint32_t *b, int end, Use use)
{
    int x = 0;
#ifdef __SSE2__
    const auto equalFour = [](const uint32_t *one, const uint32_t *other) {
        return _mm_cmpeq_epi32(fourWords(one), fourWords(other));
    };
    const auto equalEight = [&](const uint32_t *one, const uint32_t *other) {
        return _mm_packs_epi32(equalFour(one, other), equalFour(one + 4, other + 4));
    };
    for (; x + 16 <= end; x += 16) {
        const __m128i equal
            = _mm_packs_epi16(equalEight(a + x, b + x), equalEight(a + x + 8, b + x + 8));
        unsigned different = unsigned(_mm_movemask_epi8(equal)) ^ 0xFFFFu;
        for (; different != 0; different &= different - 1)
            use(x + __builtin_ctz(different));
    }
#endif
    for (; x < end; ++x) {
        if (a[x] != b[x])
            use(x);
    }
}

// Calls use(a, b) for every pixel edge between two regions.
template<typename Use>
void forEachEdge(const RegionGraph &graph, Use use)
{
    const uint32_t *own = graph.ofPixel.data();
    for (int y = 0; y < graph.height; ++y, own += graph.width) {
        const uint32_t *right = own + 1;
        forEachDifference(own, right, graph.width - 1, [&](int x) { use(own[x], right[x]); });
        if (y == 0)
            continue;
        const uint32_t *above = own - graph.width;
        forEachDifference(above, own, graph.width, [&](int x) { use(above[x], own[x]); });
    }
}

// The regions beside each region as they stand in the picture: those of k are list[first[k]] to
// list[first[k + 1] - 1], and a neighbour is there as often as there are edges.
struct EdgeSides
{
    std::vector<uint32_t> first;
    std::vector<uint32_t> list;

    // Every pixel edge is a side of its own.
    template<typename Use>
    void forEachSide(uint32_t region, Use use) const
    {
        for (uint32_t s = first[region]; s < first[region + 1]; ++s)
            use(RegionSide { list[s], 1 });
    }

    void expect(uint32_t region) const { prefetch(list.data() + first[region]); }
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
// Returns the new numbers of the regions.
template<typename Sides>
std::vector<uint32_t> mergeAt(float price, const Sides &sides, std::vector<Region> *regions)
{
    const uint32_t count = uint32_t(regions->size());
    Merging merging(std::move(*regions));
    for (uint32_t k = 0; k < count; ++k) {
        merging.expect(k + kRegionsAhead);
        const uint32_t own = merging.rootOf(k);
        const Region region = merging.regions[own];
        uint32_t best = kNone;
        float least = price;
        sides.forEachSide(k, [&](const RegionSide &side) {
            const uint32_t other = merging.rootOf(side.region);
            // Whether it is the best so far is hard to foretell: no branches.
            const Region &beside = merging.regions[other];
            const bool isOther = (other != own) & (beside.alpha == region.alpha);
            const float saved = float(side.edges) + kEdgesOfRegion;
            const float loss = isOther ? lossOfEdge(region, beside, saved) : price;
            const bool isBetter
                = (loss < least) | ((loss == least) & (best != kNone) & (other < best));
            best = isBetter ? other : best;
            least = std::min(loss, least);
        });
        if (best != kNone)
            merging.merge(own, best);
    }
    return merging.number(regions);
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

    // Calls visit(member) for the regions of a number, in their order, and expect(member) for one
    // that comes soon after, so that its memory can be fetched.
    template<typename Visit, typename Expect>
    void forEach(uint32_t number, Visit visit, Expect expect) const
    {
        for (uint32_t m = first[number]; m < first[number + 1]; ++m) {
            if (m + kAhead < members.size())
                expect(members[m + kAhead]);
            visit(members[m]);
        }
    }

    std::size_t count() const { return first.size() - 1; }

    // The first of the regions of a number. Those below it are of lower numbers.
    uint32_t lowest(uint32_t number) const { return members[first[number]]; }

private:
    // Members. Counting the sides of a photograph takes 41 ms with 1, 38 with 4, 34 with 8 and 33
    // with 16.
    static const uint32_t kAhead = 8;

    std::vector<uint32_t> first;
    std::vector<uint32_t> members;
};

// Counts the edges that a region has in common with each of its neighbours.
class SideCounter
{
public:
    explicit SideCounter(std::size_t regions) : edges(regions, 0), met(regions) { }

    // What comes from the region itself is not counted.
    void begin(uint32_t region)
    {
        own = region;
        edges[own] = 1;
    }

    void add(uint32_t neighbour, uint32_t more)
    {
        met[count] = neighbour;
        count += edges[neighbour] == 0 ? 1u : 0u;
        edges[neighbour] += more;
    }

    // Calls use(side) for the neighbours in the order in which they came, and ends the region.
    template<typename Use>
    void take(Use use)
    {
        edges[own] = 0;
        for (std::size_t k = 0; k < count; ++k) {
            use(RegionSide { met[k], edges[met[k]] });
            edges[met[k]] = 0;
        }
        count = 0;
    }

private:
    std::vector<uint32_t> edges;
    std::vector<uint32_t> met; // those that are not 0
    std::size_t count = 0;
    uint32_t own = 0;
};

// The sides of regions that have become other ones, by their new numbers: calls use(side) for every
// side of region 0, then end(0), and so on.
template<typename OldSides, typename Use, typename End>
void countSides(const std::vector<uint32_t> &numbers, const Members &members, const OldSides &old,
                Use use, End end)
{
    SideCounter counter(members.count());
    for (uint32_t k = 0; k < members.count(); ++k) {
        counter.begin(k);
        members.forEach(
            k,
            [&](uint32_t member) {
                old.forEachSide(member, [&](const RegionSide &side) {
                    counter.add(numbers[side.region], side.edges);
                });
            },
            [&old](uint32_t member) { old.expect(member); });
        counter.take(use);
        end(k);
    }
}

// The neighbours of merged regions, each once, and the edges to them.
class CountedSides
{
public:
    // In the room of `old`: what was before the first of the next region's members has been read,
    // and what does not find room there waits.
    CountedSides(const std::vector<uint32_t> &numbers, const Members &members, EdgeSides old)
    {
        std::vector<uint32_t> waiting;
        std::size_t read = 0;
        std::size_t written = 0;
        const auto write = [&](std::size_t room) {
            const std::size_t count = std::min(waiting.size() - read, room - written);
            std::copy_n(waiting.begin() + std::ptrdiff_t(read), count,
                        old.list.begin() + std::ptrdiff_t(written));
            read += count;
            written += count;
            if (read < waiting.size())
                return;
            waiting.clear();
            read = 0;
        };
        uint32_t sides = 0;
        first.reserve(members.count() + 1);
        first.push_back(0);
        countSides(
            numbers, members, old,
            [&](const RegionSide &side) {
                waiting.push_back(side.region);
                waiting.push_back(side.edges);
                ++sides;
            },
            [&](uint32_t k) {
                first.push_back(sides);
                if (k + 1 < members.count())
                    write(old.first[members.lowest(k + 1)]);
            });
        write(old.list.size());
        list = std::move(old.list);
        list.resize(written);
        list.insert(list.end(), waiting.begin() + std::ptrdiff_t(read), waiting.end());
    }

    template<typename Use>
    void forEachSide(uint32_t region, Use use) const
    {
        const uint32_t *end = list.data() + 2 * std::size_t(first[region + 1]);
        for (const uint32_t *side = list.data() + 2 * std::size_t(first[region]); side < end;
             side += 2)
            use(RegionSide { side[0], side[1] });
    }

    void expect(uint32_t region) const { prefetch(list.data() + 2 * std::size_t(first[region])); }

    std::size_t count() const { return list.size() / 2; }

private:
    std::vector<uint32_t> first; // in pairs
    std::vector<uint32_t> list;  // neighbour, edges
};

// The sides of regions that have been merged once more, to `numbers`.
void listSides(const std::vector<uint32_t> &numbers, const CountedSides &sides, RegionGraph *graph)
{
    const Members members(numbers, graph->regions.size());
    graph->firstSide.reserve(members.count() + 1);
    graph->sides.reserve(sides.count() / kSidesOfSide);
    graph->firstSide.push_back(0);
    countSides(
        numbers, members, sides, [graph](const RegionSide &side) { graph->sides.push_back(side); },
        [graph](uint32_t) { graph->firstSide.push_back(uint32_t(graph->sides.size())); });
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
    EdgeSides edgeSides = findSides(graph);
    std::vector<uint32_t> numbers = mergeAt(kFirstPart * float(price), edgeSides, &graph.regions);
    graph.regions.shrink_to_fit();
    const CountedSides sides(numbers, Members(numbers, graph.regions.size()), std::move(edgeSides));
    const std::vector<uint32_t> merged = mergeAt(float(price), sides, &graph.regions);
    graph.regions.shrink_to_fit();
    listSides(merged, sides, &graph);
    renumber(merged, &numbers);
    renumber(numbers, &graph.ofPixel);
    return graph;
}

} // namespace ztrace
