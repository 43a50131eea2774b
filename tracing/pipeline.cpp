// (c) the ztrace developers. Licence: see LICENSE.
#include "pipeline.h"

#include "composition.h"
#include "labelshapes.h"
#include "rawtrace.h"
#include "segmentation.h"
#include "strokes.h"

#include "imaging/failure.h"
#include "imaging/resolution.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <type_traits>

namespace ztrace {

namespace {

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

// The label of most pixels: paper, as a rule.
uint16_t commonestLabel(const Areas &areas)
{
    std::vector<std::size_t> pixels(areas.colours.size(), 0);
    forEachRun(areas.runs, [&](uint32_t run, int, int begin, int end) {
        pixels[areas.runs.label[run]] += static_cast<std::size_t>(end - begin);
    });
    return static_cast<uint16_t>(std::max_element(pixels.begin(), pixels.end()) - pixels.begin());
}

// The outlines of the areas. In the engine's plane the commonest label and label 0 change places,
// since new memory is all zeros and what is never written to costs next to nothing; the outlines
// are the same ones (tst_labels, namesOfLabelsDoNotMatter). There is one for each area of `graph`
// at most.
// Where there is a graph it knows all that is asked of runs from then on, and of them nothing but
// the size is left.
ShapeOutlines outlinesOf(Areas *traced, const std::optional<AreaGraph> &graph, int upsampling,
                         const OutlineOptions &options)
{
    Areas &areas = *traced;
    const uint16_t commonest = commonestLabel(areas);
    const auto exchanged = [commonest](int label) {
        return label == commonest ? 0 : label == 0 ? commonest : label;
    };
    IndexPlane plane;
    plane.resize(areas.runs.width, areas.runs.height, static_cast<int>(areas.colours.size()));
    plane.visit([&](auto *cells) {
        typedef std::remove_reference_t<decltype(*cells)> Cell;
        forEachRun(areas.runs, [&](uint32_t run, int y, int begin, int end) {
            const int label = exchanged(areas.runs.label[run]);
            if (label == 0)
                return;
            Cell *row = cells
                + static_cast<std::size_t>(y + 1) * static_cast<std::size_t>(plane.stride()) + 1;
            std::fill(row + begin, row + end, static_cast<Cell>(label));
        });
    });
    if (graph) {
        areas.runs.firstOfRow = std::vector<uint32_t>();
        areas.runs.start = std::vector<int32_t>();
        areas.runs.label = std::vector<uint16_t>();
    }
    LabelShapes shapes(areas, upsampling, graph ? graph->areas.size() : 0);
    traceLabels(plane, options, [&](LabelOutline outline, const Segment *segments) {
        outline.label = exchanged(outline.label);
        shapes.add(outline, segments);
    });
    return shapes.take();
}

// Colours, each once, as they come.
std::vector<QRgb> eachOnce(const std::vector<QRgb> &colours)
{
    std::vector<QRgb> palette;
    for (QRgb colour : colours) {
        if (std::find(palette.begin(), palette.end(), colour) == palette.end())
            palette.push_back(colour);
    }
    return palette;
}

std::vector<QRgb> coloursInUse(const Areas &areas)
{
    std::vector<bool> used(areas.colours.size(), false);
    for (uint16_t label : areas.runs.label)
        used[label] = true;
    std::vector<QRgb> colours;
    for (std::size_t k = 0; k < used.size(); ++k) {
        if (used[k])
            colours.push_back(areas.colours[k]);
    }
    return eachOnce(colours);
}

const double kPrecisionOfStrokes = 0.01; // pixels

struct Traced
{
    Areas areas;
    ShapeOutlines outlines;
    Connection connection; // of the areas that the outlines are of
};

Traced traceRaw(Picture picture, const Raw &raw, Stages *stages, TraceReport *report)
{
    stages->begin("tracing");
    RawTrace trace = rawTrace(picture.takeImage(), raw.engine);
    report->engine = std::move(trace.options);
    report->palette = trace.areas.colours;
    stages->end("trace");
    return { std::move(trace.areas), std::move(trace.outlines), { Connectivity::Corners, {} } };
}

Traced traceAreas(Segmented segmented, const TracePlan &plan, bool leavesOutSmall, Stages *stages,
                  TraceReport *report)
{
    const Geometry &geometry = plan.geometry;
    stages->begin("tracing");
    if (segmented.fit != Geometry::Fit::Engine) {
        const unsigned threads = plan.threads > 0 ? plan.threads : threadsOfMachine();
        std::optional<ShapeOutlines> shapes = geometry.edges
            ? edgesOf(segmented.areas, segmented.edges, plan.composition.onlyColours, threads,
                      geometry.snap)
            : shapesOf(segmented.areas, segmented.edges, threads, geometry.snap);
        if (shapes) {
            report->shapes = true;
            report->engine = segmented.engine;
            stages->end("trace");
            return { std::move(segmented.areas), std::move(*shapes), { Connectivity::Split, {} } };
        }
        if (geometry.edges)
            throw TraceError("the image has too many small areas for its boundaries to be drawn");
        report->remarks.push_back(Remark::TooManyShapes);
        segmented.edges = EdgePicture();
        separateAreas(&segmented);
    }
    OutlineOptions options = outlineOptions(geometry, segmented.upsampling);
    report->upsampling = segmented.upsampling;
    report->engine = segmented.engine;
    report->engine["ltres"] = options.ltres;
    report->engine["qtres"] = options.qtres;
    report->engine["pathomit"] = leavesOutSmall ? options.pathomit : geometry.leastBorder;
    // Where small areas have gone to their neighbours none are left out.
    if (!leavesOutSmall)
        options.pathomit = 0.0;
    ShapeOutlines outlines
        = outlinesOf(&segmented.areas, segmented.graph, segmented.upsampling, options);
    stages->end("trace");
    return { std::move(segmented.areas),
             std::move(outlines),
             { Connectivity::Corners, std::move(segmented.graph) } };
}

} // namespace

TraceResult traceImage(Picture picture, const TracePlan &plan, const StageSink &announce)
{
    std::srand(plan.seed);
    TraceResult result;
    TraceReport &report = result.report;
    Stages stages(announce, &report);
    const double dpi = plan.dpi > 0.0 ? plan.dpi : resolutionOf(picture.asImage()).across;

    const Ink *drawn = std::get_if<Ink>(&plan.segmentation);
    if (drawn && drawn->strokes) {
        const bool known = plan.dpi > 0.0 || tellsResolution(picture.asImage());
        result.drawing
            = traceStrokes(std::move(picture), plan, *drawn, known ? dpi : 0.0, &stages, &report);
        result.drawing.precision = kPrecisionOfStrokes;
        result.drawing.dpi = dpi;
        result.drawing.unit = plan.unit;
        return result;
    }
    Traced traced = {};
    Painting painting = Painting::Areas;
    if (const Raw *raw = std::get_if<Raw>(&plan.segmentation)) {
        painting = Painting::AsTheyAre;
        traced = traceRaw(std::move(picture), *raw, &stages, &report);
    } else if (const Ink *ink = std::get_if<Ink>(&plan.segmentation)) {
        painting = Painting::InkOnPaper;
        Segmented areas = segmentInk(std::move(picture), plan, *ink, &stages, &report);
        report.palette = eachOnce(areas.areas.colours);
        traced = traceAreas(std::move(areas), plan, true, &stages, &report);
    } else {
        Segmented areas = segmentColours(std::move(picture), plan, &stages, &report);
        report.palette = coloursInUse(areas.areas);
        traced = traceAreas(std::move(areas), plan, false, &stages, &report);
    }
    const double precision = traced.outlines.precision;
    result.drawing = report.shapes && plan.geometry.edges
        ? composeEdges(std::move(traced.outlines), traced.areas, plan.composition)
        : compose(std::move(traced.outlines), traced.areas, report.upsampling,
                  std::move(traced.connection), painting, plan.composition);
    stages.end("arrange");
    result.drawing.precision = precision;
    result.drawing.dpi = dpi;
    result.drawing.unit = plan.unit;
    return result;
}

} // namespace ztrace
