// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours of an image, and how different two of them are.
#ifndef ZTRACE_IMAGING_COLOUR_H
#define ZTRACE_IMAGING_COLOUR_H

#include <QImage>
#include <QRgb>

#include <cstdlib>

namespace ztrace {

// The words of a line of an image of 32 bits a pixel.
inline const QRgb *row(const QImage &image, int y)
{
    return reinterpret_cast<const QRgb *>(image.constScanLine(y));
}

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
    const QRgb *words = row(image, y);
    const QRgb own = words[x];
    const auto differs
        = [own](QRgb other) { return own != other && colourDistance(own, other) > kClearly; };
    return (x > 0 && differs(words[x - 1])) || (x + 1 < image.width() && differs(words[x + 1]))
        || (y > 0 && differs(row(image, y - 1)[x]))
        || (y + 1 < image.height() && differs(row(image, y + 1)[x]));
}

} // namespace ztrace

#endif
