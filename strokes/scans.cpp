// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/scans.h"

#include "strokes/noise.h"
#include "strokes/parts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace ztrace::strokes {

namespace {

const int kAround = 2;         // cells to either side that tell whether a cell is full of ink
const double kPaperRank = 0.6; // of the medians around; the lighter part of them is paper
const double kFull = 0.12;     // part that a cell full of ink is darker than those around by
// Parts of a cell that are darker than the threshold and lighter, and how much darker the middle of
// the dark part is than that of the light one: then the cell is a dense grid, and the light part
// alone is paper. Shaded paper that the threshold cuts is darker by its noise, a tenth.
const double kMuchInk = 0.42;
const double kSomePaper = 0.12;
const double kInkyPage = 0.25; // part of a page from which on ink counts in its noise
const double kTwoTones = 0.35;
const double kOfMedian = 1.4826;    // deviation of noise over the median of its size
const double kStandsOut = 4.5;      // deviations of the smoothed noise that ink is darker by
const double kContrastRank = 0.8;   // of what stands out, its darkness is that of the ink
const double kLeastContrast = 0.28; // of the ink's darkness: creases and shadows are less
// Of a part that is no line: pixels that a letter is wide and high at most, the part of it that is
// as dark as ink, and pixels that a pale part is long if it is to be told.
const int kLetterExtent = 64;
const double kStrongPart = 0.15;
const int kPaleExtent = 12;
const int kUnseenExtent = 64; // of what only the page's threshold says is ink; noise reaches 40
// Part of a cell's pixels that are less than one deviation darker than its paper; deviations of its
// quiet cells that the noise of a page is at most.
const double kDarkerDeviation = 0.8413;
const double kMostOfQuiet = 1.5;

typedef std::array<std::size_t, 256> Counts;

// The value that a part of all that are counted from `first` on are below.
int quantile(const Counts &counts, double part, int first = 0)
{
    std::size_t all = 0;
    for (int v = first; v < 256; ++v)
        all += counts[std::size_t(v)];
    std::size_t seen = 0;
    for (int v = first; v < 256; ++v) {
        seen += counts[std::size_t(v)];
        if (double(seen) > part * double(all))
            return v;
    }
    return 255;
}

std::size_t countOf(const Counts &counts)
{
    return std::accumulate(counts.begin(), counts.end(), std::size_t(0));
}

// The lightness of the paper, a number a cell.
class PaperMap
{
public:
    explicit PaperMap(const InkPicture &picture)
        : columns((picture.width + kPaperCell - 1) / kPaperCell),
          rows((picture.height + kPaperCell - 1) / kPaperCell)
    {
        for (int row = 0; row < rows; ++row) {
            for (int column = 0; column < columns; ++column)
                medians.push_back(medianOf(picture, column, row));
        }
        levels = medians;
        for (int row = 0; row < rows; ++row) {
            for (int column = 0; column < columns; ++column)
                levels[index(column, row)] = paperAt(column, row);
        }
    }

    // Of the whole page.
    double usual() const
    {
        std::vector<double> sorted = levels;
        const auto middle = sorted.begin() + std::ptrdiff_t(sorted.size() / 2);
        std::nth_element(sorted.begin(), middle, sorted.end());
        return *middle;
    }

    // Of the middles of the pixels of a row, by the cells around.
    void row(int y, std::vector<double> *paper) const
    {
        const double v = (y + 0.5) / kPaperCell - 0.5;
        const int top = std::clamp(int(std::floor(v)), 0, rows - 1);
        const int bottom = std::min(top + 1, rows - 1);
        const double down = std::clamp(v - top, 0.0, 1.0);
        std::vector<double> line;
        for (int c = 0; c < columns; ++c)
            line.push_back((1 - down) * levels[index(c, top)] + down * levels[index(c, bottom)]);
        for (std::size_t x = 0; x < paper->size(); ++x) {
            const double u = (double(x) + 0.5) / kPaperCell - 0.5;
            const int left = std::clamp(int(std::floor(u)), 0, columns - 1);
            const double along = std::clamp(u - left, 0.0, 1.0);
            (*paper)[x] = (1 - along) * line[std::size_t(left)]
                + along * line[std::size_t(std::min(left + 1, columns - 1))];
        }
    }

private:
    std::size_t index(int column, int row) const
    {
        return std::size_t(row) * std::size_t(columns) + std::size_t(column);
    }

    static double medianOf(const InkPicture &picture, int column, int row)
    {
        Counts counts = {};
        const int right = std::min(picture.width, (column + 1) * kPaperCell);
        const int bottom = std::min(picture.height, (row + 1) * kPaperCell);
        for (int y = row * kPaperCell; y < bottom; ++y) {
            for (int x = column * kPaperCell; x < right; ++x)
                ++counts[picture.grey[picture.at(x, y)]];
        }
        return quantile(counts, 0.5,
                        isHalfInk(counts, picture.threshold) ? picture.threshold + 1 : 0);
    }

    static bool isHalfInk(const Counts &counts, int threshold)
    {
        Counts dark = counts;
        std::fill(dark.begin() + threshold + 1, dark.end(), 0);
        const double all = double(countOf(counts));
        const double ink = double(countOf(dark));
        const int paper = quantile(counts, 0.5, threshold + 1);
        return ink > kMuchInk * all && all - ink > kSomePaper * all
            && paper - quantile(dark, 0.5) > kTwoTones * paper;
    }

    // Its own median, but for a cell that is darker than those around: it is full of ink.
    double paperAt(int column, int row) const
    {
        std::vector<double> around;
        for (int v = std::max(0, row - kAround); v <= std::min(rows - 1, row + kAround); ++v) {
            for (int u = std::max(0, column - kAround);
                 u <= std::min(columns - 1, column + kAround); ++u)
                around.push_back(medians[index(u, v)]);
        }
        const auto rank = around.begin() + std::ptrdiff_t(kPaperRank * double(around.size() - 1));
        std::nth_element(around.begin(), rank, around.end());
        const double own = medians[index(column, row)];
        return own < (1.0 - kFull) * *rank ? *rank : own;
    }

    int columns;
    int rows;
    std::vector<double> medians;
    std::vector<double> levels;
};

// How dark ink is against the paper: at least, and as a rule.
struct Darkness
{
    int above = 0; // of what is no noise
    int least = 0;
    int usual = 0;
};

// The deviation of noise in the quiet quarter of a page's cells: most of it may be a hatch. Of what
// is darker than paper alone; 0 where nothing is.
double quietNoise(const std::vector<uint8_t> &dark, const InkPicture &picture)
{
    std::vector<int> noises;
    for (int top = 0; top + kPaperCell <= picture.height; top += kPaperCell) {
        for (int left = 0; left + kPaperCell <= picture.width; left += kPaperCell) {
            Counts counts = {};
            for (int y = top; y < top + kPaperCell; ++y) {
                for (int x = left; x < left + kPaperCell; ++x)
                    ++counts[dark[picture.at(x, y)]];
            }
            noises.push_back(quantile(counts, kDarkerDeviation));
        }
    }
    if (noises.empty())
        return 255.0;
    const auto rank = noises.begin() + std::ptrdiff_t(noises.size() / 4);
    std::nth_element(noises.begin(), rank, noises.end());
    return *rank + 0.5;
}

Darkness darknessOf(const std::vector<uint8_t> &dark, const Counts &differences, double quiet)
{
    const double noise
        = std::min(kOfMedian * quantile(differences, 0.5), std::max(1.0, kMostOfQuiet * quiet));
    Counts counts = {};
    for (uint8_t value : dark)
        ++counts[value];
    const int above = int(std::ceil(kStandsOut * std::max(1.0, noise)));
    const int ink = quantile(counts, kContrastRank, std::min(above, 255));
    return { above, std::max(above, int(std::lround(kLeastContrast * ink))), ink };
}

// The largest of each value and those within kPeakReach, between cells a stride apart.
void spreadPeaks(const uint8_t *values, std::size_t count, std::size_t stride, uint8_t *peaks)
{
    std::copy(values, values + count, peaks);
    for (std::size_t step = 1; step <= std::size_t(kPeakReach); ++step) {
        const std::size_t away = step * stride;
        for (std::size_t i = away; i < count; ++i) {
            peaks[i] = std::max(peaks[i], values[i - away]);
            peaks[i - away] = std::max(peaks[i - away], values[i]);
        }
    }
}

const uint8_t kInk = 1;
const uint8_t kWeak = 2; // no noise, and paler than ink is as a rule
const uint8_t kSeenInk = 3;
const uint8_t kSeenWeak = 4;

// Weak cells of parts that are letters become ink, others paper; large ones of these are counted.
LeftOutParts settleWeak(Plane *ink)
{
    const auto takeIf = [ink](uint8_t from, uint8_t to) {
        return [ink, from, to](uint32_t cell) {
            const bool isNew = ink->cells[cell] == from;
            ink->cells[cell] = isNew ? to : ink->cells[cell];
            return isNew;
        };
    };
    const auto see = [ink](uint32_t cell) {
        uint8_t &value = ink->cells[cell];
        if (value != kInk && value != kWeak)
            return false;
        value = value == kInk ? kSeenInk : kSeenWeak;
        return true;
    };
    LeftOutParts pale;
    for (std::size_t first = 0; first < ink->cells.size(); ++first) {
        if (ink->cells[first] != kWeak)
            continue;
        const Part part = partAround(uint32_t(first), *ink, see);
        const auto strong = std::count_if(part.cells.begin(), part.cells.end(),
                                          [ink](uint32_t c) { return ink->cells[c] == kSeenInk; });
        if (part.extent() <= kLetterExtent && double(strong) >= kStrongPart * part.pixels()) {
            for (uint32_t cell : part.cells)
                ink->cells[cell] = kSeenInk;
            continue;
        }
        for (uint32_t cell : part.cells) {
            const Part weak = partAround(cell, *ink, takeIf(kSeenWeak, 0));
            if (weak.extent() >= kPaleExtent)
                pale.add(weak.pixels(), weak.x(), weak.y());
        }
    }
    for (uint8_t &cell : ink->cells)
        cell = cell != 0 ? 1 : 0;
    return pale;
}

// What the page's own threshold says is ink, and lies away from all ink that was found: lines so
// dense that they are taken for noise, or shadows.
void addUnseen(const std::vector<uint8_t> &dark, int least, const Plane &ink, LeftOutParts *pale)
{
    const std::size_t stride = std::size_t(ink.stride());
    std::vector<uint8_t> wide(ink.cells.size());
    std::vector<uint8_t> beside(ink.cells.size());
    spreadPeaks(ink.cells.data(), wide.size(), 1, wide.data());
    spreadPeaks(wide.data(), wide.size(), stride, beside.data());
    Plane unseen(ink.width, ink.height);
    for (int y = 0; y < ink.height; ++y) {
        for (int x = 0; x < ink.width; ++x) {
            const uint32_t cell = ink.cellOf(x, y);
            const std::size_t i = std::size_t(y) * std::size_t(ink.width) + std::size_t(x);
            unseen.cells[cell] = dark[i] >= least && beside[cell] == 0 ? 1 : 0;
        }
    }
    for (std::size_t first = 0; first < unseen.cells.size(); ++first) {
        if (unseen.cells[first] == 0)
            continue;
        const Part part = partAround(uint32_t(first), unseen, [&unseen](uint32_t cell) {
            const bool isNew = unseen.cells[cell] != 0;
            unseen.cells[cell] = 0;
            return isNew;
        });
        if (part.extent() >= kUnseenExtent)
            pale->add(part.pixels(), part.x(), part.y());
    }
}

} // namespace

EvenPage evenPageOf(const InkPicture &picture)
{
    const PaperMap map(picture);
    EvenPage page;
    page.paper = int(std::lround(map.usual()));
    page.grey.resize(std::size_t(picture.width) * std::size_t(picture.height));
    std::vector<double> paper(std::size_t(picture.width), 0.0);
    for (int y = 0; y < picture.height; ++y) {
        map.row(y, &paper);
        const uint8_t *row = picture.grey + picture.at(0, y);
        uint8_t *out = page.grey.data() + picture.at(0, y);
        for (std::size_t x = 0; x < paper.size(); ++x) {
            const double value = row[x] * (page.paper / std::max(1.0, paper[x]));
            out[x] = uint8_t(std::min(255.0, value + 0.5));
        }
    }
    return page;
}

NoisyInk inkOfNoisy(const InkPicture &picture, int paper, int least)
{
    std::vector<uint8_t> dark = smoothed(picture);
    InkPicture smooth = picture;
    smooth.grey = dark.data();
    // Of a page full of lines no cell is quiet.
    const double bare = bareDeviation(picture) < 255.0 ? bareDeviation(smooth) : 255.0;
    Counts differences = {};
    Counts inky = {};
    for (uint8_t &value : dark) {
        const int difference = paper - value;
        ++(value > picture.threshold ? differences
                                     : inky)[std::size_t(std::min(255, std::abs(difference)))];
        value = uint8_t(std::max(0, difference));
    }
    // The median hides what little ink a page has, but not half a page of it.
    if (double(countOf(inky)) < kInkyPage * double(dark.size())) {
        for (std::size_t v = 0; v < differences.size(); ++v)
            differences[v] += inky[v];
    }
    Darkness darkness = darknessOf(dark, differences, std::min(bare, quietNoise(dark, picture)));
    if (least > 0)
        darkness.least = std::max(least, darkness.above);
    const std::size_t width = std::size_t(picture.width);
    std::vector<uint8_t> wide(dark.size());
    for (int y = 0; y < picture.height; ++y)
        spreadPeaks(dark.data() + picture.at(0, y), width, 1, wide.data() + picture.at(0, y));
    std::vector<uint8_t> peaks(dark.size());
    spreadPeaks(wide.data(), wide.size(), width, peaks.data());
    NoisyInk result = { Plane(picture.width, picture.height), paper - darkness.usual / 2, {} };
    Plane &ink = result.ink;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const std::size_t i = picture.at(x, y);
            const bool isPeak = 2 * dark[i] > peaks[i] && dark[i] >= darkness.above;
            ink.cells[ink.cellOf(x, y)]
                = isPeak ? (dark[i] >= darkness.least ? kInk : kWeak) : uint8_t(0);
        }
    }
    result.pale = settleWeak(&ink);
    // Where most of the page is darker than its threshold, what is darker than the rest by noise.
    const int unseen = std::max(paper - picture.threshold, int(darkness.above / kStandsOut));
    addUnseen(dark, unseen, ink, &result.pale);
    return result;
}

int lightestOf(const InkPicture &picture)
{
    const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
    return pixels > 0 ? *std::max_element(picture.grey, picture.grey + pixels) : 255;
}

} // namespace ztrace::strokes
