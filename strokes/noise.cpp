// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/noise.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace ztrace::strokes {

namespace {

const std::size_t kStep = 7;      // of so many pixels one is looked at
const std::size_t kPairApart = 4; // pixels between two whose difference tells the noise
const double kInkRank = 0.002;    // part of the pixels that is the darkest ink
const int kLineStep = 3;          // and of so many rows and columns one
const int kLongestBump = 4;       // pixels along the edge
const double kFewBumps = 3.0;     // that round ends and letters of a small picture have
const int kFlat = 2;              // pixels of straight edge to either side of a bump
// Of a page most of which may be ink: the part of its tones that are darker than its paper, the
// part of the ink's darkness that noise alone seldom has, and the part of all pairs that tells.
const double kPaperRank = 0.75;
const double kBareDepth = 0.25;
const double kLeastBare = 0.02;
const double kCleanPaper = 1.0; // lightnesses; between dots alone, paper tells no noise
const double kMostStray = 0.05; // part of the ink: of dots alone in .3 of a page .25, of lines none
// Deviation of a difference of two pixels over the median of its size.
const double kOfMedian = 1.0 / 0.954;

// Rows of a picture of two tones, or its columns.
class Lines
{
public:
    Lines(const InkPicture &p, bool c) : picture(p), areColumns(c) { }

    int count() const { return areColumns ? picture.width : picture.height; }
    int length() const { return areColumns ? picture.height : picture.width; }
    bool isInk(int line, int x) const
    {
        return areColumns ? picture.isInk(line, x) : picture.isInk(x, line);
    }
    bool isAll(bool ink, int line, int from, int to) const
    {
        for (int x = from; x < to; ++x) {
            if (isInk(line, x) != ink)
                return false;
        }
        return true;
    }

    // Whether what begins at x and goes on for so many pixels is a bump of an edge, or a dent.
    bool isBump(int line, int x, int pixels) const
    {
        const int end = x + pixels;
        const bool ink = isInk(line, x);
        if (x < kFlat || end + kFlat > length() || !isAll(!ink, line, x - kFlat, x)
            || !isAll(!ink, line, end, end + kFlat))
            return false;
        const auto liesOn = [&](int below, int above) {
            return isAll(ink, below, x - kFlat, end + kFlat) && isAll(!ink, above, x, end);
        };
        return liesOn(line + 1, line - 1) || liesOn(line - 1, line + 1);
    }

private:
    const InkPicture &picture;
    bool areColumns;
};

struct Edges
{
    std::size_t pixels = 0;
    std::size_t bumps = 0;
    std::size_t stray = 0;
};

void countEdges(const Lines &lines, Edges *edges)
{
    for (int line = 1; line + 1 < lines.count(); line += kLineStep) {
        int start = 0;
        for (int x = 0; x < lines.length(); ++x) {
            edges->pixels += lines.isInk(line, x) != lines.isInk(line + 1, x);
            if (x == 0 || lines.isInk(line, x) == lines.isInk(line, x - 1))
                continue;
            if (x - start <= kLongestBump && lines.isBump(line, start, x - start))
                ++edges->bumps;
            start = x;
        }
    }
}

// Whether at most one of the eight pixels around one of ink is ink.
bool isStray(const InkPicture &picture, int x, int y)
{
    int around = 0;
    for (int row = y - 1; row <= y + 1; ++row) {
        for (int column = x - 1; column <= x + 1; ++column)
            around += picture.isInk(column, row) ? 1 : 0;
    }
    return around <= 2;
}

void countStray(const InkPicture &picture, Edges *edges)
{
    for (int y = 1; y + 1 < picture.height; y += kLineStep) {
        for (int x = 1; x + 1 < picture.width; ++x) {
            if (picture.isInk(x, y) && isStray(picture, x, y))
                ++edges->stray;
        }
    }
}

// Bumps and dents of one pixel on edges that are straight on both sides of them, over the pixels of
// edges: noise makes them, and no line. Of lines that a threshold has left little of no edge is
// straight, but many pixels are alone.
bool isRagged(const InkPicture &picture)
{
    Edges edges;
    countEdges(Lines(picture, false), &edges);
    countEdges(Lines(picture, true), &edges);
    countStray(picture, &edges);
    return double(edges.bumps) > kFewBumps + kRagged * double(edges.pixels)
        || double(edges.stray) > kFewBumps + kStrayPart * double(edges.pixels);
}

// The tone that a part of the pixels looked at are darker than.
int quantile(const std::array<std::size_t, 256> &counts, double part)
{
    std::size_t all = 0;
    for (std::size_t count : counts)
        all += count;
    std::size_t seen = 0;
    for (std::size_t v = 0; v < counts.size(); ++v) {
        seen += counts[v];
        if (double(seen) > part * double(all))
            return int(v);
    }
    return 0;
}

// How many pairs of pixels differ by a lightness, or have it.
typedef std::array<std::size_t, 256> Counts;

double deviationOf(const Counts &differences)
{
    return kOfMedian * quantile(differences, 0.5);
}

// Whether a pixel and the four at its sides are lighter than that.
bool isBare(const InkPicture &picture, std::size_t pixel, int darkest)
{
    const int x = int(pixel % std::size_t(picture.width));
    const int y = int(pixel / std::size_t(picture.width));
    const auto isLight = [&](int u, int v) {
        return u < 0 || v < 0 || u >= picture.width || v >= picture.height
            || picture.grey[picture.at(u, v)] > darkest;
    };
    return isLight(x, y) && isLight(x - 1, y) && isLight(x + 1, y) && isLight(x, y - 1)
        && isLight(x, y + 1);
}

// The nearest bare pixel of the row at least kPairApart before one, of the next eight; else that
// one.
std::size_t bareBefore(const InkPicture &picture, std::size_t pixel, int darkest)
{
    const std::size_t first = pixel - pixel % std::size_t(picture.width);
    for (std::size_t apart = kPairApart; apart < kPairApart + 8; ++apart) {
        if (pixel >= first + apart && isBare(picture, pixel - apart, darkest))
            return pixel - apart;
    }
    return pixel;
}

// Whether many pixels of ink are alone, as in noise of dots on clean paper.
bool isOfDots(const InkPicture &picture)
{
    Edges edges;
    countStray(picture, &edges);
    std::size_t ink = 0;
    for (int y = 1; y + 1 < picture.height; y += kLineStep) {
        for (int x = 1; x + 1 < picture.width; ++x)
            ink += picture.isInk(x, y) ? 1u : 0u;
    }
    return double(edges.stray) > kMostStray * double(ink);
}

Counts tonesOf(const InkPicture &picture)
{
    Counts tones = {};
    const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
    for (std::size_t i = kPairApart; i < pixels; i += kStep)
        ++tones[std::size_t(picture.grey[i])];
    return tones;
}

int contrastOf(const Counts &tones, double paperRank)
{
    return std::max(1, quantile(tones, paperRank) - quantile(tones, kInkRank));
}

// Deviation of the paper's lightness, over what the ink is darker by. Of pixels some way apart:
// neighbours are alike where grain or a compression has blurred the noise. Most pixels are paper,
// and a threshold that lies in the noise tells nothing.
double paperNoise(const InkPicture &picture)
{
    Counts differences = {};
    const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
    for (std::size_t i = kPairApart; i < pixels; i += kStep)
        ++differences[std::size_t(std::abs(picture.grey[i - kPairApart] - picture.grey[i]))];
    const Counts tones = tonesOf(picture);
    const double noise = deviationOf(differences) / contrastOf(tones, 0.5);
    if (!(noise > kNoisy))
        return noise;
    return std::min(noise, bareDeviation(picture) / contrastOf(tones, kPaperRank));
}

} // namespace

bool isNoisy(const InkPicture &picture, bool hard)
{
    return hard ? isRagged(picture) : paperNoise(picture) > kNoisy;
}

double bareDeviation(const InkPicture &picture)
{
    const Counts tones = tonesOf(picture);
    const int darkest = quantile(tones, kPaperRank)
        - std::max(1, int(kBareDepth * contrastOf(tones, kPaperRank)));
    Counts differences = {};
    std::size_t bare = 0;
    std::size_t all = 0;
    const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
    for (std::size_t i = kPairApart; i < pixels; i += kStep) {
        ++all;
        const std::size_t other = isBare(picture, i, darkest) ? bareBefore(picture, i, darkest) : i;
        if (other == i)
            continue;
        ++bare;
        ++differences[std::size_t(std::abs(picture.grey[i] - picture.grey[other]))];
    }
    if (double(bare) < kLeastBare * double(all))
        return 255.0;
    const double deviation = deviationOf(differences);
    return deviation < kCleanPaper && isOfDots(picture) ? 255.0 : deviation;
}

std::vector<uint8_t> smoothed(const InkPicture &picture)
{
    const std::size_t width = std::size_t(picture.width);
    std::vector<uint8_t> result(width * std::size_t(picture.height));
    std::vector<int> sums(width);
    for (int y = 0; y < picture.height; ++y) {
        const uint8_t *row = picture.grey + picture.at(0, y);
        const uint8_t *above = y > 0 ? row - width : row;
        const uint8_t *below = y + 1 < picture.height ? row + width : row;
        for (std::size_t x = 0; x < width; ++x)
            sums[x] = above[x] + 2 * row[x] + below[x];
        uint8_t *out = result.data() + picture.at(0, y);
        for (std::size_t x = 0; x < width; ++x) {
            const int left = sums[x > 0 ? x - 1 : x];
            const int right = sums[x + 1 < width ? x + 1 : x];
            out[x] = uint8_t((left + 2 * sums[x] + right + 8) / 16);
        }
    }
    return result;
}

} // namespace ztrace::strokes
