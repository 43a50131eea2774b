// (c) the ztrace developers. Licence: see LICENSE.
#include "help.h"

#include "manuals.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include <sys/ioctl.h>
#include <unistd.h>

namespace ztrace {

namespace {

const int kUsualWidth = 80;
const int kLeastWidth = 40;
const int kMostWidth = 120;
const int kTextColumn = 26; // where what an option does begins

const char kUsage[] = "Usage: ztrace INPUT [-o OUTPUT]... [OPTIONS]\n"
                      "       ztrace batch INPUT... [OPTIONS]\n"
                      "       ztrace batch summary FILE...\n"
                      "       ztrace presets | formats\n"
                      "\n";
const char kWhatItDoes[]
    = "Traces an image into a drawing of straight lines and quadratic curves. INPUT is an image of "
      "any format that is read, - for standard input, or a drawing that was written as JSON. batch "
      "traces many, in folders too, and goes on where it was ended.";

// Appends words, going on in `column` of a new line where `width` is reached. `used` columns of the
// first line are taken.
void appendWrapped(const std::string &text, int used, int column, int width, std::string *to)
{
    std::istringstream words(text);
    std::string word;
    int at = used;
    if (used > 0 && used > column - 2) {
        *to += '\n';
        at = 0;
    }
    to->append(static_cast<std::size_t>(column - at), ' ');
    at = column;
    for (bool first = true; words >> word; first = false) {
        const int length = static_cast<int>(word.size());
        if (!first && at + 1 + length > width) {
            *to += '\n' + std::string(static_cast<std::size_t>(column), ' ');
            at = column;
            first = true;
        }
        *to += (first ? "" : " ") + word;
        at += length + (first ? 0 : 1);
    }
    *to += '\n';
}

std::string namesOf(const Option &option)
{
    std::string names = option.shortName ? std::string("  -") + option.shortName + ", " : "  ";
    names += "--" + option.name;
    return option.value.placeholder.empty() ? names : names + ' ' + option.value.placeholder;
}

void appendOption(const Option &option, int width, std::string *to)
{
    const std::string names = namesOf(option);
    const std::string note = valueNote(option);
    *to += names;
    appendWrapped(withoutTicks(option.help) + (note.empty() ? "" : " (" + note + ")"),
                  static_cast<int>(names.size()), std::min(kTextColumn, width / 3), width, to);
}

// Lines of two columns, the second one wrapped.
void appendPairs(const std::vector<std::pair<std::string, std::string>> &pairs, int column,
                 int width, std::string *to)
{
    for (const auto &pair : pairs) {
        *to += "  " + pair.first;
        appendWrapped(pair.second, 2 + static_cast<int>(pair.first.size()), column, width, to);
    }
}

int numberIn(const char *text)
{
    return text ? std::atoi(text) : 0;
}

} // namespace

std::string withoutTicks(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), '`'), text.end());
    return text;
}

int helpWidth()
{
    int width = numberIn(std::getenv("COLUMNS"));
    winsize size;
    if (width <= 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0)
        width = size.ws_col;
    return width <= 0 ? kUsualWidth : std::max(kLeastWidth, std::min(kMostWidth, width));
}

const std::vector<std::pair<std::string, std::string>> &exitMeanings()
{
    static const std::vector<std::pair<std::string, std::string>> meanings = {
        { "0", "success" },
        { "1",
          "failure: some pages or pictures of several could not be traced, there is not enough "
          "memory, or "
          "--set "
          "leaves no palette" },
        { "2",
          "wrong usage: options, settings files and palettes that make no sense, an output that "
          "must not be replaced" },
        { "3", "the input, or a file that an option names, cannot be read" },
        { "4", "an output cannot be written, or what is printed does not arrive" },
        { "5", "the time of --time-limit is over" },
        { "128+N",
          "ended by signal N, as shells tell it: 129 hung up, 130 interrupted, 137 killed, 143 "
          "terminated" },
    };
    return meanings;
}

const std::vector<std::pair<std::string, std::string>> &examples()
{
    static const std::vector<std::pair<std::string, std::string>> lines = {
        { "ztrace logo.png", "logo.svg beside it" },
        { "ztrace scan.tif -o scan.dxf --units mm", "at true size, as the scan's resolution says" },
        { "ztrace logo.png -o logo.svg --palette '#173f7a,#e87722,white'",
          "these colours and no others" },
        { "ztrace photo.jpg -o photo.pdf --colors 24", "a photograph in at most 24 colours" },
        { "ztrace batch scans --out drawings", "all images of a folder" },
        { "cat a.png | ztrace - -o - > a.svg", "from and to a pipe" },
    };
    return lines;
}

std::string helpText(int width)
{
    std::string text = kUsage;
    appendWrapped(kWhatItDoes, 0, 0, width, &text);
    for (const auto &group : allGroups()) {
        text += std::string("\n") + group.second + ":\n";
        for (const Option &option : allOptions()) {
            if (option.group == group.first)
                appendOption(option, width, &text);
        }
    }
    text += "\nFormats:\n";
    appendPairs(formatPairs(), 10, width, &text);
    text += "\nExit codes:\n";
    appendPairs(exitMeanings(), 10, width, &text);
    text += "\nExamples:\n";
    appendPairs(examples(), 8, width, &text);
    return text;
}

} // namespace ztrace
