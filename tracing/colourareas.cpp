// (c) the ztrace developers. Licence: see LICENSE.
#include "segmentation.h"

#include "smallmarks.h"
#include "smallregions.h"

#include "imaging/alpha.h"
#include "imaging/blend.h"
#include "imaging/checkers.h"
#include "imaging/colour.h"
#include "imaging/edges.h"
#include "imaging/failure.h"
#include "imaging/fringes.h"
#include "imaging/labelwindow.h"
#include "imaging/localink.h"
#include "imaging/palette.h"
#include "imaging/photoareas.h"
#include "imaging/pixelart.h"
#include "imaging/ramps.h"
#include "imaging/ringing.h"
#include "imaging/segment.h"
#include "imaging/shaded.h"
#include "imaging/shadedalpha.h"
#include "imaging/softshadows.h"
#include "imaging/unexplained.h"
#include "imaging/upsample.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

namespace ztrace {

namespace {

const int kMostColoursBesideRamps = 60000; // labels are two bytes
const std::size_t kPixelsOfMark = 64;     // for each small area that stands out; more are a texture
const int kColoursBesidePhotographs = 16; // fewer are not parted between drawing and photograph
const double kLargePhotographs = 0.2;     // of the pixels
const int kShareOfShadows = 8;            // one in so many colours, at least, is for soft shadows
const double kTranslucent = 0.02; // of the pixels; fewer are soft rims, without much side by side
const int kFringe = 48;           // colourDistance of a fringe to the area that it belongs to

// What no flat colour explains is areas that pay, as elsewhere; the pixels beside choose again.
void labelShading(const QImage &picture, int colours, LabelPlane *plane)
{
    const std::vector<Explained> explained = unexplainedBy(*plane, picture);
    const int left = colours - int(plane->colours.size());
    if (explained.empty() || left < 1)
        return;
    std::vector<uint8_t> shading;
    shading.reserve(explained.size());
    for (Explained pixel : explained)
        shading.push_back(pixel == Explained::Not ? 1 : 0);
    putMarked(reduceShaded(onlyMarked(picture, shading, 1), left, kUsualPriceOfEdge), shading,
              plane);
    for (std::size_t k = 0; k < explained.size(); ++k) {
        if (explained[k] == Explained::Beside)
            plane->labels[k] = kUnlabelled;
    }
    *plane = reduceFlat(picture, EdgeMap(picture), plane->colours, plane->labels);
}

LabelPlane segmentDrawing(const QImage &picture, int colours, Stages *stages)
{
    EdgeMap edges(picture);
    const std::vector<QRgb> palette = flatPalette(picture, edges, colours);
    stages->end("palette");
    LabelPlane plane = reduceFlat(picture, std::move(edges), palette);
    labelShading(picture, colours, &plane);
    return plane;
}

// Of so many colours, what photographs get at least: a quarter, or half where they are large.
int coloursOfPhotographs(const std::vector<uint8_t> &marks, int colours)
{
    const double share = double(std::count(marks.begin(), marks.end(), 1)) / double(marks.size());
    return share > kLargePhotographs ? colours / 2 : colours / 4;
}

// Photographs in it are areas that pay, as elsewhere, and the rest is flat.
LabelPlane segmentOpaque(const QImage &picture, int colours, Stages *stages)
{
    std::vector<uint8_t> photographs;
    if (colours >= kColoursBesidePhotographs)
        photographs = photographsIn(picture);
    if (photographs.empty())
        return segmentDrawing(picture, colours, stages);
    const int most = colours - coloursOfPhotographs(photographs, colours);
    LabelPlane plane = segmentDrawing(onlyMarked(picture, photographs, 0), most, stages);
    const int left = colours - int(plane.colours.size());
    putMarked(reduceShaded(onlyMarked(picture, photographs, 1), left, kUsualPriceOfEdge),
              photographs, &plane);
    return plane;
}

// Soft shadows and glows are levels of alpha, as in photographs, and the rest has none of them.
LabelPlane segmentFlat(const QImage &picture, const Flat &flat, Stages *stages)
{
    if (!flat.palette.empty()) {
        QImage binary(picture); // the soft edges of the picture still tell where they run
        makeAlphaBinary(&binary);
        stages->end("palette");
        return reduceFlat(binary, EdgeMap(binary), flat.palette);
    }
    std::vector<uint8_t> shadows;
    if (flat.colours >= kColoursBesidePhotographs)
        shadows = softShadowsIn(picture);
    if (shadows.empty())
        return segmentOpaque(picture, flat.colours, stages);
    const int most = flat.colours - flat.colours / kShareOfShadows;
    LabelPlane plane = segmentOpaque(onlyMarked(picture, shadows, 0), most, stages);
    const int left = flat.colours - int(plane.colours.size());
    QImage settled(picture);
    settleShadedAlpha(&settled, flat.colours, kUsualPriceOfEdge);
    putMarked(reduceShaded(onlyMarked(settled, shadows, 1), left, kUsualPriceOfEdge), shadows,
              &plane);
    closeGaps(picture, shadows, &plane);
    return plane;
}

LabelPlane segmentBlend(QImage *picture, const Blend &blend, Stages *stages)
{
    if (blend.price > 0.0) {
        settleShadedAlpha(picture, blend.colours, blend.price);
        return reduceShaded(*picture, blend.colours, blend.price);
    }
    settleAlpha(picture, blend.colours);
    std::vector<QRgb> start;
    if (!blend.chosenByEngine && blend.colours > 0)
        start = medianPalette(*picture, blend.colours);
    stages->end("palette");
    return reduceBlend(*picture, start, blend.engine);
}

// The ramps of a picture, which is flat there from now on.
Ramps takeRamps(const TracePlan &plan, QImage *image)
{
    const Flat *flat = std::get_if<Flat>(&plan.segmentation);
    const Blend *blend = std::get_if<Blend>(&plan.segmentation);
    const int colours = flat ? flat->colours : std::get<Blend>(plan.segmentation).colours;
    if (!plan.gradients || colours > kMostColoursBesideRamps || (flat && !flat->palette.empty()))
        return Ramps();
    const RampPrice price = { blend && blend->price > 0.0 ? blend->price : kUsualPriceOfEdge,
                              flat ? kContrastBesideFlat : kSeenContrast };
    Ramps ramps = findRamps(*image, price);
    flatten(flat ? SoftPixels::Mixed : SoftPixels::Settled, &ramps, image);
    return ramps;
}

// Labels of ramps, from `first` on, get the colours that they have where there are no gradients.
void keepRamps(const Ramps &ramps, std::size_t first, Areas *areas)
{
    if (ramps.areas.empty())
        return;
    areas->rampOf.assign(areas->colours.size(), -1);
    for (std::size_t k = 0; k < ramps.areas.size(); ++k) {
        areas->rampOf[first + k] = int(k);
        areas->colours[first + k] = ramps.areas[k].mean;
        areas->ramps.push_back(ramps.areas[k].ramp);
    }
}

Runs runsOf(const LabelPlane &plane)
{
    return scanRuns(plane.labels.data(), plane.width, plane.height);
}

Runs upsampledRuns(const QImage &image, const LabelPlane &plane, int factor)
{
    RunScanner scanner(plane.width * factor, plane.height * factor);
    forEachUpsampledRow(image, plane, factor,
                        [&scanner](const int32_t *starts, const uint16_t *labels,
                                   std::size_t count) { scanner.addRuns(starts, labels, count); });
    return scanner.take();
}

// Areas below a border go to their neighbours.
void mergeBelow(double least, bool fringes, const std::vector<QRgb> &colours, Runs *runs)
{
    if (!(least > 0.0)) // of what is not a number neither
        return;
    mergeSmallRegions(
        runs, static_cast<std::size_t>(std::min(least, 1e15)), fringes ? kFringe : 0,
        [&colours](uint16_t a, uint16_t b) { return colourDistance(colours[a], colours[b]); });
}

// The same where what stands out stays. Of textures, such as dithering, nothing does.
void mergeBeside(const QImage &image, double least, const std::vector<QRgb> &colours, Runs *runs)
{
    const std::size_t most = runs->pixels() / kPixelsOfMark;
    std::unordered_set<uint32_t> marks; // by their first pixels; every pass asks for them
    std::optional<bool> clean;          // whether fringes that stand out are thin lines
    const auto isWithoutNoise = [&] {
        if (!clean)
            clean = isClean(image);
        return *clean;
    };
    const auto isMark = [&](const SmallArea &area) {
        const bool isSmall = double(area.border) < least;
        if (marks.size() > most || (!isSmall && !isWithoutNoise())
            || !standsOut(area, image, colours))
            return false;
        if (!isSmall)
            return true;
        marks.insert(area.pixels.front());
        return marks.size() <= most;
    };
    mergeSmallRegions(
        runs, std::size_t(std::min(least, 1e15)), kFringe,
        [&colours](uint16_t a, uint16_t b) { return colourDistance(colours[a], colours[b]); },
        isMark,
        [&colours](uint16_t own, uint16_t a, uint16_t b) {
            return isMixtureOf(colours[own], colours[a], colours[b]);
        });
}

void mergeSmall(const QImage &image, const Geometry &geometry, const std::vector<QRgb> &colours,
                Runs *runs)
{
    if (geometry.marks && geometry.leastBorder > 0.0)
        mergeBeside(image, geometry.leastBorder, colours, runs);
    else
        mergeBelow(geometry.leastBorder, geometry.fringes, colours, runs);
}

// A grid of its own is kept where its geometry is set directly.
int upsamplingOf(const QImage &picture, const LabelPlane &plane, const Geometry &geometry,
                 TraceReport *report)
{
    if (geometry.upsampling == 0)
        return usefulUpsampling(picture, plane);
    if (geometry.upsampling == 1 || hasSoftEdges(picture, plane))
        return geometry.upsampling;
    report->remarks.push_back(Remark::NoSoftEdges);
    return 1;
}

// Every pixel times its alpha.
EdgePicture edgesOf(const QImage &image)
{
    const QImage premultiplied = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    if (premultiplied.isNull())
        throwNoRoom();
    EdgePicture edges;
    edges.width = image.width();
    edges.height = image.height();
    edges.channels = kMostChannels;
    const std::size_t bytes = std::size_t(edges.width) * kMostChannels;
    edges.values.resize(bytes * std::size_t(edges.height));
    for (int y = 0; y < edges.height; ++y) {
        const uint8_t *row = premultiplied.constScanLine(y);
        std::copy(row, row + bytes, edges.values.begin() + y * std::ptrdiff_t(bytes));
    }
    return edges;
}

QImage prepared(Picture picture)
{
    QImage image = picture.takeImage().convertToFormat(QImage::Format_ARGB32);
    if (image.isNull())
        throwNoRoom();
    roundAlpha(&image);
    return image;
}

// Areas on a finer grid, where it is of use or asked for.
void refine(const QImage &image, const Geometry &geometry, LabelPlane *plane, Runs *runs,
            Segmented *segmented, TraceReport *report)
{
    paint(*runs, plane->labels.data());
    segmented->upsampling = upsamplingOf(image, *plane, geometry, report);
    if (segmented->upsampling == 1)
        return;
    requireRoom(plane->width, plane->height, segmented->upsampling);
    *runs = Runs();
    *runs = upsampledRuns(image, *plane, segmented->upsampling);
    mergeBelow(geometry.leastBorder * segmented->upsampling, geometry.fringes, plane->colours,
               runs);
}

// Share of the pixels that can be seen through.
double translucentShare(const std::vector<QRgb> &colours, const Runs &runs)
{
    std::size_t pixels = 0;
    for (int y = 0; y < runs.height; ++y) {
        for (std::size_t run = runs.rowBegin(y); run < runs.rowEnd(y); ++run) {
            const int alpha = qAlpha(colours[runs.label[run]]);
            if (alpha != 0 && alpha != 255)
                pixels += std::size_t(runs.end(run) - runs.start[run]);
        }
    }
    return double(pixels) / double(std::max<std::size_t>(1, runs.pixels()));
}

// Whether the areas of a blend are drawn in true shapes. Many that can be seen through are: what
// the engine's outlines leave between two of them cannot be painted below them.
bool hasShapes(const Geometry &geometry, const std::vector<QRgb> &colours, const Runs &runs)
{
    return geometry.fit == Geometry::Fit::Fair
        || (geometry.fit == Geometry::Fit::FairUnlessDense
            && (cracksOf(runs) <= Geometry::kMostQuickCracks
                || translucentShare(colours, runs) >= kTranslucent));
}

// The runs were made between the picture and its labels, and part the room that these have left,
// where a plane on a finer grid, which is a little larger than the picture, would then find none.
void moveAside(Runs *runs)
{
    Runs copy = *runs;
    *runs = std::move(copy);
}

// Labels of what was set pixel by pixel, where nothing else was asked for; none else.
LabelPlane pixelArtOf(const TracePlan &plan, const QImage &image)
{
    const Flat *flat = std::get_if<Flat>(&plan.segmentation);
    const bool isPlain = flat && flat->palette.empty() && plan.geometry.marks;
    return isPlain ? labelPixelArt(image, flat->colours) : LabelPlane();
}

// What flat colours are not to be chosen from goes.
void prepareFlat(const TracePlan &plan, QImage *image)
{
    if (const Flat *flat = std::get_if<Flat>(&plan.segmentation)) {
        removeRinging(image);
        removeFringes(image); // before the ground of a letter on a ramp gets another colour
        if (flat->palette.empty())
            evenCheckers(image);
    }
}

} // namespace

Segmented segmentColours(Picture picture, const TracePlan &plan, Stages *stages,
                         TraceReport *report)
{
    const Geometry &geometry = plan.geometry;
    QImage image = prepared(std::move(picture));
    stages->end("prepare");
    LabelPlane art = pixelArtOf(plan, image);
    const bool isPixelArt = !art.labels.empty();
    if (!isPixelArt)
        prepareFlat(plan, &image);
    Ramps ramps = isPixelArt ? Ramps() : takeRamps(plan, &image);
    if (plan.gradients)
        stages->end("gradients");

    stages->begin("choosing colours");
    const Flat *flat = std::get_if<Flat>(&plan.segmentation);
    const Blend *blend = std::get_if<Blend>(&plan.segmentation);
    Segmented segmented;
    if (flat && geometry.fit != Geometry::Fit::Engine)
        segmented.edges = edgesOf(image);
    segmented.edges.hard = !flat; // the areas of a blend have no edges in the picture
    LabelPlane plane = isPixelArt ? std::move(art)
        : flat                    ? segmentFlat(image, *flat, stages)
                                  : segmentBlend(&image, *blend, stages);

    const std::size_t firstRamp = labelRamps(image, ramps, &plane);
    if (flat && !ramps.areas.empty()) {
        settleMixtures(ramps, firstRamp, &plane);
        recolourMixtures(image, ramps, firstRamp, &plane);
        settleStrangers(image, ramps, firstRamp, &plane);
    }
    if (plane.colours.size() == firstRamp)
        ramps.areas.clear(); // there was no room for them
    if (flat && !isPixelArt)
        partLocalInk(firstRamp, &plane);
    ramps.ofPixel = std::vector<uint16_t>();
    ramps.mixtures = std::vector<RampMixture>();

    stages->begin("joining areas");
    Runs runs = runsOf(plane);
    if (!isPixelArt) // there no area is too small
        mergeSmall(image, geometry, plane.colours, &runs);
    const bool shapes
        = flat ? geometry.fit != Geometry::Fit::Engine : hasShapes(geometry, plane.colours, runs);
    segmented.fit = shapes ? Geometry::Fit::Fair : Geometry::Fit::Engine;
    if (geometry.upsampling != 1 && !shapes)
        refine(image, geometry, &plane, &runs, &segmented, report);
    image = QImage();
    segmented.areas.colours = std::move(plane.colours);
    segmented.areas.runs = std::move(runs);
    keepRamps(ramps, firstRamp, &segmented.areas);
    plane = LabelPlane();
    if (!shapes)
        separateAreas(&segmented);
    moveAside(&segmented.areas.runs);
    if (flat)
        segmented.engine = flat->engine;
    else
        segmented.engine = blend->price > 0.0 ? blend->engine : reductionOptions(blend->engine);
    stages->end("reduce");
    return segmented;
}

} // namespace ztrace
