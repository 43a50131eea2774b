// (c) the ztrace developers. Licence: see LICENSE.
#include "presets.h"

#include "builtin_presets.h"
#include "failure.h"
#include "suggest.h"
#include "textfile.h"
#include "values.h"

#include <toml++/toml.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <map>
#include <optional>
#include <string_view>

namespace ztrace {

namespace {

const char kDescription[] = "description";
const char kEngineSection[] = "set";
const std::size_t kMostText = 16384; // bytes; the parser does not bound its own depth

// Of no line: the text alone.
std::string placed(const std::string &origin, int line, const std::string &text)
{
    return line > 0 ? origin + ", line " + std::to_string(line) + ": " + text : text;
}

[[noreturn]] void refuse(const std::string &origin, int line, const std::string &reason)
{
    throw Failure(kWrongUsage, placed(origin, line, reason));
}

[[noreturn]] void refuseList(const std::string &origin, const FileSetting &setting)
{
    throw Failure(kWrongUsage,
                  placed(origin, setting.line,
                         (setting.line > 0 ? "" : "--") + setting.name + " takes one value"));
}

int lineOf(const toml::node &node)
{
    return static_cast<int>(node.source().begin.line);
}

// The text that the command line would have; empty for what has none.
std::optional<std::string> textOf(const toml::node &node)
{
    if (const auto text = node.as_string())
        return text->get();
    if (const auto number = node.as_integer())
        return std::to_string(number->get());
    if (const auto number = node.as_floating_point())
        return shortText(number->get());
    if (const auto flag = node.as_boolean())
        return flag->get() ? "true" : "false";
    return std::nullopt;
}

void addValues(const toml::node &node, const std::string &origin, FileSetting *setting)
{
    if (const toml::array *list = node.as_array()) {
        for (const toml::node &entry : *list)
            addValues(entry, origin, setting);
        return;
    }
    const std::optional<std::string> text = textOf(node);
    if (!text)
        refuse(origin, lineOf(node),
               "the value must be a text, a number, true or false, or a list of them");
    setting->values.push_back(*text);
}

FileSetting settingOf(std::string_view name, const toml::node &node, const std::string &origin)
{
    FileSetting setting;
    setting.name = std::string(name);
    setting.line = lineOf(node);
    addValues(node, origin, &setting);
    return setting;
}

// What has to be known before the file is read.
bool isTooLate(const Option &option, Role role)
{
    return option.place < (role == Role::Preset ? Place::UpToPreset : Place::UpToSettingsFile);
}

void addEngineOptions(const toml::table &table, const std::string &origin,
                      std::vector<FileSetting> *settings)
{
    for (const auto &[key, node] : table) {
        FileSetting setting = settingOf(key.str(), node, origin);
        setting.engineOption = setting.name;
        setting.name = kEngineSection;
        if (!isEngineOption(setting.engineOption)) {
            refuse(origin, setting.line,
                   "[set]: there is no option \"" + shortened(setting.engineOption) + "\""
                       + suggestion(setting.engineOption, engineOptionNames()));
        }
        settings->push_back(setting);
    }
}

std::vector<std::string> textsFor(const Option &setting, const std::vector<std::string> &values)
{
    if (!setting.commas)
        return values;
    std::string text;
    for (const std::string &value : values)
        text += (text.empty() ? "" : ",") + value;
    return { text };
}

void addFolder(const QString &folder, std::map<std::string, Preset> *presets)
{
    const QDir dir(folder);
    for (const QString &file : dir.entryList({ QString::fromLatin1("*.toml") }, QDir::Files)) {
        Preset preset;
        preset.name = QFile::encodeName(file.chopped(5)).toStdString();
        preset.origin = QFile::encodeName(dir.filePath(file)).toStdString();
        try {
            preset.text = textOfFile(preset.origin);
        } catch (const Failure &failure) {
            preset.error = failure.what();
        }
        (*presets)[preset.name] = preset;
    }
}

std::string descriptionIn(const Preset &preset)
{
    for (const FileSetting &setting : parseSettings(preset.text, preset.origin, Role::Preset)) {
        if (setting.name == kDescription && !setting.values.empty())
            return setting.values.front();
    }
    return std::string();
}

} // namespace

std::vector<FileSetting> parseSettings(const std::string &text, const std::string &origin,
                                       Role role)
{
    std::vector<FileSetting> settings;
    if (text.size() > kMostText)
        throw Failure(kWrongUsage, origin + ": too long for a file of settings");
    toml::table table;
    try {
        table = toml::parse(text);
    } catch (const toml::parse_error &error) {
        std::string reason(error.description());
        if (reason.find("value type") != std::string::npos)
            reason += " (texts stand in quotes)";
        refuse(origin, static_cast<int>(error.source().begin.line), reason);
    }
    for (const auto &[key, node] : table) {
        const std::string name(key.str());
        if (const toml::table *section = node.as_table()) {
            if (name != kEngineSection)
                refuse(origin, lineOf(node), "there is no section [" + name + "]");
            addEngineOptions(*section, origin, &settings);
            continue;
        }
        const Option *option = findOption(name);
        if (name == kEngineSection || (name != kDescription && (!option || option->isAction()))) {
            refuse(origin, lineOf(node),
                   "there is no setting \"" + shortened(name) + "\""
                       + suggestion(name, optionNames()));
        }
        if (option && isTooLate(*option, role))
            refuse(origin, lineOf(node), "\"" + shortened(name) + "\" cannot be set here");
        settings.push_back(settingOf(name, node, origin));
    }
    return settings;
}

void applySettings(const std::vector<FileSetting> &values, const std::string &origin,
                   std::set<std::string> *given, Settings *settings)
{
    std::set<std::string> stored;
    for (const FileSetting &value : values) {
        if (value.name == kDescription)
            continue;
        const bool isSet = !value.engineOption.empty();
        const std::string key = isSet ? kEngineSection + (' ' + value.engineOption) : value.name;
        if (given->count(key))
            continue;
        const Option &setting = *findOption(value.name);
        if (value.values.empty()
            || (value.values.size() != 1 && (isSet || !(setting.several || setting.commas))))
            refuseList(origin, value);
        try {
            for (const std::string &text : textsFor(setting, value.values)) {
                if (text.find('\0') != std::string::npos)
                    throw Failure(kWrongUsage,
                                  "--" + setting.name + ": the value has a zero byte in it");
                storeOption(setting, isSet ? value.engineOption + "=" + text : text, settings);
            }
        } catch (const Failure &failure) {
            throw Failure(failure.code, placed(origin, value.line, failure.what()));
        }
        stored.insert(key);
    }
    given->insert(stored.begin(), stored.end());
}

std::vector<Preset> allPresets()
{
    std::map<std::string, Preset> byName;
    for (int i = 0; i < kBuiltinPresetCount; ++i) {
        Preset preset;
        preset.name = kBuiltinPresets[i].name;
        preset.origin = kBuiltIn;
        preset.text = kBuiltinPresets[i].text;
        byName[preset.name] = preset;
    }
    addFolder(QCoreApplication::applicationDirPath()
                  + QString::fromLatin1("/../share/ztrace/presets"),
              &byName);
    const QString own = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    addFolder(own + QString::fromLatin1("/ztrace/presets"), &byName);
    std::vector<Preset> presets;
    for (auto &entry : byName) {
        Preset &preset = entry.second;
        try {
            preset.description = descriptionIn(preset);
        } catch (const Failure &failure) {
            preset.error = failure.what();
        }
        presets.push_back(preset);
    }
    return presets;
}

bool isPresetFile(const std::string &name)
{
    const std::string ending = ".toml";
    return name.find('/') != std::string::npos
        || (name.size() > ending.size()
            && name.compare(name.size() - ending.size(), ending.size(), ending) == 0);
}

Preset findPreset(const std::string &name)
{
    if (isPresetFile(name)) {
        Preset preset;
        preset.name = preset.origin = name;
        preset.text = textOfFile(name);
        return preset;
    }
    std::vector<std::string> names = { kAutoPreset };
    for (const Preset &preset : allPresets()) {
        if (preset.name == name && !preset.error.empty())
            throw Failure(kWrongUsage, preset.error);
        if (preset.name == name)
            return preset;
        names.push_back(preset.name);
    }
    throw Failure(kWrongUsage,
                  "--preset: there is no preset \"" + shortened(name) + "\"; it is one of "
                      + listOfWords(names) + suggestion(name, names));
}

} // namespace ztrace
