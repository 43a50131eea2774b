// (c) the ztrace developers. Licence: see LICENSE.
#include "greyinterpolation.h"

#include <algorithm>

namespace ztrace {

namespace {

const double kOpaque = 255.0; // weight of a pixel, as colours have theirs by their alpha

} // namespace

GreyInterpolation::Taps GreyInterpolation::tapsOf(int part, int factor)
{
    const double offset = (2.0 * part + 1.0 - factor) / (2.0 * factor); // from the pixel's middle
    const double t = offset < 0.0 ? offset + 1.0 : offset;
    Taps taps;
    taps.first = offset < 0.0 ? -2 : -1;
    taps.weights = { ((-t + 2.0) * t - 1.0) * t / 2.0, ((3.0 * t - 5.0) * t * t + 2.0) / 2.0,
                     ((-3.0 * t + 4.0) * t + 1.0) * t / 2.0, (t - 1.0) * t * t / 2.0 };
    return taps;
}

GreyInterpolation::GreyInterpolation(const GreyPicture &p, int f)
    : page(p), factor(f), width(p.width())
{
    for (int part = 0; part < factor; ++part)
        taps.push_back(tapsOf(part, factor));
    for (const Taps &down : taps) {
        for (const Taps &across : taps) {
            std::array<double, 16> products;
            double sum = 0.0;
            for (std::size_t k = 0; k < 16; ++k) {
                products[k] = down.weights[k / 4] * across.weights[k % 4] * kOpaque;
                sum += products[k];
            }
            weights.push_back(products);
            sums.push_back(sum);
        }
    }
}

GreyInterpolation::Lines GreyInterpolation::linesAt(int y) const
{
    Lines lines;
    for (int k = 0; k < 5; ++k) {
        const int row = std::max(0, std::min(page.height() - 1, y + k - 2));
        lines[static_cast<std::size_t>(k)] = page.row(row, nullptr);
    }
    return lines;
}

int GreyInterpolation::lightness(const Lines &lines, int x, int i, int j) const
{
    const std::size_t place = static_cast<std::size_t>(j * factor + i);
    const std::array<double, 16> &weight = weights[place];
    const int firstRow = taps[static_cast<std::size_t>(j)].first + 2;
    const int left = x + taps[static_cast<std::size_t>(i)].first;
    std::array<int, 4> columns;
    for (int k = 0; k < 4; ++k)
        columns[static_cast<std::size_t>(k)] = std::max(0, std::min(width - 1, left + k));
    double sum = 0.0;
    for (std::size_t k = 0; k < 16; ++k) {
        const uint8_t *line = lines[static_cast<std::size_t>(firstRow) + k / 4];
        sum += weight[k] * line[columns[k % 4]];
    }
    const double value = sum / sums[place];
    return static_cast<int>(std::max(0.0, std::min(255.0, value)) + 0.5);
}

} // namespace ztrace
