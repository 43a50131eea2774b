// (c) the ztrace developers. Licence: see LICENSE.
#include "effects.h"

#include "options.h"
#include "plan.h"

#include "drawing/formats.h"

#include <algorithm>

namespace ztrace {

namespace {

bool isInk(const Settings &settings)
{
    return settings.method.value_or(Method::Flat) == Method::Ink;
}

// Options that another one makes idle.
struct Idle
{
    const char *name;
    bool (*when)(const Settings &settings);
    const char *reason;
};

bool drawsEdges(const Settings &s)
{
    return !s.raw && s.edges && !(isInk(s) && s.strokes);
}

bool isShaped(const Settings &s)
{
    return !s.raw && fitOf(s) != Geometry::Fit::Engine;
}

const Idle kIdle[] = {
    { "stroke-width", [](const Settings &s) { return !s.style.stroked && !drawsEdges(s); },
      "areas are filled; --outline draws outlines" },
    { "fit", drawsEdges, "--edges are the boundaries of true shapes" },
    { "snap",
      [](const Settings &s) {
          return !s.raw && fitOf(s) == Geometry::Fit::Engine && !(isInk(s) && s.strokes);
      },
      "the engine outlines area by area" },
    { "no-frame", drawsEdges, "--edges leave out the outline of the page" },
    { "no-seams", drawsEdges, "--edges have no areas" },
    { "transparent", drawsEdges, "--edges have no areas" },
    { "outline", drawsEdges, "--edges are lines" },
    { "edges", [](const Settings &s) { return !s.raw && isInk(s) && s.strokes; },
      "--strokes draws centre lines" },
    { "dxf-curves",
      [](const Settings &s) {
          return s.dxf.version == DxfVersion::R12 && s.dxf.curves == DxfCurves::Spline;
      },
      "r12 has no splines; choose arc or polyline" },
    { "overwrite", [](const Settings &s) { return s.noClobber; },
      "--no-clobber replaces no file at all" },
    { "upsample",
      [](const Settings &s) {
          return !s.raw && isInk(s) && (s.despeckle > 0 || s.threshold == Threshold::Adaptive);
      },
      "specks and adaptive thresholds are made of whole pixels" },
    { "upsample", isShaped, "true shapes take the soft edges as they are" },
    { "tolerance", isShaped, "true shapes are fitted by the errors of their points" },
    { "curve-tolerance", isShaped, "true shapes are fitted by the errors of their points" },
    { "detail",
      [](const Settings &s) {
          return !s.raw && !isInk(s)
              && (s.method.value_or(Method::Flat) != Method::Blend || !s.palette.empty());
      },
      "flat colours have the areas that they have; --preset photo chooses" },
    { "gradients", [](const Settings &s) { return !s.raw && !isInk(s) && s.noGradients; },
      "--no-gradients draws none" },
    { "gradients", [](const Settings &s) { return !s.raw && !isInk(s) && !s.palette.empty(); },
      "the palette gives the colours" },
    { "colors", [](const Settings &s) { return !s.raw && !isInk(s) && !s.palette.empty(); },
      "the palette gives the colours" },
};

std::vector<std::string> formatsWith(unsigned capability)
{
    std::vector<std::string> names;
    for (const Format &format : allFormats()) {
        if (format.capabilities & capability)
            names.push_back(format.name);
    }
    return names;
}

bool isWritten(unsigned capability, const std::vector<Output> &outputs)
{
    return std::any_of(outputs.begin(), outputs.end(), [capability](const Output &output) {
        return (output.format->capabilities & capability) != 0;
    });
}

std::string reasonOfFormats(unsigned needs)
{
    if (needs == kCutsAreasOut)
        return "dxf has its layers anyway";
    if (needs == kFillsAreas)
        return "only " + listOfWords(formatsWith(needs)) + " have filled areas";
    return "no " + listOfWords(formatsWith(needs)) + " is written";
}

std::string reasonOfMethod(unsigned appliesTo, const Settings &settings)
{
    if (settings.raw)
        return appliesTo & kToRaw ? "" : "--raw leaves all to the engine";
    if (isInk(settings))
        return appliesTo & kToInk ? "" : "the preset makes black and white";
    return appliesTo & kToColours ? "" : "it is for black and white; --preset lineart makes that";
}

// Why the option has no effect; empty when it has one.
std::string reasonAgainst(const Option &option, bool isDrawing, const Settings &settings,
                          const std::vector<Output> &outputs)
{
    if (isDrawing && !(option.appliesTo & kToDrawings))
        return "the input is a drawing already";
    if (option.needs != 0 && !isWritten(option.needs, outputs))
        return reasonOfFormats(option.needs);
    const auto isChosen
        = [&](const Output &output) { return output.format->name == settings.format; };
    if (option.name == "format" && std::none_of(outputs.begin(), outputs.end(), isChosen))
        return "the endings of the outputs tell their formats";
    for (const Idle &idle : kIdle) {
        if (option.name == idle.name && idle.when(settings))
            return idle.reason;
    }
    return isDrawing ? std::string() : reasonOfMethod(option.appliesTo, settings);
}

} // namespace

std::vector<std::string> withoutEffect(const std::set<std::string> &given, bool isDrawing,
                                       const Settings &settings, const std::vector<Output> &outputs)
{
    std::vector<std::string> sentences;
    for (const std::string &name : given) {
        const Option &option = *findOption(name.substr(0, name.find(' '))); // of "set ltres"
        const std::string reason = reasonAgainst(option, isDrawing, settings, outputs);
        if (!reason.empty())
            sentences.push_back("--" + name + " has no effect: " + reason);
    }
    return sentences;
}

} // namespace ztrace
