// (c) the ztrace developers. Licence: see LICENSE.
#include "commandline.h"

#include "failure.h"
#include "options.h"
#include "suggest.h"

#include "drawing/formats.h"

#include <deque>

namespace ztrace {

namespace {

const char kPresets[] = "presets";
const char kFormats[] = "formats";
const char kBatch[] = "batch";
const char kSummary[] = "summary";
const char kSeeHelp[] = " (see ztrace --help)";

[[noreturn]] void refuse(const std::string &text)
{
    throw Failure(kWrongUsage, text + kSeeHelp);
}

// "-", a number, and what does not begin with a dash.
bool isPlain(const std::string &word)
{
    return word.size() < 2 || word[0] != '-' || word[1] == '.'
        || (word[1] >= '0' && word[1] <= '9');
}

// A word that cannot be meant as an option's value: another option.
bool isOption(const std::string &word)
{
    if (isPlain(word))
        return false;
    const std::string name = word.substr(2, word.find('=') - 2);
    return word[1] == '-' ? findOption(name) != nullptr
                          : word.size() == 2 && findOption(word[1]) != nullptr;
}

class Parser
{
public:
    Parser(int argc, char **argv)
    {
        for (int i = 1; i < argc; ++i) // programs can be started without even a name
            words.push_back(argv[i]);
    }

    CommandLine parse()
    {
        while (!words.empty() && !isDone) {
            const std::string word = next();
            if (onlyInputs || isPlain(word))
                inputs.push_back(word);
            else if (word == "--")
                onlyInputs = true;
            else if (word[1] == '-')
                parseLong(word.substr(2));
            else
                parseShort(word);
        }
        if (!isDone)
            useInputs();
        return line;
    }

private:
    std::string next()
    {
        std::string word = words.front();
        words.pop_front();
        return word;
    }

    void parseLong(const std::string &text)
    {
        const std::size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        const Option *option = findOption(name);
        if (!option)
            refuse(noSuchOption(name));
        const bool hasValue = equals != std::string::npos;
        if (option->value.placeholder.empty() && hasValue)
            refuse("--" + name + " takes no value");
        use(*option, hasValue ? text.substr(equals + 1) : valueOf(*option));
    }

    // "-ofile", "-o file", "-qV".
    void parseShort(const std::string &word)
    {
        // "-colors" would be "-c olors".
        const std::string name = word.substr(1, word.find('=') - 1);
        if (name.size() > 1 && findOption(name))
            refuse("there is no option -" + name + " (did you mean --" + name + "?)");
        for (std::size_t i = 1; i < word.size(); ++i) {
            const Option *option = findOption(word[i]);
            if (!option)
                refuse("there is no option " + shortened(word)
                       + suggestion(name, optionNames(), "--"));
            const bool isLast = i + 1 == word.size();
            if (option->value.placeholder.empty()) {
                use(*option, valueOf(*option));
            } else {
                use(*option, isLast ? valueOf(*option) : word.substr(i + 1));
                return;
            }
        }
    }

    std::string valueOf(const Option &option)
    {
        if (option.value.placeholder.empty())
            return "true";
        if (words.empty() || isOption(words.front()))
            refuse("--" + option.name + " needs a value");
        return next();
    }

    void use(const Option &option, const std::string &text)
    {
        if (option.isAction()) {
            line.action = option.name == "help" ? CommandLine::Help : CommandLine::Version;
            isDone = true;
            return;
        }
        if (!option.several && !option.isFlag() && line.given.count(option.name))
            throw Failure(kWrongUsage, "--" + option.name + " is given more than once");
        storeOption(option, text, &line.settings);
        line.said.push_back({ option.name, text });
        line.given.insert(option.value.kind == OptionValue::Assignment
                              ? option.name + " " + text.substr(0, text.find('='))
                              : option.name);
    }

    void useInputs()
    {
        if (!inputs.empty() && inputs.front() == kBatch) {
            useBatch();
            return;
        }
        if (inputs.size() > 1 && inputs.front() == kSummary)
            refuse("summary: there is one INPUT only; did you mean ztrace batch summary?");
        refuseBatchOptions();
        if (inputs.empty())
            refuse("no input: give an image, or - for standard input");
        line.input = inputs.front();
        const bool isList = line.input == kPresets || line.input == kFormats;
        if (isList)
            line.action
                = line.input == kPresets ? CommandLine::ListPresets : CommandLine::ListFormats;
        if (isList && inputs.size() > 1)
            refuse(inputs[1] + ": " + line.input + " takes nothing more");
        if (isList && !line.given.empty())
            throw Failure(kWrongUsage, line.input + ": it takes no options");
        if (inputs.size() > 1)
            refuseMore(inputs[1]);
    }

    // A second name is often meant for the output.
    [[noreturn]] static void refuseMore(const std::string &second)
    {
        const std::size_t dot = second.rfind('.');
        const bool mayBeOutput = dot != std::string::npos
            && formatOfSuffix(QString::fromStdString(second.substr(dot + 1)));
        refuse(second + ": there is one INPUT only; several are for ztrace batch"
               + (mayBeOutput ? ", and an output is -o " + second : ""));
    }

    void useBatch()
    {
        const bool isSummary = inputs.size() > 1 && inputs[1] == kSummary;
        line.action = isSummary ? CommandLine::BatchSummary : CommandLine::Batch;
        line.inputs.assign(inputs.begin() + (isSummary ? 2 : 1), inputs.end());
        if (isSummary)
            refuseOthersOfSummary();
        for (const char *name : { "output", "stats", "json" }) {
            if (!isSummary && line.given.count(name))
                throw Failure(kWrongUsage,
                              std::string("--") + name + ": not for ztrace batch, which has "
                                  + (name[0] == 'o' ? "--out and --names" : "result lines"));
        }
    }

    void refuseOthersOfSummary()
    {
        for (const auto &said : line.said) {
            if (said.first != "csv" && said.first != "premis" && said.first != "report"
                && said.first != "json" && said.first != "quiet")
                throw Failure(kWrongUsage,
                              "--" + said.first
                                  + ": not for batch summary, which takes --csv, --premis, "
                                    "--report and --json");
        }
    }

    void refuseBatchOptions()
    {
        for (const auto &said : line.said) {
            if (findOption(said.first)->group == Group::Batch)
                throw Failure(kWrongUsage, "--" + said.first + ": only for ztrace batch");
        }
    }

    std::deque<std::string> words;
    std::vector<std::string> inputs;
    bool onlyInputs = false;
    bool isDone = false;
    CommandLine line;
};

} // namespace

CommandLine parseCommandLine(int argc, char **argv)
{
    return Parser(argc, argv).parse();
}

} // namespace ztrace
