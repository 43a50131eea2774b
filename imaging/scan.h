// (c) the ztrace developers. Licence: see LICENSE.
//
// Scanned pages: ink on paper, by an imaging library.
#ifndef ZTRACE_IMAGING_SCAN_H
#define ZTRACE_IMAGING_SCAN_H

#include <QImage>

#include <array>

namespace ztrace {

// Auto: for the whole page, after uneven light has been evened out.
enum class Threshold { Auto, Otsu, Adaptive, Fixed };

// What is asked of a page.
struct ScanPlan
{
    Threshold threshold = Threshold::Auto;
    int fixedThreshold = 0; // 0 to 255, for Fixed
    bool deskew = false;    // turn a crooked page upright
    int despeckle = 0;      // pixels: specks and pinholes up to this area go
};

// Numbers of pixels by lightness.
typedef std::array<double, 256> Histogram;

Histogram histogramOf(const QImage &image);

// Lightness that separates ink from paper best: the threshold with the largest variance between
// the classes, in the middle of those that are equally good. Source: N. Otsu, 1979. An image of one
// lightness gives 127.
int otsuThreshold(const Histogram &counts);
int otsuThreshold(const QImage &image);

// Part of the variance of the lightness that remains within ink and paper when they are split at
// the threshold: 0 for two pure values, towards 1 for a picture without any split.
double unevenness(const Histogram &counts, int threshold);

// Puts a colour under what is not opaque in an ARGB32 image.
void putOnPaper(QImage *image, QRgb paper);

struct CleanScan
{
    QImage image;           // RGB32, black on white when `bilevel`
    bool bilevel = false;   // a threshold has been applied already
    bool evenedOut = false; // uneven light has been
    double angle = 0.0;     // degrees that the page was turned by
    bool unclear = false;   // no direction was found that it could be turned to
};

// Evens out uneven light, turns the page upright, applies an adaptive threshold and removes specks,
// as the plan asks. `threshold` is used where specks are to be removed and the threshold is not
// adaptive; negative: chosen after turning. The image must be opaque.
CleanScan cleanScan(const QImage &image, const ScanPlan &plan, int *threshold);

} // namespace ztrace

#endif
