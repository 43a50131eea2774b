// (c) the ztrace developers. Licence: see LICENSE.
#include "reduction.h"

#include <algorithm>
#include <utility>

namespace ztrace {

Reduction::Reduction(int alpha, int lightness) : alphaLimit(alpha), lightnessLimit(lightness) { }

int Reduction::lightness(QRgb word)
{
    const int red = qRed(word);
    const int green = qGreen(word);
    const int blue = qBlue(word);
    const int largest = std::max(red, std::max(green, blue));
    const int smallest = std::min(red, std::min(green, blue));
    if (lightnessByExtremes.empty())
        lightnessByExtremes.assign(static_cast<size_t>(256) * 256, -1);
    short &known
        = lightnessByExtremes[256 * static_cast<size_t>(largest) + static_cast<size_t>(smallest)];
    if (known < 0) {
        QColor colour;
        colour.setRgb(red, green, blue);
        known = static_cast<short>(colour.lightness());
    }
    return known;
}

QRgb Reduction::reduced(QRgb word)
{
    if (qAlpha(word) > alphaLimit)
        return kBlackWord;
    return lightness(word) > lightnessLimit ? kBlackWord : kWhiteWord;
}

void Reduction::reduceRow(const QRgb *source, QRgb *target, int width)
{
    // Scans have two words, in runs: the last two are remembered, and runs are taken by eights.
    const int kRun = 8;
    QRgb last = 0;
    QRgb lastReduced = reduced(last);
    QRgb previous = last;
    QRgb previousReduced = lastReduced;
    int x = 0;
    while (x < width) {
        QRgb difference = 0;
        if (x + kRun <= width) {
            for (int i = 0; i < kRun; ++i)
                difference |= source[x + i] ^ last;
            if (difference == 0) {
                for (int i = 0; i < kRun; ++i)
                    target[x + i] = lastReduced;
                x += kRun;
                continue;
            }
        }
        const int end = std::min(x + kRun, width);
        for (; x < end; ++x) {
            const QRgb word = source[x];
            if (word != last) {
                std::swap(last, previous);
                std::swap(lastReduced, previousReduced);
                if (word != last) {
                    last = word;
                    lastReduced = reduced(word);
                }
            }
            target[x] = lastReduced;
        }
    }
}

} // namespace ztrace
