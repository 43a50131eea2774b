// (c) the ztrace developers. Licence: see LICENSE.
#include "regions.h"

#include "alpha.h"
#include "colour.h"
#include "forest.h"
#include "pixeledges.h"
#include "prefetch.h"
#include "sidelist.h"

#include <algorithm>
#include <cstring>
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

// At most, of all regions together: what hangs together by pixel edges is a map in the plane, and
// has fewer than three pairs of neighbours for each of its areas.
const std::size_t kSidesOfRegion = 6;

// Regions that are asked for before they are read: beyond those of the next row, 64 kilobytes. A
// photograph's take a sixth less time.
const uint32_t kRegionsAhead = 4096;

typedef float Four __attribute__((vector_size(16)));
typedef int32_t FourMasks __attribute__((vector_size(16)));

const FourMasks kOfColour = { -1, -1, -1, 0 };

Four pick(const FourMasks &masks, const Four &where, const Four &elsewhere)
{
    return Four((FourMasks(where) & masks) | (FourMasks(elsewhere) & ~masks));
}

// A region while it grows, in one vector: the mean of its pixels, and their number.
struct Tally
{
    Four value;

    float pixels() const { return value[3]; }
    SeenColour mean() const { return { value[0], value[1], value[2] }; }
};

Tally tallyOf(const SeenColour &colour)
{
    return { Four { colour.lightness, colour.greenRed, colour.blueYellow, 1.0f } };
}

float squaredDistance(const Tally &a, const Tally &b)
{
    const Four apart = a.value - b.value;
    const Four squares = apart * apart;
    return squares[0] + squares[1] + squares[2];
}

// lossOfAlike for each of so many edges that it saves.
float lossOfEdge(const Tally &a, const Tally &b, float edges)
{
    const float pixels = a.pixels() + b.pixels();
    return a.pixels() * b.pixels() * squaredDistance(a, b) / (pixels * edges);
}

Tally sum(const Tally &a, const Tally &b)
{
    const float share = b.pixels() / (a.pixels() + b.pixels());
    return { a.value + pick(kOfColour, share * (b.value - a.value), b.value) };
}

// Regions that become one: a forest, in which the lowest number of each is the root.
class Merging
{
public:
    // Where pictures are opaque there are no alphas.
    explicit Merging(bool isOpaque) : hasAlphas(!isOpaque) { }

    void reserve(std::size_t count)
    {
        tallies.reserve(count);
        up.reserve(count);
        if (hasAlphas)
            alphas.reserve(count);
    }

    uint32_t rootOf(uint32_t region) { return ztrace::rootOf(&up, region); }

    uint32_t addRegion(const Tally &tally, uint8_t alpha)
    {
        tallies.push_back(tally);
        if (hasAlphas)
            alphas.push_back(alpha);
        up.push_back(uint32_t(up.size()));
        return up.back();
    }

    std::size_t count() const { return tallies.size(); }
    Tally &tally(uint32_t root) { return tallies[root]; }

    bool isOfAlpha(uint32_t region, uint8_t alpha) const
    {
        return !hasAlphas || alphas[region] == alpha;
    }
    bool areAlike(uint32_t a, uint32_t b) const { return !hasAlphas || alphas[a] == alphas[b]; }

    // A region that comes soon, if there is one.
    void expect(uint32_t region) const
    {
        if (region < tallies.size())
            prefetch(&tallies[region]);
    }

    // Of two roots; returns the one that is left.
    uint32_t merge(uint32_t a, uint32_t b)
    {
        const uint32_t low = std::min(a, b);
        const uint32_t high = std::max(a, b);
        tallies[low] = sum(tallies[low], tallies[high]);
        up[high] = low;
        return low;
    }

    // The root of every region, with as many entries more as PixelJoins::Rows reads: valid until
    // the next merge.
    const std::vector<uint32_t> &roots()
    {
        for (uint32_t &above : up) // nothing points to a higher number
            above = up[above];
        up.resize(count() + PixelJoins::kNamesBeyond, 0);
        return up;
    }

    // The roots become all that there is, numbered in their order. Returns the new number of every
    // region before.
    std::vector<uint32_t> renumber()
    {
        // Nothing points to a higher number, so that all that is read has been numbered before,
        // and all that is written has been read.
        uint32_t roots = 0;
        up.resize(count());
        for (std::size_t k = 0; k < up.size(); ++k) {
            if (up[k] != k) {
                up[k] = up[up[k]];
                continue;
            }
            tallies[roots] = tallies[k];
            if (hasAlphas)
                alphas[roots] = alphas[k];
            up[k] = roots++;
        }
        tallies.resize(roots);
        alphas.resize(hasAlphas ? roots : 0);
        std::vector<uint32_t> numbers = std::move(up);
        up.resize(roots);
        std::iota(up.begin(), up.end(), 0u);
        return numbers;
    }

    // Gives back the room of regions that are no more.
    void shrink() { tallies.shrink_to_fit(); }

    // The regions themselves, of which nothing is left here.
    std::vector<Region> take()
    {
        std::vector<Region> regions;
        regions.reserve(tallies.size());
        for (std::size_t k = 0; k < tallies.size(); ++k)
            regions.push_back(
                { tallies[k].mean(), tallies[k].pixels(), hasAlphas ? alphas[k] : 255 });
        *this = Merging(!hasAlphas);
        return regions;
    }

private:
    bool hasAlphas;
    std::vector<Tally> tallies; // of roots as they are now
    std::vector<uint8_t> alphas;
    std::vector<uint32_t> up;
};

// Joins the pixels of an image, row by row, to the nearer one of the regions on the left and above.
class Growing
{
public:
    Growing(const QImage &i, const SeenColours &s, float f, Merging *m, PixelJoins *j)
        : image(i), seen(s), farthest(f), merging(*m), joins(*j), width(std::size_t(i.width())),
          pixels(width)
    { }

    // False when there are too many regions for the number of pixels.
    bool run()
    {
        const std::size_t all = width * std::size_t(image.height());
        const std::size_t most = all / kPixelsOfRegion + width + 1024;
        joins = PixelJoins(image.width(), image.height());
        merging.reserve(std::min(all, most + width)); // no memory before it is used
        std::vector<uint32_t> above(width);
        std::vector<uint32_t> own(width);
        std::vector<PixelJoin> row(width);
        for (int y = 0; y < image.height(); ++y) {
            addRow(ztrace::row(image, y), y > 0 ? above.data() : nullptr, own.data(), row.data());
            joins.setRow(y, row.data());
            above.swap(own);
            if (merging.count() > most && farthest < kFarthest)
                return false;
        }
        return true;
    }

private:
    // `above` is the row above `target`, or null.
    void addRow(const QRgb *words, const uint32_t *above, uint32_t *target, PixelJoin *row)
    {
        // Beforehand, since what is looked up in tables has not to wait for each choice then.
        for (std::size_t x = 0; x < width; ++x)
            pixels[x]
                = x > 0 && words[x] == words[x - 1] ? pixels[x - 1] : tallyOf(seen.of(words[x]));
        Place left = { kNone, {} };
        for (std::size_t x = 0; x < width; ++x) {
            left = addPixel(pixels[x], uint8_t(qAlpha(words[x])), left,
                            above ? merging.rootOf(above[x]) : kNone, &row[x]);
            target[x] = left.region;
        }
    }

    // A region with what it has: the next pixel need not wait until that is read again.
    struct Place
    {
        uint32_t region;
        Tally tally;
    };

    // Where both are one region it is as near on either side, and left is taken.
    Place addPixel(const Tally &pixel, uint8_t alpha, const Place &left, uint32_t up,
                   PixelJoin *join)
    {
        const Place above = { up, up != kNone ? merging.tally(up) : Tally {} };
        const float toLeft = distance(pixel, alpha, left);
        const float toUp = distance(pixel, alpha, above);
        if (!(std::min(toLeft, toUp) < farthest)) {
            *join = PixelJoin::Start;
            return { merging.addRegion(pixel, alpha), pixel };
        }
        // Branches: in smooth parts of a picture they are foretold, and the next pixel begins
        // before the distances of this one are known.
        if (toUp < toLeft) {
            *join = PixelJoin::Up;
            return addTo(above, left, pixel);
        }
        *join = PixelJoin::Left;
        return addTo(left, above, pixel);
    }

    // Adds the pixel to the nearer of the two, and that to the other one if it is near then.
    Place addTo(const Place &nearer, const Place &other, const Tally &pixel)
    {
        const Tally grown = sum(nearer.tally, pixel);
        merging.tally(nearer.region) = grown;
        const bool bridge = other.region != kNone && other.region != nearer.region
            && merging.areAlike(nearer.region, other.region)
            && lossOfEdge(grown, other.tally, 1.0f) < farthest;
        if (!bridge)
            return { nearer.region, grown };
        const uint32_t both = merging.merge(nearer.region, other.region);
        return { both, merging.tally(both) };
    }

    float distance(const Tally &pixel, uint8_t alpha, const Place &place) const
    {
        if (place.region == kNone || !merging.isOfAlpha(place.region, alpha))
            return farthest;
        return squaredDistance(pixel, place.tally);
    }

    const QImage &image;
    const SeenColours &seen;
    const float farthest; // squared
    Merging &merging;
    PixelJoins &joins;
    const std::size_t width;
    std::vector<Tally> pixels; // of a row
};

// The neighbours of regions below a number, from the one of every start.
SideList sidesOf(const RegionGraph &graph, const std::vector<uint32_t> &regionOfStart,
                 std::size_t regions, PixelEdges edges)
{
    return SideList(regions, [&graph, &regionOfStart, edges](auto use) {
        const std::size_t width = std::size_t(graph.width);
        PixelJoins::Rows<uint32_t> rows(graph.joins, regionOfStart);
        EdgeFinder finder(width, edges);
        std::vector<uint32_t> above(width);
        std::vector<uint32_t> own(width);
        for (int y = 0; y < graph.height; ++y) {
            rows.next(above.data(), own.data());
            finder.addRow(y > 0 ? above.data() : nullptr, own.data(), use);
            above.swap(own);
        }
    });
}

// The region with the least loss of those that are offered, the lowest of equals. Which one it is
// is hard to foretell: both are one number, so that there are no branches.
class Choice
{
public:
    void offer(uint32_t region, float loss, bool isAllowed) // of a loss not below 0
    {
        uint32_t bits;
        std::memcpy(&bits, &loss, sizeof bits); // as large as the loss, compared with others'
        const uint64_t offered = (uint64_t(bits) << 32 | region) | (uint64_t(isAllowed) - 1);
        least = std::min(least, offered);
    }

    // Not a number where there was none.
    float loss() const
    {
        const uint32_t bits = uint32_t(least >> 32);
        float loss;
        std::memcpy(&loss, &bits, sizeof loss);
        return loss;
    }
    uint32_t region() const { return uint32_t(least); }

private:
    uint64_t least = ~uint64_t(0);
};

// Every region goes to the neighbour with which it loses least an edge, if that is below the price;
// of equals to the one that begins first. forEachSide(region, use) calls use(side) for its
// neighbours by the numbers before.
template<typename ForEachSide>
void mergeAt(float price, ForEachSide forEachSide, Merging *into)
{
    Merging &merging = *into;
    const uint32_t count = uint32_t(merging.count());
    for (uint32_t k = 0; k < count; ++k) {
        merging.expect(k + kRegionsAhead);
        const uint32_t own = merging.rootOf(k);
        const Tally tally = merging.tally(own);
        Choice best;
        forEachSide(k, [&](const RegionSide &side) {
            const uint32_t other = merging.rootOf(side.region);
            const float saved = float(side.edges) + kEdgesOfRegion;
            best.offer(other, lossOfEdge(tally, merging.tally(other), saved),
                       (other != own) & merging.areAlike(other, own));
        });
        if (best.loss() < price)
            merging.merge(own, best.region());
    }
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

    void add(uint32_t neighbour)
    {
        met[count] = neighbour;
        count += edges[neighbour] == 0 ? 1u : 0u;
        ++edges[neighbour];
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

// The sides of regions that have become other ones, by their new numbers.
void listSides(const std::vector<uint32_t> &numbers, const SideList &old, RegionGraph *graph)
{
    const Members members(numbers, graph->regions.size());
    SideCounter counter(members.count());
    graph->firstSide.reserve(members.count() + 1);
    graph->sides.reserve(std::min(old.size(), kSidesOfRegion * members.count()));
    graph->firstSide.push_back(0);
    for (uint32_t k = 0; k < members.count(); ++k) {
        counter.begin(k);
        members.forEach(
            k,
            [&](uint32_t member) {
                old.forEach(member, [&](uint32_t side) { counter.add(numbers[side]); });
            },
            [&old](uint32_t member) { old.expect(member); });
        counter.take([graph](const RegionSide &side) { graph->sides.push_back(side); });
        graph->firstSide.push_back(uint32_t(graph->sides.size()));
    }
}

// Every pixel edge counts as one of its own, so that each neighbour is asked once or a few times.
// Starts that joined an earlier one while they grew are no regions, and have no sides: numbering
// the others before takes more memory than those.
void mergeFirst(double price, const RegionGraph &graph, Merging *merging)
{
    const SideList sides = sidesOf(graph, merging->roots(), merging->count(), PixelEdges::Longest);
    mergeAt(
        kFirstPart * float(price),
        [&sides](uint32_t region, auto use) {
            sides.forEach(region, [&use](uint32_t side) { use(RegionSide { side, 1 }); });
        },
        merging);
}

// Every neighbour is asked with all edges that it has.
void mergeCounted(double price, const SideList &sides, Merging *merging)
{
    SideCounter counter(merging->count());
    mergeAt(
        float(price),
        [&](uint32_t region, auto use) {
            counter.begin(region);
            sides.forEach(region, [&counter](uint32_t side) { counter.add(side); });
            counter.take(use);
        },
        merging);
}

void renumber(const std::vector<uint32_t> &numbers, std::vector<uint32_t> *regionOfStart)
{
    for (std::size_t k = 0; k + PixelJoins::kNamesBeyond < regionOfStart->size(); ++k)
        (*regionOfStart)[k] = numbers[(*regionOfStart)[k]];
}

} // namespace

RegionGraph findRegions(const QImage &image, const SeenColours &seen, double price)
{
    RegionGraph graph;
    graph.width = image.width();
    graph.height = image.height();
    Merging merging(isOpaque(image));
    float farthest = std::max(kNearest, float(price) * kJoinShare);
    while (!Growing(image, seen, farthest, &merging, &graph.joins).run()) {
        merging = Merging(isOpaque(image));
        farthest *= kCoarser;
    }
    mergeFirst(price, graph, &merging);
    graph.regionOfStart = merging.renumber();
    graph.regionOfStart.resize(graph.regionOfStart.size() + PixelJoins::kNamesBeyond, 0);
    merging.shrink();
    const SideList sides = sidesOf(graph, graph.regionOfStart, merging.count(), PixelEdges::All);
    mergeCounted(price, sides, &merging);
    const std::vector<uint32_t> numbers = merging.renumber();
    graph.regions = merging.take();
    listSides(numbers, sides, &graph);
    renumber(numbers, &graph.regionOfStart);
    return graph;
}

} // namespace ztrace
