// (c) the ztrace developers. Licence: see LICENSE.
//
// How different two colours are.
#ifndef ZTRACE_CLI_COLOUR_H
#define ZTRACE_CLI_COLOUR_H

#include <QImage>
#include <QRgb>

#include <cstdlib>

namespace ztrace {

// Sum of the channels' differences, alpha counted four times: the engine's own measure, but for
// fully transparent colours, which have only their transparency.
inline int colourDistance(QRgb a, QRgb b)
{
    if (qAlpha(a) == 0 || qAlpha(b) == 0)
        return 4 * std::abs(qAlpha(a) - qAlpha(b));
    return std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b))
        + std::abs(qBlue(a) - qBlue(b)) + 4 * std::abs(qAlpha(a) - qAlpha(b));
}

// Whether the pixel of an ARGB32 image differs clearly from one of its four neighbours.
inline bool isEdge(const QImage &image, int x, int y)
{
    const int kClearly = 24; // colourDistance; shading from pixel to pixel stays below
    const QRgb *words = reinterpret_cast<const QRgb *>(image.constScanLine(y));
    const QRgb own = words[x];
    const auto differs
        = [own](QRgb other) { return own != other && colourDistance(own, other) > kClearly; };
    return (x > 0 && differs(words[x - 1])) || (x + 1 < image.width() && differs(words[x + 1]))
        || (y > 0 && differs(reinterpret_cast<const QRgb *>(image.constScanLine(y - 1))[x]))
        || (y + 1 < image.height()
            && differs(reinterpret_cast<const QRgb *>(image.constScanLine(y + 1))[x]));
}

} // namespace ztrace

#endif
