// (c) the ztrace developers. Licence: see LICENSE.
#include "flatinks.h"

#include "colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <map>

namespace ztrace {

namespace {

// Areas. A cell has one colour where no channel has a wider range, steps of 255.
const int kCell = 4; // pixels a side
const int kCellRange = 8;
const int kLeastCells = 3;          // of an ink
const int kCore = 3;                // steps of a channel: cells of one ink
const int kSame = 6;                // what is as near to a commoner ink is its noise
const int kAround = 12;             // in which an ink has
const double kOfAround = 0.8;       // of the cells, but for those of other inks, and
const double kOfOther = 0.05;       // of the cells of a commoner one
const double kOfAll = 0.7;          // of the cells of one colour that inks have in flat art
const int kShadesBeside = 3;        // cells of no ink, beside one that is of a shade
const double kUneven = 5.0;         // steps of a channel off its plane, in a cell of a shade
const double kSquaresOfCell = 20.0; // of the distances from its middle, one way
const int kPure = 3;                // steps from black and white
const std::size_t kMostOfAreas = 64;

// Strokes. Lengths are those of `apart`.
const int kBeside = 3;          // pixels in which there is ground
const float kLeastAway = 24.0f; // of a core from every ink beside it
const float kCoreSlack = 6.0f;  // by which a neighbour has to be farther away to count as such
const int kMostFarther = 1;     // neighbours of a core
const float kMixed = 20.0f;     // from the mixtures of two inks beside it: their edge
const float kOfHue = 0.25f;     // how much hues count there: edges have smeared ones
const float kBin = 12.0f;       // steps of lightness and hue that are counted together
const std::size_t kLeastCores = 16;
const double kShareOfCores = 0.005;   // of all, for an ink
const int kRefinements = 2;           // of its colour
const float kOfInk = 20.0f;           // cores as near are of the ink
const float kDilution = 18.0f;        // so are those as near to its mixtures with their ground
const float kOvershoot = 1.2f;        // times the way from the ground
const float kMostAway = 200.0f;       // what counts of a distance
const std::size_t kMostCores = 20000; // of more every k-th is taken
const int kMostOfStrokes = 48;

int channelDistance(QRgb a, QRgb b)
{
    return std::max({ std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                      std::abs(qBlue(a) - qBlue(b)) });
}

// Colours of cells and how many have them.
struct CellColour
{
    QRgb word;
    int cells; // 0 once they are of an ink
};

// The mean of a cell, if it has one colour.
bool meanOfCell(const QImage &image, int left, int top, QRgb *mean)
{
    std::array<int, 3> least = { { 255, 255, 255 } };
    std::array<int, 3> most = { { 0, 0, 0 } };
    std::array<int, 3> sums = { { 0, 0, 0 } };
    for (int y = top; y < top + kCell; ++y) {
        for (int x = left; x < left + kCell; ++x) {
            const QRgb word = row(image, y)[x];
            const std::array<int, 3> own = { { qRed(word), qGreen(word), qBlue(word) } };
            for (std::size_t c = 0; c < 3; ++c) {
                least[c] = std::min(least[c], own[c]);
                most[c] = std::max(most[c], own[c]);
                sums[c] += own[c];
            }
        }
    }
    const int half = kCell * kCell / 2;
    *mean = qRgb((sums[0] + half) / (kCell * kCell), (sums[1] + half) / (kCell * kCell),
                 (sums[2] + half) / (kCell * kCell));
    return most[0] - least[0] <= kCellRange && most[1] - least[1] <= kCellRange
        && most[2] - least[2] <= kCellRange;
}

// Whether a cell goes evenly from one colour to another, or has one: its channels are planes.
bool isEven(const QImage &image, int left, int top)
{
    const double middle = (kCell - 1) / 2.0;
    for (int shift : { 16, 8, 0 }) {
        double mean = 0.0;
        double across = 0.0;
        double down = 0.0;
        const auto value
            = [&](int x, int y) { return double(row(image, top + y)[left + x] >> shift & 0xFFu); };
        for (int k = 0; k < kCell * kCell; ++k) {
            const double own = value(k % kCell, k / kCell);
            mean += own / (kCell * kCell);
            across += (k % kCell - middle) * own / kSquaresOfCell;
            const int line = k / kCell;
            down += (line - middle) * own / kSquaresOfCell;
        }
        for (int k = 0; k < kCell * kCell; ++k) {
            const int line = k / kCell;
            const double even = mean + (k % kCell - middle) * across + (line - middle) * down;
            if (std::fabs(value(k % kCell, k / kCell) - even) > kUneven)
                return false;
        }
    }
    return true;
}

// The commonest first.
std::vector<CellColour> coloursOfCells(const QImage &image)
{
    std::map<QRgb, int> counts;
    QRgb mean = 0;
    for (int y = 0; y + kCell <= image.height(); y += kCell) {
        for (int x = 0; x + kCell <= image.width(); x += kCell) {
            if (meanOfCell(image, x, y, &mean))
                ++counts[mean];
        }
    }
    std::vector<CellColour> colours;
    for (const auto &count : counts)
        colours.push_back({ count.first, count.second });
    std::stable_sort(colours.begin(), colours.end(),
                     [](const CellColour &a, const CellColour &b) { return a.cells > b.cells; });
    return colours;
}

int cellsAround(const std::vector<CellColour> &colours, QRgb word, int reach)
{
    int cells = 0;
    for (const CellColour &colour : colours)
        cells += channelDistance(colour.word, word) <= reach ? colour.cells : 0;
    return cells;
}

// The very colour of most cells, or their mean. Rounding leaves black and white a step off.
QRgb inkOf(const std::vector<CellColour> &colours, const CellColour &middle, int core)
{
    if (channelDistance(middle.word, qRgb(0, 0, 0)) <= kPure)
        return qRgb(0, 0, 0);
    if (channelDistance(middle.word, qRgb(255, 255, 255)) <= kPure)
        return qRgb(255, 255, 255);
    if (2 * middle.cells >= core)
        return middle.word;
    std::array<double, 3> sums = { { 0.0, 0.0, 0.0 } };
    for (const CellColour &colour : colours) {
        if (channelDistance(colour.word, middle.word) > kCore)
            continue;
        sums[0] += double(colour.cells) * qRed(colour.word);
        sums[1] += double(colour.cells) * qGreen(colour.word);
        sums[2] += double(colour.cells) * qBlue(colour.word);
    }
    return qRgb(int(sums[0] / core + 0.5), int(sums[1] / core + 0.5), int(sums[2] / core + 0.5));
}

void take(QRgb word, int reach, std::vector<CellColour> *colours)
{
    for (CellColour &colour : *colours) {
        if (channelDistance(colour.word, word) <= reach)
            colour.cells = 0;
    }
}

struct Core
{
    Hue hue;
    int16_t ground; // the ink that most pixels beside it have
    float away;     // from the nearest ink beside it
};

// What a pixel without an ink is to what lies beside it; away is 0 where that explains it.
Core coreAt(const HuePicture &picture, const std::vector<int16_t> &labels,
            const std::vector<FlatInk> &inks, int x, int y)
{
    InksNearby nearby;
    forEachPlaceAround(picture, x, y, kBeside,
                       [&](std::size_t place) { nearby.add(labels[place]); });
    Core core = { picture[picture.at(x, y)], kNoInk, 0.0f };
    if (nearby.size == 0)
        return core;
    float away = kMostAway;
    int most = 0;
    for (const InksNearby::Ink &ink : nearby) {
        const Hue &hue = inks[std::size_t(ink.label)].hue;
        away = std::min(away, apart(core.hue, hue));
        if (ink.count > most) {
            most = ink.count;
            core.ground = ink.label;
        }
        for (const InksNearby::Ink *other = &ink + 1; other < nearby.end(); ++other) {
            if (mixtureNear(core.hue, hue, inks[std::size_t(other->label)].hue, kOfHue, 0.0f)
                    .squared
                < kMixed * kMixed)
                return core;
        }
    }
    core.away = away;
    return core;
}

// Pixels that are at least as far from what lies beside them as nearly all their neighbours.
std::vector<Core> coresOf(const HuePicture &picture, const std::vector<int16_t> &labels,
                          const std::vector<FlatInk> &inks)
{
    std::array<std::vector<Core>, 3> rows;
    rows.fill(std::vector<Core>(std::size_t(picture.width()), Core { {}, kNoInk, 0.0f }));
    std::vector<Core> cores;
    for (int y = 0; y < picture.height(); ++y) {
        std::vector<Core> &below = rows[std::size_t(y % 3)];
        for (int x = 0; x < picture.width(); ++x) {
            below[std::size_t(x)] = labels[picture.at(x, y)] == kNoInk
                ? coreAt(picture, labels, inks, x, y)
                : Core { {}, kNoInk, 0.0f };
        }
        const std::vector<Core> &here = rows[std::size_t((y + 2) % 3)];
        for (std::size_t x = 1; y >= 2 && x + 1 < here.size(); ++x) {
            if (here[x].away < kLeastAway)
                continue;
            int farther = 0;
            for (const std::vector<Core> &line : rows) {
                for (std::size_t u = x - 1; u <= x + 1; ++u)
                    farther += line[u].away > here[x].away + kCoreSlack;
            }
            if (farther <= kMostFarther)
                cores.push_back(here[x]);
        }
    }
    return cores;
}

// Cores by their colour, to find where most of them are.
class CoreBins
{
public:
    explicit CoreBins(const std::vector<Core> &cores)
    {
        for (const Core &core : cores)
            bins[placeOf(core.hue)].push_back(core);
        least = std::max(kLeastCores, std::size_t(kShareOfCores * double(cores.size())));
    }

    // The colour of the cores in and about the bins that weigh most together; false where there are
    // too few.
    bool heaviest(Hue *middle) const
    {
        double most = 0.0;
        Place best;
        for (const auto &bin : bins) {
            double weight = 0.0;
            std::size_t cores = 0;
            forEachNear(bin.first, [&](const Place &at, const Core &core) {
                weight += (at == bin.first ? 1.0 : 0.5) * double(core.away);
                ++cores;
            });
            if (cores >= least && weight > most) {
                most = weight;
                best = bin.first;
            }
        }
        if (most <= 0.0)
            return false;
        *middle = meanOf(best, [&](const Place &at, const Core &) { return at == best; });
        for (int k = 0; k < kRefinements; ++k) {
            *middle = meanOf(best, [&](const Place &, const Core &core) {
                return apart(core.hue, *middle) < kBin;
            });
        }
        return true;
    }

    template<typename Test>
    void remove(const Test &test)
    {
        for (auto bin = bins.begin(); bin != bins.end();) {
            std::vector<Core> &members = bin->second;
            members.erase(std::remove_if(members.begin(), members.end(), test), members.end());
            bin = members.empty() ? bins.erase(bin) : std::next(bin);
        }
    }

private:
    typedef std::array<int, 3> Place;
    static Place placeOf(const Hue &hue)
    {
        return { { int(std::floor(hue.light / kBin)), int(std::floor(hue.blue / kBin)),
                   int(std::floor(hue.red / kBin)) } };
    }

    // Calls use(bin, core) with the cores of a bin and of its 26 neighbours.
    template<typename Use>
    void forEachNear(const Place &place, const Use &use) const
    {
        for (int k = 0; k < 27; ++k) {
            const Place at
                = { { place[0] + k / 9 - 1, place[1] + k / 3 % 3 - 1, place[2] + k % 3 - 1 } };
            const auto bin = bins.find(at);
            if (bin == bins.end())
                continue;
            for (const Core &core : bin->second)
                use(at, core);
        }
    }

    template<typename Test>
    Hue meanOf(const Place &place, const Test &counts) const
    {
        Hue sum = { 0.0f, 0.0f, 0.0f };
        float n = 0.0f;
        forEachNear(place, [&](const Place &at, const Core &core) {
            if (!counts(at, core))
                return;
            sum = { sum.light + core.hue.light, sum.blue + core.hue.blue, sum.red + core.hue.red };
            n += 1.0f;
        });
        return { sum.light / n, sum.blue / n, sum.red / n };
    }

    std::size_t least = kLeastCores; // of an ink
    std::map<Place, std::vector<Core>> bins;
};

} // namespace

void InksNearby::add(int16_t label)
{
    if (label < 0)
        return;
    for (int k = 0; k < size; ++k) {
        if (inks[k].label == label) {
            ++inks[k].count;
            return;
        }
    }
    if (size < kMost)
        inks[size++] = { label, 1 };
}

std::vector<FlatInk> inksOfAreas(const QImage &image)
{
    std::vector<CellColour> colours = coloursOfCells(image);
    std::vector<FlatInk> inks;
    std::vector<CellColour> found; // the inks with their cells
    const int all = cellsAround(colours, 0, 255);
    for (std::size_t k = 0; k < colours.size() && inks.size() < kMostOfAreas; ++k) {
        const CellColour middle = colours[k];
        if (middle.cells == 0)
            continue;
        const int core = cellsAround(colours, middle.word, kCore);
        if (core < kLeastCells || core < kOfAround * cellsAround(colours, middle.word, kAround)
            || core < kOfOther * cellsAround(found, middle.word, kAround))
            continue;
        const QRgb word = inkOf(colours, middle, core);
        take(middle.word, kSame, &colours);
        found.push_back({ middle.word, core });
        inks.push_back({ word, hueOf(word) });
    }
    if (double(all - cellsAround(colours, 0, 255)) < kOfAll * double(all))
        inks.clear();
    return inks;
}

void markShades(const QImage &image, const std::vector<FlatInk> &inks, std::vector<int16_t> *labels)
{
    const int columns = image.width() / kCell;
    const int rows = image.height() / kCell;
    std::vector<uint8_t> shades(std::size_t(columns + 2) * std::size_t(rows + 2), 0);
    const auto at = [columns](int u, int v) {
        return std::size_t(v + 1) * std::size_t(columns + 2) + std::size_t(u + 1);
    };
    for (int v = 0; v < rows; ++v) {
        for (int u = 0; u < columns; ++u) {
            QRgb mean = 0;
            const auto isSame
                = [&mean](const FlatInk &ink) { return channelDistance(ink.word, mean) <= kSame; };
            const bool isOneColour = meanOfCell(image, u * kCell, v * kCell, &mean);
            shades[at(u, v)] = isEven(image, u * kCell, v * kCell)
                && (!isOneColour || std::none_of(inks.begin(), inks.end(), isSame));
        }
    }
    for (int v = 0; v < rows; ++v) {
        for (int u = 0; u < columns; ++u) {
            const int beside = shades[at(u - 1, v)] + shades[at(u + 1, v)] + shades[at(u, v - 1)]
                + shades[at(u, v + 1)];
            if (shades[at(u, v)] == 0 || beside < kShadesBeside)
                continue;
            for (int y = v * kCell; y < (v + 1) * kCell; ++y) {
                const auto first = labels->begin() + std::ptrdiff_t(y) * image.width()
                    + std::ptrdiff_t(u) * kCell;
                std::fill(first, first + kCell, kShade);
            }
        }
    }
}

std::vector<FlatInk> inksOfStrokes(const HuePicture &picture, const std::vector<int16_t> &labels,
                                   const std::vector<FlatInk> &inks)
{
    std::vector<Core> cores = coresOf(picture, labels, inks);
    const std::size_t step = (cores.size() + kMostCores - 1) / kMostCores;
    for (std::size_t k = 0; step > 1 && k * step < cores.size(); ++k)
        cores[k] = cores[k * step];
    if (step > 1)
        cores.resize((cores.size() + step - 1) / step);
    CoreBins bins(cores);
    std::vector<FlatInk> found;
    Hue mean;
    while (int(found.size()) < kMostOfStrokes && bins.heaviest(&mean)) {
        const QRgb word = wordOf(mean);
        found.push_back({ word, hueOf(word) });
        bins.remove([&](const Core &core) {
            return apart(core.hue, mean) < kOfInk
                || mixtureNear(core.hue, inks[std::size_t(core.ground)].hue, mean, 0.5f, kOvershoot)
                       .squared
                < kDilution * kDilution;
        });
    }
    return found;
}

} // namespace ztrace
