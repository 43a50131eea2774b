// (c) the ztrace developers. Licence: see LICENSE.
//
// Reduction of an image to black and white, in place.
#include "ZTraceBitmap.h"

#include "reduction.h"

#include <QImage>

void ZTraceBitmap::preprocess(QImage &image)
{
    if (!(option("monochrome") > 0.0))
        return;
    const int alphaLimit = integerOption("alphathreshold");
    ztrace::Reduction reduction(alphaLimit, integerOption("brightnessthreshold"));
    if (!ztrace::hasColourWords(image) && !image.isNull()) {
        const QImage converted = image.convertToFormat(QImage::Format_ARGB32);
        if (converted.isNull())
            return; // memory ran out: the caller's image is worth more than the answer
        image = converted;
    }
    const int width = image.width();
    const int height = image.height();
    for (int y = 0; y < height; ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image.scanLine(y));
        if (!words)
            return; // no memory for a copy of a shared image
        reduction.reduceRow(words, words, width);
    }
}
