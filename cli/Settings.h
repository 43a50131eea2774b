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
#include <set>
#include <string>
#include <vector>

#include "drawing/Drawing.h"

namespace ztrace
{

// How an image becomes few colours.
enum class Method {
    Ink, // black and white by a threshold
    Flat, // the image's own flat colours; soft edges go to the colours beside them
    Blend, // a palette chosen for the image, refined by the engine
    Raw // the image as it is, everything left to the engine
};

struct Settings {
    // What to do.
    std::vector<std::string> outputs;
    std::string format;
    std::string preset = "auto";
    std::string config;
    bool stats = false;
    bool quiet = false;

    // From image to colours.
    std::optional<Method> method;
    std::map<std::string, double> engine; // options that go to the engine as they are
    unsigned seed = 1;
    bool raw = false;
    std::optional<int> colors;
    std::optional<int> threshold; // none: from the image's histogram

    // What is kept, and how it is drawn.
    std::optional<double> minPath;
    std::optional<double> tolerance;
    std::optional<double> curveTolerance;
    PaintStyle style;
};

// One thing that can be set, by the same name on the command line (`--name`) and in TOML files.
struct Setting {
    enum Kind { Flag, Value, List }; // a list may be given several times

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

// The twelve names that --set takes.
bool isEngineOption(const std::string &name);

} // namespace ztrace

#endif
