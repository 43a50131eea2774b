// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/InkPicture.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Every so many pixels one is looked at for the tone of the paper.
const std::size_t kPaperStep = 13;
// Part of the tones along the middle of the ink that is darker than its tone. Thin lines are
// lightened by the paper beside them, so the tone of ink lies below their median.
const double kInkQuantile = 0.5;

typedef std::array<std::size_t, 256> Counts;

double quantile(const Counts &counts, double part, double none)
{
    std::size_t all = 0;
    for (std::size_t count : counts)
        all += count;
    if (all == 0)
        return none;
    std::size_t seen = 0;
    for (std::size_t tone = 0; tone < counts.size(); ++tone) {
        seen += counts[tone];
        if (double(seen) > part * double(all))
            return double(tone);
    }
    return 255.0;
}

// Of a pixel and those at its sides: where a line runs between two, one of them may be all ink.
uint8_t darkestAround(const InkPicture &picture, int x, int y)
{
    uint8_t least = picture.grey[picture.at(x, y)];
    const int steps[][2] = { { 1, 0 }, { -1, 0 }, { 0, 1 }, { 0, -1 } };
    for (const auto &step : steps) {
        const int u = x + step[0];
        const int v = y + step[1];
        if (u >= 0 && v >= 0 && u < picture.width && v < picture.height)
            least = std::min(least, picture.grey[picture.at(u, v)]);
    }
    return least;
}

} // namespace

Coverage::Coverage(const InkPicture &picture, double inkTone, double paperTone) : ink(picture)
{
    const double span = std::max(1.0, paperTone - inkTone);
    for (int tone = 0; tone < 256; ++tone)
        part[tone] = float(std::clamp((paperTone - tone) / span, 0.0, 1.0));
}

double Coverage::at(Point p) const
{
    const double x = p.x - 0.5;
    const double y = p.y - 0.5;
    const int left = int(std::floor(x));
    const int top = int(std::floor(y));
    const double u = x - left;
    const double v = y - top;
    if (left >= 0 && top >= 0 && left + 1 < ink.width && top + 1 < ink.height) {
        const uint8_t *row = ink.grey + ink.at(left, top);
        const uint8_t *below = row + ink.width;
        return (1 - v) * ((1 - u) * double(part[row[0]]) + u * double(part[row[1]]))
            + v * ((1 - u) * double(part[below[0]]) + u * double(part[below[1]]));
    }
    return (1 - v) * ((1 - u) * ofPixel(left, top) + u * ofPixel(left + 1, top))
        + v * ((1 - u) * ofPixel(left, top + 1) + u * ofPixel(left + 1, top + 1));
}

InkTones tonesAlong(const InkPicture &picture, const Plane &plane,
                    const std::vector<uint32_t> &cells)
{
    Counts ink = {};
    for (uint32_t cell : cells)
        ++ink[darkestAround(picture, plane.xOf(cell), plane.yOf(cell))];
    Counts paper = {};
    const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
    for (std::size_t i = 0; i < pixels; i += kPaperStep) {
        if (picture.grey[i] > picture.threshold)
            ++paper[picture.grey[i]];
    }
    InkTones tones;
    tones.ink = quantile(ink, kInkQuantile, 0.0);
    tones.paper = std::max(quantile(paper, 0.5, 255.0), tones.ink + 1.0);
    return tones;
}

} // namespace ztrace::strokes
