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
#include "fourcolours.h"
#include "edges.h"
#include "nearestcolour.h"
#include "oklab.h"
#include "spotcolours.h"
#include "wordtable.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace ztrace {

namespace {

const float kNearlyEqual = 12.0f; // seenDistance of two entries that would be one
const std::size_t kSteps = 16;    // entries for shading, beyond which ...
const float kCoarseStep = 48.0f;  // ... a shade that is not flat has to be so far from the others
const uint32_t kLeastFlat = 4;    // 2 x 2 blocks that make a colour a flat one
const double kShareOfTextures = 0.08; // of a clean picture's ridges; fewer are letters
const int kLeastCell = 8;             // pixels of a cell that can become an entry
const int kLeastTranslucentCell = 64; // the same for one that is neither opaque nor transparent
const int kPartOfTranslucent = 3;     // one entry in three at most, so that hues are not displaced
const double kInside = 0.2;       // part of a shade's calm pixels amid their like; noise has less
const double kShadedShare = 0.25; // shaded calm pixels for every edge; a clean picture has fewer
const int kMoves = 4;             // rounds of moving entries to their cells' means
const double kFlatShare = 0.3; // part of an entry's pixels, of its very colour, that makes it stay

struct Cell
{
    QRgb colour = 0;
    bool flat = false;
    double pixels = 0.0;
    double sums[4] = { 0.0, 0.0, 0.0, 0.0 }; // R, G, B, A
    Oklab seen = { 0.0f, 0.0f, 0.0f, 0 };    // as the colour
    float distance = std::numeric_limits<float>::max();
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

// Where the 2 x 2 blocks end that are of the colour at x and have no marks in their upper row, as
// far as fours of them tell. The row is of that colour up to `end` and there, too.
int skipPlainBlocks(const QRgb *words, const QRgb *below, const uint8_t *marks, int x, int end)
{
#ifdef __SSE2__
    const __m128i four = _mm_set1_epi32(static_cast<int>(words[x]));
    for (; x + 4 <= end; x += 4) {
        const __m128i equal = _mm_and_si128(_mm_cmpeq_epi32(four, fourWords(below + x)),
                                            _mm_cmpeq_epi32(four, fourWords(below + x + 1)));
        uint32_t ofFour = 0;
        std::memcpy(&ofFour, marks + x, sizeof ofFour);
        if (ofFour != 0 || _mm_movemask_epi8(equal) != 0xFFFF)
            break;
    }
#else
    (void)words, (void)below, (void)marks, (void)end;
#endif
    return x;
}

// How often a colour fills a 2 x 2 block.
// Thin strokes do not count, unless they are straight.
WordTable countBlocks(const QImage &image, const EdgeMap &edges)
{
    WordTable blocks;
    const int width = image.width();
    for (int y = 0; y + 1 < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const QRgb *below = row(image, y + 1);
        const uint8_t *marks = edges.row(y);
        const uint8_t *marksBelow = edges.row(y + 1);
        int end = 0;
        for (int x = 0; x < width; x = end) {
            const QRgb word = words[x];
            end = endOfRun(words, x, width);
            uint32_t count = 0;
            while (x + 1 < end) {
                const int before = x;
                x = skipPlainBlocks(words, below, marks, x, end - 1);
                count += static_cast<uint32_t>(x - before);
                for (int next = std::min(x + 4, end - 1); x < next; ++x)
                    count += below[x] == word && below[x + 1] == word
                        && (marks[x] & marks[x + 1] & marksBelow[x] & marksBelow[x + 1]
                            & EdgeMap::kDrawn)
                            == 0;
            }
            if (count > 0)
                blocks.set(word, blocks.of(word) + count);
        }
    }
    for (const EdgeMap::RidgePixel &ridge : edges.ridges()) {
        const int y = static_cast<int>(ridge.pixel / static_cast<uint32_t>(width));
        const int x = static_cast<int>(ridge.pixel % static_cast<uint32_t>(width));
        if ((edges.row(y)[x] & EdgeMap::kRule) != 0)
            blocks.set(row(image, y)[x], blocks.of(row(image, y)[x]) + 1);
    }
    return blocks;
}

// Cells in the order in which they are met.
class Cells
{
public:
    Cells() : cubes(std::size_t(16) * 16 * 16 * 16, 0u) { }

    void add(QRgb word, bool flat, int count)
    {
        const uint32_t known = flat ? flatCells.of(word) : cubes[cubeOf(word)];
        const std::size_t place = known > 0 ? known - 1 : append(word, flat);
        ztrace::add(&cells[place], word, count);
    }

    // Shades that were counted apart.
    void add(const Cells &shades)
    {
        for (std::size_t cube = 0; cube < cubes.size(); ++cube) {
            if (shades.cubes[cube] == 0)
                continue;
            const Cell &from = shades.cells[shades.cubes[cube] - 1];
            if (cubes[cube] == 0) {
                cells.push_back(from);
                cubes[cube] = static_cast<uint32_t>(cells.size());
                continue;
            }
            Cell &to = cells[cubes[cube] - 1];
            to.pixels += from.pixels;
            for (int channel = 0; channel < 4; ++channel)
                to.sums[channel] += from.sums[channel];
        }
    }

    std::vector<Cell> take()
    {
        for (Cell &cell : cells)
            cell.colour = meanOf(cell.sums, cell.pixels);
        for (Cell &cell : cells)
            cell.seen = oklabOf(cell.colour);
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
    const WordTable blocks = countBlocks(image, edges);
    Cells cells;
    Cells textures;
    std::size_t textured = 0; // pixels
    const int width = image.width();
    std::vector<uint8_t> calm;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        calm.clear(); // until it is asked for
        int end = 0;
        for (int x = 0; x < width; x = end) {
            const QRgb word = words[x];
            end = endOfRun(words, x, width);
            if (qAlpha(word) == 0)
                continue;
            const bool flat = blocks.of(word) >= kLeastFlat;
            int count = end - x;
            if (!flat && !withEdges && calm.empty())
                edges.findCalm(y, &calm);
            int ofTexture = 0;
            for (; !flat && !withEdges && x < end; ++x) {
                const bool isCalm = calm[std::size_t(x)] != 0;
                count -= isCalm ? 0 : 1;
                ofTexture += !isCalm && edges.isTexture(x, y) ? 1 : 0;
            }
            if (count > 0)
                cells.add(word, flat, count);
            if (ofTexture > 0)
                textures.add(word, false, ofTexture);
            textured += std::size_t(ofTexture);
        }
    }
    if (!edges.isClean() || double(textured) >= kShareOfTextures * double(edges.ridges().size()))
        cells.add(textures);
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
const Cell *bestCell(const std::vector<Cell> &cells, bool first, bool opaqueAlone, float apart,
                     double *bestScore)
{
    const Cell *best = nullptr;
    *bestScore = 0.0;
    for (const Cell &cell : cells) {
        const bool opaque = qAlpha(cell.colour) == 255;
        if ((!first && cell.distance <= (cell.flat ? kNearlyEqual : apart))
            || (opaqueAlone && !opaque))
            continue;
        const int least = opaque ? kLeastCell : kLeastTranslucentCell;
        if (cell.pixels < least && !(first && opaque))
            continue;
        const double score = first ? cell.pixels : std::sqrt(cell.pixels) * double(cell.distance);
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
              std::vector<double> *scores, std::vector<bool> *flats)
{
    const bool first = palette->empty();
    const auto translucent = std::count_if(palette->begin(), palette->end(),
                                           [](QRgb colour) { return qAlpha(colour) != 255; });
    const bool enough = translucent >= std::max(1, most / kPartOfTranslucent);
    const float apart = palette->size() < kSteps ? kNearlyEqual : kCoarseStep;
    double score = 0.0;
    const Cell *best = enough ? bestCell(*cells, first, true, apart, &score) : nullptr;
    if (!best)
        best = bestCell(*cells, first, false, apart, &score);
    if (!best)
        return false;
    const QRgb colour = best->colour;
    const Oklab seen = best->seen;
    flats->push_back(best->flat);
    for (Cell &cell : *cells) {
        const float distance = seenDistance(cell.seen, seen);
        if (distance < cell.distance) {
            cell.distance = distance;
            cell.entry = palette->size();
        }
    }
    palette->push_back(colour);
    scores->push_back(score);
    return true;
}

// Counts what is nearest to each of a palette's shades, amid pixels that no edge is near.
struct CalmPixels
{
    std::vector<int64_t> all;
    std::vector<int64_t> inside; // with eight neighbours of the same colour

    CalmPixels(const QImage &image, const EdgeMap &edges, const std::vector<QRgb> &palette,
               const std::vector<bool> &flats)
        : all(palette.size(), 0), inside(palette.size(), 0), isFlat(flats)
    {
        const int width = image.width();
        NearestColour nearest(palette);
        std::vector<uint16_t> labels[3];
        std::vector<uint8_t> calm;
        for (int y = 0; y < image.height(); ++y) {
            std::vector<uint16_t> &here = labels[y % 3];
            here.resize(static_cast<std::size_t>(width));
            const QRgb *words = row(image, y);
            const uint8_t *marks = edges.row(y);
            int end = 0;
            for (int x = 0; x < width; x = end) {
                end = endOfRun(words, x, width);
                // Nobody asks for the label of an edge.
                if (end > x + 1 || (marks[x] & EdgeMap::kEdge) == 0)
                    std::fill(here.begin() + x, here.begin() + end, nearest.of(words[x]));
            }
            if (y >= 2) {
                edges.findCalm(y - 1, &calm);
                countRow(labels[(y + 1) % 3], labels[(y + 2) % 3], here, calm);
            }
        }
    }

private:
    void countRow(const std::vector<uint16_t> &above, const std::vector<uint16_t> &here,
                  const std::vector<uint16_t> &below, const std::vector<uint8_t> &calm)
    {
        for (std::size_t x = 1; x + 1 < here.size();) {
            if (calm[x] == 0) {
                ++x;
                continue;
            }
            const uint16_t own = here[x];
            const auto isAmid = [own](const std::vector<uint16_t> &line, std::size_t u) {
                return line[u - 1] == own && line[u] == own && line[u + 1] == own;
            };
            const std::size_t end = endOfCalm(here, calm, x);
            all[own] += int64_t(end - x);
            if (isFlat[own]) {
                x = end;
                continue;
            }
            int64_t amid = 0;
            for (; x < end; ++x)
                amid += isAmid(above, x) && isAmid(here, x) && isAmid(below, x);
            inside[own] += amid;
        }
    }

    // Where the calm pixels of one label end that begin at x: at the last pixel at the latest.
    static std::size_t endOfCalm(const std::vector<uint16_t> &here,
                                 const std::vector<uint8_t> &calm, std::size_t x)
    {
        const std::size_t last = here.size() - 1;
        const uint16_t own = here[x];
#ifdef __SSE2__
        const __m128i all = _mm_set1_epi16(static_cast<short>(own));
        for (; x + 8 <= last; x += 8) {
            const __m128i equal = _mm_cmpeq_epi16(all, fourWords(here.data() + x));
            const __m128i bytes
                = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(calm.data() + x));
            const __m128i isRestless = _mm_cmpeq_epi8(bytes, _mm_setzero_si128());
            const __m128i goesOn = _mm_andnot_si128(isRestless, _mm_packs_epi16(equal, equal));
            if ((_mm_movemask_epi8(goesOn) & 0xFF) != 0xFF)
                break;
        }
#endif
        while (x < last && calm[x] != 0 && here[x] == own)
            ++x;
        return x;
    }

    const std::vector<bool> &isFlat;
};

// Takes out shades that are scattered over others: what compression leaves around edges.
void dropNoise(const QImage &image, const EdgeMap &edges, const std::vector<bool> &flats,
               std::vector<QRgb> *palette, std::vector<double> *scores)
{
    if (std::find(flats.begin(), flats.end(), false) == flats.end())
        return;
    const CalmPixels calm(image, edges, *palette, flats);
    std::size_t kept = 0;
    for (std::size_t k = 0; k < palette->size(); ++k) {
        if (!flats[k] && calm.all[k] > 0 && double(calm.inside[k]) < kInside * double(calm.all[k]))
            continue;
        (*palette)[kept] = (*palette)[k];
        (*scores)[kept++] = (*scores)[k];
    }
    palette->resize(kept);
    scores->resize(kept);
}

// Whether shades lie about the edges: a photograph's, or those of lossy compression.
bool isClean(const EdgeMap &edges, const std::vector<Cell> &cells)
{
    double shaded = 0.0;
    for (const Cell &cell : cells)
        shaded += cell.flat ? 0.0 : cell.pixels;
    return shaded <= kShadedShare * double(edges.edgePixels());
}

// Colours of thin lines. Where the palette is full they take the places of entries of less worth.
std::vector<QRgb> takeSpotColours(const QImage &image, const EdgeMap &edges, bool clean, int most,
                                  std::vector<QRgb> *palette, std::vector<double> scores)
{
    std::vector<QRgb> colours;
    for (const SpotColour &spot : spotColoursIn(image, edges, *palette, clean, most)) {
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
    std::vector<Oklab> seen;
    for (QRgb colour : *palette)
        seen.push_back(oklabOf(colour));
    for (Cell &cell : *cells) {
        cell.distance = std::numeric_limits<float>::max();
        for (std::size_t k = 0; k < palette->size(); ++k) {
            const float distance = seenDistance(cell.seen, seen[k]);
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
    std::vector<bool> flats;
    while (static_cast<int>(palette.size()) < most
           && takeNext(&cells, most, &palette, &scores, &flats)) { }
    dropNoise(image, edges, flats, &palette, &scores);
    const std::vector<QRgb> spots
        = takeSpotColours(image, edges, isClean(edges, cells), most, &palette, scores);
    if (palette.empty() && spots.empty()) {
        cells = cellsOf(image, edges, true);
        while (static_cast<int>(palette.size()) < most
               && takeNext(&cells, most, &palette, &scores, &flats)) { }
    }
    if (palette.empty() && spots.empty() && most > 0)
        takeLargest(cells, &palette);
    if (static_cast<int>(palette.size() + spots.size()) >= std::min<int>(most, kSteps)) {
        for (int i = 0; i < kMoves && !palette.empty(); ++i)
            moveToMeans(&cells, &palette);
    }
    palette.insert(palette.end(), spots.begin(), spots.end());
    if (edges.hasTransparentPixels())
        palette.push_back(0u);
    return palette;
}

} // namespace ztrace
