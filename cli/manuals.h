// (c) the ztrace developers. Licence: see LICENSE.
//
// The files that are made from the table of options: man page, completions, and the tables of
// docs/command.md. scripts/update-manuals.sh writes them; a test holds them equal to the table.
#ifndef ZTRACE_CLI_MANUALS_H
#define ZTRACE_CLI_MANUALS_H

#include <string>
#include <utility>
#include <vector>

#include "options.h"

namespace ztrace {

std::string manPage();
std::string bashCompletion();
std::string zshCompletion();

// Rows of one group's table in Markdown.
std::string markdownTable(Group group);
std::string markdownExitCodes();
std::string markdownFormats();

// A document with the tables that stand between lines "<!-- table NAME -->" and "<!-- end -->" made
// anew: NAME is a group's, "Exit codes" or "Formats". Sets `error` for a name that is none.
std::string withTables(const std::string &document, std::string *error);

// The words of an option in full: help, what only manuals have, and the range.
std::string fullText(const Option &option);

// Names and descriptions of the formats.
std::vector<std::pair<std::string, std::string>> formatPairs();

void replaceAll(std::string *text, const std::string &from, const std::string &to);

} // namespace ztrace

#endif
