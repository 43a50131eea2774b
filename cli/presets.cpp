// (c) the ztrace developers. Licence: see LICENSE.
#include "presets.h"

#include "builtin_presets.h"
#include "failure.h"
#include "values.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <map>
#include <sstream>

namespace ztrace {

namespace {

const char *const kDescription = "description";

std::string unquoted(const std::string &text)
{
    const bool quoted = text.size() >= 2 && text.front() == text.back()
        && (text.front() == '"' || text.front() == '\'');
    return quoted ? text.substr(1, text.size() - 2) : text;
}

FileSetting fromItem(const CLI::ConfigItem &item, const std::string &origin)
{
    FileSetting setting;
    setting.name = item.name;
    for (const std::string &value : item.inputs)
        setting.values.push_back(unquoted(value));
    const bool isSet = item.parents.size() == 1 && item.parents.front() == "set";
    if (isSet) {
        setting.name = "set";
        setting.engineOption = item.name;
        if (!isEngineOption(item.name))
            throw Failure(kWrongUsage,
                          origin + ": [set]: there is no option \"" + item.name + "\"");
        return setting;
    }
    if (!item.parents.empty())
        throw Failure(kWrongUsage, origin + ": there is no section [" + item.parents.front() + "]");
    if (item.name != kDescription && !findSetting(item.name))
        throw Failure(kWrongUsage, origin + ": there is no setting \"" + item.name + "\"");
    return setting;
}

// The parser reports the opening and closing of sections as items of their own.
bool isSectionMark(const CLI::ConfigItem &item)
{
    return item.name == "++" || item.name == "--";
}

void addFolder(const QString &folder, std::map<std::string, Preset> *presets)
{
    const QDir dir(folder);
    for (const QString &file : dir.entryList({ QString::fromLatin1("*.toml") }, QDir::Files)) {
        Preset preset;
        preset.name = QFile::encodeName(file.chopped(5)).toStdString();
        preset.origin = QFile::encodeName(dir.filePath(file)).toStdString();
        try {
            preset.text = settingsFile(preset.origin);
        } catch (const Failure &failure) {
            preset.error = failure.what();
        }
        (*presets)[preset.name] = preset;
    }
}

std::string descriptionIn(const Preset &preset)
{
    for (const FileSetting &setting : parseSettings(preset.text, preset.origin)) {
        if (setting.name == kDescription && !setting.values.empty())
            return setting.values.front();
    }
    return std::string();
}

} // namespace

std::vector<FileSetting> parseSettings(const std::string &text, const std::string &origin)
{
    std::istringstream stream(text);
    std::vector<FileSetting> settings;
    try {
        for (const CLI::ConfigItem &item : CLI::ConfigTOML().from_config(stream)) {
            if (!isSectionMark(item))
                settings.push_back(fromItem(item, origin));
        }
    } catch (const CLI::Error &error) {
        throw Failure(kWrongUsage, origin + ": " + error.what());
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
        const std::string key = isSet ? "set " + value.engineOption : value.name;
        if (given->count(key))
            continue;
        const Setting &setting = *findSetting(value.name);
        if (value.values.empty() || (setting.kind != Setting::List && value.values.size() != 1))
            throw Failure(kWrongUsage, origin + ": " + value.name + " takes one value");
        try {
            for (const std::string &text : value.values)
                setting.store(settings, isSet ? value.engineOption + "=" + text : text);
        } catch (const Failure &failure) {
            throw Failure(failure.code, origin + ": " + failure.what());
        }
        stored.insert(key);
    }
    given->insert(stored.begin(), stored.end());
}

std::string settingsFile(const std::string &fileName)
{
    QFile file(QFile::decodeName(fileName.c_str()));
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(kInputUnreadable,
                      fileName + ": " + file.errorString().toLocal8Bit().toStdString());
    return file.readAll().toStdString();
}

std::vector<Preset> allPresets()
{
    std::map<std::string, Preset> byName;
    for (int i = 0; i < kBuiltinPresetCount; ++i) {
        Preset preset;
        preset.name = kBuiltinPresets[i].name;
        preset.origin = "built in";
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

Preset findPreset(const std::string &name)
{
    const std::string ending = ".toml";
    const bool isFile = name.find('/') != std::string::npos
        || (name.size() > ending.size()
            && name.compare(name.size() - ending.size(), ending.size(), ending) == 0);
    if (isFile) {
        Preset preset;
        preset.name = preset.origin = name;
        preset.text = settingsFile(name);
        return preset;
    }
    std::string names;
    for (const Preset &preset : allPresets()) {
        if (preset.name == name && !preset.error.empty())
            throw Failure(kWrongUsage, preset.error);
        if (preset.name == name)
            return preset;
        names += (names.empty() ? "" : ", ") + preset.name;
    }
    throw Failure(kWrongUsage,
                  "--preset: there is no preset \"" + name + "\" (there are auto, " + names + ")");
}

} // namespace ztrace
