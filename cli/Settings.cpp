// (c) the ztrace developers. Licence: see LICENSE.
#include "Settings.h"

#include "failure.h"
#include "values.h"

#include <algorithm>
#include <limits>

namespace ztrace
{

namespace
{

    const char *const kEngineOptions[] = {
        "monochrome",    "numberofcolors", "mincolorratio",  "colorquantcycles",
        "colorsampling", "blurradius",     "blurdelta",      "pathomit",
        "ltres",         "qtres",          "alphathreshold", "brightnessthreshold",
    };

    const int kMostColors = 4096;

    void storeEngineOption(Settings *s, const std::string &text)
    {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos)
            throw Failure(kWrongUsage, "--set: \"" + text + "\" is not of the form name=value");
        const std::string name = text.substr(0, equals);
        if (!isEngineOption(name))
            throw Failure(kWrongUsage, "--set: there is no option \"" + name + "\"");
        s->engine[name] = anyNumberValue("--set " + name, text.substr(equals + 1));
    }

    void storeThreshold(Settings *s, const std::string &text)
    {
        s->threshold.reset();
        if (text != "otsu")
            s->threshold = wholeValue("--threshold", text, 0, 255);
    }

    std::vector<Setting> makeSettings()
    {
        const std::string output = "Output";
        const std::string colours = "Colours";
        const std::string geometry = "Outlines";
        const std::string running = "Running";
        return {
            { "output", "o", Setting::List, output, "FILE",
              "Write the drawing to FILE, \"-\" for standard output; may be given several times. "
              "The "
              "ending tells the format. Without it the input's name gets the ending .svg",
              [](Settings *s, const std::string &t) { s->outputs.push_back(t); } },
            { "outline", "", Setting::Flag, output, "", "Draw outlines instead of filled areas",
              [](Settings *s, const std::string &t) {
                  s->style.stroked = flagValue("--outline", t);
              } },
            { "stroke-width", "", Setting::Value, output, "PX", "Width of outlines in pixels (1)",
              [](Settings *s, const std::string &t) {
                  s->style.strokeWidth = numberValue("--stroke-width", t, 0.0);
              } },
            { "preset", "p", Setting::Value, colours, "NAME",
              "How to treat the image: lineart, logo, poster or photo (logo)",
              [](Settings *s, const std::string &t) { s->preset = t; } },
            { "method", "", Setting::Value, colours, "NAME",
              "How the image becomes few colours: ink (black and white by a threshold), flat (its "
              "own "
              "flat colours) or blend (a palette chosen for it)",
              [](Settings *s, const std::string &t) {
                  s->method
                      = static_cast<Method>(wordValue("--method", t, { "ink", "flat", "blend" }));
              } },
            { "colors", "c", Setting::Value, colours, "N", "Number of colours, 1 to 4096",
              [](Settings *s, const std::string &t) {
                  s->colors = wholeValue("--colors", t, 1, kMostColors);
              } },
            { "threshold", "", Setting::Value, colours, "N|otsu",
              "lineart: what is at most this light is ink (otsu: chosen from the histogram)",
              storeThreshold },
            { "raw", "", Setting::Flag, colours, "",
              "Hand the image to the engine untouched, with the engine's own defaults",
              [](Settings *s, const std::string &t) { s->raw = flagValue("--raw", t); } },
            { "set", "", Setting::List, colours, "NAME=VALUE",
              "Set one of the engine's options: monochrome numberofcolors mincolorratio "
              "colorquantcycles colorsampling blurradius blurdelta pathomit ltres qtres "
              "alphathreshold brightnessthreshold",
              storeEngineOption },
            { "seed", "", Setting::Value, colours, "N", "Start of the random numbers (1)",
              [](Settings *s, const std::string &t) {
                  s->seed = static_cast<unsigned>(
                      wholeValue("--seed", t, 0, std::numeric_limits<int>::max()));
              } },
            { "min-path", "", Setting::Value, geometry, "N",
              "Leave out outlines of fewer than N pixel edges",
              [](Settings *s, const std::string &t) {
                  s->minPath = numberValue("--min-path", t, 0.0);
              } },
            { "tolerance", "t", Setting::Value, geometry, "PX",
              "How far, in pixels, a line may be from the image's outline (the engine's ltres and "
              "qtres are its square)",
              [](Settings *s, const std::string &t) {
                  s->tolerance = numberValue("--tolerance", t, 0.0);
              } },
            { "curve-tolerance", "", Setting::Value, geometry, "PX", "The same for curves alone",
              [](Settings *s, const std::string &t) {
                  s->curveTolerance = numberValue("--curve-tolerance", t, 0.0);
              } },
            { "stats", "", Setting::Flag, running, "",
              "Print sizes, palette, numbers of outlines and segments, and times",
              [](Settings *s, const std::string &t) { s->stats = flagValue("--stats", t); } },
            { "quiet", "q", Setting::Flag, running, "", "No warnings",
              [](Settings *s, const std::string &t) { s->quiet = flagValue("--quiet", t); } },
        };
    }

} // namespace

const std::vector<Setting> &allSettings()
{
    static const std::vector<Setting> settings = makeSettings();
    return settings;
}

const Setting *findSetting(const std::string &name)
{
    for (const Setting &setting : allSettings()) {
        if (setting.name == name)
            return &setting;
    }
    return nullptr;
}

bool isEngineOption(const std::string &name)
{
    return std::find(std::begin(kEngineOptions), std::end(kEngineOptions), name)
        != std::end(kEngineOptions);
}

} // namespace ztrace
