// (c) the ztrace developers. Licence: see LICENSE.
#include "flattones.h"

#include <algorithm>
#include <cstdlib>

namespace ztrace {

namespace {

const int kRows = 256;      // looked at
const double kOfAll = 0.01; // of the pixels, in flat areas of a lightness that is drawn
const double kOfOwn = 0.5;  // of the pixels of that lightness
const int kSameTone = 8;    // see DrawnTone

// Sum of the squares of the distances from the mean, of the lightnesses from..to-1.
double squaresAboutMean(const Histogram &counts, int from, int to)
{
    double pixels = 0.0;
    double sum = 0.0;
    double squares = 0.0;
    for (int v = from; v < to; ++v) {
        const double count = counts[static_cast<std::size_t>(v)];
        pixels += count;
        sum += v * count;
        squares += double(v) * v * count;
    }
    return pixels > 0.0 ? squares - sum * sum / pixels : 0.0;
}

} // namespace

FlatTones flatTonesOf(const GreyPicture &page, int reach)
{
    FlatTones tones;
    const std::size_t width = static_cast<std::size_t>(page.width());
    std::vector<uint8_t> buffers[2] = { std::vector<uint8_t>(width), std::vector<uint8_t>(width) };
    const int step = std::max(1, page.height() / kRows);
    for (int y = 0; y + 1 < page.height(); y += step) {
        const uint8_t *row = page.row(y, buffers[0].data());
        const uint8_t *below = page.row(y + 1, buffers[1].data());
        for (std::size_t x = 0; x + 1 < width; ++x) {
            const int right = std::abs(row[x] - row[x + 1]);
            const int under = std::abs(row[x] - below[x]);
            tones.all[row[x]] += 1.0;
            const bool isFlat = (right | under) == 0 && below[x + 1] == row[x];
            tones.flat[row[x]] += isFlat;
            tones.calm[row[x]] += !isFlat && right <= reach && under <= reach;
        }
    }
    return tones;
}

std::vector<DrawnTone> drawnTones(const FlatTones &tones)
{
    double pixels = 0.0;
    for (double count : tones.all)
        pixels += count;
    std::vector<DrawnTone> found;
    for (int v = 0; v < 256; ++v) {
        const std::size_t place = static_cast<std::size_t>(v);
        const double flat = tones.flat[place];
        if (flat == 0.0 || flat < kOfAll * pixels || flat < kOfOwn * tones.all[place])
            continue;
        if (found.empty() || v - found.back().last > kSameTone)
            found.push_back({ v, v });
        found.back().last = v;
    }
    return found;
}

double shading(const FlatTones &tones, int threshold)
{
    const double whole = squaresAboutMean(tones.all, 0, 256);
    const double within = squaresAboutMean(tones.calm, 0, threshold + 1)
        + squaresAboutMean(tones.calm, threshold + 1, 256);
    return whole > 0.0 ? within / whole : 0.0;
}

} // namespace ztrace
