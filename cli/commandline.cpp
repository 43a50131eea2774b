// (c) the ztrace developers. Licence: see LICENSE.
#include "commandline.h"

#include "failure.h"
#include "presets.h"
#include "version.h"

#include <CLI/CLI.hpp>

#include <deque>
#include <iostream>

namespace ztrace {

namespace {

const char kPresets[] = "presets";

const char *const kFooter = R"(Formats: svg, dxf, pdf, png, json
Exit codes: 0 success, 1 failure (some pages of several, or not enough memory),
  2 wrong usage, 3 input cannot be read, 4 output cannot be written, 130 interrupted

Examples:
  ztrace logo.png                          logo.svg beside it
  ztrace scan.tif -o scan.dxf --units mm   at true size, as the scan's resolution says
  ztrace logo.png -o logo.svg --palette '#173f7a,#e87722,white'
  ztrace photo.jpg -o photo.pdf --colors 24
  cat a.png | ztrace - -o - > a.svg        from and to a pipe)";

class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_usage(const CLI::App *, std::string) const override
    {
        return "Usage: ztrace INPUT [-o OUTPUT]... [OPTIONS]\n       ztrace presets\n";
    }
};

struct Parsed
{
    const Setting *setting;
    CLI::Option *option;
    std::vector<std::string> values;
    bool flag = false;
};

CLI::Option *addSetting(CLI::App *app, Parsed *parsed)
{
    const Setting &setting = *parsed->setting;
    const std::string names
        = (setting.shortName.empty() ? "" : "-" + setting.shortName + ",") + "--" + setting.name;
    if (setting.kind == Setting::Flag)
        return app->add_flag(names, parsed->flag, setting.help)
            ->group(setting.group)
            ->disable_flag_override();
    CLI::Option *option = app->add_option(names, parsed->values, setting.help);
    option->group(setting.group)->option_text(setting.value)->allow_extra_args(false);
    option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return option;
}

void storeParsed(const Parsed &parsed, CommandLine *line)
{
    if (parsed.option->count() == 0)
        return;
    const Setting &setting = *parsed.setting;
    if (setting.kind == Setting::Flag) {
        storeSetting(setting, parsed.flag ? "true" : "false", &line->settings);
        line->given.insert(setting.name);
        return;
    }
    if (setting.kind != Setting::List && parsed.values.size() != 1)
        throw Failure(kWrongUsage, "--" + setting.name + " is given more than once");
    for (const std::string &value : parsed.values) {
        storeSetting(setting, value, &line->settings);
        line->given.insert(setting.name == "set" ? "set " + value.substr(0, value.find('='))
                                                 : setting.name);
    }
}

std::string aboutExtras(const std::vector<std::string> &words, const std::string &input)
{
    for (const std::string &word : words) {
        if (word.size() > 1 && word[0] == '-')
            return "there is no option " + word;
    }
    if (input == kPresets)
        return words.front() + ": presets takes nothing more";
    return words.front() + ": there is one INPUT only; -o " + words.front() + " makes it an output";
}

// The parser says "--output: 1 required TEXT missing" and "layers was given a disallowed flag
// override".
std::string aboutMismatch(const std::string &text)
{
    const std::size_t colon = text.find(':');
    if (colon != std::string::npos)
        return text.substr(0, colon) + ": a value is wanted";
    return "--" + text.substr(0, text.find(' ')) + " takes no value";
}

} // namespace

CommandLine parseCommandLine(int argc, char **argv)
{
    CommandLine line;
    CLI::App app("Traces an image into a drawing of straight lines and quadratic curves.",
                 "ztrace");
    app.formatter(std::make_shared<HelpFormatter>());
    app.footer(kFooter);
    app.set_help_flag("-h,--help", "Print this help")->group("Running");
    app.set_version_flag("-V,--version", std::string("ztrace ") + kVersion)->group("Running");
    app.get_formatter()->column_width(30);
    app.add_option("INPUT", line.input, "Image of any format that is read; \"-\" is standard input")
        ->type_name("");
    std::deque<Parsed> parsed;
    for (const Setting &setting : allSettings()) {
        parsed.push_back({ &setting, nullptr, {}, false });
        parsed.back().option = addSetting(&app, &parsed.back());
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &request) {
        app.exit(request);
        return line;
    } catch (const CLI::ExtrasError &) {
        throw Failure(kWrongUsage,
                      aboutExtras(app.remaining(), line.input) + " (see ztrace --help)");
    } catch (const CLI::ArgumentMismatch &error) {
        throw Failure(kWrongUsage, aboutMismatch(error.what()) + " (see ztrace --help)");
    } catch (const CLI::ParseError &error) {
        throw Failure(kWrongUsage, std::string(error.what()) + " (see ztrace --help)");
    }
    if (line.input.empty())
        throw Failure(kWrongUsage,
                      "no input: give an image, or - for standard input (see ztrace --help)");
    for (const Parsed &entry : parsed)
        storeParsed(entry, &line);
    line.action = line.input == kPresets ? CommandLine::ListPresets : CommandLine::Trace;
    if (line.action == CommandLine::ListPresets && !line.given.empty())
        throw Failure(kWrongUsage, "presets: it takes no options");
    return line;
}

} // namespace ztrace
