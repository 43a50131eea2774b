// (c) the ztrace developers. Licence: see LICENSE.
//
// How the command ends.
#ifndef ZTRACE_CLI_FAILURE_H
#define ZTRACE_CLI_FAILURE_H

#include <stdexcept>
#include <string>

namespace ztrace {

// Listed in --help and in docs/command.md.
enum ExitCode {
    kSuccess = 0,
    kFailed = 1,
    kWrongUsage = 2,
    kInputUnreadable = 1,
    kOutputNotWritable = 1
};

// Ends the command with a code and one line of text, which names the file or option it is about.
class Failure : public std::runtime_error
{
public:
    Failure(ExitCode exitCode, const std::string &text) : std::runtime_error(text), code(exitCode)
    { }

    ExitCode code;
};

} // namespace ztrace

#endif
