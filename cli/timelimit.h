// (c) the ztrace developers. Licence: see LICENSE.
//
// An end for runs that take too long.
#ifndef ZTRACE_CLI_TIMELIMIT_H
#define ZTRACE_CLI_TIMELIMIT_H

namespace ztrace {

// The longest limit, in seconds: more is told from no limit by nobody.
const double kMostSeconds = 1e6;

// Has SIGALRM arrive after so many seconds, counted from here, and be handled. Whatever signal mask
// and timer the process has inherited, it arrives: in a thread that does not hold it back
// (drawing/signals.h). A number that is 0 or less takes the timer away.
void alarmAfter(double seconds, void (*handler)(int));

// Ends the process with kTimeIsOver and a line on the message stream when the time is over. Outputs
// that have not got their names by then never do, and nothing is left of them: files get theirs
// together, with SIGALRM held back (drawing/output.h).
void endAfter(double seconds);

} // namespace ztrace

#endif
