// (c) the ztrace developers. Licence: see LICENSE.
#include "leptonica.h"

#include "failure.h"

#include <QColor>

namespace ztrace {

PixPtr greyPixOf(const QImage &image)
{
    setMsgSeverity(L_SEVERITY_NONE);
    PixPtr pix(pixCreate(image.width(), image.height(), 8));
    if (!pix)
        throwNoRoom();
    const int stride = pixGetWpl(pix.get());
    for (int y = 0; y < image.height(); ++y) {
        l_uint32 *line = pixGetData(pix.get()) + static_cast<std::ptrdiff_t>(y) * stride;
        const QRgb *words = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x)
            SET_DATA_BYTE(line, x, static_cast<l_uint8>(QColor(words[x]).lightness()));
    }
    return pix;
}

QImage imageOfPix(PIX *pix)
{
    const bool bilevel = pixGetDepth(pix) == 1;
    QImage image(pixGetWidth(pix), pixGetHeight(pix), QImage::Format_RGB32);
    if (image.isNull())
        throwNoRoom();
    const int stride = pixGetWpl(pix);
    for (int y = 0; y < image.height(); ++y) {
        l_uint32 *line = pixGetData(pix) + static_cast<std::ptrdiff_t>(y) * stride;
        QRgb *words = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int grey = bilevel ? (GET_DATA_BIT(line, x) ? 0 : 255)
                                     : static_cast<int>(GET_DATA_BYTE(line, x));
            words[x] = qRgb(grey, grey, grey);
        }
    }
    return image;
}

} // namespace ztrace
