// (c) the ztrace developers. Licence: see LICENSE.
#include "dither.h"

#include "colour.h"

#include <QHash>

#include <algorithm>
#include <functional>
#include <numeric>
#include <vector>

namespace ztrace {

namespace {

const int kRows = 256; // looked at
const int kAlike = 12; // colourDistance of the colours of a pattern: a step of 4 of each channel
const int kColours = 16;

bool isDithered(const QRgb *row, const QRgb *below, const QRgb *second, int x)
{
    const QRgb word = row[x];
    if (word != row[x + 2] || word != second[x] || word != second[x + 2])
        return false;
    const bool isFlat = word == row[x + 1] && word == below[x] && word == below[x + 1];
    return !isFlat && colourDistance(word, row[x + 1]) <= kAlike
        && colourDistance(word, below[x]) <= kAlike && colourDistance(word, below[x + 1]) <= kAlike;
}

long long commonest(const QHash<QRgb, int> &counts)
{
    QList<int> pixels = counts.values();
    std::sort(pixels.begin(), pixels.end(), std::greater<int>());
    return std::accumulate(pixels.begin(), pixels.begin() + std::min(kColours, pixels.size()), 0LL);
}

} // namespace

double ditheredShare(const QImage &image)
{
    QHash<QRgb, int> counts;
    long long pixels = 0;
    const int step = std::max(1, image.height() / kRows);
    for (int y = 0; y + 2 < image.height(); y += step) {
        const QRgb *const top = row(image, y);
        const QRgb *const below = row(image, y + 1);
        const QRgb *const second = row(image, y + 2);
        for (int x = 0; x + 2 < image.width(); ++x) {
            if (isDithered(top, below, second, x))
                ++counts[top[x]];
        }
        pixels += std::max(0, image.width() - 2);
    }
    return pixels > 0 ? double(commonest(counts)) / double(pixels) : 0.0;
}

} // namespace ztrace
