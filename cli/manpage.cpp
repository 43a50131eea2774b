// (c) the ztrace developers. Licence: see LICENSE.
#include "manuals.h"

#include "help.h"

namespace ztrace {

namespace {

std::string escapedForMan(std::string text)
{
    replaceAll(&text, "\\", "\\e");
    replaceAll(&text, "-", "\\-");
    replaceAll(&text, "'", "\\(aq");
    return text;
}

// Backticks become bold.
std::string manText(const std::string &text)
{
    std::string result;
    bool isBold = false;
    for (const char letter : escapedForMan(text)) {
        if (letter == '`') {
            isBold = !isBold;
            result += isBold ? "\\fB" : "\\fR";
        } else {
            result += letter;
        }
    }
    return result;
}

void appendManOption(const Option &option, std::string *page)
{
    *page += ".TP\n";
    if (option.shortName)
        *page += std::string("\\fB\\-") + option.shortName + "\\fR, ";
    *page += "\\fB\\-\\-" + escapedForMan(option.name) + "\\fR";
    if (!option.value.placeholder.empty())
        *page += " \\fI" + escapedForMan(option.value.placeholder) + "\\fR";
    *page += '\n' + manText(fullText(option)) + '\n';
}

const char kManHead[] = R"text(.\" (c) the ztrace developers. Licence: see LICENSE.
.\" Made from the table of options by scripts/update-manuals.sh.
.TH ZTRACE 1 "" "ztrace" "User Commands"
.SH NAME
ztrace \- trace an image into lines and quadratic curves
.SH SYNOPSIS
.B ztrace
.I INPUT
.RB [ \-o
.IR OUTPUT ]...
.RI [ OPTIONS ]
.br
.B ztrace batch
.IR INPUT ...
.B \-\-out
.I DIR
.RI [ OPTIONS ]
.br
.B ztrace batch summary
.IR FILE ...
.br
.B ztrace presets
.br
.B ztrace formats
.SH DESCRIPTION
Traces an image of any format that is read into a drawing of straight lines and quadratic curves,
and writes it in one format or several.
.I INPUT
may be \- for standard input, or a drawing that was written as JSON.
Without
.B \-o
the drawing gets the name of the input with the ending .svg.
Pictures that an SVG names are never loaded.
.PP
.B ztrace batch
traces many pictures, folders and lists of them, each by itself, and goes on where it was ended.
Its own options are those of the section Batch.
.B ztrace batch summary
makes one summary of the result lines of several runs.
.PP
.B ztrace presets
lists the presets,
.B ztrace formats
what can be read and written here, and which packages would add what.
)text";

const char kManFiles[] = R"text(.SH FILES
.TP
.I ~/.config/ztrace/presets/*.toml
Presets of your own. Names in them are those of the options; options of the engine stand in a section [set].
)text";

void appendManPairs(const char *heading,
                    const std::vector<std::pair<std::string, std::string>> &pairs,
                    std::string *page)
{
    *page += std::string(".SH ") + heading + '\n';
    for (const auto &pair : pairs)
        *page += ".TP\n" + escapedForMan(pair.first) + '\n' + escapedForMan(pair.second) + '\n';
}

} // namespace

std::string manPage()
{
    std::string page = kManHead;
    appendManPairs("FORMATS", formatPairs(), &page);
    page += ".SH OPTIONS\n";
    for (const auto &group : allGroups()) {
        page += std::string(".SS ") + group.second + '\n';
        for (const Option &option : allOptions()) {
            if (option.group == group.first)
                appendManOption(option, &page);
        }
    }
    appendManPairs("EXIT STATUS", exitMeanings(), &page);
    page += kManFiles;
    page += ".SH EXAMPLES\n.nf\n";
    for (const auto &example : examples())
        page += escapedForMan(example.first) + '\n';
    return page + ".fi\n";
}

} // namespace ztrace
