// (c) the ztrace developers. Licence: see LICENSE.
//
// What --help prints, and the words that it shares with the man page.
#ifndef ZTRACE_CLI_HELP_H
#define ZTRACE_CLI_HELP_H

#include <string>
#include <utility>
#include <vector>

namespace ztrace {

// The whole help, no line wider than `width` where words allow it.
std::string helpText(int width);

// Columns that the help may have: $COLUMNS, else the terminal's on standard output, else 80; from
// 40 to 120.
int helpWidth();

// Exit codes and what they mean.
const std::vector<std::pair<std::string, std::string>> &exitMeanings();

// Command lines and what they do.
const std::vector<std::pair<std::string, std::string>> &examples();

// Text without the backticks around words to type.
std::string withoutTicks(std::string text);

} // namespace ztrace

#endif
