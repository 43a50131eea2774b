// (c) the ztrace developers. Licence: see LICENSE.
//
// The command line.
#ifndef ZTRACE_CLI_COMMANDLINE_H
#define ZTRACE_CLI_COMMANDLINE_H

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Settings.h"

namespace ztrace {

struct CommandLine
{
    enum Action { Trace, ListPresets, ListFormats, Batch, BatchSummary, Help, Version };

    Action action = Trace;
    std::string input;
    std::vector<std::string> inputs; // of a batch
    Settings settings;
    std::vector<std::pair<std::string, std::string>> said; // options by long name, in their order
    std::set<std::string> given; // names of options that were said; "set NAME" for the engine's
};

// Options may stand before and after the input; `--` ends them. What follows --help or --version is
// not looked at. Throws a Failure with kWrongUsage, which for a name that does not exist says what
// was probably meant.
CommandLine parseCommandLine(int argc, char **argv);

} // namespace ztrace

#endif
