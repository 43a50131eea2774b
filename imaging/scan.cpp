// (c) the ztrace developers. Licence: see LICENSE.
#include "scan.h"

#include "failure.h"
#include "leptonica.h"
#include "lighting.h"

#include <QColor>

#include <algorithm>

namespace ztrace {

namespace {

const int kNoInkBeyond = 127; // threshold of an image without any contrast
const int kWindow = 25;       // half width, in pixels, of an adaptive threshold's window
const int kLeastWindow = 3;
const float kSauvola = 0.34f;  // contrast that ink must have; the method's usual value
const int kLargestTile = 2000; // pixels; the method's sums are kept tile by tile

// Null when the image is too small for a window.
PixPtr adaptiveInk(PIX *grey)
{
    const int side = std::min(pixGetWidth(grey), pixGetHeight(grey));
    const int window = std::min(kWindow, (side - 4) / 2);
    if (window < kLeastWindow)
        return PixPtr();
    const int columns = 1 + pixGetWidth(grey) / kLargestTile;
    const int rows = 1 + pixGetHeight(grey) / kLargestTile;
    PIX *ink = nullptr;
    pixSauvolaBinarizeTiled(grey, window, kSauvola, columns, rows, nullptr, &ink);
    return PixPtr(ink);
}

// Components of up to `pixels` pixels go: specks of ink, then pinholes, which are components of
// the inverted image. Ink hangs together by corners, so paper does not.
PixPtr withoutSpecks(PixPtr ink, int pixels)
{
    const auto largeOnly = [pixels](PIX *pix, int connectivity) {
        return PixPtr(pixSelectByArea(pix, static_cast<float>(pixels), connectivity, L_SELECT_IF_GT,
                                      nullptr));
    };
    ink = largeOnly(ink.get(), 8);
    if (!ink)
        throwNoRoom();
    pixInvert(ink.get(), ink.get());
    ink = largeOnly(ink.get(), 4);
    if (!ink)
        throwNoRoom();
    pixInvert(ink.get(), ink.get());
    return ink;
}

} // namespace

Histogram histogramOf(const QImage &image)
{
    Histogram counts = {};
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            counts[static_cast<std::size_t>(QColor(image.pixel(x, y)).lightness())] += 1.0;
    }
    return counts;
}

int otsuThreshold(const QImage &image)
{
    return otsuThreshold(histogramOf(image));
}

int otsuThreshold(const Histogram &counts)
{
    double total = 0.0;
    double sum = 0.0;
    for (std::size_t v = 0; v < counts.size(); ++v) {
        total += counts[v];
        sum += double(v) * counts[v];
    }
    double below = 0.0;
    double sumBelow = 0.0;
    double best = 0.0;
    int first = kNoInkBeyond;
    int last = kNoInkBeyond;
    for (std::size_t v = 0; v < counts.size(); ++v) {
        below += counts[v];
        sumBelow += double(v) * counts[v];
        const double above = total - below;
        if (below == 0.0 || above == 0.0)
            continue;
        const double difference = sumBelow / below - (sum - sumBelow) / above;
        const double variance = below * above * difference * difference;
        if (variance > best) {
            best = variance;
            first = last = static_cast<int>(v);
        } else if (variance == best && best > 0.0) {
            last = static_cast<int>(v);
        }
    }
    return (first + last) / 2;
}

double unevenness(const Histogram &counts, int threshold)
{
    double pixels[2] = { 0.0, 0.0 };
    double sums[2] = { 0.0, 0.0 };
    double squares = 0.0;
    for (int v = 0; v < 256; ++v) {
        const double count = counts[static_cast<std::size_t>(v)];
        pixels[v > threshold] += count;
        sums[v > threshold] += v * count;
        squares += double(v) * v * count;
    }
    const double total = pixels[0] + pixels[1];
    const double mean = (sums[0] + sums[1]) / total;
    const double variance = squares - total * mean * mean;
    double within = squares;
    for (int side = 0; side < 2; ++side) {
        if (pixels[side] > 0.0)
            within -= sums[side] * sums[side] / pixels[side];
    }
    return variance > 0.0 ? within / variance : 0.0;
}

void putOnPaper(QImage *image, QRgb paper)
{
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image->scanLine(y));
        for (int x = 0; x < image->width(); ++x) {
            const int alpha = qAlpha(words[x]);
            const auto over = [alpha](int top, int bottom) {
                return (top * alpha + bottom * (255 - alpha) + 127) / 255;
            };
            words[x]
                = qRgb(over(qRed(words[x]), qRed(paper)), over(qGreen(words[x]), qGreen(paper)),
                       over(qBlue(words[x]), qBlue(paper)));
        }
    }
}

CleanScan cleanScan(const QImage &image, const ScanPlan &plan, int *threshold)
{
    CleanScan result;
    result.image = image;
    result.evenedOut = plan.threshold == Threshold::Auto && isUnevenlyLit(image);
    const bool untouched = !plan.deskew && plan.despeckle == 0 && !result.evenedOut
        && plan.threshold != Threshold::Adaptive;
    if (untouched) {
        if (*threshold < 0)
            *threshold = otsuThreshold(image);
        return result;
    }
    PixPtr page = greyPixOf(image);
    if (result.evenedOut) {
        PixPtr even = evenlyLit(page.get());
        result.evenedOut = static_cast<bool>(even);
        if (even)
            page = std::move(even);
    }
    if (plan.deskew) {
        const int kUsualSearch = 0;
        float angle = 0.0f;
        float confidence = 0.0f;
        PixPtr turned(pixFindSkewAndDeskew(page.get(), kUsualSearch, &angle, &confidence));
        // What is straight, or has no clear direction, comes back as it is.
        if (turned && turned.get() != page.get()) {
            page = std::move(turned);
            result.angle = double(angle);
        } else {
            const float kClear = 3.0f; // the library's own limit
            result.unclear = confidence < kClear;
        }
    }
    PixPtr ink;
    if (plan.threshold == Threshold::Adaptive)
        ink = adaptiveInk(page.get());
    if (!ink) {
        if (*threshold < 0)
            *threshold = otsuThreshold(imageOfPix(page.get()));
        if (plan.despeckle > 0) {
            // The library counts what is darker than its threshold as ink.
            ink.reset(pixThresholdToBinary(page.get(), std::min(*threshold + 1, 256)));
            if (!ink)
                throwNoRoom();
        }
    }
    if (ink && plan.despeckle > 0)
        ink = withoutSpecks(std::move(ink), plan.despeckle);
    result.bilevel = static_cast<bool>(ink);
    result.image = imageOfPix(ink ? ink.get() : page.get());
    return result;
}

} // namespace ztrace
