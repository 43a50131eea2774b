// (c) the ztrace developers. Licence: see LICENSE.
//
// Settings from TOML files, and the presets, which are such files.
#ifndef ZTRACE_CLI_PRESETS_H
#define ZTRACE_CLI_PRESETS_H

#include <set>
#include <string>
#include <vector>

#include "options.h"

namespace ztrace {

// Keys that a TOML text or a script sets, with their values. A list has several values; the
// engine's options stand in the section [set].
struct FileSetting
{
    std::string name;
    std::vector<std::string> values;
    std::string engineOption; // for entries of [set], else empty
    int line = 0;             // 0: of a script, whose errors say the place themselves
};

enum class Role { Configuration, Preset };

// Throws a Failure naming `origin` for text that is no TOML, for keys that do not exist, and for
// those that come too late in a file of that role.
std::vector<FileSetting> parseSettings(const std::string &text, const std::string &origin,
                                       Role role);

// Stores what is not in `given`: what was said nearer to the user wins. Adds the names stored.
// Throws a Failure that names `origin` and line, where there is one.
void applySettings(const std::vector<FileSetting> &values, const std::string &origin,
                   std::set<std::string> *given, Settings *settings);

// The name that stands for one of the others, by the look of the image.
const char kAutoPreset[] = "auto";

const char kBuiltIn[] = "built in";

struct Preset
{
    std::string name;
    std::string description;
    std::string origin; // its file, or kBuiltIn
    std::string text;
    std::string error; // why it cannot be used; empty when it can
};

// The presets by name: built in, then the installed files, then the user's own; a later one of the
// same name takes the place of an earlier one. Those that cannot be read are there with an error.
std::vector<Preset> allPresets();

// Whether a name is that of a file: with a slash in it, or with .toml at its end.
bool isPresetFile(const std::string &name);

// The preset of a name, or of a file.
Preset findPreset(const std::string &name);

} // namespace ztrace

#endif
