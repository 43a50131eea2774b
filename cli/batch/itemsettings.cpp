// (c) the ztrace developers. Licence: see LICENSE.
#include "itemsettings.h"

#include "cli/failure.h"
#include "cli/gimppalette.h"
#include "cli/options.h"
#include "cli/presets.h"
#include "cli/values.h"

namespace ztrace {

namespace {

const std::string kEngine = "set.";

bool isOfEngine(const std::string &name)
{
    return name.compare(0, kEngine.size(), kEngine) == 0;
}

} // namespace

void applyItemSettings(const std::vector<Said> &said, Settings *settings,
                       std::set<std::string> *given)
{
    std::set<std::string> seen;
    for (const Said &one : said) {
        if (isOfEngine(one.first)) {
            const std::string name = one.first.substr(kEngine.size());
            storeOption(*findOption("set"), name + '=' + one.second, settings);
            given->insert("set " + name);
            continue;
        }
        const Option *option = findOption(one.first);
        if (!option || !option->inScripts || option->isAction() || one.first == "set"
            || one.first == "page" || option->group == Group::Running
            || option->place == Place::CommandLine)
            throw Failure(kWrongUsage,
                          option ? "\"" + shortened(one.first) + "\" cannot be a picture's own"
                                 : noSuchOption(one.first));
        // What was said of this picture takes the place of what was said of all of them.
        if (seen.insert(one.first).second) {
            settings->said.erase(one.first);
            if (one.first == "only-color")
                settings->onlyColours.clear();
        }
        storeOption(*option, one.second, settings);
        given->insert(one.first);
    }
}

void checkItemSettings(const std::vector<Said> &said)
{
    Settings scratch;
    std::set<std::string> given;
    applyItemSettings(said, &scratch, &given);
    if (given.count("preset") == 0 || scratch.preset == kAutoPreset)
        return;
    const Preset preset = findPreset(scratch.preset);
    applySettings(parseSettings(preset.text, preset.origin, Role::Preset), preset.origin, &given,
                  &scratch);
}

void placeFiles(const std::string &folder, std::vector<Said> *said)
{
    for (Said &one : *said) {
        const bool isFile = (one.first == "palette" && isPaletteFile(one.second, folder))
            || (one.first == "preset" && isPresetFile(one.second));
        if (isFile && one.second[0] != '/')
            one.second = folder + one.second;
    }
}

} // namespace ztrace
