// (c) the ztrace developers. Licence: see LICENSE.
//
// Paper under what is transparent.
#ifndef ZTRACE_IMAGING_PAPER_H
#define ZTRACE_IMAGING_PAPER_H

#include <QImage>

namespace ztrace {

// The colour of a pixel over an opaque one: channels weighted by alpha, rounded to the nearest.
inline QRgb onPaper(QRgb word, QRgb paper)
{
    const int alpha = qAlpha(word);
    if (alpha == 255)
        return word;
    const auto over = [alpha](int top, int bottom) {
        return (top * alpha + bottom * (255 - alpha) + 127) / 255;
    };
    return qRgb(over(qRed(word), qRed(paper)), over(qGreen(word), qGreen(paper)),
                over(qBlue(word), qBlue(paper)));
}

// The same for all pixels of an image of 32 bits a pixel (not premultiplied).
void putOnPaper(QImage *image, QRgb paper);

} // namespace ztrace

#endif
