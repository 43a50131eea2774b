// (c) the ztrace developers. Licence: see LICENSE.
#include "plan.h"

#include "failure.h"
#include "imaging/spread.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const int kUsualColours = 16;

// Pixel edges. Regions by price are as small as they pay for.
const double kUsualLeastBorder = 8.0;
const double kLeastBorderOfBlend = 10.0;

// At 5, the usual detail, a pixel edge has to save 400: a colour 20 units off in one pixel, which
// are 2.6 steps of CIE lightness. docs/imaging/regions.md has what other prices give.
const double kPriceOfLeastDetail = 12800.0;

// In pixels. Soft edges tell more than pixels do, and flat areas are worth more numbers than areas
// that are a compromise anyway: in posters 0.7 takes a third more of them for a sixtieth of the
// colour error.
const double kToleranceOfAreas = 0.7;
const double kTolerance = 1.0;
const double kToleranceFiner = 0.5;

const double kFineDetail = 4.0; // below, areas are a compromise

// Options that shape outlines and leave the colours alone.
bool isGeometric(const std::string &name)
{
    return name == "ltres" || name == "qtres" || name == "pathomit";
}

void setOptions(const EngineOptions &values, EngineOptions *options)
{
    for (const auto &value : values)
        (*options)[value.first] = value.second;
}

Ink inkOf(const Settings &settings)
{
    Ink ink;
    ink.scan.threshold = settings.threshold;
    ink.scan.fixedThreshold = settings.fixedThreshold;
    ink.scan.deskew = settings.deskew;
    ink.scan.despeckle = settings.despeckle;
    ink.engine = settings.engine;
    ink.strokes = settings.strokes;
    ink.ownColours = settings.palette.empty();
    if (!settings.palette.empty()) {
        const auto darker = [](QRgb a, QRgb b) { return qGray(a) < qGray(b); };
        const auto ends
            = std::minmax_element(settings.palette.begin(), settings.palette.end(), darker);
        ink.inkColour = *ends.first;
        ink.paperColour = *ends.second;
    }
    return ink;
}

int coloursOf(const Settings &settings)
{
    const auto asked = settings.engine.find("numberofcolors");
    if (asked == settings.engine.end())
        return settings.colors.value_or(kUsualColours);
    if (asked->second >= double(kMostColoursOfPlane))
        throw Failure(kFailed, "no palette of that many colours can be made");
    return asked->second >= 1.0 ? static_cast<int>(asked->second) : 0;
}

// Whether an option of the engine decides what colours there are.
bool engineDecides(const Settings &settings)
{
    return std::any_of(settings.engine.begin(), settings.engine.end(), [](const auto &option) {
        return !isGeometric(option.first) && option.first != "numberofcolors";
    });
}

// Whether the picture becomes regions that pay for their borders.
bool isPriced(const Settings &settings)
{
    return !settings.raw && settings.method.value_or(Method::Flat) == Method::Blend
        && settings.palette.empty() && !engineDecides(settings) && coloursOf(settings) >= 1;
}

// Whether areas are not worth the numbers of narrow outlines.
bool isCoarse(const Settings &settings)
{
    const Method method = settings.method.value_or(Method::Flat);
    return method == Method::Ink || (method == Method::Blend && settings.detail < kFineDetail);
}

double usualLeastBorder(const Settings &settings)
{
    if (settings.method.value_or(Method::Flat) != Method::Blend)
        return kUsualLeastBorder;
    return isPriced(settings) ? 0.0 : kLeastBorderOfBlend;
}

// What a pixel edge between two colours has to save: half as much with every step of detail.
double priceOf(const Settings &settings)
{
    return kPriceOfLeastDetail * std::exp2(-settings.detail);
}

Segmentation coloursPlan(const Settings &settings)
{
    const int colours = coloursOf(settings);
    const EngineOptions number = { { "numberofcolors", colours } };
    const bool flat = settings.method.value_or(Method::Flat) == Method::Flat;
    if (settings.palette.empty() && (!flat || engineDecides(settings) || colours < 1)) {
        if (isPriced(settings))
            return Blend { colours, priceOf(settings), false, number };
        EngineOptions engine = { { "monochrome", 0 },
                                 { "mincolorratio", 0 },
                                 { "blurradius", 0 },
                                 { "colorquantcycles", 3 } };
        setOptions(settings.engine, &engine);
        engine["numberofcolors"] = colours;
        return Blend { colours, 0.0, settings.engine.count("colorsampling") > 0, engine };
    }
    Flat plan;
    plan.colours = colours;
    plan.palette = settings.palette;
    if (!plan.palette.empty() && !settings.background)
        plan.palette.push_back(0u); // what is transparent stays so
    if (plan.palette.empty())
        plan.engine = number;
    return plan;
}

Raw rawOf(const Settings &settings)
{
    const auto squared = [](double value) { return value * value; };
    Raw raw;
    const double tolerance = settings.tolerance.value_or(kTolerance);
    raw.engine["ltres"] = squared(tolerance);
    raw.engine["qtres"] = squared(settings.curveTolerance.value_or(tolerance));
    if (settings.minPath)
        raw.engine["pathomit"] = *settings.minPath;
    setOptions(settings.engine, &raw.engine);
    return raw;
}

Geometry geometryOf(const Settings &settings)
{
    const Method method = settings.method.value_or(Method::Flat);
    Geometry geometry;
    geometry.lineTolerance
        = settings.tolerance.value_or(isCoarse(settings) ? kTolerance : kToleranceOfAreas);
    geometry.lineToleranceFiner
        = settings.tolerance.value_or(method == Method::Blend ? kTolerance : kToleranceFiner);
    geometry.curveTolerance = settings.curveTolerance.value_or(geometry.lineTolerance);
    geometry.curveToleranceFiner = settings.curveTolerance.value_or(geometry.lineToleranceFiner);
    geometry.leastBorder = settings.minPath.value_or(usualLeastBorder(settings));
    geometry.marks = (method == Method::Flat || method == Method::Ink) && !settings.minPath;
    // Ink leaves small areas out: as small as the engine does, on whatever grid.
    if (method == Method::Ink && !settings.minPath)
        geometry.engine["pathomit"] = kUsualLeastBorder;
    bool shaped = false;
    for (const auto &option : settings.engine) {
        if (!isGeometric(option.first))
            continue;
        shaped = true;
        if (option.first == "pathomit" && method != Method::Ink) {
            geometry.leastBorder = std::floor(option.second);
            geometry.marks = false;
        } else {
            geometry.engine[option.first] = option.second;
        }
    }
    geometry.upsampling = settings.upsample;
    geometry.fit = fitOf(settings);
    geometry.edges = settings.edges;
    geometry.snap = settings.snap;
    // The areas of a blend have no edges in the picture.
    if (settings.upsample == 0 && (shaped || method == Method::Blend))
        geometry.upsampling = 1;
    geometry.fringes = method == Method::Flat;
    return geometry;
}

Composition compositionOf(const Settings &settings)
{
    Composition composition;
    composition.byLayer = settings.style.byLayer;
    composition.trapping = settings.seams;
    composition.frame = !settings.noFrame;
    composition.transparent = settings.transparent;
    composition.onlyColours = settings.onlyColours;
    composition.edgeWidth = settings.style.strokeWidth;
    return composition;
}

} // namespace

Geometry::Fit fitOf(const Settings &settings)
{
    if (settings.edges)
        return Geometry::Fit::Fair;
    if (settings.fit)
        return *settings.fit;
    const bool ofEngine = settings.raw || settings.tolerance || settings.curveTolerance
        || settings.upsample != 0 || !settings.engine.empty();
    if (ofEngine)
        return Geometry::Fit::Engine;
    // The engine's outlines cannot be put in order.
    return settings.snap == fit::Snap::None ? Geometry::Fit::FairUnlessDense : Geometry::Fit::Fair;
}

TracePlan planOf(const Settings &settings)
{
    TracePlan plan;
    plan.seed = settings.seed;
    if (settings.raw)
        plan.segmentation = rawOf(settings);
    else if (settings.method.value_or(Method::Flat) == Method::Ink)
        plan.segmentation = inkOf(settings);
    else
        plan.segmentation = coloursPlan(settings);
    plan.gradients = settings.gradients;
    plan.geometry = geometryOf(settings);
    plan.composition = compositionOf(settings);
    plan.dpi = settings.dpi.value_or(0.0);
    plan.unit = settings.unit;
    return plan;
}

} // namespace ztrace
