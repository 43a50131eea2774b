// (c) the ztrace developers. Licence: see LICENSE.
//
// Everything that a user can ask for, wherever it was said: preset, configuration file or command
// line.
#ifndef ZTRACE_CLI_SETTINGS_H
#define ZTRACE_CLI_SETTINGS_H

#include <QRgb>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "drawing/Drawing.h"
#include "drawing/dxf.h"
#include "drawing/text.h"
#include "imaging/scan.h"

namespace ztrace {

// How an image becomes few colours.
enum class Method {
    Ink,   // black and white by a threshold
    Flat,  // the image's own flat colours; soft edges go to the colours beside them
    Blend, // a palette chosen for the image, refined by the engine
    Raw    // the image as it is, everything left to the engine
};

enum class Progress { Auto, Always, Never };

struct Settings
{
    // What to write.
    std::vector<std::string> outputs;
    std::string format;
    double scale = 1.0; // of previews
    int decimals = kExactDecimals;
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
    std::optional<QRgb> background;
    Threshold threshold = Threshold::Auto;
    int fixedThreshold = 0;
    bool deskew = false;
    int despeckle = 0; // pixels
    int page = 1;      // 0: all
    int upsample = 0;  // how many times finer than pixels; 0: as is useful

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

    // What was said of colours and outlines, by preset, file or command line, in its own words.
    std::map<std::string, std::vector<std::string>> said;
};

// One thing that can be set, by the same name on the command line (`--name`) and in TOML files.
struct Setting
{
    // A list may be given several times; a file may have several values with commas between them
    // as a list as well.
    enum Kind { Flag, Value, List, Commas };

    std::string name;
    std::string shortName; // one letter, or empty
    Kind kind;
    std::string group;
    std::string value; // what the value is called in the help
    std::string help;
    std::function<void(Settings *, const std::string &)> store; // throws Failure
};

// All of them, in the order of the help.
const std::vector<Setting> &allSettings();

const Setting *findSetting(const std::string &name);

// Stores a value and keeps what was said. Throws a Failure for a value that cannot be.
void storeSetting(const Setting &setting, const std::string &text, Settings *settings);

// The twelve names that --set takes.
bool isEngineOption(const std::string &name);

} // namespace ztrace

#endif
