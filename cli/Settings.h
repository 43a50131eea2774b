// (c) the ztrace developers. Licence: see LICENSE.
//
// Everything that a user can ask for, wherever it was said: preset, configuration file or command
// line. The values here are the defaults; options.cpp has the table of what can be said.
#ifndef ZTRACE_CLI_SETTINGS_H
#define ZTRACE_CLI_SETTINGS_H

#include <QRgb>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "batch/settings.h"
#include "drawing/Drawing.h"
#include "drawing/dxf.h"
#include "drawing/text.h"
#include "imaging/scan.h"
#include "pages.h"
#include "tracing/plan.h"

namespace ztrace {

// How an image becomes few colours.
enum class Method {
    Ink,   // black and white by a threshold
    Flat,  // the image's own flat colours; soft edges go to the colours beside them
    Blend, // a palette chosen for the image, refined by the engine
    Raw    // the image as it is, everything left to the engine
};

enum class Progress { Auto, Always, Never };

// Colours that a palette may have.
const int kMostColors = 4096;

// Finest detail of shaded pictures.
const double kMostDetail = 10.0;

struct Settings
{
    // What to write.
    std::vector<std::string> outputs;
    std::string format;
    bool overwrite = false; // images, too
    bool noClobber = false;
    double scale = 1.0;          // of previews
    std::optional<int> decimals; // not said: exact, or what true shapes deserve
    DxfOptions dxf;
    PaintStyle style;

    // Size on paper. A resolution of 0 is unknown; nothing said means the image's own where the
    // unit needs one.
    std::optional<double> dpi; // 0: the image's own
    Unit unit = Unit::Pixel;

    // From image to colours.
    std::string preset = "auto";
    std::optional<Method> method;
    std::map<std::string, double> engine; // options that go to the engine as they are
    unsigned seed = 1;
    bool raw = false;
    std::optional<int> colors;
    std::vector<QRgb> palette; // exactly these, when not empty
    double detail = 5.0;       // of shaded pictures, 0 to kMostDetail
    bool gradients = false;    // what is a ramp of colour stays one
    bool noGradients = false;
    std::optional<QRgb> background;
    Threshold threshold = Threshold::Auto;
    int fixedThreshold = 0;
    bool deskew = false;
    int despeckle = 0; // pixels
    int page = 1;      // 0: those of `pages`
    PageRanges pages = { { 1, 1 } };
    int upsample = 0; // how many times finer than pixels; 0: as is useful

    fit::Snap snap = fit::Snap::None;
    std::optional<Geometry::Fit> fit; // without one: what suits the picture, see fitOf
    bool strokes = false;             // lines as centre lines
    bool edges = false;               // boundaries between areas as lines

    // What is kept.
    std::optional<double> minPath;
    std::optional<double> tolerance;
    std::optional<double> curveTolerance;
    bool noFrame = false;
    bool seams = true;        // strokes that close the hairlines between neighbours
    bool transparent = false; // fully transparent regions have outlines of their own
    std::vector<QRgb> onlyColours;

    // How the command runs.
    std::string config;
    bool stats = false;
    bool json = false;
    bool quiet = false;
    Progress progress = Progress::Auto;
    double maxPixels = 1000.0;       // million pixels of an image
    double maxMemory = 8192.0;       // million bytes that an image may take
    std::optional<double> timeLimit; // seconds of a run, of a picture of many; 0: none

    BatchSettings batch; // of a run over many pictures

    // What was said of colours and outlines, by preset, file or command line, in its own words.
    std::map<std::string, std::vector<std::string>> said;

    // Files that settings, presets and palettes were read from.
    std::vector<std::string> filesRead;
};

} // namespace ztrace

#endif
