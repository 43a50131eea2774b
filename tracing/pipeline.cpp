// (c) the ztrace developers. Licence: see LICENSE.
#include "pipeline.h"

#include "composition.h"
#include "rawtrace.h"

#include "engine/ZTraceBitmap.h"
#include "imaging/components.h"
#include "imaging/corners.h"
#include "imaging/failure.h"
#include "imaging/palette.h"
#include "imaging/resolution.h"
#include "imaging/segment.h"
#include "imaging/upsample.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace ztrace {

namespace {

const int kFringe = 48; // colourDistance of a fringe to the area that it belongs to
const int kBetweenBlackAndWhite = 127;
const QRgb kPaper = 0xFFFFFFFFu;

// Tells of the stages as they begin, and how long they took as they end.
class Stages
{
public:
    explicit Stages(const StageSink &sink) : announce(sink) { clock.start(); }

    void begin(const char *words) const
    {
        if (announce)
            announce(words);
    }

    void end(const char *name, TraceReport *report)
    {
        report->seconds.push_back({ name, 1e-9 * double(clock.nsecsElapsed()) });
        clock.restart();
    }

private:
    const StageSink &announce;
    QElapsedTimer clock;
};

// Options that steer the engine's own reduction to a palette.
bool isReducing(const std::string &name)
{
    return name != "ltres" && name != "qtres" && name != "pathomit";
}

bool engineReduces(const EngineOptions &options)
{
    return std::any_of(options.begin(), options.end(),
                       [](const auto &option) { return isReducing(option.first); });
}

void setOptions(const EngineOptions &values, EngineOptions *options)
{
    for (const auto &value : values)
        (*options)[value.first] = value.second;
}

// All twelve options, at the engine's defaults where `values` says nothing.
EngineOptions allOptions(const EngineOptions &values)
{
    EngineOptions options = values;
    const ZTraceBitmap engine;
    for (auto it = engine.options.constBegin(); it != engine.options.constEnd(); ++it)
        options.insert({ it.key().toStdString(), it.value() });
    return options;
}

// In squared steps of a grid, from pixels.
OutlineOptions outlineOptions(const Geometry &geometry, int upsampling)
{
    const auto squaredSteps = [&](double wholePixels, double finer) {
        const double steps = (upsampling > 1 ? finer : wholePixels) * upsampling;
        return steps * steps;
    };
    const auto said = [&geometry](const char *name, double usual) {
        const auto found = geometry.engine.find(name);
        return found == geometry.engine.end() ? usual : found->second;
    };
    OutlineOptions options;
    options.ltres
        = said("ltres", squaredSteps(geometry.lineTolerance, geometry.lineToleranceFiner));
    options.qtres
        = said("qtres", squaredSteps(geometry.curveTolerance, geometry.curveToleranceFiner));
    options.pathomit = said("pathomit", geometry.leastBorder * upsampling);
    return options;
}

void report(const OutlineOptions &options, EngineOptions *engine)
{
    (*engine)["ltres"] = options.ltres;
    (*engine)["qtres"] = options.qtres;
    (*engine)["pathomit"] = options.pathomit;
}

// Colours in use, each once.
std::vector<QRgb> coloursIn(const LabelPlane &plane)
{
    std::vector<char> used(plane.colours.size(), 0);
    for (uint16_t label : plane.labels)
        used[label] = 1;
    std::vector<QRgb> palette;
    for (std::size_t k = 0; k < used.size(); ++k) {
        const QRgb colour = plane.colours[k];
        if (used[k] && std::find(palette.begin(), palette.end(), colour) == palette.end())
            palette.push_back(colour);
    }
    return palette;
}

TracedLabels outlinesIn(const LabelPlane &plane, const OutlineOptions &options)
{
    return traceLabels(planeOfLabels(plane.labels.data(), plane.width, plane.height,
                                     static_cast<int>(plane.colours.size())),
                       options);
}

// Nothing that the toolkit's sizes cannot count.
void requireRoom(const QImage &picture, int factor)
{
    if (double(picture.width()) * double(picture.height()) * factor * factor
        > double(std::numeric_limits<int>::max()))
        throwNoRoom();
}

void toWords(QImage *picture)
{
    *picture = picture->convertToFormat(QImage::Format_ARGB32);
    if (picture->isNull())
        throwNoRoom();
}

// A grid of its own is kept where its geometry is set directly.
int upsamplingOf(const QImage &picture, const LabelPlane &plane, const Geometry &geometry,
                 TraceReport *report)
{
    if (geometry.upsampling > 1 && !hasSoftEdges(picture, plane)) {
        report->remarks.push_back(Remark::NoSoftEdges);
        return 1;
    }
    return geometry.upsampling > 0 ? geometry.upsampling : usefulUpsampling(picture, plane);
}

// Ink.

// Where the grid is to be finer than pixels the areas are ink and paper on that grid.
LabelPlane refinedInk(const QImage &picture, LabelPlane plane, int threshold,
                      const Geometry &geometry, TraceReport *report)
{
    LabelPlane means = plane;
    useMeanColours(picture, &means);
    report->upsampling = upsamplingOf(picture, means, geometry, report);
    if (report->upsampling == 1)
        return plane;
    requireRoom(picture, report->upsampling);
    return upsampledInk(picture, plane, report->upsampling, threshold);
}

QImage pictureOf(const LabelPlane &plane)
{
    QImage picture(plane.width, plane.height, QImage::Format_ARGB32);
    if (picture.isNull())
        throwNoRoom();
    std::size_t i = 0;
    for (int y = 0; y < picture.height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x)
            words[x] = plane.colours[plane.labels[i++]];
    }
    return picture;
}

void usePens(const Ink &ink, std::vector<QRgb> *colours)
{
    for (QRgb &colour : *colours)
        colour = qGray(colour) < 128 ? ink.inkColour : ink.paperColour;
}

LabelPlane segmentInk(QImage picture, const TracePlan &plan, const Ink &ink, Stages *stages,
                      TraceReport *report)
{
    toWords(&picture);
    stages->begin("preparing");
    const QRgb paper = plan.preparation.background;
    putOnPaper(&picture, qAlpha(paper) != 0 ? paper : kPaper);
    int threshold = ink.scan.threshold == Threshold::Fixed ? ink.scan.fixedThreshold : -1;
    CleanScan scan = cleanScan(picture, ink.scan, &threshold);
    picture = QImage();
    report->angle = scan.angle;
    report->evenedOut = scan.evenedOut;
    if (scan.unclear)
        report->remarks.push_back(Remark::NoClearDirection);
    report->threshold
        = scan.bilevel && ink.scan.threshold == Threshold::Adaptive ? -1 : threshold;
    if (scan.bilevel)
        threshold = kBetweenBlackAndWhite;
    LabelPlane plane = inkAndPaper(scan.image, threshold);
    if (!scan.bilevel)
        plane = refinedInk(scan.image, std::move(plane), threshold, plan.geometry, report);
    if (report->upsampling > 1)
        threshold = kBetweenBlackAndWhite;

    EngineOptions options = { { "monochrome", 1 },       { "alphathreshold", 255 },
                              { "colorsampling", 0 },    { "numberofcolors", 2 },
                              { "colorquantcycles", 1 }, { "blurradius", 0 },
                              { "brightnessthreshold", threshold } };
    setOptions(ink.engine, &options);
    if (engineReduces(ink.engine)) {
        plane = reduceInk(report->upsampling > 1 ? pictureOf(plane) : scan.image, options);
        report->palette = plane.colours;
    } else if (separateCorners(&plane)) {
        // Two colours are not enough to keep all areas apart that have to be.
        options["monochrome"] = 0;
        options["numberofcolors"] = double(plane.colours.size());
        report->palette = coloursIn(plane);
    } else {
        report->palette = plane.colours;
    }
    usePens(ink, &report->palette);
    usePens(ink, &plane.colours);
    report->engine = allOptions(options);
    stages->end("prepare", report);
    return plane;
}

TraceResult traceInk(QImage picture, const TracePlan &plan, const Ink &ink, Stages *stages)
{
    TraceResult result;
    const LabelPlane plane
        = segmentInk(std::move(picture), plan, ink, stages, &result.report);
    const OutlineOptions options = outlineOptions(plan.geometry, result.report.upsampling);
    report(options, &result.report.engine);
    stages->begin("tracing");
    const TracedLabels traced = outlinesIn(plane, options);
    stages->end("trace", &result.report);
    result.drawing = compose(traced, plane, result.report.upsampling, Painting::InkOnPaper,
                             plan.composition);
    stages->end("arrange", &result.report);
    return result;
}

// Colours.

LabelPlane segmentFlat(const QImage &picture, const Flat &flat, Stages *stages,
                       TraceReport *report)
{
    if (!flat.palette.empty()) {
        QImage binary(picture); // the soft edges of the picture still tell where they run
        makeAlphaBinary(&binary);
        stages->end("palette", report);
        return reduceFlat(binary, EdgeMap(binary), flat.palette);
    }
    EdgeMap edges(picture);
    const std::vector<QRgb> colours = flatPalette(picture, edges, flat.colours);
    stages->end("palette", report);
    return reduceFlat(picture, std::move(edges), colours);
}

LabelPlane segmentBlend(QImage *picture, const Blend &blend, Stages *stages, TraceReport *report)
{
    settleAlpha(picture, blend.colours);
    std::vector<QRgb> start;
    if (!blend.chosenByEngine && blend.colours > 0)
        start = medianPalette(*picture, blend.colours);
    stages->end("palette", report);
    return reduceBlend(*picture, start, blend.engine);
}

void mergeBelow(double least, int fringe, LabelPlane *plane)
{
    if (least > 0.0)
        mergeSmallRegions(plane, static_cast<std::size_t>(std::min(least, 1e15)), fringe);
}

TraceResult traceColours(QImage picture, const TracePlan &plan, Stages *stages)
{
    TraceResult result;
    TraceReport &told = result.report;
    toWords(&picture);
    if (qAlpha(plan.preparation.background) != 0)
        putOnPaper(&picture, plan.preparation.background);
    roundAlpha(&picture);
    stages->end("prepare", &told);

    stages->begin("choosing colours");
    const Flat *flat = std::get_if<Flat>(&plan.segmentation);
    LabelPlane plane = flat
        ? segmentFlat(picture, *flat, stages, &told)
        : segmentBlend(&picture, std::get<Blend>(plan.segmentation), stages, &told);

    // Areas too small to be kept would leave holes; they go to their neighbours instead.
    stages->begin("joining areas");
    const double least = plan.geometry.leastBorder;
    const int fringe = plan.geometry.fringes ? kFringe : 0;
    mergeBelow(least, fringe, &plane);
    told.upsampling = upsamplingOf(picture, plane, plan.geometry, &told);
    if (told.upsampling > 1) {
        requireRoom(picture, told.upsampling);
        plane = upsampled(picture, plane, told.upsampling);
        mergeBelow(least * told.upsampling, fringe, &plane);
    }
    picture = QImage();
    separateCorners(&plane);
    told.palette = coloursIn(plane);
    stages->end("reduce", &told);

    stages->begin("tracing");
    OutlineOptions options = outlineOptions(plan.geometry, told.upsampling);
    options.pathomit = 0.0;
    const TracedLabels traced = outlinesIn(plane, options);
    options.pathomit = least;
    told.engine = allOptions(flat ? flat->engine : std::get<Blend>(plan.segmentation).engine);
    report(options, &told.engine);
    stages->end("trace", &told);

    result.drawing = compose(traced, plane, told.upsampling, Painting::Areas, plan.composition);
    stages->end("arrange", &told);
    return result;
}

TraceResult traceRaw(QImage picture, const TracePlan &plan, const Raw &raw, Stages *stages)
{
    TraceResult result;
    stages->begin("tracing");
    RawTrace trace = rawTrace(std::move(picture), raw.engine);
    result.report.engine = std::move(trace.options);
    result.report.palette = trace.plane.colours;
    stages->end("trace", &result.report);
    result.drawing
        = compose(trace.traced, trace.plane, 1, Painting::AsTheyAre, plan.composition);
    stages->end("arrange", &result.report);
    return result;
}

} // namespace

TraceResult traceImage(QImage picture, const TracePlan &plan, const StageSink &announce)
{
    const double dpi = plan.dpi > 0.0 ? plan.dpi : resolutionOf(picture).across;
    std::srand(plan.seed);
    Stages stages(announce);
    TraceResult result;
    if (const Raw *raw = std::get_if<Raw>(&plan.segmentation))
        result = traceRaw(std::move(picture), plan, *raw, &stages);
    else if (const Ink *ink = std::get_if<Ink>(&plan.segmentation))
        result = traceInk(std::move(picture), plan, *ink, &stages);
    else
        result = traceColours(std::move(picture), plan, &stages);
    result.drawing.dpi = dpi;
    result.drawing.unit = plan.unit;
    return result;
}

} // namespace ztrace
