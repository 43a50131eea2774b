// (c) the ztrace developers. Licence: see LICENSE.
#include "fingerprint.h"

#include "cli/gimppalette.h"
#include "cli/options.h"
#include "cli/presets.h"
#include "cli/textfile.h"

#include <QCryptographicHash>

#include <algorithm>

namespace ztrace {

namespace {

// Each part with its length, so that no two lists of parts are alike.
class Parts
{
public:
    void add(const std::string &part)
    {
        hash.addData(QByteArray::number(static_cast<qulonglong>(part.size())) + ':');
        hash.addData(part.data(), static_cast<int>(part.size()));
    }
    QByteArray digest() const { return hash.result().toHex(); }

private:
    QCryptographicHash hash { QCryptographicHash::Sha256 };
};

// Options that leave their trace in a drawing.
bool matters(const Option &option)
{
    static const std::vector<std::string> without
        = { "output", "overwrite", "no-clobber", "format", "page", "config" };
    return option.group != Group::Batch && option.group != Group::Running
        && std::find(without.begin(), without.end(), option.name) == without.end();
}

void addColours(const std::vector<QRgb> &colours, Parts *parts)
{
    for (const QRgb colour : colours)
        parts->add(std::to_string(colour));
}

// With the palette that it may name.
void addPreset(const std::string &name, Parts *parts)
{
    const Preset preset = findPreset(name);
    Settings scratch;
    std::set<std::string> given;
    applySettings(parseSettings(preset.text, preset.origin, Role::Preset), preset.origin, &given,
                  &scratch);
    parts->add(preset.text);
    addColours(scratch.palette, parts);
}

// Those that pictures of the run may be traced with.
void addPresets(const std::string &name, Parts *parts)
{
    if (name != kAutoPreset) {
        addPreset(name, parts);
        return;
    }
    for (const char *usual : { "lineart", "logo", "photo", "poster" })
        addPreset(usual, parts);
}

} // namespace

QByteArray fingerprintOf(const CommandLine &line)
{
    std::vector<Said> said;
    for (const Said &word : line.said) {
        if (matters(*findOption(word.first)))
            said.push_back(word);
    }
    // The order of different options means nothing, that of one given several times may.
    std::stable_sort(said.begin(), said.end(),
                     [](const Said &a, const Said &b) { return a.first < b.first; });
    Parts parts;
    for (const Said &word : said) {
        parts.add(word.first);
        parts.add(word.second);
    }
    parts.add("file");
    CommandLine whole = line;
    if (!line.settings.config.empty()) {
        const std::string &file = line.settings.config;
        parts.add(textOfFile(file));
        applySettings(parseSettings(textOfFile(file), file, Role::Configuration), file,
                      &whole.given, &whole.settings);
    }
    addPresets(whole.settings.preset, &parts);
    addColours(whole.settings.palette, &parts);
    return parts.digest();
}

QByteArray fingerprintOf(const QByteArray &ofAll, const std::vector<Said> &settings)
{
    if (settings.empty())
        return ofAll;
    Parts parts;
    parts.add(ofAll.toStdString());
    for (const Said &said : settings) {
        parts.add(said.first);
        parts.add(said.second);
        if (said.first == "preset" && said.second != kAutoPreset)
            addPreset(said.second, &parts);
        if (said.first == "palette" && isPaletteFile(said.second))
            addColours(paletteValue(said.second), &parts);
    }
    return parts.digest();
}

QByteArray sha256Of(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

} // namespace ztrace
