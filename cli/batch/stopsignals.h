// (c) the ztrace developers. Licence: see LICENSE.
//
// Signals that end a run: the first one when its pictures of the moment are finished, the next one
// at once.
#ifndef ZTRACE_CLI_BATCH_STOPSIGNALS_H
#define ZTRACE_CLI_BATCH_STOPSIGNALS_H

namespace ztrace {

// Takes SIGINT, SIGTERM and SIGHUP, but for those that are ignored.
void watchSignals();

// How many have come.
int signalsSoFar();

// Ends the process as the last signal would have, for the shell to see it; returns when there was
// none.
void endBySignal();

} // namespace ztrace

#endif
