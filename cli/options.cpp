// (c) the ztrace developers. Licence: see LICENSE.
#include "options.h"

#include "batchoptions.h"
#include "failure.h"
#include "ownvalues.h"
#include "suggest.h"
#include "timelimit.h"

#include "drawing/formats.h"
#include "engine/optiondefaults.h"
#include "imaging/upsample.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kLeastDpi = 0.01;
const double kMostDpi = 1e6;
const double kMostStrokeWidth = 1e6; // pixels
const double kLeastScale = 0.001;
const double kLeastDxfTolerance = 1e-6;
const int kMostDecimals = 17; // tell every double from every other one
const int kMostSpeck = 1000000;
const double kMostNumber = std::numeric_limits<double>::max();

const WordTable<Unit> kUnits
    = { { "px", Unit::Pixel }, { "mm", Unit::Millimetre }, { "in", Unit::Inch } };
const WordTable<DxfCurves> kDxfCurves = { { "spline", DxfCurves::Spline },
                                          { "arc", DxfCurves::Arc },
                                          { "polyline", DxfCurves::Polyline } };
const WordTable<DxfVersion> kDxfVersions
    = { { "2004", DxfVersion::R2004 }, { "2000", DxfVersion::R2000 }, { "r12", DxfVersion::R12 } };
const WordTable<Method> kMethods
    = { { "ink", Method::Ink }, { "flat", Method::Flat }, { "blend", Method::Blend } };
const WordTable<fit::Snap> kSnaps
    = { { "none", fit::Snap::None }, { "joints", fit::Snap::Joints }, { "all", fit::Snap::All } };
const WordTable<std::optional<Geometry::Fit>> kFits = { { "auto", std::nullopt },
                                                        { "fair", Geometry::Fit::Fair },
                                                        { "engine", Geometry::Fit::Engine } };
const WordTable<Progress> kProgress
    = { { "auto", Progress::Auto }, { "always", Progress::Always }, { "never", Progress::Never } };

std::vector<Entry> outputOptions()
{
    return {
        Entry("output", 'o',
              fileName("FILE", "*",
                       [](Settings &s, const std::string &t) { s.outputs.push_back(t); }))
            .several()
            .place(Place::UpToSettingsFile)
            .commandOnly()
            .help("Write the drawing to `FILE`, `-` for standard output; may be given several "
                  "times. The ending tells the format. Without it the input's name gets the "
                  "ending `.svg`"),
        Entry("format", 'f', formatName())
            .place(Place::UpToSettingsFile)
            .commandOnly()
            .help("Format where no ending tells it, as on standard output")
            .manual("An ending wins"),
        Entry("overwrite", flag([](Settings &s, bool on) { s.overwrite = on; }))
            .commandOnly()
            .help("Replace an existing image or drawing of others, too")
            .manual("Files that ztrace has written are replaced without it, as long as no other "
                    "program has saved them since"),
        Entry("no-clobber", flag([](Settings &s, bool on) { s.noClobber = on; }))
            .commandOnly()
            .help("Replace no existing file at all"),
        Entry("layers", flag([](Settings &s, bool on) { s.style.byLayer = on; }))
            .appliesTo(kToImages)
            .needs(kCutsAreasOut)
            .help("One group or layer a colour in SVG and PDF; every area is cut out of what lies "
                  "around it")
            .manual("In PNG and JSON areas are cut out as well; DXF has a layer a colour anyway"),
        Entry("outline", flag([](Settings &s, bool on) { s.style.stroked = on; }))
            .needs(kFillsAreas)
            .help("Draw outlines instead of filled areas"),
        Entry("stroke-width",
              number("PX", 0.0, kMostStrokeWidth,
                     [](Settings &s, double width) { s.style.strokeWidth = width; }))
            .standard("1")
            .needs(kFillsAreas)
            .help("Width of outlines in pixels"),
        Entry("decimals",
              wholeNumberOr("N|exact", { "exact", kExactDecimals }, 0, kMostDecimals,
                            [](Settings &s, int decimals) { s.decimals = decimals; })
                  .offering({ "1", "2", "3" }))
            .needs(kRoundsNumbers)
            .help("Decimals of SVG coordinates; `exact` are as many as it takes")
            .manual("Without it 2 for true shapes and centre lines, 1 for pages of more than 1000 "
                    "areas with hard edges, and exact for the engine's outlines. Rounded "
                    "coordinates are written in few bytes"),
        Entry("scale",
              number("F", kLeastScale, kMostNumber,
                     [](Settings &s, double scale) { s.scale = scale; }))
            .standard("1")
            .needs(kIsRaster)
            .help("Size of a PNG in times the image's"),
        Entry("dxf-curves",
              oneOf<DxfCurves>("KIND", kDxfCurves,
                               [](Settings &s, DxfCurves c) { s.dxf.curves = c; }))
            .standard("spline")
            .needs(kChoosesCurves)
            .help("Curves in DXF: `spline` is exact, `arc` makes one closed polyline an outline "
                  "with arcs, `polyline` the same in lines alone")
            .manual("Splines are of degree 2, with polylines for the lines between them; arcs are "
                    "for cutters and old programs"),
        Entry("dxf-tolerance",
              number("PX", kLeastDxfTolerance, kMostNumber,
                     [](Settings &s, double tolerance) { s.dxf.tolerance = tolerance; }))
            .standard("0.05")
            .needs(kChoosesCurves)
            .help("How far arcs and lines may be from the curves, in pixels"),
        Entry("dxf-join", flag([](Settings &s, bool on) { s.dxf.join = on; }))
            .needs(kChoosesCurves)
            .help("Centre lines in DXF as the longest polylines: lines of one layer and pen that "
                  "go on from one another are one")
            .manual("Curves are arcs in them, within `--dxf-tolerance`. Without it every line, "
                    "arc, circle and curve is an entity of its own"),
        Entry("dxf-version",
              oneOf<DxfVersion>("VERSION", kDxfVersions,
                                [](Settings &s, DxfVersion v) { s.dxf.version = v; }))
            .standard("2004")
            .needs(kChoosesCurves)
            .help("Version of DXF; `r12` has no splines")
            .manual("2004 is AC1018, 2000 is AC1015, r12 is AC1009"),
    };
}

std::vector<Entry> sizeOptions()
{
    return {
        Entry("dpi",
              numberOr("N|auto", { "auto", 0 }, kLeastDpi, kMostDpi,
                       [](Settings &s, double dpi) { s.dpi = dpi; })
                  .offering({ "72", "96", "150", "300", "600" }))
            .help("Pixels an inch of the image; `auto` is what the image says of itself, and 96 "
                  "where it says nothing"),
        Entry("units", 'u',
              oneOf<Unit>("UNIT", kUnits, [](Settings &s, Unit unit) { s.unit = unit; }))
            .standard("px")
            .needs(kHasUnits)
            .help("Unit of DXF coordinates and of the SVG's size. `mm` and `in` take the image's "
                  "own resolution when `--dpi` is not given"),
    };
}

std::vector<Entry> colourOptions()
{
    return {
        Entry("preset", 'p', presetName())
            .standard("auto")
            .place(Place::UpToSettingsFile)
            .appliesTo(kToReduced)
            .help("How to treat the image: `auto` looks at it and takes one of the presets that "
                  "`ztrace presets` lists; or a TOML file"),
        Entry("method",
              oneOf<Method>("NAME", kMethods, [](Settings &s, Method m) { s.method = m; }))
            .appliesTo(kToReduced)
            .help("How the image becomes few colours: `ink` (black and white by a threshold), "
                  "`flat` (its own flat colours) or `blend` (a palette chosen for it)")
            .manual("The presets are built on these"),
        Entry("colors", 'c',
              wholeNumber("N", 1, kMostColors, [](Settings &s, int colors) { s.colors = colors; }))
            .appliesTo(kToColours)
            .help("Largest number of colours")
            .manual("Without it 64 for logo, 12 for poster, 128 for photo; full transparency does "
                    "not count"),
        Entry("detail",
              number("N", 0.0, kMostDetail, [](Settings &s, double detail) { s.detail = detail; }))
            .standard("5")
            .appliesTo(kToColours)
            .help("photo, poster: how fine areas are, from 0 (a few large ones) to 10; the same on "
                  "every picture, whatever its size and its colours")
            .manual("An area is drawn where it saves more of the colour error than its border "
                    "costs; every step halves the price of a border. `poster` has 2"),
        Entry("gradients", flag([](Settings &s, bool on) { s.gradients = on; }))
            .appliesTo(kToColours)
            .help("Areas whose colour goes evenly along a line or away from a point are one area "
                  "with a linear or radial gradient, in place of bands")
            .manual("In SVG, PDF, PNG and JSON; DXF and GeoJSON have the mean colour of such an "
                    "area. Colours of gradients do not count among `--colors`. `logo` draws them "
                    "without being asked where every format that is written has them, each area "
                    "is filled once, and no number of colours is given"),
        Entry("no-gradients", flag([](Settings &s, bool on) { s.noGradients = on; }))
            .appliesTo(kToColours)
            .help("Bands of one colour each where a preset would draw a gradient"),
        Entry("palette", paletteOrFile())
            .commas()
            .appliesTo(kToReduced)
            .help("Exactly these colours and no others: `'#000000,#ff0000,orange'`, a GIMP palette "
                  "(`.gpl`) or a text with such a list")
            .manual("Text files have one colour a line, or several with commas between them"),
        Entry("background",
              colour("COLOR", [](Settings &s, QRgb colour) { s.background = colour; }))
            .appliesTo(kToReduced)
            .help("Put this colour under what is transparent"),
        Entry("threshold", thresholdOrWord())
            .standard("auto")
            .appliesTo(kToInk)
            .help("lineart: what is at most this light is ink. `auto` evens out uneven light and "
                  "chooses for the page, `otsu` chooses for the page as it is, `adaptive` for "
                  "every part of it")
            .manual("`adaptive` suits stains, and hollows out solid areas"),
        Entry("deskew", flag([](Settings &s, bool on) { s.deskew = on; }))
            .appliesTo(kToInk)
            .help("lineart: turn a page upright that is crooked by up to 6 degrees"),
        Entry(
            "despeckle",
            wholeNumber("N", 0, kMostSpeck, [](Settings &s, int pixels) { s.despeckle = pixels; }))
            .standard("0")
            .appliesTo(kToInk)
            .help("lineart: remove specks and fill pinholes of up to `N` pixels"),
        Entry("page", pageOrPages())
            .standard("1")
            .place(Place::UpToSettingsFile)
            .appliesTo(kToImages)
            .help("Page of a TIFF or PDF, frame of an animation: one, or several as in `2-4,7`, or "
                  "`all`; several have numbers in the outputs' names, or are in one file where "
                  "that is PDF"),
        Entry("upsample",
              wholeNumberOr("N|auto", { "auto", 0 }, 1, kMostUpsampling,
                            [](Settings &s, int times) { s.upsample = times; })
                  .offering({ "1", "2", "3", "4" }))
            .standard("auto")
            .appliesTo(kToReduced)
            .help("Let soft edges tell where between the pixels they run, on a grid `N` times as "
                  "fine; `auto` is finer for small images with soft edges")
            .manual("`auto` takes 2 for images of up to 2.5 megapixels with soft edges; 1 for all "
                    "others, for `poster` and `photo`, and where `--set` gives `ltres`, `qtres` or "
                    "`pathomit`"),
        Entry(
            "fit",
            oneOf<std::optional<Geometry::Fit>>(
                "NAME", kFits, [](Settings &s, std::optional<Geometry::Fit> fit) { s.fit = fit; }))
            .standard("auto")
            .appliesTo(kToReduced)
            .help("What draws the outlines: `fair`, true shapes, every boundary once from its soft "
                  "edge, in lines, arcs, curves and circles; or `engine`, area by area")
            .manual(
                "`auto` takes `fair`, but `engine` for dense pages and for photographs and posters "
                "whose borders are longer than about 200,000 pixels, of photographs those of more "
                "than about half a megapixel, and where `--tolerance`, `--curve-tolerance`, "
                "`--upsample` or `--set` is given, "
                "which are the engine's alone: with `fair`, tolerances and `--upsample` have no "
                "effect"),
        Entry("snap",
              oneOf<fit::Snap>("WORD", kSnaps, [](Settings &s, fit::Snap snap) { s.snap = snap; }))
            .standard("none")
            .appliesTo(kToReduced)
            .help("True shapes that are so but for their errors become exactly upright, with "
                  "parallel sides and right angles (`joints`), and parallel to each other, "
                  "concentric and equally large as well (`all`)")
            .manual("Whole shapes and polygons that no other boundary meets; only where the "
                    "picture speaks hardly less for it. With `--strokes` lines and circles "
                    "likewise: to lines that they meet (`joints`) or to all, and what met still "
                    "meets"),
        Entry("strokes", flag([](Settings &s, bool on) { s.strokes = on; }))
            .appliesTo(kToInk)
            .help("drawing: ink of an even width becomes a line, arc or circle along its middle, "
                  "with a pen of that width; what is solid stays an area")
            .manual("The presets `drawing` and `lineart` know it; the command takes `drawing` "
                    "where no preset is named. Each pen has a layer: `PEN_0.35`, in millimetres "
                    "of the standard series, where the resolution is known, else `PEN_1`, `PEN_2` "
                    "from thin to thick; solid parts are on `SOLID`, dimensions with their arrow "
                    "heads on `DIM`, lettering on `TEXT`, hatches on `HATCH`. Drawings in a few "
                    "inks keep "
                    "their colours, a layer a pen and ink (`PEN_1_FF0000`), and areas of an even "
                    "colour that lines lie on are filled on `AREA`; `--palette` names one ink for "
                    "all"),
        Entry("edges", flag([](Settings &s, bool on) { s.edges = on; }))
            .appliesTo(kToReduced)
            .help("Draw every boundary between two areas once, as a line, for cutters and "
                  "plotters: no double lines")
            .manual(
                "Boundaries are those of `--fit fair`, on the layer of the darker of their two "
                "colours; `--stroke-width` is their width. The rim of the picture is drawn where "
                "an area other than the page ends there. `--dxf-join` makes long paths of them"),
        Entry("raw", flag([](Settings &s, bool on) { s.raw = on; }))
            .appliesTo(kToImages)
            .help("Hand the image to the engine untouched, with the engine's own defaults"),
        Entry("set", engineAssignment())
            .several()
            .appliesTo(kToImages)
            .help("Set one of the engine's options")
            .manual("The table in the README says what they do. Any number is taken, infinity and "
                    "negative ones too, since the engine has a meaning for all of them"),
        Entry("seed",
              wholeNumber("N", 0, std::numeric_limits<int>::max(),
                          [](Settings &s, int seed) { s.seed = static_cast<unsigned>(seed); }))
            .standard("1")
            .appliesTo(kToImages)
            .help("Start of the random numbers"),
    };
}

std::vector<Entry> outlineOptions()
{
    return {
        Entry("min-path",
              number("N", 0.0, kMostNumber, [](Settings &s, double edges) { s.minPath = edges; }))
            .appliesTo(kToImages)
            .help("Leave out areas with outlines of fewer than `N` pixel edges (the engine's "
                  "`pathomit`)")
            .manual("They go to their neighbours; for lineart and `--raw` they are left out. "
                    "Without it 8, but for marks that stand out, 24 for poster; photo has what "
                    "`--detail` pays for, and 10 where it "
                    "has no effect"),
        Entry("tolerance", 't',
              number("PX", 0.0, kMostNumber,
                     [](Settings &s, double pixels) { s.tolerance = pixels; }))
            .appliesTo(kToImages)
            .help("How far, in pixels, lines and curves may be from the image's outline; the "
                  "engine's `ltres` and `qtres` are the square of it")
            .manual(
                "Without it 1, for logo, and for photo from a `--detail` of 4, 0.7, and 0.5 for "
                "lineart and logo on a finer grid"),
        Entry("curve-tolerance",
              number("PX", 0.0, kMostNumber,
                     [](Settings &s, double pixels) { s.curveTolerance = pixels; }))
            .appliesTo(kToImages)
            .help("The same for curves alone"),
        Entry("no-frame", flag([](Settings &s, bool on) { s.noFrame = on; }))
            .appliesTo(kToImages)
            .help("Leave out the outline of the page itself")
            .manual("That is an area that reaches all four sides and runs along half of the rim"),
        Entry("no-seams", flag([](Settings &s, bool on) { s.seams = !on; }))
            .appliesTo(kToImages)
            .help("Leave out what closes the hairlines between areas, for plotters and cutters")
            .manual("In SVG, PDF and PNG areas of true shapes reach under their neighbours, which "
                    "are painted over them, but not in layers, which are cut exactly anyway. The "
                    "engine's have strokes of their own colour, half a pixel to one and a half "
                    "wide; shapes grow by half of that where nothing covers them"),
        Entry("only-color",
              colour("COLOR", [](Settings &s, QRgb colour) { s.onlyColours.push_back(colour); }))
            .several()
            .appliesTo(kToImages)
            .help("Keep the outlines of this colour alone; may be given several times")
            .manual("A colour that is not in the palette stands for the nearest one that is, which "
                    "is told; one that nothing is near to is refused. Holes are on the same layer"),
        Entry("transparent", flag([](Settings &s, bool on) { s.transparent = on; }))
            .appliesTo(kToImages)
            .help("Outlines of fully transparent areas too, on a layer of their own"),
    };
}

std::vector<Entry> runningOptions()
{
    return {
        Entry("config",
              fileName("FILE", "*.toml", [](Settings &s, const std::string &t) { s.config = t; }))
            .place(Place::CommandLine)
            .help("Take settings from a TOML file; names are those of the options, the engine's "
                  "options stand in a section `[set]`. The command line goes before the file, the "
                  "file before the preset"),
        Entry("stats", flag([](Settings &s, bool on) { s.stats = on; }))
            .commandOnly()
            .help("Print sizes, palette, numbers of outlines and segments, and times")
            .manual("To standard output, or to standard error when the drawing goes there"),
        Entry("json", flag([](Settings &s, bool on) { s.json = on; }))
            .commandOnly()
            .help("The same as one JSON object a drawing, one a line"),
        Entry("progress",
              oneOf<Progress>("WHEN", kProgress, [](Settings &s, Progress p) { s.progress = p; }))
            .standard("auto")
            .commandOnly()
            .help("Say what is being done: `auto` does on a terminal, for what takes more than a "
                  "second")
            .manual("`always` says so at once, and where standard error is no terminal in a line a "
                    "stage"),
        Entry("max-pixels",
              number("N", 0.0, kMostNumber,
                     [](Settings &s, double millions) { s.maxPixels = millions; }))
            .standard("1000")
            .appliesTo(kToImages)
            .help("Refuse images of more than `N` million pixels before they are decoded"),
        Entry("max-memory",
              number("MB", 0.0, kMostNumber,
                     [](Settings &s, double millions) { s.maxMemory = millions; }))
            .standard("8192")
            .help("Refuse images that would take more than this, in millions of bytes, before they "
                  "are decoded, and input of more than this")
            .manual("An image is taken for 24 bytes a pixel, a grey or black-and-white one for 14"),
        Entry("time-limit",
              number("SECONDS", 0.0, kMostSeconds,
                     [](Settings &s, double seconds) { s.timeLimit = seconds; }))
            .place(Place::CommandLine)
            .commandOnly()
            .help("End the run when it has taken so long, and with `batch` a picture; 0 is no "
                  "limit. Without it batch has 600, and a single run none")
            .manual("Outputs that are not written by then are not written at all"),
        Entry("quiet", 'q', flag([](Settings &s, bool on) { s.quiet = on; }))
            .commandOnly()
            .help("No warnings and no progress"),
        Entry("help", 'h', action())
            .place(Place::CommandLine)
            .commandOnly()
            .help("Print this help"),
        Entry("version", 'V', action())
            .place(Place::CommandLine)
            .commandOnly()
            .help("Print the version"),
    };
}

void append(Group group, const std::vector<Entry> &entries, std::vector<Option> *options)
{
    for (const Entry &entry : entries) {
        options->push_back(entry.option);
        options->back().group = group;
    }
}

std::string boundText(double bound)
{
    return bound == std::floor(bound) ? std::to_string(static_cast<long long>(bound))
                                      : shortText(bound);
}

// "0.01 to 1000000", "at least 0"; empty for what has no bounds that help.
std::string rangeText(const OptionValue &value)
{
    const double kTellingNothing = 1e9;
    if (value.most < kTellingNothing)
        return boundText(value.least) + " to " + boundText(value.most);
    return value.least > 0.0 ? "at least " + boundText(value.least) : std::string();
}

// Words that the help does not name.
std::vector<std::string> untoldWords(const Option &option)
{
    const auto isTold = [&](const std::string &word) {
        return option.help.find('`' + word + '`') != std::string::npos;
    };
    const std::vector<std::string> &words = option.value.words;
    return std::all_of(words.begin(), words.end(), isTold) ? std::vector<std::string>() : words;
}

} // namespace

const std::vector<Option> &allOptions()
{
    static const std::vector<Option> options = [] {
        std::vector<Option> all;
        append(Group::Output, outputOptions(), &all);
        append(Group::Size, sizeOptions(), &all);
        append(Group::Colours, colourOptions(), &all);
        append(Group::Outlines, outlineOptions(), &all);
        append(Group::Running, runningOptions(), &all);
        append(Group::Batch, batchOptions(), &all);
        return all;
    }();
    return options;
}

const std::vector<std::pair<Group, const char *>> &allGroups()
{
    static const std::vector<std::pair<Group, const char *>> groups
        = { { Group::Output, "Output" },   { Group::Size, "Size" },
            { Group::Colours, "Colours" }, { Group::Outlines, "Outlines" },
            { Group::Running, "Running" }, { Group::Batch, "Batch" } };
    return groups;
}

const Option *findOption(const std::string &name)
{
    for (const Option &option : allOptions()) {
        if (option.name == name)
            return &option;
    }
    return nullptr;
}

std::string noSuchOption(const std::string &name)
{
    return "there is no option --" + shortened(name) + suggestion(name, optionNames(), "--");
}

const Option *findOption(char shortName)
{
    for (const Option &option : allOptions()) {
        if (option.shortName != 0 && option.shortName == shortName)
            return &option;
    }
    return nullptr;
}

std::vector<std::string> optionNames()
{
    std::vector<std::string> names;
    for (const Option &option : allOptions())
        names.push_back(option.name);
    return names;
}

std::string valueNote(const Option &option)
{
    const OptionValue &value = option.value;
    std::vector<std::string> parts = untoldWords(option);
    if (value.kind == OptionValue::Whole || value.kind == OptionValue::Number)
        parts.insert(parts.begin(), rangeText(value));
    parts.erase(std::remove(parts.begin(), parts.end(), ""), parts.end());
    std::string note = listOfWords(parts);
    if (!option.standard.empty())
        note += (note.empty() ? "default " : "; default ") + option.standard;
    return note;
}

void storeOption(const Option &option, const std::string &text, Settings *settings)
{
    option.value.store("--" + option.name, text, settings);
    if (option.group == Group::Colours || option.group == Group::Outlines)
        settings->said[option.name].push_back(text);
}

const std::vector<std::string> &engineOptionNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const OptionDefault &option : kOptionDefaults)
            all.push_back(option.name);
        return all;
    }();
    return names;
}

bool isEngineOption(const std::string &name)
{
    const std::vector<std::string> &names = engineOptionNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace ztrace
