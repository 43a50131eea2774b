// (c) the ztrace developers. Licence: see LICENSE.
#include "thinstrokes.h"

#include "colour.h"
#include "ridges.h"
#include "segment.h"

#include <algorithm>
#include <limits>
#include <map>
#include <numeric>
#include <unordered_map>

namespace ztrace {

namespace {

const int kNear = 2;          // pixels between cores of one stroke; junctions have no ridge
const float kContact = 16.0f; // price of two cores side by side with different labels: a length

struct Core
{
    uint32_t pixel;
    uint32_t costs; // place of its row among the costs
};

// What every label of the palette would cost ridges, a row for each of those that are alike.
class Costs
{
public:
    explicit Costs(const std::vector<QRgb> &palette) : colours(palette), width(palette.size()) { }

    // The row of a ridge, or -1 when no label explains it.
    int rowOf(const Ridge &ridge)
    {
        const auto known = rows.insert({ keyOf(ridge), int(values.size() / width) });
        if (!known.second)
            return known.first->second;
        if (colours.nearestTo(ridge) < 0)
            return known.first->second = -1;
        for (std::size_t k = 0; k < width; ++k)
            values.push_back(float(colours.costOf(ridge, k)));
        return known.first->second;
    }

    const float *row(uint32_t place) const { return values.data() + place * width; }
    std::size_t labels() const { return width; }

private:
    // The upper six bits of every channel, alpha's upper four.
    static uint64_t keyOf(const Ridge &ridge)
    {
        const uint64_t kUpper = 0xF0FCFCFCu;
        return (ridge.colour & kUpper) << 32 | (ridge.beside & kUpper);
    }

    const RidgeColours colours;
    const std::size_t width;
    std::unordered_map<uint64_t, int> rows;
    std::vector<float> values;
};

// Cores that have one label and hang together.
struct Stretch
{
    std::vector<float> costs; // of every label, for all its cores
    uint16_t label = 0;
    std::size_t cores = 0;
    std::map<uint32_t, int> contacts; // to other stretches
};

// Unites stretches as long as one label for both costs less than two and what parts them.
class Strokes
{
public:
    Strokes(const std::vector<Core> &found, const Costs &of, int planeWidth, std::size_t pixels)
        : cores(found), costs(of), width(planeWidth), places(pixels, 0u)
    { }

    // The label of every core.
    std::vector<uint16_t> labels()
    {
        chooseAlone();
        gather();
        unite();
        for (std::size_t i = 0; i < cores.size(); ++i)
            own[i] = stretches[rootOf(stretchOf[i])].label;
        return own;
    }

private:
    void chooseAlone()
    {
        own.resize(cores.size());
        for (std::size_t i = 0; i < cores.size(); ++i) {
            const float *row = costs.row(cores[i].costs);
            own[i] = uint16_t(std::min_element(row, row + costs.labels()) - row);
            places[cores[i].pixel] = uint32_t(i) + 1;
        }
    }

    // Calls use(i, j) for every two cores that are near each other, the earlier first.
    template<typename Use>
    void forEachPair(Use use) const
    {
        for (std::size_t i = 0; i < cores.size(); ++i) {
            const std::size_t x = cores[i].pixel % uint32_t(width);
            const std::size_t left = std::min<std::size_t>(x, kNear);
            const std::size_t right = std::min<std::size_t>(std::size_t(width) - 1 - x, kNear);
            for (std::size_t dy = 0; dy <= std::size_t(kNear); ++dy) {
                const std::size_t row = cores[i].pixel + dy * std::size_t(width);
                for (std::size_t p = dy == 0 ? row + 1 : row - left; p <= row + right; ++p) {
                    if (p < places.size() && places[p] > 0)
                        use(i, std::size_t(places[p] - 1));
                }
            }
        }
    }

    uint32_t rootOf(uint32_t k)
    {
        while (parent[k] != k)
            k = parent[k] = parent[parent[k]];
        return k;
    }

    void gather()
    {
        parent.resize(cores.size());
        std::iota(parent.begin(), parent.end(), 0u);
        forEachPair([&](std::size_t i, std::size_t j) {
            if (own[i] == own[j])
                parent[rootOf(uint32_t(j))] = rootOf(uint32_t(i));
        });
        stretchOf.resize(cores.size());
        std::vector<uint32_t> numbers(cores.size(), 0);
        for (std::size_t i = 0; i < cores.size(); ++i) {
            uint32_t &number = numbers[rootOf(uint32_t(i))];
            if (number == 0) {
                stretches.emplace_back();
                stretches.back().label = own[i];
                stretches.back().costs.assign(costs.labels(), 0.0f);
                number = uint32_t(stretches.size());
            }
            stretchOf[i] = number - 1;
            Stretch &stretch = stretches[number - 1];
            ++stretch.cores;
            const float *row = costs.row(cores[i].costs);
            for (std::size_t k = 0; k < costs.labels(); ++k)
                stretch.costs[k] += row[k];
        }
        forEachPair([&](std::size_t i, std::size_t j) {
            if (stretchOf[i] == stretchOf[j])
                return;
            ++stretches[stretchOf[i]].contacts[stretchOf[j]];
            ++stretches[stretchOf[j]].contacts[stretchOf[i]];
        });
        parent.resize(stretches.size());
        std::iota(parent.begin(), parent.end(), 0u);
    }

    // The best label for two, and what uniting them costs.
    float priceOf(const Stretch &a, const Stretch &b, int contacts, uint16_t *label) const
    {
        float least = std::numeric_limits<float>::max();
        for (std::size_t k = 0; k < costs.labels(); ++k) {
            const float together = a.costs[k] + b.costs[k];
            if (together < least) {
                least = together;
                *label = uint16_t(k);
            }
        }
        const float apart = a.costs[a.label] + b.costs[b.label]
            + (a.label != b.label ? kContact * float(contacts) : 0.0f);
        return least - apart;
    }

    void unite()
    {
        std::vector<uint32_t> order(stretches.size());
        std::iota(order.begin(), order.end(), 0u);
        std::stable_sort(order.begin(), order.end(), [this](uint32_t a, uint32_t b) {
            return stretches[a].cores < stretches[b].cores;
        });
        for (bool changed = true; changed;) {
            changed = false;
            for (uint32_t k : order) {
                if (parent[k] == k)
                    changed |= uniteWithBest(k);
            }
        }
    }

    bool uniteWithBest(uint32_t k)
    {
        float least = 0.0f;
        uint32_t best = k;
        uint16_t bestLabel = 0;
        for (const auto &contact : stretches[k].contacts) {
            uint16_t label = 0;
            const float price
                = priceOf(stretches[k], stretches[contact.first], contact.second, &label);
            if (price < least) {
                least = price;
                best = contact.first;
                bestLabel = label;
            }
        }
        if (best == k)
            return false;
        absorb(best, k, bestLabel);
        return true;
    }

    void absorb(uint32_t into, uint32_t gone, uint16_t label)
    {
        Stretch &to = stretches[into];
        Stretch &from = stretches[gone];
        for (std::size_t k = 0; k < to.costs.size(); ++k)
            to.costs[k] += from.costs[k];
        to.label = label;
        to.cores += from.cores;
        for (const auto &contact : from.contacts) {
            std::map<uint32_t, int> &back = stretches[contact.first].contacts;
            back.erase(gone);
            if (contact.first == into)
                continue;
            back[into] += contact.second;
            to.contacts[contact.first] += contact.second;
        }
        from = Stretch();
        parent[gone] = into;
    }

    const std::vector<Core> &cores;
    const Costs &costs;
    const int width;
    std::vector<uint32_t> places; // of every pixel: its core's number + 1, or 0
    std::vector<uint16_t> own;
    std::vector<uint32_t> parent; // of cores first, of stretches then
    std::vector<uint32_t> stretchOf;
    std::vector<Stretch> stretches;
};

} // namespace

std::vector<uint32_t> labelStrokes(const QImage &image, std::vector<uint32_t> waiting,
                                   EdgeMap *edges, LabelPlane *plane)
{
    const uint32_t width = static_cast<uint32_t>(plane->width);
    Costs costs(plane->colours);
    std::vector<Core> cores;
    std::size_t left = 0;
    auto ridge = edges->ridges().begin();
    for (uint32_t pixel : waiting) {
        while (ridge != edges->ridges().end() && ridge->pixel < pixel)
            ++ridge;
        const bool isRidge = ridge != edges->ridges().end() && ridge->pixel == pixel;
        const QRgb word = ztrace::row(image, static_cast<int>(pixel / width))[pixel % width];
        const int row = isRidge ? costs.rowOf({ true, word, ridge->beside }) : -1;
        if (row < 0)
            waiting[left++] = pixel;
        else
            cores.push_back({ pixel, uint32_t(row) });
    }
    waiting.resize(left);
    const std::vector<uint16_t> labels
        = Strokes(cores, costs, plane->width, plane->labels.size()).labels();
    for (std::size_t i = 0; i < cores.size(); ++i) {
        const uint32_t pixel = cores[i].pixel;
        plane->labels[pixel] = labels[i];
        edges->row(static_cast<int>(pixel / width))[pixel % width] |= EdgeMap::kOfLine;
    }
    return waiting;
}

} // namespace ztrace
