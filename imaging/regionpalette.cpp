// (c) the ztrace developers. Licence: see LICENSE.
#include "regionpalette.h"

#include "wordtable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

namespace ztrace {

namespace {

// Of SeenColour: regions within a cube of this side are one for the palette, so that its cost does
// not grow with the picture. A third of a step that is seen.
const float kCube = 6.0f;

const int kMeans = 4;       // times the colours move to the means of what is nearest to them
const int kRelabelling = 2; // times every region looks at its neighbours' labels

typedef float SeenColour::*Axis;
const Axis kAxes[] = { &SeenColour::lightness, &SeenColour::greenRed, &SeenColour::blueYellow };

// Sums of weighted colours.
struct Sums
{
    double pixels = 0.0;
    std::array<double, 3> sums = {};
    std::array<double, 3> squares = {};

    void add(const Region &region)
    {
        pixels += double(region.pixels);
        for (std::size_t k = 0; k < 3; ++k) {
            const double value = double(region.mean.*kAxes[k]);
            sums[k] += double(region.pixels) * value;
            squares[k] += double(region.pixels) * value * value;
        }
    }

    double error(std::size_t axis) const
    {
        return std::max(0.0, squares[axis] - sums[axis] * sums[axis] / pixels);
    }

    SeenColour mean() const
    {
        return { float(sums[0] / pixels), float(sums[1] / pixels), float(sums[2] / pixels) };
    }
};

// Regions of an alpha, those of a cube as one, in the order in which the cubes come.
std::vector<Region> cubesOf(const std::vector<Region> &regions, int alpha)
{
    WordTable places; // one more than a cube's
    std::vector<Sums> cubes;
    for (const Region &region : regions) {
        if (region.alpha != alpha)
            continue;
        uint32_t key = 0;
        for (Axis axis : kAxes) // of at most 765 and of 540 to both sides
            key = key << 10 | uint32_t(std::lround(region.mean.*axis / kCube) + 512);
        uint32_t place = places.of(key);
        if (place == 0) {
            cubes.emplace_back();
            place = uint32_t(cubes.size());
            places.set(key, place);
        }
        cubes[place - 1].add(region);
    }
    std::vector<Region> means;
    for (const Sums &cube : cubes)
        means.push_back({ cube.mean(), float(cube.pixels), alpha });
    return means;
}

// Cubes begin to end - 1, all of one alpha, and how far they are from their mean.
struct Box
{
    Box(const std::vector<Region> &cubes, std::size_t b, std::size_t e) : begin(b), end(e)
    {
        for (std::size_t k = begin; k < end; ++k)
            sums.add(cubes[k]);
        for (std::size_t k = 0; k < 3; ++k) {
            error += sums.error(k);
            if (sums.error(k) > sums.error(axis))
                axis = k;
        }
    }

    std::size_t begin;
    std::size_t end;
    Sums sums;
    double error = 0.0;
    std::size_t axis = 0; // the one with the largest error
};

// Splits the box with the largest error at its mean, until there are enough or all are of one cube.
void splitBoxes(std::vector<Region> *cubes, std::size_t most, std::vector<Box> *boxes)
{
    while (!boxes->empty() && boxes->size() < most) {
        const auto worst
            = std::max_element(boxes->begin(), boxes->end(),
                               [](const Box &a, const Box &b) { return a.error < b.error; });
        if (!(worst->error > 0.0))
            break;
        const Box box = *worst;
        const Axis axis = kAxes[box.axis];
        const float mean = box.sums.mean().*axis;
        const auto first = cubes->begin();
        const auto cut
            = std::partition(first + std::ptrdiff_t(box.begin), first + std::ptrdiff_t(box.end),
                             [&](const Region &cube) { return cube.mean.*axis < mean; });
        const std::size_t middle = std::size_t(cut - first);
        if (middle == box.begin || middle == box.end) { // equal but for rounding
            worst->error = 0.0;
            continue;
        }
        *worst = Box(*cubes, box.begin, middle);
        boxes->emplace_back(*cubes, middle, box.end);
    }
}

// Finds the nearest of several colours, of which there is at least one, from the one of the same
// lightness up and down until lightness alone is farther than the best.
class NearestSeen
{
public:
    explicit NearestSeen(const std::vector<SeenColour> &c) : order(c.size())
    {
        std::iota(order.begin(), order.end(), std::size_t(0));
        std::stable_sort(order.begin(), order.end(), [&c](std::size_t a, std::size_t b) {
            return c[a].lightness < c[b].lightness;
        });
        for (std::size_t k : order)
            sorted.push_back(c[k]);
        for (std::size_t step = 0; step < firstOfStep.size(); ++step)
            firstOfStep[step] = firstFrom(float(step) * kStep, 0, sorted.size());
    }

    std::size_t of(const SeenColour &colour) const
    {
        const std::size_t step = std::min(std::size_t(std::max(0.0f, colour.lightness) / kStep),
                                          firstOfStep.size() - 2);
        const auto lighter = sorted.begin()
            + std::ptrdiff_t(firstFrom(colour.lightness, firstOfStep[step], firstOfStep[step + 1]));
        const std::size_t middle = std::size_t(lighter - sorted.begin());
        float least = std::numeric_limits<float>::max();
        std::size_t best = 0;
        for (std::size_t k = middle; k < sorted.size() && look(k, colour, &least, &best); ++k)
            continue;
        for (std::size_t k = middle; k > 0 && look(k - 1, colour, &least, &best); --k)
            continue;
        return order[best];
    }

private:
    // Whether those behind this one may be nearer than the best.
    bool look(std::size_t place, const SeenColour &colour, float *least, std::size_t *best) const
    {
        const float apart = sorted[place].lightness - colour.lightness;
        if (apart * apart >= *least)
            return false;
        const float distance = squaredDistance(colour, sorted[place]);
        if (distance < *least) {
            *least = distance;
            *best = place;
        }
        return true;
    }

    // The first one between two places that is as light, or the second place.
    std::size_t firstFrom(float lightness, std::size_t begin, std::size_t end) const
    {
        const auto first = sorted.begin();
        return std::size_t(
            std::lower_bound(first + std::ptrdiff_t(begin), first + std::ptrdiff_t(end), lightness,
                             [](const SeenColour &a, float least) { return a.lightness < least; })
            - first);
    }

    // Steps of lightness, of which there are 765 (SeenColour): between two of them there are few
    // colours to be searched.
    static constexpr float kStep = 4.0f; // divided by without rounding

    std::vector<std::size_t> order;
    std::vector<SeenColour> sorted;
    std::array<std::size_t, 193> firstOfStep;
};

// Finds the nearest entry of a palette of the same alpha, of which there is at least one.
class NearestEntry
{
public:
    explicit NearestEntry(const std::vector<PaletteColour> &palette)
    {
        std::array<std::vector<SeenColour>, 256> colours;
        for (std::size_t k = 0; k < palette.size(); ++k) {
            colours[std::size_t(palette[k].alpha)].push_back(palette[k].colour);
            entries[std::size_t(palette[k].alpha)].push_back(k);
        }
        for (const auto &ofAlpha : colours)
            nearest.emplace_back(ofAlpha);
    }

    std::size_t of(const Region &region) const
    {
        const std::size_t alpha = std::size_t(region.alpha);
        return entries[alpha][nearest[alpha].of(region.mean)];
    }

private:
    std::array<std::vector<std::size_t>, 256> entries; // by alpha
    std::vector<NearestSeen> nearest;                  // the same
};

void moveToMeans(const std::vector<Region> &cubes, std::vector<PaletteColour> *palette)
{
    std::vector<Sums> sums(palette->size());
    const NearestEntry nearest(*palette);
    for (const Region &cube : cubes)
        sums[nearest.of(cube)].add(cube);
    for (std::size_t k = 0; k < sums.size(); ++k) {
        if (sums[k].pixels > 0.0)
            (*palette)[k].colour = sums[k].mean();
    }
}

// The alphas of regions, from opaque on.
std::vector<int> alphasOf(const std::vector<Region> &regions)
{
    std::array<bool, 256> occurs = {};
    for (const Region &region : regions)
        occurs[std::size_t(region.alpha)] = true;
    std::vector<int> alphas;
    for (int alpha = 255; alpha >= 0; --alpha) {
        if (occurs[std::size_t(alpha)])
            alphas.push_back(alpha);
    }
    return alphas;
}

// Which of its neighbours' labels suits a region best, its own among them; of equals its own, then
// the lowest.
class Relabelling
{
public:
    Relabelling(const RegionGraph &g, const std::vector<PaletteColour> &p, float price,
                std::vector<uint16_t> *l)
        : graph(g), palette(p), priceOfEdge(price), labels(*l), edges(p.size(), 0.0f)
    { }

    void relabel(std::size_t region)
    {
        const uint32_t begin = graph.firstSide[region];
        const uint32_t end = graph.firstSide[region + 1];
        for (uint32_t s = begin; s < end; ++s)
            edges[labels[graph.sides[s].region]] += float(graph.sides[s].edges);
        const uint16_t own = labels[region];
        uint16_t best = own;
        float least = cost(region, own);
        for (uint32_t s = begin; s < end; ++s) {
            const uint16_t label = labels[graph.sides[s].region];
            const float other = cost(region, label);
            // Which one it is can hardly be foretold: no branches.
            const bool isBetter
                = (other < least) | ((other == least) & (best != own) & (label < best));
            least = isBetter ? other : least;
            best = isBetter ? label : best;
        }
        for (uint32_t s = begin; s < end; ++s)
            edges[labels[graph.sides[s].region]] = 0.0f;
        labels[region] = best;
    }

private:
    float cost(std::size_t region, uint16_t label) const
    {
        const Region &own = graph.regions[region];
        if (own.alpha != palette[label].alpha)
            return std::numeric_limits<float>::infinity();
        return own.pixels * squaredDistance(own.mean, palette[label].colour)
            - priceOfEdge * edges[label];
    }

    const RegionGraph &graph;
    const std::vector<PaletteColour> &palette;
    const float priceOfEdge;
    std::vector<uint16_t> &labels;
    std::vector<float> edges; // that the region has in common with each label
};

} // namespace

std::vector<PaletteColour> paletteOf(const std::vector<Region> &regions, int most)
{
    std::vector<Region> cubes;
    std::vector<Box> boxes; // one of each alpha at first
    std::size_t entries = std::size_t(most);
    for (int alpha : alphasOf(regions)) {
        const std::vector<Region> more = cubesOf(regions, alpha);
        cubes.insert(cubes.end(), more.begin(), more.end());
        boxes.emplace_back(cubes, cubes.size() - more.size(), cubes.size());
        entries += alpha == 0 ? 1u : 0u; // what is clear does not count
    }
    splitBoxes(&cubes, entries, &boxes);
    std::vector<PaletteColour> palette;
    for (const Box &box : boxes)
        palette.push_back({ box.sums.mean(), cubes[box.begin].alpha });
    for (int time = 0; time < kMeans; ++time)
        moveToMeans(cubes, &palette);
    return palette;
}

std::vector<uint16_t> labelRegions(const RegionGraph &graph,
                                   const std::vector<PaletteColour> &palette, double price)
{
    const NearestEntry nearest(palette);
    std::vector<uint16_t> labels;
    for (const Region &region : graph.regions)
        labels.push_back(uint16_t(nearest.of(region)));
    Relabelling relabelling(graph, palette, float(price), &labels);
    for (int time = 0; time < kRelabelling; ++time) {
        for (std::size_t region = 0; region < labels.size(); ++region)
            relabelling.relabel(region);
    }
    return labels;
}

} // namespace ztrace
