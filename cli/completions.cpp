// (c) the ztrace developers. Licence: see LICENSE.
#include "manuals.h"

#include "help.h"

#include <algorithm>
#include <cctype>

namespace ztrace {

namespace {

std::string joined(const std::vector<std::string> &words, const std::string &separator = " ")
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : separator) + word;
    return text;
}

// What completion offers for the value besides files: words, then numbers that are likely.
std::vector<std::string> offers(const OptionValue &value)
{
    std::vector<std::string> words = value.words;
    words.insert(words.end(), value.examples.begin(), value.examples.end());
    return words;
}

std::string bashCase(const Option &option)
{
    std::string names = option.shortName ? std::string("-") + option.shortName + " | " : "";
    names += "--" + option.name;
    std::string action;
    switch (option.value.kind) {
    case OptionValue::Flag:
    case OptionValue::Action:
        return std::string();
    case OptionValue::File:
    case OptionValue::Palette:
        action = "offer_files=yes";
        break;
    case OptionValue::PresetName:
        action = "choices=$(\"${COMP_WORDS[0]}\" presets 2> /dev/null | cut -d' ' -f1)";
        break;
    case OptionValue::Assignment:
        action = "compopt -o nospace; choices=\"" + joined(option.value.words, "= ") + "=\"";
        break;
    case OptionValue::Whole:
    case OptionValue::Number:
    case OptionValue::Word:
    case OptionValue::Colour:
        action = "choices=\"" + joined(offers(option.value)) + "\"";
        break;
    }
    return "        " + names + ") " + action + " ;;\n";
}

const char kBashHead[] = R"text(# (c) the ztrace developers. Licence: see LICENSE.
# Completion of ztrace for bash. Made from the table of options by scripts/update-manuals.sh.

_ztrace() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    # "--option=value" arrives in three words.
    if [[ $word == = ]]; then
        word=
    elif [[ $before == = && $COMP_CWORD -ge 2 ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    local choices= offer_files=
    case $before in
)text";

const char kBashMiddle[] = R"text(        *)
            if [[ $word == -* ]]; then
                choices=")text";

const char kBashTail[] = R"text("
            else
                offer_files=yes
            fi
            ;;
    esac
    if [[ $offer_files ]]; then
        compopt -o filenames 2> /dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        [[ $COMP_CWORD -eq 1 ]] && mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -W "batch formats presets" -- "$word")
        return
    fi
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}

complete -F _ztrace ztrace
)text";

// What _arguments makes of the value.
std::string zshAction(const OptionValue &value)
{
    switch (value.kind) {
    case OptionValue::File:
        return value.pattern == "*" ? "_files" : "_files -g \"" + value.pattern + '"';
    case OptionValue::Palette:
        return "_files -g \"" + value.pattern + '"';
    case OptionValue::PresetName:
        return "_ztrace_presets";
    case OptionValue::Assignment:
        return "(" + joined(value.words, "= ") + "=)";
    case OptionValue::Flag:
    case OptionValue::Action:
    case OptionValue::Whole:
    case OptionValue::Number:
    case OptionValue::Word:
    case OptionValue::Colour:
        break;
    }
    const std::vector<std::string> words = offers(value);
    return words.empty() ? std::string() : "(" + joined(words) + ")";
}

// The first clause of the help.
std::string briefOf(const Option &option)
{
    std::string text = withoutTicks(option.help);
    const bool isAboutInk = text.compare(0, 9, "lineart: ") == 0;
    if (isAboutInk)
        text.erase(0, 9);
    const std::size_t end
        = std::min({ text.find(". "), text.find(": "), text.find("; "), text.find(" (") });
    text = text.substr(0, end);
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

std::string zshLine(const Option &option)
{
    const bool takesValue = !option.value.placeholder.empty();
    const std::string shortName = option.shortName ? std::string("-") + option.shortName : "";
    const std::string longName = "--" + option.name + (takesValue ? "=" : "");
    std::string brief = briefOf(option);
    replaceAll(&brief, "'", "'\\''");
    replaceAll(&brief, ":", "\\:");
    std::string rest = '[' + brief + ']';
    if (takesValue) {
        std::string what = option.name;
        replaceAll(&what, "-", " ");
        rest += ":" + what + ":" + zshAction(option.value);
    }
    if (shortName.empty())
        return (option.several ? "'*" : "'") + longName + rest + "'";
    const std::string names = "{" + shortName + "," + longName + "}";
    if (option.several)
        return "'*'" + names + "'" + rest + "'";
    return "'(" + shortName + " --" + option.name + ")'" + names + "'" + rest + "'";
}

const char kZshHead[] = R"text(#compdef ztrace
# (c) the ztrace developers. Licence: see LICENSE.
# Completion of ztrace for zsh. Made from the table of options by scripts/update-manuals.sh.

_ztrace_presets() {
    local -a presets
    presets=(${(f)"$(_call_program presets $words[1] presets 2> /dev/null | sed 's/  */:/')"})
    _describe preset presets
}

_ztrace_inputs() {
    _alternative 'images:image:_files' 'commands:command:((presets\:"list the presets" batch\:"trace many images" formats\:"list the formats"))'
}

_arguments -s \
)text";

} // namespace

std::string bashCompletion()
{
    std::string script = kBashHead;
    std::vector<std::string> names;
    for (const Option &option : allOptions()) {
        script += bashCase(option);
        names.push_back("--" + option.name);
    }
    return script + kBashMiddle + joined(names, "\n                    ") + kBashTail;
}

std::string zshCompletion()
{
    std::string script = kZshHead;
    for (const Option &option : allOptions())
        script += "    " + zshLine(option) + " \\\n";
    return script + "    '*:image or command:_ztrace_inputs'\n";
}

} // namespace ztrace
