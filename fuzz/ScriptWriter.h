// (c) the ztrace developers. Licence: see LICENSE.
//
// Writes scripts from a fuzzer's bytes: the classes' methods on every kind of `this`, stand-ins,
// getters and setters that call back, objects that change while a method runs.
#ifndef ZTRACE_FUZZ_SCRIPTWRITER_H
#define ZTRACE_FUZZ_SCRIPTWRITER_H

#include "Input.h"

#include <QString>

namespace fuzz {

// Every script ends by itself: it has no loops, and its functions count their calls and throw after
// some hundreds. It reads and writes no files. One byte more or less of the input changes a piece
// of the script and leaves the rest much as it was.
class ScriptWriter
{
public:
    explicit ScriptWriter(Input *bytes) : input(bytes), depth(0) { }

    QString script();

private:
    QString statement();
    QString expression();
    QString plainValue();
    QString object();
    QString callable();
    QString call();
    QString tracing();
    QString standIn();
    QString arguments();
    QString variable();
    QString oneOf(const char *const *texts, int count);

    Input *input;
    int depth; // of expressions inside each other
};

} // namespace fuzz

#endif
