// (c) the ztrace developers. Licence: see LICENSE.
#include "ownvalues.h"

#include "failure.h"
#include "gimppalette.h"
#include "options.h"
#include "pages.h"
#include "suggest.h"
#include "values.h"

#include "drawing/formats.h"

#include <algorithm>
#include <functional>

namespace ztrace {

namespace {

const WordTable<Threshold> kThresholds = { { "auto", Threshold::Auto },
                                           { "otsu", Threshold::Otsu },
                                           { "adaptive", Threshold::Adaptive } };

// Texts with commas between them; each is given to `store`.
void forEachPart(const std::string &text, const std::function<void(const std::string &)> &store)
{
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        store(text.substr(at, comma - at));
        at = comma + 1;
    }
}

void storeEngineOption(const std::string &option, const std::string &text, Settings *settings)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
        throw Failure(kWrongUsage,
                      option + ": \"" + shortened(text) + "\" is not of the form name=value");
    const std::string name = text.substr(0, equals);
    if (!isEngineOption(name))
        throw Failure(kWrongUsage,
                      option + ": there is no option \"" + shortened(name) + "\""
                          + suggestion(name, engineOptionNames()));
    settings->engine[name] = anyNumberValue(option + " " + name, text.substr(equals + 1));
}

// A value that may be the name of a file like `pattern`.
OptionValue fileOrOther(OptionValue::Kind kind, const char *placeholder, const char *pattern,
                        const std::function<void(Settings *, const std::string &)> &store)
{
    OptionValue value;
    value.kind = kind;
    value.placeholder = placeholder;
    value.pattern = pattern;
    value.store = [store](const std::string &, const std::string &text, Settings *settings) {
        store(settings, text);
    };
    return value;
}

} // namespace

OptionValue formatName()
{
    WordTable<std::string> names;
    for (const Format &format : allFormats())
        names.push_back({ format.name, format.name });
    return oneOf<std::string>("FORMAT", names,
                              [](Settings &s, std::string name) { s.format = std::move(name); });
}

OptionValue thresholdOrWord()
{
    OptionValue value = oneOf<Threshold>("N|WORD", kThresholds,
                                         [](Settings &s, Threshold t) { s.threshold = t; });
    const auto storeWord = value.store;
    value.kind = OptionValue::Whole;
    value.most = 255;
    value.store
        = [storeWord](const std::string &option, const std::string &text, Settings *settings) {
              const std::vector<std::string> words = wordsOf(kThresholds);
              if (isWord(text, words)) {
                  storeWord(option, text, settings);
                  return;
              }
              settings->fixedThreshold = wholeValue(option, text, 0, 255, listOfWords(words));
              settings->threshold = Threshold::Fixed;
          };
    return value;
}

OptionValue paletteOrFile()
{
    return fileOrOther(OptionValue::Palette, "LIST|FILE", "*.gpl",
                       [](Settings *settings, const std::string &text) {
                           settings->palette = paletteValue(text);
                           if (isPaletteFile(text))
                               settings->filesRead.push_back(text);
                       });
}

OptionValue presetName()
{
    return fileOrOther(
        OptionValue::PresetName, "NAME", "*.toml",
        [](Settings *settings, const std::string &text) { settings->preset = text; });
}

OptionValue engineAssignment()
{
    OptionValue value;
    value.kind = OptionValue::Assignment;
    value.placeholder = "NAME=VALUE";
    value.words = engineOptionNames();
    value.store = storeEngineOption;
    return value;
}

OptionValue pageOrPages()
{
    OptionValue value = wholeNumberOr("LIST|all", { "all", 0 }, 1, kMostPages, [](Settings &, int) {
                        }).offering({ "1" });
    value.store = [](const std::string &option, const std::string &text, Settings *settings) {
        settings->pages = pagesValue(option, text, kMostPages);
        const bool isOne = settings->pages.size() == 1
            && settings->pages.front().first == settings->pages.front().second;
        settings->page = isOne ? settings->pages.front().first : 0;
    };
    return value;
}

OptionValue formatNames()
{
    OptionValue value = formatName();
    value.placeholder = "LIST";
    value.store = [](const std::string &option, const std::string &text, Settings *settings) {
        std::vector<std::string> names;
        for (const Format &format : allFormats())
            names.push_back(format.name);
        settings->batch.formats.clear();
        forEachPart(text, [&](const std::string &part) {
            const std::string &name = names[wordValue(option, part, names)];
            std::vector<std::string> &formats = settings->batch.formats;
            if (std::find(formats.begin(), formats.end(), name) == formats.end())
                formats.push_back(name);
        });
    };
    return value;
}

// Some of what can be said, for completion; any two numbers can.
OptionValue chunkOfChunks()
{
    OptionValue value;
    value.kind = OptionValue::Word;
    value.placeholder = "I/N";
    value.words = { "1/2", "2/2" };
    value.store = [](const std::string &option, const std::string &text, Settings *settings) {
        const std::size_t slash = text.find('/');
        if (slash == std::string::npos)
            throw Failure(kWrongUsage,
                          option + ": \"" + shortened(text) + "\" is not of the form I/N");
        BatchSettings &batch = settings->batch;
        batch.chunks = wholeValue(option, text.substr(slash + 1), 1, kMostChunks);
        batch.chunk = wholeValue(option, text.substr(0, slash), 1, batch.chunks);
    };
    return value;
}

} // namespace ztrace
