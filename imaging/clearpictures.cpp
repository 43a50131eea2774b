// (c) the ztrace developers. Licence: see LICENSE.
#include "clearpictures.h"

#include "colour.h"

#include <QHash>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace ztrace {

namespace {

const int kColours = 4;
const int kAlike = 8;          // steps of 255 of each channel: rounding, and what scaling leaves
const int kMostlyOpaque = 128; // alpha of a pixel whose colour can be told

bool isAlike(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) <= kAlike && std::abs(qGreen(a) - qGreen(b)) <= kAlike
        && std::abs(qBlue(a) - qBlue(b)) <= kAlike;
}

// Colours and their pixels, the commonest first; equally common ones by their value.
std::vector<std::pair<long long, QRgb>> colourCounts(const QImage &image)
{
    QHash<QRgb, long long> counts;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(words[x]) >= kMostlyOpaque)
                ++counts[words[x] & 0x00FFFFFFu];
        }
    }
    std::vector<std::pair<long long, QRgb>> colours;
    for (auto it = counts.constBegin(); it != counts.constEnd(); ++it)
        colours.push_back({ -it.value(), it.key() });
    std::sort(colours.begin(), colours.end());
    for (auto &colour : colours)
        colour.first = -colour.first;
    return colours;
}

} // namespace

double commonColoursShare(const QImage &image)
{
    std::vector<std::pair<long long, QRgb>> colours = colourCounts(image);
    long long all = 0;
    for (const auto &colour : colours)
        all += colour.first;
    long long common = 0;
    for (int k = 0; k < kColours && !colours.empty(); ++k) {
        const QRgb commonest = colours.front().second;
        const auto rest
            = std::stable_partition(colours.begin(), colours.end(), [&](const auto &colour) {
                  return !isAlike(colour.second, commonest);
              });
        for (auto it = rest; it != colours.end(); ++it)
            common += it->first;
        colours.erase(rest, colours.end());
    }
    return all > 0 ? double(common) / double(all) : 0.0;
}

} // namespace ztrace
