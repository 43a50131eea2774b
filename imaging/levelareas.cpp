// (c) the ztrace developers. Licence: see LICENSE.
#include "levelareas.h"

#include "colour.h"
#include "forest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace ztrace {

namespace {

const int kCell = 4;        // pixels a side; half of JPEG's blocks
const int kLeastSide = 48;  // pixels
const int kMostSide = 1024; // pixels that are looked at, of a larger image every k-th

// A calm cell's four quarters differ by at most so many steps of lightness, or by so many times
// what the calmest quarter of the cells has, which is noise.
const double kCalm = 3.0;
const double kCalmInNoise = 2.2;
// Calm neighbours are one area where their means differ by at most so much.
const double kJoined = 2.0;
const double kJoinedInNoise = 0.8;
// An area is level where it has so many cells and so many of them are as near to its mean.
const std::size_t kLeastCells = 6;
const double kNearMean = 2.5;
const double kMostNear = 0.9;
const int kAway = 2; // cells

// What drawings have: shares of the cells, and steps of lightness.
const double kLevel = 0.4;
const double kMostShaded = 0.05;
const double kMostAway = 0.1;
const double kMostNoise = 5.0;
// And so many cells have edges of so many steps in them, which textures of one colour have not.
const double kEdge = 64.0;
const double kWithEdges = 0.02;

// What grey photographs have, shares of the cells.
const double kShadedOfPhotos = 0.12;
const double kAwayOfPhotos = 0.4;
const double kMostEdgesOfPhotos = 0.15;

// Cells of an image by rows. Lightnesses are sums of 16 pixels, differences those of four.
struct Cells
{
    int columns = 0;
    int rows = 0;
    std::vector<int> sums;
    std::vector<int> ranges; // of the quarters' sums
    std::vector<int> squares;

    std::size_t count() const { return sums.size(); }
    std::size_t at(int x, int y) const
    {
        return std::size_t(y) * std::size_t(columns) + std::size_t(x);
    }
};

// Of four rows of lightnesses, from the left one on.
void addCell(const std::array<std::vector<uint8_t>, kCell> &rows, std::size_t left, Cells *cells)
{
    std::array<int, 4> quarters = {};
    int squares = 0;
    for (std::size_t y = 0; y < std::size_t(kCell); ++y) {
        for (std::size_t x = 0; x < std::size_t(kCell); ++x) {
            const int light = rows[y][left + x];
            quarters[y / 2 * 2 + x / 2] += light;
            squares += light * light;
        }
    }
    const auto ends = std::minmax_element(quarters.begin(), quarters.end());
    cells->ranges.push_back(*ends.second - *ends.first);
    cells->sums.push_back(std::accumulate(quarters.begin(), quarters.end(), 0));
    cells->squares.push_back(squares);
}

// `read` fills a row of lightnesses, of every so many pixels.
template<typename Read>
Cells cellsOf(int width, int height, const Read &read)
{
    const int step = (std::max(width, height) + kMostSide - 1) / kMostSide;
    Cells cells;
    cells.columns = width / (kCell * step);
    cells.rows = height / (kCell * step);
    const std::size_t count = std::size_t(cells.columns) * std::size_t(cells.rows);
    for (std::vector<int> *numbers : { &cells.sums, &cells.ranges, &cells.squares })
        numbers->reserve(count);
    std::array<std::vector<uint8_t>, kCell> rows;
    rows.fill(std::vector<uint8_t>(std::size_t(cells.columns) * std::size_t(kCell)));
    for (int y = 0; y < cells.rows; ++y) {
        for (int k = 0; k < kCell; ++k)
            read((kCell * y + k) * step, step, &rows[std::size_t(k)]);
        for (int x = 0; x < cells.columns; ++x)
            addCell(rows, std::size_t(kCell * x), &cells);
    }
    return cells;
}

// The range that a quarter of the cells are below, in steps of lightness.
double noiseOf(const Cells &cells)
{
    std::vector<int> ranges = cells.ranges;
    const auto quartile = ranges.begin() + std::ptrdiff_t(ranges.size() / 4);
    std::nth_element(ranges.begin(), quartile, ranges.end());
    return *quartile / 4.0;
}

enum class CellKind : uint8_t { Restless, Level, Shaded };

// Joins calm cells to areas and tells which of these are level.
class Areas
{
public:
    Areas(const Cells &of, double noise)
        : cells(of), mostRange(4.0 * std::max(kCalm, kCalmInNoise * noise)),
          mostStep(16.0 * std::max(kJoined, kJoinedInNoise * noise)),
          mostOff(16.0 * std::max(kNearMean, noise)), forest(cells.count())
    {
        std::iota(forest.begin(), forest.end(), std::size_t(0));
        join();
        measure();
    }

    std::vector<CellKind> kinds()
    {
        std::vector<CellKind> found(cells.count(), CellKind::Restless);
        for (std::size_t k = 0; k < found.size(); ++k) {
            const std::size_t root = rootOf(&forest, k);
            if (!isCalm(k) || pixels[root] < kLeastCells)
                continue;
            const bool isLevel = double(near[root]) > kMostNear * double(pixels[root]);
            found[k] = isLevel ? CellKind::Level : CellKind::Shaded;
        }
        return found;
    }

private:
    bool isCalm(std::size_t k) const { return cells.ranges[k] <= mostRange; }

    void joinPair(std::size_t a, std::size_t b)
    {
        if (isCalm(a) && isCalm(b) && std::abs(cells.sums[a] - cells.sums[b]) <= mostStep)
            forest[rootOf(&forest, b)] = rootOf(&forest, a);
    }

    void join()
    {
        for (int y = 0; y < cells.rows; ++y) {
            for (int x = 0; x < cells.columns; ++x) {
                if (x > 0)
                    joinPair(cells.at(x - 1, y), cells.at(x, y));
                if (y > 0)
                    joinPair(cells.at(x, y - 1), cells.at(x, y));
            }
        }
    }

    void measure()
    {
        pixels.assign(cells.count(), 0);
        near.assign(cells.count(), 0);
        std::vector<double> sums(cells.count(), 0.0);
        for (std::size_t k = 0; k < cells.count(); ++k) {
            const std::size_t root = rootOf(&forest, k);
            ++pixels[root];
            sums[root] += cells.sums[k];
        }
        for (std::size_t k = 0; k < cells.count(); ++k) {
            const std::size_t root = rootOf(&forest, k);
            near[root] += std::abs(cells.sums[k] - sums[root] / double(pixels[root])) <= mostOff;
        }
    }

    const Cells &cells;
    const double mostRange;
    const double mostStep;
    const double mostOff;
    std::vector<std::size_t> forest;
    std::vector<std::size_t> pixels; // of the area of a root, in cells
    std::vector<std::size_t> near;   // of these, those near its mean
};

bool isNearLevel(const Cells &cells, const std::vector<CellKind> &kinds, std::size_t place)
{
    const int x = int(place % std::size_t(cells.columns));
    const int y = int(place / std::size_t(cells.columns));
    for (int v = std::max(0, y - kAway); v <= std::min(cells.rows - 1, y + kAway); ++v) {
        for (int u = std::max(0, x - kAway); u <= std::min(cells.columns - 1, x + kAway); ++u) {
            if (kinds[cells.at(u, v)] == CellKind::Level)
                return true;
        }
    }
    return false;
}

LevelAreas areasOf(const Cells &cells)
{
    LevelAreas areas;
    if (cells.count() == 0)
        return areas;
    const std::vector<CellKind> kinds = Areas(cells, noiseOf(cells)).kinds();
    double level = 0.0;
    double shaded = 0.0;
    double away = 0.0;
    double variance = 0.0;
    double edges = 0.0;
    for (std::size_t k = 0; k < cells.count(); ++k) {
        shaded += kinds[k] == CellKind::Shaded;
        edges += cells.ranges[k] >= 4.0 * kEdge;
        if (kinds[k] == CellKind::Level) {
            const double mean = cells.sums[k] / 16.0;
            level += 1.0;
            variance += cells.squares[k] / 16.0 - mean * mean;
        } else {
            away += !isNearLevel(cells, kinds, k);
        }
    }
    const double all = double(cells.count());
    areas.level = level / all;
    areas.shaded = shaded / all;
    areas.away = away / all;
    areas.edges = edges / all;
    areas.noise = std::sqrt(variance / std::max(1.0, level));
    return areas;
}

} // namespace

LevelAreas levelAreasOf(const QImage &image)
{
    if (std::min(image.width(), image.height()) < kLeastSide)
        return LevelAreas();
    return areasOf(cellsOf(image.width(), image.height(),
                           [&image](int y, int step, std::vector<uint8_t> *lights) {
                               const QRgb *words = row(image, y);
                               for (uint8_t &light : *lights) {
                                   light = uint8_t(qGray(*words));
                                   words += step;
                               }
                           }));
}

LevelAreas levelAreasOf(const GreyPicture &picture)
{
    if (std::min(picture.width(), picture.height()) < kLeastSide)
        return LevelAreas();
    std::vector<uint8_t> buffer(std::size_t(picture.width()));
    return areasOf(cellsOf(picture.width(), picture.height(),
                           [&](int y, int step, std::vector<uint8_t> *lights) {
                               const uint8_t *tones = picture.row(y, buffer.data());
                               for (uint8_t &light : *lights) {
                                   light = *tones;
                                   tones += step;
                               }
                           }));
}

bool isDrawnInLevels(const LevelAreas &areas)
{
    return areas.level >= kLevel && areas.shaded <= kMostShaded && areas.away <= kMostAway
        && areas.noise <= kMostNoise && areas.edges >= kWithEdges;
}

bool isShadedThroughout(const GreyPicture &picture)
{
    const LevelAreas areas = levelAreasOf(picture);
    return areas.shaded >= kShadedOfPhotos && areas.away >= kAwayOfPhotos
        && areas.edges < kMostEdgesOfPhotos;
}

} // namespace ztrace
