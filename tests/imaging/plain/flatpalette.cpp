// (c) the ztrace developers. Licence: see LICENSE.
#include "plain.h"

#include "imaging/colour.h"

#include <QHash>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ztrace {
namespace plain {

namespace {

const int kNearlyEqual = 12;          // colourDistance of two entries that would be one
const int kLeastFlat = 4;             // 2 x 2 blocks that make a colour a flat one
const int kLeastCell = 8;             // pixels of a cell that can become an entry
const int kLeastTranslucentCell = 64; // the same for one that is neither opaque nor transparent
const int kPartOfTranslucent = 3;     // one entry in three at most, so that hues are not displaced
const int kMoves = 4;                 // rounds of moving entries to their cells' means
const double kFlatShare = 0.3; // part of an entry's pixels, of its very colour, that makes it stay
const QRgb kCubeMask = 0xF0F0F0F0u;

struct Cell
{
    QRgb colour = 0;
    bool flat = false;
    double pixels = 0.0;
    double sums[4] = { 0.0, 0.0, 0.0, 0.0 }; // R, G, B, A
    int distance = std::numeric_limits<int>::max();
    std::size_t entry = 0;
};

void add(Cell *cell, QRgb word)
{
    cell->pixels += 1.0;
    cell->sums[0] += qRed(word);
    cell->sums[1] += qGreen(word);
    cell->sums[2] += qBlue(word);
    cell->sums[3] += qAlpha(word);
}

QRgb meanOf(const double *sums, double pixels)
{
    const auto mean = [&](int channel) { return static_cast<int>(sums[channel] / pixels + 0.5); };
    return qRgba(mean(0), mean(1), mean(2), mean(3));
}

// How often a colour fills a 2 x 2 block.
QHash<QRgb, int> countBlocks(const QImage &image)
{
    QHash<QRgb, int> blocks;
    for (int y = 0; y + 1 < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const QRgb *below = row(image, y + 1);
        for (int x = 0; x + 1 < image.width(); ++x) {
            if (words[x] == words[x + 1] && words[x] == below[x] && words[x] == below[x + 1])
                ++blocks[words[x]];
        }
    }
    return blocks;
}

// Cells in the order in which they are met. Edges count only in textures, and when nothing else
// does.
std::vector<Cell> cellsOf(const QImage &image, const RidgeMap &ridges, bool withEdges)
{
    const QHash<QRgb, int> blocks = countBlocks(image);
    QHash<QRgb, int> flatCells;
    QHash<QRgb, int> cubes;
    std::vector<Cell> cells;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x) {
            const QRgb word = words[x];
            if (qAlpha(word) == 0)
                continue;
            const bool flat = blocks.value(word) >= kLeastFlat;
            if (!flat && !withEdges && isEdge(image, x, y) && !ridges.isTexture(x, y))
                continue;
            int &place = flat ? flatCells[word] : cubes[word & kCubeMask];
            if (place == 0) {
                cells.emplace_back();
                place = static_cast<int>(cells.size());
                cells.back().flat = flat;
            }
            add(&cells[static_cast<std::size_t>(place - 1)], word);
        }
    }
    for (Cell &cell : cells)
        cell.colour = meanOf(cell.sums, cell.pixels);
    return cells;
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
std::vector<QRgb> takeSpotColours(const QImage &image, const RidgeMap &ridges, int most,
                                  std::vector<QRgb> *palette, std::vector<double> scores)
{
    std::vector<QRgb> colours;
    for (const SpotColour &spot : spotColoursIn(image, ridges, *palette, most)) {
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

bool hasTransparentPixels(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        if (std::any_of(words, words + image.width(), [](QRgb word) { return qAlpha(word) == 0; }))
            return true;
    }
    return false;
}

} // namespace

std::vector<QRgb> flatPalette(const QImage &image, int most)
{
    const RidgeMap ridges(image);
    std::vector<Cell> cells = cellsOf(image, ridges, false);
    std::vector<QRgb> palette;
    std::vector<double> scores;
    while (static_cast<int>(palette.size()) < most && takeNext(&cells, most, &palette, &scores)) { }
    const std::vector<QRgb> spots = takeSpotColours(image, ridges, most, &palette, scores);
    if (palette.empty() && spots.empty()) {
        cells = cellsOf(image, ridges, true);
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
    if (hasTransparentPixels(image))
        palette.push_back(0u);
    return palette;
}

} // namespace plain
} // namespace ztrace
