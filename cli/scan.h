// (c) the ztrace developers. Licence: see LICENSE.
//
// Scanned pages: ink on paper, by an imaging library.
#ifndef ZTRACE_CLI_SCAN_H
#define ZTRACE_CLI_SCAN_H

#include <QImage>

#include "Settings.h"

namespace ztrace {

// Lightness that separates ink from paper best: the threshold with the largest variance between
// the classes, in the middle of those that are equally good. Source: N. Otsu, 1979. An image of one
// lightness gives 127.
int otsuThreshold(const QImage &image);

// Part of the variance of the lightness that remains within ink and paper when they are split at
// the threshold: 0 for two pure values, towards 1 for a picture without any split.
double unevenness(const QImage &image, int threshold);

struct CleanScan
{
    QImage image;       // RGB32, black on white when `bilevel`
    bool bilevel;       // a threshold has been applied already
    double angle = 0.0; // degrees that the page was turned by
};

// Turns the page upright, applies an adaptive threshold and removes specks, as the settings ask.
// `threshold` is used where specks are to be removed and the threshold is not adaptive; negative:
// chosen after turning. The image must be opaque.
CleanScan cleanScan(const QImage &image, const Settings &settings, int *threshold);

} // namespace ztrace

#endif
