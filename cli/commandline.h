// (c) the ztrace developers. Licence: see LICENSE.
//
// The command line.
#ifndef ZTRACE_CLI_COMMANDLINE_H
#define ZTRACE_CLI_COMMANDLINE_H

#include <set>
#include <string>

#include "Settings.h"

namespace ztrace {

struct CommandLine
{
    enum Action { Trace, ListPresets, Done };

    Action action = Done; // Done: help or version has been printed
    std::string input;
    Settings settings;
    std::set<std::string> given; // names of settings that were said; "set NAME" for engine options
};

// Throws a Failure with kWrongUsage.
CommandLine parseCommandLine(int argc, char **argv);

} // namespace ztrace

#endif
