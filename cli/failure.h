// (c) the ztrace developers. Licence: see LICENSE.
//
// How the command ends.
#ifndef ZTRACE_CLI_FAILURE_H
#define ZTRACE_CLI_FAILURE_H

#include <stdexcept>
#include <string>

namespace ztrace {

// Listed in --help, in the man page and in docs/command.md.
enum ExitCode {
    kSuccess = 0,
    kFailed = 1, // some pages of several, or not enough memory
    kWrongUsage = 2,
    kInputUnreadable = 3, // a palette or settings file, too
    kOutputNotWritable = 4,
    kTimeIsOver = 5 // --time-limit
};

// Ends the command with a code and one line of text, which names the file or option it is about.
class Failure : public std::runtime_error
{
public:
    Failure(ExitCode exitCode, const std::string &text) : std::runtime_error(text), code(exitCode)
    { }

    ExitCode code;
};

// A program that reads such files is not installed.
class MissingProgram : public Failure
{
public:
    using Failure::Failure;
};

// A limit that the user may raise has refused the input, or may have.
class LimitFailure : public Failure
{
public:
    using Failure::Failure;
};

// With more memory it would not have come to it.
class MemoryFailure : public Failure
{
public:
    explicit MemoryFailure(const std::string &text) : Failure(kFailed, text) { }
};

[[noreturn]] inline void failForMemory()
{
    throw MemoryFailure("the image does not fit into memory");
}

} // namespace ztrace

#endif
