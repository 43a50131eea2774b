// (c) the ztrace developers. Licence: see LICENSE.
#include "Settings.h"

#include "failure.h"
#include "formats.h"
#include "gimppalette.h"
#include "values.h"

#include "imaging/upsample.h"

#include <QString>

#include <algorithm>
#include <limits>

namespace ztrace {

namespace {

const char *const kEngineOptions[] = {
    "monochrome",    "numberofcolors", "mincolorratio",  "colorquantcycles",
    "colorsampling", "blurradius",     "blurdelta",      "pathomit",
    "ltres",         "qtres",          "alphathreshold", "brightnessthreshold",
};

const double kLeastDpi = 0.01;
const double kMostDpi = 1e6;
const double kMostStrokeWidth = 1e6; // pixels
const double kLeastScale = 0.001;
const double kLeastDxfTolerance = 1e-6;
const int kMostPages = 100000;
const int kMostSpeck = 1000000;

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
    const std::vector<std::pair<const char *, Threshold>> words
        = { { "auto", Threshold::Auto },
            { "otsu", Threshold::Otsu },
            { "adaptive", Threshold::Adaptive } };
    for (const auto &word : words) {
        if (QString::fromStdString(text).toLower() == QLatin1String(word.first)) {
            s->threshold = word.second;
            return;
        }
    }
    s->fixedThreshold = wholeValue("--threshold", text, 0, 255, "auto, otsu or adaptive");
    s->threshold = Threshold::Fixed;
}

void storeDpi(Settings *s, const std::string &text)
{
    s->dpi = text == "auto" ? 0.0 : numberValue("--dpi", text, kLeastDpi, kMostDpi, "auto");
}

void storePage(Settings *s, const std::string &text)
{
    s->page = text == "all" ? 0 : wholeValue("--page", text, 1, kMostPages, "all");
}

void storeUpsampling(Settings *s, const std::string &text)
{
    s->upsample = text == "auto" ? 0 : wholeValue("--upsample", text, 1, kMostUpsampling, "auto");
}

const std::string kOutputGroup = "Output";
const std::string kColourGroup = "Colours";
const std::string kOutlineGroup = "Outlines";
const std::string kRunningGroup = "Running";

const Setting kOutputSettings[] = {
    { "output", "o", Setting::List, kOutputGroup, "FILE",
      "Write the drawing to FILE, \"-\" for standard output; may be given several times. The "
      "ending tells the format: svg, dxf, pdf, png or json. Without it the input's name gets "
      "the ending .svg",
      [](Settings *s, const std::string &t) { s->outputs.push_back(t); } },
    { "format", "f", Setting::Value, kOutputGroup, "FORMAT",
      "Format where no ending tells it, as on standard output",
      [](Settings *s, const std::string &t) {
          s->format = formatNames()[wordValue("--format", t, formatNames())];
      } },
    { "dpi", "", Setting::Value, kOutputGroup, "N|auto",
      "Pixels an inch of the image (auto: what the image says of itself)", storeDpi },
    { "units", "u", Setting::Value, kOutputGroup, "UNIT",
      "Unit of DXF coordinates and of the SVG's size: px, mm or in (px). mm and in take the "
      "image's own resolution when --dpi is not given",
      [](Settings *s, const std::string &t) {
          s->unit = static_cast<Unit>(wordValue("--units", t, { "px", "mm", "in" }));
      } },
    { "layers", "", Setting::Flag, kOutputGroup, "",
      "One group or layer a colour in SVG and PDF; every area is cut out of what lies around "
      "it",
      [](Settings *s, const std::string &t) { s->style.byLayer = flagValue("--layers", t); } },
    { "outline", "", Setting::Flag, kOutputGroup, "", "Draw outlines instead of filled areas",
      [](Settings *s, const std::string &t) { s->style.stroked = flagValue("--outline", t); } },
    { "stroke-width", "", Setting::Value, kOutputGroup, "PX", "Width of outlines in pixels (1)",
      [](Settings *s, const std::string &t) {
          s->style.strokeWidth = numberValue("--stroke-width", t, 0.0, kMostStrokeWidth);
      } },
    { "decimals", "", Setting::Value, kOutputGroup, "N",
      "Decimals of SVG coordinates (as many as it takes to be exact)",
      [](Settings *s, const std::string &t) { s->decimals = wholeValue("--decimals", t, 0, 17); } },
    { "scale", "", Setting::Value, kOutputGroup, "F", "Size of a PNG in times the image's (1)",
      [](Settings *s, const std::string &t) {
          s->scale = numberValue("--scale", t, kLeastScale);
      } },
    { "dxf-curves", "", Setting::Value, kOutputGroup, "KIND",
      "Curves in DXF: spline (exact), arc (one closed polyline an outline, with arcs) or "
      "polyline (lines alone) (spline)",
      [](Settings *s, const std::string &t) {
          s->dxf.curves = static_cast<DxfCurves>(
              wordValue("--dxf-curves", t, { "spline", "arc", "polyline" }));
      } },
    { "dxf-tolerance", "", Setting::Value, kOutputGroup, "PX",
      "How far arcs and lines may be from the curves, in pixels (0.05)",
      [](Settings *s, const std::string &t) {
          s->dxf.tolerance = numberValue("--dxf-tolerance", t, kLeastDxfTolerance);
      } },
    { "dxf-version", "", Setting::Value, kOutputGroup, "VERSION",
      "2004, 2000 or r12, which has no splines (2004)",
      [](Settings *s, const std::string &t) {
          s->dxf.version
              = static_cast<DxfVersion>(wordValue("--dxf-version", t, { "r12", "2000", "2004" }));
      } },
};

const Setting kColourSettings[] = {
    { "preset", "p", Setting::Value, kColourGroup, "NAME",
      "How to treat the image: auto (look at it), lineart, logo, poster, photo, or a TOML file "
      "(auto)",
      [](Settings *s, const std::string &t) { s->preset = t; } },
    { "method", "", Setting::Value, kColourGroup, "NAME",
      "How the image becomes few colours: ink (black and white by a threshold), flat (its own "
      "flat colours) or blend (a palette chosen for it)",
      [](Settings *s, const std::string &t) {
          s->method = static_cast<Method>(wordValue("--method", t, { "ink", "flat", "blend" }));
      } },
    { "colors", "c", Setting::Value, kColourGroup, "N", "Largest number of colours, 1 to 4096",
      [](Settings *s, const std::string &t) {
          s->colors = wholeValue("--colors", t, 1, kMostColors);
      } },
    { "palette", "", Setting::Commas, kColourGroup, "LIST|FILE",
      "Exactly these colours and no others: '#000000,#ff0000,orange', a GIMP palette (.gpl) or a "
      "text with such a list",
      [](Settings *s, const std::string &t) { s->palette = paletteValue(t); } },
    { "background", "", Setting::Value, kColourGroup, "COLOR",
      "Put this colour under what is transparent",
      [](Settings *s, const std::string &t) { s->background = colourValue("--background", t); } },
    { "threshold", "", Setting::Value, kColourGroup, "N|WORD",
      "lineart: what is at most this light is ink. auto evens out uneven light and chooses for the "
      "page, otsu chooses for the page as it is, adaptive for every part of it (auto)",
      storeThreshold },
    { "deskew", "", Setting::Flag, kColourGroup, "", "lineart: turn a crooked page upright",
      [](Settings *s, const std::string &t) { s->deskew = flagValue("--deskew", t); } },
    { "despeckle", "", Setting::Value, kColourGroup, "N",
      "lineart: remove specks and fill pinholes of up to N pixels",
      [](Settings *s, const std::string &t) {
          s->despeckle = wholeValue("--despeckle", t, 0, kMostSpeck);
      } },
    { "page", "", Setting::Value, kColourGroup, "N|all",
      "Page of a TIFF; all writes every page, with numbers in the outputs' names when there are "
      "several (1)",
      storePage },
    { "upsample", "", Setting::Value, kColourGroup, "N|auto",
      "Let soft edges tell where between the pixels they run, on a grid N times as fine (auto: "
      "finer for small images with soft edges)",
      storeUpsampling },
    { "raw", "", Setting::Flag, kColourGroup, "",
      "Hand the image to the engine untouched, with the engine's own defaults",
      [](Settings *s, const std::string &t) { s->raw = flagValue("--raw", t); } },
    { "set", "", Setting::List, kColourGroup, "NAME=VALUE",
      "Set one of the engine's options: monochrome numberofcolors mincolorratio "
      "colorquantcycles colorsampling blurradius blurdelta pathomit ltres qtres "
      "alphathreshold brightnessthreshold",
      storeEngineOption },
    { "seed", "", Setting::Value, kColourGroup, "N", "Start of the random numbers (1)",
      [](Settings *s, const std::string &t) {
          s->seed
              = static_cast<unsigned>(wholeValue("--seed", t, 0, std::numeric_limits<int>::max()));
      } },
};

const Setting kOutlineSettings[] = {
    { "min-path", "", Setting::Value, kOutlineGroup, "N",
      "Leave out areas with outlines of fewer than N pixel edges (the engine's pathomit)",
      [](Settings *s, const std::string &t) { s->minPath = numberValue("--min-path", t, 0.0); } },
    { "tolerance", "t", Setting::Value, kOutlineGroup, "PX",
      "How far, in pixels, lines and curves may be from the image's outline; the engine's "
      "ltres and qtres are the square of it",
      [](Settings *s, const std::string &t) {
          s->tolerance = numberValue("--tolerance", t, 0.0);
      } },
    { "curve-tolerance", "", Setting::Value, kOutlineGroup, "PX", "The same for curves alone",
      [](Settings *s, const std::string &t) {
          s->curveTolerance = numberValue("--curve-tolerance", t, 0.0);
      } },
    { "no-frame", "", Setting::Flag, kOutlineGroup, "", "Leave out the outline of the page itself",
      [](Settings *s, const std::string &t) { s->noFrame = flagValue("--no-frame", t); } },
    { "no-seams", "", Setting::Flag, kOutlineGroup, "",
      "Leave out the strokes that close the hairlines between areas, for plotters and cutters",
      [](Settings *s, const std::string &t) { s->seams = !flagValue("--no-seams", t); } },
    { "only-color", "", Setting::List, kOutlineGroup, "COLOR",
      "Keep the outlines of this colour alone; may be given several times",
      [](Settings *s, const std::string &t) {
          s->onlyColours.push_back(colourValue("--only-color", t));
      } },
    { "transparent", "", Setting::Flag, kOutlineGroup, "",
      "Outlines of fully transparent areas too, on a layer of their own",
      [](Settings *s, const std::string &t) { s->transparent = flagValue("--transparent", t); } },
};

const Setting kRunningSettings[] = {
    { "config", "", Setting::Value, kRunningGroup, "FILE",
      "Take settings from a TOML file; names are those of the options, the engine's options "
      "stand in a section [set]. The command line goes before the file, the file before the preset",
      [](Settings *s, const std::string &t) {
          if (t.empty())
              throw Failure(kWrongUsage, "--config: a file name is wanted");
          s->config = t;
      } },
    { "stats", "", Setting::Flag, kRunningGroup, "",
      "Print sizes, palette, numbers of outlines and segments, and times",
      [](Settings *s, const std::string &t) { s->stats = flagValue("--stats", t); } },
    { "json", "", Setting::Flag, kRunningGroup, "",
      "The same as one JSON object a drawing, one a line",
      [](Settings *s, const std::string &t) { s->json = flagValue("--json", t); } },
    { "progress", "", Setting::Value, kRunningGroup, "WHEN",
      "auto (on a terminal, for what takes more than a second), always or never (auto)",
      [](Settings *s, const std::string &t) {
          s->progress
              = static_cast<Progress>(wordValue("--progress", t, { "auto", "always", "never" }));
      } },
    { "quiet", "q", Setting::Flag, kRunningGroup, "", "No warnings and no progress",
      [](Settings *s, const std::string &t) { s->quiet = flagValue("--quiet", t); } },
};

template<std::size_t Count>
void append(const Setting (&part)[Count], std::vector<Setting> *all)
{
    all->insert(all->end(), part, part + Count);
}

} // namespace

const std::vector<Setting> &allSettings()
{
    static const std::vector<Setting> settings = [] {
        std::vector<Setting> all;
        append(kOutputSettings, &all);
        append(kColourSettings, &all);
        append(kOutlineSettings, &all);
        append(kRunningSettings, &all);
        return all;
    }();
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

void storeSetting(const Setting &setting, const std::string &text, Settings *settings)
{
    setting.store(settings, text);
    if (setting.group == kColourGroup || setting.group == kOutlineGroup)
        settings->said[setting.name].push_back(text);
}

bool isEngineOption(const std::string &name)
{
    return std::find(std::begin(kEngineOptions), std::end(kEngineOptions), name)
        != std::end(kEngineOptions);
}

} // namespace ztrace
