// (c) the ztrace developers. Licence: see LICENSE.
#include "manuals.h"

#include "help.h"
#include "values.h"

#include "drawing/formats.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace ztrace {

namespace {

std::string markdownRows(const std::vector<std::pair<std::string, std::string>> &pairs)
{
    std::string rows;
    for (const auto &pair : pairs)
        rows += "| " + pair.first + " | " + pair.second + " |\n";
    return rows;
}

std::string markdownFor(const std::string &name, std::string *error)
{
    for (const auto &group : allGroups()) {
        if (name == group.second)
            return markdownTable(group.first);
    }
    if (name == "Exit codes")
        return markdownExitCodes();
    if (name == "Formats")
        return markdownFormats();
    *error = "there is no table \"" + name + "\"";
    return std::string();
}

} // namespace

void replaceAll(std::string *text, const std::string &from, const std::string &to)
{
    for (std::size_t at = text->find(from); at != std::string::npos;
         at = text->find(from, at + to.size()))
        text->replace(at, from.size(), to);
}

std::vector<std::pair<std::string, std::string>> formatPairs()
{
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const Format &format : allFormats())
        pairs.push_back({ format.name, format.description });
    return pairs;
}

std::string fullText(const Option &option)
{
    std::string text = option.help;
    if (!option.manual.empty())
        text += ". " + option.manual;
    const std::string note = valueNote(option);
    return note.empty() ? text : text + " (" + note + ")";
}

std::string markdownTable(Group group)
{
    std::vector<std::pair<std::string, std::string>> rows = { { "Option", "" }, { "---", "---" } };
    for (const Option &option : allOptions()) {
        if (option.group != group)
            continue;
        std::string names = option.shortName ? std::string("`-") + option.shortName + "`, `" : "`";
        names += "--" + option.name;
        names += (option.value.placeholder.empty() ? "" : ' ' + option.value.placeholder) + '`';
        std::string text = fullText(option);
        replaceAll(&names, "|", "\\|");
        replaceAll(&text, "|", "\\|");
        rows.push_back({ names, text });
    }
    return markdownRows(rows);
}

std::string markdownExitCodes()
{
    std::vector<std::pair<std::string, std::string>> rows
        = { { "Exit code", "" }, { "---", "---" } };
    rows.insert(rows.end(), exitMeanings().begin(), exitMeanings().end());
    return markdownRows(rows);
}

std::string markdownFormats()
{
    std::vector<std::pair<std::string, std::string>> rows = { { "Format", "" }, { "---", "---" } };
    for (const auto &format : formatPairs())
        rows.push_back(format);
    return markdownRows(rows);
}

std::string withTables(const std::string &document, std::string *error)
{
    const std::string begin = "<!-- table ";
    const std::string after = " -->";
    const std::string end = "<!-- end -->";
    std::istringstream lines(document);
    std::string line;
    std::string result;
    bool isInside = false;
    while (std::getline(lines, line)) {
        if (line == end)
            isInside = false;
        if (!isInside)
            result += line + '\n';
        if (line.compare(0, begin.size(), begin) == 0) {
            isInside = true;
            result += markdownFor(
                line.substr(begin.size(), line.size() - begin.size() - after.size()), error);
        }
    }
    return result;
}

} // namespace ztrace
