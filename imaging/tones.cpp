// (c) the ztrace developers. Licence: see LICENSE.
//
// Uneven light is told by tiles of the page. Measured on scans and photographs of pages from
// Debian's packages and on drawn ones with shadows: docs/imaging/light.md.
#include "tones.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace ztrace {

namespace {

const int kTiles = 24;           // along the longer side
const int kLeastTile = 8;        // pixels
const double kPaperRank = 0.9;   // of a tile's lightnesses, the paper's
const double kLitPaper = 0.8;    // lightness of paper in full light; 0 is ink, 1 the lightest paper
const double kGradually = 0.2;   // largest step from tile to tile
const double kMargin = 0.05;     // of paper above a threshold
const double kInk = 0.15;        // tiles below are solid ink
const double kLeastShare = 0.01; // of tiles in the shade
// Paper of a page: from tile to tile it changes by so much more on so few borders of tiles.
const double kGentleStep = 0.08;
const double kRoughBorders = 0.04;
// A drawing that is no scan: its ground has so many of the pixels, of its very lightness, ...
const double kPureGround = 0.5;
const int kNoiseReach = 3; // ... and so few of them are so near to it, or at the next lightness ...
const int kFewGreys = 32;  // ... so far off: scans of four bits have steps of 17, brightened more
const double kPureNoise = 0.05;
const double kPureInk = 0.05; // ... of the others so many are ink without any ground in it.
const double kWhole = 0.005;  // of the ink of a drawing: so much of it is whole, if thin
const int kSameTone = 2;      // steps of rounding that pixels of one flat tone may differ by
const int kNoInkBeyond = 127; // threshold of a page without any contrast

typedef std::array<uint32_t, 256> Counts;

// Stretches of one lightness, which pages consist of, are counted eight pixels at a time; others in
// two tables, since adding to one number over and over makes the processor wait.
void countRow(const uint8_t *row, int width, Counts *even, Counts *odd)
{
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        uint64_t word;
        std::memcpy(&word, row + x, sizeof word);
        if (word == row[x] * 0x0101010101010101u) {
            (*even)[row[x]] += 8;
            continue;
        }
        for (int i = 0; i < 8; i += 2) {
            ++(*even)[row[x + i]];
            ++(*odd)[row[x + i + 1]];
        }
    }
    for (; x < width; ++x)
        ++(*even)[row[x]];
}

int paperIn(const Counts &counts)
{
    double pixels = 0.0;
    for (uint32_t count : counts)
        pixels += count;
    int lightness = 0;
    for (double sum = 0.0; lightness < 255; ++lightness) {
        sum += counts[static_cast<std::size_t>(lightness)];
        if (sum >= kPaperRank * pixels)
            break;
    }
    return lightness;
}

// One row of tiles.
void countTiles(const GreyPicture &page, int top, int bottom, int side, Tones *tones)
{
    std::vector<Counts> even(static_cast<std::size_t>(tones->columns), Counts());
    std::vector<Counts> odd = even;
    for (int y = top; y < bottom; ++y) {
        const uint8_t *row = page.row(y, nullptr);
        for (std::size_t column = 0; column < even.size(); ++column) {
            const int left = static_cast<int>(column) * side;
            countRow(row + left, std::min(side, page.width() - left), &even[column], &odd[column]);
        }
    }
    for (std::size_t column = 0; column < even.size(); ++column) {
        for (std::size_t v = 0; v < 256; ++v) {
            even[column][v] += odd[column][v];
            tones->counts[v] += even[column][v];
        }
        tones->papers.push_back(paperIn(even[column]));
    }
}

// Sums of pairs, fours and eights of bits, side by side.
uint64_t onesIn(uint64_t word)
{
    if (word == 0)
        return 0;
    word -= (word >> 1) & 0x5555555555555555u;
    word = (word & 0x3333333333333333u) + ((word >> 2) & 0x3333333333333333u);
    word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0Fu;
    return (word * 0x0101010101010101u) >> 56;
}

void countBits(const GreyPicture &page, Tones *tones)
{
    double ones = 0.0;
    for (int y = 0; y < page.height(); ++y) {
        const uint8_t *bits = page.bits(y);
        uint64_t inRow = 0;
        int x = 0;
        for (; x + 64 <= page.width(); x += 64) {
            uint64_t word;
            std::memcpy(&word, bits + x / 8, sizeof word);
            inRow += onesIn(word);
        }
        for (; x < page.width(); ++x)
            inRow += (static_cast<unsigned>(bits[x >> 3]) >> (7 - (x & 7))) & 1u;
        ones += double(inRow);
    }
    const double pixels = double(page.width()) * double(page.height());
    tones->counts[page.toneOf(0)] += pixels - ones;
    tones->counts[page.toneOf(1)] += ones;
}

class Tiles
{
public:
    explicit Tiles(const Tones &tones)
        : columns(tones.columns), rows(tones.rows), papers(tones.papers)
    { }

    // Papers between ink, 0, and the lightest, 1.
    void scale(double ink)
    {
        std::vector<double> sorted = papers;
        std::sort(sorted.begin(), sorted.end());
        const double lightest = sorted[sorted.size() * 9 / 10];
        range = std::max(1.0, lightest - ink);
        for (double &paper : papers)
            paper = (paper - ink) / range;
    }

    // Share of the tiles whose paper lies below, reached from paper in full light step by step, and
    // connected with the rim of the page in the same way: what is dark in its middle is drawn.
    double shareInShade(double below) const
    {
        std::vector<bool> isLit(papers.size(), false);
        std::vector<bool> atRim(papers.size(), false);
        for (std::size_t i = 0; i < papers.size(); ++i) {
            const int column = static_cast<int>(i) % columns;
            const int row = static_cast<int>(i) / columns;
            isLit[i] = papers[i] >= kLitPaper;
            atRim[i] = column == 0 || row == 0 || column == columns - 1 || row == rows - 1;
        }
        const std::vector<bool> gradual
            = reachedFrom(isLit, [this](std::size_t from, std::size_t to) {
                  return papers[to] >= kInk && papers[to] >= papers[from] - kGradually;
              });
        std::vector<bool> shade(papers.size(), false);
        for (std::size_t i = 0; i < papers.size(); ++i)
            shade[i] = gradual[i] && papers[i] < below;
        std::vector<bool> start(papers.size(), false);
        for (std::size_t i = 0; i < papers.size(); ++i)
            start[i] = shade[i] && atRim[i];
        const std::vector<bool> counted
            = reachedFrom(start, [&shade](std::size_t, std::size_t to) { return bool(shade[to]); });
        return double(std::count(counted.begin(), counted.end(), true)) / double(papers.size());
    }

    // Share of the borders between tiles where the paper changes by more than that.
    double shareOfSteps(double step) const
    {
        double borders = 0.0;
        double steps = 0.0;
        const auto count = [&](std::size_t a, std::size_t b) {
            borders += 1.0;
            steps += std::fabs(papers[a] - papers[b]) > step;
        };
        for (std::size_t i = 0; i < papers.size(); ++i) {
            if (static_cast<int>(i) % columns + 1 < columns)
                count(i, i + 1);
            if (i + static_cast<std::size_t>(columns) < papers.size())
                count(i, i + static_cast<std::size_t>(columns));
        }
        return borders > 0.0 ? steps / borders : 1.0;
    }

    double range = 1.0; // from ink to the lightest paper

private:
    // The tiles of a start, and those that steps to the side lead to.
    template<class MayStep>
    std::vector<bool> reachedFrom(std::vector<bool> reached, const MayStep &mayStep) const
    {
        std::vector<std::size_t> open;
        for (std::size_t i = 0; i < reached.size(); ++i) {
            if (reached[i])
                open.push_back(i);
        }
        while (!open.empty()) {
            const std::size_t from = open.back();
            open.pop_back();
            const int column = static_cast<int>(from) % columns;
            const int row = static_cast<int>(from) / columns;
            const int steps[4][2] = { { -1, 0 }, { 1, 0 }, { 0, -1 }, { 0, 1 } };
            for (const auto &step : steps) {
                const int toColumn = column + step[0];
                const int toRow = row + step[1];
                if (toColumn < 0 || toRow < 0 || toColumn >= columns || toRow >= rows)
                    continue;
                const std::size_t to = static_cast<std::size_t>(toRow * columns + toColumn);
                if (reached[to] || !mayStep(from, to))
                    continue;
                reached[to] = true;
                open.push_back(to);
            }
        }
        return reached;
    }

    int columns;
    int rows;
    std::vector<double> papers;
};

double inkIn(const Histogram &counts)
{
    const double kDarkest = 0.005; // of the pixels
    double pixels = 0.0;
    for (double count : counts)
        pixels += count;
    std::size_t lightness = 0;
    for (double sum = counts[0]; sum < kDarkest * pixels; sum += counts[++lightness]) { }
    return double(lightness);
}

} // namespace

int Tones::lightnesses() const
{
    return 256 - static_cast<int>(std::count(counts.begin(), counts.end(), 0.0));
}

Tones tonesOf(const GreyPicture &page)
{
    Tones tones;
    if (page.isBilevel()) {
        countBits(page, &tones);
        return tones;
    }
    const int side = std::max(kLeastTile, std::max(page.width(), page.height()) / kTiles);
    tones.columns = (page.width() + side - 1) / side;
    tones.rows = (page.height() + side - 1) / side;
    for (int top = 0; top < page.height(); top += side)
        countTiles(page, top, std::min(top + side, page.height()), side, &tones);
    return tones;
}

int otsuThreshold(const Histogram &counts)
{
    double total = 0.0;
    double sum = 0.0;
    for (std::size_t v = 0; v < counts.size(); ++v) {
        total += counts[v];
        sum += double(v) * counts[v];
    }
    double below = 0.0;
    double sumBelow = 0.0;
    double best = 0.0;
    int first = kNoInkBeyond;
    int last = kNoInkBeyond;
    for (std::size_t v = 0; v < counts.size(); ++v) {
        below += counts[v];
        sumBelow += double(v) * counts[v];
        const double above = total - below;
        if (below == 0.0 || above == 0.0)
            continue;
        const double difference = sumBelow / below - (sum - sumBelow) / above;
        const double variance = below * above * difference * difference;
        if (variance > best) {
            best = variance;
            first = last = static_cast<int>(v);
        } else if (variance == best && best > 0.0) {
            last = static_cast<int>(v);
        }
    }
    return (first + last) / 2;
}

namespace {

// Where a drawing that was never scanned has its ground: a lightness that most pixels have exactly,
// with next to nothing beside it. -1 where there is none.
int pureGround(const Histogram &counts)
{
    const auto commonest = std::max_element(counts.begin(), counts.end());
    const double total = std::accumulate(counts.begin(), counts.end(), 0.0);
    const int ground = static_cast<int>(commonest - counts.begin());
    double beside = 0.0;
    for (int side : { -1, 1 }) {
        double found = 0.0;
        for (int step = 1; step <= (found > 0.0 ? kNoiseReach : kFewGreys); ++step) {
            const int v = ground + side * step;
            found += v < 0 || v > 255 ? 0.0 : double(counts[static_cast<std::size_t>(v)]);
        }
        beside += found;
    }
    const double own = double(*commonest);
    return own >= kPureGround * total && beside <= kPureNoise * own ? ground : -1;
}

// From `first`, the darkest or the lightest, towards `end`: the lightness that this share of the
// pixels before `end` have or go beyond; `none` where there are no pixels.
int purest(const Histogram &counts, int first, int end, double share, int none)
{
    const int step = first < end ? 1 : -1;
    double all = 0.0;
    for (int v = first; v != end; v += step)
        all += counts[static_cast<std::size_t>(v)];
    double beyond = 0.0;
    for (int v = first; v != end; v += step) {
        beyond += counts[static_cast<std::size_t>(v)];
        if (beyond >= share * all && beyond > 0.0)
            return v;
    }
    return none;
}

// The lightness of what lies on a ground of the darker half, or the lighter one.
int inkOn(const Histogram &counts, int ground)
{
    return purest(counts, ground > kNoInkBeyond ? 0 : 255, ground, kPureInk, ground);
}

} // namespace

int inkThreshold(const Histogram &counts)
{
    if (!isDrawn(counts))
        return otsuThreshold(counts);
    const int ground = pureGround(counts);
    const int ink = inkOn(counts, ground);
    return (std::min(ink, ground) + std::max(ink, ground)) / 2;
}

InkTones inkTones(const Histogram &counts, int threshold)
{
    const int end = std::max(0, std::min(255, threshold + 1));
    return { purest(counts, 0, end, kWhole, 0), purest(counts, 255, end - 1, kWhole, 255) };
}

bool isSeenFlat(const GreyPicture &page, int lightness)
{
    const auto isIt = [lightness](uint8_t v) { return std::abs(v - lightness) <= kSameTone; };
    for (int y = 0; y < page.height(); ++y) {
        const uint8_t *row = page.row(y, nullptr);
        const uint8_t *below[2] = { row, row };
        for (int k = 0; k < 2 && y + 2 < page.height(); ++k)
            below[k] = page.row(y + 1 + k, nullptr);
        for (int x = 0; x < page.width(); ++x) {
            if (!isIt(row[x]))
                continue;
            if ((x + 2 < page.width() && isIt(row[x + 1]) && isIt(row[x + 2]))
                || (below[0] != row && isIt(below[0][x]) && isIt(below[1][x])))
                return true;
        }
    }
    return false;
}

bool isDrawn(const Histogram &counts)
{
    const auto used = [](auto count) { return count > 0; };
    return std::count_if(counts.begin(), counts.end(), used) > 2 && pureGround(counts) >= 0;
}

double unevenness(const Histogram &counts, int threshold)
{
    double pixels[2] = { 0.0, 0.0 };
    double sums[2] = { 0.0, 0.0 };
    double squares = 0.0;
    for (int v = 0; v < 256; ++v) {
        const double count = counts[static_cast<std::size_t>(v)];
        pixels[v > threshold] += count;
        sums[v > threshold] += v * count;
        squares += double(v) * v * count;
    }
    const double total = pixels[0] + pixels[1];
    const double mean = (sums[0] + sums[1]) / total;
    const double variance = squares - total * mean * mean;
    double within = squares;
    for (int side = 0; side < 2; ++side) {
        if (pixels[side] > 0.0)
            within -= sums[side] * sums[side] / pixels[side];
    }
    return variance > 0.0 ? within / variance : 0.0;
}

bool isUnevenlyLit(const Tones &tones)
{
    if (tones.lightnesses() <= 2)
        return false;
    const double ink = inkIn(tones.counts);
    Tiles tiles(tones);
    tiles.scale(ink);
    const double below = (otsuThreshold(tones.counts) - ink) / tiles.range + kMargin;
    return tiles.shareInShade(below) >= kLeastShare;
}

bool isGraduallyLit(const Tones &tones)
{
    if (tones.papers.empty() || tones.lightnesses() <= 2)
        return false;
    Tiles tiles(tones);
    tiles.scale(inkIn(tones.counts));
    return tiles.shareOfSteps(kGentleStep) <= kRoughBorders;
}

} // namespace ztrace
