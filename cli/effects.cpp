// (c) the ztrace developers. Licence: see LICENSE.
#include "effects.h"

#include <algorithm>

namespace ztrace {

namespace {

const char *const kNotForColours[] = { "threshold", "deskew", "despeckle" };
const char *const kNotForRaw[] = { "background", "colors", "deskew",    "despeckle", "method",
                                   "palette",    "preset", "threshold", "upsample" };

template<std::size_t Count>
bool isIn(const char *const (&names)[Count], const std::string &name)
{
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// The format that an option is for; empty for the others.
std::string formatOf(const std::string &name)
{
    if (name.compare(0, 4, "dxf-") == 0)
        return "dxf";
    if (name == "scale")
        return "png";
    return name == "decimals" ? "svg" : "";
}

bool isWritten(const std::string &format, const std::vector<Output> &outputs)
{
    return std::any_of(outputs.begin(), outputs.end(),
                       [&format](const Output &output) { return output.format == format; });
}

// Why the option has no effect; empty when it has one.
std::string reasonAgainst(const std::string &name, const Settings &settings,
                          const std::vector<Output> &outputs)
{
    const std::string format = formatOf(name);
    if (!format.empty() && !isWritten(format, outputs))
        return "no " + format + " is written";
    if (name == "format" && !isWritten(settings.format, outputs))
        return "the endings of the outputs tell their formats";
    const bool isPainted
        = isWritten("svg", outputs) || isWritten("pdf", outputs) || isWritten("png", outputs);
    if (name == "layers" && !isPainted && !isWritten("json", outputs))
        return "dxf has its layers anyway";
    if (name == "outline" && !isPainted)
        return "nothing is filled in dxf and json";
    if (name == "stroke-width" && !settings.style.stroked)
        return "areas are filled; --outline draws outlines";
    if (name == "dxf-curves" && settings.dxf.version == DxfVersion::R12
        && settings.dxf.curves == DxfCurves::Spline)
        return "r12 has no splines; arc and polyline are to be had";
    if (settings.raw)
        return isIn(kNotForRaw, name) ? "--raw leaves all to the engine" : "";
    const bool isInk = settings.method.value_or(Method::Flat) == Method::Ink;
    if (!isInk && isIn(kNotForColours, name))
        return "it is for black and white; --preset lineart makes that";
    if (name == "upsample" && isInk
        && (settings.despeckle > 0 || settings.threshold == Threshold::Adaptive))
        return "specks and adaptive thresholds are made of whole pixels";
    if (name == "colors" && isInk)
        return "the preset makes black and white";
    if (name == "colors" && !settings.palette.empty())
        return "the palette gives the colours";
    return std::string();
}

} // namespace

std::vector<std::string> withoutEffect(const std::set<std::string> &given, const Settings &settings,
                                       const std::vector<Output> &outputs)
{
    std::vector<std::string> sentences;
    for (const std::string &name : given) {
        const std::string reason = reasonAgainst(name, settings, outputs);
        if (!reason.empty())
            sentences.push_back("--" + name + " has no effect: " + reason);
    }
    return sentences;
}

std::vector<std::string> withoutEffectOnDrawings(const std::set<std::string> &given,
                                                 const Settings &settings,
                                                 const std::vector<Output> &outputs)
{
    std::vector<std::string> sentences;
    for (const std::string &name : given) {
        const std::string option = name.substr(0, name.find(' ')); // of "set ltres"
        const Setting *setting = findSetting(option);
        std::string reason = reasonAgainst(name, settings, outputs);
        if (setting->group == "Colours" || setting->group == "Outlines" || option == "layers")
            reason = "the input is a drawing already";
        if (!reason.empty())
            sentences.push_back("--" + name + " has no effect: " + reason);
    }
    return sentences;
}

} // namespace ztrace
