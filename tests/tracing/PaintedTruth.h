// (c) the ztrace developers. Licence: see LICENSE.
//
// Pictures of known shapes.
#ifndef ZTRACE_TESTS_TRACING_PAINTEDTRUTH_H
#define ZTRACE_TESTS_TRACING_PAINTEDTRUTH_H

#include "FitRig.h"

#include <QImage>

#include <cmath>

namespace ztrace {

// Exact coverage of the truth, painted over what is there.
inline void paint(const fit::Truth &truth, QRgb colour, QImage *image)
{
    const fit::Raster raster = fit::rasterOf(truth, image->width(), image->height());
    const auto mix
        = [](int from, int to, double part) { return int(std::lround(from + (to - from) * part)); };
    for (int y = 0; y < image->height(); ++y) {
        for (int x = 0; x < image->width(); ++x) {
            const QRgb under = image->pixel(x, y);
            const double part = raster.at(x, y);
            image->setPixel(x, y,
                            qRgb(mix(qRed(under), qRed(colour), part),
                                 mix(qGreen(under), qGreen(colour), part),
                                 mix(qBlue(under), qBlue(colour), part)));
        }
    }
}

} // namespace ztrace

#endif
