// (c) the ztrace developers. Licence: see LICENSE.
//
// Pictures as they are seen on white.
#ifndef ZTRACE_TRACING_OPAQUE_H
#define ZTRACE_TRACING_OPAQUE_H

#include "imaging/failure.h"

#include <QImage>

namespace ztrace {

inline QRgb overWhite(QRgb pixel)
{
    const int alpha = qAlpha(pixel);
    const auto over = [alpha](int value) { return 255 - alpha * (255 - value) / 255; };
    return qRgb(over(qRed(pixel)), over(qGreen(pixel)), over(qBlue(pixel)));
}

// In 32 bits a pixel, over white.
inline QImage opaque(const QImage &image)
{
    QImage result = image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                                  : QImage::Format_RGB32);
    if (result.isNull())
        throwNoRoom();
    for (int y = 0; image.hasAlphaChannel() && y < result.height(); ++y) {
        QRgb *row = reinterpret_cast<QRgb *>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x)
            row[x] = overWhite(row[x]);
    }
    return result;
}

} // namespace ztrace

#endif
