// (c) the ztrace developers. Licence: see LICENSE.
//
// What is said when the process cannot go on: too little memory where nothing can be thrown, and
// faults of image and font libraries, which do not ask whether they got the memory they wanted.
#ifndef ZTRACE_CLI_LASTWORDS_H
#define ZTRACE_CLI_LASTWORDS_H

namespace ztrace {

// From now on std::terminate after std::bad_alloc, and signals that the process's own doing raises
// (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP), print one line that begins with the
// program's name and end it with the code at once. Files that have no name yet go with it.
//
// Signals that somebody sends do what they did. Where the user wants core files (ulimit -c) faults
// do what they did as well, and under sanitizers, which have more to say.
void sayLastWords(const char *program, int code);

} // namespace ztrace

#endif
