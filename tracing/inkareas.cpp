// (c) the ztrace developers. Licence: see LICENSE.
#include "segmentation.h"

#include "imaging/alpha.h"
#include "imaging/blend.h"
#include "imaging/colour.h"
#include "imaging/failure.h"
#include "imaging/ink.h"
#include "imaging/paper.h"
#include "imaging/pixelart.h"
#include "imaging/scan.h"
#include "imaging/segment.h"
#include "inkhues.h"
#include "smallregions.h"

#include <QPainter>

#include <algorithm>
#include <utility>
#include <vector>

namespace ztrace {

namespace {

const int kBetweenBlackAndWhite = 127;
const std::size_t kLargePicture = 2500000; // pixels of a page that is fine enough as it is
// Part of its label from which on a pixel at the end of a diagonal is the end of a line, not of a
// notch or a tip.
const double kPlainPart = 0.75;
const double kWholePart = 0.25;  // of the way from ink to paper: no soft edge's, nor a gap's
const int kUsefulUpsampling = 2; // three times gives more numbers and no better outlines

// Options that steer the engine's own reduction to a palette.
bool engineReduces(const EngineOptions &options)
{
    return std::any_of(options.begin(), options.end(), [](const auto &option) {
        return option.first != "ltres" && option.first != "qtres" && option.first != "pathomit";
    });
}

int upsamplingOf(const CleanPage &clean, const Geometry &geometry, TraceReport *report)
{
    if (clean.bilevel || geometry.upsampling == 1)
        return 1;
    const std::size_t pixels = static_cast<std::size_t>(clean.page.width())
        * static_cast<std::size_t>(clean.page.height());
    if (geometry.upsampling == 0 && pixels > kLargePicture)
        return 1;
    if (hasSoftInk(clean.page, clean.tones.counts, clean.threshold))
        return geometry.upsampling > 0 ? geometry.upsampling : kUsefulUpsampling;
    if (geometry.upsampling > 1)
        report->remarks.push_back(Remark::NoSoftEdges);
    return 1;
}

// Black and white, for the engine's own reduction.
QImage pictureOf(const Runs &runs)
{
    QImage picture(runs.width, runs.height, QImage::Format_ARGB32);
    if (picture.isNull())
        throwNoRoom();
    forEachRun(runs, [&](uint32_t run, int y, int begin, int end) {
        QRgb *words = reinterpret_cast<QRgb *>(picture.scanLine(y));
        std::fill(words + begin, words + end,
                  runs.label[run] == kInkLabel ? 0xFF000000u : 0xFFFFFFFFu);
    });
    return picture;
}

// The engine's own areas where its options were asked for.
Areas areasByEngine(const CleanPage &clean, const Areas &areas, int upsampling,
                    const EngineOptions &options)
{
    const LabelPlane plane
        = reduceInk(upsampling > 1 || clean.bilevel
                        ? pictureOf(areas.runs)
                        : clean.page.asImage().convertToFormat(QImage::Format_RGB32),
                    options);
    return { scanRuns(plane.labels.data(), plane.width, plane.height), plane.colours };
}

// Where uneven light has been evened out the paper is one lightness as a drawing's is, but the ink
// is a scan's: its darkest pixels say nothing of thin lines.
bool isDrawnPage(const CleanPage &clean)
{
    return !clean.evenedOut && isDrawn(clean.tones.counts);
}

// Of whole ink and whole paper: black and white where lines are so thin that the page does not
// show.
InkTones wholeTones(const CleanPage &clean)
{
    InkTones tones = inkTones(clean.tones.counts, clean.threshold);
    if (!isSeenFlat(clean.page, tones.ink))
        tones.ink = InkTones().ink;
    if (!isSeenFlat(clean.page, tones.paper))
        tones.paper = InkTones().paper;
    return tones;
}

EdgePicture edgesOf(const CleanPage &clean)
{
    EdgePicture edges;
    edges.threshold = clean.threshold;
    edges.width = clean.page.width();
    edges.height = clean.page.height();
    edges.hard = clean.bilevel || clean.page.isBilevel();
    if (edges.hard)
        return edges;
    if (isDrawnPage(clean)) {
        const InkTones tones = wholeTones(clean);
        edges.tones = { { { float(tones.ink), 0, 0, 0 } }, { { float(tones.paper), 0, 0, 0 } } };
    }
    const std::size_t width = static_cast<std::size_t>(edges.width);
    edges.values.resize(width * static_cast<std::size_t>(edges.height));
    std::vector<uint8_t> buffer(width);
    for (int y = 0; y < edges.height; ++y) {
        const uint8_t *row = clean.page.row(y, buffer.data());
        std::copy(row, row + width, edges.values.begin() + y * std::ptrdiff_t(width));
    }
    return edges;
}

void tell(const CleanPage &clean, TraceReport *report)
{
    report->angle = clean.angle;
    report->evenedOut = clean.evenedOut;
    report->threshold = clean.wholePage ? clean.threshold : -1;
    if (clean.unclear)
        report->remarks.push_back(Remark::NoClearDirection);
}

// How the engine would split ink from paper at a threshold, and what was said to it.
EngineOptions optionsOf(const Ink &ink, int threshold)
{
    EngineOptions options = { { "monochrome", 1 },
                              { "alphathreshold", 255 },
                              { "colorsampling", 0 },
                              { "numberofcolors", 2 },
                              { "colorquantcycles", 1 },
                              { "blurradius", 0 },
                              { "brightnessthreshold", threshold } };
    setOptions(ink.engine, &options);
    return options;
}

// Specks that true shapes would be drawn of go to what lies around them, but for those that are
// marks.
template<typename IsMark>
void mergeSpecks(double leastBorder, const IsMark &isMark, Runs *runs)
{
    if (leastBorder > 0.0)
        mergeSmallRegions(
            runs, std::size_t(std::min(leastBorder, 1e15)), 0, [](uint16_t, uint16_t) { return 1; },
            isMark);
}

// Whether one pixel of a speck on a drawn page, which has no noise, is more than half its own: the
// dot of an i.
bool isDot(const GreyPicture &page, int threshold, const SmallArea &speck)
{
    const bool isInk = speck.around.empty() || speck.around.front() == kPaperLabel;
    const uint32_t width = uint32_t(page.width());
    return std::any_of(speck.pixels.begin(), speck.pixels.end(), [&](uint32_t pixel) {
        const uint8_t tone = page.row(int(pixel / width), nullptr)[pixel % width];
        return (tone <= threshold) == isInk;
    });
}

// At most this light is ink.
int thresholdOf(const CleanPage &clean)
{
    return clean.bilevel ? kBetweenBlackAndWhite : clean.threshold;
}

// Whether strokes of a page are judged as wholes, which is of use where soft edges tell what is
// thin, and takes time on large pages.
bool hasThinInk(const CleanPage &clean)
{
    const std::size_t pixels = std::size_t(clean.page.width()) * std::size_t(clean.page.height());
    return !clean.bilevel && !clean.page.isBilevel() && clean.wholePage && pixels <= kLargePicture
        && isDrawnPage(clean);
}

// Lines of a few pixels that are nowhere flat, as a scan's are, have no pixel that ink spreads
// from: their whole pixels are ink whatever lies around them, and so is what is dark beside those.
void keepWholeInk(const QImage &image, const InkTones &tones, int threshold, LabelPlane *plane)
{
    const auto toneOf = [&](uint32_t pixel) {
        const uint32_t width = uint32_t(plane->width);
        return qGreen(row(image, int(pixel / width))[pixel % width]);
    };
    std::vector<uint32_t> found;
    const auto take = [&](uint32_t pixel, int most) {
        if (plane->labels[pixel] != kInkLabel && toneOf(pixel) <= most) {
            plane->labels[pixel] = kInkLabel;
            found.push_back(pixel);
        }
    };
    const int whole = tones.ink + int(kWholePart * (tones.paper - tones.ink));
    const uint32_t width = uint32_t(plane->width);
    for (int y = 0; y < plane->height; ++y) {
        const QRgb *words = row(image, y);
        for (uint32_t x = 0; x < width; ++x) {
            if (qGreen(words[x]) <= whole)
                take(uint32_t(y) * width + x, whole);
        }
    }
    while (!found.empty()) {
        const uint32_t pixel = found.back();
        found.pop_back();
        if (pixel % width > 0)
            take(pixel - 1, threshold);
        if (pixel % width + 1 < width)
            take(pixel + 1, threshold);
        if (pixel >= width)
            take(pixel - width, threshold);
        if (pixel + width < plane->labels.size())
            take(pixel + width, threshold);
    }
}

// Whether a pixel is of its label by this part at least: 0 what is wholly the other one, 1 wholly
// it.
bool isOwn(int tone, const InkTones &tones, bool isInk, double part)
{
    const double ink = double(tones.paper - tone) / std::max(1, tones.paper - tones.ink);
    return (isInk ? ink : 1 - ink) >= part;
}

// Of a pixel by the labels before: whether it is mixed and hangs together with its label over one
// corner only, beyond which is a pixel of more than half its own that goes on there by a side.
bool isLone(const QImage &image, const InkTones &tones, const LabelPlane &labels, int x, int y)
{
    const auto labelAt = [&labels](int column, int line) {
        return labels.labels[std::size_t(line) * std::size_t(labels.width) + std::size_t(column)];
    };
    const auto label = labelAt(x, y);
    const bool isInk = label == kInkLabel;
    if (labelAt(x - 1, y) == label || labelAt(x + 1, y) == label || labelAt(x, y - 1) == label
        || labelAt(x, y + 1) == label || isOwn(qGreen(row(image, y)[x]), tones, isInk, kPlainPart))
        return false;
    int corners = 0;
    bool goesOn = false;
    for (const int dx : { -1, 1 }) {
        for (const int dy : { -1, 1 }) {
            if (labelAt(x + dx, y + dy) != label)
                continue;
            ++corners;
            const bool own = isOwn(qGreen(row(image, y + dy)[x + dx]), tones, isInk, 0.5);
            const int farX = std::min(labels.width - 1, std::max(0, x + 2 * dx));
            const int farY = std::min(labels.height - 1, std::max(0, y + 2 * dy));
            goesOn = own && (labelAt(farX, y + dy) == label || labelAt(x + dx, farY) == label);
        }
    }
    return corners == 1 && goesOn;
}

// Lone pixels take their neighbours' label: the mixed ends of notches and tips, of which boundaries
// would make holes and specks. Pale thin lines stay, which go on in pixels like their own.
void joinLonePixels(const QImage &image, const InkTones &tones, LabelPlane *plane)
{
    std::vector<std::pair<std::size_t, uint16_t>> found; // all are told by the labels before
    for (int y = 1; y + 1 < plane->height; ++y) {
        for (int x = 1; x + 1 < plane->width; ++x) {
            const std::size_t pixel = std::size_t(y) * std::size_t(plane->width) + std::size_t(x);
            if (isLone(image, tones, *plane, x, y))
                found.push_back({ pixel, plane->labels[pixel - 1] });
        }
    }
    for (const auto &lone : found)
        plane->labels[lone.first] = lone.second;
}

// Ink and paper as two flat colours: what is thinner than a pixel is neither lost nor filled.
Runs strokeRuns(const CleanPage &clean)
{
    const QImage image = clean.page.asImage().convertToFormat(QImage::Format_ARGB32);
    if (image.isNull())
        throwNoRoom();
    const InkTones tones = wholeTones(clean);
    LabelPlane plane = reduceFlat(
        image, EdgeMap(image),
        { qRgb(tones.ink, tones.ink, tones.ink), qRgb(tones.paper, tones.paper, tones.paper) });
    keepWholeInk(image, tones, clean.threshold, &plane);
    joinLonePixels(image, tones, &plane);
    return scanRuns(plane.labels.data(), plane.width, plane.height);
}

bool seesThrough(const Picture &picture)
{
    const QImage &image = picture.asImage();
    return image.hasAlphaChannel() && (image.format() != QImage::Format_ARGB32 || !isOpaque(image));
}

// A picture as its page has been turned, clockwise around the middle, in degrees.
QImage turned(const QImage &image, double degrees)
{
    if (degrees == 0.0)
        return image;
    const QPointF middle(0.5 * image.width(), 0.5 * image.height());
    QImage result(image.size(), QImage::Format_RGB32);
    if (result.isNull())
        throwNoRoom();
    result.fill(Qt::white);
    QPainter painter(&result);
    painter.translate(middle);
    painter.rotate(degrees);
    painter.translate(-middle);
    painter.drawImage(0, 0, image);
    return result;
}

// Small, in two tones: every pixel counts.
bool isPixelArt(const CleanPage &clean)
{
    return clean.page.width() <= kMostPixelsOfPixelArt / std::max(1, clean.page.height())
        && clean.tones.lightnesses() <= 2;
}

// Areas for true shapes; false where the engine is to outline them.
bool takeShapes(Threshold threshold, const Geometry &geometry, CleanPage *page,
                Segmented *segmented)
{
    if (geometry.fit == Geometry::Fit::Engine)
        return false;
    CleanPage &clean = *page;
    const bool thin = threshold == Threshold::Auto && hasThinInk(clean);
    if (thin)
        clean.threshold = inkThreshold(clean.tones.counts);
    Runs runs = thin ? strokeRuns(clean) : inkRuns(clean.page, thresholdOf(clean));
    if (geometry.fit == Geometry::Fit::FairUnlessDense
        && cracksOf(runs) > Geometry::kMostQuickCracks)
        return false;
    const double leastBorder = geometry.marks && isPixelArt(clean) ? 0.0 : geometry.leastBorder;
    mergeSpecks(
        leastBorder,
        [&](const SmallArea &speck) {
            return thin && geometry.marks && isDot(clean.page, clean.threshold, speck);
        },
        &runs);
    segmented->areas.runs = std::move(runs);
    segmented->edges = edgesOf(clean);
    segmented->fit = Geometry::Fit::Fair;
    return true;
}

// Areas on the engine's grid; returns the threshold that it would have taken there.
int takeAreas(const CleanPage &clean, const Geometry &geometry, Segmented *segmented,
              TraceReport *report)
{
    segmented->upsampling = upsamplingOf(clean, geometry, report);
    requireRoom(clean.page.width(), clean.page.height(), segmented->upsampling);
    if (segmented->upsampling > 1) {
        segmented->areas.runs = fineInkRuns(clean.page, thresholdOf(clean), segmented->upsampling);
        return kBetweenBlackAndWhite;
    }
    segmented->areas.runs = inkRuns(clean.page, thresholdOf(clean));
    return thresholdOf(clean);
}

} // namespace

Segmented segmentInk(Picture picture, const TracePlan &plan, const Ink &ink, Stages *stages,
                     TraceReport *report)
{
    stages->begin("preparing");
    ScanPlan scan = ink.scan;
    scan.splitsSoftEdges = plan.geometry.fit == Geometry::Fit::Engine;
    QImage inColour;
    if (ink.hues && !picture.isGrey() && !engineReduces(ink.engine) && !seesThrough(picture))
        inColour = picture.asImage();
    CleanPage clean = cleanPage(std::move(picture), scan);
    requireRoom(clean.page.width(), clean.page.height(), 1);
    Segmented segmented;
    Areas &areas = segmented.areas;
    areas.colours = { 0xFF000000u, 0xFFFFFFFFu };
    const bool shapes = takeShapes(scan.threshold, plan.geometry, &clean, &segmented);
    if (!shapes && !scan.splitsSoftEdges && scan.threshold == Threshold::Auto && clean.wholePage)
        clean.threshold = inkThreshold(clean.tones.counts);
    tell(clean, report);
    const int threshold
        = shapes ? thresholdOf(clean) : takeAreas(clean, plan.geometry, &segmented, report);
    EngineOptions options = optionsOf(ink, threshold);
    const bool hasHues = !inColour.isNull()
        && keepHues(turned(inColour, clean.angle), segmented.upsampling, &areas);
    inColour = QImage();
    if (engineReduces(ink.engine)) {
        areas = areasByEngine(clean, areas, segmented.upsampling, options);
    } else if ((!shapes && separateAreas(&segmented)) || hasHues) {
        // Two colours are not enough to keep all areas apart that have to be.
        options["monochrome"] = 0;
        options["numberofcolors"] = double(areas.colours.size());
    }
    for (QRgb &colour : areas.colours) {
        if (colour == 0xFF000000u || !hasHues)
            colour = qGray(colour) < 128 ? ink.inkColour : ink.paperColour;
        else if (colour == 0xFFFFFFFFu)
            colour = ink.paperColour;
    }
    segmented.engine = reductionOptions(options);
    stages->end("prepare");
    return segmented;
}

} // namespace ztrace
