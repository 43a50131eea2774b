// (c) the ztrace developers. Licence: see LICENSE.
//
// Noise, stains and falling light fill the gap between ink and paper that a histogram of the whole
// page would show, but they leave this: ink is darker than the paper around it and nothing is much
// lighter, where a photograph has lights as well as shades.
#include "noisypages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace ztrace {

namespace {

const int kLeastSide = 64;    // pixels, the shorter one
const int kLeastOfPage = 160; // and the longer one: letters on less cannot be read, icons are so
const int kMostRows = 1024;
const int kTiles = 24;
const int kLeastTile = 16;     // pixels
const double kStep = 0.12;     // between tiles, of the range from ink to paper
const double kRoughest = 0.3;  // share of such steps; photographs have .35 and more, mostly
const double kInkAtLeast = .5; // percent of the pixels, the darkest, for that range
// Ink is so much darker than the paper around it, as a share, and than so many times its noise.
const double kLeastInk = 0.12;
const double kNoises = 4.0;
// A page: so many pixels are ink, in runs of so many pixels or such a part of the width, ...
const double kFewestInk = 0.02;
const double kMostInk = 0.3;
const double kLongestRun = 8.0;
const double kLongestPart = 0.02;
// ... and either next to nothing is lighter than the paper, or the paper is even, and noisy.
const double kLighter = 0.15;
const double kInkSquares = 0.68;
const double kEven = 0.1;
const double kLighterByNoise = 0.26;
const double kInkSquaresInNoise = 0.25;
// Dark on paper, though no page that nothing else told: pages of one lightness have at least this.
const double kLighterAtMost = 0.35;
const double kInkSquaresAtLeast = 0.4;

// The means of 3 x 3 pixels of every k-th row.
class Means
{
public:
    explicit Means(const GreyPicture &source)
        : page(source), step(std::max(1, (source.height() - 2 + kMostRows - 1) / kMostRows)),
          sums(static_cast<std::size_t>(source.width())),
          means(static_cast<std::size_t>(source.width()) - 2)
    { }

    int width() const { return page.width() - 2; }
    int height() const { return (page.height() - 3) / step + 1; }
    int rowsApart() const { return step; }

    // Valid until the next is asked for.
    const std::vector<uint8_t> &row(int y)
    {
        const uint8_t *lines[3];
        for (int k = 0; k < 3; ++k)
            lines[k] = page.row(y * step + k, nullptr);
        for (std::size_t x = 0; x < sums.size(); ++x)
            sums[x] = static_cast<uint16_t>(lines[0][x] + lines[1][x] + lines[2][x]);
        for (std::size_t x = 0; x < means.size(); ++x)
            means[x] = static_cast<uint8_t>((sums[x] + sums[x + 1] + sums[x + 2] + 4) / 9);
        return means;
    }

private:
    const GreyPicture &page;
    int step;
    std::vector<uint16_t> sums;
    std::vector<uint8_t> means;
};

typedef std::array<int, 256> Counts;

int rankIn(const Counts &counts, double share)
{
    double pixels = 0.0;
    for (int count : counts)
        pixels += count;
    double sum = counts[0];
    int v = 0;
    while (v < 255 && sum < share * pixels)
        sum += counts[static_cast<std::size_t>(++v)];
    return v;
}

// The lightness of the paper, tile by tile and between their middles.
class Paper
{
public:
    explicit Paper(Means *means)
    {
        const int step = means->rowsApart();
        const int longer = std::max(means->width(), means->height() * step);
        side = std::max(kLeastTile, longer / kTiles);
        columns = (means->width() + side - 1) / side;
        rowsOfTile = std::max(1, side / step);
        rows = (means->height() + rowsOfTile - 1) / rowsOfTile;
        Counts all = {};
        std::vector<Counts> counts;
        for (int y = 0; y < means->height(); ++y) {
            if (y % rowsOfTile == 0)
                counts.assign(static_cast<std::size_t>(columns), Counts());
            const std::vector<uint8_t> &row = means->row(y);
            for (std::size_t x = 0; x < row.size(); ++x)
                ++counts[x / static_cast<std::size_t>(side)][row[x]];
            if (y % rowsOfTile == rowsOfTile - 1 || y + 1 == means->height())
                take(counts, &all);
        }
        darkest = rankIn(all, kInkAtLeast / 100.0);
    }

    // Share of the borders between tiles where it changes much.
    double roughness() const
    {
        std::vector<double> sorted = tiles;
        std::sort(sorted.begin(), sorted.end());
        const double range = std::max(1.0, sorted[sorted.size() * 9 / 10] - darkest);
        double borders = 0.0;
        double steps = 0.0;
        const auto count = [&](double a, double b) {
            borders += 1.0;
            steps += std::fabs(a - b) > kStep * range;
        };
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < columns; ++x) {
                if (x + 1 < columns)
                    count(at(x, y), at(x + 1, y));
                if (y + 1 < rows)
                    count(at(x, y), at(x, y + 1));
            }
        }
        return borders > 0.0 ? steps / borders : 1.0;
    }

    // What it is along a row.
    void alongRow(int y, std::vector<double> *papers) const
    {
        const Place down = placeOf((y + 0.5) / rowsOfTile - 0.5, rows);
        for (std::size_t x = 0; x < papers->size(); ++x) {
            const Place across = placeOf((double(x) + 0.5) / side - 0.5, columns);
            const auto between = [&](int row) {
                const double left = at(across.first, row);
                return left + across.part * (at(across.second, row) - left);
            };
            const double above = between(down.first);
            (*papers)[x] = std::max(1.0, above + down.part * (between(down.second) - above));
        }
    }

private:
    struct Place
    {
        int first;
        int second;
        double part;
    };

    static Place placeOf(double at, int tiles)
    {
        const int first = std::max(0, std::min(tiles - 1, static_cast<int>(std::floor(at))));
        const int second = std::min(tiles - 1, first + 1);
        return { first, second, std::max(0.0, std::min(1.0, at - first)) };
    }

    void take(const std::vector<Counts> &counts, Counts *all)
    {
        for (const Counts &tile : counts) {
            tiles.push_back(rankIn(tile, 0.5));
            for (std::size_t v = 0; v < tile.size(); ++v)
                (*all)[v] += tile[v];
        }
    }

    double at(int column, int row) const
    {
        return tiles[static_cast<std::size_t>(row * columns + column)];
    }

    int side = kLeastTile;
    int columns = 0;
    int rowsOfTile = 1;
    int rows = 0;
    std::vector<double> tiles;
    double darkest = 0.0;
};

// Calls with the row and with how far each of its pixels is from its paper, as a share of that.
template<class Call>
void forEachRow(Means *means, const Paper &paper, const Call &call)
{
    std::vector<double> papers(static_cast<std::size_t>(means->width()));
    for (int y = 0; y < means->height(); ++y) {
        const std::vector<uint8_t> &row = means->row(y);
        paper.alongRow(y, &papers);
        for (std::size_t x = 0; x < papers.size(); ++x)
            papers[x] = row[x] / papers[x] - 1.0;
        call(papers);
    }
}

} // namespace

PaperAndInk paperAndInkOf(const GreyPicture &page)
{
    PaperAndInk found;
    if (page.isNull() || page.isBilevel() || std::min(page.width(), page.height()) < kLeastSide
        || std::max(page.width(), page.height()) < kLeastOfPage)
        return found;
    Means means(page);
    const Paper paper(&means);
    found.rough = paper.roughness();
    if (found.rough > kRoughest)
        return found;
    double squares[2] = { 0.0, 0.0 };
    double lighter = 0.0;
    forEachRow(&means, paper, [&](const std::vector<double> &row) {
        for (double v : row) {
            squares[v > 0.0] += v * v;
            lighter += v > 0.0;
        }
    });
    found.lighter = squares[0] > 0.0 ? squares[1] / squares[0] : 1.0;
    const double noise = lighter > 0.0 ? std::sqrt(squares[1] / lighter) : 0.0;
    const double limit = -std::max(kLeastInk, kNoises * noise);
    double ink = 0.0;
    double runs = 0.0;
    double inkSquares = 0.0;
    forEachRow(&means, paper, [&](const std::vector<double> &row) {
        bool before = false;
        for (double v : row) {
            const bool isInk = v < limit;
            ink += isInk;
            runs += isInk && !before;
            inkSquares += isInk ? v * v : 0.0;
            before = isInk;
        }
    });
    found.ink = ink / (double(means.width()) * means.height());
    found.inkRun = runs > 0.0 ? ink / runs : 0.0;
    found.inkSquares = inkSquares / std::max(1e-9, squares[0] + squares[1]);
    return found;
}

bool isDarkOnPaper(const PaperAndInk &page)
{
    return page.rough <= kRoughest && page.lighter <= kLighterAtMost
        && page.inkSquares >= kInkSquaresAtLeast;
}

bool isPage(const PaperAndInk &page, int width)
{
    if (page.rough > kRoughest || page.ink < kFewestInk || page.ink > kMostInk
        || page.inkRun > std::max(kLongestRun, kLongestPart * width))
        return false;
    return (page.lighter <= kLighter && page.inkSquares >= kInkSquares)
        || (page.rough <= kEven && page.lighter <= kLighterByNoise
            && page.inkSquares >= kInkSquaresInNoise);
}

} // namespace ztrace
