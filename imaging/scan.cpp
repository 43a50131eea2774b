// (c) the ztrace developers. Licence: see LICENSE.
#include "scan.h"

#include "Picture.h"
#include "failure.h"
#include "leptonica.h"
#include "palelines.h"

#include <algorithm>

namespace ztrace {

namespace {

const int kWindow = 25; // half width, in pixels, of an adaptive threshold's window
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

// What is straight, or has no clear direction, stays as it is.
void turnUpright(PixPtr *page, CleanPage *result)
{
    const int kUsualSearch = 0;
    const float kClear = 3.0f; // the library's own limit
    float angle = 0.0f;
    float confidence = 0.0f;
    PixPtr turned(pixFindSkewAndDeskew(page->get(), kUsualSearch, &angle, &confidence));
    if (turned && turned.get() != page->get()) {
        *page = std::move(turned);
        result->angle = double(angle);
    } else {
        result->unclear = confidence < kClear;
    }
}

int thresholdOf(const ScanPlan &plan, const Histogram &counts)
{
    if (plan.threshold == Threshold::Fixed)
        return plan.fixedThreshold;
    const bool inTheMiddle = plan.threshold == Threshold::Auto && plan.splitsSoftEdges;
    return inTheMiddle ? inkThreshold(counts) : otsuThreshold(counts);
}

// Black on white where a threshold has to be applied here: one for every part of the page, or
// before specks can be removed. Null where it has not.
PixPtr inkOf(PIX *page, const ScanPlan &plan, CleanPage *result)
{
    if (plan.threshold == Threshold::Adaptive) {
        if (PixPtr ink = adaptiveInk(page)) {
            result->wholePage = false;
            return ink;
        }
    }
    result->threshold = thresholdOf(plan, tonesOf(pageOfPix(page)).counts);
    if (plan.despeckle == 0)
        return PixPtr();
    // The library counts what is darker than its threshold as ink.
    PixPtr ink(pixThresholdToBinary(page, std::min(result->threshold + 1, 256)));
    if (!ink)
        throwNoRoom();
    return ink;
}

// The lightness of most pixels.
int commonestTone(const Histogram &counts)
{
    return int(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

void cleanByLibrary(const ScanPlan &plan, CleanPage *result)
{
    PixPtr pix = greyPixOf(result->page);
    result->page = GreyPicture();
    if (plan.deskew)
        turnUpright(&pix, result);
    PixPtr ink = inkOf(pix.get(), plan, result);
    if (ink && plan.despeckle > 0)
        ink = withoutSpecks(std::move(ink), plan.despeckle);
    result->bilevel = static_cast<bool>(ink);
    result->page = pageOfPix(ink ? ink.get() : pix.get());
    result->tones = tonesOf(result->page);
}

} // namespace

GreyPicture evenlyLit(const GreyPicture &page)
{
    const PixPtr pix = greyPixOf(page);
    const PixPtr even(pixBackgroundNormSimple(pix.get(), nullptr, nullptr));
    return even ? pageOfPix(even.get()) : GreyPicture();
}

CleanPage cleanPage(Picture picture, const ScanPlan &plan)
{
    CleanPage result;
    const Tones tones = picture.tones();
    result.evenedOut = plan.threshold == Threshold::Auto && isUnevenlyLit(tones)
        && !picture.evenlyLit().isNull();
    result.page = result.evenedOut ? picture.takeEvenlyLit() : picture.takeGrey();
    if (plan.deskew || plan.despeckle > 0 || plan.threshold == Threshold::Adaptive) {
        cleanByLibrary(plan, &result);
        return result;
    }
    result.tones = result.evenedOut ? tonesOf(result.page) : tones;
    result.threshold = thresholdOf(plan, result.tones.counts);
    // Lines of a drawing are whole by other means; a page of its own threshold is taken by its
    // word.
    if (plan.threshold == Threshold::Auto && !isDrawn(result.tones.counts))
        mendPaleLines(result.threshold, commonestTone(result.tones.counts), &result.page);
    return result;
}

} // namespace ztrace
