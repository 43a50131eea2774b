// (c) the ztrace developers. Licence: see LICENSE.
#include "tracejob.h"

#include "effects.h"
#include "ending.h"
#include "failure.h"
#include "messages.h"
#include "onlycolours.h"
#include "placement.h"
#include "plan.h"
#include "pnmfile.h"
#include "presets.h"
#include "textfile.h"

#include "drawing/coarseness.h"
#include "drawing/formats.h"
#include "drawing/json.h"
#include "drawing/pieces.h"
#include "drawing/signals.h"
#include "drawing/text.h"
#include "imaging/classify.h"
#include "imaging/paper.h"
#include "imaging/ramps.h"
#include "imaging/resolution.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <set>

namespace ztrace {

namespace {

// What --strokes means where no preset is named.
const char *const kStrokesPreset = "drawing";

const char *presetOf(Kind kind)
{
    switch (kind) {
    case Kind::LineArt:
        return "lineart";
    case Kind::Logo:
        return "logo";
    case Kind::Poster:
        return "poster";
    case Kind::Photo:
        break;
    }
    return "photo";
}

// A picture of flat areas that is shaded as well is one of shades.
Classification withItsShades(const QImage &image, const Classification &found)
{
    if (found.kind != Kind::Logo || !isShadedDrawing(image, kUsualPriceOfEdge))
        return found;
    return { Kind::Photo, "shading beside flat areas, " + found.reason };
}

// Pixels of an icon at most. Of larger pictures hardly any is drawn in ramps alone, and smooth
// photographs would take three times as long.
const int kMostOfIcon = 512 * 512;

// What is drawn in ramps and flat areas alone is flat art, where gradients are drawn unasked.
Classification withItsRamps(Picture *picture, const Classification &found)
{
    if ((found.kind != Kind::Photo && found.kind != Kind::Poster)
        || int64_t(picture->width()) * picture->height() > int64_t(kMostOfIcon)
        || !isDrawnInRamps(picture->asImage(), kUsualPriceOfEdge))
        return found;
    return { Kind::Logo, "ramps and flat areas, else " + found.reason };
}

// With gradients a ramp is as good as flat, and a colour even where it is grey.
Classification classified(Picture *picture, bool gradients)
{
    const std::optional<QImage> flat
        = gradients ? withoutRamps(picture->asImage(), kUsualPriceOfEdge) : std::optional<QImage>();
    if (!flat) {
        const Classification found = classify(picture);
        return withItsShades(picture->asImage(), found);
    }
    Picture other(*flat);
    const Classification found = classify(&other);
    return found.kind == Kind::LineArt ? Classification { Kind::Logo, "ramps of few colours" }
                                       : found;
}

Look lookAt(Picture *picture, bool asked, bool unasked)
{
    Classification found = classified(picture, asked);
    if (unasked && !asked)
        found = withItsRamps(picture, found);
    return { presetOf(found.kind), found.reason };
}

const char *sentenceOf(Remark remark)
{
    switch (remark) {
    case Remark::NoClearDirection:
        return "--deskew: no clear direction was found within 6 degrees";
    case Remark::NoSoftEdges:
        return "--upsample has no effect: the image has no soft edges";
    case Remark::HardlyDrawn:
        return "--strokes: most of what was found are short pieces and solid areas; all are drawn, "
               "but the image is hardly a drawing of lines (leave out --strokes for outlines)";
    case Remark::MostlyLettering:
        return "--strokes: most of what was found is lettering; the image looks like a page of "
               "text";
    case Remark::FewLines:
        return "--strokes: lines are little of what is dark; the image looks like a photograph or "
               "like solid areas (leave out --strokes for outlines)";
    case Remark::TooManyShapes:
        break;
    }
    return "the image has too many small areas for true shapes; the engine draws its outlines";
}

// Whether gradients that nobody asked for are of use: not for what cuts, plots or prints in spot
// colours, which takes areas of one colour, nor where a format has the mean of each.
bool takesGradients(const TraceJob &job, const Settings &settings)
{
    const bool ofOneColour = settings.style.byLayer || settings.style.stroked || settings.edges
        || !settings.onlyColours.empty() || !settings.palette.empty()
        || settings.method == Method::Ink || job.given.count("colors") > 0;
    return !ofOneColour && !job.forMap && !job.outputs.empty()
        && std::all_of(job.outputs.begin(), job.outputs.end(), [](const Output &output) {
               return (output.format->capabilities & kHasGradients) != 0;
           });
}

// Whether coloured ink stays coloured: where nobody asked for black and white, nor for what
// plotters and cutters take.
bool keepsHues(const TraceJob &job, const Settings &settings)
{
    return settings.preset == kAutoPreset && job.given.count("method") == 0
        && settings.palette.empty() && settings.onlyColours.empty() && !settings.style.byLayer
        && !settings.style.stroked && !settings.edges;
}

// The job's settings, completed by the preset.
Settings settingsFor(const TraceJob &job, Picture *picture, Look *look)
{
    Settings settings = job.settings;
    if (settings.raw)
        return settings;
    if (settings.preset != kAutoPreset)
        *look = { settings.preset, "" };
    else if (settings.strokes)
        *look = { kStrokesPreset, "--strokes" };
    else
        *look = lookAt(picture, settings.gradients && !settings.noGradients,
                       !settings.noGradients && takesGradients(job, settings));
    const Preset preset = findPreset(look->preset);
    std::set<std::string> given = job.given;
    applySettings(parseSettings(preset.text, preset.origin, Role::Preset), preset.origin, &given,
                  &settings);
    const bool asked = job.given.count("gradients") > 0;
    if (settings.noGradients || !(asked || takesGradients(job, settings))) {
        settings.gradients = false;
        settings.said.erase("gradients");
    }
    return settings;
}

void makeSquare(const Resolution &resolution, const TraceJob &job, Picture *picture)
{
    const std::string sizes = inputName(job.input) + ": "
        + numberText(resolution.across, 2).toStdString() + " x "
        + numberText(resolution.down, 2).toStdString() + " pixels an inch";
    if (job.settings.raw) {
        job.warn(sizes + " are taken as square, since --raw changes nothing");
        return;
    }
    job.warn(sizes + " are made square");
    const Uninterrupted inherited;
    QImage square = withSquarePixels(picture->asImage());
    if (square.isNull())
        failForMemory();
    *picture = Picture(std::move(square));
}

// Pixels that are not square are made so, and what has to be guessed is told.
void useResolution(const Settings &settings, const TraceJob &job, Picture *picture)
{
    const bool given = settings.dpi && *settings.dpi > 0.0;
    const Resolution resolution = resolutionOf(picture->asImage());
    if (!given && !resolution.isSquare())
        makeSquare(resolution, job, picture);
    if (settings.unit == Unit::Pixel)
        return;
    if (!given && !tellsResolution(picture->asImage()))
        job.warn(inputName(job.input)
                 + ": 96 pixels an inch are taken, as it says nothing else (see --dpi)");
    for (const Output &output : job.outputs) {
        if ((output.format->capabilities & kChoosesCurves)
            && settings.dxf.version == DxfVersion::R12)
            job.warn("r12 has no place for the unit; programs have to be told when they read it");
    }
}

bool hasOutput(const std::vector<Output> &outputs, Capability capability)
{
    return std::any_of(outputs.begin(), outputs.end(), [capability](const Output &output) {
        return (output.format->capabilities & capability) != 0;
    });
}

void makeFitForMaps(const TraceJob &job, TracePlan *plan)
{
    plan->composition.byLayer = true;
    if (job.given.count("fit") == 0)
        plan->geometry.fit = Geometry::Fit::Fair;
}

// Pixels that were made square are other ones than the file's.
void place(const TraceJob &job, const QSize &imageSize, TraceResult *result)
{
    if (!job.placement.isKnown)
        return;
    if (result->report.angle != 0.0) {
        job.warn(inputName(job.input) + ": a page that is turned has no place in the map any more");
        return;
    }
    Drawing &drawing = result->drawing;
    drawing.placement = job.placement;
    const double across = double(imageSize.width()) / drawing.width;
    const double down = double(imageSize.height()) / drawing.height;
    drawing.placement.columnX *= across;
    drawing.placement.columnY *= across;
    drawing.placement.rowX *= down;
    drawing.placement.rowY *= down;
}

// The colours that are to be kept are among the palette's, which is known after a trace.
TraceResult traceOnly(Picture picture, TracePlan plan, const TraceJob &job)
{
    plan.threads = job.threads;
    const std::vector<QRgb> wanted = plan.composition.onlyColours;
    if (wanted.empty())
        return traceImage(std::move(picture), plan, job.announce);
    TraceResult result = traceImage(picture, plan, job.announce);
    std::vector<std::string> notes;
    plan.composition.onlyColours = nearestInPalette(wanted, result.report.palette, &notes);
    for (const std::string &note : notes)
        job.warn(note);
    if (plan.composition.onlyColours == wanted)
        return result;
    return traceImage(std::move(picture), plan, job.announce);
}

} // namespace

void useConfiguration(Settings *settings, std::set<std::string> *given)
{
    const std::string file = settings->config;
    if (!file.empty()) {
        applySettings(parseSettings(textOfFile(file), file, Role::Configuration), file, given,
                      settings);
        settings->filesRead.push_back(file);
    }
    // A wrong name is to be told before the work.
    if (settings->preset == kAutoPreset)
        return;
    const Preset preset = findPreset(settings->preset);
    if (preset.origin != kBuiltIn)
        settings->filesRead.push_back(preset.origin);
}

void warnOfSource(const ImageSource &source, const TraceJob &job)
{
    const std::string name = inputName(job.input);
    if (source.filesLeftOut() > 0)
        job.warn(name + ": files that the image names are not loaded");
    const qint64 frames = framesOfPng(source.contents());
    if (frames > 1) {
        job.warn(name + ": the first of " + std::to_string(frames)
                 + " frames is traced; those of a PNG are not read");
    }
    if (hasAnotherPnm(source.contents()))
        job.warn(name + ": the first image is traced; those behind it are not read");
    if (job.given.count("page"))
        return;
    const int pages = std::max(source.pages(), source.pagesClaimed());
    if (pages > 1) {
        job.warn(name + ": page 1 of " + std::to_string(pages)
                 + " is traced (see --page; --page all takes every one)");
    }
}

void usePlacement(const ImageSource &source, int page, TraceJob *job)
{
    job->forMap = hasOutput(job->outputs, kIsAMap);
    // Tags and world files are about the first page.
    if (job->forMap && page == 1)
        job->placement = placementOf(job->input, source.contents());
}

void warnOfRemarks(const Remarks &remarks, const TraceJob &job)
{
    for (const std::string &remark : remarks.texts)
        job.warn(inputName(job.input) + ": " + remark);
}

void warnOfEnding(Ending ending, const TraceJob &job)
{
    const std::string name = inputName(job.input);
    if (ending == Ending::CutShort)
        job.warn(name + ": the image is incomplete; what is missing has one colour");
    if (ending == Ending::Coarse)
        job.warn(name + ": the image is incomplete; its finer details are missing");
    if (ending == Ending::PartsLost)
        job.warn(name
                 + ": the file is incomplete; colours or sizes may be wrong, as what it says of "
                   "them is missing");
    if (ending == Ending::Untold)
        job.warn(name + ": whether the image is complete cannot be told of this format");
}

namespace {

// What the formats that are written cannot show of a drawing.
void warnOfGradients(const Drawing &drawing, const TraceJob &job)
{
    std::set<std::string> without;
    for (const Output &output : job.outputs) {
        if (!drawing.gradients.empty() && !(output.format->capabilities & kHasGradients))
            without.insert(output.format->name);
    }
    for (const std::string &name : without)
        job.warn(name + " has no gradients: their areas have the mean colour");
}

// What the formats that are written cannot show of a drawing that has been read.
void warnOfShapes(const Drawing &drawing, const TraceJob &job)
{
    const auto hasNoPlaces = [](const Outline &outline) { return !isDrawn(outline.shape); };
    const auto leavesOut
        = [](const Output &output) { return (output.format->capabilities & kKeepsAll) == 0; };
    if (std::any_of(job.outputs.begin(), job.outputs.end(), leavesOut)
        && std::any_of(drawing.outlines.begin(), drawing.outlines.end(), hasNoPlaces))
        job.warn(inputName(job.input)
                 + ": some coordinates are no finite numbers; what they belong to is left out");
    if (hasOutput(job.outputs, kDrawsLines) && coarsenessOf(drawing) > 1.0)
        job.warn(
            inputName(job.input)
            + ": curves would be very many lines; where a format has lines for them, those are "
              "farther from the curves than usual");
}

// Where the largest is, from the upper left corner of the page as it was traced.
std::string placeOf(const LeftOutInk &parts)
{
    const std::string pixels = parts.largest == 1 ? " pixel" : " pixels";
    return (parts.count == 1 ? "of " : "the largest of ") + std::to_string(parts.largest) + pixels
        + " at " + std::to_string(parts.x) + ", " + std::to_string(parts.y)
        + " from the upper left";
}

// Ink that is in no file.
void warnOfLeftOut(const TraceReport &report, const TraceJob &job)
{
    const std::string name = inputName(job.input) + ": --strokes leaves out ";
    const auto parts = [](const LeftOutInk &ink, const std::string &what) {
        return std::to_string(ink.count) + " " + what + (ink.count == 1 ? ", " : "s, ");
    };
    if (report.specks.count > 0)
        job.warn(name + parts(report.specks, "speck") + placeOf(report.specks)
                 + "; without --strokes they are drawn");
    if (report.pale.count > 0)
        job.warn(name + parts(report.pale, "pale part") + placeOf(report.pale)
                 + "; a --threshold nearer to the paper draws "
                 + (report.pale.count == 1 ? "it" : "them") + " as well");
}

bool isOneColour(const QImage &image)
{
    const QRgb first = image.pixel(0, 0);
    const int bits = image.width() * image.depth();
    const auto differs = [&](int x, int y) { return image.pixel(x, y) != first; };
    for (int x = 1; x < image.width(); ++x) {
        if (differs(x, 0))
            return false;
    }
    for (int y = 1; y < image.height(); ++y) {
        if (std::memcmp(image.constScanLine(0), image.constScanLine(y), std::size_t(bits / 8)) != 0)
            return false;
        for (int x = image.width() - bits % 8; x < image.width(); ++x) { // of a bit each
            if (differs(x, y))
                return false;
        }
    }
    return true;
}

// What nothing is drawn of may be an empty page; it is never what was hoped for.
void warnOfNothing(const Drawing &drawing, const TraceJob &job)
{
    if (drawing.outlines.empty())
        job.warn(inputName(job.input) + ": the drawing is empty");
}

// The same where nothing is left but the paper.
void warnOfBlankness(const Drawing &drawing, const TraceJob &job)
{
    if (job.settings.onlyColours.empty() && isBlank(drawing)) {
        job.warn(inputName(job.input) + ": the drawing is blank, which the image is not: all is "
                 + colourName(drawing.outlines.front().colour).toStdString());
    }
}

} // namespace

Drawing readDrawing(const ImageSource &source, TraceJob *job)
{
    Drawing drawing;
    QString error;
    if (!readJson(source.contents(), &drawing, &error))
        throw Failure(kInputUnreadable, inputName(job->input) + ": " + error.toStdString());
    Settings &settings = job->settings;
    if (settings.dpi && *settings.dpi > 0.0)
        drawing.dpi = *settings.dpi;
    if (job->given.count("units"))
        drawing.unit = settings.unit;
    settings.style.byLayer = false; // its areas are not cut out of each other
    for (const std::string &sentence : withoutEffect(job->onTheSpot, true, settings, job->outputs))
        job->warn(sentence);
    warnOfGradients(drawing, *job);
    warnOfShapes(drawing, *job);
    warnOfNothing(drawing, *job);
    return drawing;
}

TracedPicture tracePicture(QImage image, const TraceJob &job)
{
    TracedPicture traced;
    traced.look = { "raw", "" };
    if (job.announce)
        job.announce("looking");
    if (job.settings.background && !job.settings.raw) {
        image = image.convertToFormat(QImage::Format_ARGB32);
        putOnPaper(&image, *job.settings.background);
    }
    const QSize size = image.size();
    const bool mayBeBlank = isOneColour(image);
    Picture picture(std::move(image));
    traced.settings = settingsFor(job, &picture, &traced.look);
    for (const std::string &sentence :
         withoutEffect(job.onTheSpot, false, traced.settings, job.outputs))
        job.warn(sentence);
    useResolution(traced.settings, job, &picture);
    TracePlan plan = planOf(traced.settings);
    if (Ink *ink = std::get_if<Ink>(&plan.segmentation))
        ink->hues = keepsHues(job, traced.settings);
    if (job.forMap)
        makeFitForMaps(job, &plan);
    plan.composition.chains = hasOutput(job.outputs, kHasChains);
    traced.result = traceOnly(std::move(picture), plan, job);
    place(job, size, &traced.result);
    for (Remark remark : traced.result.report.remarks)
        job.warn(inputName(job.input) + ": " + sentenceOf(remark));
    warnOfLeftOut(traced.result.report, job);
    warnOfGradients(traced.result.drawing, job);
    warnOfNothing(traced.result.drawing, job);
    if (!mayBeBlank)
        warnOfBlankness(traced.result.drawing, job);
    traced.result.drawing.about = aboutTrace(traced.result, traced.look, traced.settings);
    return traced;
}

} // namespace ztrace
