// (c) the ztrace developers. Licence: see LICENSE.
#include "paper.h"

namespace ztrace {

void putOnPaper(QImage *image, QRgb paper)
{
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image->scanLine(y));
        for (int x = 0; x < image->width(); ++x)
            words[x] = onPaper(words[x], paper);
    }
}

} // namespace ztrace
