// (c) the ztrace developers. Licence: see LICENSE.
#include "reduction.h"

#include <algorithm>

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
        lightnessByExtremes.assign(256 * 256, -1);
    short &known = lightnessByExtremes[static_cast<size_t>(largest * 256 + smallest)];
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
    // Neighbours are often equal, in scans nearly always: eight at a time when they are.
    const int kRun = 8;
    QRgb last = 0;
    QRgb lastReduced = reduced(last);
    int x = 0;
    while (x < width) {
        const int end = std::min(x + kRun, width);
        QRgb difference = 0;
        if (end == x + kRun) {
            for (int i = 0; i < kRun; ++i)
                difference |= source[x + i] ^ last;
        }
        if (end == x + kRun && difference == 0) {
            for (int i = 0; i < kRun; ++i)
                target[x + i] = lastReduced;
            x = end;
            continue;
        }
        for (; x < end; ++x) {
            const QRgb word = source[x];
            if (word != last) {
                last = word;
                lastReduced = reduced(word);
            }
            target[x] = lastReduced;
        }
    }
}

} // namespace ztrace
