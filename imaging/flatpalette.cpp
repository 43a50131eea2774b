// (c) the ztrace developers. Licence: see LICENSE.
//
// A palette for flat and shaded areas.
//
// Colours are counted in cells: a colour of its own where it fills a 2 x 2 block, a cube of similar
// colours where it does not. Entries are taken greedily, each time the cell with the largest
// product of the root of its pixels and its distance to the entries so far, so that a small red
// mark on a large blue sky is not spent on one more blue. Entries that stand for shaded areas then
// move to the means of the cells nearest to them; entries that are flat colours stay what they are.
#include "palette.h"

#include "colour.h"
#include "edges.h"
#include "spotcolours.h"
#include "wordtable.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ztrace {

namespace {

const int kNearlyEqual = 12;          // colourDistance of two entries that would be one
const uint32_t kLeastFlat = 4;        // 2 x 2 blocks that make a colour a flat one
const int kLeastCell = 8;             // pixels of a cell that can become an entry
const int kLeastTranslucentCell = 64; // the same for one that is neither opaque nor transparent
const int kPartOfTranslucent = 3;     // one entry in three at most, so that hues are not displaced
const int kMoves = 4;                 // rounds of moving entries to their cells' means
const double kFlatShare = 0.3; // part of an entry's pixels, of its very colour, that makes it stay

struct Cell
{
    QRgb colour = 0;
    bool flat = false;
    double pixels = 0.0;
    double sums[4] = { 0.0, 0.0, 0.0, 0.0 }; // R, G, B, A
    int distance = std::numeric_limits<int>::max();
    std::size_t entry = 0;
};

// Sums of whole numbers below 2^53, so that their order does not matter.
void add(Cell *cell, QRgb word, int count)
{
    cell->pixels += count;
    cell->sums[0] += double(count) * qRed(word);
    cell->sums[1] += double(count) * qGreen(word);
    cell->sums[2] += double(count) * qBlue(word);
    cell->sums[3] += double(count) * qAlpha(word);
}

QRgb meanOf(const double *sums, double pixels)
{
    const auto mean = [&](int channel) { return static_cast<int>(sums[channel] / pixels + 0.5); };
    return qRgba(mean(0), mean(1), mean(2), mean(3));
}

// How often a colour fills a 2 x 2 block.
WordTable countBlocks(const QImage &image)
{
    WordTable blocks;
    const int width = image.width();
    for (int y = 0; y + 1 < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const QRgb *below = row(image, y + 1);
        int end = 0;
        for (int x = 0; x < width; x = end) {
            const QRgb word = words[x];
            end = endOfRun(words, x, width);
            uint32_t count = 0;
            for (; x + 1 < end; ++x)
                count += below[x] == word && below[x + 1] == word;
            if (count > 0)
                blocks.set(word, blocks.of(word) + count);
        }
    }
    return blocks;
}

// Cells in the order in which they are met.
class Cells
{
public:
    Cells() : cubes(16 * 16 * 16 * 16, 0u) { }

    void add(QRgb word, bool flat, int count)
    {
        const uint32_t known = flat ? flatCells.of(word) : cubes[cubeOf(word)];
        const std::size_t place = known > 0 ? known - 1 : append(word, flat);
        ztrace::add(&cells[place], word, count);
    }

    std::vector<Cell> take()
    {
        for (Cell &cell : cells)
            cell.colour = meanOf(cell.sums, cell.pixels);
        return std::move(cells);
    }

private:
    // The upper four bits of every channel.
    static std::size_t cubeOf(QRgb word)
    {
        return (word >> 16 & 0xF000u) | (word >> 12 & 0xF00u) | (word >> 8 & 0xF0u)
            | (word >> 4 & 0xFu);
    }

    std::size_t append(QRgb word, bool flat)
    {
        cells.emplace_back();
        cells.back().flat = flat;
        const uint32_t known = static_cast<uint32_t>(cells.size());
        if (flat)
            flatCells.set(word, known);
        else
            cubes[cubeOf(word)] = known;
        return known - 1;
    }

    WordTable flatCells;
    std::vector<uint32_t> cubes;
    std::vector<Cell> cells;
};

// Edges count only in textures, and when nothing else does.
std::vector<Cell> cellsOf(const QImage &image, const EdgeMap &edges, bool withEdges)
{
    const WordTable blocks = countBlocks(image);
    Cells cells;
    const int width = image.width();
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const uint8_t *marks = edges.row(y);
        int end = 0;
        for (int x = 0; x < width; x = end) {
            const QRgb word = words[x];
            end = endOfRun(words, x, width);
            if (qAlpha(word) == 0)
                continue;
            const bool flat = blocks.of(word) >= kLeastFlat;
            int count = end - x;
            for (; !flat && !withEdges && x < end; ++x)
                count -= (marks[x] & EdgeMap::kEdge) != 0 && !edges.isTexture(x, y);
            if (count > 0)
                cells.add(word, flat, count);
        }
    }
    return cells.take();
}

// A picture of small or faint parts alone is worth its largest one.
void takeLargest(const std::vector<Cell> &cells, std::vector<QRgb> *palette)
{
    const auto largest
        = std::max_element(cells.begin(), cells.end(),
                           [](const Cell &a, const Cell &b) { return a.pixels < b.pixels; });
    if (largest != cells.end())
        palette->push_back(largest->colour);
}

// The remaining cell of the highest score, or of those that are opaque; null when none is worth an
// entry.
const Cell *bestCell(const std::vector<Cell> &cells, bool first, bool opaqueAlone,
                     double *bestScore)
{
    const Cell *best = nullptr;
    *bestScore = 0.0;
    for (const Cell &cell : cells) {
        const bool opaque = qAlpha(cell.colour) == 255;
        if ((!first && cell.distance <= kNearlyEqual) || (opaqueAlone && !opaque))
            continue;
        const int least = opaque ? kLeastCell : kLeastTranslucentCell;
        if (cell.pixels < least && !(first && opaque))
            continue;
        const double score = first ? cell.pixels : std::sqrt(cell.pixels) * cell.distance;
        if (score > *bestScore) {
            *bestScore = score;
            best = &cell;
        }
    }
    return best;
}

// Appends the best remaining cell; false when none is worth an entry. Where there are translucent
// entries enough, opaque cells go before others.
bool takeNext(std::vector<Cell> *cells, int most, std::vector<QRgb> *palette,
              std::vector<double> *scores)
{
    const bool first = palette->empty();
    const auto translucent = std::count_if(palette->begin(), palette->end(),
                                           [](QRgb colour) { return qAlpha(colour) != 255; });
    const bool enough = translucent >= std::max(1, most / kPartOfTranslucent);
    double score = 0.0;
    const Cell *best = enough ? bestCell(*cells, first, true, &score) : nullptr;
    if (!best)
        best = bestCell(*cells, first, false, &score);
    if (!best)
        return false;
    const QRgb colour = best->colour;
    for (Cell &cell : *cells) {
        const int distance = colourDistance(cell.colour, colour);
        if (distance < cell.distance) {
            cell.distance = distance;
            cell.entry = palette->size();
        }
    }
    palette->push_back(colour);
    scores->push_back(score);
    return true;
}

// Colours of thin lines. Where the palette is full they take the places of entries of less worth.
std::vector<QRgb> takeSpotColours(const QImage &image, const EdgeMap &edges, int most,
                                  std::vector<QRgb> *palette, std::vector<double> scores)
{
    std::vector<QRgb> colours;
    for (const SpotColour &spot : spotColoursIn(image, edges, *palette, most)) {
        const bool full = static_cast<int>(palette->size() + colours.size()) >= most;
        if (full && (palette->size() < 2 || scores.back() >= spot.score))
            break;
        if (full) {
            palette->pop_back();
            scores.pop_back();
        }
        colours.push_back(spot.colour);
    }
    return colours;
}

void moveToMeans(std::vector<Cell> *cells, std::vector<QRgb> *palette)
{
    struct Sum
    {
        double sums[4] = { 0.0, 0.0, 0.0, 0.0 };
        double pixels = 0.0;
        double own = 0.0; // of the flat cell that has the entry's very colour
    };
    std::vector<Sum> totals(palette->size());
    for (Cell &cell : *cells) {
        cell.distance = std::numeric_limits<int>::max();
        for (std::size_t k = 0; k < palette->size(); ++k) {
            const int distance = colourDistance(cell.colour, (*palette)[k]);
            if (distance < cell.distance) {
                cell.distance = distance;
                cell.entry = k;
            }
        }
        if (qAlpha(cell.colour) != 255 && qAlpha((*palette)[cell.entry]) == 255)
            continue; // opaque colours stay so
        Sum &total = totals[cell.entry];
        for (int channel = 0; channel < 4; ++channel)
            total.sums[channel] += cell.sums[channel];
        total.pixels += cell.pixels;
        if (cell.flat && cell.colour == (*palette)[cell.entry])
            total.own += cell.pixels;
    }
    for (std::size_t k = 0; k < palette->size(); ++k) {
        if (totals[k].pixels > 0.0 && totals[k].own < kFlatShare * totals[k].pixels)
            (*palette)[k] = meanOf(totals[k].sums, totals[k].pixels);
    }
}

} // namespace

std::vector<QRgb> flatPalette(const QImage &image, const EdgeMap &edges, int most)
{
    std::vector<Cell> cells = cellsOf(image, edges, false);
    std::vector<QRgb> palette;
    std::vector<double> scores;
    while (static_cast<int>(palette.size()) < most && takeNext(&cells, most, &palette, &scores)) { }
    const std::vector<QRgb> spots = takeSpotColours(image, edges, most, &palette, scores);
    if (palette.empty() && spots.empty()) {
        cells = cellsOf(image, edges, true);
        while (static_cast<int>(palette.size()) < most
               && takeNext(&cells, most, &palette, &scores)) { }
    }
    if (palette.empty() && spots.empty() && most > 0)
        takeLargest(cells, &palette);
    if (static_cast<int>(palette.size() + spots.size()) == most) {
        for (int i = 0; i < kMoves && !palette.empty(); ++i)
            moveToMeans(&cells, &palette);
    }
    palette.insert(palette.end(), spots.begin(), spots.end());
    if (edges.hasTransparentPixels())
        palette.push_back(0u);
    return palette;
}

} // namespace ztrace
